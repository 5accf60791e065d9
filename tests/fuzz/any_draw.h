#pragma once
/// One random draw of the whole catalogue, checked against every promise that holds for single calls.

#include <string>

#include "catalogue/operation.h"
#include "tests/support/random.h"

namespace rasterkit::fuzz {

/// Draws an operation, an image of odd kind and size, arguments and second images, and checks the result. "" where all
/// promises are kept, else the draw and what it broke. only: the one operation to draw from; empty: all.
std::string brokenByAnyDraw(test::Random& random, const std::string& only = "");

/// Any operation; those that take long by their nature come up less often.
const catalogue::Operation& drawnOperation(test::Random& random);
/// Bytes of a second image that would be NaNs of any kind where it is read as the float image that the source is: which
/// of two survives an addition is the compiler's choice. They become 0.
void keepUsualNaNs(const CPxImage& source, CPxImage& partner);
/// Lets the kernels of any processor level serve.
void useDrawnLevel(test::Random& random);

}  // namespace rasterkit::fuzz
