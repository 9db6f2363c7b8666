#include "Words.h"

#include <algorithm>
#include <charconv>

namespace sim {

namespace {

constexpr std::string_view Blanks = " \t";

} // namespace

std::string_view NextWord(std::string_view& text) {
    text.remove_prefix(std::min(text.find_first_not_of(Blanks), text.size()));
    const std::string_view word = text.substr(0, text.find_first_of(Blanks));
    text.remove_prefix(word.size());
    text.remove_prefix(std::min(text.find_first_not_of(Blanks), text.size()));
    return word;
}

bool ParseNumber(std::string_view digits, std::uint32_t low, std::uint32_t high,
                 std::uint32_t& value) {
    std::uint32_t parsed = 0;
    const char* const end = digits.data() + digits.size();
    const std::from_chars_result result = std::from_chars(digits.data(), end, parsed);
    if (result.ec != std::errc() || result.ptr != end)
        return false;
    if (parsed < low || parsed > high)
        return false;
    value = parsed;
    return true;
}

std::string Printable(std::string_view text) {
    std::string shown(text);
    for (char& character : shown) {
        const auto code = static_cast<unsigned char>(character);
        if (code < 0x20 || code == 0x7F)
            character = '?';
    }
    return shown;
}

} // namespace sim
