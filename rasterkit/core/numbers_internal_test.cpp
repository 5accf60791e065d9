#include "rasterkit/core/numbers.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

namespace rasterkit {
namespace {

TEST(Numbers, truncationGoesTowardZeroAndGivesTheIndefiniteValueOutsideInt) {
  EXPECT_EQ(truncated(1.999), 1);
  EXPECT_EQ(truncated(-1.999), -1);
  EXPECT_EQ(truncated(2147483647.9), 2147483647);
  EXPECT_EQ(truncated(2147483648.0), kIndefinite);
  EXPECT_EQ(truncated(-2147483648.9), kIndefinite);
  EXPECT_EQ(truncated(-2147483649.0), kIndefinite);
  EXPECT_EQ(truncated(std::nan("")), kIndefinite);
  EXPECT_EQ(truncated(2147483520.0F), 2147483520);
  EXPECT_EQ(truncated(2147483648.0F), kIndefinite);
  EXPECT_EQ(truncated(-std::numeric_limits<float>::infinity()), kIndefinite);
}

TEST(Numbers, theGreatestSampleOfSoManyBits) {
  EXPECT_EQ(greatestSample(0), 0);
  EXPECT_EQ(greatestSample(1), 1);
  EXPECT_EQ(greatestSample(8), 255);
  EXPECT_EQ(greatestSample(16), 65535);
  EXPECT_EQ(greatestSample(31), 2147483647);
  EXPECT_EQ(greatestSample(32), -1);
  EXPECT_EQ(greatestSample(-1), 0);
}

TEST(Numbers, totalOrderRanksEveryFloat) {
  const float infinity = std::numeric_limits<float>::infinity(), nan = std::numeric_limits<float>::quiet_NaN();
  const float ascending[] = {-nan, -infinity, -1.5F, -1e-40F, -0.0F, 0.0F, 1e-40F, 1.5F, infinity, nan};
  for (std::size_t i = 0; i + 1 < std::size(ascending); ++i) {
    EXPECT_TRUE(ranksBelow(ascending[i], ascending[i + 1])) << i;
    EXPECT_FALSE(ranksBelow(ascending[i + 1], ascending[i])) << i;
    EXPECT_FALSE(ranksBelow(ascending[i], ascending[i])) << i;
    const float back = fromTotalOrderKey(totalOrderKey(ascending[i]));
    EXPECT_EQ(std::signbit(back), std::signbit(ascending[i]));
  }
}

}  // namespace
}  // namespace rasterkit
