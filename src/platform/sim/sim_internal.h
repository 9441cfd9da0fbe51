// Shared state of the simulated platform (not part of the test API).
#pragma once

#include <cstdint>
#include <deque>
#include <map>
#include <string>
#include <unordered_map>
#include <vector>

#include "platform/common/sil_hook.h"
#include "platform/sim/sim.h"

namespace sim::detail {

// Every platform call of the simulated platform, by name. The shared pool
// and timer-list calls come last, reached through silCommonHook.
#define SIM_PLATFORM_FUNCS(X)                                                                  \
  X(silOptRead) X(silCreateTask) X(silExDeleteTask) X(silSleep) X(silCreateMSem)             \
  X(silTakeSem) X(silGiveSem) X(silDeleteSem) X(silMalloc) X(silCalloc) X(silFree)           \
  X(silGetUpTime) X(silGetMonoMs) X(silCatchSegFault)                                          \
  X(zor_socket) X(zor_bind) X(zor_setsockopt) X(zor_select) X(zor_recvmsg) X(zor_recvfrom)   \
  X(zor_sendto) X(zor_close) X(zorNetlinkSGrpSend)                                             \
  X(zorIfGetApi) X(zorIfSetApi) X(zorScalarGetApi) X(zorIfUnit2Name) X(zorIfIndex2Name)      \
  X(zorIndexTrans) X(zorSelfSysIndex) X(zorIpGetFirst) X(zorProtoSetApi) X(poeIfGetApi)       \
  X(voiceVlanIfGetApi) X(voiceVlanScalarGetApi) X(snmpScalarGetApi)                            \
  X(zorHwilScalarGet) X(zorHwilScalarSet) X(zorHwilSlotGet) X(zorHwilCardGet)                 \
  X(zorCardUpPcsSet) X(zorHwilCmdSyncApi) X(icmProcTcpInit)                                    \
  X(loggingDebugOutput) X(loggingLogOutput) X(send_lldp_trap) X(send_lldpmed_trap)            \
  X(procArgsInit) X(procShellInit) X(patchSignalHandler) X(silIgnoreSignal)                   \
  X(procShellWait) X(procShellReady) X(procShellReload) X(procShellStop)                       \
  X(silMemPoolInit) X(silMemPoolAlloc) X(silMemPoolFree) X(silMemPoolDestroy)                 \
  X(silTimerListInit) X(silTimerStart) X(silTimerStop) X(silTimerListNextTimeout)            \
  X(silTimerListCheck)

enum class Fn : uint32_t {
#define SIM_ENUM(name) name,
  SIM_PLATFORM_FUNCS(SIM_ENUM)
#undef SIM_ENUM
      Count
};
constexpr size_t kFnCount = static_cast<size_t>(Fn::Count);

struct PendingFailure {
  uint64_t atCall;  // the call number (callCount after the call) that fails
  int rc;
};

struct FnState {
  uint64_t calls = 0;
  bool always = false;
  int alwaysRc = -1;
  std::vector<PendingFailure> pending;
};

enum class ObjKind { Int, Octets, String, Fail };
struct Obj {
  ObjKind kind = ObjKind::Int;
  uint32_t value = 0;
  int rc = 0;
  std::vector<uint8_t> bytes;
};

struct ObjKey {
  uint32_t svc, unit, objId;
  bool operator==(const ObjKey&) const = default;
};
struct ObjKeyHash {
  size_t operator()(const ObjKey& k) const {
    uint64_t h = (uint64_t{k.svc} << 56) ^ (uint64_t{k.unit} << 24) ^ k.objId;
    return std::hash<uint64_t>{}(h * 0x9E3779B97F4A7C15ull);
  }
};

// A direct-mapped cache of object lookups in front of the map: the agent
// asks the same few objects many times per frame. An entry is valid while
// its stamp equals the cache's, which every change to the objects moves on;
// a valid entry with a null object remembers an absent one.
struct ObjCacheEntry {
  ObjKey key{};
  uint64_t stamp = 0;
  const Obj* obj = nullptr;
};
constexpr uint32_t kObjCacheBits = 10;
constexpr size_t kObjCacheSize = size_t{1} << kObjCacheBits;

inline size_t objCacheSlot(const ObjKey& k) {
  const uint32_t h = (k.objId + k.unit * 0x10001u + k.svc * 0x1000193u) * 0x9E3779B1u;
  return h >> (32 - kObjCacheBits);
}

// Kept apart from State and constant-initialised, so that a hit needs no
// guard of a function-local static.
struct ObjCache {
  uint64_t stamp = 1;  // 0 never matches: entries start invalid
  ObjCacheEntry entries[kObjCacheSize];
};
inline constinit ObjCache gObjCache{};

struct IndexTrans {
  uint32_t index, ifType, portKind, status;
  int rc;
};

struct IpEntry {
  uint8_t family;
  std::vector<uint8_t> addr;
  uint32_t preference;
  uint32_t unit;
};

struct Socket {
  bool open = false;
  int family = 0, type = 0, protocol = 0;
};

struct QueuedFrame {
  uint32_t unit;
  std::vector<uint8_t> bytes;
  bool withAux;
  uint8_t auxByte16;
};

struct SemState {
  bool alive = false;
  int depth = 0;
};

struct State {
  bool anyFailure = false;  // fast path: no failure configured at all
  FnState fns[kFnCount];
  uint64_t nowMs = 0;

  // Memory.
  uint32_t generation = 1;
  size_t liveAllocs = 0;
  uint64_t totalAllocs = 0;
  uint64_t allocAttempts = 0;
  uint64_t failAllocAt = 0;
  bool failAllAllocs = false;

  std::map<std::string, std::string> options;
  std::vector<Task> tasks;
  std::vector<SemState> sems;
  std::vector<CmdServer> cmdServers;
  std::deque<int> procEvents;
  int reloadResult = 0;

  std::unordered_map<ObjKey, Obj, ObjKeyHash> objects;
  std::map<std::pair<uint32_t, uint32_t>, IndexTrans> indexTrans;
  uint32_t selfSysIndex = 1;
  std::vector<IpEntry> ips;
  std::map<uint32_t, std::pair<uint32_t, int>> hwObjects;
  std::vector<IfSet> ifSets;
  std::map<uint32_t, int> ifSetResults;

  std::vector<Socket> sockets;  // indexed by descriptor
  int openCount = 0;
  int frameFd = -1;
  int eventFd = -1;
  std::vector<SockOpt> sockOpts;
  std::vector<Bind> binds;
  std::vector<SentFrame> sent;
  long sendResult = 0;
  int sendResultCount = 0;  // < 0: all sends
  std::deque<QueuedFrame> frames;
  std::deque<std::vector<uint8_t>> events;
  std::vector<GroupSend> groupSends;

  bool recordLogs = true;
  std::vector<LogLine> logLines;
  std::vector<Trap> traps;

  std::vector<CmdSync> cmdSyncs;
  int cmdSyncResult = 0;
  std::vector<HwSet> hwSets;
  std::vector<CardUp> cardUps;
};

inline State& st() {
  static State state;
  return state;
}

bool failSlow(Fn fn, int* rc);

// Counts the call and tells whether it must fail (and with which code).
inline bool enter(Fn fn, int* rc) {
  State& s = st();
  s.fns[static_cast<size_t>(fn)].calls++;
  return s.anyFailure && failSlow(fn, rc);
}

void recomputeAnyFailure();
void resetSockets();
void resetObjects();
void resetLog();

}  // namespace sim::detail
