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
#include <sys/mman.h>
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

// ---- Receive ring ------------------------------------------------------------
// The frame socket receives into a memory-mapped ring of TPACKET_V3 blocks:
// the kernel fills a block with frames and hands it over when it is full or
// when kRingBlockMs has passed since its first frame, so a flood costs one
// wake-up per block instead of a poll() and a recvmsg() per frame. The receive
// call still hands the agent one frame at a time, from the oldest block that
// the kernel has handed over; the block goes back to the kernel once its last
// frame has been taken. Without the ring (an old kernel) the socket is read
// with recvmsg() as before.
//
// Only the protocol task reads the frame socket, so the ring's cursor needs
// no lock.
constexpr uint32_t kRingBlockSize = 32768;  // holds the largest jumbo frame whole
constexpr uint32_t kRingBlocks = 32;         // 1 MiB: about 2,800 typical LLDPDUs
constexpr uint32_t kRingFrameSize = 2048;    // only a unit for the kernel's checks
constexpr uint32_t kRingBlockMs = 4;         // the longest a lone frame waits

struct Ring {
  int fd = -1;
  uint8_t* map = nullptr;
  size_t mapLen = 0;
  uint32_t cur = 0;                  // the oldest block not yet given back
  tpacket_block_desc* blk = nullptr;  // cur, while it is ours
  uint32_t left = 0;                 // frames of blk not yet taken
  uint32_t next = 0;                 // offset of the next one in blk
};
Ring gRing;

tpacket_block_desc* ringBlock(uint32_t i) {
  return reinterpret_cast<tpacket_block_desc*>(gRing.map + size_t{i} * kRingBlockSize);
}

bool ringSetup(int fd) {
  const int version = TPACKET_V3;
  if (::setsockopt(fd, SOL_PACKET, PACKET_VERSION, &version, sizeof version) < 0) return false;
  tpacket_req3 req{};
  req.tp_block_size = kRingBlockSize;
  req.tp_block_nr = kRingBlocks;
  req.tp_frame_size = kRingFrameSize;
  req.tp_frame_nr = kRingBlockSize / kRingFrameSize * kRingBlocks;
  req.tp_retire_blk_tov = kRingBlockMs;
  if (::setsockopt(fd, SOL_PACKET, PACKET_RX_RING, &req, sizeof req) < 0) return false;
  const size_t len = size_t{kRingBlockSize} * kRingBlocks;
  void* m = ::mmap(nullptr, len, PROT_READ | PROT_WRITE, MAP_SHARED, fd, 0);
  if (m == MAP_FAILED) return false;
  gRing = Ring{};
  gRing.fd = fd;
  gRing.map = static_cast<uint8_t*>(m);
  gRing.mapLen = len;
  return true;
}

void ringClose(int fd) {
  if (gRing.fd != fd) return;
  ::munmap(gRing.map, gRing.mapLen);
  gRing = Ring{};
}

bool ringIs(int fd) { return fd >= 0 && gRing.fd == fd; }

// Makes the oldest handed-over block the current one; false when the kernel
// still holds it.
bool ringOpenBlock() {
  if (gRing.blk) return true;
  tpacket_block_desc* b = ringBlock(gRing.cur);
  if ((__atomic_load_n(&b->hdr.bh1.block_status, __ATOMIC_ACQUIRE) & TP_STATUS_USER) == 0)
    return false;
  gRing.blk = b;
  gRing.left = b->hdr.bh1.num_pkts;
  gRing.next = b->hdr.bh1.offset_to_first_pkt;
  return true;
}

void ringReleaseBlock() {
  __atomic_store_n(&gRing.blk->hdr.bh1.block_status, TP_STATUS_KERNEL, __ATOMIC_RELEASE);
  gRing.blk = nullptr;
  gRing.cur = (gRing.cur + 1) % kRingBlocks;
}

// True when a frame waits in the ring.
bool ringPending() {
  while (ringOpenBlock()) {
    if (gRing.left) return true;
    ringReleaseBlock();  // an empty block (handed over by its timer)
  }
  return false;
}

// The next frame's header, or null. The caller gives the block back
// (ringDone) once it has copied the frame out.
const tpacket3_hdr* ringTake() {
  if (!ringPending()) return nullptr;
  // The kernel wrote the block; still, nothing is read outside it.
  const uint32_t off = gRing.next;
  if (off > kRingBlockSize - sizeof(tpacket3_hdr)) {
    ringReleaseBlock();
    return nullptr;
  }
  const auto* h = reinterpret_cast<const tpacket3_hdr*>(reinterpret_cast<uint8_t*>(gRing.blk) + off);
  --gRing.left;
  gRing.next = off + h->tp_next_offset;
  if (h->tp_next_offset == 0) gRing.left = 0;
  return h;
}

void ringDone() {
  if (gRing.blk && gRing.left == 0) ringReleaseBlock();
}

// One received frame, wherever it came from: the frame as the kernel gave it
// (a tag it took off is in aux), and its sender.
struct RxFrame {
  const uint8_t* data = nullptr;
  size_t len = 0;
  bool haveAux = false;
  tpacket_auxdata aux{};
  sockaddr_ll from{};
};

// The ring's header as the auxiliary data the kernel gives with recvmsg():
// the status bits it reports there, and the network header's offset from the
// MAC header.
void ringAux(const tpacket3_hdr& h, tpacket_auxdata* aux) {
  constexpr uint32_t kAuxStatus = TP_STATUS_CSUMNOTREADY | TP_STATUS_CSUM_VALID |
                                  TP_STATUS_VLAN_VALID | TP_STATUS_VLAN_TPID_VALID;
  aux->tp_status = TP_STATUS_USER | (h.tp_status & kAuxStatus);
  aux->tp_len = h.tp_len;
  aux->tp_snaplen = h.tp_snaplen;
  aux->tp_mac = 0;
  aux->tp_net = static_cast<uint16_t>(h.tp_net >= h.tp_mac ? h.tp_net - h.tp_mac : 0);
  aux->tp_vlan_tci = static_cast<uint16_t>(h.hv1.tp_vlan_tci);
  aux->tp_vlan_tpid = static_cast<uint16_t>(h.hv1.tp_vlan_tpid);
}

// The next frame from the ring; false when none waits (after waiting for one
// unless MSG_DONTWAIT).
bool ringReceive(int fd, int flags, RxFrame* f) {
  const tpacket3_hdr* h = ringTake();
  if (!h && !(flags & MSG_DONTWAIT)) {
    pollfd p{fd, POLLIN, 0};
    int rc;
    do rc = ::poll(&p, 1, -1);
    while (rc < 0 && errno == EINTR);
    h = ringTake();
    if (!h && rc > 0 && (p.revents & POLLERR)) {
      // A pending socket error makes the socket readable with nothing in
      // the ring: take it, or the wait would never block again.
      int err = 0;
      socklen_t errLen = sizeof err;
      ::getsockopt(fd, SOL_SOCKET, SO_ERROR, &err, &errLen);
    }
  }
  if (!h) {
    errno = EAGAIN;
    return false;
  }
  const auto* base = reinterpret_cast<const uint8_t*>(h);
  const size_t room = kRingBlockSize - static_cast<size_t>(base - reinterpret_cast<uint8_t*>(gRing.blk));
  const size_t sllOff = TPACKET_ALIGN(sizeof(tpacket3_hdr));
  if (sllOff + sizeof(sockaddr_ll) <= room) std::memcpy(&f->from, base + sllOff, sizeof f->from);
  const size_t mac = h->tp_mac < room ? h->tp_mac : room;
  f->data = base + mac;
  f->len = std::min<size_t>(h->tp_snaplen, room - mac);
  f->haveAux = true;
  ringAux(*h, &f->aux);
  return true;
}

// The next frame by recvmsg(), into a buffer of the receiving thread.
bool plainReceive(int fd, int flags, RxFrame* f) {
  static thread_local std::vector<uint8_t> buf(65536);
  alignas(cmsghdr) uint8_t ctl[CMSG_SPACE(sizeof(tpacket_auxdata)) + 64];
  iovec iov{buf.data(), buf.size()};
  msghdr m{};
  m.msg_name = &f->from;
  m.msg_namelen = sizeof f->from;
  m.msg_iov = &iov;
  m.msg_iovlen = 1;
  m.msg_control = ctl;
  m.msg_controllen = sizeof ctl;
  const ssize_t n = ::recvmsg(fd, &m, flags);
  if (n < 0) return false;
  f->data = buf.data();
  f->len = static_cast<size_t>(n);
  for (cmsghdr* c = CMSG_FIRSTHDR(&m); c; c = CMSG_NXTHDR(&m, c)) {
    if (c->cmsg_level == SOL_PACKET && c->cmsg_type == PACKET_AUXDATA &&
        c->cmsg_len >= CMSG_LEN(sizeof f->aux)) {
      std::memcpy(&f->aux, CMSG_DATA(c), sizeof f->aux);
      f->haveAux = true;
    }
  }
  return true;
}

// Copies the pieces into the agent's buffers, bounded by each; returns the
// bytes copied.
size_t scatter(ZorMsg* msg, const uint8_t* const* piece, const size_t* pieceLen, size_t pieces) {
  size_t copied = 0, i = 0, p = 0, pOff = 0;
  size_t bufOff = 0;
  while (msg->iov && i < msg->iovLen && p < pieces) {
    const size_t take = std::min(msg->iov[i].len - bufOff, pieceLen[p] - pOff);
    if (take) std::memcpy(static_cast<uint8_t*>(msg->iov[i].base) + bufOff, piece[p] + pOff, take);
    copied += take;
    bufOff += take;
    pOff += take;
    if (pOff == pieceLen[p]) {
      ++p;
      pOff = 0;
    }
    if (bufOff == msg->iov[i].len) {
      ++i;
      bufOff = 0;
    }
  }
  return copied;
}

long recvFrame(int fd, ZorMsg* msg, int flags) {
  RxFrame f;
  const bool ring = ringIs(fd);
  if (!(ring ? ringReceive(fd, flags, &f) : plainReceive(fd, flags, &f))) return -1;

  size_t len = f.len;
  tpacket_auxdata aux = f.aux;
  // The kernel takes a VLAN tag off before the frame reaches a packet socket
  // and reports it beside the frame; put it back so that the agent sees the
  // frame as it was on the wire: addresses, tag, the rest.
  uint8_t tag[4];
  const uint8_t* piece[3] = {f.data, nullptr, nullptr};
  size_t pieceLen[3] = {len, 0, 0};
  size_t pieces = 1;
  if (f.haveAux && (aux.tp_status & TP_STATUS_VLAN_VALID) && len >= 12) {
    const uint16_t tpid =
        (aux.tp_status & TP_STATUS_VLAN_TPID_VALID) && aux.tp_vlan_tpid ? aux.tp_vlan_tpid : 0x8100;
    tag[0] = static_cast<uint8_t>(tpid >> 8);
    tag[1] = static_cast<uint8_t>(tpid);
    tag[2] = static_cast<uint8_t>(aux.tp_vlan_tci >> 8);
    tag[3] = static_cast<uint8_t>(aux.tp_vlan_tci);
    piece[0] = f.data;
    pieceLen[0] = 12;
    piece[1] = tag;
    pieceLen[1] = 4;
    piece[2] = f.data + 12;
    pieceLen[2] = len - 12;
    pieces = 3;
    len += 4;
    aux.tp_len += 4;
    aux.tp_snaplen += 4;
  }
  const size_t copied = scatter(msg, piece, pieceLen, pieces);
  if (ring) ringDone();

  if (msg->name && msg->nameLen >= sizeof(ZorSockAddrLl)) {
    ZorSockAddrLl z;
    fromLinux(f.from, &z);
    std::memcpy(msg->name, &z, sizeof z);
    msg->nameLen = sizeof z;
  } else {
    msg->nameLen = 0;
  }

  // One control message, level 263 type 20, carrying the auxiliary data in
  // the platform's 20-byte layout.
  const size_t need = sizeof(ZorCmsgHdr) + sizeof(ZorPktAuxData);
  if (f.haveAux && gAuxData && msg->control && msg->controlLen >= need) {
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
    // Opened without a protocol, so that nothing is queued on it before its
    // filter and its ring are in place; the bind below starts the listening
    // to every protocol.
    const int fd = ::socket(AF_PACKET, SOCK_RAW | SOCK_CLOEXEC, 0);
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
    const bool agents = gFrameFd < 0;
    // The agent's frame socket receives through the ring; should the kernel
    // refuse it, through a socket buffer sized for a burst (as far as
    // net.core.rmem_max lets it grow).
    if (agents && !ringSetup(fd)) {
      const int size = static_cast<int>(kRingBlockSize * kRingBlocks);
      ::setsockopt(fd, SOL_SOCKET, SO_RCVBUF, &size, sizeof size);
    }
    sockaddr_ll all{};
    all.sll_family = AF_PACKET;
    all.sll_protocol = htons(ETH_P_ALL);
    if (::bind(fd, reinterpret_cast<sockaddr*>(&all), sizeof all) < 0) {
      ringClose(fd);
      ::close(fd);
      return -1;
    }
    gKinds[fd] = Kind::Frame;
    if (agents) {
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

namespace {

// The wait itself: poll() over the asked descriptors.
int selectPoll(int nfds, ZorFdSet* readSet, ZorFdSet* writeSet, ZorFdSet* errorSet, int ms) {
  // The protocol task waits on two descriptors; a larger set is rare.
  pollfd small[8];
  std::vector<pollfd> large;
  pollfd* pfds = small;
  size_t count = 0, room = 8;
  for (int fd = 0; fd < nfds; ++fd) {
    short ev = 0;
    if (readSet && ZOR_FD_ISSET(fd, readSet)) ev |= POLLIN;
    if (writeSet && ZOR_FD_ISSET(fd, writeSet)) ev |= POLLOUT;
    if (errorSet && ZOR_FD_ISSET(fd, errorSet)) ev |= POLLPRI;
    if (!ev) continue;
    if (count == room) {
      large.assign(pfds, pfds + count);
      large.resize(static_cast<size_t>(nfds));
      pfds = large.data();
      room = large.size();
    }
    pfds[count++] = {fd, ev, 0};
  }
  int rc;
  do {
    rc = ::poll(pfds, count, ms);
  } while (rc < 0 && errno == EINTR);
  if (rc < 0) return -1;
  if (readSet) ZOR_FD_ZERO(readSet);
  if (writeSet) ZOR_FD_ZERO(writeSet);
  if (errorSet) ZOR_FD_ZERO(errorSet);
  int ready = 0;
  for (size_t i = 0; i < count; ++i) {
    const pollfd& p = pfds[i];
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

// Rounds answered from the ring alone since the last real look at the other
// descriptors.
uint32_t gRingRounds = 0;
constexpr uint32_t kRingRoundsMax = 32;

}  // namespace

int zor_select(int nfds, ZorFdSet* readSet, ZorFdSet* writeSet, ZorFdSet* errorSet,
               ZorTimeval* timeout) {
  if (nfds > ZOR_FD_SETSIZE) nfds = ZOR_FD_SETSIZE;
  int eventFd = -1;
  {
    std::lock_guard<std::mutex> g(gSockLock);
    for (const auto& [fd, kind] : gKinds) {
      if (fd >= nfds) break;
      // The protocol task waits again: what it read before is handled.
      if (kind == Kind::Event && readSet && ZOR_FD_ISSET(fd, readSet)) {
        gEventDone.store(gEventRead.load());
        eventFd = fd;
      }
    }
  }
  // Frames already in the ring: no need to wait or to ask the kernel, except
  // whether a platform message is waiting too, which the count of messages
  // written and read tells. Every kRingRoundsMax rounds the other descriptors
  // are looked at for real, so that nothing waits behind a flood of frames.
  const int ringFd = gRing.fd;
  if (readSet && ZOR_FD_ISSET(ringFd, readSet) && ringPending() && !writeSet && !errorSet &&
      ++gRingRounds < kRingRoundsMax) {
    const bool event = eventFd >= 0 && lnx::eventMessagesWritten() > gEventRead.load();
    ZOR_FD_ZERO(readSet);
    ZOR_FD_SET(ringFd, readSet);
    if (event) ZOR_FD_SET(eventFd, readSet);
    return event ? 2 : 1;
  }
  gRingRounds = 0;
  int ms = -1;
  if (timeout) {
    const int64_t t = timeout->sec * 1000 + timeout->usec / 1000;
    ms = t < 0 ? 0 : (t > 0x7FFFFFFF ? 0x7FFFFFFF : static_cast<int>(t));
  }
  // The ring's readiness is its own: poll() reports a block only when the
  // kernel has handed over the newest one.
  const bool ringReady = readSet && ZOR_FD_ISSET(ringFd, readSet) && ringPending();
  if (ringReady) ms = 0;
  const int ready = selectPoll(nfds, readSet, writeSet, errorSet, ms);
  if (ready < 0 || !ringReady || ZOR_FD_ISSET(ringFd, readSet)) return ready;
  ZOR_FD_SET(ringFd, readSet);
  return ready + 1;
}

long zor_recvmsg(int fd, ZorMsg* msg, int flags) {
  const int lflags = flags & MSG_DONTWAIT;
  if (msg && ringIs(fd)) return recvFrame(fd, msg, lflags);
  Kind k;
  if (!msg || !kindOf(fd, &k)) return -1;
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
    ringClose(fd);
  }
  return ::close(fd);
}
