#include <rasterkit/point/arithmetic.h>
#include <rasterkit/point/averaging.h>
#include <rasterkit/point/threshold.h>
#include <rasterkit/point/tone.h>

#include <algorithm>
#include <iterator>

#include "catalogue/catalogue.h"

namespace rasterkit::catalogue {

namespace {

std::vector<Operation> thresholdOperations() {
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

// Arithmetic ----------------------------------------------------------------------------------------------------------

std::string realsNeedOneChannel(const CPxImage& source) {
  return source.bitsPerSample > 16 && source.channels != 1
             ? "takes float samples of 1 channel, this has " + std::to_string(source.channels)
             : "";
}

Parameter area() { return rectangle().help("left,top,right,bottom, all within, or all"); }

// An operation that changes the samples of 1, 3 or 4 channels inside a rectangle by a constant.
template <class Run>
Operation byConstant(std::string name, std::string method, std::string summary, Parameter k, std::string formula,
                     Run run) {
  std::string example = name + " value=" + (k.kind == Kind::integer ? "2" : "1.5");
  return {.name = std::move(name),
          .method = "CPxArithmeticProcessing::" + method,
          .summary = std::move(summary),
          .accepts = {.channels = {1, 3, 4}, .refuses = realsNeedOneChannel},
          .result = {.where = Where::inPlace, .refusal = Refusal::succeeds},
          .parameters = {std::move(k), area()},
          .run = run,
          .formula = std::move(formula),
          .example = std::move(example)};
}

std::vector<Operation> arithmeticOperations() {
  const Parameter whole = integer("value").usually(0, 255), real = catalogue::real("value").usually(0, 255);
  auto wholeOf = [&](const char* help) { return Parameter(whole).help(help); };
  auto realOf = [&](const char* help) { return Parameter(real).help(help); };
  const std::string partnerHelp = "laid with its corner on the rectangle's";
  const char* const partnerArea = "left,top,right,bottom, all within, or all; a single column or row is refused";
  return {
      byConstant("add", "ADD", "adds a whole number", wholeOf("what is added"), "s = low 8 bits of min(s + value, 255)",
                 [](Call& c) { return c.on<CPxArithmeticProcessing>().ADD(c.integer("value"), c.rectangle()); }),
      byConstant("add-real", "ADD", "adds a number", realOf("what is added"),
                 "s = low 8 bits of min(s + value, 255), truncated",
                 [](Call& c) { return c.on<CPxArithmeticProcessing>().ADD(c.single("value"), c.rectangle()); }),
      byConstant("sub", "SUB", "subtracts a whole number", wholeOf("what is subtracted"),
                 "s = low 8 bits of max(s - value, 0)",
                 [](Call& c) { return c.on<CPxArithmeticProcessing>().SUB(c.integer("value"), c.rectangle()); }),
      byConstant("sub-real", "SUB", "subtracts a number", realOf("what is subtracted"),
                 "s = low 8 bits of max(s - value, 0), truncated",
                 [](Call& c) { return c.on<CPxArithmeticProcessing>().SUB(c.single("value"), c.rectangle()); }),
      byConstant("mul", "MUL", "multiplies by a whole number", wholeOf("the factor").usually(0, 8),
                 "s = s * value, limited to 0 and 255",
                 [](Call& c) { return c.on<CPxArithmeticProcessing>().MUL(c.integer("value"), c.rectangle()); }),
      byConstant("mul-real", "MUL", "multiplies by a number", realOf("the factor").usually(0, 8),
                 "s = s * value + 0.5, limited to 0 and 255, truncated",
                 [](Call& c) { return c.on<CPxArithmeticProcessing>().MUL(c.single("value"), c.rectangle()); }),
      {
          .name = "div",
          .method = "CPxArithmeticProcessing::DIV",
          .summary = "divides by another image",
          .accepts = {.channels = {1, 3, 4}},
          .result = {.where = Where::inPlace, .refusal = Refusal::succeeds},
          .parameters = {image("other").help(partnerHelp), rectangle().help(partnerArea)},
          .run = [](Call& c) { return c.on<CPxArithmeticProcessing>().DIV(c.image("other"), c.rectangle()); },
          .formula = "whole numbers: s = s / (o + 1); float: s = s * o / 255",
          .example = "div other=light.png",
      },
      {
          .name = "or",
          .method = "CPxArithmeticProcessing::OR",
          .summary = "joins the bits of another image",
          .accepts = {.channels = {1, 3, 4}, .samples = wholeSamples},
          .result = {.where = Where::inPlace, .refusal = Refusal::succeeds},
          .parameters = {image("other").help(partnerHelp), rectangle().help(partnerArea)},
          .run = [](Call& c) { return c.on<CPxArithmeticProcessing>().OR(c.image("other"), c.rectangle()); },
          .formula = "s = s | o",
          .example = "or other=marks.png",
      },
  };
}

// Tone ----------------------------------------------------------------------------------------------------------------

// Contrast and gamma: the table is made from the coefficient, of as many entries as the image has sample values unless
// it is said otherwise.
template <class Processing>
int remap(Call& c, int (Processing::*apply)(CRect)) {
  Processing processing(&c.bound());
  processing.SetCoefficient(c.single("coefficient"));
  processing.CreateVectorTable(c.has("entries") ? c.integer("entries") : c.bound().bitsPerSample <= 8 ? 256 : 65536);
  return (processing.*apply)(c.rectangle());
}

template <class Processing>
Operation remapping(std::string name, std::string method, std::string summary, int (Processing::*apply)(CRect),
                    double usual, std::string formula) {
  std::string example = name + " coefficient=0.8";
  return {.name = std::move(name),
          .method = std::move(method),
          .summary = std::move(summary),
          .accepts = {.channels = {1, 3, 4}, .samples = wholeSamples},
          .result = {.where = Where::inPlace, .refusal = Refusal::succeeds},
          .parameters = {real("coefficient", 1.5).usually(0, usual).help("1 changes nothing"),
                         integer("entries").range(1, 65536).usually(1, 65536).growing().optional().help(
                             "the table's size, 256 or 65536 unless given; samples beyond it stay"),
                         area()},
          .run = [apply](Call& c) { return remap(c, apply); },
          .formula = std::move(formula),
          .example = std::move(example)};
}

// The values that occur, with their counts, channel by channel.
std::string countsReport(const CPxPointProcessing& counted) {
  std::string report = "{\"channels\":[";
  for (int channel = 0; channel < counted.GetLookupTableCount(); ++channel) {
    const _PP_LOOKUP_TABLE& table = counted.GetLookupTable(channel);
    report += channel ? ",[" : "[";
    bool following = false;
    for (int value = 0; value < table.nCount; ++value) {
      if (table.pTable[value] == 0) continue;
      report += following ? ",[" : "[";
      report += std::to_string(value) + "," + std::to_string(table.pTable[value]) + "]";
      following = true;
    }
    report += "]";
  }
  return report + "]}";
}

std::vector<Operation> toneOperations() {
  return {
      {
          .name = "brightness",
          .method = "CPxBrightnessProcessing::Brightness",
          .summary = "makes the image lighter or darker",
          .accepts = {.channels = {1, 3, 4}, .refuses = realsNeedOneChannel},
          .result = {.where = Where::inPlace, .refusal = Refusal::succeeds},
          .parameters = {integer("value").usually(-255, 255).help("what is added; below 0, what is subtracted")},
          .run = [](Call& c) { return CPxBrightnessProcessing(&c.bound()).Brightness(c.integer("value")); },
          .formula = "value > 0: s = min(s + value, 255); else s = max(s + value, 0), low 8 bits",
          .example = "brightness value=30",
      },
      remapping("contrast", "CPxContrastProcessing::Contrast", "multiplies the samples through a table",
                &CPxContrastProcessing::Contrast, 4,
                "s = s * coefficient + 0.5, truncated, limited to 0 and entries - 1"),
      remapping("gamma", "CPxGammaProcessing::Gamma", "raises the samples to a power through a table",
                &CPxGammaProcessing::Gamma, 2.5, "s = s ^ coefficient, truncated, limited to 0 and entries - 1"),
      {
          .name = "counts",
          .method = "CPxPointProcessing::CalLookupTable",
          .summary = "counts how often each sample value occurs",
          .accepts = {.samples = wholeSamples},
          .result = {.where = Where::data, .refusal = Refusal::untouched},
          .run =
              [](Call& c) {
                CPxPointProcessing counted(&c.source());
                const int done = counted.CalLookupTable();
                c.report = countsReport(counted);
                return done;
              },
          .reach = Reach::wholeImage(),
          .formula = "counts[channel][v] = pixels whose sample in that channel is v",
          .example = "counts",
      },
      {
          .name = "average",
          .method = "CPxAveraging::Averaging",
          .summary = "the mean of several images",
          .accepts = {.channels = {1, 3, 4}, .samples = wholeSamples},
          .result = {.refusal = Refusal::varies},
          .run =
              [](Call& c) {
                CPxImageArray images;
                for (CPxImage* const one : c.series) images.Add(one);
                return CPxAveraging(&images).Averaging(c.dst(), 0);
              },
          .reach = Reach::of(1),
          .formula = "dst = sum of the samples / count, truncated; the last row and column become 0",
          .example = "average",
          .readsSeries = true,
      },
  };
}

}  // namespace

std::vector<Operation> pointOperations() {
  std::vector<Operation> table;
  for (auto part : {
           thresholdOperations,
           arithmeticOperations,
           toneOperations,
       })
    std::ranges::move(part(), std::back_inserter(table));
  return table;
}

}  // namespace rasterkit::catalogue
