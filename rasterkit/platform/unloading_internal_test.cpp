// The shared library as the host of a plug-in meets it: loaded while the program runs, and unloaded again. These tests
// are linked to the static one, so nothing else holds it.

#include <rasterkit/core/manager.h>
#include <rasterkit/version.h>

#include "rasterkit/platform/desktop_seam.h"

#include <gtest/gtest.h>

#include <cstring>
#include <filesystem>

#if defined(_WIN32)

template <class Function>
Function* functionOf(HINSTANCE library, const char* name) {
  return reinterpret_cast<Function*>(reinterpret_cast<void*>(GetProcAddress(library, name)));
}
static bool isLoaded(const std::filesystem::path& path) { return GetModuleHandleA(path.filename().string().c_str()); }

#else

#include <dlfcn.h>

template <class Function>
Function* functionOf(HINSTANCE library, const char* name) {
  return reinterpret_cast<Function*>(dlsym(library, name));
}
static bool isLoaded(const std::filesystem::path& path) {
  void* const library = dlopen(path.c_str(), RTLD_LAZY | RTLD_NOLOAD);
  if (library) dlclose(library);
  return library;
}

#endif

namespace rasterkit {
namespace {

const std::filesystem::path library = RASTERKIT_SHARED_LIBRARY;
const std::filesystem::path korean = library.parent_path() / "rasterkit KOR.DLL";

TEST(SharedLibrary, freesItsLanguageLibraryWhenItIsUnloaded) {
  const HINSTANCE loaded = loadLanguageLibrary(library.string());
  ASSERT_NE(loaded, nullptr);
  const auto manager = functionOf<CImageProcessingManager&()>(loaded, "_Z25GetImageProcessingManagerv");
  const auto update =
      functionOf<void(CImageProcessingManager&, int)>(loaded, "_ZN23CImageProcessingManager14UpdateLanguageEi");
  ASSERT_TRUE(manager && update);
  update(manager(), 18);
  EXPECT_TRUE(isLoaded(korean));

  freeLanguageLibrary(loaded);
  EXPECT_FALSE(isLoaded(library));
  EXPECT_FALSE(isLoaded(korean));
}

TEST(LanguageLibrary, carriesItsTextAndVersion) {
  const HINSTANCE loaded = loadLanguageLibrary(korean.string());
  ASSERT_NE(loaded, nullptr);
  EXPECT_NE(languageString(loaded, 7000), "");
  EXPECT_NE(languageString(loaded, 7000), ownString(7000));
  EXPECT_EQ(languageString(loaded, 7001), "");
#if defined(_WIN32)
  // The fixed part of a version block follows its length, two words more, and its name in wide characters.
  constexpr std::size_t nameBytes = sizeof L"VS_VERSION_INFO", fixedPart = (6 + nameBytes + 3) / 4 * 4;
  for (const HINSTANCE module : {loaded, LoadLibraryA(library.string().c_str())}) {
    const HRSRC block = FindResourceA(module, MAKEINTRESOURCEA(VS_VERSION_INFO), MAKEINTRESOURCEA(16));
    ASSERT_NE(block, nullptr);
    const auto* const bytes = static_cast<const unsigned char*>(LockResource(LoadResource(module, block)));
    VS_FIXEDFILEINFO version;
    std::memcpy(&version, bytes + fixedPart, sizeof version);
    EXPECT_EQ(version.dwSignature, 0xFEEF04BDu);
    EXPECT_EQ(version.dwFileVersionMS, DWORD{RASTERKIT_VERSION_MAJOR << 16 | RASTERKIT_VERSION_MINOR});
    EXPECT_EQ(version.dwFileVersionLS, DWORD{RASTERKIT_VERSION_PATCH << 16});
  }
  const HINSTANCE own = GetModuleHandleA("rasterkit.dll");
  EXPECT_EQ(languageString(own, 7000), ownString(7000)) << "the library's own resources hold its text too";
  freeLanguageLibrary(own);
#else
  EXPECT_STREQ(functionOf<const char*()>(loaded, "rasterkitVersion")(), RASTERKIT_VERSION);
#endif
  freeLanguageLibrary(loaded);
}

}  // namespace
}  // namespace rasterkit
