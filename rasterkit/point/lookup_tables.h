#pragma once
/// How often each sample value occurs, channel by channel.

#include <rasterkit/core/processing_base.h>
#include <rasterkit/platform/framework.h>

#include <vector>

/// The counts of one channel: pTable[v] samples have the value v. The memory belongs to the object that made it.
struct _PP_LOOKUP_TABLE {
  unsigned int* pTable;
  int nCount;
};

/// Counts the samples of the bound image, and is the base of the operations that remap them.
///
/// The tables describe the image as it was at the last CalLookupTable; a reference to one is valid until the next,
/// RemoveAll, or the end of the object. A copy has tables of its own.
class RASTERKIT_API CPxPointProcessing : public CPxImageProcessingBase {
 public:
  CPxPointProcessing() = default;
  explicit CPxPointProcessing(CPxImage* image) : CPxImageProcessingBase(image) {}
  CPxPointProcessing(const CPxPointProcessing& other);
  CPxPointProcessing& operator=(const CPxPointProcessing& other);
  CPxPointProcessing(CPxPointProcessing&&) = default;
  CPxPointProcessing& operator=(CPxPointProcessing&&) = default;
  ~CPxPointProcessing() = default;

  /// Makes one table a channel, in channel order, of 2^bits counters each.
  ///
  ///     table[channel].pTable[v] = how many pixels have the value v in that channel
  ///
  /// pixels   1 to 4 channels of 8-bit or 16-bit samples, the whole image; values of 2^bits and more are not counted.
  ///          The area of interest is not looked at.
  /// returns  1; 0, without tables, for other channel counts or float samples.
  /// cost     one pass; 4 bytes a counter.
  int CalLookupTable();

  int GetLookupTableCount() const { return tables_.GetSize(); }
  /// The counts of a channel; an index outside throws CInvalidArgException.
  _PP_LOOKUP_TABLE& GetLookupTable(int index) { return tables_[index]; }
  const _PP_LOOKUP_TABLE& GetLookupTable(int index) const { return tables_[index]; }
  void RemoveAll();

 private:
  // The records may be written to by callers, so the memory has owners of its own.
  std::vector<std::vector<unsigned int>> counters_;
  CArray<_PP_LOOKUP_TABLE> tables_;
};
