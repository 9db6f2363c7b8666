#include "settings/SettingsTable.h"

#include "link/ComPort.h"
#include "settings/TermSettings.h"

#include <iterator>
#include <type_traits>

static_assert(std::is_standard_layout_v<TermSettings>, "settings find their fields by offset");

namespace {

constexpr DWORD UseDefault = 0x80000000; // the system chooses the window's place and size
constexpr int PointsPerInch = 72;
constexpr int DefaultFontPoints = 10;

DWORD DefaultFontHeight() {
    const HDC screen = GetDC(nullptr);
    const int dotsPerInch = GetDeviceCaps(screen, LOGPIXELSY);
    ReleaseDC(nullptr, screen);
    return static_cast<DWORD>(-(DefaultFontPoints * dotsPerInch) / PointsPerInch);
}

DWORD DefaultTextColor() {
    return GetSysColor(COLOR_WINDOWTEXT);
}

constexpr Setting Number(const char* name, std::size_t field, DWORD value) {
    return {name, SettingKind::Dword, field, value};
}

constexpr Setting Computed(const char* name, std::size_t field, DWORD (*value)()) {
    return {name, SettingKind::Dword, field, 0, value};
}

constexpr Setting Byte(const char* name, std::size_t field, DWORD value) {
    return {name, SettingKind::Byte, field, value};
}

constexpr Setting Extent(const char* name, std::size_t field, std::size_t base, DWORD value) {
    return {name, SettingKind::Extent, field, value, nullptr, "", 0, base};
}

constexpr Setting Text(const char* name, std::size_t field, DWORD capacity, const char* text) {
    return {name, SettingKind::Text, field, 0, nullptr, text, capacity};
}

constexpr Setting Path(const char* name, std::size_t field) {
    return Text(name, field, MAX_PATH, "");
}

#define AT(member) offsetof(TermSettings, member)

const Setting WindowX = Number("WindowX", AT(m_WindowX), UseDefault);
const Setting WindowY = Number("WindowY", AT(m_WindowY), UseDefault);
const Setting WindowWidth = Number("WindowWidth", AT(m_WindowWidth), UseDefault);
const Setting WindowHeight = Number("WindowHeight", AT(m_WindowHeight), UseDefault);
const Setting ShowCmd = Number("ShowCmd", AT(m_ShowCmd), SW_SHOWNORMAL);
const Setting ListOn = Number("ListOn", AT(m_ListOn), 0);
const Setting ImageBlockSize =
    Number("ImageBlockSize", AT(m_ImageBlockSize), ComPort::DefaultImageBlockSize);
const Setting FontHeight = Computed("FontHeight", AT(m_Font.lfHeight), &DefaultFontHeight);
const Setting FontWeight = Number("FontWeight", AT(m_Font.lfWeight), FW_NORMAL);
const Setting FontItalic = Byte("FontItalic", AT(m_Font.lfItalic), 0);
const Setting FontUnderline = Byte("FontUnderline", AT(m_Font.lfUnderline), 0);
const Setting FontStrikeout = Byte("FontStrikeout", AT(m_Font.lfStrikeOut), 0);
const Setting FontCharset = Byte("FontCharset", AT(m_Font.lfCharSet), DEFAULT_CHARSET);
const Setting FontFaceName =
    Text("FontFaceName", AT(m_Font.lfFaceName), LF_FACESIZE, "Courier New");
const Setting TextColor = Computed("TextColor", AT(m_TextColor), &DefaultTextColor);
const Setting BootFile = Path("BootFile", AT(m_BootFile));
const Setting ReceiveFile = Path("ReceiveFile", AT(m_ReceiveFile));
const Setting SendFiles = {"SendFiles", SettingKind::ListHead};
const Setting ImageFile = Path("ImageFile", AT(m_ImageFile));
const Setting MacrosFile = Path("MacrosFile", AT(m_MacrosFile));
const Setting CmdWav = Path("CmdWav", AT(m_CmdWav));
const Setting CmdErrWav = Path("CmdErrWav", AT(m_CmdErrWav));
const Setting CompleteWav = Path("CompleteWav", AT(m_CompleteWav));
const Setting SendMid = Path("SendMid", AT(m_SendMid));
const Setting LogFile = Path("LogFile", AT(m_LogFile));
const Setting DeviceName = Text("DeviceName", AT(m_DeviceName), MAX_PATH, "default");
const Setting Port = Number("Port", AT(m_PortNumber), 0);
const Setting BaudRate = Number("BaudRate", AT(m_BaudRate), 57600);
const Setting SummaryX = Number("SummaryWindowX", AT(m_SummaryRect.left), 0);
const Setting SummaryY = Number("SummaryWindowY", AT(m_SummaryRect.top), 0);
const Setting SummaryWidth =
    Extent("SummaryWindowWidth", AT(m_SummaryRect.right), AT(m_SummaryRect.left), 500);
const Setting SummaryHeight =
    Extent("SummaryWindowHeight", AT(m_SummaryRect.bottom), AT(m_SummaryRect.top), 350);
const Setting MusicSupport = Number("MusicSupport", AT(m_MusicSupport), 0);
const Setting MusicSupportExt = Number("MusicSupportExt", AT(m_MusicSupportExt), 0);
const Setting MusicSupportCurExt = Number("MusicSupportCurExt", AT(m_MusicSupportCurExt), 0);
const Setting MusicRows = {"", SettingKind::MusicRows};
const Setting SummaryColumn0 = Number("SummaryPosition0", AT(m_SummaryColumnWidths[0]), 0);
const Setting SummaryColumn1 = Number("SummaryPosition1", AT(m_SummaryColumnWidths[1]), 0);
const Setting SummaryColumn2 = Number("SummaryPosition2", AT(m_SummaryColumnWidths[2]), 0);
const Setting SummaryColumn3 = Number("SummaryPosition3", AT(m_SummaryColumnWidths[3]), 0);
const Setting SummaryColumn4 = Number("SummaryPosition4", AT(m_SummaryColumnWidths[4]), 0);
const Setting SummaryColumn5 = Number("SummaryPosition5", AT(m_SummaryColumnWidths[5]), 0);
const Setting AskBeforeSend = Number("AskBeforeSendWrongFile", AT(m_AskBeforeSendWrongFile), 0);
const Setting DisplaySummary = Number("DisplaySummary", AT(m_DisplaySummary), 0);
const Setting UseLogFile = Number("UseLogFile", AT(m_UseLogFile), 0);
const Setting LogTimes = Number("LogTimes", AT(m_LogTimes), 0);
const Setting ShowProgress = Number("ShowProgress", AT(m_ShowProgress), 1);
const Setting DropOldestText = Number("DropOldestText", AT(m_DropOldestText), 0);
const Setting FastTransfers = Number("FastTransfers", AT(m_FastTransfers), 0);

#undef AT

// An extent comes after its base, the music rows after their count.
const Setting* const Reading[] = {
    &WindowX,        &WindowY,        &WindowWidth,    &WindowHeight,    &ShowCmd,
    &ListOn,         &ImageBlockSize, &FontHeight,     &FontWeight,      &FontItalic,
    &FontUnderline,  &FontStrikeout,  &FontCharset,    &FontFaceName,    &TextColor,
    &BootFile,       &ReceiveFile,    &SendFiles,      &ImageFile,       &MacrosFile,
    &CmdWav,         &CmdErrWav,      &CompleteWav,    &SendMid,         &LogFile,
    &DeviceName,     &Port,           &BaudRate,       &SummaryX,        &SummaryY,
    &SummaryWidth,   &SummaryHeight,  &MusicSupport,   &MusicSupportExt, &MusicSupportCurExt,
    &MusicRows,      &SummaryColumn0, &SummaryColumn1, &SummaryColumn2,  &SummaryColumn3,
    &SummaryColumn4, &SummaryColumn5, &AskBeforeSend,  &DisplaySummary,  &UseLogFile,
    &ShowProgress,   &FastTransfers,  &LogTimes,       &DropOldestText,
};

const Setting* const Saving[] = {
    &WindowX,        &WindowY,        &WindowWidth,    &WindowHeight,    &ShowCmd,
    &FontHeight,     &FontWeight,     &FontItalic,     &FontCharset,     &FontFaceName,
    &FontUnderline,  &FontStrikeout,  &TextColor,      &BootFile,        &ReceiveFile,
    &SendFiles,      &ImageFile,      &Port,           &BaudRate,        &MacrosFile,
    &CmdWav,         &CmdErrWav,      &CompleteWav,    &SendMid,         &ListOn,
    &LogFile,        &ImageBlockSize, &DeviceName,     &AskBeforeSend,   &DisplaySummary,
    &UseLogFile,     &ShowProgress,   &MusicSupport,   &MusicSupportExt, &MusicSupportCurExt,
    &MusicRows,      &SummaryX,       &SummaryY,       &SummaryWidth,    &SummaryHeight,
    &SummaryColumn0, &SummaryColumn1, &SummaryColumn2, &SummaryColumn3,  &SummaryColumn4,
    &SummaryColumn5, &FastTransfers,  &LogTimes,       &DropOldestText,
};

static_assert(std::size(Reading) == std::size(Saving), "what is read is saved");

} // namespace

SettingOrder ReadingOrder() {
    return {std::begin(Reading), std::end(Reading)};
}

SettingOrder SavingOrder() {
    return {std::begin(Saving), std::end(Saving)};
}
