#include "bench/faults/Pilot.h"

#include "base/Text.h"
#include "batch/PackedList.h"
#include "bench/faults/Gui.h"
#include "fileops/BootDialog.h"
#include "fileops/ReceiveFileDialog.h"
#include "fileops/SendFilesDialog.h"
#include "link/codec/PathName.h"
#include "resources/resource.h"
#include "rig/Registry.h"
#include "rig/Terminal.h"

#include <memory>
#include <utility>

namespace {

constexpr UINT Patience = 60000; // ms for the answer to a sent message

LRESULT Send(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
    DWORD_PTR answer = 0;
    SendMessageTimeoutA(window, message, wParam, lParam, SMTO_NORMAL, Patience, &answer);
    return static_cast<LRESULT>(answer);
}

} // namespace

// GUI thread, which has enough to do without looking for the window each time. Null: the slot is
// free.
ZoTerm* Pilot::Terminal() {
    if (IsWindow(m_Window) && TerminalOf(m_Window).m_Slot == m_Slot)
        return &TerminalOf(m_Window);
    m_Window = nullptr;
    for (const HWND window : TerminalWindows())
        if (TerminalOf(window).m_Slot == m_Slot)
            m_Window = window;
    return m_Window ? &TerminalOf(m_Window) : nullptr;
}

bool Pilot::OnTerminal(const std::function<void(ZoTerm&)>& function) {
    const auto there = std::make_shared<bool>(false);
    OnGui([this, function, there] {
        ZoTerm* const terminal = Terminal();
        *there = terminal != nullptr;
        if (terminal)
            function(*terminal);
    });
    return *there;
}

bool Pilot::Look(View& view) {
    view = {};
    return OnGui([&] {
        ZoTerm* const terminal = Terminal();
        if (!terminal)
            return;
        view.window = terminal->m_hWnd;
        view.progress = terminal->Operation.m_ProgressDialog;
        view.idle = terminal->TakesLists();
        view.awaits = terminal->Port->AwaitsResults();
        view.port = terminal->Settings.m_PortNumber;
        view.status = StatusTextOf(*terminal);
    });
}

HWND Pilot::Window() {
    View view;
    if (!IsWindow(m_Window))
        Look(view);
    return m_Window;
}

// Others open theirs at the same time, and the first free slot is filled first. The settings that a
// new terminal finds are those of any that was closed before: its port is somebody else's.
bool Pilot::Open() {
    bool there = false;
    bool opened = false;
    for (int i = 0; i < 20 && !there; ++i)
        if (!OnGui([&] {
                there = Terminal() != nullptr;
                if (there)
                    return;
                const std::string key = "\\Instance" + std::to_string(TerminalWindows().size());
                PlantNumber(SettingsRoot + key, "Port", 0);
                SendMessageA(TerminalWindows().at(0), WM_COMMAND, CMD_NEW_WINDOW, 0);
                opened = true;
            }))
            return false;
    if (opened)
        OpenPort();
    return there;
}

void Pilot::OpenPort() {
    Command(static_cast<WORD>(CMD_PORT_FOUND + m_Pair.number));
}

bool Pilot::Configure(const Plan& plan) {
    return OnTerminal([&](ZoTerm& terminal) {
        terminal.SelectDevice("a");
        terminal.Settings.m_AskBeforeSendWrongFile = plan.asksForNames;
        terminal.Settings.m_DisplaySummary = plan.showsSummary;
        terminal.Settings.m_ShowProgress = plan.showsProgress;
        terminal.Settings.m_DropOldestText = plan.dropsOldest;
        terminal.Settings.m_ImageBlockSize = plan.imageBlock;
        terminal.Settings.m_FastTransfers = plan.fast;
        terminal.Port->SetFast(plan.fast);
    });
}

bool Pilot::HandOver(const std::vector<std::string>& paths) {
    std::string list;
    for (const std::string& path : paths)
        list += path + '\0';
    list += '\0';
    COPYDATASTRUCT data = {0, static_cast<DWORD>(list.size()), list.data()};
    return Send(Window(), WM_COPYDATA, 0, reinterpret_cast<LPARAM>(&data)) != 0;
}

bool Pilot::Receive(const std::string& path) {
    bool begun = false;
    OnTerminal([&](ZoTerm& terminal) {
        begun = terminal.TakesLists() && CopyText(terminal.Settings.m_ReceiveFile, path.c_str());
        if (begun)
            OpenReceiveFileDialog(terminal);
    });
    return begun;
}

bool Pilot::SendImage(const std::string& path) {
    bool begun = false;
    OnTerminal([&](ZoTerm& terminal) {
        begun = terminal.TakesLists() && CopyText(terminal.Settings.m_ImageFile, path.c_str()) &&
                terminal.Batch.Reset();
        if (begun)
            OpenSendFilesDialog(terminal, true);
    });
    return begun;
}

bool Pilot::Boot(const std::string& path) {
    bool begun = false;
    OnTerminal([&](ZoTerm& terminal) {
        begun = terminal.TakesLists() && CopyText(terminal.Settings.m_BootFile, path.c_str());
        if (begun)
            OpenBootDialog(terminal);
    });
    return begun;
}

void Pilot::Command(WORD command, WORD notification) {
    PostMessageA(Window(), WM_COMMAND, MAKEWPARAM(command, notification), 0);
}

void Pilot::Type(const std::string& line) {
    HWND window = nullptr;
    if (OnTerminal([&](ZoTerm& terminal) {
            window = terminal.m_hWnd;
            SetWindowTextA(CommandBoxOf(terminal), line.c_str());
        }))
        PostMessageA(window, WM_COMMAND, MAKEWPARAM(IDC_COMMAND, ZoTerm::EnterPressed), 0);
}

bool Pilot::Ask(const std::string& line) {
    HWND window = nullptr;
    return OnTerminal([&](ZoTerm& terminal) {
               window = terminal.m_hWnd;
               SetWindowTextA(CommandBoxOf(terminal), line.c_str());
           }) &&
           Send(window, WM_COMMAND, MAKEWPARAM(IDC_COMMAND, ZoTerm::EnterPressed), 0) != 0;
}

void Pilot::Close() {
    PostMessageA(Window(), WM_CLOSE, 0, 0);
}

std::vector<FileRecord> Pilot::Records() {
    std::vector<FileRecord> records;
    OnTerminal([&](ZoTerm& terminal) {
        const char* name = terminal.Batch.m_DeviceNames;
        const char* at = terminal.Batch.m_Results;
        for (TransferResult result; at && (at = GetResult(at, result)) != nullptr;) {
            records.push_back({result.Sent(), result.Sent() ? BaseName(name) : ""});
            if (result.Sent())
                name = NextName(name);
        }
    });
    return records;
}

TransferInfo Pilot::Transfer() {
    TransferInfo info = {ERROR_DEVICE_NOT_CONNECTED, 0, 0, 0, 0};
    OnTerminal([&](ZoTerm& terminal) { terminal.Port->GetTransferInfo(&info); });
    return info;
}

std::string Pilot::Text() {
    HWND pane = nullptr;
    OnTerminal([&](ZoTerm& terminal) { pane = OutputOf(terminal); });
    return pane ? TextOf(pane) : std::string();
}

std::vector<HWND> DialogsOver(HWND owner) {
    std::vector<HWND> dialogs;
    HWND dialog = nullptr;
    while (owner && (dialog = FindWindowExA(nullptr, dialog, "#32770", nullptr)) != nullptr)
        if (GetWindow(dialog, GW_OWNER) == owner && IsWindowVisible(dialog))
            dialogs.push_back(dialog);
    return dialogs;
}
