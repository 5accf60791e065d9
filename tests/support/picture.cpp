#include "tests/support/picture.h"

#include <algorithm>
#include <array>
#include <climits>
#include <cmath>
#include <cstring>
#include <iterator>
#include <limits>
#include <sstream>

namespace rasterkit::test {
namespace {

int sampleBytes(const CPxImage& image) { return image.bitsPerSample <= 8 ? 1 : image.bitsPerSample <= 16 ? 2 : 4; }

unsigned char* placeOf(CPxImage& image, int x, int y, int channel) {
  return static_cast<unsigned char*>(image.GetBuffer()) + std::size_t(image.bytesPerLine) * std::size_t(y) +
         std::size_t(sampleBytes(image)) * (std::size_t(x) * std::size_t(image.channels) + std::size_t(channel));
}
const unsigned char* placeOf(const CPxImage& image, int x, int y, int channel) {
  return placeOf(const_cast<CPxImage&>(image), x, y, channel);
}

float randomFloat(Random& random, int style) {
  static const float odd[] = {0.0F,
                              -0.0F,
                              1.0F,
                              -1.0F,
                              0.5F,
                              254.99999F,
                              255.0F,
                              255.5F,
                              256.0F,
                              65535.0F,
                              1e-42F,
                              -3e9F,
                              3e9F,
                              2147483648.0F,
                              std::numeric_limits<float>::max(),
                              std::numeric_limits<float>::infinity(),
                              -std::numeric_limits<float>::infinity(),
                              std::numeric_limits<float>::quiet_NaN(),
                              -std::numeric_limits<float>::quiet_NaN()};
  if (style == 3 || (style == 2 && random.oneIn(8))) return odd[random.between(0, int(std::size(odd)) - 1)];
  return style == 1 ? float(random.between(0, 255)) : float(random.fraction() * 300 - 20);
}

}  // namespace

CPxImage picture(COLOR_MODEL model, int bits, const Table& rows) {
  const int channels = CPxImageInfo::GetChannel(model);
  CPxImage image(model, bits, rows.empty() ? 0 : int(rows[0].size()) / channels, int(rows.size()));
  for (int y = 0; y < image.height; ++y)
    for (int i = 0; i < image.width * channels; ++i) setSample(image, i / channels, y, i % channels, rows[y][i]);
  return image;
}

int pixelBytes(const CPxImage& image) { return image.channels * sampleBytes(image); }

double sampleAt(const CPxImage& image, int x, int y, int channel) {
  const unsigned char* const place = placeOf(image, x, y, channel);
  std::uint16_t word;
  float real;
  switch (sampleBytes(image)) {
    case 1: return *place;
    case 2: std::memcpy(&word, place, sizeof word); return word;
    default: std::memcpy(&real, place, sizeof real); return real;
  }
}

void setSample(CPxImage& image, int x, int y, int channel, double value) {
  unsigned char* const place = placeOf(image, x, y, channel);
  if (sampleBytes(image) == 1) {
    *place = static_cast<unsigned char>(value);
  } else if (sampleBytes(image) == 2) {
    const auto word = static_cast<std::uint16_t>(value);
    std::memcpy(place, &word, sizeof word);
  } else {
    const auto real = static_cast<float>(value);
    std::memcpy(place, &real, sizeof real);
  }
}

void copySample(CPxImage& to, int x, int y, int channel, const CPxImage& from, int fromX, int fromY, int fromChannel) {
  std::memcpy(placeOf(to, x, y, channel), placeOf(from, fromX, fromY, fromChannel), std::size_t(sampleBytes(to)));
}

testing::AssertionResult samePicture(const CPxImage& actual, const CPxImage& expected) {
  const auto shape = [](const CPxImage& image) {
    return std::array{image.IsCreated(), int(image.colorModel), image.bitsPerSample,
                      image.channels,    image.width,           image.height};
  };
  const auto described = [](const CPxImage& image) {
    std::ostringstream out;
    out << (image.IsCreated() ? "model " : "empty, model ") << image.colorModel << ", " << image.bitsPerSample
        << " bits, " << image.channels << " channels, " << image.width << " x " << image.height;
    return out.str();
  };
  if (shape(actual) != shape(expected))
    return testing::AssertionFailure() << described(actual) << "; expected " << described(expected);

  const auto bytes = std::size_t(sampleBytes(actual));
  const auto rowBytes = bytes * std::size_t(actual.channels) * std::size_t(std::max(actual.width, 0));
  std::string differences;
  int count = 0;
  for (int y = 0; y < actual.height; ++y) {
    if (rowBytes == 0 || std::memcmp(placeOf(actual, 0, y, 0), placeOf(expected, 0, y, 0), rowBytes) == 0) continue;
    for (int x = 0; x < actual.width; ++x) {
      for (int c = 0; c < actual.channels; ++c) {
        if (std::memcmp(placeOf(actual, x, y, c), placeOf(expected, x, y, c), bytes) == 0) continue;
        if (++count > 8) continue;
        std::ostringstream line;
        line << "\n  (" << x << ", " << y << ")[" << c << "] is " << sampleAt(actual, x, y, c) << ", expected "
             << sampleAt(expected, x, y, c);
        differences += line.str();
      }
    }
  }
  if (count == 0) return testing::AssertionSuccess();
  return testing::AssertionFailure() << count << " samples differ of " << described(actual) << differences;
}

testing::AssertionResult identical(const CPxImage& actual, const CPxImage& expected) {
  if (const auto same = samePicture(actual, expected); !same) return same;
  if (!actual.IsCreated()) return testing::AssertionSuccess();
  if (!std::equal(actual.channelBits, actual.channelBits + actual.channels, expected.channelBits))
    return testing::AssertionFailure() << "channel bits differ";
  if (actual.bufferSize != expected.bufferSize) return testing::AssertionFailure() << "buffer sizes differ";
  if (actual.bufferSize > 0 &&
      std::memcmp(actual.GetBuffer(), expected.GetBuffer(), std::size_t(actual.bufferSize)) != 0)
    return testing::AssertionFailure() << "row padding differs";
  const CPxPalette &a = actual.palette, &b = expected.palette;
  if (a.GetPaletteNum() != b.GetPaletteNum() ||
      (a.GetPaletteNum() > 0 && std::memcmp(a.GetPalette(), b.GetPalette(), std::size_t(a.GetPaletteNum()) * 4) != 0))
    return testing::AssertionFailure() << "palettes differ";
  return testing::AssertionSuccess();
}

const std::vector<PixelType>& pixelTypes() {
  static const std::vector<PixelType> types = [] {
    std::vector<PixelType> list;
    for (const COLOR_MODEL model : {CM_GRAY, CM_GRAYA, CM_RGB, CM_RGBA})
      for (const int bits : {8, 16, 32}) list.push_back({model, bits});
    return list;
  }();
  return types;
}

std::string nameOf(PixelType type) {
  return "model " + std::to_string(type.model) + " of " + std::to_string(type.bits) + " bits";
}

CPxImage randomImage(Random& random, PixelType type, int width, int height) {
  CPxImage image(type.model, type.bits, width, height, type.model == CM_INDEX ? 1 << std::clamp(type.bits, 0, 8) : 0);
  const int style = random.between(0, 3);
  auto* const bytes = static_cast<unsigned char*>(image.GetBuffer());
  for (int i = 0; i < image.bufferSize; ++i) bytes[i] = static_cast<unsigned char>(random.bits());
  for (int i = 0; i < image.palette.GetPaletteNum(); ++i)
    *image.palette.GetPaletteItem(i) = {
        static_cast<unsigned char>(random.bits()), static_cast<unsigned char>(random.bits()),
        static_cast<unsigned char>(random.bits()), static_cast<unsigned char>(random.bits())};
  const bool flat = random.oneIn(12);
  const auto flatValue = random.bits();
  for (int y = 0; y < image.height; ++y) {
    for (int x = 0; x < image.width; ++x) {
      for (int c = 0; c < image.channels; ++c) {
        if (type.bits > 16) {
          setSample(image, x, y, c, flat ? float(flatValue % 512) : randomFloat(random, style));
        } else {
          const int most = (1 << std::clamp(type.bits, 1, 16)) - 1;
          int value = random.between(0, most);
          if (style == 1) value = random.between(0, 3) * most / 3;
          if (style == 2) value = std::clamp(most / 2 + random.between(-9, 9), 0, most);
          if (style == 3) value = std::min(value, 255);
          setSample(image, x, y, c, flat ? int(flatValue % (unsigned(most) + 1)) : value);
        }
      }
    }
  }
  return image;
}

CPxImage randomMask(Random& random, int width, int height) {
  CPxImage mask(CM_GRAY, 8, width, height);
  for (int y = 0; y < height; ++y)
    for (int x = 0; x < width; ++x) setSample(mask, x, y, 0, random.oneIn(2) ? 0 : random.between(1, 255));
  return mask;
}

void overwriteMembers(Random& random, CPxImage& image) {
  static const int numbers[] = {INT_MIN, -33, -8, -1, 0, 1, 2, 3, 4, 5, 8, 9, 16, 17, 32, 33, 64, 4096, INT_MAX};
  static int foreignBits[1] = {8};
  for (int changes = random.between(1, 3); changes > 0; --changes) {
    const int number = numbers[random.between(0, int(std::size(numbers)) - 1)];
    switch (random.between(0, 9)) {
      case 0: image.colorModel = static_cast<COLOR_MODEL>(random.between(-1, 24)); break;
      case 1: image.channels = number; break;
      case 2: image.bitsPerSample = number; break;
      case 3: image.width = number; break;
      case 4: image.height = number; break;
      case 5: image.bytesPerLine = number; break;
      case 6: image.bufferSize = number; break;
      case 7: image.palette = CPxPalette(random.between(0, 300)); break;
      case 8: image.channelBits = random.oneIn(2) ? foreignBits : nullptr; break;
      default:
        if (image.channelBits) image.channelBits[0] = number;
        break;
    }
  }
}

}  // namespace rasterkit::test
