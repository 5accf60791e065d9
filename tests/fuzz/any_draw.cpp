#include "tests/fuzz/any_draw.h"

#include <rasterkit/core/levels.h>

#include <cmath>
#include <cstring>
#include <set>

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

// What these make grows with their tables and their results more than with the image: at the same rate as the others
// they would take most of the time.
bool takesLong(const Operation& operation) {
  static const std::set<std::string> names = {"hist", "resize", "magnify", "gamma", "lines", "hough", "drawlines"};
  return names.contains(operation.name);
}

}  // namespace

const Operation& drawnOperation(test::Random& random) {
  const Operation* operation = nullptr;
  do operation = &operations()[static_cast<std::size_t>(random.between(0, static_cast<int>(operations().size()) - 1))];
  while (takesLong(*operation) && !random.oneIn(8));
  return *operation;
}

void keepUsualNaNs(const CPxImage& source, CPxImage& partner) {
  if (source.bitsPerSample <= 16 || partner.bitsPerSample > 16) return;
  auto* const bytes = static_cast<unsigned char*>(partner.GetBuffer());
  for (int i = 0; i + 4 <= partner.bufferSize; i += 4) {
    float number;
    std::memcpy(&number, bytes + i, sizeof number);
    if (std::isnan(number)) std::memset(bytes + i, 0, sizeof number);
  }
}

void useDrawnLevel(test::Random& random) {
  constexpr const char* kLevels[] = {"baseline", "v2", "v3", "v4", "best"};
  useLevel(kLevels[random.between(0, 4)]);
}

std::string brokenByAnyDraw(test::Random& random, const std::string& only) {
  const Operation* const operation = only.empty() ? &drawnOperation(random) : find(only);
  if (!operation) return "no operation " + only;

  const bool wide = random.oneIn(6);
  const int width = random.between(0, wide ? 150 : 12), height = random.between(0, wide ? 5 : 9);
  sweep::Draw draw =
      sweep::drawn(random, *operation, randomImage(random, drawnType(random, *operation), width, height));
  for (auto& [name, image] : draw.images) keepUsualNaNs(draw.source, image);
  const CPxImage before = random.oneIn(2) ? CPxImage() : randomImage(random, random.pick(test::pixelTypes()), 3, 2);

  useDrawnLevel(random);
  std::string broken = breaksTwin(*operation, draw, before);
  if (broken.empty() && random.oneIn(4)) broken = breaksSharing(*operation, draw, before);
  if (broken.empty() && random.oneIn(4)) broken = breaksTiling(*operation, draw, random);
  return broken.empty() ? "" : describe(*operation, draw) + "\n" + broken;
}

}  // namespace rasterkit::fuzz
