#include "rasterkit/platform/desktop_seam.h"

#include <rasterkit/geometry/regions.h>

#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <thread>
#include <vector>

namespace rasterkit {
namespace {

using Bytes = std::vector<unsigned char>;

// A bitmap block whose rows, given top first, are stored bottom-up.
Bytes bitmap(int bits, int width, const std::vector<Bytes>& rows, const Bytes& colours = {}) {
  BITMAPINFOHEADER head{};
  head.biSize = 40;
  head.biWidth = width;
  head.biHeight = static_cast<int>(rows.size());
  head.biPlanes = 1;
  head.biBitCount = static_cast<WORD>(bits);
  head.biClrUsed = static_cast<DWORD>(colours.size() / 4);
  const auto* const bytes = reinterpret_cast<const unsigned char*>(&head);
  Bytes block(bytes, bytes + sizeof head);
  block.insert(block.end(), colours.begin(), colours.end());
  for (auto row = rows.rbegin(); row != rows.rend(); ++row) {
    block.insert(block.end(), row->begin(), row->end());
    while (block.size() % 4) block.push_back(0);
  }
  return block;
}

Bytes iconOf(const Bytes& block, CSize size, DWORD colour) {
  const HICON icon = makeIcon(reinterpret_cast<const BITMAPINFOHEADER*>(block.data()), size, colour);
  CSize made;
  Bytes pixels = iconPixels(icon, made);
  EXPECT_EQ(made, size);
  EXPECT_NE(DestroyIcon(icon), 0);
  return pixels;
}

struct Message {
  std::string text, caption;
  unsigned int style = 0;
};

int record(void* context, const char* text, const char* caption, unsigned int style) {
  *static_cast<Message*>(context) = {text, caption, style};
  return 7;
}

TEST(Messages, goToTheHandlerAndItsAnswerComesBack) {
  Message seen;
  setMessageHandler(record, &seen);
  EXPECT_EQ(showMessage("the text", "the caption", 0x30, MessageOwner::activeWindow), 7);
  setMessageHandler(nullptr);
  EXPECT_EQ(seen.text, "the text");
  EXPECT_EQ(seen.caption, "the caption");
  EXPECT_EQ(seen.style, 0x30u);
}

TEST(Clipboard, holdsTheLastBlock) {
  const Bytes block = bitmap(24, 3, {{1, 2, 3, 4, 5, 6, 7, 8, 9}, {9, 8, 7, 6, 5, 4, 3, 2, 1}});
  placeOnClipboard(nullptr, block.data(), block.size());
  EXPECT_EQ(clipboardBlock(), block);
}

TEST(Clipboard, isEmptiedByNoBlock) {
  const Bytes block = bitmap(32, 1, {{1, 2, 3, 4}});
  placeOnClipboard(nullptr, block.data(), block.size());
  placeOnClipboard(nullptr, nullptr, 0);
  EXPECT_EQ(clipboardBlock(), Bytes());
}

TEST(Icon, showsASmallerBitmapInItsCentreAndMasksTheRest) {
  const Bytes block = bitmap(24, 1, {{10, 20, 30}});
  const Bytes none = {0, 0, 0, 0};
  const Bytes expected = {0, 0, 0, 0, 0,  0,  0,  0,   0, 0, 0, 0,  //
                          0, 0, 0, 0, 10, 20, 30, 255, 0, 0, 0, 0,  //
                          0, 0, 0, 0, 0,  0,  0,  0,   0, 0, 0, 0};
  EXPECT_EQ(iconOf(block, CSize(3, 3), 0x00FFFFFF), expected);
  EXPECT_EQ(iconOf(block, CSize(3, 3), 0xAB0000FF), expected) << "the high byte of the colour is ignored";
}

TEST(Icon, masksPixelsOfTheBackgroundColour) {
  // The colour is 0x00BBGGRR; the bitmap's pixels are blue, green, red.
  const Bytes block = bitmap(24, 2, {{0x33, 0x22, 0x11, 5, 6, 7}, {5, 6, 7, 0x33, 0x22, 0x11}});
  const Bytes expected = {0, 0, 0, 0, 5, 6, 7, 255, 5, 6, 7, 255, 0, 0, 0, 0};
  EXPECT_EQ(iconOf(block, CSize(2, 2), 0x332211), expected);
}

TEST(Icon, cropsABitmapThatIsTooLowForIt) {
  // 4 x 1 in 2 x 2: lower than the icon, so neither side is scaled; (2 - 4) / 2 = -1 cuts a column at the left,
  // (2 - 1) / 2 = 0 leaves the bitmap in the top row.
  const Bytes block = bitmap(8, 4, {{0, 1, 2, 3}}, {1, 1, 1, 0, 2, 2, 2, 0, 3, 3, 3, 0, 4, 4, 4, 0});
  const Bytes expected = {2, 2, 2, 255, 3, 3, 3, 255, 0, 0, 0, 0, 0, 0, 0, 0};
  EXPECT_EQ(iconOf(block, CSize(2, 2), 0xFFFFFF), expected);
}

TEST(Icon, ofNothingIsMaskedAltogether) {
  const HICON icon = makeIcon(nullptr, CSize(2, 1), 0x123456);
  CSize size;
  EXPECT_EQ(iconPixels(icon, size), Bytes(8, 0));
  EXPECT_EQ(size, CSize(2, 1));
  EXPECT_NE(DestroyIcon(icon), 0);
}

TEST(Icon, isFreedWhileAnotherLives) {
  const Bytes block = bitmap(32, 1, {{1, 2, 3, 4}});
  const auto* const head = reinterpret_cast<const BITMAPINFOHEADER*>(block.data());
  const HICON first = makeIcon(head, CSize(1, 1), 0);
  const HICON second = makeIcon(head, CSize(1, 1), 0);
  EXPECT_NE(DestroyIcon(first), 0);
  CSize size;
  EXPECT_EQ(iconPixels(second, size), (Bytes{1, 2, 3, 255}));
  EXPECT_NE(DestroyIcon(second), 0);
}

TEST(Icon, nullHasNoPixels) {
  CSize size(3, 4);
  EXPECT_TRUE(iconPixels(nullptr, size).empty());
  EXPECT_EQ(size, CSize(0, 0));
  EXPECT_EQ(DestroyIcon(nullptr), 0);
}

TEST(OwnFolder, isTheFolderOfTheProgramThatTheLibraryIsLinkedInto) {
  const std::string folder = ownFolder();
  ASSERT_FALSE(folder.empty());
  EXPECT_TRUE(folder.back() == '/' || folder.back() == '\\') << folder;
  EXPECT_TRUE(std::filesystem::is_directory(folder)) << folder;
  EXPECT_NE(ownModule(), nullptr);
}

TEST(LanguageLibrary, thatIsMissingIsNull) {
  EXPECT_EQ(loadLanguageLibrary(ownFolder() + "no such library"), nullptr);
  EXPECT_EQ(loadLanguageLibrary(std::string(100000, 'x')), nullptr);
  freeLanguageLibrary(nullptr);
  EXPECT_EQ(languageString(nullptr, 7000), "");
}

TEST(OwnString, hasTheLibrarysTexts) {
  EXPECT_EQ(ownString(7000), "You should call a SetCoefficient and CreateVectorTable function first.");
  EXPECT_EQ(ownString(7001), "");
}

#if defined(_WIN32)

// Waits for the message box, writes down its caption and text, and presses its button.
void answerMessageBox(const char* caption, std::string* text) {
  for (int attempt = 0; attempt < 500; ++attempt, Sleep(20)) {
    const HWND box = FindWindowA("#32770", caption);
    const HWND label = box ? GetDlgItem(box, 0xFFFF) : nullptr;
    if (!label || !IsWindowVisible(box)) continue;
    char seen[256] = "";
    GetWindowTextA(label, seen, sizeof seen);
    *text = seen;
    PostMessageA(box, WM_COMMAND, IDOK, 0);
    return;
  }
}

TEST(Messages, withoutAHandlerAreShownInAMessageBox) {
  std::string text;
  std::thread user(answerMessageBox, "Problem?", &text);
  EXPECT_EQ(showMessage("These look strange!", "Problem?", 0x40, MessageOwner::none), IDOK);
  user.join();
  EXPECT_EQ(text, "These look strange!");
}

// Another window has the clipboard open for as long as this lives.
class ClipboardUser {
 public:
  ClipboardUser() { EXPECT_NE(OpenClipboard(GetDesktopWindow()), 0); }
  ~ClipboardUser() { CloseClipboard(); }
};

TEST(Clipboard, thatCannotBeOpenedStaysAndIsReportedAsSuccess) {
  const Bytes block = bitmap(24, 1, {{1, 2, 3}});
  placeOnClipboard(nullptr, block.data(), block.size());
  const Bytes before = clipboardBlock();
  CPxImage image(CM_GRAY, 8, 5, 5);
  {
    const ClipboardUser user;
    EXPECT_TRUE(clipboardBlock().empty()) << "open elsewhere";
    EXPECT_EQ(CPxMiscProcessing(&image).CopyToClipboard(nullptr), 1);
  }
  EXPECT_EQ(clipboardBlock(), before);
}

#else

TEST(Messages, withoutAHandlerGoToStandardError) {
  testing::internal::CaptureStderr();
  EXPECT_EQ(showMessage("말", "Problem?", 0x40, MessageOwner::none), 1);
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "Problem?: 말\n");
}

TEST(Icon, scalesByTheMeanOfWhatAPixelCovers) {
  // 3 x 2 into 2 x 1: the left pixel covers column 0 and half of column 1, in both rows.
  const Bytes grey = {0, 0, 0, 0, 10, 10, 10, 0, 30, 30, 30, 0, 61, 61, 61, 0, 200, 200, 200, 0, 255, 255, 255, 0};
  const Bytes block = bitmap(8, 3, {{0, 1, 2}, {3, 4, 5}}, grey);
  // (2 * 0 + 10 + 2 * 61 + 200) / 6 = 55.3; (10 + 2 * 30 + 200 + 2 * 255) / 6 = 130
  EXPECT_EQ(iconOf(block, CSize(2, 1), 0xFFFFFF), (Bytes{55, 55, 55, 255, 130, 130, 130, 255}));
}

TEST(Icon, meanIsRoundedToNearest) {
  EXPECT_EQ(iconOf(bitmap(24, 2, {{1, 0, 3, 2, 1, 3}}), CSize(1, 1), 0xFFFFFF), (Bytes{2, 1, 3, 255}));
}

TEST(Icon, thatNoMemoryCanBeHadForThrows) {
  EXPECT_THROW(makeIcon(nullptr, CSize(2147483647, 2147483647), 0), std::bad_alloc);
}

#endif

}  // namespace
}  // namespace rasterkit
