#include "tests/plain/analysis.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdlib>

namespace rasterkit::plain {
namespace {

int size(const std::vector<int>& list) { return static_cast<int>(list.size()); }

// Peaks and valleys in the order of a walk along the curve.
void scan(Analysis& analysis, bool circular) {
  const std::vector<int>& curve = analysis.smoothed;
  const int n = size(curve);
  analysis.maxima.clear();
  analysis.minima.clear();
  if (n <= 1) return;
  auto middle = [n](int start, int end) {
    if (start <= end) return start + (end - start) / 2;
    const int position = start + (n - start + end) / 2;
    return position >= n ? position - n : position;
  };
  auto known = [](const std::vector<Extremum>& list, int position) {
    return std::any_of(list.begin(), list.end(), [=](const Extremum& e) { return e.position == position; });
  };
  int slope = 0, plateau = -1, step = 1, i = 0, j = 1;
  for (;;) {
    const int d = curve[j] - curve[i];
    if (d < 0 && slope > 0) {
      const int position = middle(plateau, i);
      if (known(analysis.maxima, position)) return;
      analysis.maxima.push_back({position, curve[position]});
    }
    if (d > 0 && slope < 0) {
      const int position = middle(plateau, i);
      if (known(analysis.minima, position)) return;
      analysis.minima.push_back({position, curve[position]});
    }
    if (d != 0) plateau = j, slope = d;
    ++step, ++i, ++j;
    if (circular) {
      if (j == n) j = 0;
      if (i == n) i = 0;
      if (step == 2 * n) return;
    } else if (j == n) {
      return;
    }
  }
}

void link(std::vector<Extremum>& records, const std::vector<Extremum>& others, bool circular) {
  const int n = static_cast<int>(others.size());
  for (Extremum& record : records) {
    int first = 0, last = n - 1;
    while (first < n && others[first].position < record.position) ++first;
    while (last >= 0 && others[last].position > record.position) --last;
    int previous = first - 1, next = last + 1;
    if (previous < 0 && circular) previous = n - 1;
    if (next >= n && circular) next = n > 0 ? 0 : n;
    if (previous >= 0)
      record.previousPosition = others[previous].position, record.previousDensity = others[previous].density;
    if (next < n) record.nextPosition = others[next].position, record.nextDensity = others[next].density;
  }
}

void mergeInto(std::vector<Extremum>& groups, const Extremum& record, bool starts) {
  if (starts || groups.empty()) {
    groups.push_back(record);
    return;
  }
  Extremum& group = groups.back();
  if (group.density < record.density) group.position = record.position, group.density = record.density;
  group.nextPosition = record.nextPosition;
  group.nextDensity = record.nextDensity;
}

void reduce(Analysis& analysis, const std::vector<int>& raw, const Settings& settings) {
  std::vector<Extremum>& maxima = analysis.maxima;
  if (maxima.empty()) return;
  // Insertion, so that equal densities keep their order.
  for (std::size_t i = 1; i < maxima.size(); ++i)
    for (std::size_t j = i; j > 0 && maxima[j - 1].density < maxima[j].density; --j)
      std::swap(maxima[j - 1], maxima[j]);
  if (static_cast<int>(maxima.size()) <= settings.maxValidMaxima) {
    analysis.valid = maxima;
    return;
  }
  const int n = size(raw), minGap = static_cast<int>(n * settings.minIntervalRatio);
  for (std::size_t k = 0; k < maxima.size(); ++k) {
    bool starts = k == 0 && !settings.circular;
    if (!starts) {
      int distance = std::abs(maxima[k].position - maxima[k == 0 ? maxima.size() - 1 : k - 1].position);
      if (settings.circular) distance = std::min(distance, n - distance);
      starts = distance > minGap;
    }
    mergeInto(analysis.valid, maxima[k], starts);
  }
  int peak = 0, level = 5;
  for (const int count : raw) peak = std::max(peak, count);
  do {
    const int limit = static_cast<int>(++level * 0.001 * peak);
    std::vector<Extremum> groups;
    for (const Extremum& record : analysis.valid)
      mergeInto(groups, record, std::abs(record.previousDensity - record.density) > limit);
    analysis.valid = groups;
  } while (static_cast<int>(analysis.valid.size()) > settings.maxValidMaxima && peak > 0);
}

}  // namespace

std::vector<int> smoothed(const std::vector<int>& source, const std::vector<int>& destination, int passes,
                          int halfWidth, int from, int to) {
  const int n = size(source);
  if (passes <= 0) return source;
  if (halfWidth < 0) halfWidth = 0;
  if (from < 0) from = 0;
  if (to < 0 || to > n - 1) to = n - 1;
  std::vector<int> a = source, b = destination;
  for (int pass = 0; pass < passes; ++pass) {
    for (int i = from; i <= to; ++i) {
      std::uint32_t sum = 0;
      int count = 0;
      for (std::int64_t j = std::int64_t{i} - halfWidth; j <= std::int64_t{i} + halfWidth; ++j)
        if (j >= from && j <= to) sum += static_cast<std::uint32_t>(a[static_cast<std::size_t>(j)]), ++count;
      b[i] = static_cast<int>(sum) / count;
    }
    std::swap(a, b);
  }
  return a;
}

Analysis analysed(const std::vector<int>& raw, std::vector<int> smoothedCounts, const Settings& settings) {
  Analysis analysis;
  analysis.smoothed = std::move(smoothedCounts);
  scan(analysis, settings.circular);
  while (static_cast<int>(analysis.maxima.size()) > settings.maxRawMaxima) {
    analysis.smoothed = smoothed(analysis.smoothed, analysis.smoothed, 1, 2, -1, -1);
    scan(analysis, settings.circular);
  }
  link(analysis.maxima, analysis.minima, settings.circular);
  link(analysis.minima, analysis.maxima, settings.circular);
  reduce(analysis, raw, settings);
  return analysis;
}

}  // namespace rasterkit::plain
