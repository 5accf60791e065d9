#include <rasterkit/platform/framework.h>

#include <gtest/gtest.h>

#include <climits>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <sstream>

#include "tests/support/files.h"

namespace rasterkit {
namespace {

using test::contentOf;
using test::temporaryFile;

TEST(FrameworkArray, indicesOutsideThrow) {
  CArray<int> numbers;
  EXPECT_THROW(numbers.GetAt(0), CInvalidArgException);
  EXPECT_EQ(numbers.Add(7), 0);
  EXPECT_EQ(numbers[0], 7);
  EXPECT_THROW(numbers[-1], CInvalidArgException);
  EXPECT_THROW(numbers[1], CInvalidArgException);
  EXPECT_THROW(numbers.RemoveAt(1), CInvalidArgException);
  EXPECT_THROW(numbers.SetSize(-1), CInvalidArgException);
  EXPECT_EQ(numbers.GetSize(), 1);
}

TEST(FrameworkArray, growsByAnEighthAtLeast4AtMost1024) {
  CArray<int> numbers;
  numbers.Add(0);
  EXPECT_EQ(numbers.GetCapacity(), 1);
  numbers.Add(0);
  EXPECT_EQ(numbers.GetCapacity(), 5);
  numbers.SetSize(80);
  EXPECT_EQ(numbers.GetCapacity(), 80);
  numbers.Add(0);
  EXPECT_EQ(numbers.GetCapacity(), 90);
  numbers.SetSize(100000);
  numbers.Add(0);
  EXPECT_EQ(numbers.GetCapacity(), 101024);
  CArray<int> stepped;
  stepped.SetSize(3, 16);
  stepped.Add(0);
  EXPECT_EQ(stepped.GetCapacity(), 19);
}

TEST(FrameworkArray, newSlotsAreZeroAndRemoveAllReleases) {
  CArray<CPoint> points;
  points.SetSize(3);
  EXPECT_EQ(points[2], CPoint(0, 0));
  points[1] = CPoint(4, 5);
  points.RemoveAt(0);
  EXPECT_EQ(points[0], CPoint(4, 5));
  points.RemoveAll();
  EXPECT_EQ(points.GetSize(), 0);
  EXPECT_EQ(points.GetCapacity(), 0);
}

TEST(FrameworkArchive, storesCountAndElementsLeastByteFirst) {
  const auto file = temporaryFile("archive");
  CArray<CPoint> points;
  points.Add(CPoint(1, -2));
  CArchive out(file.c_str(), true);
  EXPECT_TRUE(out.IsStoring());
  points.Serialize(out);
  out.Close();
  EXPECT_EQ(contentOf(file), std::string("\1\0\0\0\1\0\0\0\xFE\xFF\xFF\xFF", 12));
  CArray<CPoint> back;
  back.Add(CPoint(9, 9));
  CArchive in(file.c_str(), false);
  back.Serialize(in);
  ASSERT_EQ(back.GetSize(), 1);
  EXPECT_EQ(back[0], CPoint(1, -2));
}

TEST(FrameworkArchive, shortFilesAndNegativeCountsThrow) {
  const auto file = temporaryFile("archive");
  for (const std::string& content : {std::string("\1\0\0", 3), std::string("\2\0\0\0\7\0\0\0", 8),
                                     std::string("\xFF\xFF\xFF\xFF", 4), std::string("\xFF\xFF\xFF\x7F", 4)}) {
    std::ofstream(file, std::ios::binary) << content;
    CArray<DWORD> numbers;
    CArchive in(file.c_str(), false);
    EXPECT_THROW(numbers.Serialize(in), CFileException);
    EXPECT_EQ(numbers.GetSize(), content[0] == 2 ? 1 : 0);  // what could be read
  }
  EXPECT_THROW(CArchive((file + "/nowhere").c_str(), true), CFileException);
  EXPECT_THROW(CArchive((file + ".missing").c_str(), false), CFileException);
  EXPECT_THROW(CArchive(nullptr, false), CFileException);
}

TEST(FrameworkArchive, refusesTheOtherDirectionAndUseAfterClose) {
  const auto file = temporaryFile("archive");
  CArchive out(file.c_str(), true);
  std::int32_t value = 0;
  EXPECT_THROW(out >> value, CFileException);
  out.Close();
  EXPECT_THROW(out << value, CFileException);
  out.Close();
}

TEST(FrameworkTextFile, writesCarriageReturnAndLineFeed) {
  const auto file = temporaryFile("text");
  CStdioFile out(file.c_str(), CStdioFile::modeCreate | CStdioFile::modeReadWrite | CStdioFile::typeText);
  out.WriteString("one\ntwo\n");
  out.Close();
  EXPECT_EQ(contentOf(file), "one\r\ntwo\r\n");
  CStdioFile in(file.c_str(), CStdioFile::modeRead);
  CString line;
  EXPECT_TRUE(in.ReadString(line));
  EXPECT_EQ(line, "one");
  EXPECT_TRUE(in.ReadString(line));
  EXPECT_EQ(line, "two");
  EXPECT_FALSE(in.ReadString(line));
  EXPECT_THROW(CStdioFile((file + "/nowhere").c_str(), CStdioFile::modeCreate), CFileException);
}

TEST(FrameworkFile, whatCannotBeWrittenThrowsAtTheLatestWhenItIsClosed) {
  const char* const full = "/dev/full";
  if (std::filesystem::path::preferred_separator == '\\' || !std::filesystem::exists(full))
    GTEST_SKIP() << "there is no device that is always full";
  CArchive archive(full, true);
  archive << std::int32_t{1};
  EXPECT_THROW(archive.Close(), CFileException);
  CStdioFile text(full, CStdioFile::modeReadWrite | CStdioFile::typeText);
  text.WriteString("one\n");
  EXPECT_THROW(text.Close(), CFileException);
}

TEST(FrameworkString, convertsToCharacters) {
  CString text("raster");
  text += "kit";
  EXPECT_STREQ(text, "rasterkit");
  EXPECT_EQ(text.GetLength(), 9);
  EXPECT_TRUE(CString(nullptr).IsEmpty());
}

TEST(FrameworkExceptions, shareARoot) {
  EXPECT_THROW(throw CInvalidArgException(), CException);
  EXPECT_THROW(throw CFileException(), std::exception);
  EXPECT_STREQ(CException().what(), "framework exception");
  EXPECT_STREQ(CInvalidArgException().what(), "invalid argument");
  EXPECT_STREQ(CFileException().what(), "file cannot be opened, read or written");
}

}  // namespace
}  // namespace rasterkit
