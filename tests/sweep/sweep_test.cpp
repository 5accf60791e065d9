// Promises that hold for every operation of the catalogue, on every pixel type, at awkward sizes.

#include <rasterkit/core/levels.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <iterator>
#include <new>
#include <utility>

#include "catalogue/catalogue.h"
#include "tests/sweep/by_operation.h"
#include "tests/sweep/promises.h"

namespace rasterkit::sweep {
namespace {

using namespace catalogue;
using test::identical;
using test::PixelType;
using test::Random;
using test::randomImage;

const std::pair<int, int> kSizes[] = {{0, 0}, {0, 3},  {4, 0}, {1, 1},  {2, 2},   {3, 3},
                                      {1, 9}, {17, 1}, {5, 4}, {33, 7}, {67, 19}, {130, 6}};
constexpr const char* kLevels[] = {"baseline", "v2", "v3", "v4", "best"};

// The same on every platform, unlike std::hash.
std::uint64_t seedOf(const std::string& name) {
  std::uint64_t seed = 1;
  for (const char c : name) seed = seed * 31 + static_cast<unsigned char>(c);
  return seed;
}

class Sweep : public testing::TestWithParam<std::string> {
 protected:
  const Operation& operation = *find(GetParam());
  Random random{seedOf(GetParam())};

  ~Sweep() override { useLevel("best"); }

  // A destination that the call finds: empty, of another shape, or of the source's.
  CPxImage someImage(const CPxImage& source) {
    switch (random.between(0, 2)) {
      case 0: return CPxImage();
      case 1: return randomImage(random, random.pick(test::pixelTypes()), random.between(0, 9), random.between(0, 9));
      default: return randomImage(random, {source.colorModel, source.bitsPerSample}, source.width, source.height);
    }
  }

  // f(draw) for random draws over types and sizes.
  template <class F>
  void eachDraw(F f) {
    for (const PixelType type : typesFor(operation)) {
      for (const auto& [width, height] : kSizes) {
        const Draw draw = drawn(random, operation, randomImage(random, type, width, height));
        SCOPED_TRACE(describe(operation, draw));
        f(draw);
        if (HasFailure()) return;
      }
    }
  }
};

TEST_P(Sweep, fastFormsAreTheSlowTwinAtEveryLevel) {
  for (int round = 0; round < 3; ++round) {
    eachDraw([&](const Draw& draw) {
      const CPxImage before = someImage(draw.source);
      for (const char* const level : kLevels)
        if (useLevel(level)) {
          EXPECT_EQ(breaksTwin(operation, draw, before), "") << level;
        }
    });
  }
}

TEST_P(Sweep, sharedImagesGiveTheResultOfSeparateOnes) {
  eachDraw([&](const Draw& draw) { EXPECT_EQ(breaksSharing(operation, draw, someImage(draw.source)), ""); });
}

TEST_P(Sweep, tilesWithTheDeclaredReachGiveTheWhole) {
  eachDraw([&](const Draw& draw) { EXPECT_EQ(breaksTiling(operation, draw, random), ""); });
}

TEST_P(Sweep, aFullMaskEqualsNoMask) {
  if (operation.accepts.mask == MaskUse::ignored) return;
  eachDraw([&](const Draw& draw) {
    Draw full = draw, none = draw;
    full.masked = true;
    none.masked = false;
    full.mask = test::randomMask(random, draw.source.width, draw.source.height);
    for (int y = 0; y < full.mask.height; ++y)
      for (int x = 0; x < full.mask.width; ++x) test::setSample(full.mask, x, y, 0, random.between(1, 255));
    const Outcome actual = outcome(operation, full, operation.run, CPxImage());
    const Outcome expected = outcome(operation, none, operation.run, CPxImage());
    EXPECT_EQ(actual.flag, expected.flag);
    EXPECT_TRUE(identical(actual.dst, expected.dst));
  });
}

TEST_P(Sweep, refusedImagesLeaveTheDestinationAsDeclared) {
  std::vector<PixelType> types = typesFor(operation);
  types.push_back({CM_GRAY, 33});
  types.push_back({CM_RGBA, 64});
  for (const PixelType type : types) {
    Draw draw = drawn(random, operation, randomImage(random, type, 7, 5));
    for (const Parameter& parameter : operation.parameters)  // another rectangle may be outside, and refused for that
      if (parameter.kind == Kind::rectangle && !parameter.required()) draw.arguments.erase(parameter.name);
    if (operation.refusal(draw.source).empty() || operation.result.refusal == Refusal::varies) continue;
    SCOPED_TRACE(describe(operation, draw));
    const CPxImage before = someImage(draw.source);
    const Outcome result = outcome(operation, draw, operation.run, before);
    EXPECT_EQ(result.flag, operation.result.refusal == Refusal::succeeds ? 1 : 0);
    switch (operation.result.refusal) {
      case Refusal::copies:
      case Refusal::succeeds: EXPECT_TRUE(identical(result.dst, draw.source)); break;
      case Refusal::untouched: EXPECT_TRUE(identical(result.dst, before)); break;
      case Refusal::clears:
        EXPECT_TRUE(result.dst.IsCreated());
        for (int i = 0; i < result.dst.bufferSize; ++i)
          EXPECT_EQ(static_cast<const unsigned char*>(result.dst.GetBuffer())[i], 0);
        break;
      case Refusal::varies: break;
    }
  }
}

TEST_P(Sweep, anImageThatIsNotCreatedOrDescribesMoreThanItHoldsIsRefused) {
  const Where where = operation.result.where;
  if (where == Where::inPlace || where == Where::inPlaceReshaped || where == Where::data) return;
  for (const PixelType type : test::pixelTypes()) {
    Draw draw = drawn(random, operation, randomImage(random, type, 6, 4));
    SCOPED_TRACE(describe(operation, draw));
    CPxImage source = draw.source, dst = randomImage(random, type, 3, 3);
    const CPxImage before = dst;
    Call call(operation, source, dst);
    for (const auto& [name, value] : draw.arguments) call.set(name, value);
    for (auto& [name, image] : draw.images) call.set(name, &image);
    if (operation.readsSeries) call.series = {&source, &source};

    auto refused = [&](const char* why) {
      if (operation.result.prepare) dst = before;
      EXPECT_EQ(operation.run(call), 0) << why;
      EXPECT_TRUE(identical(dst, before)) << why;
    };
    source.height = 4000;
    refused("more rows than the block has");
    source = draw.source;
    source.bufferSize = source.bytesPerLine = 1 << 20;
    refused("longer rows than the block has");
    source = CPxImage();
    refused("not created");
  }
}

// No result is asked for: nothing outside an image may be touched, which the sanitizers see best.
TEST_P(Sweep, membersThatACallerOverwroteAreSafe) {
  for (int round = 0; round < 12; ++round) {
    for (const PixelType type : typesFor(operation)) {
      Draw draw = drawn(random, operation, randomImage(random, type, random.between(0, 40), random.between(0, 6)));
      CPxImage source = draw.source, dst = someImage(source), mask = draw.mask;
      if (operation.result.where == Where::inPlace || operation.result.where == Where::inPlaceReshaped) dst = source;
      Call call(operation, source, dst);
      for (const auto& [name, value] : draw.arguments) call.set(name, value);
      for (auto& [name, image] : draw.images) call.set(name, &image);
      if (draw.masked) call.mask = &mask;
      if (operation.readsSeries) call.series = {&source, &source};
      overwriteMembers(random, random.oneIn(2) ? source : dst);
      if (random.oneIn(2)) overwriteMembers(random, random.oneIn(2) ? dst : mask);
      for (auto& [name, image] : draw.images)
        if (random.oneIn(2)) overwriteMembers(random, image);
      SCOPED_TRACE(describe(operation, draw));
      try {
        operation.run(call);
      } catch (const std::bad_alloc&) {  // for an image as large as the members say
      }
      const CPxImage copy = dst;  // what is left can still be read, or counts as not created
      EXPECT_TRUE(!copy.IsCreated() || copy.bufferSize == dst.bufferSize);
    }
  }
}

INSTANTIATE_TEST_SUITE_P(Catalogue, Sweep, testing::ValuesIn(test::operationNames()), test::testName);

}  // namespace
}  // namespace rasterkit::sweep
