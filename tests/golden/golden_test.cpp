// The digests on record, tests/golden/digests.txt, are what this build gives too. `./dev same renew` writes them anew.

#include <gtest/gtest.h>

#include <sstream>

#include "tests/golden/digests.h"
#include "tests/support/files.h"

namespace rasterkit::golden {
namespace {

TEST(Golden, everyOperationGivesTheBytesOnRecord) {
  std::istringstream record(test::contentOf(test::sourceFolder() + "/tests/golden/digests.txt"));
  std::istringstream actual(format(digests([](const catalogue::Operation& operation) { return operation.run; })));
  std::string expectedLine, actualLine;
  int line = 0;
  while (std::getline(actual, actualLine)) {
    ++line;
    if (!std::getline(record, expectedLine)) expectedLine = "nothing on record";
    if (!expectedLine.empty() && expectedLine.back() == '\r') expectedLine.pop_back();
    EXPECT_EQ(actualLine, expectedLine) << "line " << line;
  }
  EXPECT_FALSE(std::getline(record, expectedLine)) << "on record, but no operation: " << expectedLine;
}

}  // namespace
}  // namespace rasterkit::golden
