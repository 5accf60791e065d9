#include "rasterkit/geometry/resample_kernels.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <vector>

#include "rasterkit/core/kernels.h"
#include "tests/support/random.h"

namespace rasterkit {
namespace {

struct Weighed {
  explicit Weighed(const std::vector<std::uint32_t>& share) : weight(share.size(), 7), stands(share.size(), 7) {
    kernels<ResampleKernels>().weigh(share.data(), weight.data(), stands.data(), share.size());
  }
  std::vector<std::uint16_t> weight;
  std::vector<std::uint8_t> stands;
};

// Whether multiples of the weight and of every share from share to share + 1 are rounded down to the same.
bool standsFor(std::uint16_t weight, std::uint32_t share) {
  for (std::int64_t k = -255; k <= 255; ++k)
    for (const std::int64_t d : {std::int64_t{share}, std::int64_t{share} + 1})
      if (k * weight >> 16 != k * d >> 32) return false;
  return true;
}

class Weigh : public testing::TestWithParam<const char*> {
 public:
  Weigh() : runs_(useLevel(GetParam())) {}
  ~Weigh() override { useLevel("best"); }
  void SetUp() override {
    if (!runs_) GTEST_SKIP() << "this processor or build has no such level";
  }

 private:
  bool runs_;
};

TEST_P(Weigh, aWeightThatStandsRoundsAsTheShareDoes) {
  test::Random random(3);
  std::vector<std::uint32_t> shares;
  for (int i = 0; i < 4000; ++i) shares.push_back(static_cast<std::uint32_t>(random.bits()));
  // Near fractions, which a weight may miss.
  for (std::uint32_t q = 2; q <= 255; ++q)
    for (const int off : {-70000, -600, -100, 1, 100, 600, 30000})
      shares.push_back(static_cast<std::uint32_t>((std::uint64_t{q / 2} << 32) / q + static_cast<std::uint64_t>(off)));
  const Weighed weighed(shares);
  int standing = 0;
  for (std::size_t i = 0; i < shares.size(); ++i) {
    if (!weighed.stands[i]) continue;
    EXPECT_TRUE(standsFor(weighed.weight[i], shares[i])) << shares[i];
    standing += i < 4000;
  }
  EXPECT_GE(standing, 3880);  // about one in fifty has none
}

TEST_P(Weigh, everyPlaceOfARowAlike) {
  test::Random random(4);
  std::vector<std::uint32_t> shares(64 * 2 + 7);
  for (std::uint32_t& share : shares) share = static_cast<std::uint32_t>(random.bits());
  const Weighed row(shares);
  std::vector<std::uint32_t> turned(shares.rbegin(), shares.rend());
  const Weighed backwards(turned);
  for (std::size_t i = 0; i < shares.size(); ++i) {
    const Weighed alone({shares[i]});
    EXPECT_LE(alone.stands[0], 1);
    EXPECT_EQ(row.stands[i], alone.stands[0]) << i;
    EXPECT_EQ(row.weight[i], alone.weight[0]) << i;
    EXPECT_EQ(backwards.stands[shares.size() - 1 - i], alone.stands[0]) << i;
  }
}

INSTANTIATE_TEST_SUITE_P(Levels, Weigh, testing::Values("baseline", "v2", "v3", "v4"));

}  // namespace
}  // namespace rasterkit
