#pragma once

// The one owner of a file descriptor.

#include <unistd.h>
#include <utility>

class Fd {
public:
    Fd() = default;
    explicit Fd(int fd) : m_Fd(fd) {}
    ~Fd() { Close(); }
    Fd(Fd&& other) noexcept : m_Fd(std::exchange(other.m_Fd, -1)) {}
    Fd& operator=(Fd&& other) noexcept {
        if (this != &other) {
            Close();
            m_Fd = std::exchange(other.m_Fd, -1);
        }
        return *this;
    }
    Fd(const Fd&) = delete;
    Fd& operator=(const Fd&) = delete;

    int Get() const { return m_Fd; }
    explicit operator bool() const { return m_Fd >= 0; }

    void Close() {
        if (m_Fd >= 0)
            close(m_Fd);
        m_Fd = -1;
    }

private:
    int m_Fd = -1;
};
