// The message box itself: found among the windows, read, and closed.

#include <rasterkit/core/manager.h>
#include <rasterkit/point/tone.h>

#include <gtest/gtest.h>

#include <chrono>
#include <string>
#include <thread>

namespace rasterkit::test {
namespace {

struct Box {
  std::wstring caption, text;
  HICON icon = nullptr;
  HWND owner = nullptr;
};

std::wstring textOf(HWND window) {
  wchar_t text[1024] = L"";
  GetWindowTextW(window, text, 1024);
  return text;
}

// The icon of the control that has one; its number differs between Windows and Wine.
HICON iconOf(HWND box) {
  HICON icon = nullptr;
  for (HWND control = GetWindow(box, GW_CHILD); control && !icon; control = GetWindow(control, GW_HWNDNEXT))
    icon = reinterpret_cast<HICON>(SendMessageW(control, STM_GETICON, 0, 0));
  return icon;
}

// Waits for the box with this caption, reads it and presses its button.
void readAndClose(const wchar_t* caption, Box& box) {
  const wchar_t* const dialogClass = L"#32770";
  constexpr int textControl = 0xFFFF;
  for (int tries = 0; tries < 600; ++tries) {
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
    const HWND window = FindWindowW(dialogClass, caption);
    const HWND text = window ? GetDlgItem(window, textControl) : nullptr;
    if (!text || !IsWindowVisible(window)) continue;
    box = {textOf(window), textOf(text), iconOf(window), GetWindow(window, GW_OWNER)};
    PostMessageW(window, WM_COMMAND, IDOK, 0);
    return;
  }
}

Box shown(const char* caption, const wchar_t* wide) {
  GetHostProfileManager().SetCaption(caption);
  Box box;
  std::thread reader(readAndClose, wide, std::ref(box));
  CPxGammaProcessing gamma;
  EXPECT_EQ(gamma.Gamma(CRect(-1, -1, -1, -1)), 0);
  reader.join();
  GetHostProfileManager().SetCaption(nullptr);
  return box;
}

TEST(MessageWindow, speaksEnglish) {
  GetImageProcessingManager().UpdateLanguage(9);
  const Box box = shown("Darkroom", L"Darkroom");
  EXPECT_EQ(box.caption, L"Darkroom");
  EXPECT_EQ(box.text, L"You should call a SetCoefficient and CreateVectorTable function first.");
  EXPECT_EQ(box.icon, LoadIcon(nullptr, IDI_EXCLAMATION));
}

TEST(MessageWindow, belongsToTheActiveWindow) {
  EXPECT_EQ(shown("Darkroom", L"Darkroom").owner, nullptr) << "none is active";
  const HWND host = CreateWindowExW(0, L"STATIC", L"host", WS_OVERLAPPEDWINDOW | WS_VISIBLE, 0, 0, 200, 100, nullptr,
                                    nullptr, nullptr, nullptr);
  ASSERT_NE(host, nullptr);
  SetActiveWindow(host);
  EXPECT_EQ(shown("Darkroom", L"Darkroom").owner, host);
  DestroyWindow(host);
}

TEST(MessageWindow, speaksKorean) {
  if (GetACP() != 949) GTEST_SKIP() << "texts are shown in code page " << GetACP() << ", which has no Korean";
  GetImageProcessingManager().UpdateLanguage(18);
  const Box box = shown("\xBE\xCF\xBD\xC7", L"\uC554\uC2E4");  // a dark room, in code page 949
  GetImageProcessingManager().UpdateLanguage(9);
  EXPECT_EQ(box.caption, L"\uC554\uC2E4");
  EXPECT_EQ(box.text,
            L"\uBA3C\uC800 SetCoefficient \uBC0F CreateVectorTable \uD568\uC218\uB97C \uD638\uCD9C\uD574\uC57C "
            L"\uD569\uB2C8\uB2E4.");
}

TEST(LanguageLibrary, isFreedWhenAnotherIsLoaded) {
  auto loaded = [](const char* name) { return GetModuleHandleA(name) != nullptr; };
  CImageProcessingManager& manager = GetImageProcessingManager();
  manager.UpdateLanguage(9);
  manager.UpdateLanguage(9);
  EXPECT_TRUE(loaded("rasterkit ENG.DLL"));
  manager.UpdateLanguage(18);
  EXPECT_FALSE(loaded("rasterkit ENG.DLL")) << "loaded twice, freed twice";
  EXPECT_TRUE(loaded("rasterkit KOR.DLL"));
  manager.UpdateLanguage(9);
  EXPECT_FALSE(loaded("rasterkit KOR.DLL"));
}

}  // namespace
}  // namespace rasterkit::test
