#pragma once
/// The image container, its palette and descriptor, collections of images, and the colour-model predicates.
///
/// Threads: distinct objects may be used from distinct threads at once. One may be read by several threads while none
/// changes it.

#include <rasterkit/core/pixels.h>
#include <rasterkit/platform/export.h>

#include <cstddef>
#include <memory>
#include <vector>

namespace rasterkit {
struct Storage;
}

/// Reserved for the image-file layer of a host; the library only passes it on.
struct CPxCodecInfo;

/// A list of colours. New entries are 0 in all four members.
class RASTERKIT_API CPxPalette {
 public:
  /// count: the number of entries; below 0 counts as 0.
  explicit CPxPalette(int count = 0);
  CPxPalette(const CPxPalette&);
  CPxPalette(CPxPalette&&) noexcept;
  CPxPalette& operator=(const CPxPalette&);
  CPxPalette& operator=(CPxPalette&&) noexcept;
  virtual ~CPxPalette();

  /// Makes entry i of n the grey i * 255 / (n - 1), truncated, with reserved 0; the entry of a one-entry palette is
  /// black.
  void SetGrayPalette();
  int GetPaletteNum() const { return static_cast<int>(entries_.size()); }
  /// The entries, or null for an empty palette.
  tagRGBA* GetPalette() { return entries_.empty() ? nullptr : entries_.data(); }
  const tagRGBA* GetPalette() const { return entries_.empty() ? nullptr : entries_.data(); }
  /// One entry; null outside the palette.
  tagRGBA* GetPaletteItem(int index);
  const tagRGBA* GetPaletteItem(int index) const;

 private:
  std::vector<tagRGBA> entries_;
};

/// A raster image: rows of interleaved samples in one block, top row first, each row padded to a multiple of 4 bytes.
///
///     sample (x, y, channel) = row y, element x * channels + channel
///
/// bits      of a sample: at most 8 are unsigned 8-bit samples, 9 to 16 unsigned 16-bit, 17 to 32 float. Images of more
///           bits can be created (4 bytes a sample), but operations refuse them.
/// members   public, and always those of the pixel block. Code that changes one makes the image describe other pixels;
///           operations treat an image whose members reach beyond its block, or that has more than 4 channels, bits
///           below 0 or another array for channelBits, as not created, and refuse one whose rows have no room for its
///           pixels.
/// memory    an image that no memory can be had for throws std::bad_alloc and is empty afterwards.
class RASTERKIT_API CPxImage {
 public:
  /// An empty image: all numbers 0, pointers null, no palette entries.
  CPxImage();
  CPxImage(COLOR_MODEL model, int bits, int width, int height, int paletteCount = 0, CPxCodecInfo* codec = nullptr,
           int last = 255);
  CPxImage(const CPxImage&);
  CPxImage(CPxImage&&) noexcept;
  virtual ~CPxImage();

  /// A deep copy: model, sizes, channel bits, pixels with their row padding, palette. The block is reused where its
  /// size and the number of rows are the same.
  CPxImage& operator=(const CPxImage&);
  CPxImage& operator=(CPxImage&&) noexcept;

  /// Makes the image anew, all samples and row padding 0, every entry of channelBits equal to bits. A negative size or
  /// number of bits, or an unknown model, leaves it empty. codec and last are kept for hosts and have no effect.
  void Create(COLOR_MODEL model, int bits, int width, int height, int paletteCount = 0, CPxCodecInfo* codec = nullptr,
              int last = 255);
  void Remove();
  /// Non-zero when the image was created, with 0 columns or rows too.
  int IsCreated() const;

  /// The pixel block, aligned to 64 bytes: bufferSize bytes. Null for an empty image.
  void* GetBuffer();
  const void* GetBuffer() const;
  /// The row table: height pointers to the starts of the rows. Null for an empty image. The rows of an image without
  /// columns are null.
  void** Get2DBuffer();
  const void* const* Get2DBuffer() const;
  CPxPalette& GetPalette() { return palette; }
  const CPxPalette& GetPalette() const { return palette; }

  /// Copies one number of bits a channel; ignored for null and for an image that is not created.
  void SetBitsPerSampleEx(const int* bits);
  /// Stores one sample of a one-channel image of at most 8 bits; anything else, and a place outside, is ignored.
  void SetPixel(int x, int y, const unsigned char& value);

  COLOR_MODEL colorModel;
  int channels;
  int bitsPerSample;
  int* channelBits;  ///< one entry a channel
  int width;         ///< in pixels
  int height;        ///< in rows
  int bytesPerLine;  ///< the least multiple of 4 that holds a row
  int bufferSize;    ///< bytesPerLine * height
  CPxPalette palette;

 private:
  friend struct rasterkit::Storage;

  struct FreeBlock {
    void operator()(unsigned char* block) const;
  };
  struct FreeRows {
    void operator()(void** rows) const;
  };

  void take(CPxImage&) noexcept;
  void forget() noexcept;

  std::unique_ptr<unsigned char, FreeBlock> block_;
  int blockSize_ = 0;
  std::unique_ptr<void*, FreeRows> rows_;
  int rowCount_ = 0;
  int ownChannelBits_[4] = {};
};

/// A descriptor of an image.
class RASTERKIT_API CPxImageInfo {
 public:
  explicit CPxImageInfo(CPxImage* image) : image_(image) {}
  CPxImage* GetImage() const { return image_; }
  /// The number of channels of a model: 0 for an unknown one.
  static int GetChannel(COLOR_MODEL model);

 private:
  CPxImage* image_;
};

/// A collection that points at images and does not own them.
class RASTERKIT_API CPxImageArray {
 public:
  int count = 0;

  /// The image at the index; null outside the collection.
  CPxImage* GetAt(int index) const;
  void Add(CPxImage* image);
  void RemoveAll();

 private:
  std::vector<CPxImage*> images_;
};

/// Non-zero when both images are created and have the same width and height.
RASTERKIT_API int PXCOMPARE_SIZE(const CPxImage* a, const CPxImage* b);

// Whether an image has the model and the sample class: 8 bits at most, 9 to 16 (the names with 16), or float for the
// colour spaces. All are 0 for null and for an image that is not created.
RASTERKIT_API int PXISBITMAP(const CPxImage* image);
RASTERKIT_API int PXISINDEX(const CPxImage* image);
RASTERKIT_API int PXISGRAY(const CPxImage* image);
RASTERKIT_API int PXISGRAY16(const CPxImage* image);
RASTERKIT_API int PXISGRAYA(const CPxImage* image);
RASTERKIT_API int PXISGRAYA16(const CPxImage* image);
RASTERKIT_API int PXISRGB(const CPxImage* image);
RASTERKIT_API int PXISRGB16(const CPxImage* image);
RASTERKIT_API int PXISRGBA(const CPxImage* image);
RASTERKIT_API int PXISRGBA16(const CPxImage* image);
RASTERKIT_API int PXISCMYK(const CPxImage* image);
RASTERKIT_API int PXISHSI(const CPxImage* image);
RASTERKIT_API int PXISHSV(const CPxImage* image);
RASTERKIT_API int PXISHLS(const CPxImage* image);
RASTERKIT_API int PXISXYZ(const CPxImage* image);
RASTERKIT_API int PXISYUV(const CPxImage* image);
RASTERKIT_API int PXISYIQ(const CPxImage* image);
RASTERKIT_API int PXISYCbCr(const CPxImage* image);
RASTERKIT_API int PXISLUV(const CPxImage* image);
RASTERKIT_API int PXISLab(const CPxImage* image);
RASTERKIT_API int PXISLOGL(const CPxImage* image);
RASTERKIT_API int PXISLOGLUV(const CPxImage* image);
