// Prints the digests of every operation, for the record and for comparison: rasterkit_digests [LEVEL | plain].

#include <rasterkit/core/levels.h>

#include <cstdio>
#include <cstring>

#include "tests/golden/digests.h"
#include "tests/plain/twins.h"

int main(int argc, char** argv) {
  using namespace rasterkit;
  const char* const form = argc > 1 ? argv[1] : "best";
  const bool plainForm = std::strcmp(form, "plain") == 0;
  if (!plainForm && !useLevel(form)) {
    std::fprintf(stderr, "this machine or build has no level %s\n", form);
    return 3;
  }
  const auto list = golden::digests([&](const catalogue::Operation& operation) -> std::function<int(catalogue::Call&)> {
    const plain::Twin* const twin = plainForm ? plain::find(operation.name) : nullptr;
    if (twin) return *twin;
    return operation.run;
  });
  std::fputs(golden::format(list).c_str(), stdout);
  return 0;
}
