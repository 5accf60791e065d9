#pragma once
// Rows whose pixels are picked from the columns of other rows: resampled to the nearest pixel, or mirrored.

#include <cstddef>
#include <cstdint>
#include <vector>

namespace rasterkit {

// Which column of a source row each pixel of an output row is.
class Columns {
 public:
  // index     the column of each output pixel, each at least 0 and below width
  // width     pixels in a source row
  // bytes     bytes a pixel: 1, 2, 3, 4, 6, 8, 12 or 16
  Columns(std::vector<std::int32_t> index, int width, int bytes);

  // Fills an output row; the rows do not overlap.
  void pick(const void* in, void* out) const;

  std::size_t size() const { return index_.size(); }
  const std::vector<std::int32_t>& index() const { return index_; }
  bool inOrder() const { return inOrder_; }

 private:
  void planPermutes(int width);

  std::vector<std::int32_t> index_;
  std::size_t bytes_;
  bool inOrder_;  // the output row is the source row, or its beginning

  // For the byte permutes; empty where the columns lie too far apart for them.
  std::vector<std::int32_t> starts_;
  std::vector<std::uint8_t> places_;
  std::size_t step_ = 0;
  std::size_t last_ = 0;
};

}  // namespace rasterkit
