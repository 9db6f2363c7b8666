#include "link/LineQueue.h"

#include "base/Text.h"

#include <cstdlib>
#include <cstring>
#include <new>
#include <utility>

QueuedLine* LineQueue::Make(const char* text, std::size_t length, std::uint32_t tag) {
    void* const memory = std::malloc(sizeof(QueuedLine) + length + 1);
    if (!memory)
        return nullptr;
    auto* const line = new (memory) QueuedLine;
    line->tag = tag;
    line->length = length;
    char* const copy = reinterpret_cast<char*>(line + 1);
    std::memcpy(copy, text, length);
    copy[length] = '\0';
    return line;
}

void LineQueue::Free(QueuedLine* line) {
    while (line)
        std::free(std::exchange(line, line->next));
}

LineQueue::~LineQueue() {
    Free(m_Waiting.first);
    Free(m_Results.first);
}

void LineQueue::Chain::Append(QueuedLine* chain) {
    (first ? last->next : first) = chain;
    for (last = chain; last->next;)
        last = last->next;
}

QueuedLine* LineQueue::Chain::TakeFirst() {
    QueuedLine* const line = first;
    if (line)
        first = std::exchange(line->next, nullptr);
    return line;
}

bool LineQueue::Add(QueuedLine* chain) {
    std::uint32_t added = 0;
    std::uint32_t awaited = 0;
    for (const QueuedLine* line = chain; line; line = line->next) {
        ++added;
        awaited += !line->Worker();
    }
    if (awaited > 0 && m_Count + added > MostLines) // a transfer is never held up
        return false;
    m_Count += added;
    m_Awaited += awaited;
    m_Waiting.Append(chain);
    return true;
}

bool LineQueue::Remove(QueuedLine* line) {
    QueuedLine* before = nullptr;
    for (QueuedLine* at = m_Waiting.first; at; before = at, at = at->next) {
        if (at != line)
            continue;
        (before ? before->next : m_Waiting.first) = std::exchange(line->next, nullptr);
        if (m_Waiting.last == at)
            m_Waiting.last = before;
        --m_Count;
        return true;
    }
    return false;
}

QueuedLine* LineQueue::TakeFirst() {
    QueuedLine* const line = m_Waiting.TakeFirst();
    m_Count -= line != nullptr;
    return line;
}

void LineQueue::Finish(QueuedLine* line, bool accepted) {
    line->accepted = accepted;
    if (line->Worker())
        SetEvent(line->done); // from here on it is the worker's
    else
        m_Results.Append(line);
}

bool LineQueue::TakeResult(LineResult* result) {
    QueuedLine* const line = m_Results.TakeFirst();
    if (!line)
        return false;
    *result = {line->tag, line->accepted, line->answered};
    CopyText(result->text, line->Text());
    --m_Awaited;
    Free(line);
    return true;
}

void LineQueue::Swap(LineQueue& other) {
    std::swap(m_Waiting, other.m_Waiting);
    std::swap(m_Results, other.m_Results);
    std::swap(m_Count, other.m_Count);
    std::swap(m_Awaited, other.m_Awaited);
}
