#pragma once
/// Test suites with one test for each operation of the catalogue.

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "catalogue/catalogue.h"

namespace rasterkit::test {

inline std::vector<std::string> operationNames() {
  std::vector<std::string> names;
  for (const catalogue::Operation& operation : catalogue::operations()) names.push_back(operation.name);
  return names;
}

/// Test names have no hyphens.
inline std::string testName(const testing::TestParamInfo<std::string>& info) {
  std::string name = info.param;
  std::ranges::replace(name, '-', '_');
  return name;
}

}  // namespace rasterkit::test
