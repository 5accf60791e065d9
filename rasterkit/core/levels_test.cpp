#include <rasterkit/core/levels.h>

#include <gtest/gtest.h>

namespace rasterkit {
namespace {

TEST(Levels, unknownNamesChangeNothing) {
  EXPECT_FALSE(useLevel(nullptr));
  EXPECT_FALSE(useLevel(""));
  EXPECT_FALSE(useLevel("v5"));
  EXPECT_FALSE(useLevel("vbmi"));
  EXPECT_FALSE(useLevel("vnni"));
}

TEST(Levels, theBaselineAndTheBestServeEverywhere) {
  EXPECT_TRUE(useLevel("baseline"));
  EXPECT_TRUE(useLevel("best"));
}

}  // namespace
}  // namespace rasterkit
