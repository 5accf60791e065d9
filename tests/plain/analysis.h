#pragma once
/// The slow forms of histogram analysis, line voting and line detection, for tests that need more than a catalogue
/// entry's result.

#include <vector>

namespace rasterkit::plain {

/// `destination` after so many passes of box smoothing from `source`: two buffers that take turns.
std::vector<int> smoothed(const std::vector<int>& source, const std::vector<int>& destination, int passes,
                          int halfWidth, int from, int to);

struct Extremum {
  int position = -1, density = -1;
  int previousPosition = -1, previousDensity = -1;
  int nextPosition = -1, nextDensity = -1;
  friend bool operator==(const Extremum&, const Extremum&) = default;
};

struct Analysis {
  std::vector<int> smoothed;
  std::vector<Extremum> maxima, minima, valid;
};

struct Settings {
  bool circular = false;
  double minIntervalRatio = 0.1;
  int maxRawMaxima = 6;
  int maxValidMaxima = 2;
};

/// Peaks and valleys of counts whose smoothed form is given.
Analysis analysed(const std::vector<int>& raw, std::vector<int> smoothedCounts, const Settings& settings);

}  // namespace rasterkit::plain
