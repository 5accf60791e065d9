#include "rasterkit/platform/memory.h"

#include <sys/mman.h>

#include <algorithm>
#include <cstdlib>
#include <new>

namespace rasterkit {

void* allocateBlock(std::size_t bytes) {
  constexpr std::size_t kLargePage = std::size_t{2} << 20;
  const bool isLarge = bytes >= 2 * kLargePage;
  void* block = nullptr;
  if (posix_memalign(&block, isLarge ? kLargePage : 64, std::max<std::size_t>(bytes, 1)) != 0) throw std::bad_alloc();
#ifdef MADV_HUGEPAGE
  if (isLarge) madvise(block, bytes / kLargePage * kLargePage, MADV_HUGEPAGE);  // an advice: nothing is lost without
#endif
  return block;
}

void freeBlock(void* block) noexcept { std::free(block); }

}  // namespace rasterkit
