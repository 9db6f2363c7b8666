#include "TransferResult.h"

#include <algorithm>

namespace {

constexpr std::size_t ShortSize = 2;
constexpr std::size_t DeviceNameRoom = 260; // the longest base name of a path, and its NUL

template <typename Number> char* Put(char* at, Number number) {
    for (std::size_t i = 0; i < sizeof(Number); ++i)
        *at++ = static_cast<char>(number >> (8 * i));
    return at;
}

template <typename Number> Number Get(const char* at) {
    Number number = 0;
    for (std::size_t i = 0; i < sizeof(Number); ++i)
        number = static_cast<Number>(number | static_cast<Number>(static_cast<unsigned char>(at[i]))
                                                  << (8 * i));
    return number;
}

} // namespace

TransferResult SentResult(std::uint32_t blocks, std::uint32_t errors, std::uint32_t size) {
    const std::uint32_t kept = std::clamp(blocks, 1U, TransferResult::MostBlocks);
    return {static_cast<std::uint16_t>(kept), static_cast<std::uint16_t>(errors), size};
}

char* PutResult(char* at, const TransferResult& result) {
    at = Put(at, result.code);
    return result.Sent() ? Put(Put(at, result.errors), result.size) : at;
}

const char* GetResult(const char* at, TransferResult& result) {
    result = {};
    result.code = Get<std::uint16_t>(at);
    if (result.code == ResultEnd)
        return nullptr;
    if (!result.Sent())
        return at + ShortSize;
    result.errors = Get<std::uint16_t>(at + 2);
    result.size = Get<std::uint32_t>(at + 4);
    return at + TransferResult::LargestSize;
}

std::size_t ResultsRoom(std::size_t files) {
    return files * TransferResult::LargestSize + ShortSize;
}

std::size_t DeviceNamesRoom(std::size_t files) {
    return files * DeviceNameRoom + 1;
}

unsigned Percent(std::uint64_t done, std::uint64_t total) {
    return total == 0 ? 100
                      : static_cast<unsigned>(std::min(done * 100 / total, std::uint64_t{100}));
}
