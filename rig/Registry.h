#pragma once

// Registry values below HKEY_CURRENT_USER, as the tests plant and find them.

#include <windows.h>

#include <string>
#include <vector>

inline void PlantValue(const std::string& path, const std::string& name, DWORD type,
                       const void* data, std::size_t size) {
    RegSetKeyValueA(HKEY_CURRENT_USER, path.c_str(), name.c_str(), type, data,
                    static_cast<DWORD>(size));
}

inline void PlantNumber(const std::string& path, const std::string& name, DWORD value) {
    PlantValue(path, name, REG_DWORD, &value, sizeof(value));
}

inline void PlantText(const std::string& path, const std::string& name, const std::string& text) {
    PlantValue(path, name, REG_SZ, text.c_str(), text.size() + 1);
}

// The value as the text "type:content", so that a wrong type shows; "none" when there is none.
inline std::string FindValue(const std::string& path, const std::string& name) {
    DWORD type = REG_NONE;
    DWORD size = 0;
    if (RegGetValueA(HKEY_CURRENT_USER, path.c_str(), name.c_str(), RRF_RT_ANY, &type, nullptr,
                     &size) != ERROR_SUCCESS)
        return "none";
    std::vector<char> data(size + 2);
    RegGetValueA(HKEY_CURRENT_USER, path.c_str(), name.c_str(), RRF_RT_ANY, &type, data.data(),
                 &size);
    if (type == REG_DWORD && size == 4)
        return "dword:" + std::to_string(*reinterpret_cast<const DWORD*>(data.data()));
    if (type == REG_SZ)
        return "text:" + std::string(data.data());
    return "type " + std::to_string(type);
}

inline void RemoveKey(const std::string& path) {
    RegDeleteTreeA(HKEY_CURRENT_USER, path.c_str());
}
