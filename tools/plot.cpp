#include "tools/plot.h"

#include "tools/failure.h"

#ifdef RASTERKIT_CAIRO

#include <cairo-svg.h>
#include <cairo.h>

#include <algorithm>
#include <cmath>
#include <memory>
#include <vector>

#include "tools/paths.h"
#include "tools/system.h"

namespace rasterkit::tools {
namespace {

constexpr double kWidth = 900, kHeight = 420, kLeft = 84, kRight = 20, kTop = 44, kBottom = 52;

struct Colour {
  double red, green, blue;
};
constexpr Colour kInk{0.2, 0.2, 0.24}, kGrid{0.88, 0.88, 0.9}, kCounts{0.72, 0.8, 0.9}, kCurve{0.1, 0.35, 0.7},
    kPeak{0.8, 0.15, 0.15}, kValley{0.1, 0.5, 0.25};

struct Destroy {
  void operator()(cairo_surface_t* surface) const { cairo_surface_destroy(surface); }
  void operator()(cairo_t* cairo) const { cairo_destroy(cairo); }
};

cairo_status_t append(void* bytes, const unsigned char* data, unsigned int n) {
  auto& out = *static_cast<std::vector<unsigned char>*>(bytes);
  out.insert(out.end(), data, data + n);
  return CAIRO_STATUS_SUCCESS;
}

// 1, 2 or 5 times a power of ten, so that about `parts` of them make the span.
double tickStep(double span, double parts) {
  const double rough = std::max(span, 1e-9) / parts, power = std::pow(10.0, std::floor(std::log10(rough)));
  for (const double factor : {1.0, 2.0, 5.0})
    if (factor * power >= rough) return factor * power;
  return 10 * power;
}

std::string shortNumber(double value) {
  const double magnitude = std::fabs(value);
  char text[32];
  if (magnitude >= 1e6)
    std::snprintf(text, sizeof text, "%gM", value / 1e6);
  else if (magnitude >= 1e4)
    std::snprintf(text, sizeof text, "%gk", value / 1e3);
  else
    std::snprintf(text, sizeof text, "%g", value);
  return text;
}

class Plot {
 public:
  Plot(cairo_t* cairo, double bins, double greatest) : cairo_(cairo), bins_(bins), greatest_(greatest) {
    cairo_set_source_rgb(cairo, 1, 1, 1);
    cairo_paint(cairo);
    cairo_select_font_face(cairo, "sans-serif", CAIRO_FONT_SLANT_NORMAL, CAIRO_FONT_WEIGHT_NORMAL);
  }

  // The middle of a bin, and the height of a count.
  double x(double bin) const { return kLeft + (bin + 0.5) / bins_ * (kWidth - kLeft - kRight); }
  double y(double count) const { return kHeight - kBottom - count / greatest_ * (kHeight - kTop - kBottom); }

  void colour(Colour c, double opacity = 1) { cairo_set_source_rgba(cairo_, c.red, c.green, c.blue, opacity); }

  // align: 0 begins at the place, 0.5 is centred, 1 ends there.
  void text(const std::string& words, double atX, double atY, double align, double size = 13) {
    cairo_set_font_size(cairo_, size);
    cairo_text_extents_t extents;
    cairo_text_extents(cairo_, words.c_str(), &extents);
    cairo_move_to(cairo_, atX - align * extents.x_advance, atY);
    cairo_show_text(cairo_, words.c_str());
  }

  void line(double x0, double y0, double x1, double y1) {
    cairo_move_to(cairo_, x0, y0);
    cairo_line_to(cairo_, x1, y1);
    cairo_stroke(cairo_);
  }

  void axes() {
    cairo_set_line_width(cairo_, 1);
    const double countStep = tickStep(greatest_, 5), binStep = std::max(tickStep(bins_, 8), 1.0);
    for (double count = 0; count <= greatest_; count += countStep) {
      colour(kGrid);
      line(kLeft, y(count), kWidth - kRight, y(count));
      colour(kInk);
      text(shortNumber(count), kLeft - 8, y(count) + 4, 1, 12);
    }
    colour(kInk);
    line(kLeft, y(0), kWidth - kRight, y(0));
    line(kLeft, y(0), kLeft, kTop);
    for (double bin = 0; bin < bins_; bin += binStep) {
      line(x(bin), y(0), x(bin), y(0) + 5);
      text(shortNumber(bin), x(bin), y(0) + 19, 0.5, 12);
    }
    text("value", (kLeft + kWidth - kRight) / 2, kHeight - 12, 0.5);
    cairo_save(cairo_);
    cairo_translate(cairo_, 22, (kTop + kHeight - kBottom) / 2);
    cairo_rotate(cairo_, -std::acos(0.0));
    text("samples", 0, 0, 0.5);
    cairo_restore(cairo_);
  }

  // Many bins fall on one column of the plot: its greatest count shows.
  void curve(const std::vector<int>& counts, bool filled) {
    const int columns = static_cast<int>(std::min(bins_, 2 * kWidth));
    cairo_new_path(cairo_);
    if (filled) cairo_move_to(cairo_, x(0), y(0));
    for (int column = 0; column < columns; ++column) {
      const auto from = static_cast<std::size_t>(bins_ * column / columns),
                 to = std::max(static_cast<std::size_t>(bins_ * (column + 1) / columns), from + 1);
      const int count = *std::max_element(counts.begin() + static_cast<std::ptrdiff_t>(from),
                                          counts.begin() + static_cast<std::ptrdiff_t>(to));
      cairo_line_to(cairo_, x(static_cast<double>(from)), y(std::min<double>(count, greatest_)));
    }
    if (filled) {
      cairo_line_to(cairo_, x(bins_ - 1), y(0));
      cairo_close_path(cairo_);
      cairo_fill(cairo_);
    } else {
      cairo_set_line_width(cairo_, 1.8);
      cairo_stroke(cairo_);
    }
  }

  enum class Mark { up, down, dot };
  void mark(const CPxHistogramDensity& at, Mark shape) { mark(x(at.position), y(at.density), shape); }
  void mark(double atX, double atY, Mark shape) {
    cairo_new_path(cairo_);
    if (shape == Mark::dot) {
      cairo_arc(cairo_, atX, atY, 5, 0, 4 * std::acos(0.0));
    } else {
      const double side = shape == Mark::up ? -1 : 1;  // above the curve or below it
      cairo_move_to(cairo_, atX, atY + side * 4);
      cairo_line_to(cairo_, atX - 5, atY + side * 13);
      cairo_line_to(cairo_, atX + 5, atY + side * 13);
      cairo_close_path(cairo_);
    }
    cairo_fill(cairo_);
  }

  void legend() {
    double at = kWidth - kRight - 470;
    const auto entry = [&](const char* words, Colour c, auto draw) {
      colour(c);
      draw(at);
      colour(kInk);
      text(words, at + 12, 30, 0, 12);
      at += 96;
    };
    const auto bar = [&](double height) {
      return [this, height](double left) {
        cairo_rectangle(cairo_, left - 8, 26 - height / 2, 16, height);
        cairo_fill(cairo_);
      };
    };
    entry("counts", kCounts, bar(10));
    entry("smoothed", kCurve, bar(2));
    entry("maxima", kPeak, [this](double left) { mark(left, 34, Mark::up); });
    entry("minima", kValley, [this](double left) { mark(left, 17, Mark::down); });
    entry("peaks", kPeak, [this](double left) { mark(left, 26, Mark::dot); });
  }

 private:
  cairo_t* cairo_;
  double bins_;
  double greatest_;
};

void draw(cairo_t* cairo, const catalogue::HistogramFindings& found, const std::string& title) {
  const auto greatest = [](const std::vector<int>& counts) { return *std::max_element(counts.begin(), counts.end()); };
  Plot plot(cairo, static_cast<double>(found.counts.size()),
            1.08 * std::max({greatest(found.counts), greatest(found.smoothed), 1}));
  plot.axes();
  plot.colour(kCounts);
  plot.curve(found.counts, true);
  plot.colour(kCurve);
  plot.curve(found.smoothed, false);
  plot.colour(kValley);
  for (const auto& record : found.minima) plot.mark(record, Plot::Mark::down);
  plot.colour(kPeak);
  for (const auto& record : found.maxima) plot.mark(record, Plot::Mark::up);
  for (const auto& record : found.peaks) plot.mark(record, Plot::Mark::dot);
  plot.colour(kInk);
  plot.text(title, kLeft, 30, 0, 14);
  plot.legend();
}

}  // namespace

void plotHistogram(const catalogue::HistogramFindings& found, const std::string& title,
                   const std::filesystem::path& path) {
  const bool isSvg = path.extension() == ".svg";
  if (!isSvg && path.extension() != ".png")
    throw Failure(ExitCode::usage, textOf(path) + ": plots are written as .svg or .png");
  std::vector<unsigned char> bytes;
  {
    const std::unique_ptr<cairo_surface_t, Destroy> surface(
        isSvg ? cairo_svg_surface_create_for_stream(append, &bytes, kWidth, kHeight)
              : cairo_image_surface_create(CAIRO_FORMAT_RGB24, static_cast<int>(kWidth), static_cast<int>(kHeight)));
    const std::unique_ptr<cairo_t, Destroy> cairo(cairo_create(surface.get()));
    draw(cairo.get(), found, title);
    cairo_surface_flush(surface.get());
    if (isSvg)
      cairo_surface_finish(surface.get());
    else
      cairo_surface_write_to_png_stream(surface.get(), append, &bytes);
    if (const auto status = cairo_surface_status(surface.get()); status != CAIRO_STATUS_SUCCESS && !isSvg)
      throw Failure(ExitCode::unexpected, textOf(path) + ": " + cairo_status_to_string(status));
  }
  replaceFile(path, bytes);
}

}  // namespace rasterkit::tools

#else

namespace rasterkit::tools {

void plotHistogram(const catalogue::HistogramFindings&, const std::string&, const std::filesystem::path&) {
  throw Failure(ExitCode::usage, "this program was built without Cairo and draws no plots");
}

}  // namespace rasterkit::tools

#endif
