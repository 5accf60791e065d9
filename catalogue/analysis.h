#pragma once
/// What the analyses find, as values: for reports, plots and overlays.

#include <rasterkit/analysis/peaks.h>

#include <string>
#include <vector>

#include "catalogue/operation.h"

namespace rasterkit::catalogue {

struct HistogramFindings {
  std::vector<int> counts, smoothed;
  std::vector<CPxHistogramDensity> maxima, minima;
  std::vector<CPxHistogramDensity> peaks;  ///< the maxima that remain, most prominent first
};

/// Of the call's source, with the parameters of the operation `hist`. False for an image or channel without a
/// histogram.
bool findPeaks(Call& call, HistogramFindings& found);
std::string toJson(const HistogramFindings& found);

struct FoundLine {
  double angle = 0;      ///< of the normal, in degrees, from -90
  double distance = 0;   ///< in pixels from the corner before the first column of the bottom row
  CPoint first, second;  ///< ends on the image's border, row 0 at the top
  DWORD votes = 0;
  int theta = 0, rho = 0;  ///< the accumulator's cell
};

/// Of the call's source; the most prominent angle first. False for an image without votes.
bool findLines(Call& call, std::vector<FoundLine>& found);
std::string toJson(const std::vector<FoundLine>& found);

}  // namespace rasterkit::catalogue
