#include "tests/plain/analysis.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <string>

#include "tests/plain/twins.h"

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

// What a conversion to a 32-bit integer gives outside its range.
int truncated(double value) {
  return value > -2147483649.0 && value < 2147483648.0 ? static_cast<int>(value) : std::numeric_limits<int>::min();
}
int difference(int a, int b) { return static_cast<int>(static_cast<unsigned>(a) - static_cast<unsigned>(b)); }

std::vector<int> peaksOf(const std::vector<int>& counts, bool circular, double ratio, int most) {
  Settings settings{circular, ratio, 6, most};
  const Analysis analysis = analysed(counts, smoothed(counts, counts, 10, 2, -1, -1), settings);
  std::vector<int> positions;
  for (const Extremum& peak : analysis.valid) positions.push_back(peak.position);
  return positions;
}

void draw(CPxImage& out, const Votes& v, const Line& line, std::uint32_t counter, std::uint32_t greatest) {
  if (counter < 128) return;
  const auto grey = static_cast<unsigned char>(truncated(static_cast<double>(counter) / greatest * 255) & 0xFF);
  const double co = v.cosines[line.theta], si = v.sines[line.theta], rho = line.rho * v.rhoStep - v.rhoMaximum;
  const int width = out.width, height = out.height;
  if (std::fabs(co) <= 0.5)
    for (int x = 0; x < width; ++x)
      out.SetPixel(x, std::clamp(difference(height - 1, truncated((rho - x * co) * (1 / si))), 0, height - 1), grey);
  else
    for (int row = 0; row < height; ++row)
      out.SetPixel(std::clamp(truncated((rho - (height - 1 - row) * si) * (1 / co)), 0, width - 1), row, grey);
}

void clip(Line& line, const Votes& v, int width, int height) {
  const double co = v.cosines[line.theta], si = v.sines[line.theta], rho = line.rho * v.rhoStep - v.rhoMaximum;
  int x1, y1, x2, y2;
  if (std::fabs(co) == 1.0) {
    x1 = truncated((rho - (height - 1) * si) * (1 / co)), y1 = height - 1;
    x2 = truncated((rho - 0 * si) * (1 / co)), y2 = 0;
    const int across = truncated((rho - (width - 1) * co) / si);
    if (x1 < 0)
      x1 = 0, y1 = truncated(rho / si);
    else if (x1 > width - 1)
      x1 = width - 1, y1 = across;
    if (x2 < 0)
      x2 = 0, y2 = truncated(rho / si);
    else if (x1 >= width - 1)
      x2 = width - 1, y2 = across;
  } else {
    x1 = 0, y1 = truncated(rho * (1 / si));
    x2 = width - 1, y2 = truncated((rho - (width - 1) * co) * (1 / si));
    const int above = truncated((rho - (height - 1) * si) / co), below = truncated(rho / co);
    if (y1 > height - 1)
      y1 = height - 1, x1 = above;
    else if (y1 < 0)
      y1 = 0, x1 = below;
    if (y2 > height - 1)
      y2 = height - 1, x2 = above;
    else if (y2 < 0)
      y2 = 0, x2 = below;
  }
  line.x1 = x1, line.y1 = difference(height - 1, y1);
  line.x2 = x2, line.y2 = difference(height - 1, y2);
}

}  // namespace

Votes votes(const CPxImage& image) {
  Votes v;
  const int w = image.width, h = image.height;
  v.rhoMaximum = std::sqrt(w * w + h * h);
  v.cells = static_cast<int>(v.rhoMaximum - -v.rhoMaximum);
  v.rhoScale = v.cells / (v.rhoMaximum - -v.rhoMaximum);
  v.rhoStep = (v.rhoMaximum - -v.rhoMaximum) / v.cells;
  const double halfPi = 1.5707963267948966, step = (halfPi - -halfPi) * 0.002777777777777778;
  double angle = -halfPi;
  for (int t = 0; t < 360; ++t, angle += step) {
    // In extended precision, then rounded once.
    v.sines.push_back(static_cast<double>(std::sin(static_cast<long double>(angle))));
    v.cosines.push_back(static_cast<double>(std::cos(static_cast<long double>(angle))));
  }
  if (v.cells < 1) {
    v.cells = 0;
    return v;
  }
  v.counters.assign(360, std::vector<std::uint32_t>(static_cast<std::size_t>(v.cells)));
  for (int row = 0; row < h; ++row) {
    const auto* const bytes = static_cast<const unsigned char*>(image.Get2DBuffer()[row]);
    for (int column = 0; column < w; ++column) {
      const double x = column + 1, y = h - 1 - row;
      for (int t = 0; t < 360; ++t) {
        const double p = (y * v.sines[t] + x * v.cosines[t]) * v.rhoScale + v.cells / 2;
        if (p >= 0 && p < v.cells) v.counters[t][static_cast<std::size_t>(p)] += bytes[column];
      }
    }
  }
  return v;
}

Lines detected(const CPxImage& image) {
  const Votes v = votes(image);
  Lines found;
  found.drawn.Create(CM_GRAY, 8, image.width, image.height);
  if (v.cells == 0) return found;

  std::uint32_t greatest = 0;
  for (const auto& row : v.counters)
    for (const std::uint32_t counter : row) greatest = std::max(greatest, counter);
  const auto angleLimit = static_cast<std::uint32_t>(0.6 * greatest);
  std::vector<int> byAngle(360);
  for (int t = 0; t < 360; ++t)
    for (const std::uint32_t counter : v.counters[t])
      if (counter > angleLimit) byAngle[t] += static_cast<int>(counter);

  std::uint32_t greatestPeak = 0;
  for (const int t : peaksOf(byAngle, true, 0.05, 2)) {
    std::uint32_t column = 0;
    for (int other = 0; other < 360; ++other)
      if (t < v.cells) column = std::max(column, v.counters[other][t]);
    const auto limit = static_cast<std::uint32_t>(0.3 * column);
    std::vector<int> byDistance(v.cells);
    for (int r = 0; r < v.cells; ++r)
      if (v.counters[t][r] > limit) byDistance[r] += static_cast<int>(v.counters[t][r]);
    found.angles.push_back(t);
    for (const int r : peaksOf(byDistance, false, 0.002, std::numeric_limits<int>::max())) {
      Line line{t, static_cast<std::uint32_t>(r)};
      clip(line, v, image.width, image.height);
      found.lines.push_back(line);
      greatestPeak = std::max(greatestPeak, v.counters[t][r]);
    }
  }
  for (int t = 0; t < 360; ++t)
    for (int r = 0; r < v.cells; ++r)
      for (const Line& line : found.lines)
        if (line.theta == t && line.rho == static_cast<std::uint32_t>(r))
          draw(found.drawn, v, line, v.counters[t][r], greatestPeak);
  return found;
}

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

namespace {

// The catalogue's operations ------------------------------------------------------------------------------------------

using catalogue::Call;
using test::sampleAt;
using test::setSample;

std::string joined(const std::vector<std::string>& items) {
  std::string out;
  for (const std::string& item : items) out += (out.empty() ? "" : ", ") + item;
  return "[" + out + "]";
}

std::string toJson(const std::vector<int>& numbers) {
  std::vector<std::string> items;
  for (const int number : numbers) items.push_back(std::to_string(number));
  return joined(items);
}

std::string toJson(const std::vector<Extremum>& list) {
  auto place = [](int position) { return position == -1 ? std::string("null") : std::to_string(position); };
  std::vector<std::string> items;
  for (const Extremum& e : list)
    items.push_back("{\"position\": " + place(e.position) + ", \"density\": " + std::to_string(e.density) +
                    ", \"previous\": " + place(e.previousPosition) + ", \"next\": " + place(e.nextPosition) + "}");
  return joined(items);
}

int hist(Call& c) {
  const CPxImage& image = c.source();
  const int channel = image.channels == 1 ? 0 : c.integer("channel");
  if (!image.IsCreated() || channel < 0 || channel >= image.channels || image.bitsPerSample > 16) return 0;
  std::vector<int> raw(std::size_t{1} << image.channelBits[channel]);
  int samples = 0;
  for (int y = 0; y < image.height; ++y) {
    for (int x = 0; x < image.width; ++x) {
      const auto value = static_cast<std::size_t>(sampleAt(image, x, y, channel));
      if (value < raw.size()) ++raw[value], ++samples;
    }
  }
  const Settings settings{c.integer("axis") != 0, c.real("interval"), std::max(c.integer("raw"), 1),
                          std::max(c.integer("peaks"), 1)};
  const Analysis a = analysed(raw, smoothed(raw, raw, c.integer("passes"), c.integer("half"), -1, -1), settings);
  c.report = "{\"bins\": " + std::to_string(raw.size()) + ", \"samples\": " + std::to_string(samples) +
             ", \"counts\": " + toJson(raw) + ", \"smoothed\": " + toJson(a.smoothed) +
             ", \"maxima\": " + toJson(a.maxima) + ", \"minima\": " + toJson(a.minima) +
             ", \"peaks\": " + toJson(a.valid) + "}";
  return 1;
}

int lines(Call& c) {
  const CPxImage& image = c.source();
  if (!image.IsCreated()) return 0;
  const Votes v = votes(image);
  std::vector<std::string> items;
  for (const Line& line : detected(image).lines) {
    char text[200];
    std::snprintf(text, sizeof text,
                  "{\"angle\": %.6g, \"distance\": %.6g, \"first\": [%d, %d], \"second\": [%d, %d], \"votes\": %u, "
                  "\"theta\": %d, \"rho\": %u}",
                  -90 + line.theta / 2.0, line.rho * v.rhoStep - v.rhoMaximum, line.x1, line.y1, line.x2, line.y2,
                  v.counters[line.theta][line.rho], line.theta, line.rho);
    items.push_back(text);
  }
  c.report = "{\"lines\": " + joined(items) + "}";
  return 1;
}

int drawlines(Call& c) {
  if (!c.source().IsCreated()) return 0;
  c.dst() = detected(c.source()).drawn;
  return 1;
}

int hough(Call& c) {
  if (!c.source().IsCreated()) return 0;
  const Votes v = votes(c.source());
  std::uint32_t greatest = 0;
  for (const auto& row : v.counters)
    for (const std::uint32_t counter : row) greatest = std::max(greatest, counter);
  c.dst().Create(CM_GRAY, 8, v.cells, static_cast<int>(v.counters.size()));
  for (int t = 0; t < c.dst().height && greatest > 0; ++t)
    for (int r = 0; r < v.cells; ++r)
      setSample(c.dst(), r, t, 0,
                truncated(static_cast<double>(v.counters[t][static_cast<std::size_t>(r)]) / greatest * 255));
  return 1;
}

// The mean of a channel: integers summed exactly, floats in single precision.
double mean(const CPxImage& blank, int channel) {
  std::int64_t sum = 0;
  float single = 0;
  const bool isFloat = blank.bitsPerSample > 16;
  for (int y = 0; y < blank.height; ++y)
    for (int x = 0; x < blank.width; ++x)
      if (isFloat)
        single += static_cast<float>(sampleAt(blank, x, y, channel));
      else
        sum += static_cast<std::int64_t>(sampleAt(blank, x, y, channel));
  const double count = static_cast<double>(blank.width) * blank.height;
  return static_cast<float>((isFloat ? static_cast<double>(single) : static_cast<double>(sum)) / count);
}

int shade(Call& c) {
  CPxImage& image = c.dst();
  const CPxImage& blank = c.image("blank");
  const int channels = image.channels, most = image.bitsPerSample <= 8 ? 255 : 65535;
  if (!image.IsCreated() || !blank.IsCreated() || image.width != blank.width || image.height != blank.height) return 0;
  if (image.bitsPerSample > 16 || channels == 2) return 1;
  if (test::pixelBytes(image) != test::pixelBytes(blank)) return 0;

  std::int64_t level[3] = {};
  for (int k = 0; k < 3; ++k) level[k] = std::min(truncated((k < blank.channels ? mean(blank, k) : 0) + 0.5), most);
  for (int y = 0; y < image.height; ++y) {
    for (int x = 0; x < image.width; ++x) {
      for (int k = 0; k < std::min(channels, 3); ++k) {
        // The blank's row, read as samples of the image's type.
        const auto* const row = static_cast<const unsigned char*>(blank.Get2DBuffer()[y]);
        const int at = x * channels + k;
        std::int64_t b = row[at];
        if (most > 255) {
          std::uint16_t word;
          std::memcpy(&word, row + 2 * at, 2);
          b = word;
        }
        const auto s = static_cast<std::int64_t>(sampleAt(image, x, y, k));
        const std::int64_t m = level[k], product = static_cast<int>(static_cast<unsigned>(b * s));
        const bool usual = channels == 3 && most == 255;
        const std::int64_t dividend = channels == 1 ? product : usual ? m * s : m;
        const std::int64_t divisor = channels == 1 ? m : usual ? b : product;
        if (s != 0 && divisor != 0)
          setSample(image, x, y, k, static_cast<double>(std::min<std::int64_t>(dividend / divisor, most) & 0xFF));
      }
    }
  }
  return 1;
}

}  // namespace

Twins analysisTwins() {
  return {{"hist", hist}, {"lines", lines}, {"drawlines", drawlines}, {"hough", hough}, {"shade", shade}};
}

}  // namespace rasterkit::plain
