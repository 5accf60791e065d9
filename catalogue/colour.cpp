#include <rasterkit/colour/colour.h>

#include "catalogue/catalogue.h"

// Conversions fill an image that the step creates, in the step's own model, opaque where it has alpha. A step takes
// every model from which conversions lead to its own, by way of 8-bit RGB or RGBA if need be.

namespace rasterkit::catalogue {
namespace {

using Colour = CPxColorProcessing;

bool isByte(const CPxImage& image) { return image.bitsPerSample <= 8; }
bool isWord(const CPxImage& image) { return image.bitsPerSample > 8 && image.bitsPerSample <= 16; }
bool isReal(const CPxImage& image) { return image.bitsPerSample > 16 && image.bitsPerSample <= 32; }
bool isGray(const CPxImage& image) { return image.colorModel == CM_GRAY || image.colorModel == CM_GRAYA; }
bool isColour(const CPxImage& image) { return image.colorModel == CM_RGB || image.colorModel == CM_RGBA; }
bool hasAlpha(COLOR_MODEL model) { return model == CM_GRAYA || model == CM_RGBA; }

// What the models are called here.
struct Model {
  COLOR_MODEL model;
  const char* name;
};
constexpr Model kModels[] = {
    {CM_BITMAP, "bitmap"}, {CM_GRAY, "grey"}, {CM_LOGL, "LogL"},     {CM_INDEX, "index"}, {CM_GRAYA, "grey with alpha"},
    {CM_RGB, "RGB"},       {CM_RGBA, "RGBA"}, {CM_CMYK, "CMYK"},     {CM_HSI, "HSI"},     {CM_HSV, "HSV"},
    {CM_HLS, "HLS"},       {CM_XYZ, "XYZ"},   {CM_YUV, "YUV"},       {CM_YIQ, "YIQ"},     {CM_YCbCr, "YCbCr"},
    {CM_LUV, "LUV"},       {CM_Lab, "Lab"},   {CM_LOGLUV, "LogLuv"},
};

std::string nameOf(const CPxImage& image) {
  for (const auto& [model, name] : kModels)
    if (image.colorModel == model) return std::to_string(image.bitsPerSample) + "-bit " + name;
  return "an unknown model";
}

// Images of fewer than 8 bits are read by their reduced-bit layout.
bool hasLayout(const CPxImage& image) {
  const int* const widths = image.channelBits;
  const auto usable = [](int width) { return width >= 1 && width <= 8; };
  const bool four = image.colorModel == CM_RGBA && widths[1] != 6;
  if (four)
    return usable(image.bitsPerSample) && (image.bitsPerSample <= 5 || widths[1] == 4 || widths[1] == 5) &&
           usable(widths[3]);
  return usable(widths[0]) && usable(widths[1]) && usable(widths[2]) &&
         (image.bitsPerSample <= 5 || (widths[1] >= 4 && widths[1] <= 6));
}

// Whether conversions lead to 8-bit colour.
bool leadsToColour(const CPxImage& image) {
  switch (image.colorModel) {
    case CM_BITMAP:
    case CM_INDEX:
    case CM_CMYK: return isByte(image);
    case CM_GRAY:
    case CM_GRAYA: return isByte(image) || isWord(image);
    case CM_RGB:
    case CM_RGBA: return isWord(image) || image.bitsPerSample == 8 || (isByte(image) && hasLayout(image));
    case CM_HSI:
    case CM_HLS:
    case CM_YCbCr: return isReal(image);
    default: return false;
  }
}

std::string refuseOthers(const CPxImage& image) {
  return leadsToColour(image) ? "" : "no conversion leads from " + nameOf(image);
}

// Of the source, but the model's own images too.
Accepts accepts(COLOR_MODEL own = CM_RGB) {
  return {
      .samples = anySample | deepSamples,
      .models = {CM_BITMAP, CM_GRAY, CM_GRAYA, CM_INDEX, CM_RGB, CM_RGBA, CM_CMYK, CM_HSI, CM_HSV, CM_HLS, CM_YCbCr},
      .refuses = [own](const CPxImage& image) {
        return own != CM_RGB && image.colorModel == own && isReal(image) ? "" : refuseOthers(image);
      }};
}

// Every alpha sample becomes the greatest that its bits allow.
void makeOpaque(CPxImage& image) {
  if (!hasAlpha(image.colorModel)) return;
  const int most = (1 << image.channelBits[image.channels - 1]) - 1;
  for (int y = 0; y < image.height; ++y) {
    void* const row = image.Get2DBuffer()[y];
    for (int i = image.channels - 1; i < image.width * image.channels; i += image.channels) {
      if (isByte(image))
        static_cast<unsigned char*>(row)[i] = static_cast<unsigned char>(most);
      else
        static_cast<unsigned short*>(row)[i] = static_cast<unsigned short>(most);
    }
  }
}

// dst in a model, where the source is one that the step takes.
std::function<void(Call&)> creates(COLOR_MODEL model, int bits) {
  return [=](Call& c) {
    const CPxImage& source = c.source();
    if (!c.operation().refusal(source).empty()) return;
    const bool keepsBits = bits == 16 && isWord(source) && (isGray(source) || isColour(source));
    CPxImage made(model, keepsBits ? source.bitsPerSample : bits, source.width, source.height);
    makeOpaque(made);
    c.dst() = std::move(made);
  };
}

Result into(COLOR_MODEL model, int bits) {
  return {.where = Where::intoPrepared, .refusal = Refusal::untouched, .prepare = creates(model, bits)};
}

// The source itself where it is 8-bit RGB or RGBA; else what it becomes, in `made`, with alpha where dst has it.
CPxImage* asColour(Call& c, CPxImage& made) {
  CPxImage& source = c.source();
  if (!source.IsCreated() || (isColour(source) && source.bitsPerSample == 8)) return &source;
  made.Create(hasAlpha(c.dst().colorModel) ? CM_RGBA : CM_RGB, 8, source.width, source.height);
  makeOpaque(made);
  const int converted = source.colorModel == CM_RGBA && isWord(source) ? Colour::RGB16toRGB(&source, &made)
                        : made.colorModel == CM_RGBA                   ? Colour::ConverttoRGBA(&source, &made)
                                                                       : Colour::ConverttoRGB(&source, &made);
  return converted ? &made : nullptr;
}

// A source that has the step's own model already passes as it is.
bool isOwnModel(const Call& c, const CPxImage& dst, COLOR_MODEL model) {
  const CPxImage& source = c.source();
  return source.colorModel == model && dst.colorModel == model && PXCOMPARE_SIZE(&source, &dst) &&
         c.operation().refusal(source).empty();
}

int copyAll(Call& c) {
  c.dst() = c.source();
  return 1;
}

// Samples of more than 8 bits as they are, grey for every colour.
int copyPlanes(Call& c) {
  CPxImage &source = c.source(), &dst = c.dst();
  if (isOwnModel(c, dst, dst.colorModel)) return copyAll(c);
  if (!PXCOMPARE_SIZE(&source, &dst) || !isWord(dst)) return 0;
  CPxImageProcessingBase from(&source), to(&dst);
  if (dst.channels == 1) return from.GetPlane(0, dst);
  CPxImage plane;
  auto copy = [&](int fromPlane, int toPlane) {
    if (source.channels == 1) return to.SetPlane(toPlane, source) != 0;
    return from.GetPlane(fromPlane, plane) && to.SetPlane(toPlane, plane);
  };
  for (int k = 0; k < (dst.channels >= 3 ? 3 : 1); ++k)
    if (!copy(source.channels >= 3 ? k : 0, k)) return 0;
  if (hasAlpha(source.colorModel) && hasAlpha(dst.colorModel)) return copy(source.channels - 1, dst.channels - 1);
  return 1;
}

// The steps' bodies ---------------------------------------------------------------------------------------------------

int toRgb(Call& c) {
  if (c.source().colorModel == CM_RGBA && isWord(c.source())) return Colour::RGB16toRGB(&c.source(), &c.dst());
  return Colour::ConverttoRGB(&c.source(), &c.dst());
}

int toRgba(Call& c) { return Colour::ConverttoRGBA(&c.source(), &c.dst()); }

int toGray(Call& c) {
  CPxImage &source = c.source(), made;
  if (source.colorModel == CM_BITMAP) return Colour::BitmaptoGray(&source, &c.dst());
  if (isGray(source) && isWord(source)) return Colour::Gray16toGray(&source, &c.dst());
  return Colour::RGBtoGray(asColour(c, made), &c.dst(), c.single("red"), c.single("green"), c.single("blue"));
}

int toGray16(Call& c) {
  CPxImage &source = c.source(), made;
  if (source.colorModel == CM_BITMAP) return Colour::BitmaptoGray16(&source, &c.dst());
  if (source.colorModel == CM_GRAYA && isByte(source)) return Colour::GraytoGray16(&source, &c.dst());
  if (isGray(source) && isWord(source)) return copyPlanes(c);
  return Colour::RGBtoGray16(asColour(c, made), &c.dst(), c.single("red"), c.single("green"), c.single("blue"));
}

int toRgb16(Call& c) {
  CPxImage made;
  if ((isGray(c.source()) || isColour(c.source())) && isWord(c.source())) return copyPlanes(c);
  return Colour::RGBtoRGB16(asColour(c, made), &c.dst());
}

int toBitmap(Call& c) {
  CPxImage &source = c.source(), made;
  if (isOwnModel(c, c.dst(), CM_BITMAP)) return copyAll(c);
  const bool words = isGray(source) && isWord(source);
  const int level = c.has("level") ? c.integer("level") : words ? 1 << (source.bitsPerSample - 1) : 128;
  if (words) return Colour::Gray16toBitmap(&source, &c.dst(), level);
  if (isGray(source)) return Colour::GraytoBitmap(&source, &c.dst(), level);
  return Colour::RGBtoBitmap(asColour(c, made), &c.dst(), level);
}

template <COLOR_MODEL model, int (*convert)(const CPxImage*, CPxImage*)>
int toModel(Call& c) {
  if (isOwnModel(c, c.dst(), model)) return copyAll(c);
  CPxImage made;
  return convert(asColour(c, made), &c.dst());
}

// Reduced-bit layouts: the model, the bits a sample and the bits of each sample.
struct Layout {
  const char* name;
  COLOR_MODEL model;
  int bits;
  int widths[4];
};
constexpr Layout kLayouts[] = {{"444", CM_RGB, 4, {4, 4, 4, 0}},
                               {"555", CM_RGB, 5, {5, 5, 5, 0}},
                               {"565", CM_RGB, 6, {5, 6, 5, 0}},
                               {"4444", CM_RGBA, 4, {4, 4, 4, 4}},
                               {"5551", CM_RGBA, 5, {5, 5, 5, 1}}};

void createReduced(Call& c) {
  const int number = c.integer("layout");
  if (!c.operation().refusal(c.source()).empty()) return;
  const Layout& layout = kLayouts[number >= 0 && number < 5 ? number : 2];
  CPxImage made(layout.model, layout.bits, c.source().width, c.source().height);
  made.SetBitsPerSampleEx(layout.widths);
  makeOpaque(made);
  c.dst() = std::move(made);
}

std::vector<Parameter> weights() {
  auto weight = [](const char* name, double standard) {
    return real(name, standard).usually(0, 1).help("how much of the grey it makes");
  };
  return {weight("red", 0.299), weight("green", 0.587), weight("blue", 0.114)};
}

// An operation that a space's own images pass as they are.
Operation space(const char* name, const char* method, const char* summary, COLOR_MODEL model, int (*run)(Call&),
                const char* formula) {
  return {.name = name,
          .method = method,
          .summary = summary,
          .accepts = accepts(model),
          .result = into(model, 32),
          .parameters = {},
          .run = run,
          .formula = formula,
          .example = name};
}

// Adds the alpha form of a step.
Operation withAlpha(Operation step, const char* name, const char* summary, COLOR_MODEL model, int bits) {
  step.name = step.example = name;
  step.summary = summary;
  step.result = into(model, bits);
  return step;
}

std::vector<Operation> conversions() {
  Operation rgb{
      .name = "rgb",
      .method = "CPxColorProcessing::ConverttoRGB",
      .summary = "RGB of 8 bits, from any model",
      .accepts = accepts(),
      .result = into(CM_RGB, 8),
      .parameters = {},
      .run = toRgb,
      .formula = "the conversion of the source's model; RGB of 8 bits is copied",
      .example = "rgb",
      .alsoUses = {"CPxColorProcessing::RGBAtoRGB", "CPxColorProcessing::RGB16toRGB", "CPxColorProcessing::RGB2BtoRGB",
                   "CPxColorProcessing::BitmaptoRGB", "CPxColorProcessing::IndextoRGB", "CPxColorProcessing::GraytoRGB",
                   "CPxColorProcessing::Gray16toRGB", "CPxColorProcessing::CMYKtoRGB", "CPxColorProcessing::HSItoRGB",
                   "CPxColorProcessing::HLStoRGB", "CPxColorProcessing::YCbCrtoRGB"},
  };
  // The library reports a plain copy as 0.
  auto copiesOf = [](COLOR_MODEL model) {
    return [=](const Call& c) { return c.source().colorModel == model && c.source().bitsPerSample == 8 ? 0 : 1; };
  };
  Operation rgba = withAlpha(rgb, "rgba", "RGB with alpha of 8 bits, from any model", CM_RGBA, 8);
  rgb.result.doneFor = copiesOf(CM_RGB);
  rgba.result.doneFor = copiesOf(CM_RGBA);
  rgba.method = "CPxColorProcessing::ConverttoRGBA";
  rgba.run = toRgba;
  rgba.formula = "the conversion of the source's model; RGBA of 8 bits is copied; opaque without alpha in the source";
  rgba.alsoUses[0] = "CPxColorProcessing::RGBtoRGBA";

  Operation gray{
      .name = "gray",
      .method = "CPxColorProcessing::RGBtoGray",
      .summary = "grey of 8 bits",
      .accepts = accepts(),
      .result = into(CM_GRAY, 8),
      .parameters = weights(),
      .run = toGray,
      .formula =
          "colour: min(255, trunc(R * red + G * green + B * blue + 0.5)); 16-bit grey: src >> (bits - 8); bitmaps: 0 "
          "or 255",
      .example = "gray",
      .alsoUses = {"CPxColorProcessing::Gray16toGray", "CPxColorProcessing::BitmaptoGray"},
  };
  Operation gray16{
      .name = "gray16",
      .method = "CPxColorProcessing::RGBtoGray16",
      .summary = "grey of 16 bits",
      .accepts = accepts(),
      .result = into(CM_GRAY, 16),
      .parameters = weights(),
      .run = toGray16,
      .formula =
          "colour, brought to 8 bits: trunc((R * red + G * green + B * blue) * 256 + 0.5); 16-bit grey: as it is; "
          "bitmaps: 0 or 65535",
      .example = "gray16",
      .alsoUses = {"CPxColorProcessing::GraytoGray16", "CPxColorProcessing::BitmaptoGray16"},
  };
  Operation rgb16{
      .name = "rgb16",
      .method = "CPxColorProcessing::RGBtoRGB16",
      .summary = "RGB of 16 bits",
      .accepts = accepts(),
      .result = into(CM_RGB, 16),
      .parameters = {},
      .run = toRgb16,
      .formula = "src << 8; 16-bit grey and RGB: as they are",
      .example = "rgb16",
  };
  return {
      rgb,
      rgba,
      gray,
      withAlpha(gray, "graya", "grey with alpha of 8 bits", CM_GRAYA, 8),
      gray16,
      withAlpha(gray16, "graya16", "grey with alpha of 16 bits", CM_GRAYA, 16),
      rgb16,
      withAlpha(rgb16, "rgba16", "RGB with alpha of 16 bits", CM_RGBA, 16),
      {
          .name = "bitmap",
          .method = "CPxColorProcessing::RGBtoBitmap",
          .summary = "a bitmap of 0 and 1: which pixels reach a level of grey",
          .accepts = accepts(),
          .result = into(CM_BITMAP, 8),
          .parameters = {integer("level")
                             .optional()
                             .usually(0, 255)
                             .unit("grey values")
                             .help("the least grey that becomes 1; half of the greatest if not given")},
          .run = toBitmap,
          .formula = "dst = grey >= level; grey of colour: 0.212671 R + 0.71516 G + 0.072169 B, rounded",
          .example = "bitmap level=100",
          .alsoUses = {"CPxColorProcessing::GraytoBitmap", "CPxColorProcessing::Gray16toBitmap"},
      },
      {
          .name = "reduce",
          .method = "CPxColorProcessing::RGBtoRGB2B",
          .summary = "colour of fewer bits, one byte a sample",
          .accepts = accepts(),
          .result = {.where = Where::intoPrepared, .refusal = Refusal::untouched, .prepare = createReduced},
          .parameters = {choice("layout", {{"444", 0}, {"555", 1}, {"565", 2}, {"4444", 3}, {"5551", 4}}, 2)
                             .help("bits of red, green, blue and alpha")},
          .run =
              [](Call& c) {
                CPxImage made;
                return Colour::RGBtoRGB2B(asColour(c, made), &c.dst());
              },
          .formula = "dst = src >> (8 - bits)",
          .example = "reduce layout=565",
      },
      {
          .name = "cmyk",
          .method = "CPxColorProcessing::RGBtoCMYK",
          .summary = "print colours",
          .accepts = accepts(),
          .result = into(CM_CMYK, 8),
          .parameters = {},
          .run = toModel<CM_CMYK, Colour::RGBtoCMYK>,
          .formula = "K = 255 - max(R, G, B), C = 255 - R - K, M = 255 - G - K, Y = 255 - B - K",
          .example = "cmyk",
      },
      space("hsi", "CPxColorProcessing::RGBtoHSI", "hue in degrees, saturation and intensity, as floats", CM_HSI,
            toModel<CM_HSI, Colour::RGBtoHSI>,
            "with mx, mn of R and G: I = (mx + mn) / 510, S = (mx - mn) / (mx + mn) or / (510 - mx - mn), H by the "
            "greatest sample"),
      space(
          "hsv", "CPxColorProcessing::RGBtoHSV", "hue as an angle, saturation and value, as floats", CM_HSV,
          toModel<CM_HSV, Colour::RGBtoHSV>,
          "V = (max(r, g) + min(r, g)) / 2, S = 1 - 3 min(r, g) / (r + g + b), H = arccos((r - g/2 - b/2) / sqrt((r - "
          "g)^2 + (r - b)(g - b)))"),
      space("hls", "CPxColorProcessing::RGBtoHLS", "hue in degrees, lightness and saturation, as floats", CM_HLS,
            toModel<CM_HLS, Colour::RGBtoHLS>,
            "with mx, mn of R, G and B: L = (mx + mn) / 510, S = (mx - mn) / (mx + mn) or / (510 - mx - mn), H by the "
            "greatest sample"),
      space("ycbcr", "CPxColorProcessing::RGBtoYCbCr", "luma and two colour differences, as floats", CM_YCbCr,
            toModel<CM_YCbCr, Colour::RGBtoYCbCr>,
            "Y = 0.299 r + 0.587 g + 0.114 b, Cb = 0.5 b - 0.16874 r - 0.33126 g, Cr = 0.5 r - 0.41869 g - 0.08131 b"),
  };
}

// In place ------------------------------------------------------------------------------------------------------------

tagPXG4 colour(const Call& c, const std::string& name) {
  tagPXG4 samples;
  for (int k = 0; k < 4; ++k) {
    const std::string own = k > 0 ? name + std::to_string(k + 1) : name;
    samples.sample[k] = static_cast<unsigned char>(c.integer(c.has(own) ? own : name));
  }
  return samples;
}

std::string refuseInvert(const CPxImage& image) {
  const bool whole = isGray(image) || isColour(image) || image.colorModel == CM_BITMAP || image.colorModel == CM_CMYK;
  if (image.colorModel == CM_INDEX || (whole ? image.bitsPerSample <= 16 : isReal(image))) return "";
  return "does not take " + nameOf(image);
}

std::string refuseReplace(const CPxImage& image) {
  return image.colorModel == CM_LOGL ? "does not take " + nameOf(image) : refuseInvert(image);
}

std::vector<COLOR_MODEL> allModels() {
  std::vector<COLOR_MODEL> models;
  for (const auto& [model, name] : kModels) models.push_back(model);
  return models;
}

std::vector<Parameter> colourParameters() {
  std::vector<Parameter> list;
  for (const auto& [name, meaning] : {std::pair("find", "the colour that is replaced"), {"write", "the new colour"}}) {
    list.push_back(
        integer(name).range(0, 255).help(std::string(meaning) + ": grey or blue, and each that is not given"));
    for (const auto& [suffix, sample] : {std::pair("2", "green, or the alpha of grey"), {"3", "red"}, {"4", "alpha"}})
      list.push_back(
          integer(std::string(name) + suffix).range(0, 255).optional().help(std::string(meaning) + ": " + sample));
  }
  return list;
}

std::vector<Operation> adjustments() {
  return {
      {
          .name = "hsiadjust",
          .method = "CPxColorProcessing::HSIAdjust",
          .summary = "turns the hue, changes saturation and intensity",
          .accepts = {.channels = {3, 4}, .samples = byteSamples, .models = {CM_RGB, CM_RGBA}},
          .result = {.where = Where::inPlace, .done = 0},
          .parameters = {real("hue", 0).usually(-180, 180).unit("degrees").help("added to the hue"),
                         real("saturation", 0).usually(-1, 1).help("added to the saturation of 0 to 1"),
                         real("intensity", 0).usually(-1, 1).help("added to the intensity of 0 to 1")},
          .run =
              [](Call& c) {
                return c.on<Colour>().HSIAdjust(c.single("hue"), c.single("saturation"), c.single("intensity"));
              },
          .formula = "to HSI, (H + hue, S + saturation, I + intensity), and back",
          .example = "hsiadjust hue=30 saturation=0.1",
      },
      {
          .name = "invert",
          .method = "CPxColorProcessing::Invert",
          .summary = "the negative of the image, or of one channel",
          .accepts = {.samples = anySample | deepSamples, .models = allModels(), .refuses = refuseInvert},
          .result = {.where = Where::inPlace,
                     .doneFor =
                         [](const Call& c) {
                           const COLOR_MODEL model = c.source().colorModel;
                           return model == CM_INDEX || (model == CM_GRAYA && c.integer("channel") == 2) ? 0 : 1;
                         }},
          .parameters =
              {integer("channel", 0)
                   .range(0, 4)
                   .usually(0, 4)
                   .help("0: all; 1 is blue (or grey), then green, red, alpha; one-channel images do not look at it")},
          .run = [](Call& c) { return c.on<Colour>().Invert(c.integer("channel")); },
          .formula = "2^bits - 1 - s; 1 - s in float images; of index images the palette",
          .example = "invert",
      },
      {
          .name = "replace",
          .method = "CPxColorProcessing::ReplaceColor",
          .summary = "one colour becomes another",
          .accepts = {.samples = anySample | deepSamples, .models = allModels(), .refuses = refuseReplace},
          .result = {.where = Where::inPlace,
                     .doneFor = [](const Call& c) { return c.source().colorModel == CM_INDEX ? 0 : 1; }},
          .parameters = colourParameters(),
          .run = [](Call& c) { return c.on<Colour>().ReplaceColor(colour(c, "find"), colour(c, "write")); },
          .formula = "pixels equal to find in every sample become write; in palettes the order is red, green, blue",
          .example = "replace find=0 write=255 write2=0 write3=0",
      },
  };
}

}  // namespace

std::vector<Operation> colourOperations() {
  std::vector<Operation> table = conversions();
  for (Operation& operation : adjustments()) table.push_back(std::move(operation));
  return table;
}

}  // namespace rasterkit::catalogue
