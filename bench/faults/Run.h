#pragma once

// One fault run: carries a plan out on a terminal and judges what has come of it.

#include "bench/faults/Pilot.h"
#include "bench/faults/Plan.h"
#include "rig/Files.h"
#include "rig/SimDevice.h"

#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

class Run {
public:
    // `place` is a folder of the terminal's own in `folder`.
    Run(Pilot& pilot, const TestFolder& folder, std::string place, const Plan& plan);

    // True when all was well.
    bool Carry();

    // After a run that was not: a new window, as far as one opens.
    void Recover();

    // What was wrong, and all that the wire and the user did, with times in ms.
    std::string Report();

private:
    bool Fail(const std::string& why);
    void Note(const std::string& text);
    std::string Path(const std::string& name) const;
    std::string OnDevice(const std::string& name) const;
    std::string Content(std::size_t file) const;
    std::vector<std::string> FilePaths() const;

    void MakeFiles();
    void SwitchOn(const std::string& script, const sim::DeviceSetup& setup);
    void SwitchOff();

    bool Begin();
    bool Watch();
    void Do(const PlannedDeed& deed);
    void Unplug(bool device, DWORD time);
    bool Tend(const View& view);
    void TendDialog(HWND dialog);
    bool WaitClosed();
    bool NeverEnds(const View& view, sim::Millis since);

    bool Judge();
    bool JudgeBatch();
    bool JudgeOne(const std::string& device, const std::string& local);
    bool JudgeReceived();

    bool ComeBack();
    void AwaitSilence();
    bool Connected();
    bool TryLine();
    bool TrySend();
    bool TryReceive();
    bool WaitIdle(DWORD limit);
    bool JudgeFolder();

    Pilot& m_Pilot;
    const TestFolder& m_Folder;
    std::string m_Place;
    const Plan& m_Plan;
    std::unique_ptr<SimDevice> m_Device;
    std::vector<std::pair<sim::Millis, std::string>> m_Log;
    std::map<HWND, sim::Millis> m_Seen; // dialogs, and since when
    std::string m_Why;
    sim::Millis m_Start = 0;
    bool m_Canceled = false;
    int m_Renamed = 0;
    bool m_Unplugged = false;
    bool m_Closed = false;    // the window was
    bool m_Disturbed = false; // another list was taken: what the batch says is of that one
};
