#include "tests/memory/failing_allocations.h"

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <cstdlib>
#include <limits>
#include <new>

#if defined(__GLIBC__)
#include <malloc.h>
#endif

namespace rasterkit::test {
namespace {

// Plain numbers: they must be usable before any constructor has run.
long made = 0;
long live = 0;
long held = 0;  // bytes
long mostHeld = 0;
constexpr long kNever = std::numeric_limits<long>::max();
long failing = kNever;  // the number of the allocation that fails
bool andAllAfter = false;
bool hasFailed = false;

bool runsOut() {
  const long number = made++;
  if (number < failing || (number > failing && !andAllAfter)) return false;
  return hasFailed = true;
}

long sizeOf([[maybe_unused]] void* block) {
#if defined(__GLIBC__)
  return static_cast<long>(malloc_usable_size(block));
#else
  return 0;
#endif
}

// Counted, too.
void* weighed(void* block) {
  if (block) ++live;
  held += sizeOf(block);
  mostHeld = std::max(mostHeld, held);
  return block;
}

// Null where memory has run out.
void* taken(std::size_t size) { return runsOut() ? nullptr : weighed(std::malloc(size ? size : 1)); }

void* taken(std::size_t size, std::align_val_t alignment) {
  const auto step = static_cast<std::size_t>(alignment);
  return runsOut() ? nullptr : weighed(std::aligned_alloc(step, (size + step) / step * step));
}

void* allocated(void* block) {
  if (!block) throw std::bad_alloc();
  return block;
}

void freed(void* block) {
  if (block) --live;
  held -= sizeOf(block);
  std::free(block);
}

}  // namespace

FailingAllocations::FailingAllocations(long n, Which which) {
  hasFailed = false;
  andAllAfter = which == allFromThere;
  failing = made + n;
}
FailingAllocations::~FailingAllocations() { failing = kNever; }
bool FailingAllocations::failed() const { return hasFailed; }

long liveBlocks() { return live; }
long allocations() { return made; }
long heldBytes() { return held; }
long mostHeldBytes() { return mostHeld; }
void forgetMostHeld() { mostHeld = held; }

}  // namespace rasterkit::test

using namespace rasterkit::test;

void* operator new(std::size_t size) { return allocated(taken(size)); }
void* operator new[](std::size_t size) { return allocated(taken(size)); }
void* operator new(std::size_t size, const std::nothrow_t&) noexcept { return taken(size); }
void* operator new[](std::size_t size, const std::nothrow_t&) noexcept { return taken(size); }
void* operator new(std::size_t size, std::align_val_t alignment) { return allocated(taken(size, alignment)); }
void* operator new[](std::size_t size, std::align_val_t alignment) { return allocated(taken(size, alignment)); }
void operator delete(void* block) noexcept { freed(block); }
void operator delete[](void* block) noexcept { freed(block); }
void operator delete(void* block, std::size_t) noexcept { freed(block); }
void operator delete[](void* block, std::size_t) noexcept { freed(block); }
void operator delete(void* block, const std::nothrow_t&) noexcept { freed(block); }
void operator delete[](void* block, const std::nothrow_t&) noexcept { freed(block); }
void operator delete(void* block, std::align_val_t) noexcept { freed(block); }
void operator delete[](void* block, std::align_val_t) noexcept { freed(block); }
void operator delete(void* block, std::size_t, std::align_val_t) noexcept { freed(block); }
void operator delete[](void* block, std::size_t, std::align_val_t) noexcept { freed(block); }

// Zeroed tables come from calloc, blocks of pixels from posix_memalign. The sanitizers have their own, which must stay;
// they find what is lost anyway.
#if defined(__GLIBC__) && !defined(__SANITIZE_ADDRESS__)
namespace {

// The blocks that are there of these two, for free to know them by.
constexpr std::size_t kMostBlocks = 65536;
void* blocks[kMostBlocks];
std::size_t blockCount = 0;

void* noted(void* block) {
  if (!block) return nullptr;
  if (blockCount == kMostBlocks) std::abort();
  return blocks[blockCount++] = weighed(block);
}

}  // namespace

#pragma GCC visibility push(default)  // for the library to find them
extern "C" {
void* __libc_calloc(std::size_t count, std::size_t size);
void* __libc_memalign(std::size_t alignment, std::size_t size);
void __libc_free(void* block);

void* calloc(std::size_t count, std::size_t size) { return runsOut() ? nullptr : noted(__libc_calloc(count, size)); }

int posix_memalign(void** block, std::size_t alignment, std::size_t size) {
  void* const made = runsOut() ? nullptr : noted(__libc_memalign(alignment, size));
  if (!made) return ENOMEM;
  *block = made;
  return 0;
}

void free(void* block) {
  for (std::size_t i = blockCount; block && i-- > 0;) {
    if (blocks[i] != block) continue;
    blocks[i] = blocks[--blockCount];
    held -= sizeOf(block);
    --live;
    break;
  }
  __libc_free(block);
}
}
#pragma GCC visibility pop
#endif
