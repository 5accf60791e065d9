// The difference of two images, in numbers and as a picture.

#include <algorithm>
#include <cmath>
#include <cstdio>

#include "catalogue/describe.h"
#include "tools/codecs.h"
#include "tools/commands.h"
#include "tools/failure.h"
#include "tools/paths.h"

namespace rasterkit::tools {
namespace {

struct Difference {
  std::uint64_t pixels = 0;   // that differ
  std::uint64_t samples = 0;  // that differ
  double greatest = 0;
  int x = -1, y = -1;  // of the first greatest
  double sum = 0, sumOfSquares = 0;
  CPxImage picture;  // the greatest difference over a pixel's channels
};

template <class S>
Difference difference(const CPxImage& a, const CPxImage& b) {
  Difference found;
  found.picture.Create(CM_GRAY, a.bitsPerSample <= 8 ? 8 : a.bitsPerSample <= 16 ? 16 : 32, a.width, a.height);
  for (int y = 0; y < a.height; ++y) {
    const S* in = static_cast<const S*>(a.Get2DBuffer()[y]);
    const S* other = static_cast<const S*>(b.Get2DBuffer()[y]);
    S* const out = static_cast<S*>(found.picture.Get2DBuffer()[y]);
    for (int x = 0; x < a.width; ++x, in += a.channels, other += a.channels) {
      double most = 0;
      bool differs = false;
      for (int c = 0; c < a.channels; ++c) {
        if (std::memcmp(in + c, other + c, sizeof(S)) == 0) continue;
        differs = true;
        ++found.samples;
        const double d = std::abs(static_cast<double>(in[c]) - static_cast<double>(other[c]));
        found.sum += d;
        found.sumOfSquares += d * d;
        if (!(d <= most)) most = d;
      }
      out[x] = static_cast<S>(most);
      if (!differs) continue;
      ++found.pixels;
      if (most > found.greatest || found.x < 0) found.greatest = most, found.x = x, found.y = y;
    }
  }
  return found;
}

// Until the greatest difference is white.
template <class S>
void stretch(CPxImage& picture, double greatest) {
  const double white = sizeof(S) == 4 ? 1 : sizeof(S) == 2 ? 65535 : 255;
  for (int y = 0; y < picture.height; ++y)
    for (S *s = static_cast<S*>(picture.Get2DBuffer()[y]), *end = s + picture.width; s < end; ++s)
      *s = static_cast<S>(static_cast<double>(*s) * white / greatest);
}

std::string text(double number) {
  char buffer[40];
  std::snprintf(buffer, sizeof buffer, "%.6g", number);
  return buffer;
}

}  // namespace

int compare(const std::string& first, const std::string& second, const std::string& output, bool json) {
  const auto one = readImageFile(pathOf(first)).pages;
  const auto two = readImageFile(pathOf(second)).pages;
  if (one.size() != two.size()) {
    if (json)
      std::printf("{\"equal\": false, \"comparable\": false}\n");
    else
      std::printf("differ: %s holds %zu images, %s %zu\n", first.c_str(), one.size(), second.c_str(), two.size());
    return ExitCode::different;
  }
  bool equal = true;
  std::vector<CPxImage> pictures;
  for (std::size_t i = 0; i < one.size(); ++i) {
    const CPxImage& a = one[i];
    const CPxImage& b = two[i];
    if (!PXCOMPARE_SIZE(&a, &b) || a.channels != b.channels || sampleBytes(a) != sampleBytes(b)) {
      if (json)
        std::printf("{\"equal\": false, \"comparable\": false}\n");
      else
        std::printf("differ: %s is %s, %s is %s\n", first.c_str(), catalogue::describe(a).c_str(), second.c_str(),
                    catalogue::describe(b).c_str());
      return ExitCode::different;
    }
    const int bytes = sampleBytes(a);
    Difference found = bytes == 1   ? difference<unsigned char>(a, b)
                       : bytes == 2 ? difference<unsigned short>(a, b)
                                    : difference<float>(a, b);
    const double pixels = static_cast<double>(a.width) * a.height;
    const double samples = pixels * a.channels;
    const double rms = std::sqrt(found.sumOfSquares / samples);
    const double white = bytes == 1 ? 255 : bytes == 2 ? 65535 : 1;
    const double decibels = 20 * std::log10(white / rms);
    equal = equal && found.samples == 0;
    if (json) {
      std::printf(
          "{\"equal\": %s, \"comparable\": true, \"pixels\": %llu, \"samples\": %llu, \"greatest\": %s, "
          "\"mean\": %s, \"rms\": %s, \"psnr\": %s}\n",
          found.samples ? "false" : "true", static_cast<unsigned long long>(found.pixels),
          static_cast<unsigned long long>(found.samples),
          std::isfinite(found.greatest) ? text(found.greatest).c_str() : "null",
          std::isfinite(found.sum) ? text(found.sum / samples).c_str() : "null",
          std::isfinite(rms) ? text(rms).c_str() : "null",
          rms > 0 && std::isfinite(decibels) ? text(decibels).c_str() : "null");
    } else if (found.samples == 0) {
      std::printf("equal: %s\n", catalogue::describe(a).c_str());
    } else {
      std::printf("differ: %llu of %.0f pixels (%.4g %%), greatest %s at %d,%d, mean %s, rms %s, psnr %s dB\n",
                  static_cast<unsigned long long>(found.pixels), pixels,
                  100 * static_cast<double>(found.pixels) / pixels, text(found.greatest).c_str(), found.x, found.y,
                  text(found.sum / samples).c_str(), text(rms).c_str(), text(decibels).c_str());
    }
    if (output.empty()) continue;
    if (found.greatest > 0 && std::isfinite(found.greatest)) {
      if (bytes == 1) stretch<unsigned char>(found.picture, found.greatest);
      if (bytes == 2) stretch<unsigned short>(found.picture, found.greatest);
      if (bytes == 4) stretch<float>(found.picture, found.greatest);
    }
    pictures.push_back(std::move(found.picture));
  }
  if (!output.empty()) writeImageFile(pathOf(output), pictures);
  return equal ? ExitCode::success : ExitCode::different;
}

}  // namespace rasterkit::tools
