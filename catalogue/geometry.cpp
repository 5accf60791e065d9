#include <rasterkit/geometry/geometry.h>
#include <rasterkit/geometry/regions.h>

#include <algorithm>
#include <cstdint>
#include <iterator>
#include <string>
#include <utility>

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

// Size, orientation, position
// ------------------------------------------------------------------------------------------

// Bilinear resampling reports 0 after its work, as everything does that is refused.
int resizeDone(const Call& c) {
  const CPxImage& source = c.source();
  const bool blends = c.integer("mode") == CPxGeometryProcessing::INTERPOLATION_BILINEAR &&
                      source.colorModel != CM_INDEX && source.bitsPerSample <= 16 && source.width > 0 &&
                      source.height > 0;
  return blends ? 0 : 1;
}

// A zero image of the wanted size, or the source's.
void prepareView(Call& c) {
  const CPxImage& source = c.source();
  CPxImage view(source.colorModel, source.bitsPerSample, c.has("width") ? c.integer("width") : source.width,
                c.has("height") ? c.integer("height") : source.height);
  view.palette = source.palette;
  c.dst() = std::move(view);
}

Parameter length(const char* name, const char* help) {
  return integer(name).range(1, 1 << 20).usually(1, 300).unit("pixels").help(help).growing();
}

std::vector<Operation> placeOperations() {
  return {
      {
          .name = "resize",
          .method = "CPxGeometryProcessing::Resize",
          .summary = "resamples the image to a size",
          .accepts = {},
          .result = {.where = Where::intoOwnShape, .refusal = Refusal::clears, .doneFor = resizeDone},
          .parameters = {length("width", "columns of the result"), length("height", "rows of the result"),
                         choice("mode", {{"bilinear", 1}, {"nearest", 2}}, 2)
                             .help("bilinear blends the four pixels around (8 and 16 bits); nearest takes one")},
          .run =
              [](Call& c) {
                return c.on<CPxGeometryProcessing>().Resize(
                    c.integer("width"), c.integer("height"), c.dst(),
                    static_cast<CPxGeometryProcessing::INTERPOLATION>(c.integer("mode")));
              },
          .reach = Reach::wholeImage(),
          .formula = "nearest: dst[x, y] = src[trunc(x * W / width + 0.5), trunc(y * H / height + 0.5)]; bilinear: "
                     "the pixels around (x * W / width, y * H / height), blended across and then down, truncated twice",
          .example = "resize width=640 height=480 mode=bilinear",
      },
      {
          .name = "scale",
          .method = "CPxGeometryProcessing::Resize",
          .summary = "resamples the image by a factor",
          .accepts = {.samples = anySample | deepSamples},
          .result = {.where = Where::intoOwnShape, .refusal = Refusal::untouched},
          .parameters = {real("factor").range(0.001, 1000).usually(0.1, 4).help("2 doubles both sides").growing()},
          .run = [](Call& c) { return c.on<CPxGeometryProcessing>().Resize(c.single("factor"), c.dst()); },
          .reach = Reach::wholeImage(),
          .formula = "dst[x, y] = src[trunc(x / factor), trunc(y / factor)]",
          .example = "scale factor=0.5",
      },
      {
          .name = "magnify",
          .method = "CPxGeometryProcessing::ResizeEx",
          .summary = "a magnified view, scrolled by an origin",
          .accepts = {.samples = anySample | deepSamples},
          .result = {.where = Where::intoPrepared, .refusal = Refusal::untouched, .prepare = prepareView},
          .parameters = {real("factor").range(0.001, 1000).usually(0.1, 8).help("2 shows each pixel as 2 x 2"),
                         point("origin", CPoint(0, 0)).help("how far the view is scrolled, in magnified pixels"),
                         length("width", "columns of the view; the image's if not given").optional(),
                         length("height", "rows of the view; the image's if not given").optional()},
          .run =
              [](Call& c) {
                return c.on<CPxGeometryProcessing>().ResizeEx(c.single("factor"), c.point("origin"), c.dst());
              },
          .reach = Reach::wholeImage(),
          .formula = "dst[x, y] = src[trunc((x + origin.x) / factor) - trunc(origin.x / factor), the same downward]",
          .example = "magnify factor=4 origin=2,2",
      },
      {
          .name = "flip",
          .method = "CPxGeometryProcessing::Flip",
          .summary = "mirrors the image",
          .accepts = {.refuses =
                          [](const CPxImage& source) {
                            const int bits = source.bitsPerSample;
                            const bool flips = (bits >= 1 && bits <= 8) || bits == 16 || bits == 32;
                            return flips ? std::string() : "needs 1 to 8, 16 or 32 bits a sample";
                          }},
          .result = {.where = Where::inPlace},
          .parameters = {choice("direction", {{"vertical", 0}, {"horizontal", 1}, {"both", 2}})
                             .help("vertical: top becomes bottom; horizontal: left becomes right; both: a half turn")},
          .run =
              [](Call& c) {
                return c.on<CPxGeometryProcessing>().Flip(
                    static_cast<CPxGeometryProcessing::FLIP_FLAG>(c.integer("direction")));
              },
          .reach = Reach::wholeImage(),
          .formula = "dst[x, y] = src[W - 1 - x, y], src[x, H - 1 - y] or both",
          .example = "flip direction=horizontal",
      },
      {
          .name = "shift",
          .method = "CPxGeometryProcessing::Shift",
          .summary = "moves the content over a background",
          .accepts = {},
          .result = {.where = Where::inPlace},
          .parameters = {point("offset").help("to the right and down, in pixels"),
                         integer("back", 0).range(0, 255).usually(0, 255).help(
                             "every sample of the background, as it stands")},
          .run =
              [](Call& c) {
                auto geometry = c.on<CPxGeometryProcessing>();
                const auto back = static_cast<unsigned char>(c.integer("back"));
                geometry.SetBackColor(tagPXG4{{back, back, back, back}});
                return geometry.Shift(c.point("offset"));
              },
          .reach = Reach::wholeImage(),
          .formula = "image[x, y] = old[x - offset.x, y - offset.y], or the background",
          .example = "shift offset=16,-8 back=128",
      },
  };
}

}  // namespace

std::vector<Operation> geometryOperations() {
  std::vector<Operation> table;
  for (auto part : {regionOperations, placeOperations}) std::ranges::move(part(), std::back_inserter(table));
  return table;
}

}  // namespace rasterkit::catalogue
