// The language of the library's texts, as a host chooses it. Built language libraries stand beside the library.

#include <rasterkit/core/manager.h>
#include <rasterkit/platform/desktop.h>
#include <rasterkit/point/tone.h>

#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "tests/support/files.h"

namespace rasterkit::test {
namespace {

const char* const kEnglish = "You should call a SetCoefficient and CreateVectorTable function first.";

// What the library says where a table is missing.
std::string message() {
  std::string text;
  setMessageHandler(
      [](void* context, const char* said, const char*, unsigned int) {
        *static_cast<std::string*>(context) = said;
        return 1;
      },
      &text);
  CPxContrastProcessing().Contrast(CRect());
  setMessageHandler(nullptr);
  return text;
}

void speak(int language) { GetImageProcessingManager().UpdateLanguage(language); }

std::filesystem::path libraryFolder() {
  char path[260];
  CHostProfileManager().GetUIPath(path);
  return path;
}

class Language : public testing::Test {
 protected:
  void SetUp() override {
    std::filesystem::create_directories(folder);
    GetHostProfileManager().SetUIPath(folder.string().c_str());
  }
  void TearDown() override {
    GetHostProfileManager().SetUIPath(nullptr);
    speak(9);
    std::filesystem::remove_all(folder);
  }
  // Puts a language library into the host's folder under another name.
  void provide(const char* library, const char* name) {
    std::filesystem::copy_file(libraryFolder() / library, folder / name);
  }

  const std::filesystem::path folder = temporaryFile("languages");
  // The Korean text itself stays with the resources; it is told by what it shares with no other.
  static bool isKorean(const std::string& text) {
    return text != kEnglish && text.find("SetCoefficient") != std::string::npos &&
           text.find("CreateVectorTable") != std::string::npos;
  }
};

TEST_F(Language, isEnglishAtFirst) { EXPECT_EQ(message(), kEnglish); }

TEST_F(Language, changesWithTheLibrariesOfTheHostsFolder) {
  provide("rasterkit ENG.DLL", "rasterkit ENG.DLL");
  provide("rasterkit KOR.DLL", "rasterkit KOR.DLL");
  speak(18);
  EXPECT_TRUE(isKorean(message())) << message();
  speak(9);
  EXPECT_EQ(message(), kEnglish);
}

TEST_F(Language, standsBesideTheLibraryByDefault) {
  GetHostProfileManager().SetUIPath(nullptr);
  speak(18);
  EXPECT_TRUE(isKorean(message())) << message();
}

TEST_F(Language, staysWhereALibraryIsMissing) {
  speak(18);
  EXPECT_EQ(message(), kEnglish);
  provide("rasterkit KOR.DLL", "rasterkit KOR.DLL");
  speak(18);
  speak(9);
  speak(7);
  EXPECT_TRUE(isKorean(message())) << message();
}

TEST_F(Language, ofAnyOtherNumberIsTheBareName) {
  provide("rasterkit KOR.DLL", "rasterkit");
  provide("rasterkit KOR.DLL", "rasterkit.dll");  // Windows adds the ending to a bare name
  for (const int number : {7, 0, -1, 10}) {
    speak(9);
    GetHostProfileManager().SetUIPath(folder.string().c_str());
    speak(number);
    EXPECT_TRUE(isKorean(message())) << number;
    GetHostProfileManager().SetUIPath(nullptr);
  }
}

TEST_F(Language, asksTheLibraryWideProfileOnly) {
  provide("rasterkit KOR.DLL", "rasterkit KOR.DLL");
  GetHostProfileManager().SetFileName("other");
  speak(18);
  GetHostProfileManager().SetFileName(nullptr);
  EXPECT_TRUE(isKorean(message())) << "the file name is the library's, whatever the host's is";
}

TEST_F(Language, freesTheLibraryThatItHadBefore) {
  if (std::filesystem::path::preferred_separator == '\\') GTEST_SKIP() << "Windows has a test of its own";
  provide("rasterkit ENG.DLL", "rasterkit ENG.DLL");
  provide("rasterkit KOR.DLL", "rasterkit KOR.DLL");
  auto loaded = [&](const char* name) {
    return contentOf("/proc/self/maps").find((folder / name).string()) != std::string::npos;
  };
  speak(9);
  speak(9);
  EXPECT_TRUE(loaded("rasterkit ENG.DLL"));
  speak(18);
  EXPECT_FALSE(loaded("rasterkit ENG.DLL")) << "loaded twice, freed twice";
  EXPECT_TRUE(loaded("rasterkit KOR.DLL"));
}

TEST_F(Language, ofAPathThatIsTooLongStays) {
  const std::string deep(250, 'a');
  GetHostProfileManager().SetUIPath(deep.c_str());
  speak(18);
  EXPECT_EQ(message(), kEnglish);
}

}  // namespace
}  // namespace rasterkit::test
