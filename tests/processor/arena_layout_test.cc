// Where SBData puts its blocks, and what it gives back.
#include <gtest/gtest.h>

#include "qlsbp/sb_data.h"

namespace {

long offset(const SBData& d, const void* p) {
  return static_cast<const unsigned char*>(p) - d.memBase;
}

TEST(ArenaLayout, PreviewSizeCarvesTheDocumentedOffsets) {
  SBData d(480, 640);
  ASSERT_NE(nullptr, d.memBase);
  EXPECT_EQ(480, d.rows);
  EXPECT_EQ(640, d.cols);
  EXPECT_EQ(307200, d.pixels);
  EXPECT_EQ(4608000u, d.memInfo->capacity);
  EXPECT_EQ(d.memBase, d.memInfo->base);
  EXPECT_EQ(0, offset(d, d.planarIn));
  EXPECT_EQ(921600, offset(d, d.planarOut));
  EXPECT_EQ(1843200, offset(d, d.maskFull));
  EXPECT_EQ(2457600, offset(d, d.maskChroma));
  EXPECT_EQ(3072000, offset(d, d.smallPlanes));
  const long rec = static_cast<long>(sizeof(QLMemInfoT));
  for (int k = 0; k < 3; ++k) EXPECT_EQ(3302400 + k * rec, offset(d, d.task[k].mem));
  EXPECT_EQ(3302400 + 3 * rec, static_cast<long>(d.memInfo->used));
  EXPECT_EQ(0, d.frameCount);
  EXPECT_EQ(nullptr, d.wideTable);
  EXPECT_EQ(nullptr, d.rangeTable);
}

TEST(ArenaLayout, RecordsStayAlignedAndTinyFramesGetRoom) {
  for (int rows = 1; rows <= 9; ++rows) {
    for (int cols = 1; cols <= 9; ++cols) {
      SBData d(rows, cols);
      ASSERT_NE(nullptr, d.memBase);
      const unsigned n = static_cast<unsigned>(rows * cols);
      EXPECT_GE(d.memInfo->capacity, 15 * n);
      for (const SBPlaneTask& t : d.task) {
        EXPECT_EQ(0u, reinterpret_cast<uintptr_t>(t.mem) % alignof(QLMemInfoT));
      }
    }
  }
}

TEST(ArenaLayout, EmptyOrHugeFramesGetNoMemory) {
  SBData zero(0, 640);
  EXPECT_EQ(nullptr, zero.memBase);
  SBData negative(-4, 8);
  EXPECT_EQ(nullptr, negative.memBase);
  SBData huge(100000, 100000);
  EXPECT_EQ(nullptr, huge.memBase);
}

TEST(ArenaLayout, DataFreeReleasesOnceAndResetsTheCounter) {
  SBData d(16, 16);
  d.frameCount = 9;
  d.DataFree();
  d.DataFree();
  EXPECT_EQ(nullptr, d.memBase);
  EXPECT_EQ(nullptr, d.memInfo);
  EXPECT_EQ(0, d.frameCount);
}

}  // namespace
