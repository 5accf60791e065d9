#include "rasterkit/core/application.h"

#include <gtest/gtest.h>

#include <filesystem>

namespace rasterkit {
namespace {

// Where the shared library is built, with the language libraries beside it.
std::filesystem::path libraryFolder() { return std::filesystem::path(RASTERKIT_SHARED_LIBRARY).parent_path(); }

TEST(Application, keepsItsLanguageWhereALibraryCannotBeLoaded) {
  Application& application = Application::instance();
  EXPECT_EQ(application.language(), 9);
  EXPECT_EQ(application.resources(), nullptr) << "none is loaded before it is asked for";

  GetHostProfileManager().SetUIPath("no such folder");
  EXPECT_EQ(application.loadLanguage(18), 0);
  EXPECT_EQ(application.language(), 9);
  EXPECT_EQ(application.resources(), nullptr);

  GetHostProfileManager().SetUIPath(libraryFolder().string().c_str());
  EXPECT_EQ(application.loadLanguage(18), 1);
  EXPECT_EQ(application.language(), 18);
  const HINSTANCE korean = application.resources();
  EXPECT_NE(korean, nullptr);

  GetHostProfileManager().SetUIPath("no such folder");
  EXPECT_EQ(application.loadLanguage(9), 0);
  EXPECT_EQ(application.language(), 18);
  EXPECT_EQ(application.resources(), korean);

  GetHostProfileManager().SetUIPath(libraryFolder().string().c_str());
  EXPECT_EQ(application.loadLanguage(9), 1);
  EXPECT_EQ(application.language(), 9);
  GetHostProfileManager().SetUIPath(nullptr);
}

}  // namespace
}  // namespace rasterkit
