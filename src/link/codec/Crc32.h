#pragma once

// CRC-32/ISO-HDLC: polynomial 0x04C11DB7 reflected, preset and final exclusive or 0xFFFFFFFF,
// check value 0xCBF43926. No windows.h, no state of its own: the register belongs to the caller.

#include <array>
#include <cstddef>
#include <cstdint>

constexpr std::uint32_t CrcPreset = 0xFFFFFFFF;

constexpr std::array<std::uint32_t, 256> MakeCrcTable() {
    constexpr std::uint32_t reflectedPolynomial = 0xEDB88320;
    std::array<std::uint32_t, 256> table = {};
    for (std::uint32_t i = 0; i < table.size(); ++i) {
        std::uint32_t entry = i;
        for (int bit = 0; bit < 8; ++bit)
            entry = (entry & 1U) != 0 ? (entry >> 1) ^ reflectedPolynomial : entry >> 1;
        table[i] = entry;
    }
    return table;
}

inline constexpr std::array<std::uint32_t, 256> CrcTable = MakeCrcTable();

// The register after one more byte. The CRC itself is the register's complement.
constexpr std::uint32_t AddCrc(std::uint32_t crcRegister, std::uint8_t byte) {
    return CrcTable[(crcRegister ^ byte) & 0xFF] ^ (crcRegister >> 8);
}

// The register after `count` more bytes.
std::uint32_t AddCrc(std::uint32_t crcRegister, const std::uint8_t* bytes, std::size_t count);
