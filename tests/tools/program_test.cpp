// Runs the built program as a user does.

#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <regex>
#include <set>

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

// Fails with the expected code and one line that holds the words.
void expectFailure(const std::string& arguments, int code, const std::string& words) {
  const Outcome outcome = tool(arguments);
  EXPECT_EQ(outcome.code, code) << arguments << ": " << outcome.errors;
  EXPECT_NE(outcome.errors.find(words), std::string::npos) << arguments << ": " << outcome.errors;
  EXPECT_EQ(std::ranges::count(outcome.errors, '\n'), 1) << arguments << ": " << outcome.errors;
  EXPECT_EQ(outcome.out, "") << arguments;
}

std::string folder() {
  const std::string path = temporaryFile("folder");
  std::filesystem::create_directory(path);
  return path + "/";
}

std::size_t filesIn(const std::string& path) {
  const std::filesystem::directory_iterator entries(path);
  return static_cast<std::size_t>(std::distance(begin(entries), end(entries)));
}

void write(const std::string& path, const CPxImage& image) { writeImageFile(path, {&image, 1}); }
void write(const std::string& path, const std::string& text) { std::ofstream(path, std::ios::binary) << text; }
CPxImage read(const std::string& path) { return readImageFile(path).pages.at(0); }

struct Program : testing::Test {
  std::string in = folder();
  std::string out = folder();
  std::string photo = in + "photo.png";
  std::string colour = in + "colour.png";
  CPxImage grey = gray8({{100, 127, 128}, {129, 0, 255}});

  void SetUp() override {
    write(photo, grey);
    write(colour, rgb8({{1, 2, 3, 4, 5, 6}}));
  }
};

const Table kThresholded = {{0, 0, 255}, {255, 0, 255}};

TEST_F(Program, runsStepsOnAnImage) {
  const Outcome outcome = tool("run " + photo + " -o " + out + "out.png threshold level=128");
  EXPECT_EQ(outcome.code, 0) << outcome.errors;
  EXPECT_EQ(outcome.out + outcome.errors, "");
  EXPECT_PICTURE(read(out + "out.png"), gray8(kThresholded));

  EXPECT_EQ(tool("run " + photo + " cut level=128 keep=lower cut level=127 keep=upper -o " + out + "both.tif").code, 0);
  EXPECT_PICTURE(read(out + "both.tif"), gray8({{0, 127, 128}, {255, 0, 255}}));
}

TEST_F(Program, convertsWithoutSteps) {
  EXPECT_EQ(tool("run " + photo + " -o " + out + "same.bmp").code, 0);
  EXPECT_PICTURE(read(out + "same.bmp"), grey);
}

TEST_F(Program, takesStepsFromAFile) {
  write(in + "steps.txt", "# keep the dark\ncut level=128 keep=lower   # then\n\ncut level=127 keep=upper\n");
  EXPECT_EQ(tool("run " + photo + " --recipe " + in + "steps.txt -o " + out + "out.png").code, 0);
  EXPECT_PICTURE(read(out + "out.png"), gray8({{0, 127, 128}, {255, 0, 255}}));
  EXPECT_EQ(tool("run " + photo + " --recipe " + in + "steps.txt -o " + out + "out.png threshold level=128").code, 0);
  EXPECT_PICTURE(read(out + "out.png"), gray8({{0, 0, 255}, {255, 0, 255}}));
}

TEST_F(Program, takesKernelsFromFiles) {
  // What is to the left of a sample, less itself.
  write(in + "rows.txt", "# nothing above\n0 0 0\n1, -1,\t0  # the row itself\r\n\n0 0 0\n");
  write(in + "line.txt", "# the same\n3x3:0,0,0,1,-1,0,0,0,0\n");
  const std::string run = "run " + photo + " -o " + out;
  EXPECT_EQ(tool(run + "given.png convolve offset=90 kernel=3x3:0,0,0,1,-1,0,0,0,0").code, 0);
  EXPECT_EQ(tool(run + "rows.png convolve offset=90 kernel=@" + in + "rows.txt").code, 0);
  EXPECT_EQ(tool(run + "line.png convolve offset=90 kernel=@" + in + "line.txt").code, 0);
  EXPECT_FALSE(samePicture(read(out + "given.png"), grey));
  EXPECT_PICTURE(read(out + "rows.png"), read(out + "given.png"));
  EXPECT_PICTURE(read(out + "line.png"), read(out + "given.png"));

  write(in + "ragged.txt", "1 2\n3\n");
  write(in + "empty.txt", "# none\n");
  write(in + "word.txt", "1 two\n");
  expectFailure(run + "no.png convolve kernel=@" + in + "ragged.txt", ExitCode::badRecipe, "row 2 has 1 weights");
  expectFailure(run + "no.png convolve kernel=@" + in + "empty.txt", ExitCode::badRecipe, "holds no weights");
  expectFailure(run + "no.png convolve kernel=@" + in + "word.txt", ExitCode::badRecipe, "needs WIDTHxHEIGHT");
  expectFailure(run + "no.png convolve kernel=@" + in + "missing.txt", ExitCode::unreadable, "no such file");
}

TEST_F(Program, readsImagesNamedInSteps) {
  write(in + "plane.png", gray8({{9, 8}}));
  EXPECT_EQ(tool("run " + colour + " -o " + out + "out.png setplane plane=1 other=" + in + "plane.png").code, 0);
  EXPECT_PICTURE(read(out + "out.png"), rgb8({{1, 9, 3, 4, 8, 6}}));
  expectFailure("run " + colour + " -o " + out + "no.png setplane plane=1 other=" + in + "missing.png",
                ExitCode::unreadable, "missing.png: no such file");
  expectFailure("run " + colour + " -o " + out + "no.png setplane plane=1 other=" + photo, ExitCode::refused,
                "setplane did not process");
}

TEST_F(Program, mayWriteOverItsInput) {
  std::filesystem::permissions(photo, std::filesystem::perms(0640));
  EXPECT_EQ(tool("run " + photo + " -o " + photo + " threshold level=128").code, 0);
  EXPECT_PICTURE(read(photo), gray8(kThresholded));
  EXPECT_EQ(std::filesystem::status(photo).permissions(), std::filesystem::perms(0640));
  EXPECT_EQ(filesIn(in), 2u) << "no temporary file is left";
}

TEST_F(Program, writesThroughALinkToTheFile) {
  std::filesystem::create_symlink(photo, out + "link.png");
  EXPECT_EQ(tool("run " + photo + " -o " + out + "link.png threshold level=128").code, 0);
  EXPECT_TRUE(std::filesystem::is_symlink(out + "link.png"));
  EXPECT_PICTURE(read(photo), gray8(kThresholded));
}

TEST_F(Program, leavesTheOutputAloneWhenItFails) {
  const std::string before = contentOf(photo);
  expectFailure("run " + colour + " -o " + photo + " threshold level=128", ExitCode::refused,
                "threshold needs 1 channel, " + colour + " has 3; put 'gray' before it");
  EXPECT_EQ(contentOf(photo), before);
  expectFailure("run " + photo + " -o " + out + "x.jpg setplane plane=1 other=" + photo, ExitCode::refused,
                "setplane needs");
  write(in + "float.tif", grayFloat({{0.5}}));
  expectFailure("run " + in + "float.tif -o " + photo, ExitCode::unwritable, "a PNG holds");
  EXPECT_EQ(contentOf(photo), before);
  EXPECT_EQ(filesIn(out), 0u);
}

TEST_F(Program, saysWhatIsWrongInARecipe) {
  const std::string run = "run " + photo + " -o " + out + "x.png ";
  expectFailure(run + "treshold level=1", ExitCode::badRecipe, "no operation 'treshold'; did you mean 'threshold'?");
  expectFailure(run + "threshold", ExitCode::badRecipe, "threshold needs level=");
  expectFailure(run + "threshold lvel=1", ExitCode::badRecipe, "no parameter 'lvel'; did you mean 'level'?");
  expectFailure(run + "threshold level=bright", ExitCode::badRecipe, "level=bright: needs a whole number");
  expectFailure(run + "threshold level=1 level=2", ExitCode::badRecipe, "'level' twice");
  expectFailure(run + "cut level=1 keep=uper", ExitCode::badRecipe, "did you mean upper?");
  expectFailure(run + "plane plane=9", ExitCode::badRecipe, "must be from 0 to 3");
  expectFailure(run + "level=1", ExitCode::badRecipe, "belongs to no step");
  expectFailure(run + "threshold level=1 mask=" + photo, ExitCode::badRecipe, "does not look at a mask");
  EXPECT_EQ(filesIn(out), 0u);
}

TEST_F(Program, saysWhatIsWrongWithFiles) {
  const auto run = [&](const std::string& input) { return "run " + input + " -o " + out + "x.png"; };
  expectFailure(run(in + "missing.png"), ExitCode::unreadable, "missing.png: no such file");
  write(in + "text.png", "words");
  expectFailure(run(in + "text.png"), ExitCode::damaged, "is no PNG, TIFF, JPEG or BMP image");
  write(in + "short.png", contentOf(photo).substr(0, 40));
  expectFailure(run(in + "short.png"), ExitCode::damaged, "ends too early");
  expectFailure(run("/dev/null"), ExitCode::unreadable, "is not a regular file");
  expectFailure(run(out), ExitCode::unreadable, "holds no file ending in");
  expectFailure("info " + out + "folder.png", ExitCode::unreadable, "no such file");
  std::filesystem::create_directory(in + "folder.png");
  expectFailure("compare " + in + "folder.png " + photo, ExitCode::unreadable, "is a folder");

  expectFailure("run " + photo + " -o " + out + "no/x.png", ExitCode::unwritable, "there is no folder");
  expectFailure("run " + photo + " -o " + in + "folder.png/x.gif", ExitCode::unwritable, "must end in");
  expectFailure("run " + photo + " -o /dev/null/x.png", ExitCode::unwritable, "/dev/null");
  expectFailure("run " + photo + " -o " + photo + "/x.png", ExitCode::unwritable, "there is no folder");
  EXPECT_EQ(filesIn(out), 0u);
}

TEST_F(Program, saysWhatMayNotBeReadOrWritten) {
  // Nothing is forbidden to the superuser, who therefore becomes nobody.
  const std::string user = ::geteuid() == 0 ? "setpriv --reuid=65534 --regid=65534 --clear-groups " : "";
  if (shell(user + kTool + " --version").code != 0) GTEST_SKIP() << "the program cannot be run as another user";
  const auto expectDenied = [&](const std::string& arguments, int code) {
    const Outcome outcome = shell(user + kTool + " " + arguments);
    EXPECT_EQ(outcome.code, code) << outcome.errors;
    EXPECT_NE(outcome.errors.find("permission denied"), std::string::npos) << outcome.errors;
  };
  std::filesystem::permissions(photo, std::filesystem::perms::none);
  expectDenied("run " + photo + " -o " + out + "x.png", ExitCode::unreadable);
  std::filesystem::permissions(colour, std::filesystem::perms(0444));
  expectDenied("run " + colour + " -o " + colour, ExitCode::unwritable);
  std::filesystem::permissions(out, std::filesystem::perms(0555));
  expectDenied("run " + colour + " -o " + out + "x.png", ExitCode::unwritable);
}

// The limit stands for a disk that is full.
TEST_F(Program, leavesNothingTornOnAFullDisk) {
  const CPxImage big = [] {
    Random random(1);
    CPxImage image(CM_GRAY, 8, 500, 500);
    for (int y = 0; y < 500; ++y)
      for (int x = 0; x < 500; ++x) setSample(image, x, y, 0, random.between(0, 255));
    return image;
  }();
  write(in + "big.png", big);
  const std::string before = contentOf(photo);
  const Outcome outcome = shell("ulimit -f 100; " + kTool + " run " + in + "big.png -o " + photo);
  EXPECT_EQ(outcome.code, ExitCode::unwritable) << outcome.errors;
  EXPECT_NE(outcome.errors.find("file too large"), std::string::npos) << outcome.errors;
  EXPECT_EQ(contentOf(photo), before);
  EXPECT_EQ(filesIn(in), 3u);
}

TEST_F(Program, leavesNothingTornOnASmallFileSystem) {
  CPxImage big(CM_GRAY, 8, 500, 500);
  Random random(2);
  for (int y = 0; y < 500; ++y)
    for (int x = 0; x < 500; ++x) setSample(big, x, y, 0, random.between(0, 255));
  write(in + "big.png", big);
  // A file system of its own, gone with the shell.
  const auto inside = [&](const std::string& command) {
    return shell("unshare --map-root-user --mount sh -c 'mount -t tmpfs -o size=128k tmpfs " + out + " && { " +
                 command + "; }'");
  };
  if (inside("true").code != 0) GTEST_SKIP() << "this user may not mount a small file system";
  const Outcome outcome =
      inside("cp " + photo + " " + out + "old.png; " + kTool + " run " + in + "big.png -o " + out +
             "old.png; code=$?; cmp " + photo + " " + out + "old.png && ls -A " + out + "; exit $code");
  EXPECT_EQ(outcome.code, ExitCode::unwritable) << outcome.errors;
  EXPECT_NE(outcome.errors.find("no space left on device"), std::string::npos) << outcome.errors;
  EXPECT_EQ(std::ranges::count(outcome.errors, '\n'), 1) << outcome.errors;
  EXPECT_EQ(outcome.out, "old.png\n") << "the old file is whole, and nothing else is there";
}

TEST_F(Program, noticesThatAFileChangesUnderWay) {
  const std::string large = in + "large.png";
  write(large, contentOf(photo));
  std::filesystem::resize_file(large, 400 << 20);
  for (const char* change : {"touch " /* its time */, "truncate -s 100 " /* its length */}) {
    std::string seen;
    for (int attempt = 0; attempt < 40 && seen.empty(); ++attempt) {
      std::filesystem::resize_file(large, 400 << 20);
      const Outcome outcome = shell(kTool + " info " + large + " & sleep 0.0" + std::to_string(1 + attempt % 9) + "; " +
                                    change + large + "; wait $!");
      if (outcome.code == ExitCode::unreadable) seen = outcome.errors;
    }
    EXPECT_NE(seen.find("large.png: was changed while it was read; try again"), std::string::npos) << change << seen;
    EXPECT_EQ(std::ranges::count(seen, '\n'), 1) << seen;
  }
}

TEST_F(Program, believesNoFileBeyondItsMeans) {
  const auto bytes = [&](const std::string& name, const Bytes& content) {
    write(in + name, std::string(content.begin(), content.end()));
    return in + name;
  };
  const std::string to = " -o " + out + "x.png";
  expectFailure("run " + bytes("wide.png", handmadePng(30000, 20000, 8, 2, {}, {{1, 2, 3}})) + to, ExitCode::damaged,
                "wide.png: declares 30000 x 20000 pixels, too many for a file of");
  expectFailure("run " + bytes("most.png", handmadePng(0x7fffffff, 0x7fffffff, 16, 6, {}, {{1, 2, 3}})) + to,
                ExitCode::damaged, "more than the 2 GiB");
  write(in + "huge.tif", contentOf(photo));
  std::filesystem::resize_file(in + "huge.tif", std::uintmax_t{5} << 30);
  expectFailure("run " + in + "huge.tif" + to, ExitCode::unreadable, "huge.tif: is larger than the 4 GiB");
  EXPECT_EQ(filesIn(out), 0u);
  // What a file is called does not matter, what is in it does.
  std::filesystem::copy_file(photo, in + "mislabelled.jpg");
  EXPECT_EQ(tool("run " + in + "mislabelled.jpg" + to).code, 0);
  EXPECT_PICTURE(read(out + "x.png"), grey);
}

TEST_F(Program, saysWhatIsWrongOnTheCommandLine) {
  expectFailure("rnu " + photo, ExitCode::usage, "no command 'rnu'; did you mean 'run'?");
  expectFailure("run " + photo + " --colour", ExitCode::usage, "--colour");
  expectFailure("run", ExitCode::usage, "which image?");
  expectFailure("run " + photo + " threshold level=1", ExitCode::usage, "Add -o FILE");
  expectFailure("run " + photo + " " + colour + " -o " + out + "x.png", ExitCode::usage, "put {stem}");
  expectFailure("run " + photo + " -o '" + out + "{stm}.png'", ExitCode::usage, "{stm} is unknown");
  expectFailure("run " + photo + " " + photo + " -o '" + out + "{stem}.png'", ExitCode::usage, "would both be written");
  expectFailure("run " + photo + " -o " + out + "x.jpg --quality 0", ExitCode::usage, "--quality");
  expectFailure("completion tcsh", ExitCode::usage, "bash, zsh and fish");
  EXPECT_EQ(tool("").code, ExitCode::usage);
}

TEST_F(Program, processesManyFiles) {
  for (int i = 1; i <= 12; ++i) write(in + "n" + std::to_string(i) + ".png", grey);
  write(in + "n5.png", "broken");
  for (const std::string& input : {"'" + in + "n*.png'", in + "n*.png"}) {
    const std::string to = folder();
    const Outcome outcome = tool("run " + input + " -o '" + to + "{stem}-bw.png' --jobs 3 threshold level=128");
    EXPECT_EQ(outcome.code, ExitCode::someFailed) << outcome.errors;
    EXPECT_EQ(filesIn(to), 11u);
    EXPECT_PICTURE(read(to + "n12-bw.png"), gray8(kThresholded));
    EXPECT_NE(outcome.errors.find("n5.png: is no PNG"), std::string::npos) << outcome.errors;
    EXPECT_NE(outcome.errors.find("12 files: 11 done, 1 failed"), std::string::npos) << outcome.errors;
  }
  // A folder; its own name for each; only the errors.
  const Outcome outcome = tool("run " + in + " -o " + out + " --quiet");
  EXPECT_EQ(outcome.code, ExitCode::someFailed);
  EXPECT_EQ(std::ranges::count(outcome.errors, '\n'), 1) << outcome.errors;
  EXPECT_EQ(filesIn(out), 13u);
}

TEST_F(Program, showsABarOnATerminal) {
  if (shell("command -v script").code != 0) GTEST_SKIP() << "there is no script to make a terminal";
  const Outcome outcome =
      shell("script -qec '" + kTool + " run " + in + " -o " + out + " --jobs 1' /dev/null </dev/null");
  EXPECT_EQ(outcome.code, 0) << outcome.out;
  EXPECT_TRUE(std::regex_search(outcome.out, std::regex(" 2/2  [0-9.]+/s  0:00 left"))) << outcome.out;
  EXPECT_NE(outcome.out.find("2 files: 2 done, 0 failed"), std::string::npos) << outcome.out;
  EXPECT_EQ(outcome.out.find("[1/2]"), std::string::npos) << "lines are for where there is no terminal";
}

TEST_F(Program, takesMemoryForItsJobsNotForItsFiles) {
  write(in + "0.bmp", CPxImage(CM_RGB, 8, 1000, 1000));
  for (int i = 1; i < 40; ++i) std::filesystem::create_hard_link(in + "0.bmp", in + std::to_string(i) + ".bmp");
  // A sanitizer's allocator would keep what is freed.
  const auto peak = [&](const std::string& files) {
    const Outcome outcome = shell("ASAN_OPTIONS=$ASAN_OPTIONS:quarantine_size_mb=1 " + kTool + " run " + files +
                                  " -o " + out + " --quiet --time --jobs 2 median invert");
    EXPECT_EQ(outcome.code, 0) << outcome.errors;
    std::smatch match;
    return std::regex_search(outcome.errors, match, std::regex("peak of the program +([0-9.]+) MiB"))
               ? std::stod(match[1])
               : 0;
  };
  const double ofFour = peak(in + "[0-3].bmp");
  EXPECT_GT(ofFour, 0);
  EXPECT_LT(peak("'" + in + "*.bmp'"), ofFour + 5);
}

TEST_F(Program, numbersOutputs) {
  for (int i = 0; i < 10; ++i) write(in + "i" + std::to_string(i) + ".png", gray8({{static_cast<double>(i)}}));
  EXPECT_EQ(tool("run '" + in + "i?.png' -q -o '" + out + "{index}.{ext}'").code, 0);
  EXPECT_PICTURE(read(out + "01.png"), gray8({{0}}));
  EXPECT_PICTURE(read(out + "10.png"), gray8({{9}}));
}

TEST_F(Program, resumes) {
  const std::string command = "run " + photo + " " + colour + " -o '" + out + "{name}' --resume";
  EXPECT_EQ(tool(command).code, 0);
  std::filesystem::remove(out + "photo.png");
  write(out + "colour.png", "done before, left alone");
  const Outcome outcome = tool(command);
  EXPECT_EQ(outcome.code, 0);
  EXPECT_NE(outcome.errors.find("2 files: 1 done, 1 skipped, 0 failed"), std::string::npos) << outcome.errors;
  EXPECT_PICTURE(read(out + "photo.png"), grey);
  EXPECT_EQ(contentOf(out + "colour.png"), "done before, left alone");
  // A newer input is done again.
  std::filesystem::last_write_time(colour,
                                   std::filesystem::last_write_time(out + "colour.png") + std::chrono::seconds(5));
  EXPECT_EQ(tool(command).code, 0);
  EXPECT_PICTURE(read(out + "colour.png"), read(colour));
}

TEST_F(Program, stopsWithoutTornFiles) {
  Random random(1);
  CPxImage image(CM_RGB, 16, 700, 700);
  for (int y = 0; y < 700; ++y)
    for (int x = 0; x < 2100; ++x)
      static_cast<unsigned short*>(image.Get2DBuffer()[y])[x] = static_cast<unsigned short>(random.bits());
  write(in + "0.png", image);
  for (int i = 1; i < 40; ++i) std::filesystem::create_hard_link(in + "0.png", in + std::to_string(i) + ".png");
  const Outcome outcome =
      shell(kTool + " run '" + in + "[0-9]*.png' -o " + out + " --jobs 2 & pid=$!; " + "while [ -z \"$(ls " + out +
            ")\" ]; do sleep 0.01; done; kill -INT $pid; wait $pid; exit $?");
  EXPECT_EQ(outcome.code, ExitCode::interrupted) << outcome.errors;
  EXPECT_NE(outcome.errors.find("stopped; 40 files"), std::string::npos) << outcome.errors;
  EXPECT_LT(filesIn(out), 40u);
  for (const auto& entry : std::filesystem::directory_iterator(out)) {
    EXPECT_EQ(entry.path().extension(), ".png") << "no temporary file is left";
    EXPECT_PICTURE(read(entry.path().string()), image);
  }
}

TEST_F(Program, processesEveryPage) {
  const CPxImage pages[] = {grey, gray8({{1, 200}})};
  writeImageFile(in + "pages.tif", pages);
  EXPECT_EQ(tool("run " + in + "pages.tif -o " + out + "pages.tif threshold level=128").code, 0);
  const auto made = readImageFile(out + "pages.tif").pages;
  ASSERT_EQ(made.size(), 2u);
  EXPECT_PICTURE(made[0], gray8(kThresholded));
  EXPECT_PICTURE(made[1], gray8({{0, 255}}));
  expectFailure("run " + in + "pages.tif -o " + out + "pages.png", ExitCode::unwritable, "write a .tif");
}

TEST_F(Program, tellsWhatStepsCost) {
  const Outcome outcome = tool("run " + photo + " -o " + out + "x.png --time threshold level=128");
  EXPECT_EQ(outcome.code, 0);
  for (const char* line : {"read ", "threshold level=128 ", "write ", "peak of the program"})
    EXPECT_NE(outcome.errors.find(std::string("\n") + line), std::string::npos) << line << "\n" << outcome.errors;
}

TEST_F(Program, showsWhatImagesAre) {
  const Outcome outcome = tool("info " + photo + " " + colour);
  EXPECT_EQ(outcome.code, 0);
  EXPECT_EQ(outcome.out, photo + ": PNG, 3 x 2, grey, 8-bit, samples 0..255\n" + colour +
                             ": PNG, 2 x 1, RGB, 8-bit, samples 1..4 2..5 3..6\n");
  EXPECT_EQ(tool("info --json " + photo).out,
            "{\"file\": \"" + photo +
                "\", \"format\": \"PNG\", \"images\": [{\"width\": 3, \"height\": 2, \"model\": \"grey\", "
                "\"channels\": 1, \"bits\": 8, \"palette\": 0, \"ranges\": [[0, 255]]}]}\n");
}

TEST_F(Program, comparesImages) {
  EXPECT_EQ(tool("compare " + photo + " " + photo).code, 0);
  write(in + "other.png", gray8({{100, 127, 128}, {129, 10, 250}}));
  const Outcome outcome = tool("compare " + photo + " " + in + "other.png -o " + out + "difference.png");
  EXPECT_EQ(outcome.code, ExitCode::different);
  EXPECT_EQ(outcome.out.substr(0, outcome.out.find(", mean")), "differ: 2 of 6 pixels (33.33 %), greatest 10 at 1,1");
  EXPECT_PICTURE(read(out + "difference.png"), gray8({{0, 0, 0}, {0, 255, 127}}));
  EXPECT_EQ(tool("compare " + photo + " " + colour).code, ExitCode::different);
  EXPECT_EQ(tool("compare --json " + photo + " " + in + "other.png").out.substr(0, 63),
            "{\"equal\": false, \"comparable\": true, \"pixels\": 2, \"samples\": 2,");
}

TEST_F(Program, explainsEveryOperation) {
  const std::string listed = tool("list").out;
  const std::string json = tool("list --json").out;
  for (const auto& operation : catalogue::operations()) {
    const Outcome outcome = tool("help " + operation.name);
    EXPECT_EQ(outcome.code, 0) << operation.name;
    EXPECT_EQ(outcome.out.find(operation.name + ": " + operation.summary), 0u) << outcome.out;
    for (const auto& parameter : operation.parameters)
      EXPECT_NE(outcome.out.find("\n  " + parameter.name + " "), std::string::npos) << outcome.out;
    EXPECT_NE(listed.find("\n  " + operation.name + " "), std::string::npos);
    EXPECT_NE(json.find("{\"name\": \"" + operation.name + "\""), std::string::npos);
  }
  for (int code = 0; code <= 9; ++code)
    EXPECT_NE(tool("help exit-codes").out.find("  " + std::to_string(code) + "  "), std::string::npos);
  expectFailure("help treshold", ExitCode::badRecipe, "did you mean 'threshold'?");
}

TEST_F(Program, completesInBash) {
  const auto complete = [&](const std::string& words, int index) {
    return shell("bash -c '. <(" + kTool + " completion bash); COMP_WORDS=(" + words + "); COMP_CWORD=" +
                 std::to_string(index) + "; compopt() { :; }; _rasterkit; printf \"%s\\n\" \"${COMPREPLY[@]}\"'");
  };
  EXPECT_EQ(complete("rasterkit inf", 1).out, "info\n");
  EXPECT_EQ(complete("rasterkit help thresh", 2).out, "threshold\n");
  EXPECT_EQ(complete("rasterkit run a.png thresh", 3).out, "threshold\n");
  EXPECT_EQ(complete("rasterkit run a.png threshold lev", 4).out, "level=\n");
  EXPECT_EQ(complete("rasterkit run a.png cut keep = up", 6).out, "upper\n");
  EXPECT_EQ(complete("rasterkit run a.png --res", 3).out, "--resume\n");
  EXPECT_EQ(complete("rasterkit run a.png cut ke", 4).errors, "");
  EXPECT_EQ(complete("rasterkit hist a.png pea", 3).out, "peaks=\n");
  EXPECT_EQ(complete("rasterkit run a.png median -o " + in + "ph", 5).out, photo + "\n");
}

TEST_F(Program, completesEveryOptionOfEveryCommand) {
  const auto wordsOf = [](const std::string& text, const std::string& pattern) {
    std::set<std::string> words;
    const std::regex expression(pattern);
    for (std::sregex_iterator match(text.begin(), text.end(), expression), end; match != end; ++match)
      words.insert((*match)[1]);
    return words;
  };
  const auto commands = wordsOf(tool("--help").out.substr(tool("--help").out.find("Subcommands")), "\n  ([a-z]+) ");
  EXPECT_TRUE(commands.contains("gallery"));
  for (const std::string& command : commands) {
    const auto options = wordsOf(tool(command + " --help").out, "\n  (?:-[a-z],)?(--[a-z]+)");
    const Outcome completed =
        shell("bash -c '. <(" + kTool + " completion bash); COMP_WORDS=(rasterkit " + command +
              " --); COMP_CWORD=2; compopt() { :; }; _rasterkit; printf \"%s\\n\" \"${COMPREPLY[@]}\"'");
    EXPECT_EQ(wordsOf(completed.out, "(--[a-z]+)"), options) << command;
    const std::string fish = tool("completion fish").out;
    for (const std::string& option : options) {
      if (option == "--help") continue;
      EXPECT_NE(fish.find("from " + command + "' -l " + option.substr(2)), std::string::npos) << command << option;
    }
  }
}

TEST_F(Program, completesInZsh) {
  if (shell("command -v zsh").code != 0) GTEST_SKIP() << "there is no zsh";
  // What zsh's own functions would be given.
  const auto complete = [&](const std::string& words, int current) {
    return shell(
        "zsh -fc 'compdef() { :; }; _describe() { print -l -- ${(P)2}; }; compset() { return 1; }; _files() { print "
        "files; }; compadd() { print -l -- $@; }; words=(" +
        words + "); CURRENT=" + std::to_string(current) + "; . <(" + kTool + " completion zsh)'");
  };
  EXPECT_NE(complete("rasterkit inf", 2).out.find("\ninfo:show what images are\n"), std::string::npos);
  EXPECT_NE(complete("rasterkit run a.png thr", 4).out.find("\nthreshold:"), std::string::npos);
  EXPECT_NE(complete("rasterkit run a.png threshold lev", 5).out.find("level=\n"), std::string::npos);
  EXPECT_NE(complete("rasterkit lines a.png --ov", 4).out.find("--over\n"), std::string::npos);
  EXPECT_NE(complete("rasterkit hist a.png pe", 4).out.find("peaks=\n"), std::string::npos);
  EXPECT_EQ(complete("rasterkit run a.png -o x", 5).out, "files\n");
  EXPECT_EQ(complete("rasterkit run a.png threshold lev", 5).errors, "");
}

TEST_F(Program, completesInFish) {
  if (shell("command -v fish").code != 0) GTEST_SKIP() << "there is no fish";
  const auto complete = [&](const std::string& line) {
    return shell("HOME=" + out + " fish -c '" + kTool + " completion fish | source; complete -C \"" + line + "\"'").out;
  };
  EXPECT_EQ(complete("rasterkit inf").substr(0, 5), "info\t");
  EXPECT_EQ(complete("rasterkit run a.png thresho").substr(0, 10), "threshold\t");
  EXPECT_EQ(complete("rasterkit run a.png threshold lev").substr(0, 6), "level=");
  EXPECT_EQ(complete("rasterkit lines a.png --over").substr(0, 6), "--over");
  EXPECT_EQ(complete("rasterkit hist a.png pea").substr(0, 6), "peaks=");
}

TEST_F(Program, hasAManual) {
  const Outcome outcome = tool("manual");
  EXPECT_EQ(outcome.code, 0);
  for (const auto& operation : catalogue::operations())
    EXPECT_NE(outcome.out.find("\n.B " + operation.name.substr(0, operation.name.find('-'))), std::string::npos)
        << operation.name;
  if (shell("command -v man").code != 0) return;
  const Outcome shown = shell(kTool + " manual >" + out + "rasterkit.1; LC_ALL=C.UTF-8 MANWIDTH=80 man --warnings -l " +
                              out + "rasterkit.1 >" + out + "shown");
  EXPECT_EQ(shown.code, 0);
  EXPECT_EQ(shown.errors, "");
}

}  // namespace
}  // namespace rasterkit::tools
