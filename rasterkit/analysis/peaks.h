#pragma once
/// Peaks and valleys of a histogram.

#include <rasterkit/analysis/histogram.h>
#include <rasterkit/platform/framework.h>

/// A peak or a valley of a smoothed histogram, and its neighbours of the other kind: -1 where there is none.
class RASTERKIT_API CPxHistogramDensity {
 public:
  CPxHistogramDensity() = default;
  CPxHistogramDensity(int position, int density) : position(position), density(density) {}
  CPxHistogramDensity(const CPxHistogramDensity&) = default;
  CPxHistogramDensity& operator=(const CPxHistogramDensity&) = default;
  virtual ~CPxHistogramDensity();

  /// |previousDensity - density|; for a record without a neighbour before it, density + 1. Wraps in 32 bits.
  int GetPrevDensityDiff() const;
  int GetNextDensityDiff() const;
  /// The sum of the two.
  int GetDensityDiff() const;

  /// b's density less a's, limited to an int: for sorting records with the highest density first.
  static int CompareDensity(const void* a, const void* b);
  /// The same with positions.
  static int ComparePosition(const void* a, const void* b);

  int position = -1;  ///< bin
  int density = -1;   ///< smoothed count at that bin
  int previousPosition = -1;
  int previousDensity = -1;
  int nextPosition = -1;
  int nextDensity = -1;
};

/// Smooths a histogram, finds its maxima and minima, and reduces the maxima to a few dominant ones.
///
/// The histogram is not owned. The three arrays hold CPxHistogramDensity records that this object owns: they live until
/// the next analysis. Copies have records of their own. Threads: distinct objects on distinct histograms may be used
/// from distinct threads at once.
class RASTERKIT_API CPxHistogramProcessing {
 public:
  CPxHistogramProcessing() = default;
  explicit CPxHistogramProcessing(CPxHistogram* histogram) : histogram_(histogram) {}
  CPxHistogramProcessing(const CPxHistogramProcessing& other);
  CPxHistogramProcessing& operator=(const CPxHistogramProcessing& other);
  ~CPxHistogramProcessing();

  /// Makes one of the derived buffers, and marks it as computed.
  ///
  ///     HIST_SMOOTHED  passes times: buffer[i] = sum of the elements from i - halfWidth to i + halfWidth that lie in
  ///                    [from, to], divided by their number, truncated
  ///     HIST_DIFF1     smoothed[i] = smoothed[i + 1] - smoothed[i], i from 0: in place on the smoothed counts
  ///     HIST_DIFF2     buffer[i] = buffer[i + 1] - buffer[i], i from 1: in place on HIST_DIFF2 itself
  ///     HIST_DIFF3     the same on HIST_DIFF3, up to one element less
  ///
  /// The differences never read the buffer below them, but have it computed first where it is not marked. Elements
  /// outside [from, to] are those of the smoothed buffer before the call after an odd number of passes, the raw counts
  /// after an even one. The span never wraps around, on a circular axis either.
  ///
  /// passes     below 1: a copy.
  /// halfWidth  in bins; below 0 counts as 0.
  /// from, to   the first and the last bin; from below 0 is 0, to below 0 or beyond the bins is the last.
  /// returns    1, where there is nothing to compute too; 0 for another flag, or without a histogram.
  /// cost       independent of halfWidth: passes times one pass over the bins; memory for two more buffers.
  int Smooth(int passes, HIST_FLAG flag, int halfWidth, int from, int to);

  /// How close two maxima may lie before they are merged, as a fraction of the bins; 0.1 at first.
  void SetMinIntervalRatio(double ratio) { minIntervalRatio_ = ratio; }
  /// More maxima than this are smoothed away before the analysis; 6 at first, below 1 counts as 1.
  void SetMaxRawMaximaCount(int n) { maxRawMaximaCount_ = n < 1 ? 1 : n; }
  /// So many maxima remain at most; 2 at first, below 1 counts as 1.
  void SetMaxValidMaximaCount(int n) { maxValidMaximaCount_ = n < 1 ? 1 : n; }

  /// The whole analysis, of the smoothed counts: one pass of five bins where they were not computed yet.
  ///
  ///     1  one more pass of five bins, as long as there are more maxima than allowed
  ///     2  maxima and minima: the middles of the plateaus between a rise and a fall; on a circular axis those across
  ///        the end too. A run up to the end of a linear axis is none.
  ///     3  each record's neighbours of the other kind
  ///     4  maxima in the order of their densities, highest first; equal ones stay in the order of the scan
  ///     5  where they are too many: neighbours in this order that lie within ratio x bins of each other are merged
  ///     6  then those that rise at most 0.6 %, 0.7 % ... of the greatest raw count above the minimum before them,
  ///        until few enough remain; without a positive count there is one such round
  ///
  /// returns  1, also for no extrema; 0 without a histogram.
  int FindMaximaMinima();

  CPtrArray& GetMaximaArray() { return maxima_; }
  CPtrArray& GetMinimaArray() { return minima_; }
  CPtrArray& GetValidMaximaArray() { return validMaxima_; }

  // Reserved: always -1.
  int GetThMinimaPos() const { return -1; }
  int GetThPrevMaximaPos() const { return -1; }
  int GetThNextMaximaPos() const { return -1; }

  /// Writes a buffer as text, one decimal number a line, lines ended by carriage return and line feed; an absent
  /// buffer makes an empty file. A file that cannot be opened or written throws CFileException.
  void SaveHistogram(const char* path, HIST_FLAG flag);

 protected:
  // Slots of the arrays that the host left null are passed over.

  /// Rebuilds the maxima and minima from the smoothed counts, in the order of the scan; returns the number of maxima.
  int SetMaxMinArray();
  /// Sorts the maxima and rebuilds the valid ones; 0 without maxima, else 1.
  int SetValidMaxMinArray();

  /// The record before and after the position. On a circular axis the last stands before the first. Else null.
  CPxHistogramDensity* GetPrevMaxima(int position) { return GetPrevHDArray(maxima_, position); }
  CPxHistogramDensity* GetNextMaxima(int position) { return GetNextHDArray(maxima_, position); }
  CPxHistogramDensity* GetPrevMinima(int position) { return GetPrevHDArray(minima_, position); }
  CPxHistogramDensity* GetNextMinima(int position) { return GetNextHDArray(minima_, position); }
  CPxHistogramDensity* GetPrevHDArray(CPtrArray& records, int position);
  CPxHistogramDensity* GetNextHDArray(CPtrArray& records, int position);

  /// Deletes all records and empties the array.
  void RemoveHDArray(CPtrArray& records);
  /// Deletes a record and its slot: 1. 0 for an index above the size; the size itself, and a negative index, throw
  /// CInvalidArgException.
  int DeleteAtHDArray(CPtrArray& records, int index);

 private:
  bool circular() const { return histogram_ && histogram_->GetCircularModel() != 0; }
  void copy(const CPxHistogramProcessing& other);

  CPxHistogram* histogram_ = nullptr;
  CPtrArray maxima_;
  CPtrArray minima_;
  CPtrArray validMaxima_;
  double minIntervalRatio_ = 0.1;
  int maxRawMaximaCount_ = 6;
  int maxValidMaximaCount_ = 2;
};
