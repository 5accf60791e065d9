#pragma once
/// One random draw of the whole catalogue, checked against every promise that holds for single calls.

#include <string>

#include "tests/support/random.h"

namespace rasterkit::fuzz {

/// Draws an operation, an image of odd kind and size, arguments and second images, and checks the result. "" where all
/// promises are kept, else the draw and what it broke. only: the one operation to draw from; empty: all.
std::string brokenByAnyDraw(test::Random& random, const std::string& only = "");

}  // namespace rasterkit::fuzz
