#pragma once
/// Processor levels: every kernel file is compiled for several, and the best one that the processor runs serves.

#include <rasterkit/platform/export.h>

namespace rasterkit {

/// Makes the kernels of one level serve from now on: "baseline", "v2", "v3", "v4" (the x86-64 levels) or "best", which
/// may use more than the highest of them. False, and nothing changes, where the processor or the build lacks it. For
/// tests and measurements: every level gives the same bytes. Threads: safe; calls under way may finish with either.
RASTERKIT_API bool useLevel(const char* name);

}  // namespace rasterkit
