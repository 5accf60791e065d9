#include "tests/fuzz/any_draw.h"

#include <rasterkit/core/levels.h>

#include "catalogue/catalogue.h"
#include "tests/sweep/promises.h"

namespace rasterkit::fuzz {
namespace {

using namespace catalogue;

// Half the time a type that the operation takes; now and then one that hardly any does.
test::PixelType drawnType(test::Random& random, const Operation& operation) {
  if (random.oneIn(24)) return {static_cast<COLOR_MODEL>(random.between(0, 22)), random.between(0, 40)};
  const auto types = sweep::typesFor(operation);
  for (int attempt = 0; attempt < 6; ++attempt) {
    const test::PixelType type = random.pick(types);
    const CPxImage image(type.model, type.bits, 1, 1);
    if (operation.refusal(image).empty()) return type;
  }
  return random.pick(types);
}

}  // namespace

std::string brokenByAnyDraw(test::Random& random, const std::string& only) {
  const Operation* const operation =
      only.empty()
          ? &operations()[static_cast<std::size_t>(random.between(0, static_cast<int>(operations().size()) - 1))]
          : find(only);
  if (!operation) return "no operation " + only;

  const bool wide = random.oneIn(6);
  const int width = random.between(0, wide ? 150 : 12), height = random.between(0, wide ? 5 : 9);
  const sweep::Draw draw =
      sweep::drawn(random, *operation, randomImage(random, drawnType(random, *operation), width, height));
  const CPxImage before = random.oneIn(2) ? CPxImage() : randomImage(random, random.pick(test::pixelTypes()), 3, 2);

  constexpr const char* kLevels[] = {"baseline", "v2", "v3", "v4", "best"};
  useLevel(kLevels[random.between(0, 4)]);
  std::string broken = breaksTwin(*operation, draw, before);
  if (broken.empty() && random.oneIn(4)) broken = breaksSharing(*operation, draw, before);
  if (broken.empty() && random.oneIn(4)) broken = breaksTiling(*operation, draw, random);
  return broken.empty() ? "" : describe(*operation, draw) + "\n" + broken;
}

}  // namespace rasterkit::fuzz
