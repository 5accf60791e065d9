#include "catalogue/analysis.h"

#include <rasterkit/analysis/hough.h>
#include <rasterkit/analysis/shading.h>

#include <cmath>
#include <cstdint>
#include <cstdio>
#include <numeric>

#include "catalogue/catalogue.h"

namespace rasterkit::catalogue {
namespace {

// [text(item), ...]
template <class List, class F>
std::string listed(const List& items, F text) {
  std::string out;
  for (const auto& item : items) (out += out.empty() ? "" : ", ") += text(item);
  return "[" + out + "]";
}

std::string number(double value) {
  char text[32];
  std::snprintf(text, sizeof text, "%.6g", value);
  return text;
}

std::string toJson(const std::vector<int>& counts) {
  return listed(counts, [](int count) { return std::to_string(count); });
}

std::string toJson(const std::vector<CPxHistogramDensity>& records) {
  const auto place = [](int position) { return position < 0 ? std::string("null") : std::to_string(position); };
  return listed(records, [&](const CPxHistogramDensity& record) {
    return "{\"position\": " + place(record.position) + ", \"density\": " + std::to_string(record.density) +
           ", \"previous\": " + place(record.previousPosition) + ", \"next\": " + place(record.nextPosition) + "}";
  });
}

std::vector<int> counts(const CPxHistogram& histogram, HIST_FLAG flag) {
  const int* const buffer = histogram.GetBuffer(flag);
  return {buffer, buffer + histogram.GetBinCount()};
}

std::vector<CPxHistogramDensity> records(const CPtrArray& array) {
  std::vector<CPxHistogramDensity> out;
  for (int i = 0; i < array.GetSize(); ++i) out.push_back(*static_cast<const CPxHistogramDensity*>(array[i]));
  return out;
}

template <class Findings>
int report(Call& c, bool (*find)(Call&, Findings&)) {
  Findings found;
  if (!find(c, found)) return 0;
  c.report = toJson(found);
  return 1;
}

// Lets the image's pixels vote, then shows in dst what came of it.
int showVotes(Call& c, int (CPxHoughTransform::*show)(CPxImage&)) {
  auto transform = c.on<CPxHoughTransform>();
  return transform.Direct() ? (transform.*show)(c.dst()) : 0;
}

}  // namespace

bool findPeaks(Call& c, HistogramFindings& found) {
  CPxHistogram histogram(c.source(), c.source().channels == 1 ? 0 : c.integer("channel"));
  if (!histogram.IsCreated()) return false;
  histogram.SetCircularModel(c.integer("axis"));
  CPxHistogramProcessing processing(&histogram);
  processing.SetMinIntervalRatio(c.real("interval"));
  processing.SetMaxRawMaximaCount(c.integer("raw"));
  processing.SetMaxValidMaximaCount(c.integer("peaks"));
  processing.Smooth(c.integer("passes"), HIST_SMOOTHED, c.integer("half"), -1, -1);
  processing.FindMaximaMinima();
  found = {counts(histogram, HIST_RAW), counts(histogram, HIST_SMOOTHED), records(processing.GetMaximaArray()),
           records(processing.GetMinimaArray()), records(processing.GetValidMaximaArray())};
  return true;
}

std::string toJson(const HistogramFindings& found) {
  return "{\"bins\": " + std::to_string(found.counts.size()) + ", \"samples\": " +
         std::to_string(std::accumulate(found.counts.begin(), found.counts.end(), std::int64_t{0})) +
         ", \"counts\": " + toJson(found.counts) + ", \"smoothed\": " + toJson(found.smoothed) +
         ", \"maxima\": " + toJson(found.maxima) + ", \"minima\": " + toJson(found.minima) +
         ", \"peaks\": " + toJson(found.peaks) + "}";
}

bool findLines(Call& c, std::vector<FoundLine>& found) {
  auto transform = c.on<CPxHoughTransform>();
  CPxImage drawn;
  if (!transform.Direct() || !transform.DetectLine(drawn)) return false;
  const CPxHoughImage& votes = transform.GetHoughImage();
  const double diagonal = std::hypot(c.source().width, c.source().height);
  const double step = 2 * diagonal / votes.GetRhoCount();
  for (int i = 0; i < transform.GetLineArray().GetSize(); ++i) {
    const auto& line = *static_cast<const CPxHoughLine*>(transform.GetLineArray()[i]);
    for (int k = 0; k < line.rhos.GetSize(); ++k) {
      const int rho = static_cast<int>(line.rhos[k]);
      found.push_back({-90 + line.theta / 2.0, rho * step - diagonal, line.firstPoints[k], line.secondPoints[k],
                       votes.GetAt(rho, line.theta), line.theta, rho});
    }
  }
  return true;
}

std::string toJson(const std::vector<FoundLine>& found) {
  const auto point = [](CPoint p) { return "[" + std::to_string(p.x) + ", " + std::to_string(p.y) + "]"; };
  return "{\"lines\": " +
         listed(found,
                [&](const FoundLine& line) {
                  return "{\"angle\": " + number(line.angle) + ", \"distance\": " + number(line.distance) +
                         ", \"first\": " + point(line.first) + ", \"second\": " + point(line.second) +
                         ", \"votes\": " + std::to_string(line.votes) + ", \"theta\": " + std::to_string(line.theta) +
                         ", \"rho\": " + std::to_string(line.rho) + "}";
                }) +
         "}";
}

std::vector<Operation> analysisOperations() {
  const Accepts voters{.channels = {1}, .samples = byteSamples};
  return {
      {
          .name = "hist",
          .method = "CPxHistogramProcessing::FindMaximaMinima",
          .summary = "counts the values of one channel and finds their peaks and valleys",
          .accepts = {.samples = wholeSamples},
          .result = {.where = Where::data, .refusal = Refusal::untouched},
          .parameters = {integer("channel", 0)
                             .range(0, 3)
                             .usually(0, 3)
                             .help("the channel: 0 is blue (or grey), then green, red, alpha; not looked at in images "
                                   "of one channel"),
                         integer("passes", 1).range(0, 20).usually(0, 10).help("how often the counts are smoothed"),
                         integer("half", 2).range(0, 64).usually(0, 8).unit("bins").help(
                             "from the centre of the smoothing span to its end"),
                         choice("axis", {{"linear", 0}, {"circular", 1}}, 0)
                             .help("circular: the last value is the first one's neighbour, as of hues"),
                         real("interval", 0.1)
                             .range(0, 1)
                             .usually(0, 0.3)
                             .help("peaks closer than this fraction of the bins are merged"),
                         integer("raw", 6).range(1, 1000).usually(1, 20).help(
                             "more maxima than this are smoothed away before the analysis"),
                         integer("peaks", 2).range(1, 1000).usually(1, 8).help("so many peaks remain at most")},
          .run = [](Call& c) { return report(c, findPeaks); },
          .reach = Reach::wholeImage(),
          .formula = "counts[v] = how many samples have the value v; peaks: the dominant maxima of the smoothed counts",
          .example = "hist peaks=3",
      },
      {
          .name = "lines",
          .method = "CPxHoughTransform::DetectLine",
          .summary = "finds straight lines: angle, distance, end points",
          .accepts = voters,
          .result = {.where = Where::data, .refusal = Refusal::varies},
          .parameters = {},
          .run = [](Call& c) { return report(c, findLines); },
          .reach = Reach::wholeImage(),
          .formula =
              "(x + 1) * cos(angle) + y * sin(angle) = distance, y upward from the bottom row, where pixels vote "
              "with their values",
          .example = "lines",
      },
      {
          .name = "drawlines",
          .method = "CPxHoughTransform::DetectLine",
          .summary = "draws the straight lines that an image holds",
          .accepts = voters,
          .result = {.where = Where::intoOwnShape, .refusal = Refusal::varies},
          .parameters = {},
          .run = [](Call& c) { return showVotes(c, &CPxHoughTransform::DetectLine); },
          .reach = Reach::wholeImage(),
          .formula = "a line's grey is 255 * its votes / the most votes of a line",
          .example = "drawlines",
      },
      {
          .name = "hough",
          .method = "CPxHoughTransform::GetDisplayImage",
          .summary = "shows the votes for lines: a column a distance, a row an angle",
          .accepts = voters,
          .result = {.where = Where::intoOwnShape, .refusal = Refusal::varies},
          .parameters = {},
          .run = [](Call& c) { return showVotes(c, &CPxHoughTransform::GetDisplayImage); },
          .reach = Reach::wholeImage(),
          .formula = "dst[rho, theta] = 255 * votes[rho, theta] / the most votes",
          .example = "hough",
      },
      {
          .name = "shade",
          .method = "CIMPShadingCorrect::ShadingCorrect",
          .summary = "corrects uneven illumination with a picture of an empty field",
          .accepts = {.channels = {1, 3, 4}, .samples = wholeSamples},
          .result = {.where = Where::inPlace, .refusal = Refusal::varies},
          .parameters = {image("blank").help("the evenly lit empty field, of the image's size and type")},
          .run =
              [](Call& c) {
                auto shading = c.on<CIMPShadingCorrect>();
                shading.SetBlankImage(&c.image("blank"));
                return shading.ShadingCorrect();
              },
          .reach = Reach::wholeImage(),
          .formula = "1 channel: s = blank * s / mean; 3 channels of 8 bits: s = mean * s / blank; else s = mean / "
                     "(blank * s); the low 8 bits of the limited result",
          .example = "shade blank=empty.png",
      },
  };
}

}  // namespace rasterkit::catalogue
