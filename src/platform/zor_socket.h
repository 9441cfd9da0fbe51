// Platform socket layer. Numbering follows Linux for packet and netlink
// sockets: family 17 packet, 16 netlink; type 3 raw, 2 datagram; level 263
// packet, 270 netlink, 0xFFFF socket. Descriptors are small non-negative ints.
#pragma once

#include <cstddef>
#include <cstdint>

#include "platform/platform_types.h"

constexpr int ZOR_AF_NETLINK = 16;
constexpr int ZOR_AF_PACKET = 17;
constexpr int ZOR_SOCK_DGRAM = 2;
constexpr int ZOR_SOCK_RAW = 3;
constexpr int ZOR_SOL_SOCKET = 0xFFFF;
constexpr int ZOR_SOL_NETLINK = 270;
constexpr int ZOR_NETLINK_ADD_MEMBERSHIP = 1;
constexpr int ZOR_SO_PROTONAME = 4121;   // platform option: the owning protocol's number
constexpr int ZOR_SO_PKTFILTER_ADD = 4122;
constexpr int ZOR_SO_PKTFILTER_DEL = 4123;

constexpr int ZOR_FD_SETSIZE = 1024;
struct ZorFdSet {
  uint64_t bits[ZOR_FD_SETSIZE / 64];
};
inline void ZOR_FD_ZERO(ZorFdSet* s) {
  for (auto& w : s->bits) w = 0;
}
inline void ZOR_FD_SET(int fd, ZorFdSet* s) {
  if (fd >= 0 && fd < ZOR_FD_SETSIZE) s->bits[fd / 64] |= (uint64_t{1} << (fd % 64));
}
inline bool ZOR_FD_ISSET(int fd, const ZorFdSet* s) {
  return fd >= 0 && fd < ZOR_FD_SETSIZE && (s->bits[fd / 64] >> (fd % 64)) & 1u;
}

struct ZorTimeval {
  int64_t sec;
  int64_t usec;
};

struct ZorIovec {
  void* base;
  size_t len;
};

// Message descriptor for zor_recvmsg. On return nameLen and controlLen hold
// the lengths actually filled. Control data is a sequence of ZorCmsgHdr
// records (platform_types.h).
struct ZorMsg {
  void* name;
  uint32_t nameLen;
  ZorIovec* iov;
  size_t iovLen;
  void* control;
  size_t controlLen;
  int flags;
};

// Each returns a descriptor or a byte count >= 0 on success, negative on
// failure.
int zor_socket(int family, int type, int protocol);
int zor_bind(int fd, const void* addr, uint32_t addrLen);
int zor_setsockopt(int fd, int level, int name, const void* value, uint32_t valueLen);
// Waits until a descriptor of readSet is readable or the timeout passes.
// Returns the number of ready descriptors (0 on timeout) and leaves only the
// ready ones in the sets; negative on failure.
int zor_select(int nfds, ZorFdSet* readSet, ZorFdSet* writeSet, ZorFdSet* errorSet,
               ZorTimeval* timeout);
long zor_recvmsg(int fd, ZorMsg* msg, int flags);
long zor_recvfrom(int fd, void* buf, size_t len, int flags, void* from, uint32_t* fromLen);
long zor_sendto(int fd, const void* buf, size_t len, int flags, const void* to, uint32_t toLen);
int zor_close(int fd);

// Publishes msg (len bytes) on netlink multicast group `group` for other
// daemons. flags is 0. Returns 0 or negative.
int zorNetlinkSGrpSend(uint32_t group, uint32_t flags, const void* msg, uint32_t len);
