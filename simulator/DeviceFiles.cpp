#include "DeviceFiles.h"

#include <algorithm>
#include <system_error>
#include <type_traits>

namespace sim {

namespace fs = std::filesystem;

namespace {

// The name without a conversion that could fail: the host may know characters that the device
// does not.
std::string DeviceName(const fs::path& path) {
    const fs::path base = path.filename();
    std::string name;
    for (const fs::path::value_type character : base.native()) {
        const auto code = static_cast<std::make_unsigned_t<fs::path::value_type>>(character);
        name.push_back(code >= 0x20 && code < 0x7F ? static_cast<char>(code) : '?');
    }
    return name;
}

} // namespace

bool DeviceFiles::IsFolder(std::string_view folder) {
    return std::find(Folders.begin(), Folders.end(), folder) != Folders.end();
}

bool DeviceFiles::List(std::string_view folder, std::vector<DeviceFile>& files) const {
    if (!HasStorage() || !IsFolder(folder))
        return false;
    std::vector<DeviceFile> found;
    std::error_code error;
    fs::directory_iterator entry(m_Root / folder, error);
    if (error == std::errc::no_such_file_or_directory) {
        files.clear();
        return true;
    }
    while (!error && entry != fs::directory_iterator()) {
        std::error_code skipped; // a file that vanishes meanwhile is no error of the folder
        if (entry->is_regular_file(skipped)) {
            const std::uintmax_t size = entry->file_size(skipped);
            if (!skipped)
                found.push_back({DeviceName(entry->path()), size});
        }
        entry.increment(error);
    }
    if (error)
        return false;
    std::sort(found.begin(), found.end(),
              [](const DeviceFile& a, const DeviceFile& b) { return a.name < b.name; });
    files = std::move(found);
    return true;
}

} // namespace sim
