#pragma once
/// Slow twins: each operation once more, in the plainest form, one sample at a time. They are what the operations mean;
/// the sweep and the fuzzers compare every fast form with its twin.
///
/// A twin gets the call as the operation does (an in-place one finds the source copied to dst, one that fills a
/// prepared image finds it created) and always separate images. It uses the image container, sampleAt and setSample,
/// but no operation of the library.

#include <functional>
#include <map>
#include <string>

#include "catalogue/operation.h"
#include "tests/support/picture.h"

namespace rasterkit::plain {

using Twin = std::function<int(catalogue::Call&)>;
using Twins = std::map<std::string, Twin>;

/// Null where the operation has none.
const Twin* find(const std::string& operation);

/// The families' twins, by the names of their catalogue entries.
Twins analysisTwins();
Twins colourTwins();
Twins coreTwins();
Twins pointTwins();
Twins geometryTwins();
Twins neighbourhoodTwins();
Twins rankTwins();
Twins regionTwins();

}  // namespace rasterkit::plain
