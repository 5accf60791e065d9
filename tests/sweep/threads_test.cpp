// Distinct objects on distinct images may be used from distinct threads at once. Run under the thread sanitizer, this
// shows that no operation shares anything it writes.

#include <gtest/gtest.h>

#include <thread>
#include <vector>

#include "catalogue/catalogue.h"
#include "tests/sweep/draw.h"

namespace rasterkit::sweep {
namespace {

using namespace catalogue;

// Every operation on every pixel type, with the same draws in every thread.
std::vector<Outcome> pass(std::uint64_t seed) {
  test::Random random(seed);
  std::vector<Outcome> outcomes;
  for (const Operation& operation : operations()) {
    for (const test::PixelType type : test::pixelTypes()) {
      const Draw draw = drawn(random, operation, randomImage(random, type, 19, 11));
      outcomes.push_back(outcome(operation, draw, operation.run, CPxImage()));
    }
  }
  return outcomes;
}

TEST(Threads, distinctImagesInDistinctThreadsGiveTheSameResults) {
  std::vector<std::vector<Outcome>> results(4);
  {
    std::vector<std::jthread> threads;
    for (auto& result : results) threads.emplace_back([&result] { result = pass(5); });
  }
  const std::vector<Outcome> expected = pass(5);  // last: what is made with its first use is made by several threads
  for (const auto& result : results) {
    ASSERT_EQ(result.size(), expected.size());
    for (std::size_t i = 0; i < result.size(); ++i) {
      EXPECT_EQ(result[i].flag, expected[i].flag);
      EXPECT_TRUE(test::identical(result[i].dst, expected[i].dst));
      EXPECT_EQ(result[i].report, expected[i].report);
    }
  }
}

}  // namespace
}  // namespace rasterkit::sweep
