#pragma once

// The command lines of a port that wait for their turn, and the results that nobody has taken yet.
// It has no lock of its own: the port guards it.

#include <windows.h>

#include <cstddef>
#include <cstdint>

// The result of a queued line.
struct LineResult {
    std::uint32_t tag = 0; // as it was given with the line
    bool accepted = false;
    bool answered = false; // false: the device said nothing
    char text[256] = {};   // the line, as much of it as fits
};

struct QueuedLine {
    QueuedLine* next = nullptr;
    std::uint32_t tag = 0;
    HANDLE done = nullptr;  // of a worker's line: set at its end, and the worker frees the line
    bool entersRaw = false; // once it is accepted, the line carries packets
    bool sent = false;
    bool accepted = false;
    bool answered = false;
    std::size_t length = 0;

    bool Worker() const { return done != nullptr; }
    const char* Text() const { return reinterpret_cast<const char*>(this + 1); }
};

class LineQueue {
public:
    static constexpr std::uint32_t MostLines = 8192; // a macro's lines, and as many again

    LineQueue() = default;
    ~LineQueue();
    LineQueue(const LineQueue&) = delete;
    LineQueue& operator=(const LineQueue&) = delete;

    // A copy of a line, for Add; null without memory.
    static QueuedLine* Make(const char* text, std::size_t length, std::uint32_t tag);
    static void Free(QueuedLine* line);

    // Puts a chain of lines at the end, all or none: false, with the chain still the caller's,
    // when there is no room for all of them.
    bool Add(QueuedLine* chain);

    // Takes a worker's line back that still waits. False when it has had its turn, or has it.
    bool Remove(QueuedLine* line);

    // The line whose turn it is; null when none waits.
    QueuedLine* TakeFirst();

    // A taken line is done. Its worker is woken; a line without a worker leaves a result.
    void Finish(QueuedLine* line, bool accepted);

    // The oldest result; false when there is none.
    bool TakeResult(LineResult* result);

    // True while a line without a worker waits, has its turn, or has a result that is not taken.
    bool AwaitsResults() const { return m_Awaited > 0; }

    void Swap(LineQueue& other);

private:
    struct Chain {
        QueuedLine* first = nullptr;
        QueuedLine* last = nullptr;

        void Append(QueuedLine* chain);
        QueuedLine* TakeFirst();
    };

    Chain m_Waiting;
    Chain m_Results;
    std::uint32_t m_Count = 0; // lines that wait
    std::uint32_t m_Awaited = 0;
};
