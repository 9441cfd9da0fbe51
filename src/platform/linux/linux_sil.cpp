// Operating-system layer on Linux: tasks as threads, semaphores as recursive
// mutexes, the heap, the monotonic clock and the fatal signals (the stop and
// reload signals are linux_proc.cpp's).
#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <map>
#include <mutex>
#include <string>

#include <execinfo.h>
#include <pthread.h>
#include <unistd.h>

#include "platform/linux/linux_platform.h"
#include "platform/proc_shell.h"
#include "platform/sil.h"

namespace {

struct TaskRec {
  pthread_t thread;
  SilTaskEntry entry;
  std::string name;
};

std::mutex gTaskLock;
std::map<uint32_t, TaskRec*> gTasks;
uint32_t gNextTask = 1;

std::mutex gSemLock;
std::map<uint32_t, pthread_mutex_t*> gSems;
uint32_t gNextSem = 1;

uint64_t monoMsNow() {
  timespec ts{};
  clock_gettime(CLOCK_MONOTONIC, &ts);
  return static_cast<uint64_t>(ts.tv_sec) * 1000u + static_cast<uint64_t>(ts.tv_nsec) / 1000000u;
}
const uint64_t gStartMs = monoMsNow();

void* taskMain(void* arg) {
  auto* t = static_cast<TaskRec*>(arg);
  lnx::nameThisThread(t->name);
  t->entry();
  return nullptr;
}

pthread_mutex_t* semGet(uint32_t sem) {
  std::lock_guard<std::mutex> g(gSemLock);
  auto it = gSems.find(sem);
  return it == gSems.end() ? nullptr : it->second;
}

void onFatalSignal(int sig) {
  // Only async-signal-safe calls here.
  char msg[64];
  const int n = std::snprintf(msg, sizeof msg, "lldpagent: fatal signal %d, backtrace:\n", sig);
  if (n > 0) (void)!::write(2, msg, static_cast<size_t>(n));
  void* frames[48];
  const int depth = backtrace(frames, 48);
  backtrace_symbols_fd(frames, depth, 2);
  std::signal(sig, SIG_DFL);
  ::raise(sig);
}

}  // namespace

int silCreateTask(const char* name, uint32_t /*priority*/, uint32_t stackSize, SilTaskEntry entry,
                  uint32_t /*arg1*/, uint32_t /*arg2*/, uint32_t* taskId) {
  if (!entry || !taskId) {
    if (taskId) *taskId = 0xFFFFFFFFu;
    return -1;
  }
  auto* t = new TaskRec{pthread_t{}, entry, name ? name : "task"};
  pthread_attr_t attr;
  pthread_attr_init(&attr);
  // The agent's stack sizes were chosen for a small embedded system; give
  // every task at least 256 KiB here.
  size_t stack = stackSize < 256u * 1024u ? 256u * 1024u : stackSize;
  pthread_attr_setstacksize(&attr, stack);
  const int rc = pthread_create(&t->thread, &attr, taskMain, t);
  pthread_attr_destroy(&attr);
  if (rc != 0) {
    delete t;
    *taskId = 0xFFFFFFFFu;
    return -1;
  }
  std::lock_guard<std::mutex> g(gTaskLock);
  const uint32_t id = gNextTask++;
  gTasks[id] = t;
  *taskId = id;
  return 0;
}

int silExDeleteTask(uint32_t taskId) {
  TaskRec* t = nullptr;
  {
    std::lock_guard<std::mutex> g(gTaskLock);
    auto it = gTasks.find(taskId);
    if (it == gTasks.end()) return -1;
    t = it->second;
    gTasks.erase(it);
  }
  pthread_cancel(t->thread);
  pthread_detach(t->thread);
  return 0;
}

void silSleep(uint32_t seconds) { ::sleep(seconds); }

uint32_t silCreateMSem(uint32_t /*options*/) {
  auto* m = new pthread_mutex_t;
  pthread_mutexattr_t a;
  pthread_mutexattr_init(&a);
  // A mutual-exclusion semaphore may be taken again by its owner.
  pthread_mutexattr_settype(&a, PTHREAD_MUTEX_RECURSIVE);
  const int rc = pthread_mutex_init(m, &a);
  pthread_mutexattr_destroy(&a);
  if (rc != 0) {
    delete m;
    return 0;
  }
  std::lock_guard<std::mutex> g(gSemLock);
  const uint32_t id = gNextSem++;
  gSems[id] = m;
  return id;
}

int silTakeSem(uint32_t sem, int32_t timeout) {
  pthread_mutex_t* m = semGet(sem);
  if (!m) return -1;
  if (timeout < 0) return pthread_mutex_lock(m) == 0 ? 0 : -1;
  if (timeout == 0) return pthread_mutex_trylock(m) == 0 ? 0 : -1;
  timespec ts{};
  clock_gettime(CLOCK_REALTIME, &ts);
  ts.tv_sec += timeout / 1000;
  ts.tv_nsec += static_cast<long>(timeout % 1000) * 1000000L;
  if (ts.tv_nsec >= 1000000000L) {
    ts.tv_sec += 1;
    ts.tv_nsec -= 1000000000L;
  }
  return pthread_mutex_timedlock(m, &ts) == 0 ? 0 : -1;
}

int silGiveSem(uint32_t sem) {
  pthread_mutex_t* m = semGet(sem);
  if (!m) return -1;
  return pthread_mutex_unlock(m) == 0 ? 0 : -1;
}

int silDeleteSem(uint32_t sem) {
  pthread_mutex_t* m = nullptr;
  {
    std::lock_guard<std::mutex> g(gSemLock);
    auto it = gSems.find(sem);
    if (it == gSems.end()) return -1;
    m = it->second;
    gSems.erase(it);
  }
  pthread_mutex_destroy(m);
  delete m;
  return 0;
}

void* silMalloc(size_t size) { return std::malloc(size ? size : 1); }
void* silCalloc(size_t count, size_t size) {
  return std::calloc(count ? count : 1, size ? size : 1);
}
void silFree(void* p) { std::free(p); }

uint32_t silGetUpTime(void) { return static_cast<uint32_t>((monoMsNow() - gStartMs) / 1000u); }
uint64_t silGetMonoMs(void) { return monoMsNow(); }

void silCatchSegFault(void) {
  struct sigaction sa{};
  sa.sa_handler = onFatalSignal;
  sigemptyset(&sa.sa_mask);
  sa.sa_flags = SA_RESETHAND;
  sigaction(SIGSEGV, &sa, nullptr);
  sigaction(SIGBUS, &sa, nullptr);
  sigaction(SIGFPE, &sa, nullptr);
  sigaction(SIGILL, &sa, nullptr);
  sigaction(SIGABRT, &sa, nullptr);
}

void silIgnoreSignal(int signo) { std::signal(signo, SIG_IGN); }
