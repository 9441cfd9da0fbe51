// Simulated platform: call accounting and failure injection, the virtual
// clock, options, tasks, semaphores, heap memory and the process shell.
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <new>

#include "platform/proc_shell.h"
#include "platform/sil.h"
#include "platform/sim/sim_internal.h"

namespace sim::detail {
namespace {

const char* const kFnNames[kFnCount] = {
#define SIM_NAME(name) #name,
    SIM_PLATFORM_FUNCS(SIM_NAME)
#undef SIM_NAME
};

Fn fnByName(const std::string& name) {
  for (size_t i = 0; i < kFnCount; i++) {
    if (name == kFnNames[i]) return static_cast<Fn>(i);
  }
  // A misspelt name would silently inject nothing: stop the test loudly.
  std::fprintf(stderr, "sim: unknown platform function \"%s\"\n", name.c_str());
  std::abort();
}

bool commonHook(SilCommonFn fn, int* rc) {
  static const Fn map[] = {Fn::silMemPoolInit,      Fn::silMemPoolAlloc,
                           Fn::silMemPoolFree,      Fn::silMemPoolDestroy,
                           Fn::silTimerListInit,    Fn::silTimerStart,
                           Fn::silTimerStop,        Fn::silTimerListNextTimeout,
                           Fn::silTimerListCheck};
  static_assert(sizeof(map) / sizeof(map[0]) == static_cast<size_t>(SilCommonFn::Count));
  return enter(map[static_cast<size_t>(fn)], rc);
}

// Installed when this file is linked, which every user of silMalloc does.
[[maybe_unused]] const bool kHookInstalled = [] {
  silCommonHook = commonHook;
  return true;
}();

// Heap block header: keeps the generation so that blocks from before a
// reset() do not disturb the live count of the current test.
struct alignas(16) BlockHeader {
  uint32_t magic;
  uint32_t generation;
  uint64_t size;
};
constexpr uint32_t kLiveMagic = 0x51A110C8;
constexpr uint32_t kDeadMagic = 0xDEADF7EE;

void* allocate(size_t size, bool zero) {
  State& s = st();
  s.allocAttempts++;
  if (s.failAllAllocs) return nullptr;
  if (s.failAllocAt != 0 && s.allocAttempts == s.failAllocAt) {
    s.failAllocAt = 0;
    return nullptr;
  }
  if (size > SIZE_MAX - sizeof(BlockHeader)) return nullptr;
  void* raw = zero ? std::calloc(1, sizeof(BlockHeader) + size)
                   : std::malloc(sizeof(BlockHeader) + size);
  if (!raw) return nullptr;
  auto* h = static_cast<BlockHeader*>(raw);
  h->magic = kLiveMagic;
  h->generation = s.generation;
  h->size = size;
  s.liveAllocs++;
  s.totalAllocs++;
  return h + 1;
}

}  // namespace

bool failSlow(Fn fn, int* rc) {
  FnState& f = st().fns[static_cast<size_t>(fn)];
  for (size_t i = 0; i < f.pending.size(); i++) {
    if (f.pending[i].atCall == f.calls) {
      *rc = f.pending[i].rc;
      f.pending.erase(f.pending.begin() + static_cast<long>(i));
      recomputeAnyFailure();
      return true;
    }
  }
  if (f.always) {
    *rc = f.alwaysRc;
    return true;
  }
  return false;
}

void recomputeAnyFailure() {
  State& s = st();
  s.anyFailure = false;
  for (const FnState& f : s.fns) {
    if (f.always || !f.pending.empty()) s.anyFailure = true;
  }
}

}  // namespace sim::detail

using namespace sim::detail;

namespace sim {

void reset() {
  State& s = st();
  for (FnState& f : s.fns) f = FnState{};
  s.anyFailure = false;
  s.nowMs = 0;
  s.generation++;
  s.liveAllocs = 0;
  s.totalAllocs = 0;
  s.allocAttempts = 0;
  s.failAllocAt = 0;
  s.failAllAllocs = false;
  s.options.clear();
  s.tasks.clear();
  s.sems.clear();
  s.cmdServers.clear();
  s.procEvents.clear();
  s.reloadResult = 0;
  resetObjects();
  resetSockets();
  resetLog();
}

uint64_t nowMs() { return st().nowMs; }
void advanceMs(uint64_t ms) { st().nowMs += ms; }

void setOption(const std::string& key, const std::string& value) { st().options[key] = value; }
void clearOption(const std::string& key) { st().options.erase(key); }

void queueProcEvent(int event) { st().procEvents.push_back(event); }
void setReloadResult(int rc) { st().reloadResult = rc; }

const std::vector<Task>& tasks() { return st().tasks; }
int liveTasks() {
  int n = 0;
  for (const Task& t : st().tasks) n += t.alive ? 1 : 0;
  return n;
}
int liveSemaphores() {
  int n = 0;
  for (const SemState& m : st().sems) n += m.alive ? 1 : 0;
  return n;
}
int semaphoreDepth() {
  int n = 0;
  for (const SemState& m : st().sems) n += m.depth;
  return n;
}
const std::vector<CmdServer>& cmdServers() { return st().cmdServers; }

size_t liveAllocations() { return st().liveAllocs; }
uint64_t totalAllocations() { return st().totalAllocs; }
void failAllocation(uint64_t nth) {
  State& s = st();
  s.failAllocAt = nth == 0 ? 0 : s.allocAttempts + nth;
}
void failAllAllocations(bool on) { st().failAllAllocs = on; }

void failCall(const std::string& function, uint64_t nth, int rc) {
  Fn fn = fnByName(function);
  if (nth == 0) return;
  FnState& f = st().fns[static_cast<size_t>(fn)];
  f.pending.push_back({f.calls + nth, rc});
  st().anyFailure = true;
}
void failAlways(const std::string& function, int rc) {
  FnState& f = st().fns[static_cast<size_t>(fnByName(function))];
  f.always = true;
  f.alwaysRc = rc;
  st().anyFailure = true;
}
void clearFailures() {
  State& s = st();
  for (FnState& f : s.fns) {
    f.always = false;
    f.pending.clear();
  }
  s.anyFailure = false;
  s.failAllocAt = 0;
  s.failAllAllocs = false;
}
uint64_t callCount(const std::string& function) {
  return st().fns[static_cast<size_t>(fnByName(function))].calls;
}

}  // namespace sim

// ---- Operating-system layer ---------------------------------------------

int silOptRead(int, const char* key, int, int, int, char* buf, int bufLen) {
  int rc = -1;
  if (enter(Fn::silOptRead, &rc)) return rc;
  if (!key || !buf || bufLen < 0) return -1;
  auto it = st().options.find(key);
  if (it == st().options.end()) return 0;
  size_t n = it->second.size();
  if (n > static_cast<size_t>(bufLen)) n = static_cast<size_t>(bufLen);
  std::memcpy(buf, it->second.data(), n);
  buf[n] = '\0';
  return static_cast<int>(n);
}

int silCreateTask(const char* name, uint32_t priority, uint32_t stackSize, SilTaskEntry entry,
                  uint32_t, uint32_t, uint32_t* taskId) {
  int rc = -1;
  if (enter(Fn::silCreateTask, &rc)) {
    if (taskId) *taskId = 0xFFFFFFFFu;
    return rc;
  }
  State& s = st();
  s.tasks.push_back(sim::Task{name ? name : "", priority, stackSize, entry, true});
  if (taskId) *taskId = static_cast<uint32_t>(s.tasks.size());
  return 0;
}

int silExDeleteTask(uint32_t taskId) {
  int rc = -1;
  if (enter(Fn::silExDeleteTask, &rc)) return rc;
  State& s = st();
  if (taskId == 0 || taskId > s.tasks.size() || !s.tasks[taskId - 1].alive) return -1;
  s.tasks[taskId - 1].alive = false;
  return 0;
}

void silSleep(uint32_t seconds) {
  int rc = 0;
  if (enter(Fn::silSleep, &rc)) return;
  st().nowMs += uint64_t{seconds} * 1000;
}

uint32_t silCreateMSem(uint32_t) {
  int rc = 0;
  if (enter(Fn::silCreateMSem, &rc)) return 0;
  State& s = st();
  s.sems.push_back(SemState{true, 0});
  return static_cast<uint32_t>(s.sems.size());
}

namespace {
SemState* semOf(uint32_t sem) {
  State& s = st();
  if (sem == 0 || sem > s.sems.size() || !s.sems[sem - 1].alive) return nullptr;
  return &s.sems[sem - 1];
}
}  // namespace

int silTakeSem(uint32_t sem, int32_t) {
  int rc = -1;
  if (enter(Fn::silTakeSem, &rc)) return rc;
  SemState* m = semOf(sem);
  if (!m) return -1;
  m->depth++;
  return 0;
}

int silGiveSem(uint32_t sem) {
  int rc = -1;
  if (enter(Fn::silGiveSem, &rc)) return rc;
  SemState* m = semOf(sem);
  if (!m || m->depth <= 0) return -1;  // giving what was never taken
  m->depth--;
  return 0;
}

int silDeleteSem(uint32_t sem) {
  int rc = -1;
  if (enter(Fn::silDeleteSem, &rc)) return rc;
  SemState* m = semOf(sem);
  if (!m) return -1;
  // The depth stays: deleting a semaphore that is still held is a leak the
  // tests should see in semaphoreDepth().
  m->alive = false;
  return 0;
}

void* silMalloc(size_t size) {
  int rc = 0;
  if (enter(Fn::silMalloc, &rc)) return nullptr;
  return allocate(size, false);
}

void* silCalloc(size_t count, size_t size) {
  int rc = 0;
  if (enter(Fn::silCalloc, &rc)) return nullptr;
  if (size != 0 && count > SIZE_MAX / size) return nullptr;
  return allocate(count * size, true);
}

void silFree(void* p) {
  int rc = 0;
  enter(Fn::silFree, &rc);  // a free cannot fail; it is only counted
  if (!p) return;
  auto* h = static_cast<BlockHeader*>(p) - 1;
  if (h->magic != kLiveMagic) {
    std::fprintf(stderr, "sim: silFree of %p: %s\n", p,
                 h->magic == kDeadMagic ? "double free" : "not from silMalloc");
    std::abort();
  }
  h->magic = kDeadMagic;
  State& s = st();
  if (h->generation == s.generation && s.liveAllocs > 0) s.liveAllocs--;
  std::free(h);
}

uint32_t silGetUpTime(void) {
  int rc = 0;
  enter(Fn::silGetUpTime, &rc);  // the clock never fails
  return static_cast<uint32_t>(st().nowMs / 1000);
}

uint64_t silGetMonoMs(void) {
  int rc = 0;
  enter(Fn::silGetMonoMs, &rc);
  return st().nowMs;
}

void silCatchSegFault(void) {
  int rc = 0;
  enter(Fn::silCatchSegFault, &rc);
}

// ---- Process shell ------------------------------------------------------------

int procArgsInit(int, char**) {
  int rc = -1;
  if (enter(Fn::procArgsInit, &rc)) return rc;
  return 0;
}

int procShellInit(const char*, uint32_t, uint32_t) {
  int rc = -1;
  if (enter(Fn::procShellInit, &rc)) return rc;
  return 0;
}

void patchSignalHandler(void) {
  int rc = 0;
  enter(Fn::patchSignalHandler, &rc);
}

void silIgnoreSignal(int) {
  int rc = 0;
  enter(Fn::silIgnoreSignal, &rc);
}

int procShellWait(int32_t ms) {
  int rc = PROC_EVENT_NONE;
  if (enter(Fn::procShellWait, &rc)) return rc;
  State& s = st();
  if (!s.procEvents.empty()) {
    const int ev = s.procEvents.front();
    s.procEvents.pop_front();
    return ev;
  }
  if (ms < 0) return PROC_EVENT_STOP;  // nothing left to wait for
  s.nowMs += static_cast<uint64_t>(ms);
  return PROC_EVENT_NONE;
}

void procShellReady(void) {
  int rc = 0;
  enter(Fn::procShellReady, &rc);
}

int procShellReload(void) {
  int rc = -1;
  if (enter(Fn::procShellReload, &rc)) return rc;
  return st().reloadResult;
}

void procShellStop(void) {
  int rc = 0;
  enter(Fn::procShellStop, &rc);
}
