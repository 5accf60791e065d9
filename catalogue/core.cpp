#include "catalogue/catalogue.h"

namespace rasterkit::catalogue {

std::vector<Operation> coreOperations() {
  return {
      {
          .name = "plane",
          .method = "CPxImageProcessingBase::GetPlane",
          .summary = "one channel as a grey image",
          .accepts = {.channels = {2, 3, 4}, .samples = anySample | deepSamples},
          .result = {.where = Where::intoOwnShape, .refusal = Refusal::untouched},
          .parameters = {integer("plane").range(0, 3).usually(0, 3).help(
              "the channel: 0 is blue (or grey), then green, red, alpha")},
          .run = [](Call& c) { return c.on<CPxImageProcessingBase>().GetPlane(c.integer("plane"), c.dst()); },
          .formula = "dst[x, y] = src[x, y, plane]",
          .example = "plane plane=1",
      },
      {
          .name = "setplane",
          .method = "CPxImageProcessingBase::SetPlane",
          .summary = "replaces one channel by a grey image",
          .accepts = {.channels = {2, 3, 4}, .samples = anySample | deepSamples},
          .result = {.where = Where::inPlace},
          .parameters = {integer("plane").range(0, 3).usually(0, 3).help(
                             "the channel: 0 is blue (or grey), then green, red, alpha"),
                         image("other").help("the new channel: one sample a pixel, of the image's size")},
          .run = [](Call& c) { return c.on<CPxImageProcessingBase>().SetPlane(c.integer("plane"), c.image("other")); },
          .reach = Reach::wholeImage(),  // the rows of an image of several channels are read sample by sample
          .formula = "dst[x, y, plane] = other[x, y]; the other channels stay",
          .example = "setplane plane=1 other=green.png",
      },
  };
}

}  // namespace rasterkit::catalogue
