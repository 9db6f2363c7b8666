// Command lines on their way to the device, and their results. The port sends one after the other;
// the window never waits.

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

// A note about an earlier line stays until the user sends the next one.
bool ZoTerm::LinesQueued(bool queued, const char* line, std::uint32_t tag) {
    if (tag == LineAloud)
        ShowNote(m_LineNote, "");
    if (queued) {
        Watch();
    } else if (tag == LineAloud) {
        PlayWav(Settings.m_CmdErrWav);
        ReportLine("Refused", line);
    }
    return queued;
}

void ZoTerm::ReportLine(const char* what, const char* line) {
    StatusNote text;
    FormatText(text, "%s: %s", what, line);
    ShowNote(m_LineNote, text);
}

void ZoTerm::TakeLineResults() {
    LineResult result;
    while (Port->TakeResult(&result))
        TakeLineResult(result);
}

void ZoTerm::TakeLineResult(const LineResult& result) {
    bool aloud = result.tag == LineAloud;
    for (AwaitedLine* line = m_AwaitedLines; line; line = line->below)
        if (line->tag == result.tag) {
            line->done = aloud = true;
            line->accepted = result.accepted;
        }
    if (aloud)
        PlayWav(result.accepted ? Settings.m_CmdWav : Settings.m_CmdErrWav);
    if (aloud && !result.accepted)
        ReportLine(result.answered ? "Refused" : "No answer", result.text);
    if (result.tag >= FirstOwnTag && result.tag == Operation.m_AwaitedLine)
        SendMessageA(Operation.m_ProgressDialog, LinkMessage, NotifyAnswer,
                     static_cast<LPARAM>(result.tag));
}

// Ends the waits for lines whose port is gone, and their results with it.
void ZoTerm::RefuseAwaitedLines() {
    for (AwaitedLine* line = m_AwaitedLines; line; line = line->below)
        line->done = true;
    if (Operation.m_AwaitedLine)
        SendMessageA(Operation.m_ProgressDialog, LinkMessage, NotifyAnswer,
                     static_cast<LPARAM>(Operation.m_AwaitedLine));
}

// For another program that sends a line and waits for its result: all windows of this program go on
// meanwhile. Nonzero when the device has accepted the line.
LRESULT ZoTerm::AwaitAnswer(const char* line) {
    AwaitedLine awaited = {NewTag()};
    ShowNote(m_LineNote, "");
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
