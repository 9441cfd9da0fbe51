// Stack peers on Linux: the units of a stack are agents that reach each other
// through their command sockets (`host.stackpeers`, a list of socket paths).
//
// zorHwilCmdSyncApi hands every Set (sync mode 3) to each peer as the matching
// Sync operation of the peer's table, and returns 0 at once for a Sync (mode
// 1), which came from a peer. Forwarding is done by a thread of its own, in
// order, so that the caller (which holds its agent lock) never waits for a
// peer that may itself be waiting for it; a peer's refusal is therefore only
// logged, and the command applies locally in any case.
#include <chrono>
#include <condition_variable>
#include <cstdio>
#include <cstring>
#include <deque>
#include <map>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

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

struct Job {
  std::string path;
  std::vector<uint8_t> bytes;
  uint32_t flags;  // the request's, which shape its reply
};

// The forwarder thread outlives static destruction (it is detached), so its
// state is never destroyed: a condition variable destroyed while a thread
// waits on it blocks the exit.
struct Queue {
  std::mutex lock;
  std::condition_variable cond;
  std::deque<Job> jobs;
  bool threadStarted = false;
  size_t inFlight = 0;
};
Queue& queue() {
  static Queue* q = new Queue;
  return *q;
}

std::vector<std::string> peers() {
  std::vector<std::string> out;
  std::string cur;
  for (char c : optString("host.stackpeers", "") + " ") {
    if (c == ' ' || c == ',' || c == '\t') {
      if (!cur.empty()) out.push_back(cur);
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

// Sends one request and reads its reply; returns the peer's result code, or
// -1 when the peer could not be reached.
long deliver(std::map<std::string, int>& conns, const Job& job) {
  for (int attempt = 0; attempt < 2; ++attempt) {
    int& fd = conns.try_emplace(job.path, -1).first->second;
    if (fd < 0) fd = connectPeer(job.path);
    if (fd < 0) return -1;
    CmdReply rep;
    if (sendAll(fd, job.bytes) && recvReply(fd, job.flags, &rep)) return rep.rc;
    // A stale connection (the peer restarted): try once more afresh.
    ::close(fd);
    fd = -1;
  }
  return -1;
}

void forwarder() {
  nameThisThread("stack");
  std::map<std::string, int> conns;
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
    if (rc != 0) {
      char line[512];
      std::snprintf(line, sizeof line, "stack peer %s %s 0x%lx\n", job.path.c_str(),
                    rc < 0 ? "unreachable, command not forwarded:" : "refused the command:",
                    static_cast<unsigned long>(rc));
      logWrite(kErrorModule, line);
    }
    {
      std::lock_guard<std::mutex> g(q.lock);
      --q.inFlight;
    }
    q.cond.notify_all();
  }
}

}  // namespace

bool stackHasPeers() { return !peers().empty(); }

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
  lnx::CmdRequest req;
  if (!lnx::stackRequest(index, cmdId, value, ctl, &req)) return 0;
  const auto bytes = lnx::cmdEncodeRequest(req);
  lnx::Queue& q = lnx::queue();
  std::lock_guard<std::mutex> g(q.lock);
  if (!q.threadStarted) {
    std::thread(lnx::forwarder).detach();
    q.threadStarted = true;
  }
  for (const auto& path : targets) {
    if (q.jobs.size() >= lnx::kQueueMax) {
      lnx::logWrite(lnx::kErrorModule, "stack forwarding queue full, command dropped\n");
      break;
    }
    q.jobs.push_back({path, bytes, req.flags});
  }
  q.cond.notify_all();
  return 0;
}
