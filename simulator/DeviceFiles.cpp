#include "DeviceFiles.h"

#include <algorithm>
#include <cctype>
#include <fstream>
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

bool IsNameCharacter(char character) {
    return std::isalnum(static_cast<unsigned char>(character)) != 0 ||
           std::string_view("-_+.()").find(character) != std::string_view::npos;
}

// Windows opens these as devices, whatever folder and extension they have.
bool IsHostDevice(std::string_view name) {
    std::string stem(name.substr(0, name.find('.')));
    std::transform(stem.begin(), stem.end(), stem.begin(),
                   [](unsigned char letter) { return static_cast<char>(std::tolower(letter)); });
    for (const std::string_view device : {"con", "prn", "aux", "nul"})
        if (stem == device)
            return true;
    const std::string_view kind = std::string_view(stem).substr(0, 3);
    return stem.size() == 4 && (kind == "com" || kind == "lpt") &&
           std::isdigit(static_cast<unsigned char>(stem[3])) != 0;
}

bool IsName(std::string_view name) {
    constexpr std::string_view inside = "-+.";
    return !name.empty() && name.size() <= 63 &&
           std::all_of(name.begin(), name.end(), &IsNameCharacter) &&
           inside.find(name.front()) == std::string_view::npos &&
           inside.find(name.back()) == std::string_view::npos && !IsHostDevice(name);
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

bool DeviceFiles::ParsePath(std::string_view text, DevicePath& path) {
    std::string_view folder = Folders.front();
    if (!text.empty() && text.front() == '/') {
        text.remove_prefix(1);
        folder = text.substr(0, text.find('/'));
        text.remove_prefix(std::min(folder.size() + 1, text.size()));
    }
    if (!IsFolder(folder) || !IsName(text))
        return false;
    path = {std::string(folder), std::string(text)};
    return true;
}

bool DeviceFiles::Write(const DevicePath& path, std::string_view contents) const {
    if (!HasStorage())
        return false;
    std::error_code error;
    fs::create_directories(m_Root / path.folder, error);
    if (error)
        return false;
    std::ofstream file(m_Root / path.folder / path.name, std::ios::binary | std::ios::trunc);
    file.write(contents.data(), static_cast<std::streamsize>(contents.size()));
    file.close();
    return file.good();
}

bool DeviceFiles::Read(const DevicePath& path, std::string& contents) const {
    if (!HasStorage())
        return false;
    std::error_code error;
    const fs::path place = m_Root / path.folder / path.name;
    const std::uintmax_t size = fs::file_size(place, error);
    if (error || size > LargestFile)
        return false;
    std::string bytes(static_cast<std::size_t>(size), '\0');
    std::ifstream file(place, std::ios::binary);
    file.read(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    if (!file)
        return false;
    contents = std::move(bytes);
    return true;
}

} // namespace sim
