// The commands of menu, toolbar and accelerators: one row for each, or for each range.

#include "fileops/BootDialog.h"
#include "fileops/ReceiveFileDialog.h"
#include "fileops/SendFilesDialog.h"
#include "fileops/SmallDialogs.h"
#include "fileops/SummaryDialog.h"
#include "link/codec/PackedList.h"
#include "resources/resource.h"
#include "settings/OptionsDialog.h"
#include "terminal/DispatcherRequest.h"
#include "terminal/ZoTerm.h"

#include <iterator>

namespace {

using Handler = void (ZoTerm::*)(WORD command);

enum class After { Nothing, Focus }; // Focus: the command box takes the keyboard focus

struct Command {
    WORD first;
    WORD last;
    Handler run; // null: nothing carries the command out
    After after;
};

constexpr Command Commands[] = {
    {CMD_REBOOT, CMD_REBOOT, &ZoTerm::Reboot, After::Nothing},
    {CMD_MACRO_FIRST, CMD_MACRO_LAST, &ZoTerm::RunMenuMacro, After::Nothing},
    {CMD_EXIT, CMD_EXIT, &ZoTerm::Exit, After::Nothing},
    {CMD_FONT, CMD_FONT, &ZoTerm::ChooseFont, After::Focus},
    {CMD_SEND_FILES, CMD_SEND_FILES, &ZoTerm::SendFiles, After::Focus},
    {CMD_BOOT_FILE, CMD_BOOT_FILE, &ZoTerm::BootFile, After::Focus},
    {CMD_BAUD_2400, CMD_BAUD_115200, &ZoTerm::SelectMenuBaudRate, After::Nothing},
    {CMD_PORT_1, CMD_PORT_NONE, &ZoTerm::OpenMenuPort, After::Nothing},
    {CMD_CLEAR, CMD_CLEAR, &ZoTerm::ClearOutput, After::Nothing},
    {CMD_NEW_WINDOW, CMD_NEW_WINDOW, &ZoTerm::NewWindow, After::Focus},
    {CMD_LOAD_MACROS, CMD_LOAD_MACROS, &ZoTerm::LoadMacros, After::Nothing},
    {CMD_SEND_IMAGE, CMD_SEND_IMAGE, &ZoTerm::SendImage, After::Focus},
    {CMD_CONTENTS, CMD_CONTENTS, nullptr, After::Nothing},
    {CMD_ABOUT, CMD_ABOUT, &ZoTerm::ShowAbout, After::Nothing},
    {CMD_OPTIONS, CMD_OPTIONS, &ZoTerm::ShowOptions, After::Nothing},
    {CMD_PORT_OTHER, CMD_PORT_OTHER, &ZoTerm::ChoosePort, After::Nothing},
    {CMD_FOCUS, CMD_FOCUS, nullptr, After::Focus},
    {CMD_SUMMARY, CMD_SUMMARY, &ZoTerm::ShowSummary, After::Nothing},
    {CMD_DEVICE_DEFAULT, CMD_DEVICE_MP3, &ZoTerm::SelectMenuDevice, After::Nothing},
    {CMD_DEVICE_CUSTOM, CMD_DEVICE_CUSTOM, &ZoTerm::ChooseDevice, After::Nothing},
    {CMD_RECEIVE_FILE, CMD_RECEIVE_FILE, &ZoTerm::ReceiveFile, After::Focus},
    {CMD_ARRANGE, CMD_ARRANGE, nullptr, After::Focus},
};

constexpr WORD FromAccelerator = 1; // in the place of a control's notification

} // namespace

LRESULT ZoTerm::OnCommand(WORD command, WORD notification) {
    if (command == IDC_COMMAND)
        return notification == EnterPressed ? SendTypedLine() : 0;
    if (command == CMD_REBOOT && notification != FromAccelerator &&
        MacroName(CMD_REBOOT - CMD_MACRO_FIRST)) {
        RunMenuMacro(command); // that of the menu, not the key's
        return 0;
    }
    for (const Command& entry : Commands) {
        if (command < entry.first || command > entry.last)
            continue;
        if (entry.run)
            (this->*entry.run)(command);
        if (entry.after == After::Focus)
            SetFocus(m_hCommand);
        return 0;
    }
    return 0;
}

void ZoTerm::Reboot(WORD) {
    SendCommandAloud("reboot");
}

void ZoTerm::RunMenuMacro(WORD command) {
    RunMacro(command - CMD_MACRO_FIRST);
}

void ZoTerm::LoadMacros(WORD) {
    if (ChooseMacrosFile())
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
        StartReceiveList();
}

void ZoTerm::ChoosePort(WORD) {
    OpenPortDialog(*this);
}

void ZoTerm::ChooseDevice(WORD) {
    OpenDeviceDialog(*this);
}

void ZoTerm::ShowSummary(WORD) {
    OpenSummaryDialog(*this);
}

void ZoTerm::ChooseFont(WORD) {
    ChooseTextFont(m_hWnd);
}

void ZoTerm::ShowOptions(WORD) {
    OpenOptionsDialog(*this);
}

void ZoTerm::ShowAbout(WORD) {
    OpenAboutDialog(*this);
}

bool ZoTerm::StartSendBatch(bool image) {
    if (!ResetBatch())
        return false;
    OpenSendFilesDialog(*this, image);
    return m_ProgressDialog != nullptr;
}

bool ZoTerm::StartSendList(const char* list, std::size_t size) {
    const std::size_t checked = CheckedListSize(list, size);
    return checked > 1 && TakesLists() && TakeFileList(list, checked, 0) && StartSendBatch(false);
}

bool ZoTerm::StartReceiveList() {
    OpenReceiveFileDialog(*this);
    return m_ProgressDialog != nullptr;
}

LRESULT ZoTerm::OnDropFiles(HDROP drop) {
    const bool taken = TakesLists() && !m_Busy && TakeDroppedFiles(drop);
    DragFinish(drop);
    if (taken)
        StartSendBatch(false);
    return 0;
}

LRESULT ZoTerm::OnBatchEnded(bool summary, bool complete) {
    FinishBatch(*this, summary, complete);
    return 0;
}
