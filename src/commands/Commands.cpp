// The commands of menu, toolbar and accelerators: one row for each, or for each range.

#include "commands/AboutDialog.h"
#include "commands/Guide.h"
#include "commands/LineDialogs.h"
#include "commands/OptionsDialog.h"
#include "fileops/BootDialog.h"
#include "fileops/ReceiveFileDialog.h"
#include "fileops/SummaryDialog.h"
#include "resources/resource.h"
#include "terminal/DispatcherRequest.h"
#include "terminal/MessageLoop.h"
#include "terminal/ZoTerm.h"

namespace {

enum class Opens { Nothing, Modal }; // Modal: the command runs a modal dialog of the system
enum class Then { Nothing, Focus };  // Focus: the command box takes the keyboard focus

constexpr WORD FromAccelerator = 1; // in the place of a control's notification

} // namespace

// Posts a command that runs a dialog again while the sender of the message waits.
LRESULT ZoTerm::OnCommand(WORD command, WORD notification) {
    struct Command {
        WORD first;
        WORD last;
        void (ZoTerm::*run)(WORD command); // null: nothing carries the command out
        Opens opens = Opens::Nothing;
        Then then = Then::Nothing;
    };
    static constexpr Command Commands[] = {
        {CMD_REBOOT, CMD_REBOOT, &ZoTerm::Reboot},
        {CMD_MACRO_FIRST, CMD_MACRO_LAST, &ZoTerm::RunMenuMacro},
        {CMD_EXIT, CMD_EXIT, &ZoTerm::Exit},
        {CMD_FONT, CMD_FONT, &ZoTerm::ShowFonts, Opens::Modal, Then::Focus},
        {CMD_SEND_FILES, CMD_SEND_FILES, &ZoTerm::SendFiles, Opens::Modal, Then::Focus},
        {CMD_BOOT_FILE, CMD_BOOT_FILE, &ZoTerm::BootFile, Opens::Modal, Then::Focus},
        {CMD_BAUD_2400, CMD_BAUD_115200, &ZoTerm::SelectMenuBaudRate},
        {CMD_PORT_1, CMD_PORT_NONE, &ZoTerm::OpenMenuPort},
        {CMD_CLEAR, CMD_CLEAR, &ZoTerm::ClearOutput},
        {CMD_NEW_WINDOW, CMD_NEW_WINDOW, &ZoTerm::NewWindow, Opens::Nothing, Then::Focus},
        {CMD_LOAD_MACROS, CMD_LOAD_MACROS, &ZoTerm::LoadMacros, Opens::Modal},
        {CMD_SEND_IMAGE, CMD_SEND_IMAGE, &ZoTerm::SendImage, Opens::Modal, Then::Focus},
        {CMD_CONTENTS, CMD_CONTENTS, &ZoTerm::ShowGuide},
        {CMD_ABOUT, CMD_ABOUT, &ZoTerm::ShowAbout},
        {CMD_OPTIONS, CMD_OPTIONS, &ZoTerm::ShowOptions},
        {CMD_PORT_OTHER, CMD_PORT_OTHER, &ZoTerm::ChoosePort},
        {CMD_FOCUS, CMD_FOCUS, nullptr, Opens::Nothing, Then::Focus},
        {CMD_SUMMARY, CMD_SUMMARY, &ZoTerm::ShowSummary},
        {CMD_DEVICE_DEFAULT, CMD_DEVICE_MP3, &ZoTerm::SelectMenuDevice},
        {CMD_DEVICE_CUSTOM, CMD_DEVICE_CUSTOM, &ZoTerm::ChooseDevice},
        {CMD_RECEIVE_FILE, CMD_RECEIVE_FILE, &ZoTerm::ReceiveFile, Opens::Modal, Then::Focus},
        {CMD_ARRANGE, CMD_ARRANGE, nullptr, Opens::Nothing, Then::Focus},
        {CMD_BAUD_230400, CMD_BAUD_921600, &ZoTerm::SelectMenuBaudRate},
        {CMD_BAUD_OTHER, CMD_BAUD_OTHER, &ZoTerm::ChooseBaudRate},
        {CMD_PORT_FOUND, CMD_PORT_FOUND_END, &ZoTerm::OpenFoundPort},
        {CMD_FIND, CMD_FIND, &ZoTerm::ShowFindDialog},
        {CMD_FIND_NEXT, CMD_FIND_PREVIOUS, &ZoTerm::FindAgain},
        {CMD_SAVE_OUTPUT, CMD_SAVE_OUTPUT, &ZoTerm::SaveOutput, Opens::Modal, Then::Focus},
        {CMD_DROP_OLDEST, CMD_DROP_OLDEST, &ZoTerm::ToggleDropOldest},
    };
    if (command == IDC_COMMAND)
        return notification == EnterPressed ? SendTypedLine() : 0;
    if (command == CMD_REBOOT && notification != FromAccelerator &&
        MacroName(CMD_REBOOT - CMD_MACRO_FIRST)) {
        RunMenuMacro(command); // the menu's command of this number
        return 0;
    }
    for (const Command& entry : Commands) {
        if (command < entry.first || command > entry.last)
            continue;
        if (entry.opens == Opens::Modal && SenderWaits()) {
            PostMessageA(m_hWnd, WM_COMMAND, MAKEWPARAM(command, notification), 0);
            return 0;
        }
        if (entry.run)
            (this->*entry.run)(command);
        if (entry.then == Then::Focus)
            SetFocus(m_hCommand);
        return 0;
    }
    return 0;
}

void ZoTerm::Reboot(WORD) {
    QueueLine("reboot", LineAloud);
}

void ZoTerm::RunMenuMacro(WORD command) {
    RunMacro(command - CMD_MACRO_FIRST);
}

void ZoTerm::LoadMacros(WORD) {
    if (!OperationRuns() && ChooseMacrosFile())
        BuildMacrosMenu();
}

void ZoTerm::Exit(WORD) {
    PostMessageA(m_hWnd, WM_CLOSE, 0, 0);
}

void ZoTerm::ClearOutput(WORD) {
    EmptyOutputPane();
    SetFocus(m_hCommand);
    m_OutputCount = 0;
    SetStatusFill(0);
}

void ZoTerm::NewWindow(WORD) {
    SendMessageA(m_Dispatcher, DispatcherRequest, MAKEWPARAM(RequestNewTerminal, m_Slot), 0);
}

void ZoTerm::SendFiles(WORD) {
    if (TakesLists() && ChooseSendFiles())
        StartSendBatch(false);
}

void ZoTerm::SendImage(WORD) {
    if (TakesLists() && ChooseImageFile())
        StartSendBatch(true);
}

void ZoTerm::BootFile(WORD) {
    if (TakesLists() && ChooseBootFile())
        OpenBootDialog(*this);
}

void ZoTerm::ReceiveFile(WORD) {
    if (TakesLists() && ChooseReceiveFile())
        OpenReceiveFileDialog(*this);
}

void ZoTerm::ChoosePort(WORD) {
    OpenPortDialog(*this);
}

void ZoTerm::ChooseBaudRate(WORD) {
    OpenBaudRateDialog(*this);
}

void ZoTerm::ChooseDevice(WORD) {
    OpenDeviceDialog(*this);
}

void ZoTerm::ShowSummary(WORD) {
    OpenSummaryDialog(*this);
}

void ZoTerm::ShowFonts(WORD) {
    ChooseTextFont(m_hWnd);
}

void ZoTerm::ShowOptions(WORD) {
    OpenOptionsDialog(*this);
}

void ZoTerm::ShowGuide(WORD) {
    OpenGuide();
}

void ZoTerm::ShowAbout(WORD) {
    OpenAboutDialog(*this);
}
