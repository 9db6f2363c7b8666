#pragma once

// A port under test with its files, and the test itself as the device at the other end.

#include "rig/ComPeer.h"
#include "rig/Files.h"
#include "rig/NoticeWindow.h"
#include "rig/Vectors.h"
#include "simulator/Frames.h"

#include <gtest/gtest.h>

#include <string>
#include <thread>
#include <vector>

inline constexpr DWORD NoticeLife = 250; // ms until a notice that was not taken comes again
inline constexpr DWORD Settle = 200;     // ms for a thread of the port to have its turn
inline const std::string StartPacket = FromHex("0200000400050000D44CBC3F");

inline const std::string Banner = "Preparing to load ZoOS\n";

inline std::string Repeat(const std::string& text, int times) {
    std::string all;
    for (int i = 0; i < times; ++i)
        all += text;
    return all;
}

class OpenPortTest : public testing::Test {
protected:
    OpenPortTest() { Open(); }

    void Open() {
        EXPECT_TRUE(port->Open(pair.ProgramPath().c_str(), 115200, 4096)) << port->LastError();
        EXPECT_TRUE(
            port->SetNotify(window.Handle(), NoticeWindow::Message, NotifyText | NotifyTransfer));
    }

    // The terminal text that has come once `count` bytes are there.
    std::string Text(std::size_t count) {
        std::string text;
        const bool came = WaitUntil([&] {
            char piece[8192];
            std::uint32_t taken = sizeof(piece);
            port->TakeTextNotice();
            EXPECT_TRUE(port->ReadText(piece, &taken));
            text.append(piece, taken);
            return text.size() >= count;
        });
        EXPECT_TRUE(came) << text.size();
        return text;
    }

    // How often a notice came, and that it came no more often than it may in the time since.
    int Notices(NotifyKind kind, ULONGLONG since) {
        const int count = window.Take(kind);
        EXPECT_LE(static_cast<ULONGLONG>(count), 1 + (GetTickCount64() - since) / NoticeLife);
        return count;
    }

    void Expect(const std::string& wire) { EXPECT_EQ(peer.Receive(wire.size()), wire); }

    std::string PeerLine() {
        std::string wire;
        while (wire.find('\n') == std::string::npos) {
            const std::string byte = peer.Receive(1);
            if (byte.empty())
                return wire;
            wire += byte;
        }
        return wire + peer.Receive(2);
    }

    // Sends a command line while the device answers with `reply`.
    bool Command(const std::string& line, const std::string& reply) {
        std::thread device([&] {
            Expect(OnTheWire(line));
            peer.Send(reply);
        });
        const bool accepted = port->SendCommand(line.c_str());
        device.join();
        return accepted;
    }

    bool StartSend(std::uint32_t mode, std::uint32_t imageBlock) {
        return port->StartSend(nullptr, folder.Path("x").c_str(), nullptr, mode, imageBlock);
    }

    // A send whose command has come to the device; with a block size, of an image of one block.
    void AskToTake(const std::string& content, std::uint32_t imageBlock = 0) {
        folder.Write("x", content);
        EXPECT_TRUE(StartSend(imageBlock ? SendModeImage : SendModeFile, imageBlock));
        Expect(OnTheWire(imageBlock ? "imgrcv " + std::to_string(imageBlock) + " 1\r\n"
                                    : "rcv x " + std::to_string(content.size()) + "\r\n"));
    }

    // A reply that does not come too early.
    void Reply(const std::string& reply) {
        Sleep(Settle);
        peer.Send(reply);
    }

    void AskToGive() {
        EXPECT_TRUE(port->StartReceive(folder.Path("y").c_str(), "y"));
        Expect(OnTheWire("upl y"));
    }

    // The device gives a file of one block; no request may come twice.
    void Give(const std::string& content) {
        Expect(StartPacket);
        peer.Send(sim::ControlPacket(sim::ControlReady, 0));
        Expect(sim::ControlPacket(sim::ControlNext, 0));
        peer.Send(sim::DataPacket(0, content));
        Expect(sim::ControlPacket(sim::ControlNext, 1));
        peer.Send(sim::DataPacket(1, ""));
        Expect(sim::ControlPacket(sim::ControlEnd, 1));
        EXPECT_EQ(End(), 0U);
        EXPECT_EQ(folder.Read("y"), content);
    }

    DWORD Status() {
        TransferInfo info = {};
        EXPECT_TRUE(port->GetTransferInfo(&info));
        return info.Status;
    }

    DWORD End() {
        EXPECT_TRUE(WaitUntil([&] { return Status() != ERROR_IO_PENDING; }, 2 * Patience));
        return Status();
    }

    // More than the line holds, so that it takes no more bytes until the device reads.
    void FillLine() { EXPECT_FALSE(port->SendCommand(std::string(400000, 'b').c_str())); }

    std::vector<LineResult> Results(std::size_t count) {
        std::vector<LineResult> results;
        LineResult result;
        EXPECT_TRUE(WaitUntil([&] {
            while (port->TakeResult(&result))
                results.push_back(result);
            return results.size() >= count;
        }));
        return results;
    }

    ComPair pair = ReadComPair();
    ComPeer peer;
    NoticeWindow window;
    TestFolder folder;
    OwnedPort port{CreateComPort()};
};

// The program's end as the program before left it, or as it is to find it.
inline DCB LineSettings(const ComPair& pair, const char* wanted = nullptr) {
    DCB dcb = {};
    dcb.DCBlength = sizeof(dcb);
    const OwnedHandle line(CreateFileA(pair.ProgramPath().c_str(), GENERIC_READ | GENERIC_WRITE, 0,
                                       nullptr, OPEN_EXISTING, 0, nullptr));
    EXPECT_TRUE(GetCommState(line.get(), &dcb));
    EXPECT_TRUE(!wanted || (BuildCommDCBA(wanted, &dcb) && SetCommState(line.get(), &dcb)));
    return dcb;
}
