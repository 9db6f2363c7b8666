#pragma once

// A cable with its two ends and its two directions. See nullmodem.cpp for what it promises.

#include "Pace.h"
#include "Pty.h"
#include "System.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <memory>
#include <optional>
#include <string>
#include <sys/epoll.h>
#include <sys/inotify.h>

constexpr std::size_t BufferSize = 4096;

// Bytes in order, a bounded number of them.
class Buffer {
public:
    bool Empty() const { return m_Begin == m_End; }
    std::size_t Size() const { return m_End - m_Begin; }
    const char* Data() const { return m_Bytes.data() + m_Begin; }
    void Clear() { m_Begin = m_End = 0; }

    void Drop(std::size_t count) {
        m_Begin += count;
        if (Empty())
            Clear();
    }

    char* Space() {
        if (m_Begin > 0)
            std::copy(m_Bytes.data() + m_Begin, m_Bytes.data() + m_End, m_Bytes.data());
        m_End -= m_Begin;
        m_Begin = 0;
        return m_Bytes.data() + m_End;
    }
    std::size_t Room() const { return m_Bytes.size() - Size(); }
    void Add(std::size_t count) { m_End += count; }

private:
    std::array<char, BufferSize> m_Bytes;
    std::size_t m_Begin = 0;
    std::size_t m_End = 0;
};

// One end of a cable. Its user reads and writes until nothing more can be moved, then waits for an
// event that says to try again.
class End {
public:
    End(const std::string& folder, const std::string& name, int epoll, int inotify)
        : m_Folder(folder), m_Name(name), m_Epoll(epoll), m_Inotify(inotify),
          m_Counter(Checked(open((folder + "/bytes-" + name).c_str(),
                                 O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644),
                            name)) {
        Count(0);
    }
    ~End() { Pull(); }
    End(const End&) = delete;
    End& operator=(const End&) = delete;

    bool Plugged() const { return m_Pty != nullptr; }
    bool InUse() const { return m_InUse; }
    bool Readable() const { return m_Readable; }
    bool Writable() const { return m_Writable; }
    int Watch() const { return m_Watch; }

    // What the end's control file asks for.
    bool ToBeCut() const { return Exists(m_Folder + "/cut-" + m_Name); }

    void Plug() {
        m_Pty = std::make_unique<Pty>(m_Folder, m_Name);
        m_Watch = Checked(inotify_add_watch(m_Inotify, m_Pty->Slave().c_str(), IN_OPEN | IN_CLOSE),
                          m_Name);
        epoll_event event = {};
        event.events = EPOLLIN | EPOLLOUT | EPOLLET;
        event.data.ptr = this;
        Checked(epoll_ctl(m_Epoll, EPOLL_CTL_ADD, m_Pty->Master(), &event), m_Name);
        Refresh();
    }

    void Pull() {
        if (!Plugged())
            return;
        inotify_rm_watch(m_Inotify, m_Watch);
        m_Watch = -1;
        m_Pty.reset();
        m_InUse = m_Readable = m_Writable = false;
    }

    // Something happened to the pty: everything about it has to be tried again. True when
    // its last user has gone.
    bool Refresh() {
        m_Readable = m_Writable = Plugged();
        const bool before = m_InUse;
        m_InUse = Plugged() && m_Pty->InUse();
        if (!before || m_InUse || !Plugged())
            return false;
        m_Pty->Flush();
        return true;
    }

    // Bytes read; 0 when there are none now.
    std::size_t Read(char* space, std::size_t room) {
        const ssize_t count = read(m_Pty->Master(), space, room);
        if (count > 0)
            return static_cast<std::size_t>(count);
        m_Readable = count < 0 && errno == EINTR;
        return 0;
    }

    // Bytes taken. A slave that was closed meanwhile takes none, and says so by an event.
    std::size_t Write(const char* bytes, std::size_t count) {
        const ssize_t taken = write(m_Pty->Master(), bytes, count);
        if (taken > 0) {
            Count(static_cast<std::uint64_t>(taken));
            return static_cast<std::size_t>(taken);
        }
        m_Writable = taken < 0 && errno == EINTR;
        return 0;
    }

private:
    // A fixed width, so that a reader never sees half a number.
    void Count(std::uint64_t more) {
        m_Delivered += more;
        std::array<char, 32> text;
        const int length = std::snprintf(text.data(), text.size(), "%20llu\n",
                                         static_cast<unsigned long long>(m_Delivered));
        if (pwrite(m_Counter.Get(), text.data(), static_cast<std::size_t>(length), 0) != length)
            Fail("bytes-" + m_Name);
    }

    std::string m_Folder;
    std::string m_Name;
    int m_Epoll;
    int m_Inotify;
    std::unique_ptr<Pty> m_Pty; // null while the end is pulled
    int m_Watch = -1;
    bool m_InUse = false;
    bool m_Readable = false;
    bool m_Writable = false;
    Fd m_Counter;
    std::uint64_t m_Delivered = 0;
};

// One direction of a cable.
class Lane {
public:
    Lane(End& from, End& to, unsigned long pace) : m_From(from), m_To(to), m_Pace(pace) {}

    // Moves what can be moved now; true when there may be more at once.
    bool Run(Pace::Time now) {
        const bool filled = Fill(now);
        const bool drained = Drain(now);
        return filled || drained;
    }

    // When a paced byte is due; nothing while none waits for the clock.
    std::optional<Pace::Time> Due() const {
        if (!m_Pace.Limited() || m_Buffer.Empty() || !CanDeliver())
            return std::nullopt;
        return m_Pace.Next();
    }

    // The receiver's last user has gone: what was under way to it is lost.
    void Clear() { m_Buffer.Clear(); }

    // The receiver is about to be plugged in: what was sent before is lost.
    void Vent() {
        Clear();
        for (int rounds = 0; rounds < MostVented && m_From.Plugged(); ++rounds)
            if (m_From.Read(m_Buffer.Space(), m_Buffer.Room()) == 0)
                return;
    }

    // No end is in use. What is read while the sender stays closed was written before.
    void Empty() {
        Clear();
        while (m_From.Readable() && m_From.Plugged()) {
            const std::size_t count = m_From.Read(m_Buffer.Space(), m_Buffer.Room());
            m_From.Refresh();
            if (count == 0)
                return;
            if (m_From.InUse()) {
                m_Buffer.Add(count);
                return;
            }
        }
    }

private:
    static constexpr int MostVented = 64; // buffers; more than the kernel holds

    bool CanDeliver() const { return m_To.InUse() && m_To.Writable(); }

    bool Fill(Pace::Time now) {
        if (!m_From.Readable() || m_Buffer.Room() == 0)
            return false;
        const bool first = m_Buffer.Empty();
        const std::size_t count = m_From.Read(m_Buffer.Space(), m_Buffer.Room());
        if (!m_To.Plugged())
            return count > 0; // into the air
        m_Buffer.Add(count);
        if (first && count > 0 && m_Pace.Limited())
            m_Pace.Start(now);
        return count > 0;
    }

    bool Drain(Pace::Time now) {
        if (m_Buffer.Empty())
            return false;
        if (!CanDeliver()) {
            if (m_Pace.Limited())
                m_Pace.Stall(now);
            return false;
        }
        std::size_t count = m_Buffer.Size();
        if (m_Pace.Limited())
            count = now < m_Pace.Next() ? 0 : std::min(count, m_Pace.Through(now));
        if (count == 0)
            return false;
        const std::size_t taken = m_To.Write(m_Buffer.Data(), count);
        m_Buffer.Drop(taken);
        if (m_Pace.Limited())
            m_Pace.Take(taken, now);
        return taken > 0;
    }

    End& m_From;
    End& m_To;
    Pace m_Pace;
    Buffer m_Buffer;
};

struct Cable {
    Cable(const std::string& folder, const std::string& nearName, const std::string& farName,
          unsigned long pace, int epoll, int inotify)
        : nearEnd(folder, nearName, epoll, inotify), farEnd(folder, farName, epoll, inotify),
          toFar(nearEnd, farEnd, pace), toNear(farEnd, nearEnd, pace) {}

    void FollowCutFiles() {
        FollowCutFile(nearEnd, toNear);
        FollowCutFile(farEnd, toFar);
    }

    void Refresh() {
        const bool nearLeft = nearEnd.Refresh();
        const bool farLeft = farEnd.Refresh();
        if (nearLeft)
            toNear.Clear();
        if (farLeft)
            toFar.Clear();
        if ((nearLeft || farLeft) && !nearEnd.InUse() && !farEnd.InUse()) {
            toNear.Empty();
            toFar.Empty();
        }
    }

    bool Run(Pace::Time now) {
        const bool far = toFar.Run(now);
        const bool near = toNear.Run(now);
        return far || near;
    }

    bool Has(const End* end) const { return end == &nearEnd || end == &farEnd; }
    bool Watches(int watch) const { return watch == nearEnd.Watch() || watch == farEnd.Watch(); }

    End nearEnd;
    End farEnd;
    Lane toFar;
    Lane toNear;

private:
    static void FollowCutFile(End& end, Lane& toEnd) {
        const bool cut = end.ToBeCut();
        if (cut == !end.Plugged())
            return;
        toEnd.Vent();
        if (cut)
            end.Pull();
        else
            end.Plug();
    }
};
