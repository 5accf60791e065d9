// libFuzzer target: draws of the catalogue, chosen by the input's bytes.

#include <cstdint>
#include <cstdio>
#include <cstdlib>

#include "tests/fuzz/any_draw.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t count) {
  rasterkit::test::Random random(bytes, count);
  int draws = 0;
  do {
    const std::string broken = rasterkit::fuzz::brokenByAnyDraw(random);
    if (!broken.empty()) {
      std::fprintf(stderr, "%s\n", broken.c_str());
      std::abort();
    }
  } while (random.hasBytes() && ++draws < 8);
  return 0;
}
