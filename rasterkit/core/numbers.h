#pragma once
/// The named conversions between numbers. A bare conversion from floating point to an integer stands only where the
/// value is known to fit and the line says why.

#include "rasterkit/core/kernel_numbers.h"

#include <cstdint>

namespace rasterkit {

/// The largest sample of so many bits, 2^bits - 1, for 0 to 31 bits; other counts wrap in 32 bits as an integer power
/// does.
constexpr std::int32_t greatestSample(int bits) {
  return bits < 0 ? 0 : bits >= 32 ? -1 : static_cast<std::int32_t>((std::uint32_t{1} << bits) - 1);
}

}  // namespace rasterkit
