#include "rasterkit/colour/space_kernels.h"

#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <cstdint>
#include <cstdlib>

#include "rasterkit/core/kernels.h"

namespace rasterkit {
namespace {

// How many floats lie between two of the same sign.
std::int64_t distance(float a, float b) {
  return std::llabs(std::int64_t{std::bit_cast<std::int32_t>(a)} - std::bit_cast<std::int32_t>(b));
}

float arcCosine(float cosine) {
  return static_cast<float>(kernels<SpaceKernels>().arcCosine(static_cast<double>(cosine)));
}

TEST(ArcCosine, isWithinOneUnitInTheLastPlaceOfTheCLibrarysOverTheWholeDomain) {
  int unequal = 0;
  auto compare = [&](std::uint32_t bits) {
    const float cosine = std::bit_cast<float>(bits);
    const float ours = arcCosine(cosine);
    const float expected = static_cast<float>(std::acos(static_cast<double>(cosine)));
    ASSERT_LE(distance(ours, expected), 1) << cosine;
    unequal += ours != expected;
  };
  constexpr std::uint32_t kOne = 0x3F800000, kHalf = 0x3F000000, kSign = 0x80000000;
  for (const std::uint32_t sign : {0u, kSign}) {
    for (std::uint32_t bits = 0; bits <= kOne; bits += 1013) compare(sign | bits);
    // Where the formula changes, and the ends.
    for (std::uint32_t i = 0; i < 20000; ++i) {
      compare(sign | (kOne - i));
      compare(sign | (kHalf - 10000 + i));
      compare(sign | i);
    }
  }
  // The two are as good as equal: where they differ, the exact value lies nearly halfway between two floats.
  EXPECT_LE(unequal, 2);
}

TEST(ArcCosine, knownAngles) {
  EXPECT_EQ(kernels<SpaceKernels>().arcCosine(1), 0);
  EXPECT_EQ(kernels<SpaceKernels>().arcCosine(-1), 3.141592653589793);
  EXPECT_EQ(kernels<SpaceKernels>().arcCosine(0), 1.5707963267948966);
}

}  // namespace
}  // namespace rasterkit
