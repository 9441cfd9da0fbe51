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

char gSockPath[sizeof(sockaddr_un::sun_path)] = {};

std::mutex gSubLock;
std::vector<int> gSubscribers;

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
  cmdAddU32(b, kCmdMagic);
  cmdAddU32(b, static_cast<uint32_t>(16 + len));
  cmdAddU32(b, kind);
  cmdAddU32(b, arg);
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
          cmdAddU32(ok, kCmdMagic);
          cmdAddU32(ok, kCmdReplyHeaderLen);
          cmdAddU32(ok, 0);
          cmdAddU32(ok, 0);
          cmdAddU32(ok, 0);
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

void cmdSocketUnlink() {
  if (gSockPath[0]) ::unlink(gSockPath);
}

std::string cmdSocketPath() { return gSockPath; }

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
    lnx::nameThisThread(name);
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
    lnx::cmdAddU32(b, w);
  if (n) b.insert(b.end(), chassisId, chassisId + n);
  lnx::eventPublish(lnx::kEventMedTrap, reason, b.data(), b.size());
  return 0;
}
