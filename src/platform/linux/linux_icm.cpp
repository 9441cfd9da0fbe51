// The command server's socket and loop: a Unix stream socket (mode 0660)
// serving a table of numbered management operations, and the event stream
// that carries events to subscribed clients. The framing is documented in
// docs/command-socket.md.
//
// One server thread polls the listening socket and its clients; requests of
// one client are answered in order. Every request is decoded bounded by the
// bytes received, whatever its length field says.
//
// No platform call is defined here (they are in linux_cmdapi.cpp), so tests
// and benchmarks can serve the agent's table over a real socket while the
// agent runs on the simulated platform.
#include <cerrno>
#include <cstring>
#include <mutex>
#include <string>
#include <vector>

#include <poll.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include "platform/icm.h"
#include "platform/linux/linux_platform.h"

namespace lnx {
namespace {

constexpr size_t kMaxClients = 32;

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

struct Client {
  int fd;
  std::vector<uint8_t> in;
  bool subscribed;
};

}  // namespace

void eventPublish(uint32_t kind, uint32_t arg, const void* data, size_t len) {
  const auto b = cmdEncodeEvent(kind, arg, static_cast<const uint8_t*>(data), len);
  std::lock_guard<std::mutex> g(gSubLock);
  // A subscriber that cannot keep up loses events rather than stalling the
  // protocol task.
  for (int fd : gSubscribers) sendAll(fd, b, MSG_DONTWAIT);
}

int cmdListen(const std::string& p, std::string* why) {
  auto failed = [why](const char* text) {
    *why = text;
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
  return lfd;
}

void cmdServe(int lfd, const void* tablePtr, uint32_t count, const std::vector<CmdPlatformOp>& ops) {
  const auto* table = static_cast<const IcmFuncEntry*>(tablePtr);
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
      // The replies to the whole requests received go out together, in
      // order, a write whenever a reply's worth has gathered: a client that
      // pipelines small requests costs one system call per batch rather than
      // one per request, and the buffer stays bounded.
      std::vector<uint8_t> out;
      size_t off = 0;
      bool bad = false, subscribe = false;
      for (;;) {
        CmdRequest req;
        const long used = cmdDecode(c.in.data() + off, c.in.size() - off, &req);
        if (used == 0) break;
        if (used < 0) {
          bad = true;
          break;
        }
        off += static_cast<size_t>(used);
        if (req.op == kCmdOpSubscribe) {
          subscribe = true;
          break;
        }
        // An operation of the platform's own (a peer unit's hello) is not
        // in the agent's table.
        const CmdPlatformOp* own = nullptr;
        for (const auto& o : ops)
          if (o.op == req.op) own = &o;
        const auto rep = own ? own->serve(req) : cmdExecute(table, count, req);
        out.insert(out.end(), rep.begin(), rep.end());
        if (out.size() >= kCmdMaxReply) {
          if (!sendAll(c.fd, out, 0)) {
            bad = true;
            break;
          }
          out.clear();
        }
      }
      c.in.erase(c.in.begin(), c.in.begin() + static_cast<long>(off));
      if (!bad && !out.empty() && !sendAll(c.fd, out, 0)) bad = true;
      if (bad) {
        drop.push_back(i - 1);
        continue;
      }
      if (subscribe) {
        const auto ok = cmdEncodeReply(0, 0, 0, nullptr, nullptr, 0);
        std::lock_guard<std::mutex> g(gSubLock);
        if (sendAll(c.fd, ok, 0)) {
          c.subscribed = true;
          gSubscribers.push_back(c.fd);
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

}  // namespace lnx
