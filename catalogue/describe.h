#pragma once
/// Images in words, for messages and listings.

#include <rasterkit/core/image.h>

#include <string>

namespace rasterkit::catalogue {

/// "grey", "RGB with alpha", "palette", ...
std::string modelName(COLOR_MODEL model);
/// "8-bit", "16-bit" or "float"; the bits themselves where they are fewer or more.
std::string sampleName(const CPxImage& image);
/// "320 x 200, RGB, 8-bit".
std::string describe(const CPxImage& image);

}  // namespace rasterkit::catalogue
