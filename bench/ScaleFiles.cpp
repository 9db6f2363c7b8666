// Files over the line, and lists of files.

#include "base/Text.h"
#include "batch/PackedList.h"
#include "batch/TransferBatch.h"
#include "bench/Scale.h"
#include "link/ComPort.h"
#include "rig/Files.h"
#include "rig/Registry.h"
#include "rig/Terminal.h"
#include "rig/Wait.h"
#include "shell/Dispatcher.h"

#include <shlobj.h>

#include <algorithm>
#include <functional>
#include <memory>

namespace {

constexpr DWORD Rate = 921600;
constexpr DWORD LongestList = 60000; // ms
constexpr char SummaryTitle[] = "Sent status";

struct Cost {
    double seconds;
    double cpu;
};

// Of a transfer, from its start to its end; -1 s when it failed.
Cost CostOf(ComPort& port, const std::function<bool()>& start) {
    const Usage self(GetCurrentProcess(), "zo_scale.exe");
    const double cpu = self.CpuSeconds();
    const double began = Seconds();
    TransferInfo info = {};
    if (!start())
        return {-1, 0};
    do
        Sleep(5);
    while (port.GetTransferInfo(&info) && info.Status == ERROR_IO_PENDING);
    return {info.Status == 0 ? Seconds() - began : -1, self.CpuSeconds() - cpu};
}

// Files that are there, but have no name for the device: a hundred in a folder, since Wine looks
// through the whole folder for each new one.
class WrongNames {
public:
    explicit WrongNames(std::size_t most) {
        for (std::size_t i = 0; i < most; ++i) {
            const std::string name = std::to_string(i / 100) + "\\file " + std::to_string(i);
            m_Folder.Write(name, "x");
            m_Paths.push_back(m_Folder.Path(name));
        }
    }
    const std::vector<std::string>& Paths() const { return m_Paths; }

    std::string List(std::size_t count) const {
        std::string list;
        for (std::size_t i = 0; i < count; ++i)
            list += m_Paths[i] + '\0';
        return list + '\0';
    }

private:
    TestFolder m_Folder;
    std::vector<std::string> m_Paths;
};

// s that the batch itself needs for a list, half of it sent: the best of some rounds.
double BookkeepingSeconds(const std::string& list) {
    constexpr int Rounds = 30;
    double best = 0;
    for (int round = 0; round < Rounds; ++round) {
        const double start = Seconds();
        TransferBatch batch;
        batch.Allocate();
        batch.TakeList(list.data(), CheckedListSize(list.data(), list.size()), 0);
        batch.Reset();
        batch.Begin(batch.m_FileList, false, list.size());
        for (bool sent = false; !batch.AtEnd(); sent = !sent) {
            CopyText(batch.m_DeviceFileName, "name");
            if (sent)
                batch.RecordSent(1, 0, 1);
            else
                batch.Record(ResultSendError);
            batch.FinishFile(1);
        }
        const double took = Seconds() - start;
        best = round == 0 ? took : std::min(best, took);
    }
    return best;
}

// Hands a list over as another start of the program does.
void HandOver(HWND terminal, const std::string& list) {
    std::string copy = list;
    COPYDATASTRUCT data = {0, static_cast<DWORD>(copy.size()), copy.data()};
    SendMessageA(terminal, WM_COPYDATA, 0, reinterpret_cast<LPARAM>(&data));
}

struct HandOverCost {
    double taken = 0;   // s until the program has answered
    double summary = 0; // s until its summary shows every file
    double slowest = 0; // ms
    double cpu = 0;     // s
};

HandOverCost CostOfHandOver(const Console& console, const std::string& list) {
    HandOverCost cost;
    const Prober prober({console.window});
    const double cpu = console.CpuSeconds();
    const double start = Seconds();
    HandOver(console.window, list);
    cost.taken = Seconds() - start;
    HWND summary = nullptr;
    const bool shown = WaitUntil(
        [&] { return (summary = FindWindowA(nullptr, SummaryTitle)) != nullptr; }, LongestList);
    SendMessageA(summary, WM_NULL, 0, 0);
    cost.summary = shown ? Seconds() - start : -1;
    cost.cpu = console.CpuSeconds() - cpu;
    Sleep(200); // the last question is answered
    cost.slowest = prober.SlowestMs();
    SendMessageA(summary, WM_COMMAND, IDOK, 0);
    WaitUntil([&] { return !IsWindow(summary); }, LongestList);
    return cost;
}

HDROP MakeDrop(const std::vector<std::string>& paths, std::size_t count) {
    std::wstring names;
    for (std::size_t i = 0; i < count; ++i)
        names += std::wstring(paths[i].begin(), paths[i].end()) + L'\0';
    names += L'\0';
    const std::size_t bytes = names.size() * sizeof(wchar_t);
    const HGLOBAL memory = GlobalAlloc(GHND, sizeof(DROPFILES) + bytes);
    auto* const drop = static_cast<DROPFILES*>(GlobalLock(memory));
    drop->pFiles = sizeof(DROPFILES);
    drop->fWide = TRUE;
    std::copy_n(reinterpret_cast<const char*>(names.data()), bytes,
                reinterpret_cast<char*>(drop + 1));
    GlobalUnlock(memory);
    return static_cast<HDROP>(memory);
}

// s that the window's thread is busy with files dropped on it, of this process's own terminal.
double DropSeconds(HWND terminal, const std::vector<std::string>& paths, std::size_t count) {
    const HDROP drop = MakeDrop(paths, count);
    const double start = Seconds();
    SendMessageA(PaneOf(terminal), WM_DROPFILES, reinterpret_cast<WPARAM>(drop), 0);
    const double busy = Seconds() - start;
    WaitUntil([&] { return TerminalOf(terminal).TakesLists(); }, LongestList);
    return busy;
}

} // namespace

// KB; s and CPU ms of a send, s and CPU ms of a receive.
void MeasureFiles() {
    const ComPair pair = ReadComPair();
    const TestFolder folder;
    const Process device("ZorbelSim.exe", "--port " + pair.device + " --reply-delay 15 --files \"" +
                                              folder.Path("device") + "\"");
    const std::unique_ptr<ComPort, void (*)(ComPort*)> port(CreateComPort(), &DestroyComPort);
    port->Open(pair.ProgramPath().c_str(), Rate, 4096);
    port->SetFast(true);
    WaitUntil([&] { return port->SendCommand("ver"); });
    constexpr std::size_t sizes[] = {1, 4, 16, 64, 256, 1024, 2048};
    for (const std::size_t size : sizes) {
        folder.Write("x", RandomBytes(size << 10, size));
        const Cost sent = CostOf(
            *port,
            [&] {
                return port->StartSend("a", folder.Path("x").c_str(), nullptr, SendModeFile, 0);
            });
        const Cost received =
            CostOf(*port, [&] { return port->StartReceive(folder.Path("y").c_str(), "/a/x"); });
        const bool same = folder.Read("y") == folder.Read("x");
        PrintRow({static_cast<double>(size), sent.seconds, sent.cpu * 1000,
                  same ? received.seconds : -1, received.cpu * 1000});
    }
}

// Files; ms until a list is taken that another process hands over, ms until its summary shows every
// file, slowest answer in ms, CPU ms; ms that the window is busy with a drop; us of the batch.
void MeasureList() {
    constexpr std::size_t Counts[] = {1, 10, 100, 1000, 10000};
    const WrongNames names(Counts[4]);
    std::vector<std::vector<double>> rows;
    {
        PlantFirst(Rate);
        PlantNumber(ConsoleKey, "AskBeforeSendWrongFile", 0);
        PlantNumber(ConsoleKey, "DisplaySummary", 1);
        const Console console;
        console.IdlePercent(2);
        for (const std::size_t count : Counts) {
            const HandOverCost cost = CostOfHandOver(console, names.List(count));
            rows.push_back({static_cast<double>(count), cost.taken * 1000, cost.summary * 1000,
                            cost.slowest, cost.cpu * 1000});
        }
    }
    PlantFirst(Rate);
    PlantNumber(ConsoleKey, "AskBeforeSendWrongFile", 0);
    PlantNumber(ConsoleKey, "DisplaySummary", 0);
    CreateDispatcher(GetModuleHandleA(nullptr));
    const HWND terminal = TerminalWindows().at(0);
    for (std::size_t i = 0; i < rows.size(); ++i) {
        rows[i].push_back(1000 * DropSeconds(terminal, names.Paths(), Counts[i]));
        rows[i].push_back(1e6 * BookkeepingSeconds(names.List(Counts[i])));
        PrintRow(rows[i]);
    }
    SendMessageA(terminal, WM_CLOSE, 0, 0);
    WaitUntil([&] { return !IsWindow(terminal); });
}
