#pragma once

#include "Fd.h"
#include "LinesFile.h"
#include "System.h"

#include <array>
#include <cstdlib>
#include <fcntl.h>
#include <poll.h>
#include <string>
#include <termios.h>

// A pty under a name: DIR/NAME leads to its slave.
class Pty {
public:
    Pty(const std::string& folder, const std::string& name)
        : m_Link(folder + "/" + name), m_LinesLink(folder + "/" + LinesFolder + "/of-" + name),
          m_Master(Checked(posix_openpt(O_RDWR | O_NOCTTY | O_NONBLOCK | O_CLOEXEC), "ptmx")) {
        Checked(grantpt(m_Master.Get()), "grantpt");
        Checked(unlockpt(m_Master.Get()), "unlockpt");
        std::array<char, 64> path;
        if (ptsname_r(m_Master.Get(), path.data(), path.size()) != 0)
            Fail("ptsname");
        m_Slave = path.data();
        MakeRaw();

        const std::string record = LinesPrefix + m_Slave.substr(m_Slave.find_last_of('/') + 1);
        m_Lines = folder + "/" + LinesFolder + "/" + record;
        WriteText(m_Lines, LinesAtRest);
        ReplaceLink(record, m_LinesLink);
        ReplaceLink(m_Slave, m_Link);
    }
    ~Pty() {
        RemoveLink(m_Slave, m_Link);
        RemoveLink(m_Lines.substr(m_Lines.find_last_of('/') + 1), m_LinesLink);
        unlink(m_Lines.c_str());
    }
    Pty(const Pty&) = delete;
    Pty& operator=(const Pty&) = delete;

    int Master() const { return m_Master.Get(); }
    const std::string& Slave() const { return m_Slave; }

    // True while a program has the slave open. The kernel reports this only for a slave that was
    // open before, which MakeRaw ensures.
    bool InUse() const {
        pollfd state = {m_Master.Get(), 0, 0};
        return poll(&state, 1, 0) == 0 || (state.revents & POLLHUP) == 0;
    }

    // Throws away what no program has read.
    void Flush() const {
        if (const Fd slave = OpenSlave())
            tcflush(slave.Get(), TCIFLUSH);
    }

private:
    Fd OpenSlave() const {
        return Fd(open(m_Slave.c_str(), O_RDWR | O_NOCTTY | O_NONBLOCK | O_CLOEXEC));
    }

    void MakeRaw() const {
        const Fd slave = OpenSlave();
        termios settings;
        Checked(tcgetattr(slave.Get(), &settings), m_Slave);
        cfmakeraw(&settings);
        Checked(tcsetattr(slave.Get(), TCSANOW, &settings), m_Slave);
    }

    std::string m_Link;
    std::string m_LinesLink;
    std::string m_Lines;
    std::string m_Slave;
    Fd m_Master;
};
