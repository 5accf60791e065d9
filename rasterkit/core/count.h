#pragma once
// How often each sample value occurs.

#include "rasterkit/core/view.h"

#include <cstdint>

namespace rasterkit {

// Adds to counts[v], for each v below n, how many samples of the channel have the value v; wraps in 32 bits.
void countValues(View<const std::uint8_t> in, int channel, std::uint32_t* counts, int n);
void countValues(View<const std::uint16_t> in, int channel, std::uint32_t* counts, int n);

}  // namespace rasterkit
