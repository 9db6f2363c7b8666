#include "fileops/BatchConversion.h"

#include "base/Text.h"
#include "fileops/Converter.h"
#include "fileops/FileOperation.h"
#include "fileops/SendBatch.h"
#include "link/codec/PathName.h"
#include "settings/MusicSupport.h"
#include "terminal/ZoTerm.h"

#include <cstdarg>
#include <cstdio>
#include <utility>

namespace {

constexpr std::size_t CommandRoom = MusicTextRoom + ZoTerm::ConvertedFileRoom;

// A line for the system's debugger.
ZO_PRINTF_LIKE(1, 2)
void Trace(const char* format, ...) {
    char line[CommandRoom + 100];
    va_list arguments;
    va_start(arguments, format);
    std::vsnprintf(line, sizeof(line), format, arguments);
    va_end(arguments);
    OutputDebugStringA(line);
}

// A batch whose first file has been converted consists of the converted file.
void BeginConverted(ZoTerm& terminal) {
    LeaveConversion(std::exchange(terminal.Operation.m_Conversion, nullptr));
    terminal.Operation.m_Converted = true;
    Trace("ZoTerm->ConvertFile(): %s\n", terminal.ConvertedFile);
    Trace("ZoTerm->m_MusicSupportCurrentExtention: %s\n", terminal.ConvertedFile);
    BeginBatch(terminal, terminal.ConvertedFile, false);
}

} // namespace

bool ConvertFirst(ZoTerm& terminal) {
    char commandLine[ZoTerm::ConvertedFileRoom] = {};
    const char* const first = terminal.Batch.m_FileList;
    if (!terminal.ConvertFile(first, terminal.ConvertedFile, commandLine))
        return false;
    if (commandLine[0])
        terminal.Operation.m_Conversion =
            StartConversion(commandLine, terminal.m_hWnd, LookMessage);
    if (!terminal.Operation.m_Conversion) {
        BeginConverted(terminal); // as with a converter that fails
        return true;
    }
    terminal.SetActivity(Activity::Converting);
    SetFileLine(terminal.Operation.m_ProgressDialog, "Converting", first);
    return true;
}

void ZoTerm::LookAtConverter() {
    if (Operation.m_Conversion && ConversionEnded(Operation.m_Conversion))
        BeginConverted(*this);
}

void SendMusicCommand(ZoTerm& terminal) {
    const std::int32_t row = terminal.m_MusicSupportCurrentExtention;
    Trace("ZoTerm->m_MusicSupportCurrentExtention: %d\n", static_cast<int>(row));
    if (!terminal.After.converted || row < 0 || row >= terminal.Settings.m_MusicSupportExt)
        return;
    char line[CommandRoom];
    const bool fits =
        FormatText(line, "%s %s", MusicText(terminal.Settings.m_MusicRows[row].command),
                   BaseName(terminal.ConvertedFile));
    if (!fits || HasControlCharacter(line)) // a line end would make two commands of it
        return;
    Trace("ZoTerm->Port->SendCommand(): %s\n", line);
    terminal.QueueLine(line, LineSilent);
}
