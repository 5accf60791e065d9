#include "rasterkit/neighbourhood/median_kernels.h"

#include "rasterkit/neighbourhood/kernel_columns.h"

namespace rasterkit::RASTERKIT_LEVEL {
namespace {

template <class S>
void medianRows(const RowPair<S>& rows, size_t n, size_t step) {
  byPieces(rows, n, step, [=](const RowPair<S>& piece, size_t count) { tryMedians<WholeNumbers>(piece, count, step); });
}

template <>
void medianRows(const RowPair<float>& rows, size_t n, size_t step) {
  const bool plain = areDenormalsCompared();
  byPieces(rows, n, step, [=](const RowPair<float>& piece, size_t count) {
    if (!plain || !tryMedians<PlainOrder>(piece, count, step)) tryMedians<TotalOrder>(piece, count, step);
  });
}

}  // namespace

const MedianKernels medianKernels = {medianRows<uint8_t>, medianRows<uint16_t>, medianRows<float>};

}  // namespace rasterkit::RASTERKIT_LEVEL
