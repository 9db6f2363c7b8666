// Files over a real COM pair, with the simulated device at the other end: every size that matters,
// every moment to cancel.

#include "rig/DeviceLine.h"
#include "rig/Import.h"
#include "rig/Vectors.h"

#include <algorithm>

STAND_IN(WriteFile);

namespace {

decltype(&WriteFile) SystemWriteFile = __imp_WriteFile;

BOOL WINAPI FullDisk(HANDLE file, const void* bytes, DWORD count, DWORD* written,
                     OVERLAPPED* overlapped) {
    if (GetFileType(file) != FILE_TYPE_DISK)
        return SystemWriteFile(file, bytes, count, written, overlapped);
    SetLastError(ERROR_DISK_FULL);
    return FALSE;
}

} // namespace

TEST(Transfer, EverySizeGoesBothWays) {
    DeviceLine line(ReadComPair());
    for (const DWORD size : {0U, 1U, 511U, 512U, 513U, 5000U}) {
        const std::string content = RandomBytes(size, size);
        ASSERT_TRUE(line.StartSend(content));
        EXPECT_EQ(Shown(line.End()), Shown({0, size, 0, size, 0}));
        EXPECT_TRUE(line.Stored() == content) << size;
        ASSERT_TRUE(line.StartReceive(content));
        EXPECT_FALSE(line.port->StartSend(nullptr, "other", nullptr, SendModeFile, 0));
        EXPECT_EQ(line.port->LastError(), DWORD{ERROR_BUSY});
        EXPECT_EQ(Shown(line.End()), Shown({0, 0, (size + 511) / 512, size, 0}));
        EXPECT_TRUE(line.Received() == content) << size;
    }
    EXPECT_GE(line.window.Take(NotifyTransfer), 12);
    line.ExpectUsable();
}

TEST(Transfer, LocalFilesThatFailAreReported) {
    DeviceLine line(ReadComPair());
    const std::string missing = line.folder.Path("none\\x.bin");
    EXPECT_FALSE(line.port->StartSend("a", missing.c_str(), nullptr, SendModeFile, 0));
    EXPECT_EQ(line.Info().Status, DWORD{ERROR_PATH_NOT_FOUND});
    ASSERT_TRUE(line.port->StartReceive(missing.c_str(), "x"));
    EXPECT_EQ(line.End().Status, DWORD{ERROR_PATH_NOT_FOUND});

    const std::string longName(300, 'n');
    line.folder.Write("x.bin", "x");
    const std::string local = line.folder.Path("x.bin");
    EXPECT_FALSE(line.port->StartSend("a", local.c_str(), longName.c_str(), SendModeFile, 0));
    EXPECT_EQ(line.port->LastError(), DWORD{ERROR_FILENAME_EXCED_RANGE});
    // It fits its field but not its command line.
    const std::string nearly(250, 'n');
    EXPECT_FALSE(line.port->StartSend("a", local.c_str(), nearly.c_str(), SendModeFile, 0));
    EXPECT_EQ(line.Info().Status, DWORD{ERROR_FILENAME_EXCED_RANGE});
    EXPECT_FALSE(line.port->StartSend("a", local.c_str(), "x\nc", SendModeFile, 0));
    EXPECT_EQ(line.port->LastError(), DWORD{ERROR_INVALID_NAME});
    EXPECT_FALSE(line.port->StartReceive(longName.c_str(), "x"));
    EXPECT_FALSE(line.port->StartReceive("x", longName.c_str()));
    EXPECT_EQ(line.port->LastError(), DWORD{ERROR_FILENAME_EXCED_RANGE});
    EXPECT_FALSE(line.port->StartReceive(line.LocalPath().c_str(), "x\nreboot"));
    for (const std::uint32_t size : {0U, 65536U}) {
        EXPECT_FALSE(line.port->StartSend(nullptr, local.c_str(), nullptr, SendModeImage, size));
        EXPECT_EQ(line.port->LastError(), DWORD{ERROR_INVALID_PARAMETER});
    }
    line.ExpectUsable();
    const std::string& wire = line.ToDevice();
    EXPECT_EQ(wire.substr(0, 15), FromHex("0200000400020000D103AABA") + "ver");
    EXPECT_EQ(wire.find("rcv"), std::string::npos);
}

TEST(Transfer, FileThatIsThereIsReplacedOnlyByAWholeOne) {
    const auto received = [](DeviceLine& line) -> DWORD { return line.End().Status; };
    const auto canceled = [](DeviceLine& line) -> DWORD {
        EXPECT_TRUE(WaitUntil([&] { return line.Info().Done >= 512; }));
        line.port->StopReceive();
        return line.End().Status;
    };
    const auto onFullDisk = [](DeviceLine& line) -> DWORD {
        EXPECT_TRUE(WaitUntil([&] { return line.Info().Done >= 512; }));
        const StandIn disk(__imp_WriteFile, &FullDisk);
        return line.End().Status;
    };
    struct Case {
        const char* script;
        DWORD (*end)(DeviceLine& line);
        DWORD status;
        bool readOnly;
    };
    const Case cases[] = {
        {"", received, ERROR_SUCCESS, false},
        {"1 refuse", received, ERROR_CANCELLED, false},
        {"1 end 0", received, ERROR_CANCELLED, false},
        {"", canceled, ERROR_CANCELLED, false},
        {"", onFullDisk, ERROR_DISK_FULL, false},
        {"", received, ERROR_ACCESS_DENIED, true},
    };
    const std::string content = RandomBytes(2000, 7);
    for (const Case& item : cases)
        for (const bool before : {true, false}) {
            SCOPED_TRACE(std::string(item.script) + ", status " + std::to_string(item.status));
            if (item.readOnly && !before)
                continue;
            DeviceLine line(ReadComPair(), item.script);
            if (before)
                line.folder.Write("local.bin", "old");
            if (item.readOnly)
                SetFileAttributesA(line.LocalPath().c_str(), FILE_ATTRIBUTE_READONLY);
            ASSERT_TRUE(line.StartReceive(content));
            EXPECT_EQ(item.end(line), item.status);
            EXPECT_EQ(line.Received(), item.status == 0 ? content : before ? "old" : "");
            const bool refused = std::string(item.script) == "1 refuse"; // leaves an empty file
            const bool there = before || refused || item.status == 0;
            EXPECT_EQ(line.folder.Names(), there ? "device,local.bin," : "device,");
            SetFileAttributesA(line.LocalPath().c_str(), FILE_ATTRIBUTE_NORMAL);
            line.ExpectUsable();
        }
}

TEST(Transfer, CancelAndCloseWorkAtEveryMoment) {
    enum class Way { Send, Boot, Receive };
    const struct {
        Way way;
        const char* script;
        DWORD reached; // the transfer is there when this many bytes are done
        std::string name;
    } moments[] = {
        {Way::Boot, "", 0, "waiting for the boot banner"},
        {Way::Send, "1 silent", 0, "waiting for the answer"},
        {Way::Send, "1 mute 0 99", 0, "waiting for the first reply"},
        {Way::Send, "", 1024, "between frames"},
        {Way::Send, "1 mute 3 99\n2 silent", 1024, "a device that is gone"},
        {Way::Receive, "1 silent", 0, "waiting for the answer of a receive"},
        {Way::Receive, "1 mute 0 99", 0, "starting a receive"},
        {Way::Receive, "", 1024, "between packets"},
    };
    const std::string content(20000, 'd');
    for (const auto& moment : moments) {
        for (const std::string how : {"cancel", "close", "finish"}) {
            SCOPED_TRACE(moment.name + ", " + how);
            DeviceLine line(ReadComPair(), moment.script);
            const bool receives = moment.way == Way::Receive;
            const auto mode = moment.way == Way::Boot ? SendModeBoot : SendModeFile;
            ASSERT_TRUE(receives ? line.StartReceive(content) : line.StartSend(content, mode));
            EXPECT_TRUE(WaitUntil([&] { return line.Info().Done >= moment.reached; }, 20000));
            Sleep(moment.reached ? 0 : 400);
            const ULONGLONG start = GetTickCount64();
            if (how == "close")
                line.port->Close();
            else if (how == "finish")
                line.port->FinishTransfer();
            else if (receives)
                line.port->StopReceive();
            else
                line.port->StopSend();
            EXPECT_LT(GetTickCount64() - start, how == "cancel" ? 1000U : 3000U);
            EXPECT_TRUE(how != "finish" || line.Info().Status != ERROR_IO_PENDING);
            EXPECT_TRUE(how == "close" || line.End().Status != 0);
            EXPECT_EQ(line.Received(), "");
            if (how == "close")
                line.Open();
            if (std::string(moment.script).find("2 silent") != std::string::npos)
                line.port->SendCommand("c"); // the first one was lost
            line.ExpectUsable();
            EXPECT_FALSE(line.folder.Exists("device\\default\\x.bin"));
            EXPECT_TRUE(moment.way != Way::Boot || line.ToDevice() == OnTheWire("ver"));
        }
    }
}

TEST(Transfer, CanceledReceiveDoesNotCostTheNextOneItsFirstPackets) {
    const std::string start = FromHex("0200000400050000D44CBC3F");
    const std::string upload = OnTheWire("upl /a/x.bin");
    const std::string content = RandomBytes(600, 3);
    std::mt19937 random(5);
    DeviceLine line(ReadComPair());
    for (int round = 0; round < 8; ++round) {
        ASSERT_TRUE(line.StartReceive(RandomBytes(20000, 4)));
        Sleep(random() % 900);
        line.port->StopReceive();
        EXPECT_EQ(line.End().Status, DWORD{ERROR_CANCELLED});
        line.ExpectUsable();
        ASSERT_TRUE(line.StartReceive(content));
        EXPECT_EQ(line.End().Status, 0U);
        EXPECT_TRUE(line.Received() == content);
    }
    const std::string& wire = line.ToDevice();
    int uploads = 0;
    for (std::size_t at = wire.find(upload); at != std::string::npos; ++uploads) {
        const std::size_t next = wire.find(upload, at + 1);
        const int starts = Count(wire.substr(at, next - at), start);
        EXPECT_LE(starts, 1) << uploads; // none may be needed again
        at = next;
    }
    EXPECT_GE(uploads, 8) << "a receive may be canceled before it begins";
}
