#pragma once
// Where an operation makes the rows of its destination. A destination that caches cannot hold is written past them: a
// store into memory that is not in a cache reads the whole line first, a third of all traffic of an operation that
// reads one image and writes another. Such rows are made in lines of their own and then copied.
//
//     ResultRows<S> results(in, out, 0, in.samples());
//     for (int y = 0; y < in.height; ++y) {
//       kernel(window.rows(y), results.row(y), in.samples());
//       results.finish(y);
//     }

#include "rasterkit/core/copy_rows.h"
#include "rasterkit/core/view.h"

#include <vector>

namespace rasterkit {

template <class S>
class ResultRows {
 public:
  // n samples of each row of out, from `first` on; `together` rows are made before they are finished.
  ResultRows(View<const S> in, View<S> out, std::size_t first, std::size_t n, int together = 1)
      : out_(out),
        first_(first),
        n_(n),
        together_(together),
        // What is read and written takes twice that. A destination that is the source is in the caches already.
        streams_(in.first != out.first && out.height > 0 &&
                 n * sizeof(S) >= (std::size_t{16} << 20) / static_cast<std::size_t>(out.height)),
        lines_(streams_ ? n * static_cast<std::size_t>(together) : 0) {}

  // Whether rows are not made in the destination itself.
  bool streams() const { return streams_; }

  S* row(int y) {
    return streams_ ? lines_.data() + n_ * static_cast<std::size_t>(y % together_) : out_.row(y) + first_;
  }

  // Rows y to y + count - 1 are made.
  void finish(int y, int count = 1) {
    for (int i = 0; streams_ && i < count; ++i)
      streamRows(reinterpret_cast<unsigned char*>(out_.row(y + i) + first_), 0,
                 reinterpret_cast<const unsigned char*>(row(y + i)), 0, n_ * sizeof(S), 1);
  }

 private:
  const View<S> out_;
  const std::size_t first_, n_;
  const int together_;
  const bool streams_;
  std::vector<S> lines_;
};

}  // namespace rasterkit
