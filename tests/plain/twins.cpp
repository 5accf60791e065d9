#include "tests/plain/twins.h"

namespace rasterkit::plain {

const Twin* find(const std::string& operation) {
  static const Twins all = [] {
    Twins twins;
    for (auto family : {analysisTwins, colourTwins, coreTwins,  //
                        geometryTwins, neighbourhoodTwins, pointTwins, rankTwins, regionTwins})
      twins.merge(family());
    return twins;
  }();
  const auto found = all.find(operation);
  return found == all.end() ? nullptr : &found->second;
}

}  // namespace rasterkit::plain
