#pragma once
// Memory for the pixels of images.

#include <cstddef>

namespace rasterkit {

// So many bytes, aligned to 64: cache lines and the widest vectors. Throws std::bad_alloc. Blocks of several megabytes
// stand on large pages where the system has them: a few pages are then found, cleared and looked up in place of
// thousands.
void* allocateBlock(std::size_t bytes);
// Null is allowed.
void freeBlock(void* block) noexcept;

}  // namespace rasterkit
