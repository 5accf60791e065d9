#include <gtest/gtest.h>

#include "rasterkit/core/kernels.h"
#include "rasterkit/core/levels.h"

namespace rasterkit {
namespace {

TEST(Levels, theLevelThatIsNamedServes) {
#define RASTERKIT_LEVEL_NAME(level) #level,
  const char* const built[] = {RASTERKIT_EACH_LEVEL(RASTERKIT_LEVEL_NAME)};
#undef RASTERKIT_LEVEL_NAME
  int most = 0, level = 0;
  for (const char* const name : built) {
    if (useLevel(name)) {
      EXPECT_EQ(servingLevel(), level);
      EXPECT_FALSE(servesBytePermutes());
      EXPECT_FALSE(servesByteProducts());
      most = level;
    }
    ++level;
  }
  EXPECT_TRUE(useLevel("best"));
  EXPECT_EQ(servingLevel(), most);
}

}  // namespace
}  // namespace rasterkit
