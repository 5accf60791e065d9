#include "rasterkit/core/window.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <vector>

namespace {

using rasterkit::Margins;
using rasterkit::View;
using rasterkit::Window;

struct Rows {
  int width, height, channels;
  std::vector<std::uint8_t> samples;
  View<const std::uint8_t> in() const { return {samples.data(), width, height, channels, width * channels}; }
  View<std::uint8_t> out() { return {samples.data(), width, height, channels, width * channels}; }
};

Rows counted(int width, int height, int channels) {
  Rows rows{width, height, channels, {}};
  for (int i = 0; i < width * height * channels; ++i) rows.samples.push_back(static_cast<std::uint8_t>(7 * i + 3));
  return rows;
}

// Every sample of every neighbourhood, read through the window while the rows are overwritten as an operation would.
void readsEveryNeighbour(const Rows& source, Margins around, bool inPlace, int firstRow = 0) {
  Rows read = source;
  Rows other = counted(source.width, source.height, source.channels);
  Rows& written = inPlace ? read : other;
  Window<std::uint8_t> window(read.in(), written.out(), around);
  for (int y = firstRow; y < source.height; ++y) {
    const std::uint8_t* const* rows = window.rows(y);
    ASSERT_EQ(window.count(), static_cast<std::size_t>(around.above + around.below + 1));
    for (int j = 0; j < around.above + around.below + 1; ++j) {
      const int fromRow = std::clamp(y - around.above + j, 0, source.height - 1);
      for (int i = 0; i < around.left + source.width + around.right; ++i) {
        const int fromColumn = std::clamp(i - around.left, 0, source.width - 1);
        for (int c = 0; c < source.channels; ++c)
          ASSERT_EQ(rows[j][i * source.channels + c], source.in().row(fromRow)[fromColumn * source.channels + c])
              << "row " << y << ", neighbour " << j << ", " << i;
      }
    }
    std::fill_n(written.out().row(y), source.width * source.channels, std::uint8_t{0xEE});
  }
}

TEST(Window, repeatsTheEdges) {
  for (const int width : {1, 2, 5})
    for (const int height : {1, 2, 7})
      for (const int channels : {1, 3})
        for (const bool inPlace : {false, true})
          for (const Margins around : {Margins{}, Margins{1, 1, 1, 1}, Margins{2, 1, 0, 0}, Margins{0, 3, 4, 0},
                                       Margins{9, 9, 9, 9}, Margins{0, 0, 0, 6}})
            readsEveryNeighbour(counted(width, height, channels), around, inPlace);
}

TEST(Window, mayStartBelowTheFirstRow) { readsEveryNeighbour(counted(4, 9, 2), {2, 1, 1, 1}, true, 3); }

TEST(Window, handsOutTheImagesRowsWhereItNeedNotKeepThem) {
  const Rows source = counted(4, 3, 1);
  Rows other = source;
  Window<std::uint8_t> window(source.in(), other.out(), {.above = 1, .below = 1});
  EXPECT_EQ(window.rows(1)[0], source.samples.data());
  EXPECT_EQ(window.rows(2)[2], source.in().row(2));
}

TEST(Window, ofNoRowsTakesNoMemory) {
  Rows empty{0, 0, 1, {}};
  Window<std::uint8_t> window(empty.in(), empty.out(), {2147483647, 2147483647, 2147483647, 2147483647});
  EXPECT_EQ(window.count(), 0u);
}

}  // namespace
