// The catalogue against the public headers: no operation is forgotten.

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <regex>
#include <set>

#include "catalogue/catalogue.h"
#include "tests/support/files.h"

namespace rasterkit::catalogue {
namespace {

// What is no operation on an image's pixels, and so has no entry.
const std::set<std::string> kNoOperations = {
    // Offered for the interface's sake: they change nothing and return a fixed value.
    "CPxThresholdProcessing::Partial",
    "CPxArithmeticProcessing::AND",
    "CPxArithmeticProcessing::NOT",
    "CPxArithmeticProcessing::XOR",
    "CPxAveraging::AveragingAccumulation",
    "CPxAveraging::AveragingMinMax",
    "CPxColorProcessing::HLSAdjust",
    "CPxColorProcessing::HSVAdjust",
    "CPxColorProcessing::HSVtoRGB",
    "CPxColorProcessing::LOGLAdjust",
    "CPxColorProcessing::LOGLUVAdjust",
    "CPxColorProcessing::LOGLUVtoRGB",
    "CPxColorProcessing::LOGLtoRGB",
    "CPxColorProcessing::LUVAdjust",
    "CPxColorProcessing::LUVtoRGB",
    "CPxColorProcessing::LabAdjust",
    "CPxColorProcessing::LabtoRGB",
    "CPxColorProcessing::RGBtoIndex",
    "CPxColorProcessing::RGBtoLOGL",
    "CPxColorProcessing::RGBtoLOGLUV",
    "CPxColorProcessing::RGBtoLUV",
    "CPxColorProcessing::RGBtoLab",
    "CPxColorProcessing::RGBtoXYZ",
    "CPxColorProcessing::RGBtoYIQ",
    "CPxColorProcessing::RGBtoYUV",
    "CPxColorProcessing::XYZAdjust",
    "CPxColorProcessing::XYZtoRGB",
    "CPxColorProcessing::YCbCrAdjust",
    "CPxColorProcessing::YIQAdjust",
    "CPxColorProcessing::YIQtoRGB",
    "CPxColorProcessing::YUVAdjust",
    "CPxColorProcessing::YUVtoRGB",
    "CPxContrastProcessing::AutoContrast",
    "CPxEdgeDetection::FeiChen",
    "CPxEdgeDetection::Laplacian3Minus",
    "CPxEdgeDetection::Laplacian3Prewitt",
    "CPxEdgeDetection::Laplacian3_4",
    "CPxEdgeDetection::Laplacian5",
    "CPxEdgeDetection::Laplacian9",
    "CPxEdgeDetection::MedianSquare2x2",
    "CPxEdgeDetection::PixelDifference",
    "CPxEdgeDetection::Roberts2",
    "CPxEdgeDetection::SeperatedPixelDifference",
    "CPxEdgeDetection::ShadowMask",
    "CPxMiscProcessing::PasteFromClipboard",
    // Steps of an operation that has an entry, or another way to it.
    "CPxAveraging::AveragingAverage",
    "CPxContrastProcessing::CreateVectorTable",
    "CPxContrastProcessing::SetCoefficient",
    "CPxGammaProcessing::CreateVectorTable",
    "CPxGammaProcessing::SetCoefficient",
    "CPxPointProcessing::GetLookupTableCount",
    "CPxFilter::SetFill",
    "CPxHoughTransform::Direct",
    "CPxHoughTransform::Inverse",
    // Exchange with the desktop, which is no matter of pixels alone.
    "CPxDIBConvert::ConvertFrom",
    "CPxDIBConvert::ConvertTo",
    "CPxDIBConvert::DeleteBitmapInfoHeaderMem",
    "CPxMiscProcessing::CopyToClipboard",
};

// "Class::Method" for every public method that returns int and takes part in image processing.
std::set<std::string> declaredMethods() {
  std::set<std::string> methods;
  const std::filesystem::path root = test::sourceFolder();
  const std::regex heading(R"(^class\s+(?:RASTERKIT_API\s+)?(C\w+)\s*:.*public\s+(CPx\w+).*\{)"),
      method(R"(^  (?:static )?int (\w+)\()");
  for (const auto& entry : std::filesystem::recursive_directory_iterator(root / "rasterkit")) {
    if (entry.path().extension() != ".h") continue;
    std::ifstream file(entry.path());
    std::string line, current;
    bool isPublic = false;
    std::smatch match;
    while (std::getline(file, line)) {
      if (!line.empty() && line.back() == '\r') line.pop_back();
      if (std::regex_search(line, match, heading))
        current = match[1], isPublic = false;
      else if (line.starts_with("class ") || line.starts_with("struct ") || line.starts_with("};"))
        current.clear();
      if (line == " public:") isPublic = true;
      if (line == " protected:" || line == " private:") isPublic = false;
      if (!current.empty() && isPublic && std::regex_search(line, match, method))
        methods.insert(current + "::" + match[1].str());
    }
  }
  return methods;
}

TEST(Catalogue, holdsEveryOperationOfThePublicHeaders) {
  std::set<std::string> known = kNoOperations;
  for (const Operation& operation : operations()) {
    known.insert(operation.method);
    known.insert(operation.alsoUses.begin(), operation.alsoUses.end());
  }
  const std::set<std::string> declared = declaredMethods();
  EXPECT_GT(declared.size(), 100U);
  for (const std::string& method : declared) EXPECT_TRUE(known.contains(method)) << method;
  for (const std::string& method : kNoOperations) EXPECT_TRUE(declared.contains(method)) << method;
}

}  // namespace
}  // namespace rasterkit::catalogue
