#pragma once
/// Brightness, contrast and gamma, in place.

#include <rasterkit/platform/framework.h>
#include <rasterkit/point/lookup_tables.h>

#include <vector>

namespace rasterkit {

/// A coefficient and the table of results that is made from it.
struct ToneTable {
  float coefficient = 1.5F;
  std::vector<int> entries;

  ToneTable() = default;
  ToneTable(const ToneTable&) = default;
  /// Without memory for the entries there are none.
  ToneTable& operator=(const ToneTable& other) {
    if (this == &other) return *this;
    release();
    coefficient = other.coefficient;
    entries = other.entries;
    return *this;
  }
  ~ToneTable() = default;

  /// Gives the memory of the entries back.
  void release() { std::vector<int>().swap(entries); }
};

}  // namespace rasterkit

/// Makes the bound image lighter or darker.
class RASTERKIT_API CPxBrightnessProcessing : public CPxPointProcessing {
 public:
  CPxBrightnessProcessing() = default;
  explicit CPxBrightnessProcessing(CPxImage* image) : CPxPointProcessing(image) {}
  CPxBrightnessProcessing(const CPxBrightnessProcessing&) = default;
  CPxBrightnessProcessing& operator=(const CPxBrightnessProcessing&) = default;
  virtual ~CPxBrightnessProcessing();

  /// Adds value to every sample where it is above 0, as CPxArithmeticProcessing::ADD does over the whole image;
  /// otherwise subtracts -value, as SUB does. So results beyond the 8-bit range are limited in the direction of the
  /// change, and 16-bit and float images come to the 8-bit range too. Returns what ADD or SUB returns.
  int Brightness(int value);
};

/// Remaps the samples of the bound image through a table that rises in a straight line.
///
///     table[i] = i * coefficient + 0.5, truncated, limited to 0 and n - 1
///     s = table[s]
///
/// Set the coefficient, make a table of 256 entries for 8-bit images or 65536 for 16-bit ones, then call Contrast as
/// often as needed, on any image. A copy has a table of its own.
class RASTERKIT_API CPxContrastProcessing : public CPxPointProcessing {
 public:
  CPxContrastProcessing() = default;
  explicit CPxContrastProcessing(CPxImage* image) : CPxPointProcessing(image) {}
  CPxContrastProcessing(const CPxContrastProcessing&) = default;
  CPxContrastProcessing& operator=(const CPxContrastProcessing&) = default;
  virtual ~CPxContrastProcessing();

  /// Stores the coefficient, 1.5 at first, for the next CreateVectorTable; a table that exists stays. Returns 1.
  int SetCoefficient(float coefficient);
  float GetCoefficient() const { return table_.coefficient; }

  /// Makes the table of n entries; below 1 there is none. Product and sum are in double precision; a value that no
  /// 32-bit integer holds counts as below 0. Returns 1. Without memory: std::bad_alloc, and there is no table.
  int CreateVectorTable(int n);

  /// Replaces the samples inside the rectangle by their table entries.
  ///
  /// pixels   1, 3 and 4 channels of 8-bit or 16-bit samples, alpha included; the low 8 or 16 bits of an entry are
  ///          stored, and a sample beyond the table stays. Images of other types stay as they are, and the result is 1.
  /// rect     right and bottom belong to it; edges in either order; cut at the image's edges. (-1, -1, -1, -1) is the
  ///          whole image.
  /// returns  1; 0 for a rectangle wholly outside. Without an image or a table a message says what is missing, and the
  ///          result is 0.
  /// cost     one pass. The area of interest is not looked at.
  int Contrast(CRect rect);

  /// Returns 0: an automatic contrast is not offered.
  int AutoContrast();

 private:
  rasterkit::ToneTable table_;
};

/// Remaps the samples of the bound image through a table that rises as a power.
///
///     table[i] = i ^ coefficient, truncated, limited to 0 and n - 1
///     s = table[s]
///
/// The power is not brought to the table's range: with 1.5 entry 40 is 252, and from 41 on all are n - 1. Otherwise as
/// CPxContrastProcessing.
class RASTERKIT_API CPxGammaProcessing : public CPxPointProcessing {
 public:
  CPxGammaProcessing() = default;
  explicit CPxGammaProcessing(CPxImage* image) : CPxPointProcessing(image) {}
  CPxGammaProcessing(const CPxGammaProcessing&) = default;
  CPxGammaProcessing& operator=(const CPxGammaProcessing&) = default;
  virtual ~CPxGammaProcessing();

  int SetCoefficient(float coefficient);
  float GetCoefficient() const { return table_.coefficient; }
  int CreateVectorTable(int n);
  /// As CPxContrastProcessing::Contrast.
  int Gamma(CRect rect);

 private:
  rasterkit::ToneTable table_;
};
