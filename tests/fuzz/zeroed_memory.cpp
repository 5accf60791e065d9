// For the memory sanitizer: the nodes of the standard containers are filled in by the system's C++ library, which it
// does not see, so plain memory counts as written. Pixel blocks come from posix_memalign, and stay what they are:
// unwritten.

#include <cstdlib>
#include <new>

void* operator new(std::size_t size) {
  void* const block = std::calloc(size ? size : 1, 1);
  if (!block) throw std::bad_alloc();
  return block;
}
void* operator new[](std::size_t size) { return operator new(size); }
void operator delete(void* block) noexcept { std::free(block); }
void operator delete[](void* block) noexcept { std::free(block); }
void operator delete(void* block, std::size_t) noexcept { std::free(block); }
void operator delete[](void* block, std::size_t) noexcept { std::free(block); }
