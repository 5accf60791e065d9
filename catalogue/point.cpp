#include <rasterkit/point/threshold.h>

#include "catalogue/catalogue.h"

namespace rasterkit::catalogue {

std::vector<Operation> pointOperations() {
  return {
      {
          .name = "threshold",
          .method = "CPxThresholdProcessing::Threshold",
          .summary = "white from a level up, black below",
          .accepts = {.channels = {1}},
          .result = {},
          .parameters =
              {integer("level").usually(0, 255).unit("sample values").help("the least sample that becomes white")},
          .run = [](Call& c) { return c.on<CPxThresholdProcessing>().Threshold(c.dst(), c.integer("level")); },
          .formula = "dst = src > level - 1 ? 255 : 0",
          .example = "threshold level=128",
      },
      {
          .name = "cut",
          .method = "CPxThresholdProcessing::Cut",
          .summary = "keeps the samples on one side of a level",
          .accepts = {.channels = {1}},
          .result = {},
          .parameters =
              {integer("level").usually(0, 255).unit("sample values").help("the last sample that is kept"),
               choice("keep", {{"lower", 0}, {"upper", 1}}, 1)
                   .help("upper: samples from the level up, 0 elsewhere; lower: down from it, all bits set elsewhere")},
          .run =
              [](Call& c) {
                return c.on<CPxThresholdProcessing>().Cut(c.dst(), c.integer("level"), c.integer("keep"));
              },
          .formula = "upper: dst = src > level - 1 ? src : 0; lower: dst = src < level + 1 ? src : all bits set",
          .example = "cut level=100 keep=upper",
      },
  };
}

}  // namespace rasterkit::catalogue
