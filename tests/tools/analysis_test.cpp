// The commands that show what an image holds, run as a user does.

#include <gtest/gtest.h>
#include <sys/wait.h>

#include <cstdlib>
#include <string>

#include "tests/support/files.h"
#include "tests/support/picture.h"
#include "tools/failure.h"
#include "tools/image_file.h"

namespace rasterkit::tools {
namespace {

using namespace test;

struct Analysed : testing::Test {
  std::string out, errors;

  int tool(const std::string& arguments) {
    const std::string outFile = temporaryFile("out"), errorFile = temporaryFile("errors");
    const int status =
        std::system((std::string(RASTERKIT_TOOL) + " " + arguments + " >" + outFile + " 2>" + errorFile).c_str());
    out = contentOf(outFile);
    errors = contentOf(errorFile);
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
  }

  std::string written(const std::string& name, const CPxImage& image) {
    const std::string path = temporaryFile(name);
    writeImageFile(path, {&image, 1});
    return path;
  }

  // A vertical line at column 30.
  CPxImage line() {
    CPxImage image(CM_GRAY, 8, 61, 50);
    for (int y = 0; y < 50; ++y) setSample(image, 30, y, 0, 255);
    return image;
  }
};

TEST_F(Analysed, histogramsShowCountsAndPeaks) {
  CPxImage image(CM_GRAY, 8, 64, 4);
  for (int x = 0; x < 64; ++x)
    for (int y = 0; y < 4; ++y) setSample(image, x, y, 0, x < 40 ? 50 : 200);
  const std::string path = written("two.png", image);
  ASSERT_EQ(tool("hist " + path), 0) << errors;
  EXPECT_NE(out.find("160 \u2502"), std::string::npos) << out;
  EXPECT_NE(out.find("peaks    50 (32), 200 (19)"), std::string::npos) << out;
  EXPECT_NE(out.find("valleys  125 (0)"), std::string::npos) << out;
  ASSERT_EQ(tool("hist " + path + " --json peaks=1"), 0) << errors;
  EXPECT_NE(out.find("\"samples\": 256"), std::string::npos) << out;
  EXPECT_NE(out.find("\"peaks\": [{\"position\": 50,"), std::string::npos) << out;
}

TEST_F(Analysed, histogramsTakeTheParametersOfTheirOperation) {
  const std::string path = written("one.png", gray8({{1, 2}}));
  EXPECT_EQ(tool("hist " + path + " pesks=1"), ExitCode::badRecipe);
  EXPECT_NE(errors.find("did you mean 'peaks'?"), std::string::npos) << errors;
  EXPECT_EQ(tool("hist " + path + " channel=9"), ExitCode::badRecipe);
  EXPECT_EQ(tool("hist " + path + " threshold level=3"), ExitCode::badRecipe);
  EXPECT_EQ(tool("hist " + written("real.tif", grayFloat({{1, 2}}))), ExitCode::refused);
  EXPECT_EQ(tool("hist " + path + " --plot plot.gif"), ExitCode::usage);
}

TEST_F(Analysed, plotsAreFiles) {
  const std::string path = written("one.png", gray8({{1, 2, 2, 90}})), svg = temporaryFile("plot.svg"),
                    png = temporaryFile("plot.png");
  if (tool("hist " + path + " --plot " + svg) == ExitCode::usage) GTEST_SKIP() << "built without Cairo";
  EXPECT_NE(contentOf(svg).find("<svg"), std::string::npos);
  ASSERT_EQ(tool("hist " + path + " --plot " + png), 0) << errors;
  EXPECT_EQ(readImageFile(png).pages.at(0).width, 900);
}

TEST_F(Analysed, linesAreListedAndDrawn) {
  const std::string path = written("line.png", line()), overlay = temporaryFile("overlay.png");
  ASSERT_EQ(tool("lines " + path + " --overlay " + overlay), 0) << errors;
  EXPECT_NE(out.find("     0.0"), std::string::npos) << out;
  const CPxImage drawn = readImageFile(overlay).pages.at(0);
  EXPECT_EQ(drawn.colorModel, CM_RGB);
  EXPECT_EQ(sampleAt(drawn, 30, 25, 2), 255);
  EXPECT_EQ(sampleAt(drawn, 30, 25, 0), 0);
  EXPECT_EQ(sampleAt(drawn, 10, 25, 2), 0);

  ASSERT_EQ(tool("lines " + path + " --json"), 0) << errors;
  EXPECT_EQ(out.find("{\"lines\": [{\"angle\": 0, \"distance\": "), 0u) << out;

  CPxImage colour(CM_RGB, 8, 61, 50);
  setSample(colour, 5, 5, 1, 99);
  ASSERT_EQ(tool("lines " + path + " --overlay " + overlay + " --over " + written("colour.png", colour)), 0) << errors;
  EXPECT_EQ(sampleAt(readImageFile(overlay).pages.at(0), 5, 5, 1), 99);
  EXPECT_EQ(tool("lines " + written("colour.png", colour)), ExitCode::refused);
}

TEST_F(Analysed, shadingIsCorrected) {
  const std::string image = written("image.png", gray8({{80, 81, 10, 255}})),
                    blank = written("blank.png", gray8({{50, 100, 150, 100}})), even = temporaryFile("even.png");
  ASSERT_EQ(tool("shade " + image + " blank=" + blank + " -o " + even), 0) << errors;
  EXPECT_PICTURE(readImageFile(even).pages.at(0), gray8({{40, 81, 15, 255}}));
}

}  // namespace
}  // namespace rasterkit::tools
