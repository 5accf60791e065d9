// Results that people look at: histograms, lines, shading correction.

#include "catalogue/analysis.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <filesystem>

#include "catalogue/recipe.h"
#include "tools/commands.h"
#include "tools/failure.h"
#include "tools/paths.h"
#include "tools/plot.h"

namespace rasterkit::tools {
namespace {

using catalogue::FoundLine;
using catalogue::HistogramFindings;

// The one image of a file.
CPxImage readImage(const std::string& path) {
  auto pages = readImageFile(pathOf(path)).pages;
  if (pages.size() > 1)
    throw Failure(ExitCode::damaged, path + ": holds " + std::to_string(pages.size()) + " images, one is needed here");
  return std::move(pages[0]);
}

// What an operation finds in an image, with arguments as in a recipe.
template <class Findings>
Findings findings(const char* operation, const AnalysisOptions& options, CPxImage& image,
                  bool (*find)(catalogue::Call&, Findings&)) {
  std::vector<std::string> words = {operation};
  words.insert(words.end(), options.arguments.begin(), options.arguments.end());
  const catalogue::Recipe recipe = catalogue::parseRecipe(words);
  if (recipe.size() != 1)
    throw Failure(ExitCode::badRecipe, std::string(operation) + " takes parameters only; for more steps use run");
  const catalogue::Step& step = recipe[0];
  const std::string refusal = step.operation->refusal(image);
  Findings found;
  CPxImage unused;
  catalogue::Call call(*step.operation, image, unused);
  for (const auto& [name, value] : step.arguments) call.set(name, value);
  if (!refusal.empty() || !find(call, found))
    throw Failure(ExitCode::refused, options.input + ": " + operation + " " +
                                         (refusal.empty() ? "does not process such a channel" : refusal) +
                                         "; see: rasterkit help " + operation);
  return found;
}

// Rows of block characters, the fullest bin to the top; many bins share a column, of which the greatest shows.
void printBars(const std::vector<int>& counts) {
  static const char* const eighths[] = {" ", "▁", "▂", "▃", "▄", "▅", "▆", "▇", "█"};
  constexpr int kRows = 8;
  const std::size_t columns = std::min<std::size_t>(counts.size(), 64);
  std::vector<int> bars(columns);
  for (std::size_t i = 0; i < counts.size(); ++i) {
    int& bar = bars[i * columns / counts.size()];
    bar = std::max(bar, counts[i]);
  }
  const int greatest = std::max(*std::ranges::max_element(bars), 1);
  for (int row = kRows - 1; row >= 0; --row) {
    std::string line = row == kRows - 1 ? std::to_string(greatest) : row == 0 ? "0" : "";
    line.insert(0, 10 - std::min<std::size_t>(line.size(), 10), ' ');
    line += " │";
    for (const int bar : bars) {
      // Anything at all shows as an eighth.
      const auto height = static_cast<int>((std::int64_t{bar} * kRows * 8 + greatest - 1) / greatest);
      line += eighths[std::clamp(height - row * 8, 0, 8)];
    }
    std::printf("%s\n", line.c_str());
  }
  std::string axis;
  for (std::size_t i = 0; i < columns; ++i) axis += "─";
  const std::string last = std::to_string(counts.size() - 1);
  std::printf("           └%s\n            0%*s\n", axis.c_str(), static_cast<int>(columns) - 1, last.c_str());
}

void printPlaces(const char* kind, const std::vector<CPxHistogramDensity>& records) {
  std::string line;
  for (const CPxHistogramDensity& record : records)
    line += (line.empty() ? "" : ", ") + std::to_string(record.position) + " (" + std::to_string(record.density) + ")";
  std::printf("%-8s %s\n", kind, line.empty() ? "none" : line.c_str());
}

// Grey or colour of 8 bits as colour.
CPxImage inColour(const CPxImage& image, const std::string& name) {
  const int from = image.channels >= 3 ? image.channels : 1;
  if (image.bitsPerSample > 8 || image.channels == 2 || image.colorModel == CM_CMYK)
    throw Failure(ExitCode::refused, name + ": lines are drawn over grey or colour pictures of 8 bits");
  CPxImage out(CM_RGB, 8, image.width, image.height);
  for (int y = 0; y < image.height; ++y) {
    const auto* const in = static_cast<const unsigned char*>(image.Get2DBuffer()[y]);
    auto* const to = static_cast<unsigned char*>(out.Get2DBuffer()[y]);
    for (int x = 0; x < image.width; ++x)
      for (int c = 0; c < 3; ++c) to[3 * x + c] = in[from * x + (from == 1 ? 0 : c)];
  }
  return out;
}

// A red line of three pixels' width; ends far outside are cut by walking along the longer side.
void drawLine(CPxImage& picture, CPoint first, CPoint second) {
  const double dx = static_cast<double>(second.x) - first.x, dy = static_cast<double>(second.y) - first.y;
  const bool steep = std::abs(dy) > std::abs(dx);
  const double length = steep ? dy : dx;
  const auto at = [&](int along, int across) {
    const int x = steep ? across : along, y = steep ? along : across;
    if (x < 0 || x >= picture.width || y < 0 || y >= picture.height) return;
    auto* const pixel = static_cast<unsigned char*>(picture.Get2DBuffer()[y]) + 3 * x;
    pixel[0] = pixel[1] = 0;
    pixel[2] = 255;
  };
  const int from = steep ? first.y : first.x, to = steep ? second.y : second.x;
  const int most = (steep ? picture.height : picture.width) - 1;
  for (int along = std::clamp(std::min(from, to), 0, most); along <= std::clamp(std::max(from, to), 0, most); ++along) {
    const double part = length == 0 ? 0 : (static_cast<double>(along) - from) / length;
    const double across = (steep ? first.x + part * dx : first.y + part * dy) + 0.5;
    if (!(across > -2 && across < 1e9)) continue;
    for (int k = -1; k <= 1; ++k) at(along, static_cast<int>(across) + k);
  }
}

}  // namespace

int hist(const AnalysisOptions& options) {
  CPxImage image = readImage(options.input);
  const auto found = findings<HistogramFindings>("hist", options, image, catalogue::findPeaks);
  if (!options.picture.empty()) plotHistogram(found, textOf(pathOf(options.input).filename()), pathOf(options.picture));
  if (options.json) {
    std::printf("%s\n", toJson(found).c_str());
    return ExitCode::success;
  }
  printBars(found.counts);
  printPlaces("peaks", found.peaks);
  printPlaces("maxima", found.maxima);
  printPlaces("valleys", found.minima);
  return ExitCode::success;
}

int lines(const AnalysisOptions& options) {
  CPxImage image = readImage(options.input);
  const auto found = findings<std::vector<FoundLine>>("lines", options, image, catalogue::findLines);
  if (!options.picture.empty()) {
    CPxImage picture =
        options.over.empty() ? inColour(image, options.input) : inColour(readImage(options.over), options.over);
    for (const FoundLine& line : found) drawLine(picture, line.first, line.second);
    writeImageFile(pathOf(options.picture), {&picture, 1});
  }
  if (options.json) {
    std::printf("%s\n", toJson(found).c_str());
    return ExitCode::success;
  }
  std::printf("%8s %10s %13s %13s %12s\n", "degrees", "pixels", "from", "to", "votes");
  for (const FoundLine& line : found) {
    const auto point = [](CPoint p) { return std::to_string(p.x) + "," + std::to_string(p.y); };
    std::printf("%8.1f %10.1f %13s %13s %12u\n", line.angle, line.distance, point(line.first).c_str(),
                point(line.second).c_str(), static_cast<unsigned>(line.votes));
  }
  return ExitCode::success;
}

}  // namespace rasterkit::tools
