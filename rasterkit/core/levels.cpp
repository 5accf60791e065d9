#include <rasterkit/core/levels.h>

#include "rasterkit/core/kernels.h"
#include "rasterkit/core/processor.h"

#include <atomic>
#include <string_view>

namespace rasterkit {
namespace {

#define RASTERKIT_LEVEL_NAME(level) #level,
constexpr const char* kBuilt[] = {RASTERKIT_EACH_LEVEL(RASTERKIT_LEVEL_NAME)};
#undef RASTERKIT_LEVEL_NAME
constexpr int kBuiltCount = static_cast<int>(sizeof kBuilt / sizeof kBuilt[0]);

int bestLevel() {
  int best = 0;
  for (int level = 1; level < kBuiltCount; ++level)
    if (processorRuns(kBuilt[level])) best = level;
  return best;
}

struct Serving {
  std::atomic<int> level;
  // Beside it, the compilations for single features.
  std::atomic<bool> permutes;
  std::atomic<bool> products;
};

bool hasPermutes() { return processorRuns("v4") && processorRuns("vbmi"); }
bool hasProducts() { return processorRuns("v4") && processorRuns("vnni"); }

Serving& serving() {
  static Serving now{bestLevel(), hasPermutes(), hasProducts()};
  return now;
}

void serve(int level, bool best) {
  serving().level = level;
  serving().permutes = best && hasPermutes();
  serving().products = best && hasProducts();
}

}  // namespace

int servingLevel() { return serving().level.load(std::memory_order_relaxed); }

bool servesBytePermutes() { return serving().permutes.load(std::memory_order_relaxed); }

bool servesByteProducts() { return serving().products.load(std::memory_order_relaxed); }

bool useLevel(const char* name) {
  if (!name) return false;
  if (std::string_view(name) == "best") {
    serve(bestLevel(), true);
    return true;
  }
  for (int level = 0; level < kBuiltCount; ++level) {
    if (std::string_view(name) != kBuilt[level] || !processorRuns(kBuilt[level])) continue;
    serve(level, false);
    return true;
  }
  return false;
}

}  // namespace rasterkit
