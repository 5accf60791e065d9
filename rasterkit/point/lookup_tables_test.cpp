#include <rasterkit/point/lookup_tables.h>

#include <gtest/gtest.h>

#include <utility>

#include "tests/support/picture.h"

namespace rasterkit::test {
namespace {

TEST(LookupTables, countEachValue) {
  CPxImage image(CM_GRAY, 8, 10, 10);
  for (int y = 0; y < 10; ++y)
    for (int x = 0; x < 10; ++x) setSample(image, x, y, 0, 7);
  CPxPointProcessing points(&image);
  EXPECT_EQ(points.GetLookupTableCount(), 0);
  EXPECT_EQ(points.CalLookupTable(), 1);
  ASSERT_EQ(points.GetLookupTableCount(), 1);
  const _PP_LOOKUP_TABLE& table = points.GetLookupTable(0);
  ASSERT_EQ(table.nCount, 256);
  for (int v = 0; v < 256; ++v) EXPECT_EQ(table.pTable[v], v == 7 ? 100u : 0u) << v;
}

TEST(LookupTables, standInChannelOrder) {
  CPxImage image = picture(CM_RGBA, 8, {{1, 2, 3, 4, 1, 2, 5, 255}});
  CPxPointProcessing points(&image);
  EXPECT_EQ(points.CalLookupTable(), 1);
  ASSERT_EQ(points.GetLookupTableCount(), 4);
  EXPECT_EQ(points.GetLookupTable(0).pTable[1], 2u);
  EXPECT_EQ(points.GetLookupTable(1).pTable[2], 2u);
  EXPECT_EQ(points.GetLookupTable(2).pTable[3], 1u);
  EXPECT_EQ(points.GetLookupTable(2).pTable[5], 1u);
  EXPECT_EQ(points.GetLookupTable(3).pTable[255], 1u);
}

TEST(LookupTables, haveACounterForEachValueOfTheBits) {
  CPxImage words = gray16({{65535, 3, 65535}});
  CPxPointProcessing points(&words);
  EXPECT_EQ(points.CalLookupTable(), 1);
  EXPECT_EQ(points.GetLookupTable(0).nCount, 65536);
  EXPECT_EQ(points.GetLookupTable(0).pTable[65535], 2u);

  CPxImage few = picture(CM_INDEX, 3, {{7, 8, 200}}), twelve = picture(CM_GRAY, 12, {{4095, 4096}});
  points.SetImage(&few);
  EXPECT_EQ(points.CalLookupTable(), 1);
  ASSERT_EQ(points.GetLookupTable(0).nCount, 8);
  EXPECT_EQ(points.GetLookupTable(0).pTable[7], 1u) << "samples of 8 and more are not counted";
  points.SetImage(&twelve);
  EXPECT_EQ(points.CalLookupTable(), 1);
  ASSERT_EQ(points.GetLookupTable(0).nCount, 4096);
  EXPECT_EQ(points.GetLookupTable(0).pTable[4095], 1u);
}

TEST(LookupTables, areMadeAnew) {
  CPxImage image = gray8({{1, 2}});
  CPxPointProcessing points(&image);
  EXPECT_EQ(points.CalLookupTable(), 1);
  EXPECT_EQ(points.CalLookupTable(), 1);
  EXPECT_EQ(points.GetLookupTableCount(), 1);
  EXPECT_EQ(points.GetLookupTable(0).pTable[1], 1u);
  points.RemoveAll();
  EXPECT_EQ(points.GetLookupTableCount(), 0);
}

TEST(LookupTables, areGoneWhereNothingCanBeCounted) {
  CPxImage good = gray8({{1}}), floats = grayFloat({{1}}), deep(CM_GRAY, 33, 2, 2), none;
  for (CPxImage* bad : {&floats, &deep, &none, static_cast<CPxImage*>(nullptr)}) {
    CPxPointProcessing points(&good);
    EXPECT_EQ(points.CalLookupTable(), 1);
    points.SetImage(bad);
    EXPECT_EQ(points.CalLookupTable(), 0);
    EXPECT_EQ(points.GetLookupTableCount(), 0);
  }
}

TEST(LookupTables, ofAnImageWithoutSamplesAreZero) {
  CPxImage image(CM_GRAYA, 8, 0, 5);
  CPxPointProcessing points(&image);
  EXPECT_EQ(points.CalLookupTable(), 1);
  ASSERT_EQ(points.GetLookupTableCount(), 2);
  EXPECT_EQ(points.GetLookupTable(1).pTable[0], 0u);
}

TEST(LookupTables, anIndexOutsideThrows) {
  CPxImage image = gray8({{1}});
  CPxPointProcessing points(&image);
  EXPECT_THROW(points.GetLookupTable(0), CInvalidArgException);
  points.CalLookupTable();
  EXPECT_THROW(points.GetLookupTable(points.GetLookupTableCount()), CInvalidArgException);
  EXPECT_THROW(points.GetLookupTable(-1), CInvalidArgException);
}

TEST(LookupTables, areCopiedDeeply) {
  CPxImage image = gray8({{1}});
  CPxPointProcessing first(&image);
  first.CalLookupTable();
  CPxPointProcessing second(first), third;
  third = first;
  third = *&third;
  EXPECT_NE(second.GetLookupTable(0).pTable, first.GetLookupTable(0).pTable);
  first.GetLookupTable(0).pTable[1] = 9;
  first.GetLookupTable(0).pTable = nullptr;  // the memory is not the record's
  EXPECT_EQ(second.GetLookupTable(0).pTable[1], 1u);
  EXPECT_EQ(third.GetLookupTable(0).pTable[1], 1u);
  EXPECT_EQ(third.GetImage(), &image);
  const CPxPointProcessing moved(std::move(second));
  EXPECT_EQ(moved.GetLookupTable(0).pTable[1], 1u);
}

}  // namespace
}  // namespace rasterkit::test
