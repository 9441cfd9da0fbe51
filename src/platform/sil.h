// Operating-system layer: options, tasks, semaphores, memory, fixed pools,
// timer lists and up-time.
//
// Implemented per platform (src/platform/linux, src/platform/sim); the fixed
// pools and the timer list are shared code in src/platform/common.
#pragma once

#include <cstddef>
#include <cstdint>

// ---- Options -------------------------------------------------------------
// Reads the start-up option `key` into buf: at most bufLen bytes of the value
// are written, and the caller's buffer holds at least bufLen + 1 bytes so that
// a terminating zero always fits. Returns the length written (> 0) when the
// option is present, 0 when it is absent, negative on error. ctx, a, b and c
// are platform context arguments that the agent passes as 0, 0, 0, 1.
int silOptRead(int ctx, const char* key, int a, int b, int c, char* buf, int bufLen);

// ---- Tasks ---------------------------------------------------------------
using SilTaskEntry = void (*)(void);
// Creates a task running entry(). On success stores its handle in *taskId and
// returns 0; on failure stores 0xFFFFFFFF in *taskId and returns -1.
int silCreateTask(const char* name, uint32_t priority, uint32_t stackSize, SilTaskEntry entry,
                  uint32_t arg1, uint32_t arg2, uint32_t* taskId);
// Deletes a task created by silCreateTask. Returns 0 or -1.
int silExDeleteTask(uint32_t taskId);
// Sleeps the calling thread.
void silSleep(uint32_t seconds);

// ---- Mutual-exclusion semaphores ----------------------------------------
// Returns a non-zero handle, or 0 on failure.
uint32_t silCreateMSem(uint32_t options);
// timeout -1 waits without limit. Returns 0 when taken.
int silTakeSem(uint32_t sem, int32_t timeout);
int silGiveSem(uint32_t sem);
int silDeleteSem(uint32_t sem);

// ---- Memory --------------------------------------------------------------
// Heap memory owned by the caller until silFree. silCalloc zero-fills.
// silFree(nullptr) is a no-op. Returns nullptr when memory is exhausted.
void* silMalloc(size_t size);
void* silCalloc(size_t count, size_t size);
void silFree(void* p);

// ---- Fixed-size pools (shared implementation, src/platform/common) --------
struct SilMemPool {
  char name[16];
  uint32_t elemSize;   // rounded up to pointer alignment
  uint32_t elemCount;
  uint32_t used;
  unsigned char* storage;  // elemCount * elemSize bytes, from silMalloc
  void* freeList;
};
// Prepares a pool of elemCount elements of elemSize bytes each. Returns 0, or
// non-zero when the storage cannot be allocated. flags is reserved (0).
int silMemPoolInit(SilMemPool* pool, const char* name, uint32_t elemCount, uint32_t elemSize,
                   uint32_t flags);
// Returns a zero-filled element, or nullptr when the pool is exhausted.
void* silMemPoolAlloc(SilMemPool* pool);
// Returns an element to its pool. Returns 0, or -1 for an element not from it.
int silMemPoolFree(SilMemPool* pool, void* elem);
// Releases the storage; safe on a zeroed or already destroyed pool.
int silMemPoolDestroy(SilMemPool* pool);

// ---- Timer lists (shared implementation, src/platform/common) ----------
using SilTimerCallback = int (*)(void* arg1, void* arg2);
struct SilTimer {
  SilTimer* next;
  uint64_t deadlineMs;  // on the platform's monotonic millisecond clock
  SilTimerCallback callback;
  void* arg1;
  void* arg2;
  uint32_t active;
};
struct SilTimerList {
  SilTimer* head;  // sorted by deadline, earliest first
};
// Returns 0.
int silTimerListInit(SilTimerList* list);
// (Re)arms timer to fire ms milliseconds from now. Returns 0.
int silTimerStart(SilTimerList* list, SilTimer* timer, uint32_t ms, SilTimerCallback cb,
                  void* arg1, void* arg2);
// Disarms a timer; harmless when it is not armed.
int silTimerStop(SilTimerList* list, SilTimer* timer);
// Milliseconds until the earliest timer expires (0 when one is due), or -1
// when no timer is armed.
int32_t silTimerListNextTimeout(SilTimerList* list);
// Runs the callbacks of every expired timer (each is disarmed before its
// callback runs, so a callback may re-arm it). Returns the number run.
int silTimerListCheck(SilTimerList* list);

// ---- Time ----------------------------------------------------------------
// Whole seconds since the agent started (monotonic).
uint32_t silGetUpTime(void);
// Milliseconds of the monotonic clock (the timer lists' time base).
uint64_t silGetMonoMs(void);

// ---- Crash handling ------------------------------------------------------
void silCatchSegFault(void);
