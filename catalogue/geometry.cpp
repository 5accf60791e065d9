#include <rasterkit/geometry/regions.h>

#include <algorithm>
#include <cstdint>
#include <iterator>

#include "catalogue/catalogue.h"

namespace rasterkit::catalogue {
namespace {

// Regions and fill ----------------------------------------------------------------------------------------------------

// The nearest sample, toward zero; 0 for NaN.
template <class S>
S sample(double value) {
  if constexpr (std::same_as<S, float>) {
    return static_cast<float>(value);
  } else {
    return value > 0 ? static_cast<S>(std::min<double>(value, std::numeric_limits<S>::max())) : S(0);
  }
}

const char* const sampleNames[] = {"value", "second", "third", "fourth"};

// Fills with the pixel that the parameters give, as a value of the image's type.
template <class S, class Area>
int fillWith(Call& c, Area&& area) {
  S s[4];
  for (int i = 0; i < 4; ++i) s[i] = sample<S>(c.real(i > 0 && c.has(sampleNames[i]) ? sampleNames[i] : "value"));
  auto drawing = c.on<CPxDrawing>();
  constexpr bool bytes = std::same_as<S, unsigned char>, words = std::same_as<S, unsigned short>;
  switch (c.bound().channels) {
    case 2:
      return drawing.SetFill(
          std::conditional_t<bytes, tagPXG2, std::conditional_t<words, tagPXGW2, tagPXGF2>>{{s[0], s[1]}}, area);
    case 3:
      return drawing.SetFill(
          std::conditional_t<bytes, tagPXG3, std::conditional_t<words, tagPXGW3, tagPXGF3>>{{s[0], s[1], s[2]}}, area);
    case 4:
      return drawing.SetFill(
          std::conditional_t<bytes, tagPXG4, std::conditional_t<words, tagPXGW4, tagPXGF4>>{{s[0], s[1], s[2], s[3]}},
          area);
    default: return drawing.SetFill(s[0], area);
  }
}

template <class Area>
int fill(Call& c, Area&& area) {
  const int bits = c.bound().bitsPerSample;
  return bits <= 8    ? fillWith<unsigned char>(c, area)
         : bits <= 16 ? fillWith<unsigned short>(c, area)
                      : fillWith<float>(c, area);
}

std::vector<Parameter> fillParameters(Parameter where) {
  return {std::move(where),
          real("value").usually(0, 255).help("the first sample (grey or blue), and each that is not given"),
          real("second").usually(0, 255).optional().help("green, or the alpha of grey"),
          real("third").usually(0, 255).optional().help("red"),
          real("fourth").usually(0, 255).optional().help("alpha")};
}

// A zero image of the rectangle's size, as far as the source has one.
void preparePart(Call& c) {
  const CRect rect = c.rectangle();
  const CPxImage& source = c.source();
  auto length = [](int from, int to, int most) {
    return static_cast<int>(std::clamp<std::int64_t>(std::int64_t{to} - from + 1, 0, most));
  };
  CPxImage part(source.colorModel, source.bitsPerSample, length(rect.left, rect.right, source.width),
                length(rect.top, rect.bottom, source.height));
  part.palette = source.palette;
  c.dst() = std::move(part);
}

const char* const inclusiveHelp = "left,top,right,bottom, all within; cut at the image's edges";
const char* const frameworkHelp =
    "left,top,right,bottom, all within; a single column or row and a start in the image's last one are refused";

std::vector<Operation> regionOperations() {
  return {
      {
          .name = "crop",
          .method = "CPxMiscProcessing::Crop",
          .summary = "keeps a rectangle of the image",
          .accepts = {},
          .result = {.where = Where::inPlaceReshaped},
          .parameters = {rectangle("rect", {}).help(inclusiveHelp)},
          .run = [](Call& c) { return c.on<CPxMiscProcessing>().Crop(c.rectangle()); },
          .reach = Reach::wholeImage(),
          .formula = "dst[x - left, y - top] = src[x, y]",
          .example = "crop rect=10,10,109,59",
      },
      {
          .name = "copyto",
          .method = "CPxMiscProcessing::CopyTo",
          .summary = "copies a rectangle into another image",
          .accepts = {},
          .result = {.where = Where::intoPrepared, .refusal = Refusal::clears, .prepare = preparePart},
          .parameters = {rectangle("rect", {}).help(frameworkHelp)},
          .run = [](Call& c) { return c.on<CPxMiscProcessing>().CopyTo(c.dst(), c.rectangle()); },
          .reach = Reach::wholeImage(),
          .formula = "dst[x - left, y - top] = src[x, y]",
          .example = "copyto rect=10,10,109,59",
      },
      {
          .name = "paste",
          .method = "CPxMiscProcessing::PasteFrom",
          .summary = "copies another image into a rectangle",
          .accepts = {},
          .result = {.where = Where::inPlace},
          .parameters = {rectangle("rect", {}).help(frameworkHelp), image("other").help("what is pasted")},
          .run = [](Call& c) { return c.on<CPxMiscProcessing>().PasteFrom(c.image("other"), c.rectangle()); },
          .formula = "image[x, y] = other[x - left, y - top]",
          .example = "paste other=stamp.png rect=10,10,109,59",
      },
      {
          .name = "pastemasked",
          .method = "CPxMiscProcessing::PasteFrom",
          .summary = "copies another image into a rectangle where a mask lets it",
          .accepts = {},
          .result = {.where = Where::inPlace},
          .parameters = {rectangle("rect", {}).help(frameworkHelp), image("other").help("what is pasted"),
                         image("mask").help("one byte a pixel, laid where the other image is: 0 keeps the pixel")},
          .run =
              [](Call& c) {
                return c.on<CPxMiscProcessing>().PasteFrom(c.image("other"), c.rectangle(), c.image("mask"));
              },
          .formula = "image[x, y] = other[x - left, y - top] where mask[x - left, y - top] is not 0",
          .example = "pastemasked other=stamp.png mask=shape.png rect=10,10,109,59",
      },
      {
          .name = "fill",
          .method = "CPxDrawing::SetFill",
          .summary = "fills a rectangle with one pixel value",
          .accepts = {},
          .result = {.where = Where::inPlace},
          .parameters = fillParameters(rectangle("rect", {}).help(inclusiveHelp)),
          .run = [](Call& c) { return fill(c, c.rectangle()); },
          .formula = "image[x, y] = value",
          .example = "fill rect=10,10,109,59 value=0 third=255",
      },
      {
          .name = "fillmasked",
          .method = "CPxDrawing::SetFill",
          .summary = "fills the pixels that a mask selects",
          .accepts = {},
          .result = {.where = Where::inPlace},
          .parameters = fillParameters(image("mask").help("one byte a pixel: 0 keeps the pixel")),
          .run = [](Call& c) { return fill(c, c.image("mask")); },
          .formula = "image[x, y] = value where mask[x, y] is not 0",
          .example = "fillmasked mask=shape.png value=255",
      },
  };
}

}  // namespace

std::vector<Operation> geometryOperations() {
  std::vector<Operation> table;
  for (auto part : {regionOperations}) std::ranges::move(part(), std::back_inserter(table));
  return table;
}

}  // namespace rasterkit::catalogue
