#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <regex>
#include <set>

#include "catalogue/catalogue.h"
#include "catalogue/recipe.h"
#include "tests/support/files.h"
#include "tests/support/picture.h"
#include "tests/tools/shell.h"
#include "tools/image_file.h"

namespace rasterkit::tools {
namespace {

using namespace test;

struct Gallery : testing::Test {
  static std::string folder() {
    static const std::string made = [] {
      const std::string path = temporaryFile("gallery");
      std::filesystem::create_directory(path);
      for (const auto& [name, model] : {std::pair("grey", CM_GRAY), {"colour", CM_RGB}}) {
        CPxImage image(model, 8, 150, 110);
        Random random(7);
        for (int y = 0; y < 110; ++y)
          for (int x = 0; x < 150; ++x)
            for (int c = 0; c < image.channels; ++c)
              setSample(image, x, y, c, (x / 30 + y / 22 + c) % 3 * 80 + random.between(0, 60));
        writeImageFile(path + "/" + name + ".png", {&image, 1});
      }
      const Outcome outcome = tool("gallery " + path + "/grey.png " + path + "/colour.png -o " + path + "/page");
      EXPECT_EQ(outcome.code, 0) << outcome.errors;
      EXPECT_EQ(outcome.out.find("not shown"), std::string::npos) << outcome.out;
      return path + "/page/";
    }();
    return made;
  }
  const std::string page = contentOf(folder() + "index.html");

  std::set<std::string> all(const std::string& pattern) const {
    std::set<std::string> found;
    const std::regex expression(pattern);
    for (std::sregex_iterator match(page.begin(), page.end(), expression), end; match != end; ++match)
      found.insert((*match)[1]);
    return found;
  }
};

TEST_F(Gallery, showsEveryOperation) {
  const auto shown = all("<h3>([^<]*)</h3>");
  for (const auto& operation : catalogue::operations()) EXPECT_TRUE(shown.contains(operation.name)) << operation.name;
}

TEST_F(Gallery, showsEveryOperationOnASmallPicture) {
  const std::string path = folder() + "small";
  const CPxImage small(CM_RGB, 8, 24, 16);
  writeImageFile(path + ".png", {&small, 1});
  const Outcome outcome = tool("gallery " + path + ".png -o " + path);
  EXPECT_EQ(outcome.code, 0) << outcome.errors;
  EXPECT_EQ(outcome.out.find("not shown"), std::string::npos) << outcome.out;
}

TEST_F(Gallery, needsNothingFromElsewhere) {
  const auto sources = all("src=\"([^\"]*)\"");
  EXPECT_GT(sources.size(), catalogue::operations().size());
  for (const std::string& source : sources) {
    EXPECT_EQ(source.find("images/"), 0u);
    EXPECT_NO_THROW(readImageFile(folder() + source)) << source;
  }
  EXPECT_EQ(page.find("http"), std::string::npos);
}

TEST_F(Gallery, givesTheRecipesOfItsPictures) {
  int same = 0;
  for (std::size_t at = page.find("<article"), next; at != std::string::npos; at = next) {
    next = page.find("<article", at + 1);
    const std::string card = page.substr(at, next - at);
    std::smatch command, picture;
    ASSERT_TRUE(std::regex_search(card, command, std::regex("<code>rasterkit ([^<]*)</code>")));
    const Outcome outcome = shell("cd " + folder() + " && " + kTool + " " + command[1].str());
    ASSERT_EQ(outcome.code, 0) << command[1] << ": " << outcome.errors;
    if (!std::regex_search(card, picture, std::regex("class=\"after\" src=\"([^\"]*)\"")) ||
        command[1].str().find(" -o out.png ") == std::string::npos)
      continue;
    const CPxImage shown = readImageFile(folder() + picture[1].str()).pages[0];
    const CPxImage made = readImageFile(folder() + "out.png").pages[0];
    // The mean of a series needs more than one image; what is not of 8 bits is shown as if it were.
    if (picture[1].str().ends_with("/average.png") || shown.bitsPerSample != made.bitsPerSample ||
        shown.channels != made.channels)
      continue;
    EXPECT_TRUE(identical(made, shown)) << command[1];
    ++same;
  }
  EXPECT_GT(same, 60);
}

TEST_F(Gallery, worksInABrowser) {
  if (shell("command -v chromium").code != 0) GTEST_SKIP() << "there is no chromium";
  // A copy of the page that tries itself and says what it found.
  std::ofstream(folder() + "try.html") << page << R"page(<script>
addEventListener("load", () => {
  const found = [];
  for (const picture of document.images) if (!picture.naturalWidth) found.push("not shown: " + picture.src);
  const slider = document.querySelector(".compare input");
  slider.value = 20;
  slider.dispatchEvent(new Event("input", {bubbles: true}));
  const before = slider.parentElement.querySelector(".before");
  if (!getComputedStyle(before).clipPath.includes("80%") && !getComputedStyle(before).clipPath.includes("20%"))
    found.push("the slider does not move: " + getComputedStyle(before).clipPath);
  slider.focus();
  if (document.activeElement !== slider) found.push("the slider cannot be focused");
  const filter = document.getElementById("filter");
  filter.value = "threshold";
  filter.dispatchEvent(new Event("input", {bubbles: true}));
  const left = [...document.querySelectorAll("article")].filter(card => card.getClientRects().length);
  if (!left.length || left.length === document.querySelectorAll("article").length) found.push("the filter shows " + left.length);
  filter.value = "";
  filter.dispatchEvent(new Event("input", {bubbles: true}));
  if (document.documentElement.scrollWidth > innerWidth) found.push("it is wider than the window");
  document.title = "tried: " + (found.join("; ") || "fine");
});
</script>)page";
  for (const char* size : {"1400,900", "360,800"}) {
    const Outcome outcome = shell(
        "cd " + folder() +
        " && timeout 120 chromium --headless --no-sandbox --disable-gpu --enable-logging=stderr --user-data-dir=" +
        temporaryFile("profile") + " --window-size=" + size + " --virtual-time-budget=20000 --dump-dom file://" +
        folder() + "try.html");
    EXPECT_NE(outcome.out.find("<title>tried: fine</title>"), std::string::npos)
        << outcome.out.substr(outcome.out.find("<title>"), 400) << outcome.errors;
    EXPECT_EQ(outcome.errors.find("CONSOLE"), std::string::npos) << outcome.errors;
  }
}

}  // namespace
}  // namespace rasterkit::tools
