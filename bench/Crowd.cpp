#include "bench/Crowd.h"

#include "base/Text.h"
#include "fileops/ReceiveFileDialog.h"
#include "resources/resource.h"
#include "rig/Rig.h"
#include "rig/Terminal.h"

#include <algorithm>
#include <random>

Crowd::Crowd(const TestFolder& folder, const std::vector<ComPair>& pairs) : m_Folder(folder) {
    for (std::size_t i = TerminalWindows().size(); i < pairs.size(); ++i)
        SendMessageA(TerminalWindows()[0], WM_COMMAND, CMD_NEW_WINDOW, 0);
    for (std::size_t i = 0; i < pairs.size(); ++i) {
        Worker worker = {nullptr, nullptr, "crowd" + std::to_string(i), pairs[i]};
        for (const HWND window : TerminalWindows())
            if (TerminalOf(window).m_Slot == i)
                worker.terminal = &TerminalOf(window);
        SwitchOn(worker);
        worker.terminal->Settings.m_ShowProgress = 0;
        worker.terminal->SelectDevice("a");
        EXPECT_TRUE(worker.terminal->OpenPort(pairs[i].number, 115200));
        CopyText(worker.terminal->Settings.m_ReceiveFile,
                 folder.Path(worker.place + "\\back.bin").c_str());
        m_Workers.push_back(std::move(worker));
    }
}

void Crowd::SwitchOn(Worker& worker) {
    worker.device = nullptr; // the port is free again
    worker.device =
        std::make_unique<SimDevice>(worker.pair.device, m_Folder.Path(worker.place + "\\device"),
                                    "", sim::DeviceSetup(), false);
}

void Crowd::Replug(std::size_t terminal, int operations) {
    Worker& worker = m_Workers[terminal];
    const std::string& port = worker.pair.program;
    if (!CutCable(port))
        return;
    EXPECT_TRUE(WaitUntil([&] { return worker.terminal->Settings.m_PortNumber == 0; }));
    SwitchOn(worker);
    RestoreCable(port);
    EXPECT_TRUE(WaitUntil([&] { return worker.terminal->Settings.m_PortNumber != 0; }));
    worker.left = operations;
}

void Crowd::Assign(int operations, std::size_t fileSize) {
    m_FileSize = fileSize;
    for (std::size_t i = 0; i < m_Workers.size(); ++i) {
        const std::string& place = m_Workers[i].place;
        m_Folder.Write(place + "\\send.bin", RandomBytes(fileSize, i));
        m_Folder.Write(place + "\\device\\a\\back.bin", RandomBytes(fileSize, 100 + i));
        m_Workers[i].left = operations;
        // Text in the pane takes memory for each of its lines.
        SendMessageA(m_Workers[i].terminal->m_hWnd, WM_COMMAND, CMD_CLEAR, 0);
    }
}

bool Crowd::AllDone() {
    bool done = true;
    for (std::size_t i = 0; i < m_Workers.size(); ++i) {
        Worker& worker = m_Workers[i];
        if (worker.terminal->TakesLists() && worker.left > 0 &&
            worker.terminal->Settings.m_PortNumber)
            Start(worker, (static_cast<std::size_t>(worker.left--) + i) % 2 == 0);
        done = done && worker.left == 0 && worker.terminal->TakesLists();
    }
    return done;
}

void Crowd::Start(Worker& worker, bool sends) {
    const std::string list = m_Folder.Path(worker.place + "\\send.bin") + std::string(2, '\0');
    if (sends)
        worker.terminal->StartSendList(list.data(), list.size());
    else
        OpenReceiveFileDialog(*worker.terminal);
    EXPECT_NE(worker.terminal->Operation.m_ProgressDialog, nullptr);
}

int Crowd::WrongFiles() const {
    int wrong = 0;
    for (std::size_t i = 0; i < m_Workers.size(); ++i) {
        const std::string& place = m_Workers[i].place;
        wrong += m_Folder.Read(place + "\\device\\a\\send.bin") != RandomBytes(m_FileSize, i);
        wrong += m_Folder.Read(place + "\\back.bin") != RandomBytes(m_FileSize, 100 + i);
    }
    return wrong;
}

void Crowd::Close() {
    std::shuffle(m_Workers.begin(), m_Workers.end(), std::minstd_rand(1));
    for (const Worker& worker : m_Workers)
        SendMessageA(worker.terminal->m_hWnd, WM_CLOSE, 0, 0);
    m_Workers.clear();
}

HWND Crowd::FirstWindow() const {
    return m_Workers[0].terminal->m_hWnd;
}
