// CMYK, and the dispatchers that take any model.

#include <rasterkit/colour/colour.h>

#include "rasterkit/colour/conversion.h"

using namespace rasterkit;

int CPxColorProcessing::RGBtoCMYK(const CPxImage* source, CPxImage* dst) {
  if (!convertible(source, kColour, dst, {PXISCMYK})) return 0;
  const auto toCmyk = kernels<ColourKernels>().toCmyk;
  const int channels = channelsOf(*source);
  return eachRow<std::uint8_t, std::uint8_t>(*source, *dst,
                                             [=](auto in, auto out, auto n) { toCmyk(in, channels, out, n); });
}

int CPxColorProcessing::CMYKtoRGB(const CPxImage* source, CPxImage* dst) {
  if (!convertible(source, {PXISCMYK}, dst, kColour)) return 0;
  const auto fromCmyk = kernels<ColourKernels>().fromCmyk;
  const int channels = channelsOf(*dst);
  return eachRow<std::uint8_t, std::uint8_t>(*source, *dst,
                                             [=](auto in, auto out, auto n) { fromCmyk(in, out, channels, n); });
}

namespace {

// The conversion of a model but RGB and RGBA, which the dispatchers treat differently.
int convertOther(const CPxImage* source, CPxImage* dst) {
  using Colour = CPxColorProcessing;
  switch (source->colorModel) {
    case CM_BITMAP: return Colour::BitmaptoRGB(source, dst);
    case CM_GRAY:
    case CM_GRAYA:
      return source->bitsPerSample <= 8    ? Colour::GraytoRGB(source, dst, 1, 1, 1)
             : source->bitsPerSample <= 16 ? Colour::Gray16toRGB(source, dst, 1, 1, 1)
                                           : 0;
    case CM_LOGL: return source->bitsPerSample <= 16 ? Colour::LOGLtoRGB(source, dst) : 0;
    case CM_INDEX: return Colour::IndextoRGB(source, dst);
    case CM_CMYK: return Colour::CMYKtoRGB(source, dst);
    case CM_HSI: return Colour::HSItoRGB(source, dst);
    case CM_HSV: return Colour::HSVtoRGB(source, dst);
    case CM_HLS: return Colour::HLStoRGB(source, dst);
    case CM_XYZ: return Colour::XYZtoRGB(source, dst);
    case CM_YUV: return Colour::YUVtoRGB(source, dst);
    case CM_YIQ: return Colour::YIQtoRGB(source, dst);
    case CM_YCbCr: return Colour::YCbCrtoRGB(source, dst);
    case CM_LUV: return Colour::LUVtoRGB(source, dst);
    case CM_Lab: return Colour::LabtoRGB(source, dst);
    case CM_LOGLUV: return Colour::LOGLUVtoRGB(source, dst);
    default: return 0;
  }
}

// Assigned, but not converted.
int assign(const CPxImage& source, CPxImage& dst) {
  dst = source;
  return 0;
}

}  // namespace

int CPxColorProcessing::ConverttoRGB(const CPxImage* source, CPxImage* dst) {
  if (!source || !Storage::holdsItsPixels(*source) || !isOneOf(dst, {PXISRGB})) return 0;
  const int bits = source->bitsPerSample;
  if (source->colorModel == CM_RGB)
    return bits < 8 ? RGB2BtoRGB(source, dst) : bits == 8 ? assign(*source, *dst) : RGB16toRGB(source, dst);
  if (source->colorModel == CM_RGBA) return bits < 8 ? RGB2BtoRGB(source, dst) : RGBAtoRGB(source, dst);
  return convertOther(source, dst);
}

int CPxColorProcessing::ConverttoRGBA(const CPxImage* source, CPxImage* dst) {
  if (!source || !Storage::holdsItsPixels(*source) || !isOneOf(dst, {PXISRGBA})) return 0;
  const int bits = source->bitsPerSample;
  if (source->colorModel == CM_RGB || source->colorModel == CM_RGBA) {
    if (bits < 8) return RGB2BtoRGB(source, dst);
    if (bits > 8) return RGB16toRGB(source, dst);
    return source->colorModel == CM_RGB ? RGBtoRGBA(source, dst) : assign(*source, *dst);
  }
  return convertOther(source, dst);
}
