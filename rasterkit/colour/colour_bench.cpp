#include <rasterkit/colour/colour.h>

#include <cmath>
#include <cstdint>

#include "bench/harness.h"

namespace rasterkit::bench {
namespace {

using Colour = CPxColorProcessing;

std::size_t bytes(const Image& image) { return static_cast<std::size_t>(image->bufferSize); }

#ifdef RASTERKIT_OPENCV
// The peer's float conversion takes and gives floats of 0 to 1.
auto toFloats(const Image& source, const Image& dst, int code) {
  return [in = mat(*source), real = cv::Mat(), out = mat(*dst), code]() mutable {
    in.convertTo(real, CV_32F, 1.0 / 255);
    cv::cvtColor(real, out, code);
  };
}
auto toBytes(const Image& source, const Image& dst, int code) {
  return [in = mat(*source), real = cv::Mat(), out = mat(*dst), code]() mutable {
    cv::cvtColor(in, real, code);
    real.convertTo(out, CV_8U, 255);
  };
}
auto converted(const Image& source, const Image& dst, int code) {
  return [in = mat(*source), out = mat(*dst), code]() mutable { cv::cvtColor(in, out, code); };
}
#endif

BENCH(colour_widths) {
  const auto rgb = image(CM_RGB, 8), rgba = image(CM_RGBA, 8), rgb16 = image(CM_RGB, 16), gray = image(CM_GRAY, 8),
             gray16 = image(CM_GRAY, 16), bitmap = image(CM_BITMAP, 8);
  bench.add({.name = "RGBtoRGBA",
             .ours = [=] { Colour::RGBtoRGBA(rgb.get(), rgba.get()); },
             .peer = PEER(converted(rgb, rgba, cv::COLOR_BGR2BGRA)),
             .copies = bytes(rgba)});
  bench.add({.name = "RGBAtoRGB",
             .ours = [=] { Colour::RGBAtoRGB(rgba.get(), rgb.get()); },
             .peer = PEER(converted(rgba, rgb, cv::COLOR_BGRA2BGR)),
             .copies = bytes(rgba)});
  bench.add({.name = "RGBtoRGB16",
             .ours = [=] { Colour::RGBtoRGB16(rgb.get(), rgb16.get()); },
             .peer = PEER([in = mat(*rgb), out = mat(*rgb16)]() mutable { in.convertTo(out, CV_16U, 256); }),
             .copies = bytes(rgb16)});
  bench.add({.name = "RGB16toRGB",
             .ours = [=] { Colour::RGB16toRGB(rgb16.get(), rgb.get()); },
             .peer = PEER([in = mat(*rgb16), out = mat(*rgb)]() mutable { in.convertTo(out, CV_8U, 1.0 / 256); }),
             .copies = bytes(rgb16)});
  bench.add({.name = "GraytoRGB",
             .ours = [=] { Colour::GraytoRGB(gray.get(), rgb.get(), 1, 1, 1); },
             .peer = PEER(converted(gray, rgb, cv::COLOR_GRAY2BGR)),
             .copies = bytes(rgb)});
  bench.add({.name = "Gray16toRGB",
             .ours = [=] { Colour::Gray16toRGB(gray16.get(), rgb.get(), 1, 1, 1); },
             .peer = PEER([in = mat(*gray16), bytes = cv::Mat(), out = mat(*rgb)]() mutable {
               in.convertTo(bytes, CV_8U, 1.0 / 256);
               cv::cvtColor(bytes, out, cv::COLOR_GRAY2BGR);
             }),
             .copies = bytes(rgb)});
  bench.add({.name = "Gray16toGray",
             .ours = [=] { Colour::Gray16toGray(gray16.get(), gray.get()); },
             .peer = PEER([in = mat(*gray16), out = mat(*gray)]() mutable { in.convertTo(out, CV_8U, 1.0 / 256); }),
             .copies = bytes(gray16)});
  bench.add({.name = "BitmaptoGray",
             .ours = [=] { Colour::BitmaptoGray(bitmap.get(), gray.get()); },
             .peer = PEER([in = mat(*bitmap), out = mat(*gray)]() mutable {
               cv::threshold(in, out, 0, 255, cv::THRESH_BINARY);
             }),
             .copies = bytes(gray)});
  bench.add({.name = "GraytoBitmap",
             .ours = [=] { Colour::GraytoBitmap(gray.get(), bitmap.get(), 128); },
             .peer = PEER([in = mat(*gray), out = mat(*bitmap)]() mutable {
               cv::threshold(in, out, 127, 1, cv::THRESH_BINARY);
             }),
             .copies = bytes(gray)});
  bench.add({.name = "BitmaptoRGB",
             .ours = [=] { Colour::BitmaptoRGB(bitmap.get(), rgb.get()); },
             .peer = PEER([in = mat(*bitmap), white = cv::Mat(), out = mat(*rgb)]() mutable {
               cv::threshold(in, white, 0, 255, cv::THRESH_BINARY);
               cv::cvtColor(white, out, cv::COLOR_GRAY2BGR);
             }),
             .copies = bytes(rgb)});
}

BENCH(colour_grey) {
  const auto rgb = image(CM_RGB, 8), gray = image(CM_GRAY, 8), gray16 = image(CM_GRAY, 16),
             bitmap = image(CM_BITMAP, 8);
  const auto weigh = [=] { Colour::RGBtoGray(rgb.get(), gray.get(), 0.299F, 0.587F, 0.114F); };
  bench.add({.name = "RGBtoGray",
             .ours = weigh,
             .peer = PEER([in = mat(*rgb), out = mat(*gray), weights = cv::Matx13f(0.114F, 0.587F, 0.299F)]() mutable {
               cv::transform(in, out, weights);
             }),
             .copies = bytes(rgb),
             .against = "transform"});
  bench.add({.name = "RGBtoGray",
             .ours = weigh,
             .peer = PEER(converted(rgb, gray, cv::COLOR_BGR2GRAY)),
             .copies = bytes(rgb),
             .against = "fixed weights"});
  bench.add({.name = "RGBtoGray, any weights",
             .ours = [=] { Colour::RGBtoGray(rgb.get(), gray.get(), 0.3F, 1.2F, -0.4F); },
             .copies = bytes(rgb)});
  bench.add({.name = "RGBtoGray16",
             .ours = [=] { Colour::RGBtoGray16(rgb.get(), gray16.get(), 0.299F, 0.587F, 0.114F); },
             .copies = bytes(rgb)});
  bench.add({.name = "RGBtoBitmap",
             .ours = [=] { Colour::RGBtoBitmap(rgb.get(), bitmap.get(), 128); },
             .peer = PEER([in = mat(*rgb), grey = cv::Mat(), out = mat(*bitmap)]() mutable {
               cv::cvtColor(in, grey, cv::COLOR_BGR2GRAY);
               cv::threshold(grey, out, 127, 1, cv::THRESH_BINARY);
             }),
             .copies = bytes(rgb)});
}

// The angle as a plain loop with the C library's functions has it.
void hueByAngle(const CPxImage& source, CPxImage& dst) {
  for (int y = 0; y < source.height; ++y) {
    const auto* in = static_cast<const std::uint8_t*>(source.Get2DBuffer()[y]);
    auto* out = static_cast<float*>(dst.Get2DBuffer()[y]);
    for (int x = 0; x < source.width; ++x, in += 3, out += 3) {
      const double unit = 0.00392156862745098, r = in[2] * unit, g = in[1] * unit, b = in[0] * unit;
      const double least = r < g ? r : g, most = r < g ? g : r;
      out[2] = static_cast<float>((most + least) * 0.5);
      out[0] = out[1] = 0;
      if (r == g && g == b) continue;
      out[1] = static_cast<float>(1 - least * 3 / (r + g + b));
      const auto cosine = static_cast<float>((r - g / 2 - b / 2) / std::sqrt((r - g) * (r - g) + (r - b) * (g - b)));
      out[0] = static_cast<float>(std::acos(static_cast<double>(cosine)));
    }
  }
}

BENCH(colour_spaces) {
  const auto rgb = image(CM_RGB, 8), hsi = image(CM_HSI, 32), hsv = image(CM_HSV, 32), hls = image(CM_HLS, 32),
             ycbcr = image(CM_YCbCr, 32), back = image(CM_RGB, 8);
  Colour::RGBtoHSI(rgb.get(), hsi.get());
  Colour::RGBtoHLS(rgb.get(), hls.get());
  Colour::RGBtoYCbCr(rgb.get(), ycbcr.get());
  bench.add({.name = "RGBtoHSI",
             .ours = [=] { Colour::RGBtoHSI(rgb.get(), hsi.get()); },
             .peer = PEER(toFloats(rgb, hsi, cv::COLOR_BGR2HLS)),
             .copies = bytes(hsi),
             .against = "HLS"});
  bench.add({.name = "RGBtoHLS",
             .ours = [=] { Colour::RGBtoHLS(rgb.get(), hls.get()); },
             .peer = PEER(toFloats(rgb, hls, cv::COLOR_BGR2HLS)),
             .copies = bytes(hls)});
  bench.add({.name = "RGBtoYCbCr",
             .ours = [=] { Colour::RGBtoYCbCr(rgb.get(), ycbcr.get()); },
             .peer = PEER(toFloats(rgb, ycbcr, cv::COLOR_BGR2YCrCb)),
             .copies = bytes(ycbcr)});
  bench.add({.name = "RGBtoHSV",
             .ours = [=] { Colour::RGBtoHSV(rgb.get(), hsv.get()); },
             .peer = [=] { hueByAngle(*rgb, *hsv); },
             .copies = bytes(hsv),
             .against = "a loop with acos"});
  const auto hsiPixels = std::make_shared<CPxImage>(*hsi), hlsPixels = std::make_shared<CPxImage>(*hls),
             ycbcrPixels = std::make_shared<CPxImage>(*ycbcr);
  bench.add({.name = "HSItoRGB",
             .ours = [=] { Colour::HSItoRGB(hsiPixels.get(), back.get()); },
             .peer = PEER(toBytes(hsiPixels, back, cv::COLOR_HLS2BGR)),
             .copies = bytes(hsi),
             .against = "HLS"});
  bench.add({.name = "HLStoRGB",
             .ours = [=] { Colour::HLStoRGB(hlsPixels.get(), back.get()); },
             .peer = PEER(toBytes(hlsPixels, back, cv::COLOR_HLS2BGR)),
             .copies = bytes(hls)});
  bench.add({.name = "YCbCrtoRGB",
             .ours = [=] { Colour::YCbCrtoRGB(ycbcrPixels.get(), back.get()); },
             .peer = PEER(toBytes(ycbcrPixels, back, cv::COLOR_YCrCb2BGR)),
             .copies = bytes(ycbcr)});
  bench.add({.name = "HSIAdjust", .ours = [=] { Colour(back.get()).HSIAdjust(0, 0, 0); }, .copies = bytes(back)});
}

BENCH(colour_replace) {
  const auto rgb = image(CM_RGB, 8), cmyk = image(CM_CMYK, 8), out = image(CM_RGB, 8);
  bench.add({.name = "Invert",
             .ours = [=] { Colour(rgb.get()).Invert(0); },
             .peer = PEER([in = mat(*rgb)]() mutable { cv::bitwise_not(in, in); }),
             .copies = bytes(rgb)});
  bench.add({.name = "Invert, one channel", .ours = [=] { Colour(rgb.get()).Invert(2); }, .copies = bytes(rgb)});
  bench.add({.name = "RGBtoCMYK",
             .ours = [=] { Colour::RGBtoCMYK(rgb.get(), cmyk.get()); },
             .peer = PEER([in = mat(*rgb), to = mat(*cmyk), rest = cv::Mat(), planes = std::vector<cv::Mat>(),
                           black = cv::Mat()]() mutable {
               cv::bitwise_not(in, rest);
               cv::split(rest, planes);
               cv::min(planes[0], planes[1], black);
               cv::min(black, planes[2], black);
               cv::merge(std::vector<cv::Mat>{planes[2] - black, planes[1] - black, planes[0] - black, black}, to);
             }),
             .copies = bytes(cmyk)});
  bench.add({.name = "CMYKtoRGB",
             .ours = [=] { Colour::CMYKtoRGB(cmyk.get(), out.get()); },
             .peer = PEER([in = mat(*cmyk), to = mat(*out), planes = std::vector<cv::Mat>()]() mutable {
               cv::split(in, planes);
               const cv::Mat rest = 255 - planes[3];
               cv::merge(std::vector<cv::Mat>{rest - planes[2], rest - planes[1], rest - planes[0]}, to);
             }),
             .copies = bytes(cmyk)});
  const auto rare = image(CM_RGB, 8), often = flatImage(CM_RGB, 8, 7);
  bench.add({.name = "ReplaceColor, rare",
             .ours =
                 [=] {
                   Colour(rare.get()).ReplaceColor({{100, 110, 120, 0}}, {{100, 110, 121, 0}});
                 },
             .peer = PEER([in = mat(*rare), mask = cv::Mat()]() mutable {
               cv::inRange(in, cv::Scalar(100, 110, 120), cv::Scalar(100, 110, 120), mask);
               in.setTo(cv::Scalar(100, 110, 121), mask);
             }),
             .copies = bytes(rare)});
  bench.add({.name = "ReplaceColor, everywhere",
             .ours =
                 [=] {
                   Colour(often.get()).ReplaceColor({{7, 7, 7, 0}}, {{7, 7, 7, 0}});
                 },
             .peer = PEER([in = mat(*often), mask = cv::Mat()]() mutable {
               cv::inRange(in, cv::Scalar(7, 7, 7), cv::Scalar(7, 7, 7), mask);
               in.setTo(cv::Scalar(7, 7, 7), mask);
             }),
             .copies = bytes(often)});
}

}  // namespace
}  // namespace rasterkit::bench
