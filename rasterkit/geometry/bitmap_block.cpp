#include "rasterkit/geometry/bitmap_block.h"

#include "rasterkit/platform/desktop_seam.h"

#include <algorithm>
#include <bit>
#include <climits>
#include <cstdlib>
#include <cstring>

namespace rasterkit {
namespace {

std::uint32_t word(const std::uint8_t* at) { return std::uint32_t{at[0]} | std::uint32_t{at[1]} << 8; }
std::uint32_t doubleWord(const std::uint8_t* at) { return word(at) | word(at + 2) << 16; }

constexpr std::uint32_t kCore = 12, kInfo = 40, kMasked = 52, kLongest = 124;

// Where things lie in a block, in bytes from its start.
struct Plan {
  BitmapBlock block;
  std::uint64_t rows = 0;
  std::uint64_t rowBytes = 0;
  bool endsWithBlock = false;  // run-length data that do not tell their length
};

bool isDepth(int bits) { return bits == 1 || bits == 4 || bits == 8 || bits == 16 || bits == 24 || bits == 32; }

bool goTogether(std::uint32_t compression, int bits) {
  switch (compression) {
    case BitmapBlock::none: return true;
    case BitmapBlock::runs8: return bits == 8;
    case BitmapBlock::runs4: return bits == 4;
    case BitmapBlock::fields: return bits == 16 || bits == 32;
    default: return false;
  }
}

// Reads no more than the header and its masks, all within `bytes`.
std::optional<Plan> planOf(const std::uint8_t* head, std::uint64_t bytes) {
  if (!head || bytes < 4) return {};
  const std::uint32_t size = doubleWord(head);
  if (size != kCore && size != kInfo && (size < kMasked || size > kLongest)) return {};
  if (bytes < size) return {};

  Plan plan;
  BitmapBlock& block = plan.block;
  block.core = size == kCore;
  std::int64_t height = 0;
  std::uint32_t dataBytes = 0, coloursUsed = 0;
  if (block.core) {
    block.width = static_cast<int>(word(head + 4));
    height = word(head + 6);
    block.bits = static_cast<int>(word(head + 10));
    if (block.bits == 16 || block.bits == 32) return {};
  } else {
    block.width = static_cast<std::int32_t>(doubleWord(head + 4));
    height = static_cast<std::int32_t>(doubleWord(head + 8));
    block.bits = static_cast<int>(word(head + 14));
    block.compression = doubleWord(head + 16);
    dataBytes = doubleWord(head + 20);
    coloursUsed = doubleWord(head + 32);
  }
  if (!isDepth(block.bits) || !goTogether(block.compression, block.bits)) return {};
  block.topDown = height < 0;
  if (block.width < 1 || height == 0 || height == INT_MIN || (block.topDown && block.compressed())) return {};
  block.height = static_cast<int>(std::abs(height));

  const bool indexed = block.bits <= 8;
  const std::uint64_t allColours = std::uint64_t{1} << block.bits;
  if (block.compression == BitmapBlock::fields) coloursUsed = 0;
  if (coloursUsed > allColours) return {};
  const std::uint64_t entries = indexed && coloursUsed == 0 ? allColours : coloursUsed;
  block.colours = indexed ? static_cast<int>(entries) : 0;
  block.table = head + size;
  plan.rows = size + entries * (block.core ? 3 : 4);

  if (block.packed()) block.masks = usualMasks(block.bits);
  if (block.compression == BitmapBlock::fields) {
    if (size == kInfo) plan.rows += kMasked - kInfo;
    if (bytes < kMasked) return {};
    block.masks = {doubleWord(head + 48), doubleWord(head + 44), doubleWord(head + 40)};
  }

  const std::uint64_t stride =
      (static_cast<std::uint64_t>(block.width) * static_cast<unsigned>(block.bits) + 31) / 32 * 4;
  block.stride = static_cast<std::size_t>(stride);
  plan.rowBytes = block.compressed() ? dataBytes : stride * static_cast<unsigned>(block.height);
  plan.endsWithBlock = block.compressed() && dataBytes == 0;

  // What the image needs must fit the container.
  const std::int64_t channels = indexed ? 1 : block.bits == 32 ? 4 : 3;
  const std::int64_t imageRow = (block.width * channels + 3) / 4 * 4;
  if (imageRow > INT_MAX / block.height) return {};
  return plan;
}

}  // namespace

std::optional<BitmapBlock> BitmapBlock::read(const void* block, std::size_t bytes) {
  const auto* const head = static_cast<const std::uint8_t*>(block);
  std::optional<Plan> plan = planOf(head, bytes);
  if (!plan || plan->rows > bytes) return {};
  if (plan->endsWithBlock) plan->rowBytes = bytes - plan->rows;
  if (plan->rowBytes > bytes - plan->rows) return {};
  plan->block.rows = head + plan->rows;
  plan->block.rowBytes = static_cast<std::size_t>(plan->rowBytes);
  return plan->block;
}

std::optional<std::size_t> BitmapBlock::sizeOf(const void* block) {
  const std::optional<Plan> plan = planOf(static_cast<const std::uint8_t*>(block), UINT64_MAX);
  if (!plan || plan->endsWithBlock || plan->rows + plan->rowBytes > SIZE_MAX) return {};
  return static_cast<std::size_t>(plan->rows + plan->rowBytes);
}

bool BitField::fits(std::uint32_t mask) {
  return mask != 0 && std::has_single_bit(std::uint64_t{mask >> std::countr_zero(mask)} + 1);
}

BitField::BitField(std::uint32_t mask) : mask_(mask), shift_(std::countr_zero(mask)) {
  int width = std::popcount(mask);
  if (width > 8) {
    shift_ += width - 8;
    width = 8;
  }
  const int most = (1 << width) - 1;
  for (int v = 0; v <= most; ++v)
    samples_[static_cast<std::size_t>(v)] = static_cast<std::uint8_t>((v * 255 * 2 + most) / (2 * most));
}

std::array<std::uint32_t, 3> usualMasks(int bits) {
  if (bits == 16) return {0x1F, 0x3E0, 0x7C00};
  return {0xFF, 0xFF00, 0xFF0000};
}

CPxPalette colourTable(const BitmapBlock& block) {
  CPxPalette palette(block.colours);
  if (!block.core && block.colours > 0)
    std::memcpy(palette.GetPalette(), block.table, static_cast<std::size_t>(block.colours) * sizeof(tagRGBA));
  return palette;
}

bool masksFit(const std::array<std::uint32_t, 3>& masks) {
  if (std::ranges::all_of(masks, BitField::fits)) return true;
  constexpr unsigned int informationIcon = 0x40;
  showMessage("These DWORD masks look strange!\n\nI'm going to substitute a halftone palette.", "Problem?",
              informationIcon, MessageOwner::none);
  return false;
}

}  // namespace rasterkit
