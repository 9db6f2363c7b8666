#pragma once

// System calls that must not fail, and files that are read while they are written.

#include "Fd.h"

#include <array>
#include <cerrno>
#include <cstdio>
#include <fcntl.h>
#include <string>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>

[[noreturn]] inline void Fail(const std::string& what) {
    throw std::system_error(errno, std::generic_category(), what);
}

inline int Checked(int result, const std::string& what) {
    if (result < 0)
        Fail(what);
    return result;
}

inline bool Exists(const std::string& path) {
    struct stat status;
    return lstat(path.c_str(), &status) == 0;
}

inline void WriteText(const std::string& path, const std::string& text) {
    const Fd file(
        Checked(open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644), path));
    if (write(file.Get(), text.data(), text.size()) != static_cast<ssize_t>(text.size()))
        Fail(path);
}

// A link that a reader finds either as it was or as it is now.
inline void ReplaceLink(const std::string& target, const std::string& link) {
    const std::string made = link + ".new";
    unlink(made.c_str());
    Checked(symlink(target.c_str(), made.c_str()), made);
    Checked(rename(made.c_str(), link.c_str()), link);
}

// Removes the link unless another program has put its own there.
inline void RemoveLink(const std::string& target, const std::string& link) {
    std::array<char, 256> text;
    const ssize_t length = readlink(link.c_str(), text.data(), text.size());
    if (length >= 0 && std::string(text.data(), static_cast<std::size_t>(length)) == target)
        unlink(link.c_str());
}
