#include <rasterkit/core/manager.h>

#include <gtest/gtest.h>

#include <cstring>
#include <string>

namespace rasterkit {
namespace {

std::string pathOf(const CHostProfileManager& profile) {
  char path[260];
  std::memset(path, 'x', sizeof path);
  profile.GetUIPath(path);
  return path;
}

std::string nameOf(const CHostProfileManager& profile) {
  char name[260];
  std::memset(name, 'x', sizeof name);
  profile.GetFileName(name);
  return name;
}

TEST(HostProfile, isNamedAsTheLibrary) {
  CHostProfileManager profile;
  EXPECT_EQ(nameOf(profile), "");
  profile.SetDefaultInfo();
  EXPECT_EQ(nameOf(profile), "rasterkit");
  profile.SetFileName("other");
  EXPECT_EQ(nameOf(profile), "other");
  profile.SetFileName(nullptr);
  EXPECT_EQ(nameOf(profile), "");
}

TEST(HostProfile, looksBesideTheLibraryUntilToldOtherwise) {
  CHostProfileManager profile;
  const std::string own = pathOf(profile);
  ASSERT_FALSE(own.empty());
  const char separator = own.back();
  EXPECT_TRUE(separator == '/' || separator == '\\');
  profile.SetUIPath("folder");
  EXPECT_EQ(pathOf(profile), std::string("folder") + separator);
  profile.SetUIPath("folder/");
  EXPECT_EQ(pathOf(profile), "folder/");
  for (const char* const nothing : {"", static_cast<const char*>(nullptr)}) {
    profile.SetUIPath("folder");
    profile.SetUIPath(nothing);
    EXPECT_EQ(pathOf(profile), own);
  }
}

TEST(HostProfile, keepsWhatItHadWhereATextIsTooLong) {
  CHostProfileManager profile;
  const std::string longest(258, 'a'), tooLong(259, 'a');
  profile.SetUIPath(longest.c_str());
  EXPECT_EQ(pathOf(profile).size(), 259u);
  profile.SetUIPath(tooLong.c_str());
  EXPECT_EQ(pathOf(profile).size(), 259u);
  EXPECT_EQ(pathOf(profile).compare(0, 258, longest), 0);
  profile.SetUIPath((longest + "/").c_str());
  EXPECT_EQ(pathOf(profile), longest + "/");
  profile.SetFileName(tooLong.c_str());
  EXPECT_EQ(nameOf(profile), tooLong);
  profile.SetFileName((tooLong + "a").c_str());
  EXPECT_EQ(nameOf(profile), tooLong);
}

TEST(HostProfile, settersAffectTheirOwnObjectOnly) {
  CHostProfileManager profile;
  EXPECT_TRUE(profile.GetCaption().IsEmpty());
  profile.SetCaption("caption");
  profile.SetUIPath("folder");
  EXPECT_TRUE(profile.GetCaption() == "caption");
  EXPECT_TRUE(GetHostProfileManager().GetCaption().IsEmpty());
  EXPECT_NE(pathOf(GetHostProfileManager()), pathOf(profile));
  profile.SetCaption(nullptr);
  EXPECT_TRUE(profile.GetCaption().IsEmpty());
  EXPECT_EQ(&GetHostProfileManager(), &GetHostProfileManager());
}

TEST(HostProfile, keepsItsModule) {
  CHostProfileManager profile;
  int module = 0;
  profile.SetHInstance(reinterpret_cast<HINSTANCE>(&module));
  EXPECT_EQ(profile.GetHInstance(), reinterpret_cast<HINSTANCE>(&module));
}

TEST(ImageProcessingManager, isOne) {
  EXPECT_EQ(&GetImageProcessingManager(), &GetImageProcessingManager());
  CImageProcessingManager& manager = GetImageProcessingManager();
  EXPECT_EQ(&(manager = CImageProcessingManager()), &GetImageProcessingManager());
}

}  // namespace
}  // namespace rasterkit
