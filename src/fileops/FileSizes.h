#pragma once

#include <cstdint>

// The bytes of all files of a packed list. A file that cannot be looked at counts as empty. Reads
// folders only, but for links.
std::uint64_t ListBytes(const char* list);
