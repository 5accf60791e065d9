#include "rasterkit/colour/colour_kernels.h"

#include "rasterkit/core/kernel_numbers.h"
#include "rasterkit/core/kernel_planes.h"

namespace rasterkit::RASTERKIT_LEVEL {
namespace {

using Bytes = Planes<uint8_t>;

// Samples to samples ---------------------------------------------------------------------------------------------

template <int inStep, int outStep, int used, class In, class Out, class Map>
void mapPixels(const In* in, Out* out, size_t n, Map map) {
  for (size_t i = 0; i < n; ++i)
    for (int c = 0; c < used; ++c) out[i * outStep + c] = map(in[i * inStep + c]);
}

// out = map(in) for the samples used of each pixel: all of them, three or one. The frequent steps are constants, so
// that the loops vectorise.
template <class In, class Out, class Map>
void mapSamples(const In* in, Out* out, Steps steps, size_t n, Map map) {
  if (steps.in == steps.used && steps.out == steps.used) {
    const size_t samples = n * static_cast<size_t>(steps.used);
    for (size_t i = 0; i < samples; ++i) out[i] = map(in[i]);
  } else if (steps.used == 3) {
    if (steps.in == 4 && steps.out == 4) return mapPixels<4, 4, 3>(in, out, n, map);
    if (steps.in == 4) return mapPixels<4, 3, 3>(in, out, n, map);
    return mapPixels<3, 4, 3>(in, out, n, map);
  } else if (steps.in == 2 && steps.out == 1) {
    mapPixels<2, 1, 1>(in, out, n, map);
  } else {  // one sample of each pixel
    for (size_t i = 0; i < n; ++i) out[i * static_cast<size_t>(steps.out)] = map(in[i * static_cast<size_t>(steps.in)]);
  }
}

template <int from, int to>
void moveColour(const uint8_t* in, uint8_t* out, size_t n) {
  inBlocks(n, [&](size_t first, size_t count) {
    Bytes colour;
    split<from>(in + first * from, colour, count);
    join<to>(colour, out + first * to, count);
  });
}

void move(const uint8_t* in, uint8_t* out, Steps steps, size_t n) {
#if defined(__AVX512VBMI__)
  if (steps.used == 3 && steps.in == 3 && steps.out == 4) return threesToFours(in, out, n);
#endif
  if (steps.used == 3 && steps.in == 3 && steps.out == 4) return moveColour<3, 4>(in, out, n);
  if (steps.used == 3 && steps.in == 4 && steps.out == 3) return moveColour<4, 3>(in, out, n);
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

void spread(const uint8_t* in, uint8_t* out, int channels, size_t n) {
  channels == 3 ? join<3>(in, in, in, out, n) : join<4>(in, in, in, out, n);
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

// In whole numbers: the products by the high and the low 15 bits of the weights are added apart, so that both sums fit
// 32 bits; together they are the exact sum, of which the double precision form rounds nothing off either.
template <class S>
void weighWhole(const Bytes& colour, S* greys, const GreyWeights& weights, size_t n) {
  const uint8_t* const __restrict blue = colour.first;
  const uint8_t* const __restrict green = colour.second;
  const uint8_t* const __restrict red = colour.third;
  S* const __restrict out = greys;
  const int32_t highBlue = weights.high[0], highGreen = weights.high[1], highRed = weights.high[2];
  const int32_t lowBlue = weights.low[0], lowGreen = weights.low[1], lowRed = weights.low[2];
  const int shift = 15 - weights.shift;
  const int32_t half = 1 << (shift - 1), most = weights.most;
  for (size_t i = 0; i < n; ++i) {
    const int32_t high = red[i] * highRed + green[i] * highGreen + blue[i] * highBlue;
    const int32_t low = red[i] * lowRed + green[i] * lowGreen + blue[i] * lowBlue;
    out[i] = static_cast<S>(least((high + (low >> 15) + half) >> shift, most));
  }
}

template <class S>
void weighReal(const Bytes& colour, S* greys, const GreyWeights& weights, size_t n) {
  const uint8_t* const __restrict blue = colour.first;
  const uint8_t* const __restrict green = colour.second;
  const uint8_t* const __restrict red = colour.third;
  S* const __restrict out = greys;
  const double ofBlue = weights.weight[0], ofGreen = weights.weight[1], ofRed = weights.weight[2];
  const double scale = 1 << weights.shift;
  const int32_t most = weights.most;
  for (size_t i = 0; i < n; ++i) {
    const int32_t grey = truncated((red[i] * ofRed + green[i] * ofGreen + blue[i] * ofBlue) * scale + 0.5);
    out[i] = static_cast<S>(static_cast<uint32_t>(least(grey, most)));
  }
}

#if defined(__AVX512VBMI__)

// Whole-number weights below 1, 16 pixels at a time: permutes make 16-bit numbers of the samples, and pairs of products
// are added by one instruction. The same sums as above.
template <int channels, class S>
void weighPairs(const uint8_t* in, S* out, const GreyWeights& weights, size_t n) {
  static constexpr BytesOfThree pairs([](int i) { return channels * (i / 4) % 64 + (i & 2) / 2; }),
      reds([](int i) { return channels * (i / 4) % 64 + 2; });
  constexpr __mmask64 lowBytes = 0x5555555555555555, firstOfFour = 0x1111111111111111;
  const __m512i atPairs = _mm512_load_si512(pairs.places), atReds = _mm512_load_si512(reds.places);
  const auto both = [](const int32_t* of) { return _mm512_set1_epi32(of[0] | of[1] << 16); };
  const __m512i highPair = both(weights.high), lowPair = both(weights.low);
  const __m512i highRed = _mm512_set1_epi32(weights.high[2]), lowRed = _mm512_set1_epi32(weights.low[2]);
  const int shift = 15 - weights.shift;
  const __m512i half = _mm512_set1_epi32(1 << (shift - 1)), most = _mm512_set1_epi32(weights.most);
  const __m128i places = _mm_cvtsi32_si128(shift);
  constexpr __mmask16 all = 0xFFFF;  // g++ warns of the forms without a mask
  for (size_t i = 0; i < n; i += 16) {
    const __m512i pixels = loadedBytes(in + i * channels, (n - i) * channels);
    const __m512i pair = _mm512_maskz_permutexvar_epi8(lowBytes, atPairs, pixels);
    const __m512i red = _mm512_maskz_permutexvar_epi8(firstOfFour, atReds, pixels);
    const __m512i high = _mm512_add_epi32(_mm512_madd_epi16(pair, highPair), _mm512_madd_epi16(red, highRed));
    const __m512i low = _mm512_add_epi32(_mm512_madd_epi16(pair, lowPair), _mm512_madd_epi16(red, lowRed));
    const __m512i sum = _mm512_add_epi32(_mm512_add_epi32(high, half), _mm512_maskz_srli_epi32(all, low, 15));
    const __m512i grey = _mm512_maskz_min_epi32(all, _mm512_maskz_srl_epi32(all, sum, places), most);
    const auto stored = static_cast<__mmask16>(firstBytes(n - i));
    if constexpr (sizeof(S) == 1)
      _mm512_mask_cvtepi32_storeu_epi8(out + i, stored, grey);
    else
      _mm512_mask_cvtepi32_storeu_epi16(out + i, stored, grey);
  }
}

// Any weights, 16 pixels at a time, as weighReal. The instruction that truncates makes the indefinite value of what an
// int cannot hold.
template <int channels, class S>
void weighLanes(const uint8_t* in, S* out, const GreyWeights& weights, size_t n) {
  static constexpr BytesOfThree places[] = {BytesOfThree([](int i) { return channels * (i / 4) % 64; }),
                                            BytesOfThree([](int i) { return channels * (i / 4) % 64 + 1; }),
                                            BytesOfThree([](int i) { return channels * (i / 4) % 64 + 2; })};
  constexpr __mmask64 firstOfFour = 0x1111111111111111;
  constexpr __mmask16 all = 0xFFFF;
  const __m512d ofBlue = _mm512_set1_pd(weights.weight[0]), ofGreen = _mm512_set1_pd(weights.weight[1]),
                ofRed = _mm512_set1_pd(weights.weight[2]);
  const __m512d scale = _mm512_set1_pd(1 << weights.shift), half = _mm512_set1_pd(0.5);
  const __m512i most = _mm512_set1_epi32(weights.most);
  for (size_t i = 0; i < n; i += 16) {
    const __m512i pixels = loadedBytes(in + i * channels, (n - i) * channels);
    const auto doubles = [&](int sample, size_t part) {
      const __m512i at = _mm512_load_si512(places[sample].places);
      const __m512i whole = _mm512_maskz_permutexvar_epi8(firstOfFour, at, pixels);
      __m256i eight;
      __builtin_memcpy(&eight, reinterpret_cast<const unsigned char*>(&whole) + part * sizeof eight, sizeof eight);
      return _mm512_maskz_cvtepi32_pd(0xFF, eight);
    };
    alignas(64) int32_t greys[16];
    for (size_t part = 0; part < 2; ++part) {
      const __m512d sum = doubles(2, part) * ofRed + doubles(1, part) * ofGreen + doubles(0, part) * ofBlue;
      const __m256i grey = _mm512_maskz_cvttpd_epi32(0xFF, (sizeof(S) == 1 ? sum : sum * scale) + half);
      _mm256_store_si256(reinterpret_cast<__m256i*>(greys + part * 8), grey);
    }
    const __m512i limited = _mm512_maskz_min_epi32(all, _mm512_load_si512(greys), most);
    const auto stored = static_cast<__mmask16>(firstBytes(n - i));
    if constexpr (sizeof(S) == 1)
      _mm512_mask_cvtepi32_storeu_epi8(out + i, stored, limited);
    else
      _mm512_mask_cvtepi32_storeu_epi16(out + i, stored, limited);
  }
}

#endif

template <int channels, class S>
void weighPixels(const uint8_t* in, S* out, const GreyWeights& weights, size_t n) {
#if defined(__AVX512VBMI__)
  const int32_t* const high = weights.high;
  if (weights.whole && greatest(greatest(high[0], high[1]), high[2]) < 32768)
    return weighPairs<channels>(in, out, weights, n);
  if (!weights.whole) return weighLanes<channels>(in, out, weights, n);
#endif
  inBlocks(n, [&](size_t first, size_t count) {
    Bytes colour;
    split<channels>(in + first * channels, colour, count);
    weights.whole ? weighWhole(colour, out + first, weights, count) : weighReal(colour, out + first, weights, count);
  });
}

template <class S>
void weigh(const uint8_t* in, int channels, S* out, const GreyWeights& weights, size_t n) {
  channels == 3 ? weighPixels<3>(in, out, weights, n) : weighPixels<4>(in, out, weights, n);
}

// CMYK -----------------------------------------------------------------------------------------------------------

template <int channels>
void pixelsToCmyk(const uint8_t* in, uint8_t* out, size_t n) {
  inBlocks(n, [&](size_t first, size_t count) {
    Bytes colour;
    split<channels>(in + first * channels, colour, count);
    uint8_t* const __restrict pixels = out + first * 4;
    for (size_t i = 0; i < count; ++i) {
      const uint8_t blue = colour.first[i], green = colour.second[i], red = colour.third[i];
      const uint8_t most = greatest(greatest(blue, green), red);
      const uint32_t word = wordOf(static_cast<uint8_t>(most - red), static_cast<uint8_t>(most - green),
                                   static_cast<uint8_t>(most - blue), static_cast<uint8_t>(255 - most));
      __builtin_memcpy(pixels + i * 4, &word, 4);
    }
  });
}

void toCmyk(const uint8_t* in, int channels, uint8_t* out, size_t n) {
  channels == 3 ? pixelsToCmyk<3>(in, out, n) : pixelsToCmyk<4>(in, out, n);
}

template <int channels>
void pixelsFromCmyk(const uint8_t* in, uint8_t* out, size_t n) {
  inBlocks(n, [&](size_t first, size_t count) {
    Bytes colour;
    const uint8_t* const __restrict pixels = in + first * 4;
    for (size_t i = 0; i < count; ++i) {
      const int rest = 255 - pixels[i * 4 + 3];
      colour.third[i] = static_cast<uint8_t>(rest - pixels[i * 4]);
      colour.second[i] = static_cast<uint8_t>(rest - pixels[i * 4 + 1]);
      colour.first[i] = static_cast<uint8_t>(rest - pixels[i * 4 + 2]);
    }
    join<channels>(colour, out + first * channels, count);
  });
}

void fromCmyk(const uint8_t* in, uint8_t* out, int channels, size_t n) {
  channels == 3 ? pixelsFromCmyk<3>(in, out, n) : pixelsFromCmyk<4>(in, out, n);
}

// Inversion ------------------------------------------------------------------------------------------------------

template <class S>
void invert(S* samples, int32_t most, size_t n) {
  for (size_t i = 0; i < n; ++i) samples[i] = static_cast<S>(most - samples[i]);
}

void invertReal(float* samples, size_t n) {
  for (size_t i = 0; i < n; ++i) samples[i] = 1.0F - samples[i];
}

// samples[i] = turned(samples[i]) for one channel. Its places repeat every 64 pixels: a mask of that length makes the
// inner loop one over plain samples.
template <int channels, class Mask, class S, class Turn>
void turnChannel(S* pixels, int channel, size_t n, Turn turned) {
  constexpr size_t kPattern = 64 * channels;
  Mask mask[kPattern];
  for (size_t i = 0; i < kPattern; ++i)
    mask[i] = i % channels == static_cast<size_t>(channel) ? Mask(~Mask(0)) : Mask(0);
  const size_t samples = n * channels;
  size_t first = 0;
  for (; first + kPattern <= samples; first += kPattern)
    for (size_t i = 0; i < kPattern; ++i) {
      const S sample = pixels[first + i];
      pixels[first + i] = mask[i] ? turned(sample) : sample;
    }
  for (first += static_cast<size_t>(channel); first < samples; first += channels) pixels[first] = turned(pixels[first]);
}

template <class Mask, class S, class Turn>
void turnOne(S* pixels, int channels, int channel, size_t n, Turn turned) {
  switch (channels) {
    case 2: return turnChannel<2, Mask>(pixels, channel, n, turned);
    case 3: return turnChannel<3, Mask>(pixels, channel, n, turned);
    case 4: return turnChannel<4, Mask>(pixels, channel, n, turned);
  }
}

template <class S>
void invertOne(S* pixels, int channels, int channel, int32_t most, size_t n) {
  turnOne<S>(pixels, channels, channel, n, [=](S sample) { return static_cast<S>(most - sample); });
}

void invertOneReal(float* pixels, int channels, int channel, size_t n) {
  turnOne<uint32_t>(pixels, channels, channel, n, [](float sample) { return 1.0F - sample; });
}

// Replacement ----------------------------------------------------------------------------------------------------
//
// Blocks without the colour, which are most, are only read.

// Pixels that are one whole number each.
template <class Word>
void replaceWords(void* pixels, const void* find, const void* write, size_t n) {
  Word wanted, written;
  __builtin_memcpy(&wanted, find, sizeof(Word));
  __builtin_memcpy(&written, write, sizeof(Word));
  auto* const bytes = static_cast<unsigned char*>(pixels);
  inBlocks(n, [&](size_t first, size_t count) {
    unsigned char* const block = bytes + first * sizeof(Word);
    Word any = 0;
    for (size_t i = 0; i < count; ++i) {
      Word word;
      __builtin_memcpy(&word, block + i * sizeof(Word), sizeof(Word));
      any |= static_cast<Word>(word == wanted);
    }
    if (!any) return;
    for (size_t i = 0; i < count; ++i) {
      Word word;
      __builtin_memcpy(&word, block + i * sizeof(Word), sizeof(Word));
      word = word == wanted ? written : word;
      __builtin_memcpy(block + i * sizeof(Word), &word, sizeof(Word));
    }
  });
}

// out = chosen ? value : other.
template <class S>
inline void choose(const uint8_t* chosen, S value, const S* others, S* results, size_t n) {
  const uint8_t* const __restrict is = chosen;
  const S* const __restrict in = others;
  S* const __restrict out = results;
  for (size_t i = 0; i < n; ++i) {
    const S other = in[i];
    out[i] = is[i] != 0 ? value : other;
  }
}

// Pixels of three samples.
template <class S>
void replaceTriples(S* pixels, const S* find, const S* write, size_t n) {
  const S find0 = find[0], find1 = find[1], find2 = find[2], write0 = write[0], write1 = write[1], write2 = write[2];
  inBlocks(n, [&](size_t first, size_t count) {
    Planes<S> colour;
    split<3>(pixels + first * 3, colour, count);
    const S* const __restrict a = colour.first;
    const S* const __restrict b = colour.second;
    const S* const __restrict c = colour.third;
    uint8_t equal[kBlock];
    uint8_t any = 0;
    for (size_t i = 0; i < count; ++i) {
      equal[i] = static_cast<uint8_t>((a[i] == find0) & (b[i] == find1) & (c[i] == find2));
      any |= equal[i];
    }
    if (!any) return;
    Planes<S> replaced;
    choose(equal, write0, colour.first, replaced.first, count);
    choose(equal, write1, colour.second, replaced.second, count);
    choose(equal, write2, colour.third, replaced.third, count);
    join<3>(replaced, pixels + first * 3, count);
  });
}

template <size_t bytes>
struct WordOf;
template <>
struct WordOf<1> {
  using Type = uint8_t;
};
template <>
struct WordOf<2> {
  using Type = uint16_t;
};
template <>
struct WordOf<4> {
  using Type = uint32_t;
};
template <>
struct WordOf<8> {
  using Type = uint64_t;
};

void replaceReal(float* pixels, const float* find, const float* write, size_t n) {
  replaceTriples(pixels, find, write, n);
}

template <class S>
void replace(S* pixels, int channels, const S* find, const S* write, size_t n) {
  switch (channels) {
    case 1: return replaceWords<typename WordOf<sizeof(S)>::Type>(pixels, find, write, n);
    case 2: return replaceWords<typename WordOf<2 * sizeof(S)>::Type>(pixels, find, write, n);
    case 3: return replaceTriples(pixels, find, write, n);
    case 4: return replaceWords<typename WordOf<4 * sizeof(S)>::Type>(pixels, find, write, n);
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
                                     replaceReal};

}  // namespace rasterkit::RASTERKIT_LEVEL
