#pragma once
// The kernel table that serves now.

#include "rasterkit/core/kernel_table.h"
#include "rasterkit/core/levels.h"

namespace rasterkit {

// Index of the serving level among those built, least first.
int servingLevel();

// Whether the processor has the byte permutes over 128 entries and the best level serves: for kernel files with a fifth
// compilation.
bool servesBytePermutes();

template <class Kernels>
const Kernels& kernels() {
  return *KernelTables<Kernels>::tables[servingLevel()];
}

}  // namespace rasterkit
