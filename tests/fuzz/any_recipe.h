#pragma once
/// One random recipe on a random image, against the slow twins taken one after the other.

#include <string>

#include "tests/support/random.h"

namespace rasterkit::fuzz {

/// Draws up to 8 steps, each of an operation that takes what the steps before it made, and runs them as the front ends
/// do. "" where the image and the reports are those of the twins and the recipe's text means the recipe, else the
/// recipe and what it broke.
std::string brokenByAnyRecipe(test::Random& random);

}  // namespace rasterkit::fuzz
