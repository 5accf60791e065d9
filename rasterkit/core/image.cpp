#include <rasterkit/core/image.h>

#include "rasterkit/core/storage.h"
#include "rasterkit/platform/memory.h"

#include <algorithm>
#include <climits>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <new>

namespace {

// True where the image has the model and from `least` to `most` bits a sample.
int is(const CPxImage* image, COLOR_MODEL model, int least, int most) {
  return image && image->IsCreated() && image->colorModel == model && image->bitsPerSample >= least &&
         image->bitsPerSample <= most;
}

int is8(const CPxImage* image, COLOR_MODEL model) { return is(image, model, INT_MIN, 8); }
int is16(const CPxImage* image, COLOR_MODEL model) { return is(image, model, 9, 16); }
int isFloat(const CPxImage* image, COLOR_MODEL model) { return is(image, model, 17, 32); }

}  // namespace

// CPxPalette ----------------------------------------------------------------------------------------------------------

CPxPalette::CPxPalette(int count) : entries_(static_cast<std::size_t>(std::max(count, 0))) {}
CPxPalette::CPxPalette(const CPxPalette&) = default;
CPxPalette::CPxPalette(CPxPalette&&) noexcept = default;
CPxPalette& CPxPalette::operator=(const CPxPalette&) = default;
CPxPalette& CPxPalette::operator=(CPxPalette&&) noexcept = default;
CPxPalette::~CPxPalette() = default;

void CPxPalette::SetGrayPalette() {
  const std::int64_t last = static_cast<std::int64_t>(entries_.size()) - 1;
  for (std::int64_t i = 0; i <= last; ++i) {
    const auto grey = static_cast<unsigned char>(last > 0 ? i * 255 / last : 0);
    entries_[static_cast<std::size_t>(i)] = {grey, grey, grey, 0};
  }
}

tagRGBA* CPxPalette::GetPaletteItem(int index) {
  return index >= 0 && index < GetPaletteNum() ? &entries_[static_cast<std::size_t>(index)] : nullptr;
}

const tagRGBA* CPxPalette::GetPaletteItem(int index) const {
  return const_cast<CPxPalette*>(this)->GetPaletteItem(index);
}

// CPxImage ------------------------------------------------------------------------------------------------------------

void CPxImage::FreeBlock::operator()(unsigned char* block) const { rasterkit::freeBlock(block); }
void CPxImage::FreeRows::operator()(void** rows) const { std::free(rows); }

CPxImage::CPxImage() { forget(); }

CPxImage::CPxImage(COLOR_MODEL model, int bits, int width, int height, int paletteCount, CPxCodecInfo* codec, int last)
    : CPxImage() {
  Create(model, bits, width, height, paletteCount, codec, last);
}

CPxImage::CPxImage(const CPxImage& other) : CPxImage() { *this = other; }

CPxImage::CPxImage(CPxImage&& other) noexcept : CPxImage() { take(other); }

CPxImage::~CPxImage() = default;

CPxImage& CPxImage::operator=(const CPxImage& other) {
  if (this == &other) return *this;
  if (!rasterkit::Storage::holdsItsPixels(other)) {
    Remove();
    return *this;
  }
  rasterkit::Storage::takeShape(*this, other);
  if (bufferSize > 0) std::memcpy(block_.get(), other.block_.get(), static_cast<std::size_t>(bufferSize));
  return *this;
}

CPxImage& CPxImage::operator=(CPxImage&& other) noexcept {
  if (this != &other) take(other);
  return *this;
}

void CPxImage::Create(COLOR_MODEL model, int bits, int width, int height, int paletteCount, CPxCodecInfo*, int) {
  rasterkit::Storage::create(*this, model, bits, width, height, paletteCount, rasterkit::Storage::Samples::zero);
}

void CPxImage::Remove() {
  block_.reset();
  rows_.reset();
  forget();
}

int CPxImage::IsCreated() const { return rows_ != nullptr; }

void* CPxImage::GetBuffer() { return block_.get(); }
const void* CPxImage::GetBuffer() const { return block_.get(); }
void** CPxImage::Get2DBuffer() { return rows_.get(); }
const void* const* CPxImage::Get2DBuffer() const { return rows_.get(); }

void CPxImage::SetBitsPerSampleEx(const int* bits) {
  if (bits && rows_ && channelBits == ownChannelBits_) std::copy_n(bits, std::clamp(channels, 0, 4), channelBits);
}

void CPxImage::SetPixel(int x, int y, const unsigned char& value) {
  if (!rasterkit::Storage::holdsItsPixels(*this) || !rasterkit::Storage::rowsHold(*this, 1)) return;
  if (channels != 1 || bitsPerSample > 8) return;
  if (x < 0 || x >= width || y < 0 || y >= height) return;
  block_.get()[static_cast<std::size_t>(y) * static_cast<std::size_t>(bytesPerLine) + static_cast<std::size_t>(x)] =
      value;
}

// Leaves other empty.
void CPxImage::take(CPxImage& other) noexcept {
  block_ = std::move(other.block_);
  rows_ = std::move(other.rows_);
  blockSize_ = other.blockSize_;
  rowCount_ = other.rowCount_;
  std::copy_n(other.ownChannelBits_, 4, ownChannelBits_);
  colorModel = other.colorModel;
  channels = other.channels;
  bitsPerSample = other.bitsPerSample;
  channelBits = rows_ ? ownChannelBits_ : nullptr;
  width = other.width;
  height = other.height;
  bytesPerLine = other.bytesPerLine;
  bufferSize = other.bufferSize;
  palette = std::move(other.palette);
  other.forget();
}

// Describes no image; the memory must be gone already.
void CPxImage::forget() noexcept {
  colorModel = CM_BITMAP;
  channels = bitsPerSample = width = height = bytesPerLine = bufferSize = 0;
  channelBits = nullptr;
  palette = CPxPalette();
  blockSize_ = rowCount_ = 0;
}

// Storage -------------------------------------------------------------------------------------------------------------

namespace rasterkit {
namespace {

std::int64_t lineBytes(COLOR_MODEL model, int bits, int width) {
  return (std::int64_t{width} * CPxImageInfo::GetChannel(model) * sampleBytes(bits) + 3) / 4 * 4;
}

// The bytes of so many rows; more than any block has where they would not fit one.
std::int64_t blockBytes(std::int64_t bytesPerLine, int height) {
  const bool fits = bytesPerLine <= INT_MAX && (height == 0 || bytesPerLine <= INT_MAX / height);
  return fits ? bytesPerLine * height : INT64_MAX;
}

}  // namespace

void Storage::create(CPxImage& image, COLOR_MODEL model, int bits, int width, int height, int paletteCount,
                     Samples samples) {
  const int channels = CPxImageInfo::GetChannel(model);
  if (channels == 0 || bits < 0 || width < 0 || height < 0) return image.Remove();

  try {
    CPxPalette palette(paletteCount);
    allocate(image, lineBytes(model, bits, width), height, samples);
    image.colorModel = model;
    image.channels = channels;
    image.bitsPerSample = bits;
    std::fill_n(image.channelBits, channels, bits);
    image.width = width;
    image.palette = std::move(palette);
  } catch (...) {
    image.Remove();
    throw;
  }
}

bool Storage::keepsBlock(const CPxImage& image, COLOR_MODEL model, int bits, int width, int height) {
  return hasBlock(image, blockBytes(lineBytes(model, bits, width), height), height);
}

bool Storage::hasBlock(const CPxImage& image, std::int64_t bytes, int height) {
  return image.rows_ && image.blockSize_ == bytes && image.rowCount_ == height;
}

// A block and row table for so many rows, and the members that describe them; a block of the same shape is kept.
void Storage::allocate(CPxImage& image, std::int64_t bytesPerLine, int height, Samples samples) {
  const std::int64_t bytes = blockBytes(bytesPerLine, height);
  if (bytes > INT_MAX) throw std::bad_alloc();
  const int size = static_cast<int>(bytes);

  if (!hasBlock(image, size, height)) {
    image.Remove();
    image.block_.reset(static_cast<unsigned char*>(allocateBlock(static_cast<std::size_t>(size))));
    image.rows_.reset(static_cast<void**>(std::calloc(static_cast<std::size_t>(height) + 1, sizeof(void*))));
    if (!image.rows_) throw std::bad_alloc();
    image.blockSize_ = size;
    image.rowCount_ = height;
  }
  if (samples == Samples::zero) std::memset(image.block_.get(), 0, static_cast<std::size_t>(size));

  // The table of a kept block too: a caller may have written into it. Rows without bytes stay null, so that the
  // zeroed table of two thousand million empty rows costs no memory.
  void** const rows = image.rows_.get();
  if (bytesPerLine > 0)
    for (int y = 0; y < height; ++y) rows[y] = image.block_.get() + bytesPerLine * y;

  image.channelBits = image.ownChannelBits_;
  image.height = height;
  image.bytesPerLine = static_cast<int>(bytesPerLine);
  image.bufferSize = size;
}

void Storage::takeShape(CPxImage& image, const CPxImage& source) {
  if (&image == &source) return;
  try {
    allocate(image, source.bytesPerLine, source.height, Samples::any);
    image.colorModel = source.colorModel;
    image.channels = source.channels;
    image.bitsPerSample = source.bitsPerSample;
    image.width = source.width;
    std::copy_n(source.channelBits, 4, image.channelBits);
    image.palette = source.palette;
  } catch (...) {
    image.Remove();
    throw;
  }
}

void Storage::keepPart(CPxImage& image, int left, int top, int width, int height) {
  const std::ptrdiff_t pixel = std::ptrdiff_t{image.channels} * sampleBytes(image.bitsPerSample);
  const std::ptrdiff_t from = image.bytesPerLine, to = (pixel * width + 3) / 4 * 4;
  unsigned char* const block = image.block_.get();
  // Rows only move toward the start of the block, so none is overwritten before it is moved.
  for (std::ptrdiff_t y = 0; y < height; ++y)
    std::memmove(block + to * y, block + from * (top + y) + pixel * left, static_cast<std::size_t>(pixel * width));
  image.width = width;
  image.height = height;
  image.bytesPerLine = static_cast<int>(to);
  image.bufferSize = static_cast<int>(to * height);
  for (std::ptrdiff_t y = 0; y < height; ++y) image.rows_.get()[y] = to > 0 ? block + to * y : nullptr;
  std::fill_n(image.channelBits, image.channels, image.bitsPerSample);
  fillPadding(image, 0);
}

bool Storage::holdsItsPixels(const CPxImage& image) {
  return image.rows_ && image.channelBits == image.ownChannelBits_ && image.channels >= 0 && image.channels <= 4 &&
         image.bitsPerSample >= 0 && image.width >= 0 && image.height >= 0 && image.height <= image.rowCount_ &&
         image.bytesPerLine >= 0 && image.bytesPerLine % 4 == 0 &&
         image.bufferSize == std::int64_t{image.bytesPerLine} * image.height && image.bufferSize <= image.blockSize_;
}

bool Storage::rowsHold(const CPxImage& image, int channels) {
  return std::int64_t{image.width} * channels * sampleBytes(image.bitsPerSample) <= image.bytesPerLine;
}

namespace {

// f(offset, bytes) for the padding of every row.
template <class F>
void eachPadding(const CPxImage& image, F f) {
  const std::int64_t used = std::int64_t{image.width} * image.channels * sampleBytes(image.bitsPerSample);
  const std::int64_t padding = image.bytesPerLine - used;
  if (used < 0 || padding <= 0) return;
  for (std::int64_t y = 0; y < image.height; ++y) f(y * image.bytesPerLine + used, static_cast<std::size_t>(padding));
}

}  // namespace

void Storage::fillPadding(CPxImage& image, unsigned char value) {
  eachPadding(image, [&](std::int64_t at, std::size_t bytes) { std::memset(image.block_.get() + at, value, bytes); });
}

void Storage::copyPadding(CPxImage& image, const CPxImage& source) {
  if (&image == &source) return;
  eachPadding(image, [&](std::int64_t at, std::size_t bytes) {
    std::memcpy(image.block_.get() + at, source.block_.get() + at, bytes);
  });
}

}  // namespace rasterkit

// CPxImageInfo, CPxImageArray -----------------------------------------------------------------------------------------

int CPxImageInfo::GetChannel(COLOR_MODEL model) {
  switch (model) {
    case CM_BITMAP:
    case CM_GRAY:
    case CM_LOGL:
    case CM_INDEX: return 1;
    case CM_GRAYA: return 2;
    case CM_RGBA:
    case CM_CMYK: return 4;
    case CM_RGB:
    case CM_HSI:
    case CM_HSV:
    case CM_HLS:
    case CM_XYZ:
    case CM_YUV:
    case CM_YIQ:
    case CM_YCbCr:
    case CM_LUV:
    case CM_Lab:
    case CM_LOGLUV: return 3;
  }
  return 0;
}

CPxImage* CPxImageArray::GetAt(int index) const {
  return index >= 0 && static_cast<std::size_t>(index) < images_.size() ? images_[static_cast<std::size_t>(index)]
                                                                        : nullptr;
}

void CPxImageArray::Add(CPxImage* image) {
  images_.push_back(image);
  count = static_cast<int>(images_.size());
}

void CPxImageArray::RemoveAll() {
  images_.clear();
  count = 0;
}

// Predicates ----------------------------------------------------------------------------------------------------------

int PXCOMPARE_SIZE(const CPxImage* a, const CPxImage* b) {
  return a && b && a->IsCreated() && b->IsCreated() && a->width == b->width && a->height == b->height;
}

int PXISBITMAP(const CPxImage* image) { return is8(image, CM_BITMAP); }
int PXISINDEX(const CPxImage* image) { return is8(image, CM_INDEX); }
int PXISGRAY(const CPxImage* image) { return is8(image, CM_GRAY); }
int PXISGRAY16(const CPxImage* image) { return is16(image, CM_GRAY); }
int PXISGRAYA(const CPxImage* image) { return is8(image, CM_GRAYA); }
int PXISGRAYA16(const CPxImage* image) { return is16(image, CM_GRAYA); }
int PXISRGB(const CPxImage* image) { return is8(image, CM_RGB); }
int PXISRGB16(const CPxImage* image) { return is16(image, CM_RGB); }
int PXISRGBA(const CPxImage* image) { return is8(image, CM_RGBA); }
int PXISRGBA16(const CPxImage* image) { return is16(image, CM_RGBA); }
int PXISCMYK(const CPxImage* image) { return is8(image, CM_CMYK); }
int PXISHSI(const CPxImage* image) { return isFloat(image, CM_HSI); }
int PXISHSV(const CPxImage* image) { return isFloat(image, CM_HSV); }
int PXISHLS(const CPxImage* image) { return isFloat(image, CM_HLS); }
int PXISXYZ(const CPxImage* image) { return isFloat(image, CM_XYZ); }
int PXISYUV(const CPxImage* image) { return isFloat(image, CM_YUV); }
int PXISYIQ(const CPxImage* image) { return isFloat(image, CM_YIQ); }
int PXISYCbCr(const CPxImage* image) { return isFloat(image, CM_YCbCr); }
int PXISLUV(const CPxImage* image) { return isFloat(image, CM_LUV); }
int PXISLab(const CPxImage* image) { return isFloat(image, CM_Lab); }
int PXISLOGL(const CPxImage* image) { return isFloat(image, CM_LOGL); }
int PXISLOGLUV(const CPxImage* image) { return isFloat(image, CM_LOGLUV); }
