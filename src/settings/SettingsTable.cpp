#include "settings/SettingsTable.h"

#include "link/ComPort.h"
#include "settings/TermSettings.h"

#include <iterator>
#include <type_traits>
#include <utility>

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

// A field is a member of TermSettings, or of a record that is one: &TermSettings::m_Font,
// &LOGFONTA::lfWeight. A narrower field keeps the low bits of a number.
template <typename Record> auto& At(Record& record) {
    return record;
}

template <typename Record, typename Member, typename... Rest>
auto& At(Record& record, Member member, Rest... rest) {
    return At(record.*member, rest...);
}

template <auto... Field> DWORD Get(const TermSettings& settings) {
    return static_cast<DWORD>(At(settings, Field...));
}

template <auto... Field> void Set(TermSettings& settings, DWORD value) {
    auto& field = At(settings, Field...);
    field = static_cast<std::remove_reference_t<decltype(field)>>(value);
}

template <auto... Field>
constexpr Setting Number(const char* name, DWORD value, DWORD (*computed)() = nullptr) {
    return {name, SettingKind::Number, value, computed, &Get<Field...>, &Set<Field...>};
}

// A side of the summary's rectangle, stored as its distance from the opposite one.
template <LONG RECT::*Side, LONG RECT::*From>
constexpr Setting Extent(const char* name, DWORD value) {
    return {name,
            SettingKind::Number,
            value,
            nullptr,
            [](const TermSettings& settings) {
                return static_cast<DWORD>(settings.m_SummaryRect.*Side) -
                       static_cast<DWORD>(settings.m_SummaryRect.*From);
            },
            [](TermSettings& settings, DWORD extent) {
                settings.m_SummaryRect.*Side =
                    static_cast<LONG>(static_cast<DWORD>(settings.m_SummaryRect.*From) + extent);
            }};
}

template <int Index> constexpr Setting Column(const char* name) {
    return {name,
            SettingKind::Number,
            0,
            nullptr,
            [](const TermSettings& settings) {
                return static_cast<DWORD>(settings.m_SummaryColumnWidths[Index]);
            },
            [](TermSettings& settings, DWORD width) {
                settings.m_SummaryColumnWidths[Index] = static_cast<std::int32_t>(width);
            }};
}

template <auto... Field> constexpr Setting Text(const char* name, const char* text) {
    return {name,
            SettingKind::Text,
            0,
            nullptr,
            nullptr,
            nullptr,
            text,
            sizeof(At(std::declval<TermSettings&>(), Field...)),
            [](TermSettings& settings) -> char* { return At(settings, Field...); }};
}

template <auto Field> constexpr Setting Path(const char* name) {
    return Text<Field>(name, "");
}

using Term = TermSettings;
using Font = LOGFONTA;

const Setting WindowX = Number<&Term::m_WindowX>("WindowX", UseDefault);
const Setting WindowY = Number<&Term::m_WindowY>("WindowY", UseDefault);
const Setting WindowWidth = Number<&Term::m_WindowWidth>("WindowWidth", UseDefault);
const Setting WindowHeight = Number<&Term::m_WindowHeight>("WindowHeight", UseDefault);
const Setting ShowCmd = Number<&Term::m_ShowCmd>("ShowCmd", SW_SHOWNORMAL);
const Setting ListOn = Number<&Term::m_ListOn>("ListOn", 0);
const Setting ImageBlockSize =
    Number<&Term::m_ImageBlockSize>("ImageBlockSize", ComPort::DefaultImageBlockSize);
const Setting FontHeight =
    Number<&Term::m_Font, &Font::lfHeight>("FontHeight", 0, &DefaultFontHeight);
const Setting FontWeight = Number<&Term::m_Font, &Font::lfWeight>("FontWeight", FW_NORMAL);
const Setting FontItalic = Number<&Term::m_Font, &Font::lfItalic>("FontItalic", 0);
const Setting FontUnderline = Number<&Term::m_Font, &Font::lfUnderline>("FontUnderline", 0);
const Setting FontStrikeout = Number<&Term::m_Font, &Font::lfStrikeOut>("FontStrikeout", 0);
const Setting FontCharset = Number<&Term::m_Font, &Font::lfCharSet>("FontCharset", DEFAULT_CHARSET);
const Setting FontFaceName = Text<&Term::m_Font, &Font::lfFaceName>("FontFaceName", "Courier New");
const Setting TextColor = Number<&Term::m_TextColor>("TextColor", 0, &DefaultTextColor);
const Setting BootFile = Path<&Term::m_BootFile>("BootFile");
const Setting ReceiveFile = Path<&Term::m_ReceiveFile>("ReceiveFile");
const Setting SendFiles = {"SendFiles", SettingKind::ListHead};
const Setting ImageFile = Path<&Term::m_ImageFile>("ImageFile");
const Setting MacrosFile = Path<&Term::m_MacrosFile>("MacrosFile");
const Setting CmdWav = Path<&Term::m_CmdWav>("CmdWav");
const Setting CmdErrWav = Path<&Term::m_CmdErrWav>("CmdErrWav");
const Setting CompleteWav = Path<&Term::m_CompleteWav>("CompleteWav");
const Setting SendMid = Path<&Term::m_SendMid>("SendMid");
const Setting LogFile = Path<&Term::m_LogFile>("LogFile");
const Setting DeviceName = Text<&Term::m_DeviceName>("DeviceName", "default");
const Setting Port = Number<&Term::m_PortNumber>("Port", 0);
const Setting BaudRate = Number<&Term::m_BaudRate>("BaudRate", 57600);
const Setting SummaryX = Number<&Term::m_SummaryRect, &RECT::left>("SummaryWindowX", 0);
const Setting SummaryY = Number<&Term::m_SummaryRect, &RECT::top>("SummaryWindowY", 0);
const Setting SummaryWidth = Extent<&RECT::right, &RECT::left>("SummaryWindowWidth", 500);
const Setting SummaryHeight = Extent<&RECT::bottom, &RECT::top>("SummaryWindowHeight", 350);
const Setting MusicSupport = Number<&Term::m_MusicSupport>("MusicSupport", 0);
const Setting MusicSupportExt = Number<&Term::m_MusicSupportExt>("MusicSupportExt", 0);
const Setting MusicSupportCurExt = Number<&Term::m_MusicSupportCurExt>("MusicSupportCurExt", 0);
const Setting MusicRows = {"", SettingKind::MusicRows};
const Setting SummaryColumn0 = Column<0>("SummaryPosition0");
const Setting SummaryColumn1 = Column<1>("SummaryPosition1");
const Setting SummaryColumn2 = Column<2>("SummaryPosition2");
const Setting SummaryColumn3 = Column<3>("SummaryPosition3");
const Setting SummaryColumn4 = Column<4>("SummaryPosition4");
const Setting SummaryColumn5 = Column<5>("SummaryPosition5");
const Setting AskBeforeSend = Number<&Term::m_AskBeforeSendWrongFile>("AskBeforeSendWrongFile", 0);
const Setting DisplaySummary = Number<&Term::m_DisplaySummary>("DisplaySummary", 0);
const Setting UseLogFile = Number<&Term::m_UseLogFile>("UseLogFile", 0);
const Setting LogTimes = Number<&Term::m_LogTimes>("LogTimes", 0);
const Setting ShowProgress = Number<&Term::m_ShowProgress>("ShowProgress", 1);
const Setting DropOldestText = Number<&Term::m_DropOldestText>("DropOldestText", 0);
const Setting FastTransfers = Number<&Term::m_FastTransfers>("FastTransfers", 0);

// Loading needs an extent after its base, the music rows after their count.
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
