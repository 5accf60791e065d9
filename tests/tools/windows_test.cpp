// Runs the program built for Windows on files that this system's wrote, and the other way round. RASTERKIT_WINDOWS_TOOL
// is how it is run, such as "wine rasterkit.exe"; the types of pixel that it must carry are those of Wine 8.

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <sstream>

#include "catalogue/catalogue.h"
#include "tests/support/files.h"
#include "tests/support/picture.h"
#include "tests/tools/handmade.h"
#include "tests/tools/shell.h"
#include "tools/failure.h"
#include "tools/image_file.h"

namespace rasterkit::tools {
namespace {

using namespace test;

struct WindowsProgram : testing::Test {
  const char* program = std::getenv("RASTERKIT_WINDOWS_TOOL");
  std::string in = folder();
  std::string out = folder();

  void SetUp() override {
    if (!program) GTEST_SKIP() << "RASTERKIT_WINDOWS_TOOL does not say how the program for Windows is run";
  }

  static std::string folder() {
    const std::string path = temporaryFile("folder");
    std::filesystem::create_directory(path);
    return path + "/";
  }

  Outcome windows(const std::string& arguments) const { return shell(std::string(program) + " " + arguments); }

  // Fails with the code and one line that holds the words.
  void expectFailure(const std::string& arguments, int code, const std::string& words) const {
    const Outcome outcome = windows(arguments);
    EXPECT_EQ(outcome.code, code) << arguments << ": " << outcome.errors;
    EXPECT_NE(outcome.errors.find(words), std::string::npos) << arguments << ": " << outcome.errors;
    EXPECT_EQ(std::ranges::count(outcome.errors, '\n'), 1) << arguments << ": " << outcome.errors;
  }
};

CPxImage read(const std::string& path) { return readImageFile(path).pages.at(0); }
void write(const std::string& path, const CPxImage& image) { writeImageFile(path, {&image, 1}); }
void write(const std::string& path, const Bytes& bytes) {
  std::ofstream(path, std::ios::binary).write(reinterpret_cast<const char*>(bytes.data()), std::ssize(bytes));
}

// More than 64 rows, odd sizes, every sample its own.
CPxImage pictureOf(COLOR_MODEL model, int bits) {
  CPxImage image(model, bits, 37, 70, model == CM_INDEX ? 1 << bits : 0);
  Random random(static_cast<std::uint64_t>(model * 100 + bits));
  for (int i = 0; i < image.palette.GetPaletteNum(); ++i)
    *image.palette.GetPaletteItem(i) = {static_cast<unsigned char>(i), static_cast<unsigned char>(255 - i),
                                        static_cast<unsigned char>(random.between(0, 255)), 0};
  const int most = model == CM_INDEX ? (1 << bits) - 1 : bits == 16 ? 65535 : 255;
  for (int y = 0; y < image.height; ++y)
    for (int x = 0; x < image.width; ++x)
      for (int c = 0; c < image.channels; ++c) setSample(image, x, y, c, random.between(0, most));
  return image;
}

struct Type {
  COLOR_MODEL model;
  int bits;
  const char* name;
};
constexpr Type kTypes[] = {{CM_INDEX, 1, "index1"},   {CM_INDEX, 4, "index4"},   {CM_INDEX, 8, "index8"},
                           {CM_GRAY, 8, "grey8"},     {CM_GRAYA, 8, "greya8"},   {CM_RGB, 8, "rgb8"},
                           {CM_RGBA, 8, "rgba8"},     {CM_CMYK, 8, "cmyk8"},     {CM_GRAY, 16, "grey16"},
                           {CM_GRAYA, 16, "greya16"}, {CM_RGB, 16, "rgb16"},     {CM_RGBA, 16, "rgba16"},
                           {CM_CMYK, 16, "cmyk16"},   {CM_GRAY, 32, "grey32"},   {CM_RGB, 32, "rgb32"},
                           {CM_RGBA, 32, "rgba32"},   {CM_GRAYA, 32, "greya32"}, {CM_HSI, 32, "hsi32"}};

bool isOneOf(std::string_view name, std::string_view names) {
  return (" " + std::string(names) + " ").find(" " + std::string(name) + " ") != std::string::npos;
}

std::string lineOf(const std::string& text, const std::string& words) {
  std::istringstream lines(text);
  for (std::string line; std::getline(lines, line);)
    if (line.find(words) != std::string::npos) return line;
  return "";
}

TEST_F(WindowsProgram, listsTheSameOperations) {
  EXPECT_EQ(windows("list --json").out, tool("list --json").out);
  EXPECT_EQ(windows("help threshold").out, tool("help threshold").out);
  EXPECT_EQ(windows("--version").out, tool("--version").out);
  expectFailure("rnu", ExitCode::usage, "did you mean 'run'?");
}

TEST_F(WindowsProgram, seesInFilesWhatIsInThem) {
  for (const Type& type : kTypes) {
    const CPxImage image = pictureOf(type.model, type.bits);
    write(in + type.name + ".tif", image);
    if (type.bits <= 16 && type.model != CM_CMYK) write(in + type.name + ".png", image);
    if (type.bits <= 8 && type.model != CM_CMYK && type.model != CM_GRAYA) write(in + type.name + ".bmp", image);
  }
  const Outcome here = tool("info --json " + in);
  const Outcome there = windows("info --json " + in);
  EXPECT_EQ(here.code, 0) << here.errors;
  std::istringstream lines(here.out);
  for (std::string line; std::getline(lines, line);) {
    const std::string name = std::filesystem::path(line.substr(10, line.find('"', 10) - 10)).filename().string();
    const std::string seen = lineOf(there.out, "/" + name);
    if (!seen.empty()) {
      // The Windows one may separate folders otherwise.
      EXPECT_EQ(seen.substr(seen.find("\"format\"")), line.substr(line.find("\"format\"")));
      continue;
    }
    EXPECT_TRUE(isOneOf(name, "greya16.tif greya32.tif hsi32.tif cmyk32.tif"))
        << name << " is not read: " << lineOf(there.errors, name);
    EXPECT_NE(lineOf(there.errors, name).find("TIFF codec of this Windows does not read"), std::string::npos)
        << there.errors;
  }
}

TEST_F(WindowsProgram, computesTheSameFromEveryType) {
  std::string grey, colour;
  for (const Type& type : kTypes) {
    if (type.bits == 32 || type.model == CM_INDEX || isOneOf(type.name, "greya16")) continue;
    const std::string file = in + type.name + (type.model == CM_CMYK ? ".tif" : ".png");
    write(file, pictureOf(type.model, type.bits));
    (type.model == CM_GRAY ? grey : colour) += " " + file;
  }
  for (const auto& [files, steps] : {std::pair(grey, "median threshold level=128"),
                                     {colour, "erode size=1 plane plane=0 threshold level=100"},
                                     {colour, "plane plane=1 threshold level=100"}}) {
    const std::string here = folder(), there = folder();
    const Outcome expected = tool("run -q" + files + " -o '" + here + "{stem}.png' " + steps);
    ASSERT_EQ(expected.code, 0) << expected.errors;
    const Outcome outcome = windows("run -q" + files + " -o '" + there + "{stem}.png' " + steps);
    EXPECT_EQ(outcome.code, 0) << outcome.errors;
    for (const auto& entry : std::filesystem::directory_iterator(here))
      EXPECT_PICTURE(read(there + entry.path().filename().string()), read(entry.path().string())) << entry.path();
  }
}

TEST_F(WindowsProgram, comparesFloatsAsHere) {
  for (const COLOR_MODEL model : {CM_GRAY, CM_RGB, CM_RGBA}) {
    CPxImage image = pictureOf(model, 32);
    write(in + "a.tif", image);
    setSample(image, 5, 66, image.channels - 1, 1000);
    write(in + "b.tif", image);
    const std::string arguments = "compare " + in + "a.tif " + in + "b.tif";
    EXPECT_NE(tool(arguments).out.find("differ: 1 of 2590 pixels"), std::string::npos) << tool(arguments).out;
    EXPECT_EQ(windows(arguments).out, tool(arguments).out);
    EXPECT_EQ(windows(arguments).code, ExitCode::different);
  }
}

TEST_F(WindowsProgram, writesWhatIsReadHere) {
  const std::pair<const char*, const char*> kinds[] = {
      {"png", "index1 index4 index8 grey8 rgb8 rgba8 grey16 rgb16 rgba16"},
      {"tif", "index1 index4 index8 grey8 rgb8 rgba8 rgb16 rgba16"},
      {"bmp", "index8 grey8 rgb8 rgba8"}};
  for (const Type& type : kTypes)
    if (type.bits <= 16 && type.model != CM_CMYK)
      write(in + type.name + ".png", pictureOf(type.model, type.bits));
    else
      write(in + type.name + ".tif", pictureOf(type.model, type.bits));
  for (const auto& [ending, carried] : kinds) {
    const Outcome outcome = windows("run -q " + in + " -o '" + out + "{stem}." + ending + "'");
    for (const Type& type : kTypes) {
      const std::string made = out + type.name + "." + ending;
      // Bitmaps always have 256 colours.
      if (std::string_view(ending) == "bmp" && type.model == CM_INDEX && type.bits < 8) continue;
      if (std::filesystem::exists(made)) {
        const CPxImage back = read(made);
        EXPECT_PICTURE(back, pictureOf(type.model, type.bits)) << made;
        const CPxPalette palette = pictureOf(type.model, type.bits).palette;
        for (int k = 0; k < palette.GetPaletteNum(); ++k)
          EXPECT_EQ(std::memcmp(back.palette.GetPaletteItem(k), palette.GetPaletteItem(k), 3), 0) << made << " " << k;
      } else {
        EXPECT_FALSE(isOneOf(type.name, carried)) << made << ": " << outcome.errors;
        const std::string line = lineOf(outcome.errors, type.name);
        EXPECT_TRUE(line.find("has no place for") != std::string::npos ||
                    line.find("does not read") != std::string::npos || line.find("a BMP holds") != std::string::npos)
            << made << ": " << line;
      }
    }
    for (const auto& entry : std::filesystem::directory_iterator(out))
      EXPECT_NE(entry.path().filename().string()[0], '.') << "no temporary file is left";
  }
}

TEST_F(WindowsProgram, keepsJpegClose) {
  for (const COLOR_MODEL model : {CM_GRAY, CM_RGB}) {
    CPxImage image(model, 8, 48, 80);
    for (int y = 0; y < 80; ++y)
      for (int x = 0; x < 48; ++x)
        for (int c = 0; c < image.channels; ++c) setSample(image, x, y, c, 40 + 2 * x + y + 20 * c);
    const auto expectNear = [&](const std::string& path) {
      const CPxImage back = read(path);
      ASSERT_EQ(back.colorModel, model);
      for (int y = 0; y < 80; ++y)
        for (int x = 0; x < 48; ++x)
          for (int c = 0; c < image.channels; ++c)
            ASSERT_NEAR(sampleAt(back, x, y, c), sampleAt(image, x, y, c), 8) << path << x << "," << y << "," << c;
    };
    write(in + "a.png", image);
    write(in + "b.jpg", image);
    const Outcome outcome = windows("run -q " + in + "a.png -o " + out + "a.jpg");
    EXPECT_EQ(outcome.code, 0) << outcome.errors;
    EXPECT_EQ(windows("run -q " + in + "b.jpg -o " + out + "b.png").code, 0);
    expectNear(out + "a.jpg");
    expectNear(out + "b.png");
  }
}

TEST_F(WindowsProgram, carriesEveryPage) {
  const CPxImage pages[] = {gray8({{1, 2}, {3, 200}}), rgb8({{1, 2, 3, 4, 5, 6}})};
  writeImageFile(in + "pages.tif", pages);
  const Outcome outcome = windows("run " + in + "pages.tif -o " + out + "pages.tif invert");
  EXPECT_EQ(outcome.code, 0) << outcome.errors;
  const auto made = readImageFile(out + "pages.tif").pages;
  ASSERT_EQ(made.size(), 2u);
  EXPECT_PICTURE(made[0], gray8({{254, 253}, {252, 55}}));
  EXPECT_PICTURE(made[1], rgb8({{254, 253, 252, 251, 250, 249}}));
}

TEST_F(WindowsProgram, turnsTransparencyIntoAlpha) {
  write(in + "palette.png", handmadePng(2, 1, 8, 3, {{"PLTE", {10, 20, 30, 1, 2, 3}}, {"tRNS", {128}}}, {{0, 1}}));
  write(in + "rgb.png", handmadePng(2, 1, 8, 2, {{"tRNS", {0, 1, 0, 2, 0, 3}}}, {{1, 2, 3, 4, 5, 6}}));
  write(in + "grey.png", handmadePng(2, 1, 8, 0, {{"tRNS", {0, 7}}}, {{7, 8}}));
  const Outcome outcome = windows("run -q " + in + "palette.png " + in + "rgb.png -o " + out);
  EXPECT_EQ(outcome.code, 0) << outcome.errors;
  EXPECT_PICTURE(read(out + "palette.png"), picture(CM_RGBA, 8, {{30, 20, 10, 128, 3, 2, 1, 255}}));
  EXPECT_PICTURE(read(out + "rgb.png"), picture(CM_RGBA, 8, {{3, 2, 1, 0, 6, 5, 4, 255}}));
  EXPECT_NE(windows("info " + in + "grey.png").out.find("grey with alpha, 8-bit, samples 7..8 0..255"),
            std::string::npos)
      << windows("info " + in + "grey.png").out;
}

TEST_F(WindowsProgram, takesNamesOfEveryLanguage) {
  const std::string name = "gr\u00f6\u00dfe \u65e5\u672c \ud55c";
  write(in + name + ".png", gray8({{1, 200}}));
  const Outcome outcome = windows("run '" + in + "gr*.png' -o '" + out + "{stem} \u00e9.png' threshold level=128");
  EXPECT_EQ(outcome.code, 0) << outcome.errors;
  EXPECT_PICTURE(read(out + name + " \u00e9.png"), gray8({{0, 255}}));
  expectFailure("info '" + in + "fehlt \u65e5.png'", ExitCode::unreadable, "fehlt \u65e5.png: no such file");
  EXPECT_NE(windows("info '" + in + name + ".png'").out.find(name), std::string::npos);
}

TEST_F(WindowsProgram, mayWriteOverItsInput) {
  write(in + "photo.png", gray8({{1, 200}}));
  const Outcome outcome = windows("run " + in + "photo.png -o " + in + "photo.png threshold level=128");
  EXPECT_EQ(outcome.code, 0) << outcome.errors;
  EXPECT_PICTURE(read(in + "photo.png"), gray8({{0, 255}}));
  std::filesystem::permissions(in + "photo.png", std::filesystem::perms(0444));
  expectFailure("run " + in + "photo.png -o " + in + "photo.png", ExitCode::unwritable, "permission denied");
  expectFailure("run " + in + "photo.png -o " + in + "no/photo.png", ExitCode::unwritable, "there is no folder");
  expectFailure("info " + out, ExitCode::unreadable, "the folder holds no file");
}

TEST_F(WindowsProgram, refusesBrokenFilesInOneLineEach) {
  const CPxImage colour = pictureOf(CM_RGB, 8);
  std::size_t count = 0;
  for (const auto& [ending, format] : {std::pair("png", Format::png), {"jpg", Format::jpeg}, {"bmp", Format::bmp}}) {
    const Bytes whole = encode({&colour, 1}, format, "picture");
    for (int part = 1; part < 16; ++part, ++count)
      write(in + std::to_string(part) + "." + ending,
            Bytes(whole.begin(), whole.begin() + std::ssize(whole) * part / 16));
  }
  // Enormous sizes that are only declared; other content than the name says.
  write(in + "a.png", handmadePng(30000, 20000, 8, 2, {}, {{1, 2, 3}}));
  write(in + "b.png", handmadePng(0x7fffffff, 0x7fffffff, 16, 6, {}, {{1, 2, 3}}));
  write(in + "c.tif", handmadeTiff(false,
                                   {{256, {65535}},
                                    {257, {65535}},
                                    {258, {8}},
                                    {259, {1}},
                                    {262, {1}},
                                    {273, {8}},
                                    {277, {1}},
                                    {278, {1}},
                                    {279, {1}}},
                                   {1}));
  write(in + "d.png", Bytes{'w', 'o', 'r', 'd', 's'});
  write(in + "e.tif", Bytes{'I', 'I', 42, 0, 1, 2});
  count += 5;
  const Outcome outcome = windows("info " + in);
  EXPECT_EQ(outcome.code, ExitCode::someFailed);
  EXPECT_EQ(outcome.out, "");
  EXPECT_EQ(std::ranges::count(outcome.errors, '\n'), static_cast<std::ptrdiff_t>(count)) << outcome.errors;
  write(in + "x.jpg", encode({&colour, 1}, Format::png, "picture"));
  EXPECT_NE(windows("info " + in + "x.jpg").out.find("PNG, 37 x 70, RGB"), std::string::npos) << "by content";
}

TEST_F(WindowsProgram, stopsWithoutTornFiles) {
  const CPxImage image = [] {
    CPxImage made(CM_RGB, 16, 900, 900);
    Random random(1);
    for (int y = 0; y < 900; ++y)
      for (int i = 0; i < 2700; ++i)
        static_cast<unsigned short*>(made.Get2DBuffer()[y])[i] = static_cast<unsigned short>(random.bits());
    return made;
  }();
  write(in + "0.png", image);
  for (int i = 1; i < 60; ++i) std::filesystem::create_hard_link(in + "0.png", in + std::to_string(i) + ".png");
  const Outcome outcome = shell(std::string(program) + " run " + in + " -o " + out +
                                " --jobs 2 & pid=$!; while kill -0 $pid && [ -z \"$(ls " + out +
                                ")\" ]; do sleep 0.02; done; kill -INT $pid; wait $pid");
  EXPECT_EQ(outcome.code, ExitCode::interrupted) << outcome.errors;
  EXPECT_NE(outcome.errors.find("stopped; 60 files"), std::string::npos) << outcome.errors;
  for (const auto& entry : std::filesystem::directory_iterator(out)) {
    EXPECT_EQ(entry.path().extension(), ".png") << "no temporary file is left";
    EXPECT_PICTURE(read(entry.path().string()), image);
  }
}

TEST_F(WindowsProgram, makesAGallery) {
  CPxImage small(CM_RGB, 8, 24, 16);
  for (int y = 0; y < 16; ++y)
    for (int x = 0; x < 24; ++x)
      for (int c = 0; c < 3; ++c) setSample(small, x, y, c, 10 * x + c);
  write(in + "small.png", small);
  const Outcome outcome = windows("gallery " + in + "small.png -o " + out + "page");
  EXPECT_EQ(outcome.code, 0) << outcome.errors;
  EXPECT_EQ(outcome.out.find(std::to_string(catalogue::operations().size()) + " operations in "), 0u) << outcome.out;
  EXPECT_TRUE(std::filesystem::exists(out + "page/index.html"));
}

}  // namespace
}  // namespace rasterkit::tools
