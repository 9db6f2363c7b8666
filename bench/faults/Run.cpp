#include "bench/faults/Run.h"

#include "resources/resource.h"
#include "rig/Rig.h"
#include "rig/Wait.h"

#include <algorithm>
#include <cctype>
#include <optional>

namespace {

constexpr DWORD Look = 25;               // ms between two looks
constexpr DWORD LongestCancel = 15000;   // ms from a cancel to the end of the operation
constexpr DWORD Silence = 300;           // ms
constexpr DWORD LongestReturn = 15000;   // ms until a port is back
constexpr DWORD ChosenAgain = 5000;      // ms until it is chosen again
constexpr DWORD LongestQueue = 60000;    // ms for the lines that wait
constexpr DWORD LongestClean = 60000;    // ms for a clean transfer
constexpr DWORD DialogTime = 300;        // ms that a dialog which came by itself is looked at
constexpr std::size_t LongestShown = 60; // bytes of a chunk that the log shows

constexpr char OldContent[] = "what was there before";

std::string Shown(const std::string& bytes) {
    static constexpr char digits[] = "0123456789ABCDEF";
    std::string text;
    for (const char c : bytes.substr(0, LongestShown)) {
        const auto byte = static_cast<unsigned char>(c);
        if (std::isprint(byte) && byte != '\\')
            text += c;
        else
            text += {'\\', digits[byte >> 4], digits[byte & 15]};
    }
    return text + (bytes.size() > LongestShown ? "..." : "");
}

bool EndsWith(const std::string& text, const std::string& end) {
    return text.size() >= end.size() &&
           text.compare(text.size() - end.size(), end.size(), end) == 0;
}

} // namespace

Run::Run(Pilot& pilot, const TestFolder& folder, std::string place, const Plan& plan)
    : m_Pilot(pilot), m_Folder(folder), m_Place(std::move(place)), m_Plan(plan) {}

bool Run::Carry() {
    m_Start = sim::CounterMillis();
    MakeFiles();
    SwitchOn(m_Plan.script, m_Plan.device);
    const bool good = m_Pilot.Configure(m_Plan) && Begin() && Watch() && Judge();
    const bool back = (good || Fail("it could not be carried out")) && ComeBack();
    return back && TryLine() && TrySend() && TryReceive() && JudgeFolder();
}

bool Run::Fail(const std::string& why) {
    if (m_Why.empty())
        m_Why = why;
    return false;
}

void Run::Note(const std::string& text) {
    m_Log.emplace_back(sim::CounterMillis(), text);
}

void Run::Recover() {
    Note("recover");
    RestoreCable(m_Pilot.Pair().program);
    RestoreCable(m_Pilot.Pair().device);
    View view;
    m_Pilot.Look(view);
    PostMessageA(view.progress, WM_COMMAND, IDCANCEL, 0);
    if (m_Pilot.Slot() > 0)
        WaitClosed();
    ComeBack();
}

std::string Run::Report() {
    SwitchOff();
    std::stable_sort(m_Log.begin(), m_Log.end(),
                     [](const auto& one, const auto& other) { return one.first < other.first; });
    std::string text = "FAILED: " + m_Why + "\n" + Describe(m_Plan);
    for (const auto& [time, what] : m_Log)
        text += std::to_string(time - m_Start) + " " + what + "\n";
    return text;
}

std::string Run::Path(const std::string& name) const {
    return m_Folder.Path(m_Place + "\\local\\" + name);
}

std::string Run::OnDevice(const std::string& name) const {
    return m_Folder.Read(m_Place + "\\device\\" + name);
}

std::string Run::Content(std::size_t file) const {
    return RandomBytes(m_Plan.files[file].size, m_Plan.seed + file);
}

std::vector<std::string> Run::FilePaths() const {
    std::vector<std::string> paths;
    for (const PlannedFile& file : m_Plan.files)
        paths.push_back(Path(file.name));
    return paths;
}

void Run::MakeFiles() {
    std::error_code error;
    std::filesystem::remove_all(m_Folder.Path(m_Place), error);
    m_Folder.Write(m_Place + "\\local\\clean.bin", RandomBytes(1300, m_Plan.seed + 10));
    m_Folder.Write(m_Place + "\\device\\a\\back.bin", RandomBytes(1300, m_Plan.seed + 11));
    const bool receives = m_Plan.work == Work::Receive;
    for (std::size_t i = 0; i < m_Plan.files.size(); ++i) {
        const std::string& name = m_Plan.files[i].name;
        if (!receives)
            m_Folder.Write(m_Place + "\\local\\" + name, Content(i));
        else if (!m_Plan.knowsNoFile)
            m_Folder.Write(m_Place + "\\device\\a\\" + name, Content(i));
        if (receives && m_Plan.replaces)
            m_Folder.Write(m_Place + "\\local\\" + name, OldContent);
    }
}

void Run::SwitchOn(const std::string& script, const sim::DeviceSetup& setup) {
    m_Device = std::make_unique<SimDevice>(m_Pilot.Pair().device,
                                           m_Folder.Path(m_Place + "\\device"), script, setup);
}

// What went over the line goes into the log.
void Run::SwitchOff() {
    if (!m_Device)
        return;
    m_Device->Stop();
    const sim::WireTap& tap = m_Device->Tap();
    std::size_t sent = 0;
    std::size_t received = 0;
    for (const sim::WireTap::Chunk& chunk : tap.chunks) {
        std::size_t& at = chunk.sent ? sent : received;
        const std::string bytes = (chunk.sent ? tap.sent : tap.received).substr(at, chunk.size);
        at += chunk.size;
        m_Log.emplace_back(chunk.time, (chunk.sent ? "  <- " : "  -> ") +
                                           std::to_string(chunk.size) + " " + Shown(bytes));
    }
    m_Device.reset();
}

// Lines are the work of a person, and begin at once.
bool Run::Begin() {
    Note("begin");
    const std::string first = Path(m_Plan.files[0].name);
    bool begun = true;
    switch (m_Plan.work) {
    case Work::Send: begun = m_Pilot.HandOver(FilePaths()) || m_Plan.NamesNothing(); break;
    case Work::Receive: begun = m_Pilot.Receive(first); break;
    case Work::Image: begun = m_Pilot.SendImage(first); break;
    case Work::Boot:
        begun = m_Pilot.Boot(first);
        m_Pilot.Command(CMD_REBOOT, 1);
        break;
    case Work::Lines:
        for (const std::string& line : m_Plan.lines)
            m_Pilot.Type(line);
        break;
    case Work::Macro: m_Pilot.Command(static_cast<WORD>(CMD_MACRO_FIRST + m_Plan.seed % 2)); break;
    }
    return begun || Fail("the operation was refused");
}

// Until the operation has ended and all deeds are done.
bool Run::Watch() {
    std::size_t next = 0;
    sim::Millis canceled = 0;
    for (;;) {
        const sim::Millis now = sim::CounterMillis();
        for (; next < m_Plan.deeds.size() && m_Start + m_Plan.deeds[next].at <= now && !m_Closed;
             ++next)
            Do(m_Plan.deeds[next]);
        View view;
        if (!m_Pilot.Look(view))
            return Fail("the window does not answer");
        const bool quiet = Tend(view) && view.idle && !view.awaits;
        if (m_Closed || (next == m_Plan.deeds.size() && quiet))
            return true;
        if (!canceled && now > m_Start + m_Plan.patience) {
            Note("cancel, at the end of patience");
            canceled = now;
            m_Canceled = true;
            PostMessageA(view.progress, WM_COMMAND, IDCANCEL, 0);
        }
        if (canceled && NeverEnds(view, now - canceled))
            return false;
        Sleep(Look);
    }
}

bool Run::NeverEnds(const View& view, sim::Millis since) {
    if (since < LongestCancel || (view.idle && since < LongestQueue))
        return false;
    Note("status: " + view.status);
    Fail(view.idle ? "a line or a dialog stays" : "the operation does not end");
    return true;
}

void Run::Do(const PlannedDeed& deed) {
    static constexpr WORD dialogs[] = {CMD_ABOUT,      CMD_PORT_OTHER, CMD_DEVICE_CUSTOM,
                                       CMD_BAUD_OTHER, CMD_OPTIONS,    CMD_FONT,
                                       CMD_SEND_FILES, CMD_SUMMARY,    CMD_FIND};
    const ComPair& pair = m_Pilot.Pair();
    Note(NameOf(deed.deed));
    View view;
    switch (deed.deed) {
    case Deed::Cancel:
        m_Pilot.Look(view);
        m_Canceled = true;
        PostMessageA(view.progress, WM_COMMAND, IDCANCEL, 0);
        break;
    case Deed::OtherList:
        if (m_Pilot.HandOver({Path("clean.bin")})) {
            Note("it was taken");
            m_Disturbed = true;
        }
        break;
    case Deed::Line: m_Pilot.Type("echo " + std::string(deed.number % 200, 'x')); break;
    case Deed::Stop: m_Pilot.Type("c"); break;
    case Deed::Reboot: m_Pilot.Command(CMD_REBOOT, 1); break;
    case Deed::Clear: m_Pilot.Command(CMD_CLEAR); break;
    case Deed::Dialog: m_Pilot.Command(dialogs[deed.number % std::size(dialogs)]); break;
    case Deed::Rate: m_Pilot.Command(deed.number % 2 ? CMD_BAUD_57600 : CMD_BAUD_115200); break;
    case Deed::OtherPort:
        m_Unplugged = true;
        m_Pilot.Command(CMD_PORT_NONE);
        Sleep(deed.number / 5);
        m_Pilot.Command(static_cast<WORD>(CMD_PORT_FOUND + pair.number));
        break;
    case Deed::Unplug: Unplug(false, deed.number); break;
    case Deed::UnplugDevice: Unplug(true, deed.number); break;
    case Deed::Close: m_Closed = m_Pilot.Slot() > 0 && WaitClosed(); break;
    }
}

// The device that comes back has been switched off and on.
void Run::Unplug(bool device, DWORD time) {
    m_Unplugged = true;
    const std::string& end = device ? m_Pilot.Pair().device : m_Pilot.Pair().program;
    CutCable(end);
    Sleep(time);
    if (device)
        SwitchOff();
    RestoreCable(end);
    if (device)
        SwitchOn(m_Plan.script, m_Plan.device);
    Note("plugged in");
}

// Dialogs that came are answered, after a while. True when there is none.
bool Run::Tend(const View& view) {
    const std::vector<HWND> dialogs = DialogsOver(view.window);
    for (const HWND dialog : dialogs) {
        const sim::Millis now = sim::CounterMillis();
        const sim::Millis since = m_Seen.emplace(dialog, now).first->second;
        if (dialog != view.progress && now >= since + DialogTime + m_Plan.seed % 700)
            TendDialog(dialog);
    }
    return dialogs.empty();
}

void Run::TendDialog(HWND dialog) {
    m_Seen.erase(dialog);
    char title[100] = {};
    GetWindowTextA(dialog, title, sizeof(title));
    WORD button = std::string(title) == "About Console" ? IDOK : IDCANCEL;
    if (GetDlgItem(dialog, IDC_NEW_NAME) && m_Plan.seed % 3 != 0) {
        const std::string name = "renamed" + std::to_string(++m_Renamed) + ".bin";
        SetDlgItemTextA(dialog, IDC_NEW_NAME, name.c_str());
        button = IDOK;
    }
    Note(std::string("answer: ") + title);
    PostMessageA(dialog, WM_COMMAND, button, 0);
}

bool Run::WaitClosed() {
    const sim::Millis end = sim::CounterMillis() + LongestCancel;
    for (;;) {
        m_Pilot.Close();
        View view;
        m_Pilot.Look(view);
        if (!view.window)
            return true;
        if (sim::CounterMillis() > end)
            return Fail("the window does not close");
        Tend(view);
        Sleep(10 * Look);
    }
}

bool Run::Judge() {
    if (!m_Why.empty())
        return false;
    if (m_Closed || m_Disturbed)
        return true;
    const std::string& name = m_Plan.files[0].name;
    switch (m_Plan.work) {
    case Work::Send: return JudgeBatch();
    case Work::Receive: return JudgeReceived();
    case Work::Image: {
        const std::size_t whole = Content(0).size() / m_Plan.imageBlock * m_Plan.imageBlock;
        return JudgeOne("default\\screen.img", Content(0).substr(0, whole));
    }
    case Work::Boot: return JudgeOne("default\\" + name, Content(0));
    case Work::Lines:
    case Work::Macro: return true;
    }
    return true;
}

bool Run::JudgeBatch() {
    const std::vector<FileRecord> records = m_Pilot.Records();
    if (records.size() > m_Plan.files.size())
        return Fail("there are more records than files");
    for (std::size_t i = 0; i < records.size(); ++i) {
        Note(std::string("file ") + std::to_string(i) + (records[i].sent ? " sent" : " not sent"));
        if (records[i].sent && !m_Plan.lies &&
            OnDevice("a\\" + records[i].deviceName) != Content(i))
            return Fail("a file counts as sent that the device has otherwise");
        if (!records[i].sent && m_Plan.Harmless() && m_Plan.files[i].goodName && !m_Canceled)
            return Fail("a file was not sent on a good line");
    }
    if (records.size() < m_Plan.files.size() && m_Plan.Harmless() && !m_Canceled)
        return Fail("the batch ended early on a good line");
    return true;
}

bool Run::JudgeOne(const std::string& device, const std::string& local) {
    const TransferInfo info = m_Pilot.Transfer();
    Note("status " + std::to_string(info.Status));
    if (info.Status == 0 && !m_Plan.lies && OnDevice(device) != local)
        return Fail("it counts as sent, and the device has it otherwise");
    if (info.Status != 0 && m_Plan.Harmless() && !m_Canceled)
        return Fail("it was not sent on a good line");
    return true;
}

bool Run::JudgeReceived() {
    const TransferInfo info = m_Pilot.Transfer();
    const std::string& name = m_Plan.files[0].name;
    const std::string received = m_Folder.Read(m_Place + "\\local\\" + name);
    Note("status " + std::to_string(info.Status));
    if (info.Status == 0)
        return m_Plan.lies || received == Content(0) ||
               Fail("a file counts as received that differs");
    if (m_Plan.Harmless() && !m_Canceled && !m_Plan.knowsNoFile)
        return Fail("it was not received on a good line");
    if (m_Unplugged && (m_Plan.lies || received == Content(0))) // the port that knew has gone
        return true;
    if (received != (m_Plan.replaces ? OldContent : ""))
        return Fail("a failed receive has left something else");
    return true;
}

// The device is a good one from here on, switched off and on.
bool Run::ComeBack() {
    Note("come back");
    SwitchOff();
    if (m_Plan.device.hostile)
        AwaitSilence();
    if (!m_Pilot.Open())
        return Fail("no new window opens");
    SwitchOn({}, {});
    Plan usual = m_Plan;
    usual.showsSummary = false;
    usual.showsProgress = true;
    return Connected() && (WaitIdle(LongestQueue) || Fail("lines wait for ever")) &&
           m_Pilot.Configure(usual);
}

// What is still on the line might be taken for an answer of the good device.
void Run::AwaitSilence() {
    const std::string& port = m_Pilot.Pair().program;
    std::optional<std::uint64_t> before;
    for (auto now = DeliveredBytes(port); now != before; now = DeliveredBytes(port)) {
        before = now;
        Sleep(Silence);
    }
}

bool Run::Connected() {
    const sim::Millis end = sim::CounterMillis() + LongestReturn;
    sim::Millis chosen = sim::CounterMillis();
    for (;;) {
        View view;
        m_Pilot.Look(view);
        if (view.port == m_Pilot.Pair().number)
            return true;
        if (view.idle && sim::CounterMillis() > chosen + ChosenAgain) { // a command may get lost
            m_Pilot.OpenPort();
            chosen = sim::CounterMillis();
        }
        if (sim::CounterMillis() > end) {
            Note("status: " + view.status);
            return Fail("the port is not taken again");
        }
        Sleep(2 * Look);
    }
}

bool Run::WaitIdle(DWORD limit) {
    const sim::Millis end = sim::CounterMillis() + limit;
    for (;;) {
        View view;
        m_Pilot.Look(view);
        if (Tend(view) && view.idle && !view.awaits)
            return true;
        if (sim::CounterMillis() > end)
            return false;
        Sleep(2 * Look);
    }
}

// The line, its output and the prompt are at the end of the pane.
bool Run::TryLine() {
    const std::string word = "z" + std::to_string(m_Plan.seed);
    const std::string wanted = "echo " + word + "\r\n" + word + "\r\nzorbel> ";
    m_Pilot.Command(CMD_CLEAR);
    if (m_Plan.seed % 4 == 0) {
        if (!m_Pilot.Ask("echo " + word))
            return Fail("a line on a good line was not accepted");
    } else {
        m_Pilot.Type("echo " + word);
    }
    const sim::Millis end = sim::CounterMillis() + LongestQueue;
    for (;;) {
        const std::string text = m_Pilot.Text();
        if (EndsWith(text, wanted))
            return true;
        if (sim::CounterMillis() > end) {
            Note("the pane ends with " +
                 Shown(text.substr(text.size() - std::min<std::size_t>(text.size(), 60))));
            return Fail("a line, its output or the prompt did not come");
        }
        Sleep(2 * Look);
    }
}

bool Run::TrySend() {
    Note("clean send");
    if (!m_Pilot.HandOver({Path("clean.bin")}))
        return Fail("a clean send was refused");
    if (!WaitIdle(LongestClean))
        return Fail("a clean send does not end");
    const std::vector<FileRecord> records = m_Pilot.Records();
    return (records.size() == 1 && records[0].sent &&
            OnDevice("a\\clean.bin") == RandomBytes(1300, m_Plan.seed + 10)) ||
           Fail("a clean send failed");
}

bool Run::TryReceive() {
    Note("clean receive");
    if (!m_Pilot.Receive(Path("back.bin")))
        return Fail("a clean receive was refused");
    if (!WaitIdle(LongestClean))
        return Fail("a clean receive does not end");
    return (m_Pilot.Transfer().Status == 0 &&
            m_Folder.Read(m_Place + "\\local\\back.bin") == RandomBytes(1300, m_Plan.seed + 11)) ||
           Fail("a clean receive failed");
}

// Neither the program nor the transfers leave anything behind.
bool Run::JudgeFolder() {
    std::set<std::string> wanted = {"clean.bin", "back.bin"};
    for (const PlannedFile& file : m_Plan.files)
        wanted.insert(file.name);
    for (const auto& entry :
         std::filesystem::directory_iterator(m_Folder.Path(m_Place + "\\local")))
        if (wanted.count(entry.path().filename().string()) == 0)
            return Fail("a file stays behind: " + entry.path().filename().string());
    return true;
}
