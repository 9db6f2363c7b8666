#pragma once

// The files on the device: a folder of the host with one subfolder for each folder of the device.

#include <array>
#include <cstdint>
#include <filesystem>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace sim {

struct DeviceFile {
    std::string name; // characters outside printable ASCII shown as '?'
    std::uint64_t size = 0;
};

// A file on the device: "/FOLDER/NAME", or "NAME" in the first folder.
struct DevicePath {
    std::string folder;
    std::string name;
};

class DeviceFiles {
public:
    static constexpr std::uint32_t LargestFile = 64U << 20; // bytes

    static constexpr std::array<std::string_view, 4> Folders = {"default", "a", "b", "MP3"};

    // A device without storage.
    DeviceFiles() = default;

    // A device whose storage is `root`. Subfolders that are missing count as empty.
    explicit DeviceFiles(std::filesystem::path root) : m_Root(std::move(root)) {}

    bool HasStorage() const { return !m_Root.empty(); }

    static bool IsFolder(std::string_view folder);

    // Puts the regular files of one of Folders into `files`, sorted by name. False, with `files`
    // left alone, when there is no such folder or no storage, or when it cannot be read.
    bool List(std::string_view folder, std::vector<DeviceFile>& files) const;

    // Splits a path. False for a folder or a name that the device does not have: names are 1
    // to 63 letters, digits and "-_+.()", without "-", "+" or "." at either end. What the host
    // takes for a device of its own ("nul", "com1") is no name either.
    static bool ParsePath(std::string_view text, DevicePath& path);

    // Replaces a file's contents. False without storage, or when the host cannot write it.
    bool Write(const DevicePath& path, std::string_view contents) const;

    // False, with `contents` left alone, when there is no such file of at most LargestFile bytes.
    bool Read(const DevicePath& path, std::string& contents) const;

private:
    std::filesystem::path m_Root;
};

} // namespace sim
