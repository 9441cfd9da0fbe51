// Timer list: a singly linked list sorted by deadline on silGetMonoMs().
// Timers with equal deadlines fire in the order they were armed.
#include <cstdint>

#include "platform/common/sil_hook.h"
#include "platform/sil.h"

namespace {

void unlinkTimer(SilTimerList* list, SilTimer* timer) {
  for (SilTimer** p = &list->head; *p; p = &(*p)->next) {
    if (*p == timer) {
      *p = timer->next;
      break;
    }
  }
  timer->next = nullptr;
  timer->active = 0;
}

}  // namespace

int silTimerListInit(SilTimerList* list) {
  int rc = -1;
  if (silCommonFail(SilCommonFn::TimerListInit, &rc)) return rc ? rc : -1;
  list->head = nullptr;
  return 0;
}

int silTimerStart(SilTimerList* list, SilTimer* timer, uint32_t ms, SilTimerCallback cb,
                  void* arg1, void* arg2) {
  int rc = -1;
  if (silCommonFail(SilCommonFn::TimerStart, &rc)) return rc ? rc : -1;
  if (timer->active) unlinkTimer(list, timer);
  timer->deadlineMs = silGetMonoMs() + ms;
  timer->callback = cb;
  timer->arg1 = arg1;
  timer->arg2 = arg2;
  SilTimer** p = &list->head;
  while (*p && (*p)->deadlineMs <= timer->deadlineMs) p = &(*p)->next;
  timer->next = *p;
  *p = timer;
  timer->active = 1;
  return 0;
}

int silTimerStop(SilTimerList* list, SilTimer* timer) {
  int rc = -1;
  if (silCommonFail(SilCommonFn::TimerStop, &rc)) return rc ? rc : -1;
  if (timer->active) unlinkTimer(list, timer);
  return 0;
}

int32_t silTimerListNextTimeout(SilTimerList* list) {
  int rc = -1;
  if (silCommonFail(SilCommonFn::TimerListNextTimeout, &rc)) return rc;
  if (!list->head) return -1;
  uint64_t now = silGetMonoMs();
  uint64_t deadline = list->head->deadlineMs;
  if (deadline <= now) return 0;
  uint64_t left = deadline - now;
  return left > INT32_MAX ? INT32_MAX : static_cast<int32_t>(left);
}

int silTimerListCheck(SilTimerList* list) {
  int rc = -1;
  if (silCommonFail(SilCommonFn::TimerListCheck, &rc)) return rc;
  uint64_t now = silGetMonoMs();
  // Count the timers due now and run at most that many: a callback that
  // re-arms its timer with 0 ms lands behind the other due timers and waits
  // for the next check instead of looping here.
  int due = 0;
  for (SilTimer* t = list->head; t && t->deadlineMs <= now; t = t->next) due++;
  int run = 0;
  while (run < due && list->head && list->head->deadlineMs <= now) {
    SilTimer* t = list->head;
    list->head = t->next;
    t->next = nullptr;
    t->active = 0;
    run++;
    if (t->callback) t->callback(t->arg1, t->arg2);
  }
  return run;
}
