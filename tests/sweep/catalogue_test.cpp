// The catalogue against its own rules.

#include "catalogue/catalogue.h"

#include <gtest/gtest.h>

#include <regex>
#include <set>

namespace rasterkit::catalogue {
namespace {

TEST(Catalogue, entriesAreComplete) {
  std::set<std::string> names;
  for (const Operation& operation : operations()) {
    SCOPED_TRACE(operation.name);
    EXPECT_TRUE(names.insert(operation.name).second) << "a name twice";
    EXPECT_TRUE(std::regex_match(operation.name, std::regex("[a-z][a-z0-9-]*")));
    EXPECT_TRUE(operation.method.find("::") != std::string::npos);
    EXPECT_FALSE(operation.summary.empty());
    EXPECT_FALSE(operation.formula.empty());
    EXPECT_TRUE(operation.example.starts_with(operation.name));
    EXPECT_TRUE(operation.run);
    for (const Parameter& parameter : operation.parameters) {
      EXPECT_FALSE(parameter.helpText.empty()) << parameter.name;
      EXPECT_LE(parameter.usualLeast, parameter.usualMost) << parameter.name;
      if (parameter.kind == Kind::integer || parameter.kind == Kind::real) {
        EXPECT_GE(parameter.usualLeast, parameter.least) << parameter.name;
        EXPECT_LE(parameter.usualMost, parameter.most) << parameter.name;
      }
    }
  }
}

TEST(Catalogue, argumentsReadBackAsTheyAreWritten) {
  const Parameter level = integer("level").range(-5, 300), factor = real("factor"),
                  side = choice("side", {{"left", 4}, {"right", 9}});
  EXPECT_EQ(std::get<int>(parse(level, "-5")), -5);
  EXPECT_EQ(std::get<int>(parse(level, "+7")), 7);
  EXPECT_EQ(std::get<double>(parse(factor, "1e-3")), 0.001);
  EXPECT_EQ(std::get<int>(parse(side, "right")), 9);
  EXPECT_EQ(format(side, 4), "left");
  EXPECT_EQ(std::get<CRect>(parse(rectangle(), "1,2,-3,4")), CRect(1, 2, -3, 4));
  EXPECT_EQ(std::get<CRect>(parse(rectangle(), "all")), CRect(-1, -1, -1, -1));
  EXPECT_EQ(format(rectangle(), CRect(1, 2, -3, 4)), "1,2,-3,4");
  EXPECT_EQ(std::get<CPoint>(parse(point("at"), "5,-6")), CPoint(5, -6));
  const Kernel weights{3, 1, {1, -2, 0.5}};
  EXPECT_EQ(format(kernel("kernel"), weights), "3x1:1,-2,0.5");
  EXPECT_EQ(std::get<Kernel>(parse(kernel("kernel"), "3x1:1,-2,0.5")), weights);
}

TEST(Catalogue, wrongArgumentsSayWhatWouldBeRight) {
  auto complaint = [](const Parameter& parameter, const char* text) -> std::string {
    try {
      parse(parameter, text);
    } catch (const std::invalid_argument& error) {
      return error.what();
    }
    return "accepted";
  };
  EXPECT_EQ(complaint(integer("level"), "12x"), "level=12x: needs a whole number");
  EXPECT_EQ(complaint(integer("level"), "99999999999"), "level=99999999999: needs a whole number");
  EXPECT_EQ(complaint(integer("size").range(0, 64), "65"), "size=65: must be from 0 to 64");
  EXPECT_EQ(complaint(integer("size").range(0, 1e300 * 1e10), "-1"), "size=-1: must be at least 0");
  EXPECT_EQ(complaint(choice("side", {{"left", 0}, {"right", 1}}), "rihgt"),
            "side=rihgt: is none of left, right; did you mean right?");
  EXPECT_EQ(complaint(rectangle(), "1,2,3"), "rect=1,2,3: needs left,top,right,bottom in pixels, or all");
  EXPECT_EQ(complaint(kernel("kernel"), "2x2:1,2,3"), "kernel=2x2:1,2,3: has 3 weights for 2x2");
  EXPECT_NE(complaint(kernel("kernel"), "0x3:"), "accepted");
  EXPECT_NE(complaint(real("factor"), ""), "accepted");
}

TEST(Catalogue, suggestsTheNearestName) {
  EXPECT_EQ(nearest("treshold", {"median", "threshold", "cut"}), "threshold");
  EXPECT_EQ(nearest("cta", {"median", "threshold", "cut"}), "cut");
  EXPECT_EQ(nearest("x", {}), "");
  EXPECT_EQ(find("threshold")->method, "CPxThresholdProcessing::Threshold");
  EXPECT_EQ(find("nothing"), nullptr);
}

TEST(Catalogue, saysWhyAnImageIsRefused) {
  const CPxImage colour(CM_RGB, 8, 2, 2), deep(CM_GRAY, 33, 2, 2), grey(CM_GRAY, 8, 2, 2);
  EXPECT_EQ(find("threshold")->refusal(colour), "needs 1 channel, this has 3");
  EXPECT_EQ(find("threshold")->refusal(deep), "needs 8-bit, 16-bit or float samples, this has 33-bit samples");
  EXPECT_EQ(find("threshold")->refusal(grey), "");
  EXPECT_EQ(find("plane")->refusal(grey), "needs 2, 3 or 4 channels, this has 1");
}

}  // namespace
}  // namespace rasterkit::catalogue
