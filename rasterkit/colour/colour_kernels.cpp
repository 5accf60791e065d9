#include "rasterkit/colour/colour_kernels.h"

#include "rasterkit/core/kernel_numbers.h"

namespace rasterkit::RASTERKIT_LEVEL {
namespace {

// Samples to samples ---------------------------------------------------------------------------------------------

template <int inStep, int outStep, int used, class In, class Out, class Map>
void mapPixels(const In* in, Out* out, size_t n, Map map) {
  for (size_t i = 0; i < n; ++i)
    for (int c = 0; c < used; ++c) out[i * outStep + c] = map(in[i * inStep + c]);
}

// out = map(in) for the samples used of each pixel. The frequent steps are constants, so that the loops vectorise.
template <class In, class Out, class Map>
void mapSamples(const In* in, Out* out, Steps steps, size_t n, Map map) {
  if (steps.in == steps.used && steps.out == steps.used) {
    const size_t samples = n * static_cast<size_t>(steps.used);
    for (size_t i = 0; i < samples; ++i) out[i] = map(in[i]);
  } else if (steps.used == 3) {
    if (steps.in == 4 && steps.out == 4) return mapPixels<4, 4, 3>(in, out, n, map);
    if (steps.in == 4) return mapPixels<4, 3, 3>(in, out, n, map);
    return mapPixels<3, 4, 3>(in, out, n, map);
  } else {
    for (int c = 0; c < steps.used; ++c)
      for (size_t i = 0; i < n; ++i)
        out[i * static_cast<size_t>(steps.out) + static_cast<size_t>(c)] =
            map(in[i * static_cast<size_t>(steps.in) + static_cast<size_t>(c)]);
  }
}

void move(const uint8_t* in, uint8_t* out, Steps steps, size_t n) {
  mapSamples(in, out, steps, n, [](uint8_t s) { return s; });
}

void widen(const uint8_t* in, uint16_t* out, Steps steps, int shift, size_t n) {
  mapSamples(in, out, steps, n, [=](uint8_t s) { return static_cast<uint16_t>(s << shift); });
}

void narrow(const uint16_t* in, uint8_t* out, Steps steps, int shift, size_t n) {
  mapSamples(in, out, steps, n, [=](uint16_t s) { return static_cast<uint8_t>(s >> shift); });
}

template <class S>
void reach(const S* in, uint8_t* out, Steps steps, S level, uint8_t set, size_t n) {
  mapSamples(in, out, steps, n, [=](S s) { return s >= level ? set : uint8_t(0); });
}

template <class S>
void whiten(const uint8_t* in, S* out, Steps steps, S white, size_t n) {
  mapSamples(in, out, steps, n, [=](uint8_t s) { return s ? white : S(0); });
}

void lookUp(const uint8_t* in, uint8_t* out, Steps steps, const uint8_t (*tables)[256], size_t n) {
  for (size_t i = 0; i < n; ++i, in += steps.in, out += steps.out)
    for (int c = 0; c < steps.used; ++c) out[c] = tables[c][in[c]];
}

// One sample to three --------------------------------------------------------------------------------------------

template <int channels>
void spreadTo(const uint8_t* in, uint8_t* out, size_t n) {
  for (size_t i = 0; i < n; ++i)
    for (int c = 0; c < 3; ++c) out[i * channels + c] = in[i];
}

void spread(const uint8_t* in, uint8_t* out, int channels, size_t n) {
  channels == 3 ? spreadTo<3>(in, out, n) : spreadTo<4>(in, out, n);
}

void paint(const uint8_t* in, uint8_t* out, int channels, const uint32_t* colours, size_t n) {
  for (size_t i = 0; i < n; ++i, out += channels) {
    const uint32_t colour = colours[in[i]];
    out[0] = static_cast<uint8_t>(colour);
    out[1] = static_cast<uint8_t>(colour >> 8);
    out[2] = static_cast<uint8_t>(colour >> 16);
  }
}

void tint(const uint16_t* in, int step, uint8_t* out, int channels, int shift, const double* weights, size_t n) {
  for (int c = 0; c < 3; ++c) {
    const double weight = weights[c];
    for (size_t i = 0; i < n; ++i)
      out[i * static_cast<size_t>(channels) + static_cast<size_t>(c)] =
          lowByte(truncated((in[i * static_cast<size_t>(step)] >> shift) * weight + 0.5));
  }
}

// Three samples to one -------------------------------------------------------------------------------------------

template <int channels, class S>
void weighPixels(const uint8_t* in, S* out, const GreyWeights& weights, size_t n) {
  const double blue = weights.weight[0], green = weights.weight[1], red = weights.weight[2];
  const double scale = 1 << weights.shift;
  const int32_t most = weights.most;
  for (size_t i = 0; i < n; ++i, in += channels) {
    const int32_t grey = truncated((in[2] * red + in[1] * green + in[0] * blue) * scale + 0.5);
    out[i] = static_cast<S>(static_cast<uint32_t>(least(grey, most)));
  }
}

template <class S>
void weigh(const uint8_t* in, int channels, S* out, const GreyWeights& weights, size_t n) {
  channels == 3 ? weighPixels<3>(in, out, weights, n) : weighPixels<4>(in, out, weights, n);
}

// CMYK -----------------------------------------------------------------------------------------------------------

void toCmyk(const uint8_t* in, int channels, uint8_t* out, size_t n) {
  for (size_t i = 0; i < n; ++i, in += channels, out += 4) {
    const uint8_t most = greatest(greatest(in[0], in[1]), in[2]);
    for (int c = 0; c < 3; ++c) out[c] = static_cast<uint8_t>(most - in[2 - c]);
    out[3] = static_cast<uint8_t>(255 - most);
  }
}

void fromCmyk(const uint8_t* in, uint8_t* out, int channels, size_t n) {
  for (size_t i = 0; i < n; ++i, in += 4, out += channels)
    for (int c = 0; c < 3; ++c) out[2 - c] = static_cast<uint8_t>(255 - in[3] - in[c]);
}

// In place -------------------------------------------------------------------------------------------------------

template <class S>
void invert(S* samples, int32_t most, size_t n) {
  for (size_t i = 0; i < n; ++i) samples[i] = static_cast<S>(most - samples[i]);
}

void invertReal(float* samples, size_t n) {
  for (size_t i = 0; i < n; ++i) samples[i] = 1.0F - samples[i];
}

template <class S>
void invertOne(S* pixels, int channels, int channel, int32_t most, size_t n) {
  for (size_t i = 0; i < n; ++i) {
    S& sample = pixels[i * static_cast<size_t>(channels) + static_cast<size_t>(channel)];
    sample = static_cast<S>(most - sample);
  }
}

void invertOneReal(float* pixels, int channels, int channel, size_t n) {
  for (size_t i = 0; i < n; ++i) {
    float& sample = pixels[i * static_cast<size_t>(channels) + static_cast<size_t>(channel)];
    sample = 1.0F - sample;
  }
}

template <class S>
void replace(S* pixels, int channels, const S* find, const S* write, size_t n) {
  for (size_t i = 0; i < n; ++i, pixels += channels) {
    bool equal = true;
    for (int c = 0; c < channels; ++c) equal = equal && pixels[c] == find[c];
    if (equal)
      for (int c = 0; c < channels; ++c) pixels[c] = write[c];
  }
}

}  // namespace

const ColourKernels colourKernels = {move,
                                     widen,
                                     narrow,
                                     reach<uint8_t>,
                                     reach<uint16_t>,
                                     whiten<uint8_t>,
                                     whiten<uint16_t>,
                                     lookUp,
                                     spread,
                                     paint,
                                     tint,
                                     weigh<uint8_t>,
                                     weigh<uint16_t>,
                                     toCmyk,
                                     fromCmyk,
                                     invert<uint8_t>,
                                     invert<uint16_t>,
                                     invertReal,
                                     invertOne<uint8_t>,
                                     invertOne<uint16_t>,
                                     invertOneReal,
                                     replace<uint8_t>,
                                     replace<uint16_t>,
                                     replace<float>};

}  // namespace rasterkit::RASTERKIT_LEVEL
