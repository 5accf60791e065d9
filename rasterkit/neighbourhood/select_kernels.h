#pragma once

#include "rasterkit/core/kernel_table.h"

#include <stddef.h>
#include <stdint.h>

namespace rasterkit {

// Copies the pixels of a row whose mask byte is not 0; there are so many pixels of so many channels.
template <class S>
using SelectRow = void (*)(const S* in, const uint8_t* mask, size_t channels, S* out, size_t pixels);

struct SelectKernels {
  SelectRow<uint8_t> bytes;
  SelectRow<uint16_t> words;
  SelectRow<float> reals;
};

RASTERKIT_KERNEL_TABLE(SelectKernels, selectKernels)

}  // namespace rasterkit
