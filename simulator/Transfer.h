#pragma once

// A file on its way to the device or from it.

#include <cstdint>
#include <string>

#include "DeviceFiles.h"
#include "LineNoise.h"

namespace sim {

enum class TransferKind {
    File,  // "rcv" on the console
    Boot,  // "rcv" in the loader: the device restarts with it
    Image, // "imgrcv": whole blocks of a size that the host names
    Given, // "upl": from the device
};

struct Transfer {
    TransferKind kind = TransferKind::File;
    std::uint32_t command = 0; // the number of the command line that started it
    std::uint32_t step = 0;    // what the device has said so far
    DevicePath path;
    std::string data;            // what has arrived, or all that is given
    std::uint32_t size = 0;      // bytes that are to arrive
    std::uint32_t blockSize = 0; // bytes
    std::uint32_t block = 0;     // given: the last block asked for
    std::uint32_t asks = 0;      // in a row, for a block that does not come
    bool opened = false;         // the device has said its first reply
    bool byNumber = false;       // the device asks for each block by its number
    bool discards = false;       // until the line is silent
    bool replied = false;        // to a frame, before it had come
    LineNoise incoming;
    LineNoise outgoing;

    std::uint32_t Wanted() const {
        return static_cast<std::uint32_t>((data.size() + blockSize - 1) / blockSize);
    }
    bool Complete() const { return data.size() >= size; }
};

} // namespace sim
