// Command lines on their way to the device, and what comes of them. The port sends one after the
// other; the window never waits.

#include "base/Text.h"
#include "terminal/MessageLoop.h"
#include "terminal/ModalScope.h"
#include "terminal/Sounds.h"
#include "terminal/ZoTerm.h"

// A line whose sender waits for the result, on the stack of that wait.
struct ZoTerm::AwaitedLine {
    std::uint32_t tag;
    bool done = false;
    bool accepted = false;
    AwaitedLine* below = nullptr;
};

std::uint32_t ZoTerm::NewTag() {
    m_LastTag = m_LastTag < FirstOwnTag ? FirstOwnTag : m_LastTag + 1;
    return m_LastTag;
}

bool ZoTerm::QueueLine(const char* line, std::uint32_t tag) {
    return LinesQueued(Port->QueueCommand(line, tag), line, tag);
}

bool ZoTerm::QueueLines(const char* lines, std::uint32_t tag) {
    return LinesQueued(Port->QueueCommands(lines, tag), lines, tag);
}

// What was said of an earlier line lasts until a person sends the next.
bool ZoTerm::LinesQueued(bool queued, const char* line, std::uint32_t tag) {
    if (tag == LineAloud)
        Say(m_LineNote, "");
    if (queued) {
        Watch();
    } else if (tag == LineAloud) {
        PlayWav(Settings.m_CmdErrWav);
        SayOfLine("Refused", line);
    }
    return queued;
}

void ZoTerm::SayOfLine(const char* what, const char* line) {
    StatusNote text;
    FormatText(text, "%s: %s", what, line);
    Say(m_LineNote, text);
}

void ZoTerm::TakeAnswers() {
    LineResult result;
    while (Port->TakeResult(&result))
        TakeAnswer(result);
}

void ZoTerm::TakeAnswer(const LineResult& result) {
    bool aloud = result.tag == LineAloud;
    for (AwaitedLine* line = m_AwaitedLines; line; line = line->below)
        if (line->tag == result.tag) {
            line->done = aloud = true;
            line->accepted = result.accepted;
        }
    if (aloud)
        PlayWav(result.accepted ? Settings.m_CmdWav : Settings.m_CmdErrWav);
    if (aloud && !result.accepted)
        SayOfLine(result.answered ? "Refused" : "No answer", result.text);
    if (result.tag >= FirstOwnTag && result.tag == Operation.m_AwaitedLine)
        SendMessageA(Operation.m_ProgressDialog, LinkMessage, NotifyAnswer,
                     static_cast<LPARAM>(result.tag));
}

// Their port is gone, and took the results along.
void ZoTerm::RefuseAwaitedLines() {
    for (AwaitedLine* line = m_AwaitedLines; line; line = line->below)
        line->done = true;
    if (Operation.m_AwaitedLine)
        SendMessageA(Operation.m_ProgressDialog, LinkMessage, NotifyAnswer,
                     static_cast<LPARAM>(Operation.m_AwaitedLine));
}

// For another program that sends a line and waits for what comes of it: every window of this one
// goes on meanwhile. Nonzero when the device has accepted it.
LRESULT ZoTerm::AwaitAnswer(const char* line) {
    AwaitedLine awaited = {NewTag()};
    Say(m_LineNote, "");
    if (!QueueLine(line, awaited.tag)) {
        PlayWav(Settings.m_CmdErrWav);
        return 0;
    }
    const ModalScope scope(*this, ModalScope::Wait);
    const SenderWait wait;
    awaited.below = m_AwaitedLines;
    m_AwaitedLines = &awaited;
    while (!awaited.done && MessageStep()) {
    }
    m_AwaitedLines = awaited.below;
    return awaited.accepted;
}
