// Timer lists of the shared operating-system code, on the simulated clock.
#include <gtest/gtest.h>

#include <cstdint>
#include <vector>

#include "platform/sil.h"
#include "platform/sim/sim.h"

namespace {

class TimerTest : public ::testing::Test {
 protected:
  void SetUp() override { sim::reset(); }
};

struct Fired {
  std::vector<int> order;
  SilTimerList* list = nullptr;
  SilTimer* rearm = nullptr;
  int rearmsLeft = 0;
};

int onTimer(void* a1, void* a2) {
  auto* f = static_cast<Fired*>(a1);
  int id = static_cast<int>(reinterpret_cast<intptr_t>(a2));
  f->order.push_back(id);
  if (f->rearm && f->rearmsLeft > 0 && id == 0) {
    f->rearmsLeft--;
    silTimerStart(f->list, f->rearm, 1000, onTimer, a1, a2);
  }
  return 0;
}

void* idArg(int id) { return reinterpret_cast<void*>(static_cast<intptr_t>(id)); }

TEST_F(TimerTest, TimersFireInDeadlineOrderOnce) {
  SilTimerList list;
  ASSERT_EQ(silTimerListInit(&list), 0);
  EXPECT_EQ(silTimerListNextTimeout(&list), -1);
  Fired f;
  SilTimer t[4]{};
  silTimerStart(&list, &t[0], 300, onTimer, &f, idArg(0));
  silTimerStart(&list, &t[1], 100, onTimer, &f, idArg(1));
  silTimerStart(&list, &t[2], 300, onTimer, &f, idArg(2));  // same deadline: after 0
  silTimerStart(&list, &t[3], 200, onTimer, &f, idArg(3));
  silTimerStart(&list, &t[3], 250, onTimer, &f, idArg(3));  // re-arm moves it
  EXPECT_EQ(silTimerListNextTimeout(&list), 100);
  EXPECT_EQ(silTimerListCheck(&list), 0);
  sim::advanceMs(250);
  EXPECT_EQ(silTimerListNextTimeout(&list), 0);
  EXPECT_EQ(silTimerListCheck(&list), 2);
  EXPECT_EQ(silTimerListNextTimeout(&list), 50);
  silTimerStop(&list, &t[2]);
  silTimerStop(&list, &t[2]);  // harmless when not armed
  sim::advanceMs(1000);
  EXPECT_EQ(silTimerListCheck(&list), 1);
  EXPECT_EQ(f.order, (std::vector<int>{1, 3, 0}));
  EXPECT_EQ(silTimerListNextTimeout(&list), -1);
  EXPECT_EQ(t[0].active, 0u);
}

TEST_F(TimerTest, CallbackMayRearmItsOwnTimer) {
  SilTimerList list;
  silTimerListInit(&list);
  Fired f;
  SilTimer t{};
  f.list = &list;
  f.rearm = &t;
  f.rearmsLeft = 2;
  silTimerStart(&list, &t, 1000, onTimer, &f, idArg(0));
  for (int i = 0; i < 5; i++) {
    sim::advanceMs(1000);
    silTimerListCheck(&list);
  }
  EXPECT_EQ(f.order, (std::vector<int>{0, 0, 0}));
  EXPECT_EQ(silTimerListNextTimeout(&list), -1);
}

int rearmAtOnce(void* a1, void* a2) {
  auto* f = static_cast<Fired*>(a1);
  f->order.push_back(0);
  silTimerStart(f->list, f->rearm, 0, rearmAtOnce, a1, a2);
  return 0;
}

TEST_F(TimerTest, ZeroDelayRearmWaitsForTheNextCheck) {
  SilTimerList list;
  silTimerListInit(&list);
  Fired f;
  SilTimer t{};
  f.list = &list;
  f.rearm = &t;
  silTimerStart(&list, &t, 0, rearmAtOnce, &f, nullptr);
  EXPECT_EQ(silTimerListCheck(&list), 1);
  EXPECT_EQ(silTimerListCheck(&list), 1);
  EXPECT_EQ(f.order.size(), 2u);
  EXPECT_EQ(silTimerListNextTimeout(&list), 0);
}

}  // namespace
