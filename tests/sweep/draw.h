#pragma once
/// Random uses of an operation: source, arguments, second images, area of interest.

#include <list>
#include <map>
#include <string>
#include <vector>

#include "catalogue/operation.h"
#include "tests/support/picture.h"

namespace rasterkit::sweep {

/// Everything a call reads. The images belong to the draw; runs get copies.
struct Draw {
  CPxImage source;
  std::map<std::string, catalogue::Value> arguments;  // all but images
  std::map<std::string, CPxImage> images;             // second images
  std::vector<CPxImage> series;                       // besides the source
  bool masked = false;
  CPxImage mask;  // the area of interest, where masked
};

/// Arguments within the parameters' ranges, edge values favoured.
Draw drawn(test::Random& random, const catalogue::Operation& operation, CPxImage source);

/// The pixel types worth trying: the twelve, and those of the models that the operation names.
std::vector<test::PixelType> typesFor(const catalogue::Operation& operation);

/// Which images of a call are one and the same.
enum class Alias { none, dstIsSource, dstIsMask, maskIsSource, imageIsSource, imageIsDst };

struct Outcome {
  int flag = 0;
  bool succeeded = false;
  CPxImage dst;
  std::string report;
  // What the call reads, as it left it.
  CPxImage source;
  std::map<std::string, CPxImage> images;
  std::vector<CPxImage> series;
  CPxImage mask;
};

/// One run on copies of the draw's images. dst begins as `before`.
Outcome outcome(const catalogue::Operation& operation, const Draw& draw,
                const std::function<int(catalogue::Call&)>& body, const CPxImage& before, Alias alias = Alias::none);

/// The draw as a text, for failures.
std::string describe(const catalogue::Operation& operation, const Draw& draw);

}  // namespace rasterkit::sweep
