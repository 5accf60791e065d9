#include "rasterkit/core/copy_rows.h"

#include "rasterkit/core/copy_kernels.h"
#include "rasterkit/core/kernels.h"

namespace rasterkit {

void streamRows(unsigned char* to, std::ptrdiff_t toStride, const unsigned char* from, std::ptrdiff_t fromStride,
                std::size_t bytes, int rows) {
  if (rows > 0) kernels<CopyKernels>().stream(to, toStride, from, fromStride, bytes, static_cast<std::size_t>(rows));
}

void copyRows(unsigned char* to, std::ptrdiff_t toStride, const unsigned char* from, std::ptrdiff_t fromStride,
              std::size_t bytes, int rows) {
  if (rows < 1) return;
  if (bytes >= kKeptByCaches / static_cast<std::size_t>(rows))
    return streamRows(to, toStride, from, fromStride, bytes, rows);
  for (int y = 0; y < rows; ++y) copyBytes(to + toStride * y, from + fromStride * y, bytes);
}

}  // namespace rasterkit
