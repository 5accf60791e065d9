#pragma once
/// Histograms of one channel of an image.

#include <rasterkit/core/image.h>

/// The buffers of a histogram. Any other value selects no buffer.
enum HIST_FLAG : int {
  HIST_RAW = 0,       ///< the counts; the only buffer that Create makes
  HIST_SMOOTHED = 1,  ///< the counts, smoothed: CPxHistogramProcessing::Smooth
  HIST_DIFF1 = 2,     ///< for the first differences
  HIST_DIFF2 = 3,     ///< for the second differences
  HIST_DIFF3 = 4,     ///< for the third differences
};

/// The counts of one channel, and the curves that the analysis derives from them.
///
///     bin v of HIST_RAW = how many samples have the value v
///
/// Samples are never scaled: a channel of 16 bits needs 65,536 bins. Each of the five buffers is absent or has as many
/// elements as there are bins. Once counted, a histogram has no link to the image.
///
/// positions   outside the bins, or in a buffer that is absent: reading gives the value a search starts from (0, the
///             minimum 2147483647, the position -1), writing does nothing.
/// counts      sums, differences and counts wrap in 32 bits.
/// memory      a buffer that no memory can be had for throws std::bad_alloc and is absent afterwards.
/// threads     distinct histograms may be used from distinct threads at once; one may be read by several while none
///             changes it.
class RASTERKIT_API CPxHistogram {
 public:
  /// No bins, a linear axis.
  CPxHistogram() { Initialize(); }
  explicit CPxHistogram(int nBins);
  CPxHistogram(const CPxImage& image, int channel);
  /// Copies as the assignment does; a linear axis, nothing marked as computed.
  CPxHistogram(const CPxHistogram& other);
  virtual ~CPxHistogram();

  /// Empties this histogram, then copies the bins and the HIST_RAW buffer of other and nothing else. Because it empties
  /// first, a histogram that is assigned to itself is empty afterwards.
  CPxHistogram& operator=(const CPxHistogram& other);

  /// So many bins, all 0; below 1, an empty histogram. Keeps the kind of axis and the marks of computed buffers.
  void Create(int nBins);
  /// 2^bits bins for the bits of the image's channel, then SetHistogram. A channel that the image does not have, or of
  /// fewer than 0 or more than 16 bits, gives an empty histogram.
  void Create(const CPxImage& image, int channel);
  /// Sets every member to zero and frees nothing: for raw storage.
  void Initialize();
  /// Frees the buffers. Keeps the kind of axis and the marks of computed buffers.
  void Remove();
  /// 1 when there are counts, else 0.
  int IsCreated() const { return buffers_[HIST_RAW] != nullptr; }
  int GetBinCount() const { return binCount_; }

  /// Adds the samples of one channel to the counts, which are not cleared first: images can be summed.
  ///
  ///     raw[image[x, y, channel]] += 1
  ///
  /// pixels   1 to 4 channels by the image's member; 8-bit and 16-bit. Samples beyond the bins are not counted.
  /// channel  0 to channels - 1; ignored for one channel.
  /// returns  1, for an image without pixels and an empty histogram too; 0 for other images and channels (nothing
  ///          counted).
  /// cost     one pass. 320 KiB on the heap for 16-bit, and for 8-bit from 2^19 pixels on; 8-bit takes 8 KiB of the
  ///          stack; one of several channels a row of its samples on the heap more.
  int SetHistogram(const CPxImage& image, int channel);

  /// Makes the buffer, all 0, where it is absent. For HIST_DIFF3 the buffer that must be absent is HIST_RAW, so that a
  /// histogram with counts never has one.
  void CreateBuffer(HIST_FLAG flag);
  /// Null where it is absent.
  int* GetBuffer(HIST_FLAG flag) { return known(flag) ? buffers_[flag] : nullptr; }
  const int* GetBuffer(HIST_FLAG flag) const { return known(flag) ? buffers_[flag] : nullptr; }
  /// Copies as many values as there are bins into the buffer, which must exist.
  void SetBuffer(const int* values, HIST_FLAG flag);

  /// -1 for an unknown flag.
  int GetValue(int pos, HIST_FLAG flag) const;
  void SetValue(int pos, int value, HIST_FLAG flag);
  void AddValue(int pos, int value, HIST_FLAG flag);
  /// Subtracts and keeps only what is not positive: a difference above 0 is stored as 0.
  void SubValue(int pos, int value, HIST_FLAG flag);

  /// The last and the first position that is not 0; -1 where there is none.
  int GetHighValidPosition(HIST_FLAG flag) const;
  int GetLowValidPosition(HIST_FLAG flag) const;

  // The range [from, to): from below 0 is 0; to below 0 or above the bins is their number.

  /// The greatest value above 0 and its first position; 0 and from where there is none. pPos may be null.
  int GetMaxValue(int* pPos, int from, int to, HIST_FLAG flag) const;
  /// The values above 2147483647, of which there are none: always 2147483647, at from. pPos may be null.
  int GetMinValue(int* pPos, int from, int to, HIST_FLAG flag) const;
  /// The sum over the range, in 64 bits, divided by the number of all bins.
  double GetMeanValue(int from, int to, HIST_FLAG flag) const;

  /// Whether the last bin is the first one's neighbour, as of hues. Any value but 0 means it is.
  int GetCircularModel() const { return circular_; }
  void SetCircularModel(int circular) { circular_ = circular; }

 protected:
  // The same over a buffer with as many elements as there are bins; null counts as absent.
  int GetHighValidPosition(const int* buffer) const;
  int GetLowValidPosition(const int* buffer) const;
  int GetMaxValue(const int* buffer, int from, int to, int* pPos) const;
  int GetMinValue(const int* buffer, int from, int to, int* pPos) const;
  double GetMeanValue(const int* buffer, int from, int to) const;

 private:
  friend class CPxHistogramProcessing;

  static bool known(HIST_FLAG flag) { return flag >= HIST_RAW && flag <= HIST_DIFF3; }
  /// The element, or null.
  int* at(int pos, HIST_FLAG flag) {
    int* const buffer = GetBuffer(flag);
    return buffer && pos >= 0 && pos < binCount_ ? buffer + pos : nullptr;
  }
  /// Whether CPxHistogramProcessing::Smooth has produced the buffer, once: the mark outlives it. Not for HIST_RAW.
  int& computed(HIST_FLAG flag) { return computed_[flag - 1]; }

  int* buffers_[5];
  int circular_;
  int binCount_;
  int computed_[4];
};
