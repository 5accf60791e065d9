#include <gtest/gtest.h>

#include <cmath>
#include <vector>

#include "rasterkit/analysis/angles.h"
#include "rasterkit/analysis/hough_kernels.h"

namespace rasterkit {
namespace {

// Half the distance between the doubles around a value, and a little for the rounding of the extended functions.
long double halfUnit(double value) { return std::ldexp(1.0L + 0x1p-6L, std::ilogb(value) - 53); }

TEST(Angles, haveTheNearestSinesAndCosines) {
  double angle = -kHalfPi;
  for (int t = 0; t < kAngles; ++t, angle += kAngleStep) {
    const auto extended = static_cast<long double>(angle);
    EXPECT_LE(std::fabs(kSines[t] - std::sin(extended)), halfUnit(kSines[t])) << t;
    EXPECT_LE(std::fabs(kCosines[t] - std::cos(extended)), halfUnit(kCosines[t])) << t;
  }
}

TEST(Angles, haveOneThatIsExactlyVertical) {
  EXPECT_EQ(kCosines[180], 1.0);
  EXPECT_EQ(kSines[0], -1.0);
  for (int t = 0; t < kAngles; ++t) EXPECT_EQ(std::fabs(kCosines[t]) == 1.0, t == 180) << t;
}

TEST(HoughKernels, votesForCellsFromZeroToTheLastOne) {
  for (const HoughKernels* const kernels : KernelTables<HoughKernels>::tables) {
    if (kernels != KernelTables<HoughKernels>::tables[0]) continue;  // the others may be too wide for this processor
    const VoteAngle across{0.0, 0.5, 1.0, 0.0, 3};
    const std::vector<double> x = {0, 1, 2, 5, 6, 7, -1, -2, 100}, y(9, 40);
    const std::vector<std::uint32_t> weight = {1, 2, 4, 8, 16, 32, 64, 128, 256};
    std::vector<std::uint32_t> cells(4);
    kernels->vote(x.data(), y.data(), weight.data(), x.size(), across, cells.data());
    EXPECT_EQ(cells, (std::vector<std::uint32_t>{3, 4, 8, 16 + 32 + 64 + 128 + 256}));
  }
}

}  // namespace
}  // namespace rasterkit
