#pragma once
// The kernel table that serves now.

#include "rasterkit/core/kernel_table.h"
#include "rasterkit/core/levels.h"

#include <cstdint>
#include <type_traits>

namespace rasterkit {

// Index of the serving level among those built, least first.
int servingLevel();

// Whether the processor has the byte permutes over 128 entries and the best level serves (not when one was named): for
// kernel files with a fifth compilation.
bool servesBytePermutes();
// The same for sums of four products of bytes.
bool servesByteProducts();

template <class Kernels>
const Kernels& kernels() {
  if constexpr (requires { KernelTables<Kernels>::permuting; })
    if (servesBytePermutes()) return *KernelTables<Kernels>::permuting;
  return *KernelTables<Kernels>::tables[servingLevel()];
}

// The part of a table that serves samples of S, where the table has parts named bytes, words and reals.
template <class Kernels, class S>
const auto& kernelsOf() {
  const Kernels& table = kernels<Kernels>();
  if constexpr (std::is_same_v<S, std::uint8_t>) {
    return table.bytes;
  } else if constexpr (std::is_same_v<S, std::uint16_t>) {
    return table.words;
  } else {
    return table.reals;
  }
}

}  // namespace rasterkit
