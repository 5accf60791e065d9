#pragma once
/// Images for tests: written as small tables of numbers, drawn at random, compared with a printed difference.

#include <rasterkit/core/image.h>

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tests/support/random.h"

namespace rasterkit::test {

using Table = std::vector<std::vector<double>>;

/// An image whose rows are the table's; the samples of a pixel stand side by side.
CPxImage picture(COLOR_MODEL model, int bits, const Table& rows);
inline CPxImage gray8(const Table& rows) { return picture(CM_GRAY, 8, rows); }
inline CPxImage gray16(const Table& rows) { return picture(CM_GRAY, 16, rows); }
inline CPxImage grayFloat(const Table& rows) { return picture(CM_GRAY, 32, rows); }
inline CPxImage rgb8(const Table& rows) { return picture(CM_RGB, 8, rows); }

/// The bytes of one pixel.
int pixelBytes(const CPxImage& image);
/// One sample, whatever its type.
double sampleAt(const CPxImage& image, int x, int y, int channel = 0);
void setSample(CPxImage& image, int x, int y, int channel, double value);
/// The bits of a sample of the same size, a signalling NaN's too.
void copySample(CPxImage& to, int x, int y, int channel, const CPxImage& from, int fromX, int fromY, int fromChannel);

/// Model, bits, size and the bits of every sample are equal.
testing::AssertionResult samePicture(const CPxImage& actual, const CPxImage& expected);
/// The channel bits, the palette and the row padding are equal too.
testing::AssertionResult identical(const CPxImage& actual, const CPxImage& expected);
#define EXPECT_PICTURE(actual, expected) EXPECT_TRUE(::rasterkit::test::samePicture(actual, expected))

struct PixelType {
  COLOR_MODEL model;
  int bits;
};
/// The twelve: 1 to 4 channels of 8-bit, 16-bit and float samples.
const std::vector<PixelType>& pixelTypes();
std::string nameOf(PixelType type);

/// Samples, palette and row padding are random: sometimes flat, sometimes of few or of extreme values.
CPxImage randomImage(Random& random, PixelType type, int width, int height);
/// One byte a pixel, about half of them 0.
CPxImage randomMask(Random& random, int width, int height);

/// Writes into one to three of the image's public members what a caller might.
void overwriteMembers(Random& random, CPxImage& image);

}  // namespace rasterkit::test
