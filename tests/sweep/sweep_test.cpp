// Promises that hold for every operation of the catalogue, on every pixel type, at awkward sizes.

#include <rasterkit/core/levels.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <utility>

#include "catalogue/catalogue.h"
#include "tests/plain/twins.h"
#include "tests/sweep/draw.h"

namespace rasterkit::sweep {
namespace {

using namespace catalogue;
using test::identical;
using test::PixelType;
using test::Random;
using test::randomImage;

const std::pair<int, int> kSizes[] = {{0, 0}, {0, 3},  {4, 0}, {1, 1},  {2, 2},   {3, 3},
                                      {1, 9}, {17, 1}, {5, 4}, {33, 7}, {67, 19}, {130, 6}};
constexpr const char* kLevels[] = {"baseline", "v2", "v3", "v4"};

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
  const plain::Twin* const twin = plain::find(operation.name);
  ASSERT_TRUE(twin) << "no slow twin of " << operation.name;
  for (int round = 0; round < 3; ++round) {
    eachDraw([&](const Draw& draw) {
      const CPxImage before = someImage(draw.source);
      const Outcome expected = outcome(operation, draw, *twin, before);
      for (const char* const level : kLevels) {
        if (!useLevel(level)) continue;
        const Outcome actual = outcome(operation, draw, operation.run, before);
        EXPECT_EQ(actual.flag, expected.flag) << level;
        EXPECT_TRUE(identical(actual.dst, expected.dst)) << level;
        EXPECT_EQ(actual.report, expected.report) << level;
        EXPECT_TRUE(identical(actual.source, draw.source)) << level << ": the source changed";
      }
    });
  }
}

TEST_P(Sweep, sharedImagesGiveTheResultOfSeparateOnes) {
  eachDraw([&](const Draw& draw) {
    const CPxImage before = someImage(draw.source);
    if (operation.result.where != Where::intoPrepared && operation.result.where != Where::data) {
      const Outcome separate = outcome(operation, draw, operation.run, before);
      const Outcome shared = outcome(operation, draw, operation.run, before, Alias::dstIsSource);
      EXPECT_EQ(shared.flag, separate.flag) << "dst is the source";
      // An untouched destination keeps what it held, which is the source where they are one.
      if (separate.succeeded || operation.result.refusal == Refusal::copies) {
        EXPECT_TRUE(identical(shared.dst, separate.dst)) << "dst is the source";
      }
    }
    if (draw.masked && operation.result.where == Where::intoDestination) {
      const Outcome separate = outcome(operation, draw, operation.run, before);
      const Outcome shared = outcome(operation, draw, operation.run, before, Alias::dstIsMask);
      EXPECT_EQ(shared.flag, separate.flag) << "dst is the mask";
      EXPECT_TRUE(identical(shared.dst, separate.dst)) << "dst is the mask";
    }
    if (!draw.images.empty()) {
      Draw equal = draw;
      for (auto& [name, image] : equal.images) image = draw.source;
      const Outcome separate = outcome(operation, equal, operation.run, before);
      const Outcome shared = outcome(operation, equal, operation.run, before, Alias::imageIsSource);
      EXPECT_EQ(shared.flag, separate.flag) << "a second image is the source";
      EXPECT_TRUE(identical(shared.dst, separate.dst)) << "a second image is the source";
      if (operation.result.where == Where::inPlace) {
        const Outcome same = outcome(operation, equal, operation.run, before, Alias::imageIsDst);
        EXPECT_EQ(same.flag, separate.flag) << "a second image is the target";
        EXPECT_TRUE(identical(same.dst, separate.dst)) << "a second image is the target";
      }
    }
  });
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

// The part of an image from (left, top), as far as it goes.
CPxImage part(const CPxImage& image, int left, int top, int width, int height) {
  CPxImage out(image.colorModel, image.bitsPerSample, width, height);
  out.palette = image.palette;
  for (int y = 0; y < height; ++y)
    for (int x = 0; x < width; ++x)
      for (int c = 0; c < image.channels; ++c)
        test::setSample(out, x, y, c, test::sampleAt(image, left + x, top + y, c));
  return out;
}

TEST_P(Sweep, tilesWithTheDeclaredReachGiveTheWhole) {
  const Where where = operation.result.where;
  if (operation.reach.extent == Reach::whole || (where != Where::intoDestination && where != Where::inPlace)) return;
  for (const Parameter& parameter : operation.parameters)
    if (parameter.kind == Kind::rectangle || parameter.kind == Kind::point) return;  // speak of places in the whole
  eachDraw([&](const Draw& draw) {
    const CPxImage& source = draw.source;
    if (source.width < 2 || source.height < 2 || !operation.refusal(source).empty()) return;
    for (const auto& [name, image] : draw.images)
      if (image.width != source.width || image.height != source.height) return;
    const Outcome whole = outcome(operation, draw, operation.run, CPxImage());

    CPxImage unused;
    Call call(operation, const_cast<CPxImage&>(source), unused);
    for (const auto& [name, value] : draw.arguments) call.set(name, value);
    const int reach = operation.reach.distance ? operation.reach.distance(call) : 0;
    const int left = random.between(0, source.width - 1), top = random.between(0, source.height - 1);
    const int right = random.between(left, source.width - 1), bottom = random.between(top, source.height - 1);
    const int x0 = std::max(0, left - std::min(reach, left)), y0 = std::max(0, top - std::min(reach, top));
    const int x1 = right + std::min(reach, source.width - 1 - right),
              y1 = bottom + std::min(reach, source.height - 1 - bottom);

    Draw tile = draw;
    auto cut = [&](CPxImage& image) { image = part(image, x0, y0, x1 - x0 + 1, y1 - y0 + 1); };
    cut(tile.source);
    for (auto& [name, image] : tile.images) cut(image);
    for (CPxImage& image : tile.series) cut(image);
    if (tile.masked) cut(tile.mask);
    const Outcome result = outcome(operation, tile, operation.run, CPxImage());
    // Where the flag differs (a divisor of 0 met only elsewhere), there is nothing to compare.
    if (result.flag != whole.flag) return;
    EXPECT_TRUE(test::samePicture(part(result.dst, left - x0, top - y0, right - left + 1, bottom - top + 1),
                                  part(whole.dst, left, top, right - left + 1, bottom - top + 1)))
        << "tile " << left << "," << top << " to " << right << "," << bottom << ", reach " << reach;
  });
}

std::vector<std::string> names() {
  std::vector<std::string> list;
  for (const Operation& operation : operations()) list.push_back(operation.name);
  return list;
}

// Test names have no hyphens.
std::string testName(const testing::TestParamInfo<std::string>& info) {
  std::string name = info.param;
  std::ranges::replace(name, '-', '_');
  return name;
}

INSTANTIATE_TEST_SUITE_P(Catalogue, Sweep, testing::ValuesIn(names()), testName);

}  // namespace
}  // namespace rasterkit::sweep
