#pragma once

#include "rasterkit/core/kernel_table.h"

#include <stddef.h>
#include <stdint.h>

namespace rasterkit {

// The taps of a kernel at one row: tap k multiplies the samples from in[k] on by weights[k]. Taps of weight 0 are left
// out. Inputs and outputs do not overlap.
template <class T, class Weight>
struct Taps {
  const T* const* in;
  const Weight* weights;
  size_t count;
};

// A kernel that is a column of weights times a row of weights, and something more at one tap: the weights down the
// columns, then those across the sums.
template <class T>
struct FactoredTaps {
  Taps<T, T> down;
  const size_t* places;  // of the weights across, in samples from the leftmost one
  const T* across;
  size_t count;
  size_t reach;     // samples beyond the n summed, at most kMostReach
  const T* centre;  // null where there is nothing more
  T centreWeight;
};
constexpr size_t kMostReach = 64;
constexpr size_t kMostAcross = 16;

// From a sum that 16 bits hold, or one that was limited to them, to a sample:
//
//     q = (sum / divisor, toward zero); q = q < flipBelow ? -q : q; sample = limited(q, least, greatest) + offset
struct NarrowRule {
  uint16_t multiplier;  // |sum| / divisor = |sum| * multiplier >> 16 >> shift; 0: the divisor is 1
  uint16_t shift;
  int16_t negative;   // -1 for a divisor below 0, else 0
  int16_t flipBelow;  // the quotients below it change their sign
  int16_t least, greatest;
  int16_t offset;
  int32_t start;  // what the sum begins with: of sums in 16 bits it fits these too
  // Of an offset of 0 only this is left: (|sum| or greatest(sum, 0)) / divisor, up to `greatest`.
  bool plain;
  bool magnitude;
};

// From a sum to a sample, sums and differences wrapping:
//
//     q = (sum / divisor, toward zero); r = q + offset; r = r < flipBelow ? offset - q : r; sample = limited(r, 0,
//     greatest)
struct WholeRule {
  double inverse;  // 1 / divisor
  int32_t offset;
  int32_t flipBelow;  // 0, or the least int for never
  int32_t greatest;
  int32_t start;
};

// From a sum in double precision to a sample, r < 0 becoming offset - q where `magnitude` is set.
struct RealRule {
  double divisor;
  double offset;
  bool byInverse;  // 1 / divisor is exact, and so is multiplying by it
  bool magnitude;
  double greatest;
};

// A RealRule in single precision, with what it may be off by.
struct EstimateRule {
  float inverse;
  float offset;
  float error;  // below 0.25
  float greatest;
  bool magnitude;
};

// Rows of n samples.
template <class S>
struct ConvolutionRows {
  void (*toSingle)(const S* in, float* out, size_t n);

  // Sums below 2^22 in size: every product and partial sum is a whole number that a float holds exactly.
  void (*single)(const Taps<float, float>& taps, const WholeRule& rule, S* out, size_t n);
  void (*singleFactored)(const FactoredTaps<float>& taps, const WholeRule& rule, S* out, size_t n);
  // Any sums, wrapping in 32 bits.
  void (*whole)(const Taps<S, int32_t>& taps, const WholeRule& rule, S* out, size_t n);
  void (*sums)(const Taps<S, int32_t>& taps, int32_t* out, size_t n);
  // Sums in double precision, in the order of the taps.
  void (*real)(const Taps<float, double>& taps, const RealRule& rule, S* out, size_t n);
  // The same result: estimated in single precision, and where that is too close to the next sample value, computed.
  // Both kernels have the same taps.
  void (*estimated)(const Taps<float, float>& estimate, const EstimateRule& estimateRule,
                    const Taps<float, double>& taps, const RealRule& rule, S* out, size_t n);
};

struct ConvolutionKernels {
  ConvolutionRows<uint8_t> bytes;
  ConvolutionRows<uint16_t> words;
  void (*toWord)(const uint8_t* in, int16_t* out, size_t n);
  // Sums up to 32767 in size in 16 bits.
  void (*narrow)(const Taps<int16_t, int16_t>& taps, const NarrowRule& rule, uint8_t* out, size_t n);
  void (*narrowFactored)(const FactoredTaps<int16_t>& taps, const NarrowRule& rule, uint8_t* out, size_t n);
  // Float samples: (8 x centre - the eight neighbours) x 0.125 in double, limited to 0 to 255 and truncated. The rows
  // stand `step` samples to the left.
  void (*laplacian)(const float* const* rows, size_t step, float* out, size_t n);
};

RASTERKIT_KERNEL_TABLE(ConvolutionKernels, convolutionKernels)

// Rows in fours -------------------------------------------------------------------------------------------------------
//
// A quad is one sample of each of four rows, one below the other: one product of it with four weights of 8 bits takes
// four taps at once. Wider weights are written in digits of base 256, from -128 to 127, each a kernel of its own. Two
// rows of results are made of the same quads.

constexpr size_t kMostQuads = 8;        // one below the other
constexpr size_t kMostQuadReach = 128;  // samples beyond the n summed

struct QuadTap {
  size_t quad;
  size_t place;  // samples from the leftmost tap
};

struct QuadTaps {
  const uint8_t* const* rows;  // 4 x quads of them, at the leftmost tap
  size_t quads;
  size_t reach;
  const QuadTap* taps;
  size_t count;
  // [digit][tap][row of results]: four signed bytes, the lowest one for the uppermost row. The lowest digit first.
  const int32_t (*weights)[2];
  size_t digits;
};

// From a sum in units of 2^-(16 pairs + shift), with so many pairs of low digits, to a sample: truncated and limited.
// Sums of a pair, and of the digits above them, do not leave 32 bits.
struct ExactRule {
  const int32_t* starts;  // one more than there are pairs, the lowest first
  size_t pairs;
  int shift;
};

// Two rows of n samples from 8-bit ones.
struct QuadKernels {
  void (*narrow)(const QuadTaps& taps, const NarrowRule& rule, uint8_t* const* out, size_t n);  // sums saturate
  void (*single)(const QuadTaps& taps, const WholeRule& rule, uint8_t* const* out, size_t n);   // sums below 2^22
  void (*whole)(const QuadTaps& taps, const WholeRule& rule, uint8_t* const* out, size_t n);    // sums wrap
  void (*exact)(const QuadTaps& taps, const ExactRule& rule, uint8_t* const* out, size_t n);
};

#if RASTERKIT_HAS_VNNI
namespace vnni {
extern const QuadKernels quadKernels;
}
#endif

}  // namespace rasterkit
