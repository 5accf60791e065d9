#include "rasterkit/core/processor.h"

#include <string_view>

namespace rasterkit {

// Single features, since not every compiler knows the names of the levels. A processor with AVX2, FMA and BMI2 has the
// few other instructions of v3 too (F16C, LZCNT, MOVBE).
bool processorRuns(const char* level) {
  __builtin_cpu_init();
  const bool v2 = __builtin_cpu_supports("ssse3") && __builtin_cpu_supports("sse4.1") &&
                  __builtin_cpu_supports("sse4.2") && __builtin_cpu_supports("popcnt");
  const bool v3 = v2 && __builtin_cpu_supports("avx2") && __builtin_cpu_supports("fma") &&
                  __builtin_cpu_supports("bmi") && __builtin_cpu_supports("bmi2");
  const bool v4 = v3 && __builtin_cpu_supports("avx512f") && __builtin_cpu_supports("avx512bw") &&
                  __builtin_cpu_supports("avx512cd") && __builtin_cpu_supports("avx512dq") &&
                  __builtin_cpu_supports("avx512vl");
  const std::string_view name(level);
  if (name == "baseline") return true;
  if (name == "v2") return v2;
  if (name == "v3") return v3;
  if (name == "v4") return v4;
  if (name == "vbmi") return __builtin_cpu_supports("avx512vbmi");
  return name == "vnni" && __builtin_cpu_supports("avx512vnni");
}

}  // namespace rasterkit
