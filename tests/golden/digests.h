#pragma once
/// What every operation gives, as 64-bit digests: the record that all platforms, compilers and processor levels are
/// held to.

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "catalogue/operation.h"

namespace rasterkit::golden {

struct Digest {
  std::string family;
  std::string operation;
  std::string type;  // model and bits
  std::uint64_t value;
};

/// One digest an operation and pixel type, over a spread of sizes and arguments that is the same everywhere. body gives
/// what is run: the operation's own function, or another form of it.
std::vector<Digest> digests(
    const std::function<std::function<int(catalogue::Call&)>(const catalogue::Operation&)>& body);

/// A line each: family, operation, type, value.
std::string format(const std::vector<Digest>& list);

}  // namespace rasterkit::golden
