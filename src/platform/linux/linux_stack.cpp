// The stack on Linux: the units of a stack are agents on one host that reach
// each other through their command sockets (`host.stackpeers`, a list of
// socket paths; `host.stackunit`, this unit's number).
//
// Port units. A stacked unit numbers its ports stackunit << 16 | ifindex, so
// that every port of the stack has a unit of its own and a remote record or
// a port command names the same port on every unit. Each unit announces its
// ports to the others in a hello, once a second and whenever they change;
// the receiver keeps them in its link table as remote ports and announces
// them to its agent like its own (registration, link state, MTU, MAC), so
// that records learnt on another unit's port have a port to live on. Their
// frames are not this unit's: sending on a remote port fails, and nothing is
// joined on them. A unit not heard from for kPeerLostMs has its ports
// removed.
//
// Joining. The reply to a hello says whether the peer's agent has taken our
// ports in (it has read and handled the messages that announce them). When a
// peer first answers so, or answers so after a restart or after it was
// unreachable, this unit's agent is told that a sub-system started (platform
// message 117 with the peer's unit number): it then sends its whole state.
//
// Forwarding. zorHwilCmdSyncApi hands every Set (sync mode 3) to each peer as
// the matching Sync operation of the peer's table, and returns 0 at once for
// a Sync (mode 1), which came from a peer. A buffer of synchronisation
// messages (scalar 35) is forwarded one message per request, and only what
// this unit owns: the global statistics, and the records and statistics of
// its own ports; what it holds for other units' ports is theirs to send (a
// copy sent back would overwrite the owner's counters or resurrect a record
// it has just aged out). One message per request also means the peer's
// receiver, which applies a buffer of several messages only up to about its
// middle, applies every one of them. Forwarding is done by a thread of its
// own, in order, through a bounded queue, so that the caller (which holds
// its agent lock) never waits for a peer that may itself be waiting for it;
// when the queue is full the command is dropped, counted and logged. A
// peer's refusal is logged, not returned: the command applies locally in any
// case.
#include <atomic>
#include <chrono>
#include <cstdarg>
#include <condition_variable>
#include <cstdio>
#include <cstring>
#include <deque>
#include <map>
#include <mutex>
#include <random>
#include <string>
#include <thread>
#include <vector>

#include <net/if.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <sys/un.h>
#include <unistd.h>

#include "platform/icm.h"
#include "platform/linux/linux_platform.h"
#include "platform/zor_hwil.h"

namespace lnx {
namespace {

constexpr size_t kQueueMax = 1024;
constexpr uint32_t kErrorModule = 0x3F50008;
constexpr uint32_t kSyncModule = 0x3F50006;
constexpr uint32_t kSyncCmdId = 0xB4000 + 35;
constexpr uint32_t kSyncOpScalar = 3;
constexpr int kHelloIntervalMs = 1000;
constexpr int kPeerLostMs = 3500;

void logLine(uint32_t module, const char* fmt, ...) __attribute__((format(printf, 2, 3)));
void logLine(uint32_t module, const char* fmt, ...) {
  char line[512];
  va_list ap;
  va_start(ap, fmt);
  std::vsnprintf(line, sizeof line, fmt, ap);
  va_end(ap);
  logWrite(module, line);
}

uint64_t nowMs() {
  return static_cast<uint64_t>(std::chrono::duration_cast<std::chrono::milliseconds>(
                                   std::chrono::steady_clock::now().time_since_epoch())
                                   .count());
}

struct Job {
  std::string path;
  std::vector<CmdRequest> requests;  // sent one after the other
};

// The threads outlive static destruction (they are detached), so the state
// they share is never destroyed: a condition variable destroyed while a
// thread waits on it blocks the exit.
struct Queue {
  std::mutex lock;
  std::condition_variable cond;
  std::deque<Job> jobs;
  bool threadStarted = false;
  size_t inFlight = 0;
  uint64_t dropped = 0;
};
Queue& queue() {
  static Queue* q = new Queue;
  return *q;
}

// What this unit knows of the other units.
struct Peer {  // a configured peer socket, as our hellos find it
  bool reachable = false;
  uint32_t unit = 0;
  uint32_t announcedIncarnation = 0;  // the join was announced for this one
};
struct RemoteUnit {  // a unit whose hellos reach us
  uint32_t incarnation = 0;
  uint64_t lastHelloMs = 0;
  uint64_t needMessages = 0;  // event messages the agent must have handled
  std::vector<uint32_t> units;  // its ports, as this agent numbers them
};
struct Stack {
  std::mutex lock;
  std::condition_variable wake;
  bool started = false;
  bool portsChanged = false;
  uint32_t incarnation = 0;
  std::map<std::string, Peer> peers;
  std::map<uint32_t, RemoteUnit> remotes;
};
Stack& stack() {
  static Stack* s = new Stack;
  return *s;
}

std::vector<std::string> peers() {
  std::vector<std::string> out;
  std::string cur;
  // A list shared by every unit may name this unit's own socket too.
  const std::string self = optString("host.cmdsocket", "/tmp/lldpcmd.socket");
  for (char c : optString("host.stackpeers", "") + " ") {
    if (c == ' ' || c == ',' || c == '\t') {
      if (!cur.empty() && cur != self) out.push_back(cur);
      cur.clear();
    } else {
      cur.push_back(c);
    }
  }
  return out;
}

int connectPeer(const std::string& path) {
  sockaddr_un sa{};
  if (path.size() >= sizeof sa.sun_path) return -1;
  sa.sun_family = AF_UNIX;
  std::memcpy(sa.sun_path, path.c_str(), path.size() + 1);
  const int fd = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
  if (fd < 0) return -1;
  timeval tv{2, 0};
  setsockopt(fd, SOL_SOCKET, SO_SNDTIMEO, &tv, sizeof tv);
  setsockopt(fd, SOL_SOCKET, SO_RCVTIMEO, &tv, sizeof tv);
  if (::connect(fd, reinterpret_cast<sockaddr*>(&sa), sizeof sa) < 0) {
    ::close(fd);
    return -1;
  }
  return fd;
}

bool sendAll(int fd, const std::vector<uint8_t>& b) {
  for (size_t off = 0; off < b.size();) {
    const ssize_t r = ::send(fd, b.data() + off, b.size() - off, MSG_NOSIGNAL);
    if (r <= 0) return false;
    off += static_cast<size_t>(r);
  }
  return true;
}

// Reads one reply to a request with `flags` through the shared decoder;
// false when the connection fails or the reply is malformed.
bool recvReply(int fd, uint32_t flags, CmdReply* rep) {
  std::vector<uint8_t> in;
  for (;;) {
    const long used = cmdDecodeReply(in.data(), in.size(), flags, rep);
    if (used > 0) return true;
    if (used < 0) return false;
    uint8_t chunk[4096];
    const ssize_t r = ::recv(fd, chunk, sizeof chunk, 0);
    if (r <= 0) return false;
    in.insert(in.end(), chunk, chunk + r);
  }
}

// Sends one request on a connection and reads its reply. False when the
// connection failed or the reply is malformed.
bool exchange(int fd, const CmdRequest& req, CmdReply* rep) {
  return sendAll(fd, cmdEncodeRequest(req)) && recvReply(fd, req.flags, rep);
}

// Delivers a job's requests in order; returns the first refusal, 0, or -1
// when the peer could not be reached.
long deliver(std::map<std::string, int>& conns, const Job& job) {
  long result = 0;
  for (const auto& request : job.requests) {
    bool sent = false;
    for (int attempt = 0; attempt < 2 && !sent; ++attempt) {
      int& fd = conns.try_emplace(job.path, -1).first->second;
      if (fd < 0) fd = connectPeer(job.path);
      if (fd < 0) return -1;
      CmdReply rep;
      if (exchange(fd, request, &rep)) {
        sent = true;
        if (rep.rc != 0 && result == 0) result = rep.rc;
      } else {
        // A stale connection (the peer restarted): try once more afresh.
        ::close(fd);
        fd = -1;
      }
    }
    if (!sent) return -1;
  }
  return result;
}

void forwarder() {
  nameThisThread("stack");
  std::map<std::string, int> conns;
  std::map<std::string, bool> failing;  // logged once until it works again
  for (;;) {
    Job job;
    Queue& q = queue();
    {
      std::unique_lock<std::mutex> g(q.lock);
      q.cond.wait(g, [&q] { return !q.jobs.empty(); });
      job = std::move(q.jobs.front());
      q.jobs.pop_front();
      ++q.inFlight;
    }
    const long rc = deliver(conns, job);
    if (rc < 0) {
      if (!failing[job.path])
        logLine(kErrorModule, "stack peer %s unreachable, commands not forwarded\n", job.path.c_str());
      failing[job.path] = true;
    } else {
      failing[job.path] = false;
      if (rc > 0)
        logLine(kErrorModule, "stack peer %s refused the command: 0x%lx\n", job.path.c_str(),
                static_cast<unsigned long>(rc));
    }
    {
      std::lock_guard<std::mutex> g(q.lock);
      --q.inFlight;
    }
    q.cond.notify_all();
  }
}

void enqueue(const std::vector<std::string>& targets, const std::vector<CmdRequest>& requests) {
  Queue& q = queue();
  std::lock_guard<std::mutex> g(q.lock);
  if (!q.threadStarted) {
    std::thread(forwarder).detach();
    q.threadStarted = true;
  }
  for (const auto& path : targets) {
    if (q.jobs.size() >= kQueueMax) {
      ++q.dropped;
      logLine(kErrorModule, "stack forwarding queue full, command dropped (%llu dropped)\n",
              static_cast<unsigned long long>(q.dropped));
      continue;
    }
    q.jobs.push_back({path, requests});
  }
  q.cond.notify_all();
}

// ---- Hellos ----------------------------------------------------------------

StackHello ownHello(uint32_t self, uint32_t incarnation) {
  StackHello h;
  h.unit = self;
  h.incarnation = incarnation;
  for (const Link& l : linkAll()) {
    if (!l.isPort || l.gone || l.remote || h.ports.size() >= kStackPortsMax) continue;
    StackHelloPort p;
    p.ifindex = l.ifindex;
    p.up = linkOperUp(l);
    p.mtu = l.mtu;
    std::memcpy(p.mac, l.mac, 6);
    p.name = l.name;
    h.ports.push_back(p);
  }
  return h;
}

// The remote ports of a unit are gone: they leave the link table and the
// agent. REQUIRES: stack().lock held.
void dropUnit(uint32_t unit, RemoteUnit& r) {
  std::vector<std::vector<uint8_t>> msgs;
  for (uint32_t u : r.units) {
    Link before;
    if (!linkGet(u, &before) || before.gone) continue;
    Link after = before;
    after.gone = true;
    for (auto& m : msgsForLink(&before, after)) msgs.push_back(std::move(m));
    linkMarkGone(u);
  }
  r.units.clear();
  eventWrite(msgs);
  logLine(kSyncModule, "stack unit %u lost: its ports removed\n", unit);
}

// One round of hellos to every peer; announces the joins.
void helloRound(std::map<std::string, int>& conns) {
  Stack& st = stack();
  const uint32_t self = stackUnitSelf();
  uint32_t incarnation;
  {
    std::lock_guard<std::mutex> g(st.lock);
    incarnation = st.incarnation;
  }
  CmdRequest req;
  req.op = kCmdOpStackHello;
  req.flags = kCmdFlagBuffer;
  req.data = helloEncode(ownHello(self, incarnation));
  req.len = static_cast<uint32_t>(req.data.size());
  for (const auto& path : peers()) {
    int& fd = conns.try_emplace(path, -1).first->second;
    CmdReply rep;
    StackHelloReply reply;
    bool ok = false;
    for (int attempt = 0; attempt < 2 && !ok; ++attempt) {
      if (fd < 0) fd = connectPeer(path);
      if (fd < 0) break;
      ok = exchange(fd, req, &rep);
      if (!ok) {
        ::close(fd);
        fd = -1;
      }
    }
    ok = ok && rep.rc == 0 && helloReplyDecode(rep.data.data(), rep.data.size(), &reply);
    std::lock_guard<std::mutex> g(st.lock);
    Peer& p = st.peers[path];
    if (!ok) {
      if (p.reachable) logLine(kSyncModule, "stack peer %s (unit %u) unreachable\n", path.c_str(), p.unit);
      p.reachable = false;
      p.announcedIncarnation = 0;  // it gets the whole state when it is back
      continue;
    }
    if (reply.unit == self) {
      if (p.reachable || p.unit != reply.unit)
        logLine(kErrorModule, "stack peer %s is stack unit %u too: host.stackunit must differ\n", path.c_str(),
                self);
      p.reachable = false;
      p.unit = reply.unit;
      continue;
    }
    if (!p.reachable) logLine(kSyncModule, "stack peer %s (unit %u) reachable\n", path.c_str(), reply.unit);
    p.reachable = true;
    p.unit = reply.unit;
    if (reply.ready && reply.incarnation != p.announcedIncarnation) {
      p.announcedIncarnation = reply.incarnation;
      eventWrite({msgSubSysUp(reply.unit)});
      logLine(kSyncModule, "stack unit %u joined: sending it the whole state\n", reply.unit);
    }
  }
  // Units whose hellos stopped take their ports with them.
  std::lock_guard<std::mutex> g(st.lock);
  const uint64_t now = nowMs();
  for (auto& [unit, r] : st.remotes)
    if (!r.units.empty() && now - r.lastHelloMs > static_cast<uint64_t>(kPeerLostMs)) dropUnit(unit, r);
}

void stackThread() {
  nameThisThread("hello");
  Stack& st = stack();
  std::map<std::string, int> conns;
  // The first hello names every port: wait (a little) for the first dump.
  for (int i = 0; i < 50 && !linkTableFilled(); ++i) std::this_thread::sleep_for(std::chrono::milliseconds(100));
  for (;;) {
    helloRound(conns);
    std::unique_lock<std::mutex> g(st.lock);
    st.wake.wait_for(g, std::chrono::milliseconds(kHelloIntervalMs), [&st] { return st.portsChanged; });
    st.portsChanged = false;
  }
}

}  // namespace

uint32_t stackUnitSelf() {
  // Asked for every frame received (its port's unit).
  static std::atomic<uint64_t> cell{0};
  return optCached(&cell, [] {
    const long n = optLong("host.stackunit", 0);
    return n >= 1 && n <= static_cast<long>(kStackUnitMax) ? static_cast<uint32_t>(n) : 0u;
  });
}

uint32_t unitOfIfindex(uint32_t ifindex) {
  const uint32_t self = stackUnitSelf();
  if (self == 0) return ifindex;
  // 16 bits of ifindex: a larger one cannot be a port of a stacked unit and
  // is kept apart from every port unit.
  if (ifindex > 0xFFFF) return 0xFF000000u | (ifindex & 0x00FFFFFFu);
  return self << 16 | ifindex;
}

uint32_t ifindexOfUnit(uint32_t unit) {
  const uint32_t self = stackUnitSelf();
  if (self == 0) return unit;
  if ((unit >> 24) == 0xFF) return unit & 0x00FFFFFFu;
  return (unit >> 16) == self ? (unit & 0xFFFFu) : 0;
}

bool stackHasPeers() {
  static std::atomic<uint64_t> cell{0};
  return optCached(&cell, [] { return peers().empty() ? 0u : 1u; }) != 0;
}

uint64_t stackDropped() {
  Queue& q = queue();
  std::lock_guard<std::mutex> g(q.lock);
  return q.dropped;
}

void stackStart() {
  if (peers().empty()) return;
  Stack& st = stack();
  std::lock_guard<std::mutex> g(st.lock);
  if (st.started) return;
  st.started = true;
  std::random_device rd;
  do st.incarnation = rd(); while (st.incarnation == 0);
  std::thread(stackThread).detach();
}

void stackPortsChanged() {
  Stack& st = stack();
  std::lock_guard<std::mutex> g(st.lock);
  st.portsChanged = true;
  st.wake.notify_all();
}

std::vector<uint8_t> stackHelloServe(const CmdRequest& req) {
  auto answer = [](uint32_t rc, const std::vector<uint8_t>& data) {
    const auto n = static_cast<uint32_t>(data.size());
    return cmdEncodeReply(rc, 0, n, nullptr, data.data(), n);
  };
  const uint32_t self = stackUnitSelf();
  StackHello h;
  if (self == 0 || !(req.flags & kCmdFlagBuffer) || !helloDecode(req.data.data(), req.data.size(), &h))
    return answer(22, {});
  Stack& st = stack();
  std::lock_guard<std::mutex> g(st.lock);
  StackHelloReply mine{self, st.incarnation, false};
  if (h.unit == self) return answer(0, helloReplyEncode(mine));  // the caller sees the clash

  RemoteUnit& r = st.remotes[h.unit];
  if (r.incarnation != h.incarnation)
    logLine(kSyncModule, "stack unit %u says hello with %zu ports\n", h.unit, h.ports.size());
  r.incarnation = h.incarnation;
  r.lastHelloMs = nowMs();
  // Its ports as remote ports of this agent: new ones registered, changed
  // ones updated, vanished ones removed.
  std::vector<std::vector<uint8_t>> msgs;
  std::vector<uint32_t> units;
  for (const StackHelloPort& p : h.ports) {
    Link l;
    l.unit = h.unit << 16 | p.ifindex;
    l.ifindex = p.ifindex;
    l.name = std::to_string(h.unit) + "/" + p.name;
    l.arpType = 1;  // Ethernet
    l.flags = p.up ? (IFF_UP | IFF_RUNNING) : 0;
    l.mtu = p.mtu;
    std::memcpy(l.mac, p.mac, 6);
    l.isPort = true;
    l.remote = true;
    Link before;
    const bool known = linkGet(l.unit, &before) && before.remote;
    for (auto& m : msgsForLink(known ? &before : nullptr, l)) msgs.push_back(std::move(m));
    linkPut(l);
    units.push_back(l.unit);
  }
  for (uint32_t u : r.units) {
    bool still = false;
    for (uint32_t v : units) still = still || v == u;
    Link before;
    if (still || !linkGet(u, &before) || before.gone) continue;
    Link after = before;
    after.gone = true;
    for (auto& m : msgsForLink(&before, after)) msgs.push_back(std::move(m));
    linkMarkGone(u);
  }
  r.units = units;
  if (!msgs.empty()) {
    eventWrite(msgs);
    r.needMessages = eventMessagesWritten();
  }
  mine.ready = eventMessagesDone() >= r.needMessages;
  return answer(0, helloReplyEncode(mine));
}

bool stackSyncOp(uint32_t cmdId, uint32_t* op, uint32_t* obj) {
  // Command-id bases of the forwarded commands and the Sync operation that
  // applies each on a peer.
  static const struct {
    uint32_t base, op;
  } kMap[] = {{0xB4000, 3},   {0x4074000, 8}, {0x92A4000, 13}, {0x8D68000, 18},
              {0x8D64000, 35}, {0x8D60000, 40}, {0x73C4000, 61}};
  for (const auto& m : kMap)
    if ((cmdId & ~0x3FFFu) == m.base) {
      *op = m.op;
      *obj = cmdId & 0x3FFFu;
      return true;
    }
  return false;
}

bool stackRequest(uintptr_t index, uint32_t cmdId, const ZorValue* value, const ZorSyncCtl* ctl,
                  CmdRequest* req) {
  if (!value || !ctl || !stackSyncOp(cmdId, &req->op, &req->objId)) return false;
  req->flags = 0;
  req->index = 0;
  req->key.clear();
  if (ctl->keyLen > 0) {
    // A key record: its bytes travel in the request's key block.
    if (index == 0 || ctl->keyLen > ICM_MAX_KEY_LEN) return false;
    const auto* k = reinterpret_cast<const uint8_t*>(index);
    req->key.assign(k, k + ctl->keyLen);
    req->flags |= kCmdFlagKey;
  } else {
    req->index = static_cast<uint32_t>(index);
  }
  if (value->form == ZOR_VALUE_BUF) {
    // Octets: the buffer and the length the control record carries, bounded.
    const uint32_t n = ctl->valueLen > kCmdMaxData ? kCmdMaxData : ctl->valueLen;
    req->flags |= kCmdFlagBuffer;
    req->len = n;
    const auto* p = static_cast<const uint8_t*>(value->buf);
    if (!p && n) return false;
    req->data.assign(p, p + n);
  } else {
    req->value = value->value;
    req->len = value->len;
  }
  return true;
}

std::vector<CmdRequest> stackRequests(uintptr_t index, uint32_t cmdId, const ZorValue* value,
                                      const ZorSyncCtl* ctl) {
  std::vector<CmdRequest> out;
  CmdRequest req;
  if (!stackRequest(index, cmdId, value, ctl, &req)) return out;
  if (cmdId != kSyncCmdId || req.op != kSyncOpScalar || !(req.flags & kCmdFlagBuffer)) {
    out.push_back(std::move(req));
    return out;
  }
  for (auto& m : stackSyncMessages(req.data.data(), req.data.size(), stackUnitSelf())) {
    CmdRequest one = req;
    one.len = static_cast<uint32_t>(m.size());
    one.data = std::move(m);
    out.push_back(std::move(one));
  }
  return out;
}

void stackDrain() {
  Queue& q = queue();
  std::unique_lock<std::mutex> g(q.lock);
  q.cond.wait_for(g, std::chrono::seconds(5), [&q] { return q.jobs.empty() && q.inFlight == 0; });
}

}  // namespace lnx

int zorHwilCmdSyncApi(uintptr_t index, uint32_t cmdId, ZorValue* value, ZorSyncCtl* ctl) {
  if (!ctl || (ctl->mode & 0xFFu) != 3) return 0;  // a Sync came from a peer
  const auto targets = lnx::peers();
  if (targets.empty()) return 0;
  const auto requests = lnx::stackRequests(index, cmdId, value, ctl);
  if (!requests.empty()) lnx::enqueue(targets, requests);
  return 0;
}
