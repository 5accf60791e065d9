#include "catalogue/recipe.h"

#include <gtest/gtest.h>

#include "catalogue/catalogue.h"
#include "tests/support/picture.h"

namespace rasterkit::catalogue {
namespace {

using namespace test;

std::string refusalOf(std::string_view text) {
  try {
    parseRecipe(text);
  } catch (const RecipeError& error) {
    return error.what();
  }
  return "";
}

TEST(Recipe, isReadStepByStep) {
  const Recipe recipe = parseRecipe("# a comment\nthreshold level=128 # another\n\tcut level=3 keep=lower");
  ASSERT_EQ(recipe.size(), 2u);
  EXPECT_EQ(recipe[0].operation->name, "threshold");
  EXPECT_EQ(std::get<int>(recipe[0].arguments.at("level")), 128);
  EXPECT_EQ(std::get<int>(recipe[1].arguments.at("keep")), 0);
  EXPECT_TRUE(parseRecipe("  # nothing").empty());
}

TEST(Recipe, keepsQuotedWordsTogether) {
  const Recipe recipe = parseRecipe("setplane plane=1 \"other=my # picture.png\"");
  EXPECT_EQ(recipe[0].images.at("other"), "my # picture.png");
  EXPECT_EQ(imageNames(recipe), std::vector<std::string>{"my # picture.png"});
  EXPECT_EQ(refusalOf("setplane \"other=x"), "a quotation mark (\") is not closed");
}

TEST(Recipe, isWrittenAsItIsRead) {
  for (const std::string text :
       {"threshold level=128", "cut keep=lower level=-3 setplane plane=2 \"other=a b.png\"", ""})
    EXPECT_EQ(format(parseRecipe(text)), text);
  EXPECT_EQ(format(parseRecipe("setplane plane=1 \"other=a\vb\"")), "setplane plane=1 \"other=a\vb\"");
}

TEST(Recipe, takesNumbersOnly) {
  EXPECT_EQ(refusalOf("convolve-real kernel=1x1:nan"),
            "convolve-real: kernel=1x1:nan: needs WIDTHxHEIGHT:weight,weight,... such as 3x3:1,2,1,2,4,2,1,2,1");
  EXPECT_NE(refusalOf("convolve kernel=1x1:inf"), "");
  EXPECT_NE(refusalOf("mul-real value=nan"), "");
}

TEST(Recipe, takesAMaskWhereTheOperationHonoursOne) {
  const Recipe recipe = parseRecipe("erode size=1 mask=area.png");
  EXPECT_EQ(recipe[0].images.at("mask"), "area.png");
  EXPECT_EQ(refusalOf("threshold level=1 mask=area.png"),
            "threshold does not look at a mask; leave 'mask=area.png' out");
}

TEST(RecipeRunner, runsStepsOneAfterTheOther) {
  const Recipe chain = parseRecipe("cut level=2 keep=upper threshold level=3");
  NamedImages none;
  RecipeRunner runner(chain, none);
  CPxImage image = gray8({{1, 2, 3, 4}});
  runner.run(image, "picture");
  EXPECT_PICTURE(image, gray8({{0, 0, 255, 255}}));
  ASSERT_EQ(runner.records().size(), 2u);
  EXPECT_EQ(runner.records()[1].step, &chain[1]);
  EXPECT_EQ(runner.records()[1].bytes, 8u);
  // Again with the same buffers, and another size.
  image = gray8({{5}, {1}});
  runner.run(image, "picture");
  EXPECT_PICTURE(image, gray8({{255}, {0}}));
}

TEST(RecipeRunner, changesImagesInPlaceAndTakesOthersByName) {
  const Recipe recipe = parseRecipe("setplane plane=0 other=blue setplane plane=2 other=red");
  NamedImages images;
  images.emplace("blue", gray8({{7, 8}}));
  images.emplace("red", gray8({{1, 2}}));
  CPxImage image = rgb8({{0, 50, 0, 0, 60, 0}});
  RecipeRunner(recipe, images).run(image, "picture");
  EXPECT_PICTURE(image, rgb8({{7, 50, 1, 8, 60, 2}}));
}

TEST(RecipeRunner, looksAtTheMask) {
  const Recipe recipe = parseRecipe("erode size=1 mask=area");
  NamedImages images;
  images.emplace("area", gray8({{0, 1, 0}}));
  CPxImage image = gray8({{5, 6, 7}});
  RecipeRunner(recipe, images).run(image, "picture");
  EXPECT_PICTURE(image, gray8({{5, 5, 7}}));
}

TEST(RecipeRunner, saysWhichStepRefusesWhichImage) {
  const Recipe recipe = parseRecipe("plane plane=0 plane plane=1");
  NamedImages none;
  CPxImage image = rgb8({{1, 2, 3}});
  try {
    RecipeRunner(recipe, none).run(image, "photo.png");
    FAIL() << "a grey image has no second plane";
  } catch (const StepError& error) {
    EXPECT_STREQ(error.what(), "plane needs 2, 3 or 4 channels, photo.png after plane has 1; put 'rgb' before it");
    EXPECT_EQ(error.operation().name, "plane");
  }
}

TEST(Conversion, makesAnImageAcceptable) {
  const auto before = [](const CPxImage& image, const char* to) {
    const Operation* const found = conversion(image, *find(to));
    return found ? found->name : "";
  };
  EXPECT_EQ(before(CPxImage(CM_RGB, 8, 9, 9), "threshold"), "gray");
  EXPECT_EQ(before(CPxImage(CM_CMYK, 8, 9, 9), "threshold"), "gray");
  EXPECT_EQ(before(CPxImage(CM_INDEX, 4, 9, 9, 16), "plane"), "rgb");
  EXPECT_EQ(before(CPxImage(CM_RGB, 33, 9, 9), "threshold"), "");
}

}  // namespace
}  // namespace rasterkit::catalogue
