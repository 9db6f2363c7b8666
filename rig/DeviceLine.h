#pragma once

// One port with its files, and a simulated device at the other end.

#include "rig/ComPeer.h"
#include "rig/Files.h"
#include "rig/NoticeWindow.h"
#include "rig/SimDevice.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <set>
#include <string>
#include <vector>

class DeviceLine {
public:
    explicit DeviceLine(const ComPair& pair, const std::string& script = {},
                        const sim::DeviceSetup& setup = {})
        : device(std::make_unique<SimDevice>(pair.device, folder.Path("device"), script, setup)),
          path(pair.ProgramPath()), port(CreateComPort()) {
        Open();
    }

    void Open() {
        EXPECT_TRUE(port->Open(path.c_str(), 115200, 4096)) << port->LastError();
        port->SetNotify(window.Handle(), NoticeWindow::Message, NotifyText | NotifyTransfer);
    }

    bool StartSend(const std::string& content, std::uint32_t mode = SendModeFile,
                   std::uint32_t imageBlockSize = 0) {
        folder.Write("x.bin", content);
        return port->StartSend(mode == SendModeFile ? "a" : nullptr, folder.Path("x.bin").c_str(),
                               nullptr, mode, imageBlockSize);
    }

    bool StartReceive(const std::string& content) {
        folder.Write("device\\a\\x.bin", content);
        return port->StartReceive(LocalPath().c_str(), "/a/x.bin");
    }

    TransferInfo Info() {
        TransferInfo info = {};
        EXPECT_TRUE(port->GetTransferInfo(&info));
        return info;
    }

    // Waits for the end of a transfer, which the last notice must report.
    TransferInfo End(DWORD limit = 60000) {
        static std::set<std::uint32_t> numbers;
        TransferInfo info = {};
        std::uint32_t number = 0;
        EXPECT_TRUE(WaitUntil([&] { return Info().Status != ERROR_IO_PENDING; }, limit));
        EXPECT_TRUE(port->GetTransferInfo(&info, &number));
        EXPECT_TRUE(numbers.insert(number).second) << "no two transfers have the same number";
        EXPECT_TRUE(WaitUntil([&] {
            return window.Last(NotifyTransfer) == (std::uint64_t{number} << 32 | info.Status);
        }));
        return info;
    }

    // The device's console takes commands again, and nothing from before is still on the line.
    void ExpectUsable() {
        EXPECT_TRUE(WaitUntil([&] { return port->SendCommand("ver"); })) << "the line is stuck";
        std::string text;
        EXPECT_TRUE(WaitUntil([&] {
            char piece[4096];
            std::uint32_t taken = sizeof(piece);
            EXPECT_TRUE(port->ReadText(piece, &taken));
            text.append(piece, taken);
            return text.find("simulated\r\nzorbel> ") != std::string::npos;
        })) << text;
    }

    // What went to the device, in all.
    const std::string& ToDevice() {
        device->Stop();
        return device->Tap().received;
    }

    std::string Stored() { return folder.Read("device\\a\\x.bin"); }
    std::string LocalPath() { return folder.Path("local.bin"); }
    std::string Received() { return folder.Read("local.bin"); }

    TestFolder folder;
    NoticeWindow window;
    std::unique_ptr<SimDevice> device;
    std::string path; // of the port
    OwnedPort port;
};

inline int Count(const std::string& text, const std::string& part) {
    int count = 0;
    for (std::size_t at = text.find(part); at != std::string::npos; at = text.find(part, at + 1))
        ++count;
    return count;
}

inline std::string Shown(const TransferInfo& info) {
    return "status " + std::to_string(info.Status) + ", size " + std::to_string(info.Size) +
           ", block " + std::to_string(info.Block) + ", done " + std::to_string(info.Done) +
           ", errors " + std::to_string(info.Errors);
}

// Runs one transfer for each case, as many at a time as there are lines: none may disturb another.
template <typename Case, std::size_t Count, typename Start, typename Check>
void OnEveryLine(const Case (&cases)[Count], Start start, Check check) {
    const std::vector<ComPair> pairs = AllComPairs();
    for (std::size_t first = 0; first < Count; first += pairs.size()) {
        std::vector<std::unique_ptr<DeviceLine>> lines;
        const std::size_t batch = std::min(pairs.size(), Count - first);
        for (std::size_t i = 0; i < batch; ++i) {
            lines.push_back(std::make_unique<DeviceLine>(pairs[i], cases[first + i].script));
            ASSERT_TRUE(start(*lines[i]));
        }
        for (std::size_t i = 0; i < batch; ++i) {
            SCOPED_TRACE(cases[first + i].script);
            check(*lines[i], cases[first + i]);
        }
    }
}
