#pragma once
// Row kernels of the colour-model conversions, of inversion and of replacement.

#include "rasterkit/core/kernel_table.h"

#include <stddef.h>
#include <stdint.h>

namespace rasterkit {

// From pixels of `in` samples to pixels of `out` samples: the first `used` samples of each; the others of out stay.
// Where in or out is not `used`, used is 1, or 3 of pixels of 3 or 4 samples; lookUp takes any.
struct Steps {
  int in;
  int out;
  int used;
};

// How a weighted grey is made of B, G and R.
struct GreyWeights {
  double weight[3];  // B, G, R
  // Where every weight is a multiple of 2^-30 from 0 to 1, weight = (high * 2^15 + low) * 2^-30, and whole numbers give
  // the exact sum.
  bool whole;
  int32_t high[3];
  int32_t low[3];
  int shift;  // the sum is multiplied by 2^shift
  int32_t most;
};

// Rows of n pixels. in and out may be the same row where their pixels have the same size; else they do not overlap.
struct ColourKernels {
  void (*move)(const uint8_t* in, uint8_t* out, Steps, size_t n);
  void (*widen)(const uint8_t* in, uint16_t* out, Steps, int shift, size_t n);
  void (*narrow)(const uint16_t* in, uint8_t* out, Steps, int shift, size_t n);
  // set where the sample is at least level, else 0
  void (*reach8)(const uint8_t* in, uint8_t* out, Steps, uint8_t level, uint8_t set, size_t n);
  void (*reach16)(const uint16_t* in, uint8_t* out, Steps, uint16_t level, uint8_t set, size_t n);
  // white where the sample is not 0, else 0
  void (*whiten8)(const uint8_t* in, uint8_t* out, Steps, uint8_t white, size_t n);
  void (*whiten16)(const uint8_t* in, uint16_t* out, Steps, uint16_t white, size_t n);
  // out = tables[sample][in], one table for each sample used
  void (*lookUp)(const uint8_t* in, uint8_t* out, Steps, const uint8_t (*tables)[256], size_t n);

  // One sample a pixel becomes B, G and R of pixels of 3 or 4 samples.
  void (*spread)(const uint8_t* in, uint8_t* out, int channels, size_t n);
  // colours: B, G and R of each value in the low bytes.
  void (*paint)(const uint8_t* in, uint8_t* out, int channels, const uint32_t* colours, size_t n);
  // The sample, of pixels of `step`, shifted right, times a weight each, rounded. weights: B, G, R
  void (*tint)(const uint16_t* in, int step, uint8_t* out, int channels, int shift, const double* weights, size_t n);

  // Pixels of 3 or 4 samples to one grey a pixel.
  void (*weigh8)(const uint8_t* in, int channels, uint8_t* out, const GreyWeights&, size_t n);
  void (*weigh16)(const uint8_t* in, int channels, uint16_t* out, const GreyWeights&, size_t n);

  void (*toCmyk)(const uint8_t* in, int channels, uint8_t* out, size_t n);
  void (*fromCmyk)(const uint8_t* in, uint8_t* out, int channels, size_t n);

  // s becomes most - s, for n samples, or for one sample of each of n pixels.
  void (*invert8)(uint8_t* samples, int32_t most, size_t n);
  void (*invert16)(uint16_t* samples, int32_t most, size_t n);
  void (*invertReal)(float* samples, size_t n);
  void (*invertOne8)(uint8_t* pixels, int channels, int channel, int32_t most, size_t n);
  void (*invertOne16)(uint16_t* pixels, int channels, int channel, int32_t most, size_t n);
  void (*invertOneReal)(float* pixels, int channels, int channel, size_t n);

  // Pixels that equal find become write; both have one value a channel. Floats: three.
  void (*replace8)(uint8_t* pixels, int channels, const uint8_t* find, const uint8_t* write, size_t n);
  void (*replace16)(uint16_t* pixels, int channels, const uint16_t* find, const uint16_t* write, size_t n);
  void (*replaceReal)(float* pixels, const float* find, const float* write, size_t n);
};

RASTERKIT_PERMUTING_KERNEL_TABLE(ColourKernels, colourKernels)

}  // namespace rasterkit
