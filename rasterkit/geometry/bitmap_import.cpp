// ConvertFrom: foreign bytes become an image. The header is checked once, in bitmap_block.cpp; after that no row and no
// run can leave the block or the image.

#include <rasterkit/geometry/bitmap.h>

#include "rasterkit/core/copy_rows.h"
#include "rasterkit/core/view.h"
#include "rasterkit/geometry/bitmap_block.h"

#include <algorithm>
#include <cstring>
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
void unpackFields(const BitmapBlock& block, const std::array<std::uint32_t, 3>& masks, Rows out) {
  const BitField blue(masks[0]), green(masks[1]), red(masks[2]);
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

void drawInto(CPxImage& image, const BitmapBlock& block) {
  const Rows out = viewOf<std::uint8_t>(image, image.channels);
  if (!block.core && block.colours > 0)
    std::memcpy(image.palette.GetPalette(), block.table, static_cast<std::size_t>(block.colours) * sizeof(tagRGBA));

  if (block.compressed()) return Runs(block, out).draw();
  if (block.bits < 8) return unpackRows(block, out);
  if (block.bits == 8 || block.bits == 24) return copyRows(block, out);
  const auto usual = usualMasks(block.bits), masks = masksFit(block.masks) ? block.masks : usual;
  if (block.bits == 16) return unpackFields<16>(block, masks, out);
  if (masks == usual) return copyRows(block, out);
  unpackFields<32>(block, masks, out);
}

}  // namespace
}  // namespace rasterkit

using namespace rasterkit;

int CPxDIBConvert::ConvertFrom(const void* bytesOfBlock, std::size_t bytes) {
  CPxImage* const image = GetImage();
  const auto block = BitmapBlock::read(bytesOfBlock, bytes);
  if (!image || !block) return 0;

  // A block of the image's own shape is taken in its memory; anything else is made apart, so that the image stays as it
  // was where no memory can be had.
  const COLOR_MODEL model = modelOf(*block);
  const int bits = std::min(block->bits, 8);
  const bool fits = image->IsCreated() && image->colorModel == model && image->bitsPerSample == bits &&
                    image->width == block->width && image->height == block->height &&
                    image->palette.GetPaletteNum() == block->colours && Storage::holdsItsPixels(*image);
  CPxImage made;
  CPxImage& target = fits ? *image : made;
  try {
    Storage::create(target, model, bits, block->width, block->height, block->colours,
                    block->compressed() ? Storage::Samples::zero : Storage::Samples::any);
  } catch (const std::bad_alloc&) {
    return 0;
  }
  Storage::fillPadding(target, 0);
  drawInto(target, *block);
  if (!fits) *image = std::move(made);
  return 1;
}

int CPxDIBConvert::ConvertFrom(BITMAPINFOHEADER* in) {
  const auto bytes = BitmapBlock::sizeOf(in);
  return bytes ? ConvertFrom(in, *bytes) : 0;
}
