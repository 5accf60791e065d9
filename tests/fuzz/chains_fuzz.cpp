// libFuzzer target: recipes of several steps, chosen by the input's bytes.

#include <cstdint>
#include <cstdio>
#include <cstdlib>

#include "tests/fuzz/any_recipe.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t count) {
  rasterkit::test::Random random(bytes, count);
  const std::string broken = rasterkit::fuzz::brokenByAnyRecipe(random);
  if (!broken.empty()) {
    std::fprintf(stderr, "%s\n", broken.c_str());
    std::abort();
  }
  return 0;
}
