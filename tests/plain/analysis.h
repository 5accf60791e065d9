#pragma once
/// The slow forms of histogram analysis, line voting and line detection, for tests that need more than a catalogue
/// entry's result.

#include <rasterkit/core/image.h>

#include <cstdint>
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

/// Votes for lines: counters[angle][cell].
struct Votes {
  int cells = 0;
  double rhoMaximum = 0, rhoStep = 0, rhoScale = 0;
  std::vector<double> sines, cosines;
  std::vector<std::vector<std::uint32_t>> counters;
};
Votes votes(const CPxImage& image);

struct Line {
  int theta = 0;
  std::uint32_t rho = 0;
  int x1 = 0, y1 = 0, x2 = 0, y2 = 0;
  friend bool operator==(const Line&, const Line&) = default;
};

/// The lines in the order of their records, and their picture.
struct Lines {
  std::vector<int> angles;
  std::vector<Line> lines;
  CPxImage drawn;
};
Lines detected(const CPxImage& image);

}  // namespace rasterkit::plain
