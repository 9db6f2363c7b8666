#pragma once

// Block frames, host to device: marker "C", block number, length, data, CRC; the numbers
// little-endian. The CRC-32 covers all between marker and CRC. No windows.h.

#include <cstddef>
#include <cstdint>

constexpr std::uint32_t FileBlockSize = 512;
constexpr std::uint32_t LargestBlockSize = 0xFFFF; // the length field's 16 bits
constexpr std::size_t BlockFrameOverhead = 9;      // bytes beside the data

// Writes a frame to `out`, which holds at least `length` + BlockFrameOverhead bytes. Of the block
// number only the low 16 bits go over the line. Returns the frame's size in bytes.
std::size_t EncodeBlockFrame(std::uint32_t block, const std::uint8_t* data, std::uint16_t length,
                             std::uint8_t* out);
