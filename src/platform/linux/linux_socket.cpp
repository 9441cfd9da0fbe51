// The platform socket layer on Linux.
//
// Two kinds of descriptor are handed to the agent:
//  - the frame socket: a real AF_PACKET raw socket. It listens to every
//    protocol behind a kernel filter that keeps LLDP frames of both
//    destination modes (0x88CC, 0xFFCC), tagged or not, and drops the frames
//    this host sends. The agent's socket options are mapped onto Linux's: its
//    auxiliary-data switch is PACKET_AUXDATA, its frame filter and protocol
//    registration are memberships of the LLDP destination group.
//  - the event socket: one end of a datagram socket pair; the routing-netlink
//    thread (linux_netlink.cpp) writes the platform's interface messages into
//    the other end.
// Every record that crosses the contract (link-layer address, control
// message, auxiliary data) is translated field by field, never cast.
#include <atomic>
#include <cerrno>
#include <cstring>
#include <map>
#include <mutex>
#include <set>
#include <utility>
#include <vector>

#include <arpa/inet.h>
#include <linux/filter.h>
#include <linux/if_ether.h>
#include <linux/if_packet.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include "platform/linux/linux_platform.h"
#include "platform/zor_socket.h"

namespace {

enum class Kind { Frame, Event };

std::mutex gSockLock;
std::map<int, Kind> gKinds;
int gFrameFd = -1;
std::atomic<bool> gAuxData{false};
// Messages read from the event socket, and how many of them were read
// before the protocol task last went back to wait (so handled).
std::atomic<uint64_t> gEventRead{0};
std::atomic<uint64_t> gEventDone{0};

// (ifindex, group address) -> reasons for membership.
std::map<std::pair<uint32_t, std::vector<uint8_t>>, uint32_t> gGroups;
uint32_t gPendingFilterUnit = 0;

const uint8_t kLldpGroup[6] = {0x01, 0x80, 0xC2, 0x00, 0x00, 0x0E};

bool kindOf(int fd, Kind* k) {
  std::lock_guard<std::mutex> g(gSockLock);
  auto it = gKinds.find(fd);
  if (it == gKinds.end()) return false;
  *k = it->second;
  return true;
}

int attachLldpFilter(int fd) {
  // Keeps frames that arrived (not the ones this host sent) whose EtherType,
  // or whose EtherType behind one VLAN tag, is 0x88CC or 0xFFCC. A tag that
  // the kernel has already taken off leaves the inner type at offset 12.
  static sock_filter code[] = {
      BPF_STMT(BPF_LD | BPF_B | BPF_ABS, static_cast<uint32_t>(SKF_AD_OFF + SKF_AD_PKTTYPE)),
      BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, PACKET_OUTGOING, 9, 0),
      BPF_STMT(BPF_LD | BPF_H | BPF_ABS, 12),
      BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, 0x88CC, 6, 0),
      BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, 0xFFCC, 5, 0),
      BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, 0x8100, 1, 0),
      BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, 0x88A8, 0, 4),
      BPF_STMT(BPF_LD | BPF_H | BPF_ABS, 16),
      BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, 0x88CC, 1, 0),
      BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, 0xFFCC, 0, 1),
      BPF_STMT(BPF_RET | BPF_K, 0xFFFF),
      BPF_STMT(BPF_RET | BPF_K, 0),
  };
  sock_fprog prog{static_cast<unsigned short>(sizeof code / sizeof code[0]), code};
  return setsockopt(fd, SOL_SOCKET, SO_ATTACH_FILTER, &prog, sizeof prog);
}

int membership(int fd, uint32_t ifindex, const std::vector<uint8_t>& addr, bool join) {
  packet_mreq mr{};
  mr.mr_ifindex = static_cast<int>(ifindex);
  mr.mr_type = PACKET_MR_MULTICAST;
  mr.mr_alen = static_cast<unsigned short>(addr.size());
  std::memcpy(mr.mr_address, addr.data(), std::min(addr.size(), sizeof mr.mr_address));
  return setsockopt(fd, SOL_PACKET, join ? PACKET_ADD_MEMBERSHIP : PACKET_DROP_MEMBERSHIP, &mr,
                    sizeof mr);
}

// REQUIRES: gSockLock held.
int groupSetLocked(uint32_t ifindex, const std::vector<uint8_t>& addr, uint32_t reason,
                   bool join) {
  auto key = std::make_pair(ifindex, addr);
  const uint32_t before = gGroups.count(key) ? gGroups[key] : 0;
  const uint32_t after = join ? (before | reason) : (before & ~reason);
  if (after == 0)
    gGroups.erase(key);
  else
    gGroups[key] = after;
  if (gFrameFd < 0) return 0;
  if (before == 0 && after != 0) return membership(gFrameFd, ifindex, addr, true) == 0 ? 0 : -1;
  // Leaving may fail when the interface is already gone; the kernel has then
  // dropped the membership itself.
  if (before != 0 && after == 0) membership(gFrameFd, ifindex, addr, false);
  return 0;
}

// The address's interface is the agent's unit; 0 stays 0 (any interface).
void toLinux(const ZorSockAddrLl& z, sockaddr_ll* l) {
  std::memset(l, 0, sizeof *l);
  l->sll_family = AF_PACKET;
  l->sll_protocol = htons(z.protocol);
  l->sll_ifindex = static_cast<int>(z.ifIndex ? lnx::ifindexOfUnit(z.ifIndex) : 0);
  l->sll_hatype = z.hatype;
  l->sll_pkttype = z.pktType;
  l->sll_halen = z.halen > 8 ? 8 : z.halen;
  std::memcpy(l->sll_addr, z.addr, sizeof z.addr);
}

void fromLinux(const sockaddr_ll& l, ZorSockAddrLl* z) {
  std::memset(z, 0, sizeof *z);
  z->family = ZOR_AF_PACKET;
  z->protocol = ntohs(l.sll_protocol);
  z->ifIndex = lnx::unitOfIfindex(static_cast<uint32_t>(l.sll_ifindex));
  z->hatype = l.sll_hatype;
  z->pktType = l.sll_pkttype;
  z->halen = l.sll_halen;
  std::memcpy(z->addr, l.sll_addr, sizeof z->addr);
}

void putU32(uint8_t* p, uint32_t v) { std::memcpy(p, &v, 4); }
void putU16(uint8_t* p, uint16_t v) { std::memcpy(p, &v, 2); }

long recvFrame(int fd, ZorMsg* msg, int flags) {
  // Room for the largest frame plus a tag put back in front.
  static thread_local std::vector<uint8_t> buf(65536 + 4);
  sockaddr_ll from{};
  alignas(cmsghdr) uint8_t ctl[CMSG_SPACE(sizeof(tpacket_auxdata)) + 64];
  iovec iov{buf.data() + 4, buf.size() - 4};
  msghdr m{};
  m.msg_name = &from;
  m.msg_namelen = sizeof from;
  m.msg_iov = &iov;
  m.msg_iovlen = 1;
  m.msg_control = ctl;
  m.msg_controllen = sizeof ctl;
  const ssize_t n = ::recvmsg(fd, &m, flags);
  if (n < 0) return -1;

  uint8_t* frame = buf.data() + 4;
  size_t len = static_cast<size_t>(n);
  bool haveAux = false;
  tpacket_auxdata aux{};
  for (cmsghdr* c = CMSG_FIRSTHDR(&m); c; c = CMSG_NXTHDR(&m, c)) {
    if (c->cmsg_level == SOL_PACKET && c->cmsg_type == PACKET_AUXDATA &&
        c->cmsg_len >= CMSG_LEN(sizeof aux)) {
      std::memcpy(&aux, CMSG_DATA(c), sizeof aux);
      haveAux = true;
    }
  }
  // The kernel takes a VLAN tag off before the frame reaches a packet socket
  // and reports it beside the frame; put it back so that the agent sees the
  // frame as it was on the wire.
  if (haveAux && (aux.tp_status & TP_STATUS_VLAN_VALID) && len >= 12) {
    const uint16_t tpid =
        (aux.tp_status & TP_STATUS_VLAN_TPID_VALID) && aux.tp_vlan_tpid ? aux.tp_vlan_tpid : 0x8100;
    std::memmove(frame - 4, frame, 12);
    frame -= 4;
    frame[12] = static_cast<uint8_t>(tpid >> 8);
    frame[13] = static_cast<uint8_t>(tpid);
    frame[14] = static_cast<uint8_t>(aux.tp_vlan_tci >> 8);
    frame[15] = static_cast<uint8_t>(aux.tp_vlan_tci);
    len += 4;
    aux.tp_len += 4;
    aux.tp_snaplen += 4;
  }

  // Scatter into the agent's buffers, bounded by each.
  size_t copied = 0;
  for (size_t i = 0; msg->iov && i < msg->iovLen && copied < len; ++i) {
    const size_t take = std::min(msg->iov[i].len, len - copied);
    if (take) std::memcpy(msg->iov[i].base, frame + copied, take);
    copied += take;
  }

  if (msg->name && msg->nameLen >= sizeof(ZorSockAddrLl)) {
    ZorSockAddrLl z;
    fromLinux(from, &z);
    std::memcpy(msg->name, &z, sizeof z);
    msg->nameLen = sizeof z;
  } else {
    msg->nameLen = 0;
  }

  // One control message, level 263 type 20, carrying the auxiliary data in
  // the platform's 20-byte layout.
  const size_t need = sizeof(ZorCmsgHdr) + sizeof(ZorPktAuxData);
  if (haveAux && gAuxData && msg->control && msg->controlLen >= need) {
    auto* p = static_cast<uint8_t*>(msg->control);
    putU32(p + 0, static_cast<uint32_t>(need));
    putU32(p + 4, ZOR_SOL_PACKET);
    putU32(p + 8, ZOR_PACKET_AUXDATA);
    uint8_t* d = p + sizeof(ZorCmsgHdr);
    putU32(d + 0, aux.tp_status);
    putU32(d + 4, aux.tp_len);
    putU32(d + 8, aux.tp_snaplen);
    putU16(d + 12, aux.tp_mac);
    putU16(d + 14, aux.tp_net);
    putU16(d + 16, aux.tp_vlan_tci);
    putU16(d + 18, aux.tp_vlan_tpid);
    msg->controlLen = need;
  } else {
    msg->controlLen = 0;
  }
  msg->flags = copied < len ? 0x20 /* truncated */ : 0;
  return static_cast<long>(copied);
}

// Packet filter record pair (28 bytes each): the unit record (kind 1), then
// the address record (kind 2).
int filterRecord(const void* value, uint32_t len, bool add) {
  if (!value || len < 28) return -1;
  const auto* r = static_cast<const uint8_t*>(value);
  uint32_t kind = 0;
  std::memcpy(&kind, r + 4, 4);
  if (kind == 1) {
    std::memcpy(&gPendingFilterUnit, r + 12, 4);
    return 0;
  }
  if (kind == 2 && gPendingFilterUnit != 0) {
    std::vector<uint8_t> mac(r + 12, r + 18);
    const uint32_t ifindex = lnx::ifindexOfUnit(gPendingFilterUnit);
    if (ifindex == 0) return 0;  // a port of another unit
    std::lock_guard<std::mutex> g(gSockLock);
    return groupSetLocked(ifindex, mac, 4, add);
  }
  return -1;
}

}  // namespace

namespace lnx {

int frameSocketFd() {
  std::lock_guard<std::mutex> g(gSockLock);
  return gFrameFd;
}

int frameGroupSet(uint32_t unit, uint32_t reason, bool join) {
  const uint32_t ifindex = ifindexOfUnit(unit);
  if (ifindex == 0) return 0;  // a port of another unit: nothing to join here
  std::lock_guard<std::mutex> g(gSockLock);
  return groupSetLocked(ifindex, std::vector<uint8_t>(kLldpGroup, kLldpGroup + 6), reason, join);
}

bool frameGroupJoined(uint32_t unit) {
  const uint32_t ifindex = ifindexOfUnit(unit);
  std::lock_guard<std::mutex> g(gSockLock);
  return gGroups.count({ifindex, std::vector<uint8_t>(kLldpGroup, kLldpGroup + 6)}) != 0;
}

uint64_t eventMessagesDone() { return gEventDone.load(); }

int eventSocketOpen(bool netlinkThread) {
  int sv[2];
  if (::socketpair(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0, sv) < 0) return -1;
  if (netlinkThread) {
    if (netlinkThreadStart(sv[1]) < 0) {
      ::close(sv[0]);
      ::close(sv[1]);
      return -1;
    }
  } else {
    eventSocketSet(sv[1]);
  }
  std::lock_guard<std::mutex> g(gSockLock);
  gKinds[sv[0]] = Kind::Event;
  return sv[0];
}

}  // namespace lnx

int zor_socket(int family, int type, int /*protocol*/) {
  if (family == ZOR_AF_PACKET && type == ZOR_SOCK_RAW) {
    const int fd = ::socket(AF_PACKET, SOCK_RAW | SOCK_CLOEXEC, htons(ETH_P_ALL));
    if (fd < 0) return -1;
    // The kernel's auxiliary data is always asked for: without it a VLAN
    // tag taken off by the kernel could not be put back. The agent's own
    // switch (level 263, option 20) decides only whether it sees it.
    const int on = 1;
    if (attachLldpFilter(fd) < 0 ||
        ::setsockopt(fd, SOL_PACKET, PACKET_AUXDATA, &on, sizeof on) < 0) {
      ::close(fd);
      return -1;
    }
    std::lock_guard<std::mutex> g(gSockLock);
    gKinds[fd] = Kind::Frame;
    if (gFrameFd < 0) {
      gFrameFd = fd;
      // Memberships asked for before the socket existed.
      for (const auto& [key, reasons] : gGroups)
        if (reasons) membership(fd, key.first, key.second, true);
    }
    return fd;
  }
  if (family == ZOR_AF_NETLINK) {
    const int fd = lnx::eventSocketOpen(true);
    if (fd >= 0) lnx::stackStart();
    return fd;
  }
  errno = EAFNOSUPPORT;
  return -1;
}

int zor_bind(int fd, const void* addr, uint32_t addrLen) {
  Kind k;
  if (!kindOf(fd, &k) || !addr) return -1;
  if (k == Kind::Event) return addrLen >= sizeof(ZorSockAddrNl) ? 0 : -1;
  if (addrLen < sizeof(ZorSockAddrLl)) return -1;
  ZorSockAddrLl z;
  std::memcpy(&z, addr, sizeof z);
  sockaddr_ll l;
  toLinux(z, &l);
  // The frame socket keeps listening to every protocol: its kernel filter
  // decides what the agent gets.
  l.sll_protocol = htons(ETH_P_ALL);
  return ::bind(fd, reinterpret_cast<sockaddr*>(&l), sizeof l) == 0 ? 0 : -1;
}

int zor_setsockopt(int fd, int level, int name, const void* value, uint32_t valueLen) {
  Kind k;
  if (!kindOf(fd, &k)) return -1;
  int iv = 0;
  if (value && valueLen >= sizeof(int)) std::memcpy(&iv, value, sizeof iv);
  if (level == ZOR_SOL_SOCKET && name == ZOR_SO_PROTONAME) return value ? 0 : -1;
  if (k == Kind::Event) {
    // Every platform message goes to the one socket pair; group numbers only
    // need to be acknowledged.
    if (level == ZOR_SOL_NETLINK && name == ZOR_NETLINK_ADD_MEMBERSHIP && value) return 0;
    return -1;
  }
  if (level == static_cast<int>(ZOR_SOL_PACKET) && name == static_cast<int>(ZOR_PACKET_AUXDATA)) {
    gAuxData = iv != 0;
    return 0;
  }
  if (level == ZOR_SOL_SOCKET && name == ZOR_SO_PKTFILTER_ADD) return filterRecord(value, valueLen, true);
  if (level == ZOR_SOL_SOCKET && name == ZOR_SO_PKTFILTER_DEL) return filterRecord(value, valueLen, false);
  return -1;
}

int zor_select(int nfds, ZorFdSet* readSet, ZorFdSet* writeSet, ZorFdSet* errorSet,
               ZorTimeval* timeout) {
  std::vector<pollfd> pfds;
  if (nfds > ZOR_FD_SETSIZE) nfds = ZOR_FD_SETSIZE;
  for (int fd = 0; fd < nfds; ++fd) {
    Kind k;
    // The protocol task waits again: what it read before is handled.
    if (readSet && ZOR_FD_ISSET(fd, readSet) && kindOf(fd, &k) && k == Kind::Event)
      gEventDone.store(gEventRead.load());
    short ev = 0;
    if (readSet && ZOR_FD_ISSET(fd, readSet)) ev |= POLLIN;
    if (writeSet && ZOR_FD_ISSET(fd, writeSet)) ev |= POLLOUT;
    if (errorSet && ZOR_FD_ISSET(fd, errorSet)) ev |= POLLPRI;
    if (ev) pfds.push_back({fd, ev, 0});
  }
  int ms = -1;
  if (timeout) {
    const int64_t t = timeout->sec * 1000 + timeout->usec / 1000;
    ms = t < 0 ? 0 : (t > 0x7FFFFFFF ? 0x7FFFFFFF : static_cast<int>(t));
  }
  int rc;
  do {
    rc = ::poll(pfds.data(), pfds.size(), ms);
  } while (rc < 0 && errno == EINTR);
  if (rc < 0) return -1;
  if (readSet) ZOR_FD_ZERO(readSet);
  if (writeSet) ZOR_FD_ZERO(writeSet);
  if (errorSet) ZOR_FD_ZERO(errorSet);
  int ready = 0;
  for (const auto& p : pfds) {
    bool any = false;
    if (readSet && (p.revents & (POLLIN | POLLHUP | POLLERR))) {
      ZOR_FD_SET(p.fd, readSet);
      any = true;
    }
    if (writeSet && (p.revents & POLLOUT)) {
      ZOR_FD_SET(p.fd, writeSet);
      any = true;
    }
    if (errorSet && (p.revents & POLLPRI)) {
      ZOR_FD_SET(p.fd, errorSet);
      any = true;
    }
    if (any) ++ready;
  }
  return ready;
}

long zor_recvmsg(int fd, ZorMsg* msg, int flags) {
  Kind k;
  if (!msg || !kindOf(fd, &k)) return -1;
  const int lflags = flags & MSG_DONTWAIT;
  if (k == Kind::Frame) return recvFrame(fd, msg, lflags);
  if (!msg->iov || msg->iovLen == 0) return -1;
  const ssize_t n = ::recv(fd, msg->iov[0].base, msg->iov[0].len, lflags);
  if (n < 0) return -1;
  gEventRead.fetch_add(1);
  if (msg->name && msg->nameLen >= sizeof(ZorSockAddrNl)) {
    ZorSockAddrNl nl{ZOR_AF_NETLINK, 0, 0, 0};
    std::memcpy(msg->name, &nl, sizeof nl);
    msg->nameLen = sizeof nl;
  }
  msg->controlLen = 0;
  return n;
}

long zor_recvfrom(int fd, void* buf, size_t len, int flags, void* from, uint32_t* fromLen) {
  Kind k;
  if (!buf || !kindOf(fd, &k)) return -1;
  const int lflags = flags & MSG_DONTWAIT;
  if (k == Kind::Frame) {
    ZorIovec iov{buf, len};
    ZorMsg m{from, fromLen ? *fromLen : 0, &iov, 1, nullptr, 0, 0};
    const long n = recvFrame(fd, &m, lflags);
    if (fromLen) *fromLen = m.nameLen;
    return n;
  }
  const ssize_t n = ::recv(fd, buf, len, lflags);
  if (n < 0) return -1;
  gEventRead.fetch_add(1);
  if (from && fromLen && *fromLen >= sizeof(ZorSockAddrNl)) {
    ZorSockAddrNl nl{ZOR_AF_NETLINK, 0, 0, 0};
    std::memcpy(from, &nl, sizeof nl);
    *fromLen = sizeof nl;
  }
  return n;
}

long zor_sendto(int fd, const void* buf, size_t len, int flags, const void* to, uint32_t toLen) {
  Kind k;
  if (!buf || !kindOf(fd, &k) || k != Kind::Frame) return -1;
  const int lflags = (flags & MSG_DONTWAIT) | MSG_NOSIGNAL;
  if (!to || toLen < sizeof(ZorSockAddrLl)) return ::send(fd, buf, len, lflags);
  ZorSockAddrLl z;
  std::memcpy(&z, to, sizeof z);
  sockaddr_ll l;
  toLinux(z, &l);
  if (z.ifIndex != 0 && l.sll_ifindex == 0) {
    errno = ENXIO;  // a port of another unit: its frames are that unit's
    return -1;
  }
  return ::sendto(fd, buf, len, lflags, reinterpret_cast<sockaddr*>(&l), sizeof l);
}

int zor_close(int fd) {
  {
    std::lock_guard<std::mutex> g(gSockLock);
    auto it = gKinds.find(fd);
    if (it == gKinds.end()) return -1;
    gKinds.erase(it);
    if (fd == gFrameFd) gFrameFd = -1;
  }
  return ::close(fd);
}
