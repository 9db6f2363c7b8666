#pragma once

// Files of a test, in a folder of its own that is deleted with it.

#include <windows.h>

#include <filesystem>
#include <fstream>
#include <numeric>
#include <random>
#include <set>
#include <string>

class TestFolder {
public:
    TestFolder()
        : m_Root(std::filesystem::temp_directory_path() /
                 ("zoconsole-" + std::to_string(GetCurrentProcessId()) + "-" +
                  std::to_string(++s_Number))) {
        Remove(); // an earlier process had the same number
        std::filesystem::create_directories(m_Root / "device");
    }
    ~TestFolder() { Remove(); }
    TestFolder(const TestFolder&) = delete;
    TestFolder& operator=(const TestFolder&) = delete;

    std::string Path(const std::string& name) const { return (m_Root / name).string(); }
    bool Exists(const std::string& name) const { return std::filesystem::exists(m_Root / name); }

    void Write(const std::string& name, const std::string& content) const {
        std::filesystem::create_directories((m_Root / name).parent_path());
        std::ofstream(m_Root / name, std::ios::binary) << content;
    }

    // The file's bytes; none when it does not exist.
    std::string Read(const std::string& name) const {
        std::ifstream file(m_Root / name, std::ios::binary);
        return std::string(std::istreambuf_iterator<char>(file), {});
    }

    // What is in the folder, sorted, a comma after each name.
    std::string Names() const {
        std::set<std::string> names;
        for (const auto& entry : std::filesystem::directory_iterator(m_Root))
            names.insert(entry.path().filename().string() + ",");
        return std::accumulate(names.begin(), names.end(), std::string());
    }

private:
    void Remove() const {
        std::error_code error;
        std::filesystem::remove_all(m_Root, error);
    }

    static inline int s_Number = 0;
    std::filesystem::path m_Root;
};

inline std::string RandomBytes(std::size_t size, std::size_t seed) {
    std::mt19937 random(static_cast<std::uint32_t>(seed));
    std::string bytes(size, '\0');
    for (char& byte : bytes)
        byte = static_cast<char>(random());
    return bytes;
}
