#pragma once

// A terminal, the simulated device at its line's far end, and files for both.

#include "base/Text.h"
#include "batch/PackedList.h"
#include "batch/TransferResult.h"
#include "fileops/ReceiveFileDialog.h"
#include "resources/resource.h"
#include "rig/ComPeer.h"
#include "rig/Modal.h"
#include "rig/SimDevice.h"
#include "rig/Terminal.h"

#include <memory>
#include <string>
#include <vector>

inline constexpr DWORD LongestOperation = 30000; // ms

inline const std::string Wrong = std::to_string(ResultWrongName);
inline const std::string SendError = std::to_string(ResultSendError);
inline const std::string ApiError = std::to_string(ResultApiError);
inline const std::string Cancelled = std::to_string(ResultCancelled);

// A window manager places a new window in steps.
inline bool IsCentered(HWND dialog) {
    return WaitUntil([=] {
        const RECT parent = RectOf(GetParent(dialog));
        const RECT own = RectOf(dialog);
        return own.left == (parent.left + parent.right) / 2 - (own.right - own.left) / 2 &&
               own.top == (parent.top + parent.bottom) / 2 - (own.bottom - own.top) / 2;
    });
}

class OperationTest : public TerminalTest {
protected:
    ZoTerm& StartWithDevice(const std::string& script = {}, sim::DeviceSetup setup = {}) {
        setup.asksByNumber = true;
        device =
            std::make_unique<SimDevice>(ReadComPair().device, folder.Path("device"), script, setup);
        return StartConnected();
    }

    // A local file with that content; returns its path.
    std::string File(const std::string& name, const std::string& content) {
        folder.Write(name, content);
        return folder.Path(name);
    }

    static std::string Packed(const std::vector<std::string>& paths) {
        std::string list;
        for (const std::string& path : paths)
            list += path + '\0';
        return list + '\0';
    }

    // Hands a list over as another start does.
    LRESULT HandOver(const std::string& list) {
        COPYDATASTRUCT data = {};
        data.cbData = static_cast<DWORD>(list.size());
        data.lpData = const_cast<char*>(list.data());
        return SendMessageA(terminal->m_hWnd, WM_COPYDATA, 0, reinterpret_cast<LPARAM>(&data));
    }

    // True when the operation, its summary and all that follows are over within `limit` ms.
    bool Ended(DWORD limit = LongestOperation) {
        return WaitUntil([&] { return terminal->TakesLists(); }, limit);
    }

    // Receives the file that the settings name. True when that runs.
    bool Receive() {
        OpenReceiveFileDialog(*terminal);
        return terminal->Operation.m_ProgressDialog != nullptr;
    }

    // The last batch's records: "3 blocks 1 errors 1234", or the code; commas between.
    std::string Records() const {
        std::string all;
        const char* at = terminal->Batch.m_Results;
        TransferResult result;
        while ((at = GetResult(at, result)) != nullptr)
            all += (all.empty() ? "" : ", ") +
                   (result.Sent()
                        ? std::to_string(result.code) + " blocks " + std::to_string(result.errors) +
                              " errors " + std::to_string(result.size)
                        : std::to_string(result.code));
        return all;
    }

    // The names that the device got, commas between.
    std::string DeviceNames() const {
        std::string all;
        for (const char* name = terminal->Batch.m_DeviceNames; *name; name = NextName(name))
            all += (all.empty() ? "" : ",") + std::string(name);
        return all;
    }

    std::string StatusText() const { return StatusTextOf(*terminal); }

    std::string Item(int id) const {
        return TextOf(GetDlgItem(terminal->Operation.m_ProgressDialog, id));
    }

    LRESULT Bar(int id) const {
        return SendDlgItemMessageA(terminal->Operation.m_ProgressDialog, id, PBM_GETPOS, 0, 0);
    }

    void PressButton(int id) {
        SendMessageA(terminal->Operation.m_ProgressDialog, WM_COMMAND, static_cast<WPARAM>(id), 0);
    }

    std::string Stored(const std::string& path) const { return folder.Read("device\\" + path); }

    std::unique_ptr<SimDevice> device;
};
