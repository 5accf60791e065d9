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

std::atomic<int>& serving() {
  static std::atomic<int> level{bestLevel()};
  return level;
}

}  // namespace

int servingLevel() { return serving().load(std::memory_order_relaxed); }

bool servesBytePermutes() {
  static const bool has = processorRuns("v4") && processorRuns("vbmi");
  return has && std::string_view(kBuilt[servingLevel()]) == "v4";
}

bool useLevel(const char* name) {
  if (!name) return false;
  if (std::string_view(name) == "best") {
    serving() = bestLevel();
    return true;
  }
  for (int level = 0; level < kBuiltCount; ++level) {
    if (std::string_view(name) != kBuilt[level] || !processorRuns(kBuilt[level])) continue;
    serving() = level;
    return true;
  }
  return false;
}

}  // namespace rasterkit
