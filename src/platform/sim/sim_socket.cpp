// Simulated platform: sockets. The first open packet socket is the frame
// socket and the first open netlink socket the event socket; frames and
// events queued by the test wait there until the agent reads them.
#include <algorithm>
#include <cstring>

#include "platform/sim/sim_internal.h"
#include "platform/zor_socket.h"

using namespace sim::detail;

namespace sim::detail {

void resetSockets() {
  State& s = st();
  s.sockets.clear();
  s.openCount = 0;
  s.frameFd = -1;
  s.eventFd = -1;
  s.sockOpts.clear();
  s.binds.clear();
  s.sent.clear();
  s.sendResult = 0;
  s.sendResultCount = 0;
  s.frames.clear();
  s.events.clear();
  s.groupSends.clear();
}

}  // namespace sim::detail

namespace {

bool isOpen(int fd) {
  State& s = st();
  return fd >= 0 && static_cast<size_t>(fd) < s.sockets.size() && s.sockets[fd].open;
}

// Copies at most cap bytes; returns the count copied.
size_t copyCut(void* dst, size_t cap, const void* src, size_t len) {
  size_t n = std::min(cap, len);
  if (n && dst) std::memcpy(dst, src, n);
  return dst ? n : 0;
}

}  // namespace

namespace sim {

int openDescriptors() { return st().openCount; }
int frameSocket() { return st().frameFd; }
int eventSocket() { return st().eventFd; }
const std::vector<SockOpt>& sockOpts() { return st().sockOpts; }
const std::vector<Bind>& binds() { return st().binds; }
const std::vector<SentFrame>& sentFrames() { return st().sent; }
void clearSentFrames() { st().sent.clear(); }
void setSendResult(long result, int count) {
  st().sendResult = result;
  st().sendResultCount = count < 0 ? -1 : count;
}
void queueFrame(uint32_t unit, const std::vector<uint8_t>& bytes, bool withAux,
                uint8_t auxByte16) {
  st().frames.push_back({unit, bytes, withAux, auxByte16});
}
void queueEvent(const std::vector<uint8_t>& msg) { st().events.push_back(msg); }
size_t queuedFrames() { return st().frames.size(); }
size_t queuedEvents() { return st().events.size(); }
const std::vector<GroupSend>& groupSends() { return st().groupSends; }

}  // namespace sim

int zor_socket(int family, int type, int protocol) {
  int rc = -1;
  if (enter(Fn::zor_socket, &rc)) return rc;
  State& s = st();
  int fd = 3;
  while (static_cast<size_t>(fd) < s.sockets.size() && s.sockets[fd].open) fd++;
  if (fd >= ZOR_FD_SETSIZE) return -1;
  if (static_cast<size_t>(fd) >= s.sockets.size()) s.sockets.resize(static_cast<size_t>(fd) + 1);
  s.sockets[fd] = Socket{true, family, type, protocol};
  s.openCount++;
  if (family == ZOR_AF_PACKET && s.frameFd < 0) s.frameFd = fd;
  if (family == ZOR_AF_NETLINK && s.eventFd < 0) s.eventFd = fd;
  return fd;
}

int zor_bind(int fd, const void* addr, uint32_t addrLen) {
  int rc = -1;
  if (enter(Fn::zor_bind, &rc)) return rc;
  if (!isOpen(fd)) return -1;
  const auto* p = static_cast<const uint8_t*>(addr);
  st().binds.push_back({fd, p ? std::vector<uint8_t>(p, p + addrLen) : std::vector<uint8_t>{}});
  return 0;
}

int zor_setsockopt(int fd, int level, int name, const void* value, uint32_t valueLen) {
  int rc = -1;
  if (enter(Fn::zor_setsockopt, &rc)) return rc;
  if (!isOpen(fd)) return -1;
  const auto* p = static_cast<const uint8_t*>(value);
  st().sockOpts.push_back(
      {fd, level, name, p ? std::vector<uint8_t>(p, p + valueLen) : std::vector<uint8_t>{}});
  return 0;
}

int zor_select(int nfds, ZorFdSet* readSet, ZorFdSet* writeSet, ZorFdSet* errorSet,
               ZorTimeval* timeout) {
  int rc = -1;
  if (enter(Fn::zor_select, &rc)) return rc;
  State& s = st();
  bool frameReady = readSet && s.frameFd >= 0 && s.frameFd < nfds &&
                    ZOR_FD_ISSET(s.frameFd, readSet) && !s.frames.empty();
  bool eventReady = readSet && s.eventFd >= 0 && s.eventFd < nfds &&
                    ZOR_FD_ISSET(s.eventFd, readSet) && !s.events.empty();
  if (writeSet) ZOR_FD_ZERO(writeSet);
  if (errorSet) ZOR_FD_ZERO(errorSet);
  if (readSet) ZOR_FD_ZERO(readSet);
  if (frameReady || eventReady) {
    if (frameReady) ZOR_FD_SET(s.frameFd, readSet);
    if (eventReady) ZOR_FD_SET(s.eventFd, readSet);
    return (frameReady ? 1 : 0) + (eventReady ? 1 : 0);
  }
  // Nothing to read: the whole time-out passes (rounded up to whole ms).
  if (timeout && timeout->sec >= 0 && timeout->usec >= 0) {
    s.nowMs += static_cast<uint64_t>(timeout->sec) * 1000 +
               (static_cast<uint64_t>(timeout->usec) + 999) / 1000;
  }
  return 0;
}

long zor_recvmsg(int fd, ZorMsg* msg, int) {
  int rc = -1;
  if (enter(Fn::zor_recvmsg, &rc)) return rc;
  State& s = st();
  if (!msg || !isOpen(fd) || fd != s.frameFd || s.frames.empty()) return -1;
  QueuedFrame f = std::move(s.frames.front());
  s.frames.pop_front();

  size_t copied = 0;
  for (size_t i = 0; i < msg->iovLen && msg->iov && copied < f.bytes.size(); i++) {
    copied += copyCut(msg->iov[i].base, msg->iov[i].len, f.bytes.data() + copied,
                      f.bytes.size() - copied);
  }

  ZorSockAddrLl from{};
  from.family = ZOR_AF_PACKET;
  if (f.bytes.size() >= 14) from.protocol = static_cast<uint16_t>(f.bytes[12] << 8 | f.bytes[13]);
  from.ifIndex = f.unit;
  from.hatype = 1;
  from.pktType = (f.bytes.size() >= 1 && (f.bytes[0] & 1)) ? 2 : 0;  // multicast : to us
  from.halen = 6;
  if (f.bytes.size() >= 12) std::memcpy(from.addr, f.bytes.data() + 6, 6);
  msg->nameLen = static_cast<uint32_t>(copyCut(msg->name, msg->nameLen, &from, sizeof(from)));

  size_t control = 0;
  if (f.withAux) {
    uint8_t rec[sizeof(ZorCmsgHdr) + sizeof(ZorPktAuxData)] = {};
    ZorCmsgHdr hdr{static_cast<uint32_t>(sizeof(rec)), ZOR_SOL_PACKET, ZOR_PACKET_AUXDATA};
    ZorPktAuxData aux{};
    aux.len = static_cast<uint32_t>(f.bytes.size());
    aux.snaplen = static_cast<uint32_t>(copied);
    std::memcpy(rec, &hdr, sizeof(hdr));
    std::memcpy(rec + sizeof(hdr), &aux, sizeof(aux));
    rec[sizeof(hdr) + 16] = f.auxByte16;
    control = copyCut(msg->control, msg->controlLen, rec, sizeof(rec));
  }
  msg->controlLen = control;
  msg->flags = 0;
  return static_cast<long>(copied);
}

long zor_recvfrom(int fd, void* buf, size_t len, int, void* from, uint32_t* fromLen) {
  int rc = -1;
  if (enter(Fn::zor_recvfrom, &rc)) return rc;
  State& s = st();
  if (!isOpen(fd) || fd != s.eventFd || s.events.empty()) return -1;
  std::vector<uint8_t> ev = std::move(s.events.front());
  s.events.pop_front();
  size_t n = copyCut(buf, len, ev.data(), ev.size());
  if (fromLen) {
    ZorSockAddrNl nl{ZOR_AF_NETLINK, 0, 0, 0};
    *fromLen = static_cast<uint32_t>(copyCut(from, *fromLen, &nl, sizeof(nl)));
  }
  return static_cast<long>(n);
}

long zor_sendto(int fd, const void* buf, size_t len, int, const void* to, uint32_t toLen) {
  int rc = -1;
  if (enter(Fn::zor_sendto, &rc)) return rc;
  State& s = st();
  if (!isOpen(fd) || (len && !buf)) return -1;
  if (fd != s.frameFd) return static_cast<long>(len);
  if (!to || toLen < sizeof(ZorSockAddrLl)) return -1;
  long result = static_cast<long>(len);
  if (s.sendResultCount != 0) {
    result = s.sendResult;
    if (s.sendResultCount > 0) s.sendResultCount--;
  }
  // A refused send puts nothing on the wire.
  if (result < 0) return result;
  ZorSockAddrLl ll;
  std::memcpy(&ll, to, sizeof(ll));
  const auto* a = static_cast<const uint8_t*>(to);
  const auto* b = static_cast<const uint8_t*>(buf);
  s.sent.push_back({ll.ifIndex, ll.protocol, std::vector<uint8_t>(a, a + sizeof(ll)),
                    std::vector<uint8_t>(b, b + len), s.nowMs});
  return result;
}

int zor_close(int fd) {
  int rc = -1;
  if (enter(Fn::zor_close, &rc)) return rc;
  State& s = st();
  if (!isOpen(fd)) return -1;
  s.sockets[fd].open = false;
  s.openCount--;
  if (fd == s.frameFd) s.frameFd = -1;
  if (fd == s.eventFd) s.eventFd = -1;
  return 0;
}

int zorNetlinkSGrpSend(uint32_t group, uint32_t, const void* msg, uint32_t len) {
  int rc = -1;
  if (enter(Fn::zorNetlinkSGrpSend, &rc)) return rc;
  const auto* p = static_cast<const uint8_t*>(msg);
  st().groupSends.push_back({group, p ? std::vector<uint8_t>(p, p + len) : std::vector<uint8_t>{}});
  return 0;
}
