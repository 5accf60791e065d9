#pragma once
// From an image's bits a sample to a template over its sample type: the one place where they are compared.

#include "rasterkit/core/view.h"

namespace rasterkit {

enum class SampleClass { none, byte, word, real };

inline SampleClass sampleClass(int bits) {
  return bits <= 8    ? SampleClass::byte
         : bits <= 16 ? SampleClass::word
         : bits <= 32 ? SampleClass::real
                      : SampleClass::none;
}

// Calls f with a value of the sample type: f.template operator()<S>(). 0 beyond 32 bits a sample.
template <class F>
int bySampleType(int bits, F f) {
  switch (sampleClass(bits)) {
    case SampleClass::byte: return f.template operator()<std::uint8_t>();
    case SampleClass::word: return f.template operator()<std::uint16_t>();
    case SampleClass::real: return f.template operator()<float>();
    case SampleClass::none: break;
  }
  return 0;
}

// As bySampleType, for operations on whole numbers: 0 beyond 16 bits a sample.
template <class F>
int byWholeSampleType(int bits, F f) {
  switch (sampleClass(bits)) {
    case SampleClass::byte: return f.template operator()<std::uint8_t>();
    case SampleClass::word: return f.template operator()<std::uint16_t>();
    default: return 0;
  }
}

// f(View<const S>, View<S>) over the rows of both images, which have the same sample class; their result.
template <class F>
int bySample(const CPxImage& source, CPxImage& dst, int channels, F f) {
  return bySampleType(source.bitsPerSample,
                      [&]<class S>() { return f(viewOf<S>(source, channels), viewOf<S>(dst, channels)); });
}
template <class F>
int bySample(const CPxImage& source, CPxImage& dst, F f) {
  return bySample(source, dst, source.channels, f);
}

// f(View<S>) over the rows of an image that is changed in place.
template <class F>
int bySample(CPxImage& image, int channels, F f) {
  return bySampleType(image.bitsPerSample, [&]<class S>() { return f(viewOf<S>(image, channels)); });
}

}  // namespace rasterkit
