#pragma once

namespace rasterkit {

// Whether this processor and its system run code compiled for the level ("baseline", "v2", "v3", "v4") or feature
// ("vbmi", "vnni"). The build takes the one source of this function that fits the target processor.
bool processorRuns(const char* level);

}  // namespace rasterkit
