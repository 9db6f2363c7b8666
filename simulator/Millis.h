#pragma once

#include <cstdint>
#include <limits>

namespace sim {

// Milliseconds since any fixed moment. The caller has the clock; nothing here looks at one.
using Millis = std::uint64_t;

constexpr Millis Never = std::numeric_limits<Millis>::max();

} // namespace sim
