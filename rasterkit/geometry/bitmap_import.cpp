// ConvertFrom: foreign bytes become an image. The header is checked once, in bitmap_block.cpp; after that no row and no
// run can leave the block or the image.

#include <rasterkit/geometry/bitmap.h>

#include "rasterkit/core/copy_rows.h"
#include "rasterkit/core/view.h"
#include "rasterkit/geometry/bitmap_block.h"

#include <algorithm>
#include <new>
#include <utility>

namespace rasterkit {
namespace {

using Rows = View<std::uint8_t>;

COLOR_MODEL modelOf(const BitmapBlock& block) {
  return block.bits <= 8 ? CM_INDEX : block.bits == 32 ? CM_RGBA : CM_RGB;
}

void copyRows(const BitmapBlock& block, Rows out) {
  if (out.height == 0) return;
  rasterkit::copyRows(out.row(block.topDown ? 0 : out.height - 1), block.topDown ? out.stride : -out.stride, block.rows,
                      static_cast<std::ptrdiff_t>(block.stride), out.samples(), out.height);
}

// Indices of 1 or 4 bits, the first in the highest bits.
void unpackRow(const std::uint8_t* in, int bits, std::uint8_t* out, int n) {
  const int each = 8 / bits, mask = (1 << bits) - 1;
  int x = 0;
  for (; x + each <= n; x += each, ++in)
    for (int i = 0; i < each; ++i) out[x + i] = static_cast<std::uint8_t>(*in >> (8 - bits * (i + 1)) & mask);
  for (int i = 0; x < n; ++x, ++i) out[x] = static_cast<std::uint8_t>(*in >> (8 - bits * (i + 1)) & mask);
}

void unpackRows(const BitmapBlock& block, Rows out) {
  for (int y = 0; y < out.height; ++y) unpackRow(block.row(y), block.bits, out.row(y), out.width);
}

// Pixels that pack their samples in 16 bits, or in 32 where the fourth byte is alpha.
template <int bits>
void unpackFields(const BitmapBlock& block, Rows out) {
  const BitField blue(block.masks[0]), green(block.masks[1]), red(block.masks[2]);
  for (int y = 0; y < out.height; ++y) {
    const std::uint8_t* const in = block.row(y);
    std::uint8_t* to = out.row(y);
    for (std::size_t x = 0; x < static_cast<std::size_t>(out.width); ++x, to += out.channels) {
      const std::uint32_t pixel = packedPixel(in, x, bits);
      to[0] = blue(pixel);
      to[1] = green(pixel);
      to[2] = red(pixel);
      if constexpr (bits == 32) to[3] = static_cast<std::uint8_t>(pixel >> 24);
    }
  }
}

// Run-length data. An image that is all 0 takes what the runs draw; rows are drawn from the last one up.
class Runs {
 public:
  Runs(const BitmapBlock& block, Rows out)
      : at_(block.rows),
        end_(block.rows + block.rowBytes),
        nibbles_(block.compression == BitmapBlock::runs4),
        out_(out) {}

  void draw() {
    while (end_ - at_ >= 2) {
      const int count = *at_++, value = *at_++;
      if (count > 0)
        repeat(count, value);
      else if (value > 2)
        copy(value);
      else if (value == 0)
        x_ = 0, ++row_;
      else if (value == 1 || !skip())
        return;
    }
  }

 private:
  // Two colours take turns; bytes are one colour.
  void repeat(int count, int colours) {
    const int even = nibbles_ ? colours >> 4 : colours, odd = nibbles_ ? colours & 15 : colours;
    for (int i = 0; i < count; ++i) put(i % 2 == 0 ? even : odd);
  }

  // Pixels one by one, padded to 16 bits.
  void copy(int count) {
    for (int i = 0; i < count; ++i) {
      const int byte = nibbles_ ? i / 2 : i;
      if (byte >= end_ - at_) break;
      put(!nibbles_ ? at_[byte] : i % 2 == 0 ? at_[byte] >> 4 : at_[byte] & 15);
    }
    const int bytes = nibbles_ ? (count + 1) / 2 : count;
    at_ += std::min<std::ptrdiff_t>(bytes + bytes % 2, end_ - at_);
  }

  bool skip() {
    if (end_ - at_ < 2) return false;
    x_ = std::min(x_ + *at_++, out_.width);
    row_ += *at_++;
    return true;
  }

  void put(int index) {
    if (x_ >= out_.width) return;
    if (row_ < out_.height) out_.row(out_.height - 1 - static_cast<int>(row_))[x_] = static_cast<std::uint8_t>(index);
    ++x_;
  }

  const std::uint8_t* at_;
  const std::uint8_t* const end_;
  const bool nibbles_;
  const Rows out_;
  int x_ = 0;
  std::int64_t row_ = 0;  // from below
};

void drawInto(Rows out, const BitmapBlock& block) {
  if (block.compressed()) return Runs(block, out).draw();
  if (block.bits < 8) return unpackRows(block, out);
  if (block.bits == 16) return unpackFields<16>(block, out);
  if (block.bits == 32 && block.masks != usualMasks(32)) return unpackFields<32>(block, out);
  copyRows(block, out);
}

}  // namespace
}  // namespace rasterkit

using namespace rasterkit;

int CPxDIBConvert::ConvertFrom(const void* bytesOfBlock, std::size_t bytes) try {
  CPxImage* const image = GetImage();
  auto block = BitmapBlock::read(bytesOfBlock, bytes);
  if (!image || !block) return 0;

  // Whatever takes memory comes before the first change, so that the image stays as it was where none can be had: the
  // message, the palette, and a block of pixels unless the image's own serves.
  if (block->packed() && !masksFit(block->masks)) block->masks = usualMasks(block->bits);
  CPxPalette palette = colourTable(*block);
  const COLOR_MODEL model = modelOf(*block);
  const int bits = std::min(block->bits, 8);
  CPxImage made;
  CPxImage& target = Storage::keepsBlock(*image, model, bits, block->width, block->height) ? *image : made;
  const CPxPalette kept = std::move(target.palette);  // the block may lie in it
  Storage::create(target, model, bits, block->width, block->height, 0,
                  block->compressed() ? Storage::Samples::zero : Storage::Samples::any);

  Storage::fillPadding(target, 0);
  drawInto(viewOf<std::uint8_t>(target, target.channels), *block);
  target.palette = std::move(palette);
  if (&target == &made) *image = std::move(made);
  return 1;
} catch (const std::bad_alloc&) {
  return 0;
}

int CPxDIBConvert::ConvertFrom(BITMAPINFOHEADER* in) {
  const auto bytes = BitmapBlock::sizeOf(in);
  return bytes ? ConvertFrom(in, *bytes) : 0;
}
