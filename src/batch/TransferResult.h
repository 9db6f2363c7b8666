#pragma once

// The record of one file of a send batch: a TransferResult, packed back to back with the others.
// No windows.h.

#include <cstddef>
#include <cstdint>

// Codes of the files that were not sent.
enum ResultCode : std::uint16_t {
    ResultEnd = 0, // ends the records
    ResultWrongName = 0xFFFC,
    ResultSendError = 0xFFFD,
    ResultApiError = 0xFFFE,
    ResultCancelled = 0xFFFF,
};

struct TransferResult {
    static constexpr std::uint32_t MostBlocks = ResultWrongName - 1;
    static constexpr std::size_t LargestSize = 8; // bytes of a packed record

    std::uint16_t code = ResultEnd; // of a sent file: the number of its blocks
    std::uint16_t errors = 0;       // both only of a sent file
    std::uint32_t size = 0;         // bytes

    bool Sent() const { return code != ResultEnd && code <= MostBlocks; }
};

// A sent file's record; a number of blocks that the record cannot hold becomes the largest.
TransferResult SentResult(std::uint32_t blocks, std::uint32_t errors, std::uint32_t size);

// Packs a record: 8 bytes little-endian for a sent file, 2 for another. Returns the place after
// it. There must be room for LargestSize.
char* PutResult(char* at, const TransferResult& result);

// Unpacks a record. Returns the place after it, or null at the end of the records.
const char* GetResult(const char* at, TransferResult& result);

// Bytes that the records, or the device's names, of that many files take, with their end.
std::size_t ResultsRoom(std::size_t files);
std::size_t DeviceNamesRoom(std::size_t files);

// The part that is done, 0 to 100; 100 of a total of 0.
unsigned Percent(std::uint64_t done, std::uint64_t total);
