#include <rasterkit/neighbourhood/filter.h>
#include <rasterkit/neighbourhood/morphology.h>

#include <algorithm>
#include <climits>

#include "catalogue/catalogue.h"

namespace rasterkit::catalogue {
namespace {

Parameter size() {
  return integer("size")
      .range(0, INT_MAX)
      .usually(0, 64)
      .unit("pixels")
      .help("from the centre to the side of the square: 1 is 3 x 3");
}

// Two squares one after the other reach twice as far.
int twice(const Call& c) { return std::min(c.integer("size"), INT_MAX / 2) * 2; }

}  // namespace

std::vector<Operation> rankOperations() {
  return {
      {
          .name = "erode",
          .method = "CPxMorphologicProcessing::Erode",
          .summary = "the least sample of the square around each pixel",
          .accepts = {.mask = MaskUse::honoured},
          .parameters = {size()},
          .run = [](Call& c) { return c.on<CPxMorphologicProcessing>().Erode(c.dst(), c.integer("size")); },
          .reach = Reach::by([](const Call& c) { return c.integer("size"); }),
          .formula = "dst[x, y, c] = min of src[x + i, y + j, c], i and j from -size to size, edge samples repeated",
          .example = "erode size=2",
      },
      {
          .name = "dilate",
          .method = "CPxMorphologicProcessing::Dilate",
          .summary = "the greatest sample of the square around each pixel",
          .accepts = {.mask = MaskUse::honoured},
          .parameters = {size()},
          .run = [](Call& c) { return c.on<CPxMorphologicProcessing>().Dilate(c.dst(), c.integer("size")); },
          .reach = Reach::by([](const Call& c) { return c.integer("size"); }),
          .formula = "dst[x, y, c] = max of src[x + i, y + j, c], i and j from -size to size, edge samples repeated",
          .example = "dilate size=2",
      },
      {
          .name = "open",
          .method = "CPxMorphologicProcessing::Open",
          .summary = "removes what is brighter than its surroundings and narrower than the square",
          .result = {.refusal = Refusal::untouched},
          .parameters = {size()},
          .run = [](Call& c) { return c.on<CPxMorphologicProcessing>().Open(c.dst(), c.integer("size")); },
          .reach = Reach::by(twice),
          .formula = "dst = max over the square of (min of src over the square), edge samples repeated",
          .example = "open size=2",
      },
      {
          .name = "close",
          .method = "CPxMorphologicProcessing::Close",
          .summary = "fills what is darker than its surroundings and narrower than the square",
          .result = {.refusal = Refusal::untouched},
          .parameters = {size()},
          .run = [](Call& c) { return c.on<CPxMorphologicProcessing>().Close(c.dst(), c.integer("size")); },
          .reach = Reach::by(twice),
          .formula = "dst = min over the square of (max of src over the square), edge samples repeated",
          .example = "close size=2",
      },
      {
          .name = "median",
          .method = "CPxFilter::Median",
          .summary = "the median of 3 x 3 samples",
          .run = [](Call& c) { return c.on<CPxFilter>().Median(c.dst()); },
          .reach = Reach::of(1),
          .formula = "dst[x, y, c] = median of src[x + i, y + j, c], i and j from -1 to 1; the outermost pixels stay",
          .example = "median",
      },
      {
          .name = "denoise",
          .method = "CPxFilter::RemoveRandomNoise",
          .summary = "the median of 3 x 3 samples where a sample stands out from its neighbours",
          .parameters = {integer("threshold")
                             .usually(0, 500)
                             .unit("sample values")
                             .help("how far eight times a sample may be from the sum of its neighbours; below 0 "
                                   "replaces every sample")},
          .run = [](Call& c) { return c.on<CPxFilter>().RemoveRandomNoise(c.dst(), c.integer("threshold")); },
          .reach = Reach::of(1),
          .formula = "dst = |8 src - sum of the eight neighbours| > threshold ? median of 3 x 3 samples : src; "
                     "of floats the total is truncated after each difference; the outermost pixels stay",
          .example = "denoise threshold=200",
      },
  };
}

}  // namespace rasterkit::catalogue
