// Work arena: grants, refusals and the zero fill.
#include "qlsbp/arena.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <vector>

namespace {

QLMemInfoT make_arena(std::vector<unsigned char>& block, unsigned used = 0) {
  return QLMemInfoT{block.data(), static_cast<unsigned>(block.size()), used};
}

TEST(ArenaTest, ExactFillIsGrantedOneMoreByteIsRefused) {
  std::vector<unsigned char> block(100, 0xAB);
  QLMemInfoT mem = make_arena(block, 40);
  EXPECT_EQ(AssignMemSpace(&mem, 61, 1), nullptr);
  EXPECT_EQ(mem.base, block.data());
  EXPECT_EQ(mem.capacity, 100u);
  EXPECT_EQ(mem.used, 40u);
  EXPECT_EQ(block[40], 0xAB);  // a refusal writes nothing

  EXPECT_EQ(AssignMemSpace(&mem, 60, 1), block.data() + 40);
  EXPECT_EQ(mem.used, 100u);
  EXPECT_EQ(block[99], 0);
}

TEST(ArenaTest, ZeroByteGrantReturnsNextAddressAndChangesNothing) {
  std::vector<unsigned char> block(16, 0x5A);
  QLMemInfoT mem = make_arena(block, 7);
  EXPECT_EQ(AssignMemSpace(&mem, 0, 1), block.data() + 7);
  EXPECT_EQ(mem.used, 7u);
  EXPECT_EQ(block[7], 0x5A);
  // Even a full arena grants 0 bytes.
  QLMemInfoT full = make_arena(block, 16);
  EXPECT_EQ(AssignMemSpace(&full, 0, 1), block.data() + 16);
}

TEST(ArenaTest, ConsecutiveGrantsAreContiguousAndZeroFilled) {
  std::vector<unsigned char> block(64, 0xFF);  // memory that held data before
  QLMemInfoT mem = make_arena(block);
  auto* a = static_cast<unsigned char*>(AssignMemSpace(&mem, 12, 1));
  auto* b = static_cast<unsigned char*>(AssignMemSpace(&mem, 12, 0));  // flag ignored
  ASSERT_NE(a, nullptr);
  ASSERT_NE(b, nullptr);
  EXPECT_EQ(b - a, 12);
  for (int i = 0; i < 24; ++i) EXPECT_EQ(a[i], 0) << i;
  EXPECT_EQ(block[24], 0xFF);  // nothing beyond the grants
  EXPECT_EQ(mem.used, 24u);
  // Restoring `used` hands the same bytes out again, zeroed once more.
  a[3] = 9;
  mem.used = 0;
  EXPECT_EQ(AssignMemSpace(&mem, 12, 1), a);
  EXPECT_EQ(a[3], 0);
}

TEST(ArenaTest, RequestsThatWouldWrapTheSumAreRefused) {
  std::vector<unsigned char> block(32);
  QLMemInfoT mem = make_arena(block, 8);
  EXPECT_EQ(AssignMemSpace(&mem, 0xFFFFFFFFu, 1), nullptr);
  EXPECT_EQ(AssignMemSpace(&mem, 0xFFFFFFF8u, 1), nullptr);  // 8 + this wraps to 0
  EXPECT_EQ(mem.used, 8u);
}

TEST(ArenaTest, MissingRecordOrBlockIsRefused) {
  EXPECT_EQ(AssignMemSpace(nullptr, 4, 1), nullptr);
  QLMemInfoT empty{nullptr, 100, 0};
  EXPECT_EQ(AssignMemSpace(&empty, 4, 1), nullptr);
  EXPECT_EQ(empty.used, 0u);
  // A record whose used already exceeds its capacity grants nothing.
  std::vector<unsigned char> block(8);
  QLMemInfoT broken{block.data(), 8, 9};
  EXPECT_EQ(AssignMemSpace(&broken, 0, 1), nullptr);
}

}  // namespace
