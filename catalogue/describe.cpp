#include "catalogue/describe.h"

namespace rasterkit::catalogue {

std::string modelName(COLOR_MODEL model) {
  switch (model) {
    case CM_BITMAP: return "bitmap";
    case CM_GRAY: return "grey";
    case CM_LOGL: return "LogL";
    case CM_INDEX: return "palette";
    case CM_GRAYA: return "grey with alpha";
    case CM_RGB: return "RGB";
    case CM_RGBA: return "RGB with alpha";
    case CM_CMYK: return "CMYK";
    case CM_HSI: return "HSI";
    case CM_HSV: return "HSV";
    case CM_HLS: return "HLS";
    case CM_XYZ: return "XYZ";
    case CM_YUV: return "YUV";
    case CM_YIQ: return "YIQ";
    case CM_YCbCr: return "YCbCr";
    case CM_LUV: return "LUV";
    case CM_Lab: return "Lab";
    case CM_LOGLUV: return "LogLUV";
  }
  return "unknown";
}

std::string sampleName(const CPxImage& image) {
  return image.bitsPerSample > 16 && image.bitsPerSample <= 32 ? "float" : std::to_string(image.bitsPerSample) + "-bit";
}

std::string describe(const CPxImage& image) {
  return std::to_string(image.width) + " x " + std::to_string(image.height) + ", " + modelName(image.colorModel) +
         ", " + sampleName(image);
}

}  // namespace rasterkit::catalogue
