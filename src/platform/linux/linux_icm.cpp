// The command server on Linux: a Unix stream socket (mode 0660) serving the
// agent's table of numbered management operations, and the event stream that
// carries traps and the agent's group-71 messages to subscribed clients.
// The framing is documented in docs/command-socket.md.
//
// One server thread polls the listening socket and its clients; requests of
// one client are answered in order. Every request is decoded bounded by the
// bytes received, whatever its length field says.
#include <cerrno>
#include <cstring>
#include <map>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include <poll.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include "platform/icm.h"
#include "platform/linux/linux_platform.h"
#include "platform/trap.h"
#include "platform/zor_socket.h"

namespace lnx {
namespace {

constexpr uint32_t kOpSubscribe = 0;
constexpr uint32_t kEventGroup = 1;
constexpr uint32_t kEventTrap = 2;
constexpr uint32_t kEventMedTrap = 3;
constexpr size_t kMaxClients = 32;
constexpr uint32_t kUnknownObject = 0x3E80010;

char gSockPath[sizeof(sockaddr_un::sun_path)] = {};

std::mutex gSubLock;
std::vector<int> gSubscribers;

uint32_t getU32(const uint8_t* p) {
  uint32_t v;
  std::memcpy(&v, p, 4);
  return v;
}
void addU32(std::vector<uint8_t>& b, uint32_t v) {
  const size_t off = b.size();
  b.resize(off + 4);
  std::memcpy(&b[off], &v, 4);
}

bool sendAll(int fd, const std::vector<uint8_t>& b, int flags) {
  size_t off = 0;
  while (off < b.size()) {
    const ssize_t n = ::send(fd, b.data() + off, b.size() - off, flags | MSG_NOSIGNAL);
    if (n < 0 && errno == EINTR) continue;
    if (n <= 0) return false;
    off += static_cast<size_t>(n);
  }
  return true;
}

void eventPublish(uint32_t kind, uint32_t arg, const void* data, size_t len) {
  if (len > kCmdMaxData) len = kCmdMaxData;
  std::vector<uint8_t> b;
  addU32(b, kCmdMagic);
  addU32(b, static_cast<uint32_t>(16 + len));
  addU32(b, kind);
  addU32(b, arg);
  const size_t off = b.size();
  b.resize(off + len);
  if (len) std::memcpy(&b[off], data, len);
  std::lock_guard<std::mutex> g(gSubLock);
  // A subscriber that cannot keep up loses events rather than stalling the
  // protocol task.
  for (int fd : gSubscribers) sendAll(fd, b, MSG_DONTWAIT);
}

struct Client {
  int fd;
  std::vector<uint8_t> in;
  bool subscribed;
};

void serverLoop(int lfd, const IcmFuncEntry* table, uint32_t count) {
  std::vector<Client> clients;
  for (;;) {
    std::vector<pollfd> pfds;
    pfds.push_back({lfd, POLLIN, 0});
    for (const auto& c : clients) pfds.push_back({c.fd, POLLIN, 0});
    if (::poll(pfds.data(), pfds.size(), -1) < 0) {
      if (errno == EINTR) continue;
      return;
    }
    std::vector<size_t> drop;
    for (size_t i = 1; i < pfds.size(); ++i) {
      if (!(pfds[i].revents & (POLLIN | POLLHUP | POLLERR))) continue;
      Client& c = clients[i - 1];
      uint8_t buf[8192];
      const ssize_t n = ::recv(c.fd, buf, sizeof buf, 0);
      if (n <= 0) {
        drop.push_back(i - 1);
        continue;
      }
      if (c.subscribed) continue;  // an event stream expects no requests
      c.in.insert(c.in.end(), buf, buf + n);
      for (;;) {
        CmdRequest req;
        const long used = cmdDecode(c.in.data(), c.in.size(), &req);
        if (used == 0) break;
        if (used < 0) {
          drop.push_back(i - 1);
          break;
        }
        c.in.erase(c.in.begin(), c.in.begin() + used);
        if (req.op == kOpSubscribe) {
          std::vector<uint8_t> ok;
          addU32(ok, kCmdMagic);
          addU32(ok, kCmdReplyHeaderLen);
          addU32(ok, 0);
          addU32(ok, 0);
          addU32(ok, 0);
          std::lock_guard<std::mutex> g(gSubLock);
          if (sendAll(c.fd, ok, 0)) {
            c.subscribed = true;
            gSubscribers.push_back(c.fd);
          }
          break;
        }
        if (!sendAll(c.fd, cmdExecute(table, count, req), 0)) {
          drop.push_back(i - 1);
          break;
        }
      }
    }
    for (auto it = drop.rbegin(); it != drop.rend(); ++it) {
      Client& c = clients[*it];
      {
        std::lock_guard<std::mutex> g(gSubLock);
        for (size_t k = 0; k < gSubscribers.size(); ++k)
          if (gSubscribers[k] == c.fd) gSubscribers.erase(gSubscribers.begin() + static_cast<long>(k));
        ::close(c.fd);
      }
      clients.erase(clients.begin() + static_cast<long>(*it));
    }
    if (pfds[0].revents & POLLIN) {
      const int cfd = ::accept4(lfd, nullptr, nullptr, SOCK_CLOEXEC);
      if (cfd >= 0) {
        if (clients.size() >= kMaxClients) {
          ::close(cfd);
        } else {
          // A client that stops reading must not hold the server for long.
          timeval tv{2, 0};
          setsockopt(cfd, SOL_SOCKET, SO_SNDTIMEO, &tv, sizeof tv);
          clients.push_back({cfd, {}, false});
        }
      }
    }
  }
}

}  // namespace

long cmdDecode(const uint8_t* buf, size_t n, CmdRequest* req) {
  if (n < 8) return 0;
  if (getU32(buf) != kCmdMagic) return -1;
  const uint32_t total = getU32(buf + 4);
  if (total < kCmdHeaderLen || total > kCmdHeaderLen + kCmdMaxData) return -1;
  if (n < total) return 0;
  req->op = getU32(buf + 8);
  req->index = getU32(buf + 12);
  req->objId = getU32(buf + 16);
  req->flags = getU32(buf + 20);
  req->value = getU32(buf + 24);
  req->len = getU32(buf + 28);
  req->data.assign(buf + kCmdHeaderLen, buf + total);
  if (!(req->flags & kCmdFlagBuffer) && !req->data.empty()) return -1;
  if ((req->flags & kCmdFlagBuffer) && req->len > kCmdMaxData) return -1;
  return static_cast<long>(total);
}

std::vector<uint8_t> cmdEncodeRequest(const CmdRequest& req) {
  std::vector<uint8_t> b;
  addU32(b, kCmdMagic);
  addU32(b, static_cast<uint32_t>(kCmdHeaderLen + req.data.size()));
  addU32(b, req.op);
  addU32(b, req.index);
  addU32(b, req.objId);
  addU32(b, req.flags);
  addU32(b, req.value);
  addU32(b, req.len);
  b.insert(b.end(), req.data.begin(), req.data.end());
  return b;
}

std::vector<uint8_t> cmdExecute(const void* tablePtr, uint32_t count, const CmdRequest& req) {
  const auto* table = static_cast<const IcmFuncEntry*>(tablePtr);
  IcmHandler h = nullptr;
  for (uint32_t i = 0; table && i < count; ++i)
    if (table[i].id == req.op) {
      h = table[i].handler;
      break;
    }
  uint32_t rc = kUnknownObject;
  ZorValue v{};
  std::vector<uint8_t> buf;
  const bool buffered = (req.flags & kCmdFlagBuffer) != 0;
  if (buffered) {
    // The handler gets a buffer of the client's capacity holding the bytes
    // the client supplied; both are bounded by kCmdMaxData.
    buf.assign(std::max<size_t>(req.len, req.data.size()) + 1, 0);
    std::copy(req.data.begin(), req.data.end(), buf.begin());
    v.buf = buf.data();
    v.len = req.len;
  } else {
    v.raw = 0;
    v.value = req.value;
    v.len = req.len;
  }
  if (h) rc = h(req.index, req.objId, &v);
  std::vector<uint8_t> out;
  addU32(out, kCmdMagic);
  uint32_t dataLen = 0;
  if (buffered) dataLen = static_cast<uint32_t>(std::min<size_t>(v.len, buf.size() - 1));
  addU32(out, kCmdReplyHeaderLen + dataLen);
  addU32(out, rc);
  addU32(out, buffered ? 0 : v.value);
  addU32(out, buffered ? dataLen : v.len);
  out.insert(out.end(), buf.begin(), buf.begin() + dataLen);
  return out;
}

void cmdSocketUnlink() {
  if (gSockPath[0]) ::unlink(gSockPath);
}

}  // namespace lnx

int icmProcTcpInit(const char* taskName, const char* path, const IcmFuncEntry* table,
                   uint32_t count) {
  const std::string p = lnx::optString("host.cmdsocket", path ? path : "/tmp/lldpcmd.socket");
  auto failed = [&p](const char* why) {
    const std::string line = "command socket " + p + ": " + why + "\n";
    lnx::logWrite(0x3F50008, line.c_str());
    return -1;
  };
  sockaddr_un sa{};
  if (p.size() >= sizeof sa.sun_path) return failed("path too long");
  sa.sun_family = AF_UNIX;
  std::memcpy(sa.sun_path, p.c_str(), p.size() + 1);
  // A socket that still answers belongs to another agent: leave it alone.
  const int probe = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
  if (probe >= 0) {
    const bool inUse = ::connect(probe, reinterpret_cast<sockaddr*>(&sa), sizeof sa) == 0;
    ::close(probe);
    if (inUse) return failed("in use by another agent");
  }
  const int lfd = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
  if (lfd < 0) return failed(std::strerror(errno));
  ::unlink(p.c_str());
  const mode_t old = ::umask(0117);
  const int rc = ::bind(lfd, reinterpret_cast<sockaddr*>(&sa), sizeof sa);
  ::umask(old);
  if (rc < 0 || ::chmod(p.c_str(), 0660) < 0 || ::listen(lfd, 16) < 0) {
    const int err = errno;
    ::close(lfd);
    return failed(std::strerror(err));
  }
  std::memcpy(lnx::gSockPath, p.c_str(), p.size() + 1);
  std::thread([lfd, table, count, name = std::string(taskName ? taskName : "cmd")] {
    pthread_setname_np(pthread_self(), name.substr(0, 15).c_str());
    lnx::serverLoop(lfd, table, count);
  }).detach();
  return 0;
}

int zorNetlinkSGrpSend(uint32_t group, uint32_t /*flags*/, const void* msg, uint32_t len) {
  if (!msg) return -1;
  lnx::eventPublish(lnx::kEventGroup, group, msg, len);
  return 0;
}

int send_lldp_trap(uint32_t reason) {
  lnx::eventPublish(lnx::kEventTrap, reason, nullptr, 0);
  return 0;
}

int send_lldpmed_trap(uint32_t timeMarkHigh, uint32_t timeMarkLow, uint32_t unit,
                      uint32_t remIndex, uint32_t chassisIdSubtype, const uint8_t* chassisId,
                      uint32_t chassisIdLen, uint32_t medDevType, uint32_t reason) {
  std::vector<uint8_t> b;
  const uint32_t n = !chassisId ? 0 : (chassisIdLen > 255 ? 255 : chassisIdLen);
  for (uint32_t w : {timeMarkHigh, timeMarkLow, unit, remIndex, chassisIdSubtype, n, medDevType})
    lnx::addU32(b, w);
  if (n) b.insert(b.end(), chassisId, chassisId + n);
  lnx::eventPublish(lnx::kEventMedTrap, reason, b.data(), b.size());
  return 0;
}
