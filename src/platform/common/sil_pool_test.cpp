// Fixed pools of the shared operating-system code.
#include <gtest/gtest.h>

#include <cstring>
#include <vector>

#include "platform/sil.h"
#include "platform/sim/sim.h"

namespace {

class PoolTest : public ::testing::Test {
 protected:
  void SetUp() override { sim::reset(); }
};

TEST_F(PoolTest, ExhaustionZeroFillAndReuse) {
  SilMemPool pool{};
  ASSERT_EQ(silMemPoolInit(&pool, "lldp_if_and_more", 3, 13, 0), 0);
  EXPECT_STREQ(pool.name, "lldp_if_and_mor");  // cut to the 16-byte field
  EXPECT_EQ(pool.elemSize % alignof(void*), 0u);
  EXPECT_EQ(sim::liveAllocations(), 1u);  // the storage is one heap block
  void* e[3];
  for (void*& p : e) {
    p = silMemPoolAlloc(&pool);
    ASSERT_NE(p, nullptr);
    std::memset(p, 0xAB, 13);
  }
  EXPECT_EQ(silMemPoolAlloc(&pool), nullptr);
  EXPECT_EQ(pool.used, 3u);
  EXPECT_EQ(silMemPoolFree(&pool, e[1]), 0);
  auto* again = static_cast<unsigned char*>(silMemPoolAlloc(&pool));
  ASSERT_EQ(again, e[1]);
  for (size_t i = 0; i < pool.elemSize; i++) ASSERT_EQ(again[i], 0) << i;
  EXPECT_EQ(silMemPoolDestroy(&pool), 0);
  EXPECT_EQ(sim::liveAllocations(), 0u);
  EXPECT_EQ(silMemPoolDestroy(&pool), 0);  // twice is harmless
}

TEST_F(PoolTest, ForeignMisalignedAndDoubleFreesAreRefused) {
  SilMemPool pool{};
  ASSERT_EQ(silMemPoolInit(&pool, "p", 4, 16, 0), 0);
  SilMemPool other{};
  ASSERT_EQ(silMemPoolInit(&other, "q", 4, 16, 0), 0);
  auto* a = static_cast<unsigned char*>(silMemPoolAlloc(&pool));
  void* b = silMemPoolAlloc(&other);
  int local = 0;
  EXPECT_EQ(silMemPoolFree(&pool, b), -1);
  EXPECT_EQ(silMemPoolFree(&pool, &local), -1);
  EXPECT_EQ(silMemPoolFree(&pool, a + 1), -1);
  EXPECT_EQ(silMemPoolFree(&pool, nullptr), -1);
  EXPECT_EQ(silMemPoolFree(&pool, a), 0);
  EXPECT_EQ(silMemPoolFree(&pool, a), -1);
  EXPECT_EQ(pool.used, 0u);
  // The refused double free did not put the element twice on the free list.
  void* x = silMemPoolAlloc(&pool);
  void* y = silMemPoolAlloc(&pool);
  EXPECT_NE(x, y);
  silMemPoolDestroy(&pool);
  silMemPoolDestroy(&other);
}

TEST_F(PoolTest, InitFailsWhenStorageCannotBeAllocated) {
  SilMemPool pool{};
  sim::failAllocation(1);
  EXPECT_NE(silMemPoolInit(&pool, "p", 4, 16, 0), 0);
  EXPECT_EQ(silMemPoolAlloc(&pool), nullptr);
  EXPECT_EQ(silMemPoolDestroy(&pool), 0);
  SilMemPool zeroed{};
  EXPECT_EQ(silMemPoolDestroy(&zeroed), 0);
}

}  // namespace
