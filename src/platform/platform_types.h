// Record layouts that cross the platform contract.
//
// Every structure here has a fixed wire or ABI layout that both the agent and
// the platform implementations agree on; the static_asserts pin the sizes.
// Multi-byte fields are in host byte order unless a comment says otherwise.
#pragma once

#include <cstddef>
#include <cstdint>

// Management value descriptor: word 0 carries an integer value or a pointer to
// the caller's buffer (string and octet objects); word 1 carries the buffer
// length (in: capacity on a Get, bytes supplied on a Set; out: bytes written).
// On the agent's 64-bit hosts word 0 is pointer-sized so that a buffer fits.
// `form` says which of the two word 0 holds: whoever builds a descriptor
// sets it, and a handler of a string or octet object refuses the integer
// form (a client's integer must never be followed as a pointer).
constexpr uint32_t ZOR_VALUE_INT = 0;
constexpr uint32_t ZOR_VALUE_BUF = 1;
struct ZorValue {
  union {
    uint32_t value;
    void* buf;
    uintptr_t raw;
  };
  uint32_t len;
  uint32_t form;  // ZOR_VALUE_INT or ZOR_VALUE_BUF
};
// True when the descriptor carries a buffer in word 0.
inline bool zorValueIsBuf(const ZorValue* v) { return v && v->form == ZOR_VALUE_BUF; }

// Buffer-and-length pair for string and octet platform objects: the caller
// puts the buffer size in len, the platform writes at most that many bytes and
// returns the number written in len.
struct ZorOctets {
  void* buf;
  uint32_t len;
};

// Link-layer socket address, 20 bytes (the layout of Linux's sockaddr_ll).
struct ZorSockAddrLl {
  uint16_t family;    // 17, the packet family
  uint16_t protocol;  // EtherType, host order
  uint32_t ifIndex;   // the platform interface unit
  uint16_t hatype;
  uint8_t pktType;
  uint8_t halen;
  uint8_t addr[8];
};
static_assert(sizeof(ZorSockAddrLl) == 20);

// Netlink socket address, 12 bytes.
struct ZorSockAddrNl {
  uint16_t family;  // 16
  uint16_t pad;
  uint32_t pid;
  uint32_t groups;
};
static_assert(sizeof(ZorSockAddrNl) == 12);

// Platform event message header (24 bytes: 16-byte netlink header plus an
// 8-byte family header that the agent does not read).
struct ZorMsgHdr {
  uint32_t len;    // total length of the message, header included
  uint16_t type;   // message type (ZOR_RTM_*)
  uint16_t flags;  // not read by the agent
  uint32_t seq;    // not read
  uint32_t pid;    // not read
  uint8_t family[8];
};
static_assert(sizeof(ZorMsgHdr) == 24);

// Interface messages (ZOR_RTM_NEWLINK / ZOR_RTM_DELLINK) continue after the
// header with an interface header: body word 1 is the unit, body word 3 the
// change mask; attributes start at offset 48.
struct ZorIfInfoBody {
  uint32_t word0;
  uint32_t unit;
  uint32_t word2;
  uint32_t change;  // all ones for a registration
  uint32_t word4;
  uint32_t word5;
};
static_assert(sizeof(ZorIfInfoBody) == 24);
constexpr uint32_t kZorIfAttrOffset = 48;

// Attribute header: 2-byte length (header included), 2-byte type, payload,
// padded to a multiple of 4.
struct ZorAttr {
  uint16_t len;
  uint16_t type;
};
static_assert(sizeof(ZorAttr) == 4);

// Message types of the platform event socket.
constexpr uint16_t ZOR_RTM_NEWLINK = 32;
constexpr uint16_t ZOR_RTM_DELLINK = 34;
constexpr uint16_t ZOR_RTM_CARD_UP = 97;
constexpr uint16_t ZOR_RTM_SLOT_UP = 108;
constexpr uint16_t ZOR_RTM_SUBSYS_UP = 117;
constexpr uint16_t ZOR_RTM_RESETPORTCONFIG = 324;
constexpr uint16_t ZOR_RTM_RESETALLCONFIG = 360;
constexpr uint16_t ZOR_RTM_L2PROTOTUNNEL_MACCHANGE = 389;

// Interface attribute types.
constexpr uint16_t ZOR_IFLA_ADDRESS = 1;
constexpr uint16_t ZOR_IFLA_MTU = 4;
constexpr uint16_t ZOR_IFLA_OPERSTATE = 16;
constexpr uint16_t ZOR_IFLA_PHYJOINAGG = 52;
constexpr uint16_t ZOR_IFLA_PHYQUITAGG = 53;
constexpr uint16_t ZOR_IFLA_RESETCFG = 75;

// Control message header of a received frame (12 bytes: length, level, type);
// the data follows the header; the next message starts at the length rounded
// up to a multiple of 4.
struct ZorCmsgHdr {
  uint32_t len;
  uint32_t level;
  uint32_t type;
};
static_assert(sizeof(ZorCmsgHdr) == 12);
constexpr uint32_t ZOR_SOL_PACKET = 263;
constexpr uint32_t ZOR_PACKET_AUXDATA = 20;

// Receive auxiliary data attached to every received frame (level 263, type 20).
// The agent keeps byte 16 (the low byte of vlanTci on a little-endian host).
struct ZorPktAuxData {
  uint32_t status;
  uint32_t len;
  uint32_t snaplen;
  uint16_t mac;
  uint16_t net;
  uint16_t vlanTci;
  uint16_t vlanTpid;
};
static_assert(sizeof(ZorPktAuxData) == 20);
