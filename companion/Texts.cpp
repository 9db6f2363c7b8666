#include "companion/Texts.h"

#include "base/FileNames.h"
#include "base/SystemText.h"

#include <windows.h>

namespace {

std::wstring Widen(unsigned codePage, std::string_view text) {
    const int size = static_cast<int>(text.size());
    const int length = MultiByteToWideChar(codePage, 0, text.data(), size, nullptr, 0);
    std::wstring wide(static_cast<std::size_t>(length), L'\0');
    MultiByteToWideChar(codePage, 0, text.data(), size, wide.data(), length);
    return wide;
}

std::string Narrow(unsigned codePage, std::wstring_view text) {
    const int size = static_cast<int>(text.size());
    const int length =
        WideCharToMultiByte(codePage, 0, text.data(), size, nullptr, 0, nullptr, nullptr);
    std::string narrow(static_cast<std::size_t>(length), '\0');
    WideCharToMultiByte(codePage, 0, text.data(), size, narrow.data(), length, nullptr, nullptr);
    return narrow;
}

} // namespace

std::wstring WideOfUtf8(std::string_view text) {
    return Widen(CP_UTF8, text);
}

std::string Utf8Of(std::wstring_view text) {
    return Narrow(CP_UTF8, text);
}

std::string AnsiOfUtf8(std::string_view text) {
    return Narrow(CP_ACP, Widen(CP_UTF8, text));
}

std::string Utf8OfAnsi(std::string_view text) {
    return Narrow(CP_UTF8, Widen(CP_ACP, text));
}

bool PathForLink(const std::string& utf8, bool exact, std::string& path) {
    char narrow[MAX_PATH];
    if (!NarrowPath(WideOfUtf8(utf8).c_str(), exact ? Spelling::Exact : Spelling::MayBeShort,
                    narrow))
        return false;
    path = narrow;
    return true;
}

std::string SystemWords(unsigned long error) {
    char words[300];
    FormatSystemError(words, error);
    return Utf8OfAnsi(words);
}
