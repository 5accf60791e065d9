// Colour spaces: the transforms of images and pixels, and the adjustments.

#include <rasterkit/colour/colour.h>

#include "rasterkit/colour/conversion.h"
#include "rasterkit/colour/space_kernels.h"

namespace rasterkit {
namespace {

int toSpace(const CPxImage* source, CPxImage* dst, Predicate space, SpaceKernels::ToSpace SpaceKernels::*row) {
  if (!convertible(source, kColour, dst, {space})) return 0;
  const auto convert = kernels<SpaceKernels>().*row;
  const int channels = channelsOf(*source);
  return eachRow<std::uint8_t, float>(*source, *dst, [=](auto in, auto out, auto n) { convert(in, channels, out, n); });
}

int fromSpace(const CPxImage* source, Predicate space, CPxImage* dst, SpaceKernels::FromSpace SpaceKernels::*row) {
  if (!convertible(source, {space}, dst, kColour)) return 0;
  const auto convert = kernels<SpaceKernels>().*row;
  const int channels = channelsOf(*dst);
  return eachRow<float, std::uint8_t>(*source, *dst, [=](auto in, auto out, auto n) { convert(in, out, channels, n); });
}

}  // namespace
}  // namespace rasterkit

using namespace rasterkit;

void CPxColorProcessing::RGBtoHSI(unsigned char R, unsigned char G, unsigned char B, float& H, float& S, float& I) {
  const SpacePixel pixel = kernels<SpaceKernels>().hsiOf({B, G, R});
  H = pixel.sample[0];
  S = pixel.sample[1];
  I = pixel.sample[2];
}

void CPxColorProcessing::HSItoRGB(float H, float S, float I, unsigned char& R, unsigned char& G, unsigned char& B) {
  const ColourPixel pixel = kernels<SpaceKernels>().ofHsi(H, S, I);
  R = pixel.red;
  G = pixel.green;
  B = pixel.blue;
}

void CPxColorProcessing::RGBtoHSV(unsigned char R, unsigned char G, unsigned char B, float& H, float& S, float& V) {
  const SpacePixel pixel = kernels<SpaceKernels>().hsvOf({B, G, R});
  H = pixel.sample[0];
  S = pixel.sample[1];
  V = pixel.sample[2];
}

int CPxColorProcessing::RGBtoHSI(const CPxImage* source, CPxImage* dst) {
  return toSpace(source, dst, PXISHSI, &SpaceKernels::toHsi);
}
int CPxColorProcessing::HSItoRGB(const CPxImage* source, CPxImage* dst) {
  return fromSpace(source, PXISHSI, dst, &SpaceKernels::fromHsi);
}
int CPxColorProcessing::RGBtoHSV(const CPxImage* source, CPxImage* dst) {
  return toSpace(source, dst, PXISHSV, &SpaceKernels::toHsv);
}
int CPxColorProcessing::RGBtoHLS(const CPxImage* source, CPxImage* dst) {
  return toSpace(source, dst, PXISHLS, &SpaceKernels::toHls);
}
int CPxColorProcessing::HLStoRGB(const CPxImage* source, CPxImage* dst) {
  return fromSpace(source, PXISHLS, dst, &SpaceKernels::fromHls);
}
int CPxColorProcessing::RGBtoYCbCr(const CPxImage* source, CPxImage* dst) {
  return toSpace(source, dst, PXISYCbCr, &SpaceKernels::toYcbcr);
}
int CPxColorProcessing::YCbCrtoRGB(const CPxImage* source, CPxImage* dst) {
  return fromSpace(source, PXISYCbCr, dst, &SpaceKernels::fromYcbcr);
}

int CPxColorProcessing::HSVtoRGB(const CPxImage*, CPxImage*) { return 0; }
int CPxColorProcessing::RGBtoXYZ(const CPxImage*, CPxImage*) { return 0; }
int CPxColorProcessing::XYZtoRGB(const CPxImage*, CPxImage*) { return 0; }
int CPxColorProcessing::RGBtoYUV(const CPxImage*, CPxImage*) { return 0; }
int CPxColorProcessing::YUVtoRGB(const CPxImage*, CPxImage*) { return 0; }
int CPxColorProcessing::RGBtoYIQ(const CPxImage*, CPxImage*) { return 0; }
int CPxColorProcessing::YIQtoRGB(const CPxImage*, CPxImage*) { return 0; }
int CPxColorProcessing::RGBtoLUV(const CPxImage*, CPxImage*) { return 0; }
int CPxColorProcessing::LUVtoRGB(const CPxImage*, CPxImage*) { return 0; }
int CPxColorProcessing::RGBtoLab(const CPxImage*, CPxImage*) { return 0; }
int CPxColorProcessing::LabtoRGB(const CPxImage*, CPxImage*) { return 0; }
int CPxColorProcessing::RGBtoLOGL(const CPxImage*, CPxImage*) { return 0; }
int CPxColorProcessing::LOGLtoRGB(const CPxImage*, CPxImage*) { return 0; }
int CPxColorProcessing::RGBtoLOGLUV(const CPxImage*, CPxImage*) { return 0; }
int CPxColorProcessing::LOGLUVtoRGB(const CPxImage*, CPxImage*) { return 0; }

int CPxColorProcessing::HSIAdjust(float hue, float saturation, float intensity) {
  CPxImage* const image = GetImage();
  if (!isOneOf(image, kColour)) return 0;
  const auto adjust = kernels<SpaceKernels>().adjustHsi;
  const SpacePixel added = {{hue, saturation, intensity}};
  const int channels = channelsOf(*image);
  const View<std::uint8_t> rows = viewOf<std::uint8_t>(*image, channels);
  for (int y = 0; y < rows.height; ++y) adjust(rows.row(y), channels, added, static_cast<std::size_t>(rows.width));
  return 0;
}

int CPxColorProcessing::HLSAdjust(float, float, float) { return 1; }
int CPxColorProcessing::HSVAdjust(float, float, float) { return 1; }
int CPxColorProcessing::XYZAdjust(float, float, float) { return 1; }
int CPxColorProcessing::YUVAdjust(float, float, float) { return 1; }
int CPxColorProcessing::YIQAdjust(float, float, float) { return 1; }
int CPxColorProcessing::YCbCrAdjust(float, float, float) { return 1; }
int CPxColorProcessing::LUVAdjust(float, float, float) { return 1; }
int CPxColorProcessing::LabAdjust(float, float, float) { return 1; }
int CPxColorProcessing::LOGLUVAdjust(float, float, float) { return 1; }
int CPxColorProcessing::LOGLAdjust(float) { return 1; }
