// A null modem in software: pairs of ptys, each pair joined by a cable.
//
//     nullmodem --dir DIR [--pace BPS] COM1=COM101 [COM2=COM102 ...]
//
// DIR/COM1 is a link to a pty's slave, and what a program writes there comes out of DIR/COM101, and
// the other way round. "ready" is printed when all links exist; SIGTERM ends it and takes them
// away.
//
// - A byte is neither lost nor passed by another. Each direction has a buffer of BufferSize bytes
//   here and the kernel's own (some 64 KB before it, as much after it); when they are full, the
//   writer waits.
// - What is sent to an end that no program has open is kept, up to those buffers. When an end's
//   last user closes it, what it had not read is thrown away, and when neither end of a cable is
//   open, the cable is empty: a new user never reads what was meant for an earlier one.
// - With --pace a direction carries BPS bits a second, 10 for each byte, and delivers about every
//   2 ms.
// - Names of files do not begin with COM1: Windows programs would open the port instead.
// - A file DIR/cut-COM1 pulls that end, as an adapter is pulled: its link goes, and a program that
//   has it open gets a hang-up. What the other end sends meanwhile is lost. When the file goes, a
//   new pty is linked.
// - DIR/bytes-COM1 holds the number of bytes delivered to COM1.
// - DIR/lines/of-COM1 is the record of the modem lines, see LinesFile.h.

#include "Cable.h"

#include <array>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <deque>
#include <optional>
#include <stdexcept>
#include <string>
#include <sys/epoll.h>
#include <sys/inotify.h>
#include <sys/signalfd.h>
#include <sys/timerfd.h>
#include <utility>
#include <vector>

namespace {

struct Options {
    std::string folder;
    unsigned long pace = 0;
    std::vector<std::pair<std::string, std::string>> pairs;
};

class NullModem {
public:
    explicit NullModem(const Options& options)
        : m_Epoll(Checked(epoll_create1(EPOLL_CLOEXEC), "epoll")),
          m_Inotify(Checked(inotify_init1(IN_NONBLOCK | IN_CLOEXEC), "inotify")),
          m_Timer(Checked(timerfd_create(CLOCK_MONOTONIC, TFD_NONBLOCK | TFD_CLOEXEC), "timerfd")) {
        // Before the first link exists, so that it is never left behind.
        sigset_t ending;
        sigemptyset(&ending);
        sigaddset(&ending, SIGTERM);
        sigaddset(&ending, SIGINT);
        pthread_sigmask(SIG_BLOCK, &ending, nullptr);
        m_Signals = Fd(Checked(signalfd(-1, &ending, SFD_NONBLOCK | SFD_CLOEXEC), "signalfd"));

        const std::string lines = options.folder + "/" + LinesFolder;
        if (mkdir(lines.c_str(), 0755) != 0 && errno != EEXIST)
            Fail(lines);
        m_FolderWatch = Checked(inotify_add_watch(m_Inotify.Get(), options.folder.c_str(),
                                                  IN_CREATE | IN_DELETE | IN_MOVE | IN_DELETE_SELF),
                                options.folder);
        Await(m_Inotify.Get(), &m_Inotify);
        Await(m_Timer.Get(), &m_Timer);
        Await(m_Signals.Get(), &m_Signals);
        for (const auto& [nearName, farName] : options.pairs) {
            m_Cables.emplace_back(options.folder, nearName, farName, options.pace, m_Epoll.Get(),
                                  m_Inotify.Get());
            m_Cables.back().FollowCutFiles();
        }
    }

    void Run() {
        bool more = true;
        while (!m_Ended) {
            Wait(more);
            TakeNotices();
            const Pace::Time now = Pace::Clock::now();
            more = false;
            for (Cable& cable : m_Cables)
                more = cable.Run(now) || more;
            SetTimer();
        }
    }

private:
    void Await(int fd, void* key) {
        epoll_event event = {};
        event.events = EPOLLIN;
        event.data.ptr = key;
        Checked(epoll_ctl(m_Epoll.Get(), EPOLL_CTL_ADD, fd, &event), "epoll");
    }

    void Wait(bool more) {
        std::array<epoll_event, 64> events;
        const int count = epoll_wait(m_Epoll.Get(), events.data(), static_cast<int>(events.size()),
                                     more ? 0 : -1);
        if (count < 0 && errno != EINTR)
            Fail("epoll");
        for (int i = 0; i < count; ++i)
            TakeEvent(events[static_cast<std::size_t>(i)].data.ptr);
    }

    void TakeEvent(const void* key) {
        if (key == &m_Signals) {
            m_Ended = true;
            return;
        }
        if (key == &m_Timer) {
            m_Alarm.reset();
            std::uint64_t ticks = 0;
            [[maybe_unused]] const ssize_t taken = read(m_Timer.Get(), &ticks, sizeof ticks);
            return;
        }
        for (Cable& cable : m_Cables)
            if (cable.Has(static_cast<const End*>(key)))
                cable.Refresh();
    }

    // Notices come in order and may be joined, so each only says where to look.
    void TakeNotices() {
        alignas(inotify_event) std::array<char, 4096> bytes;
        ssize_t length = 0;
        while ((length = read(m_Inotify.Get(), bytes.data(), bytes.size())) > 0) {
            const char* const end = bytes.data() + length;
            for (const char* at = bytes.data(); at < end;) {
                inotify_event event;
                std::memcpy(&event, at, sizeof event);
                at += sizeof event + event.len;
                TakeNotice(event);
            }
        }
    }

    void TakeNotice(const inotify_event& event) {
        const bool folder = event.wd == m_FolderWatch;
        if (folder && (event.mask & (IN_DELETE_SELF | IN_IGNORED)) != 0)
            m_Ended = true; // nobody can reach the links any more
        const bool all = (event.mask & IN_Q_OVERFLOW) != 0;
        for (Cable& cable : m_Cables) {
            if (all || folder)
                cable.FollowCutFiles();
            if (all || cable.Watches(event.wd))
                cable.Refresh();
        }
    }

    void SetTimer() {
        std::optional<Pace::Time> first;
        for (const Cable& cable : m_Cables) {
            for (const Lane* lane : {&cable.toFar, &cable.toNear}) {
                const std::optional<Pace::Time> due = lane->Due();
                if (due && (!first || *due < *first))
                    first = due;
            }
        }
        if (first == m_Alarm)
            return;
        m_Alarm = first;
        itimerspec alarm = {};
        if (first) {
            const auto since = first->time_since_epoch();
            const auto seconds = std::chrono::floor<std::chrono::seconds>(since);
            alarm.it_value.tv_sec = seconds.count();
            alarm.it_value.tv_nsec = std::chrono::nanoseconds(since - seconds).count();
        }
        Checked(timerfd_settime(m_Timer.Get(), TFD_TIMER_ABSTIME, &alarm, nullptr), "timerfd");
    }

    Fd m_Epoll;
    Fd m_Inotify;
    Fd m_Timer;
    Fd m_Signals;
    int m_FolderWatch = -1;
    std::deque<Cable> m_Cables; // neither copied nor moved: lanes hold on to their ends
    std::optional<Pace::Time> m_Alarm;
    bool m_Ended = false;
};

bool ParsePair(const std::string& text, Options& options) {
    const std::size_t equals = text.find('=');
    if (equals == std::string::npos || equals == 0 || equals + 1 == text.size())
        return false;
    options.pairs.emplace_back(text.substr(0, equals), text.substr(equals + 1));
    return text.find_first_of("/.") == std::string::npos;
}

bool ParsePace(const std::string& text, Options& options) {
    char* end = nullptr;
    options.pace = std::strtoul(text.c_str(), &end, 10);
    return end && *end == '\0' && options.pace > 0;
}

bool ParseOptions(const std::vector<std::string>& arguments, Options& options) {
    for (std::size_t i = 0; i < arguments.size(); ++i) {
        const bool hasValue = i + 1 < arguments.size();
        if (arguments[i] == "--dir" && hasValue) {
            options.folder = arguments[++i];
        } else if (arguments[i] == "--pace" && hasValue) {
            if (!ParsePace(arguments[++i], options))
                return false;
        } else if (!ParsePair(arguments[i], options)) {
            return false;
        }
    }
    return !options.folder.empty() && !options.pairs.empty();
}

} // namespace

int main(int count, char** arguments) {
    Options options;
    if (!ParseOptions({arguments + 1, arguments + count}, options)) {
        std::fprintf(stderr, "usage: nullmodem --dir DIR [--pace BPS] NEAR=FAR ...\n");
        return 2;
    }
    try {
        NullModem modem(options);
        std::puts("ready");
        std::fflush(stdout);
        modem.Run();
    } catch (const std::exception& error) {
        std::fprintf(stderr, "nullmodem: %s\n", error.what());
        return 1;
    }
    return 0;
}
