#include "rasterkit/platform/memory.h"

#include <malloc.h>

#include <algorithm>
#include <new>

namespace rasterkit {

// Large pages are a privilege there, which programs do not have.
void* allocateBlock(std::size_t bytes) {
  void* const block = _aligned_malloc(std::max<std::size_t>(bytes, 1), 64);
  if (!block) throw std::bad_alloc();
  return block;
}

void freeBlock(void* block) noexcept { _aligned_free(block); }

}  // namespace rasterkit
