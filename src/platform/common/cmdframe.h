// The command socket's framing (docs/command-socket.md), both directions:
// requests, replies and events, encoded and decoded. The agent's command
// server (src/platform/linux) and every client (src/client, and the stack
// forwarding of the Linux platform) use this one implementation; nothing
// else writes or parses these bytes.
//
// No operating-system calls and no agent state here: the library built from
// this file links into the server, the clients and the fuzz targets alike.
// Every decoder is bounded by the bytes it is given, whatever a length field
// says.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

constexpr uint32_t kCmdMagic = 0x4C4C4450;   // "LLDP" read as a big-endian word
constexpr uint32_t kCmdHeaderLen = 32;       // request header
constexpr uint32_t kCmdReplyHeaderLen = 20;  // reply header
constexpr uint32_t kCmdEventHeaderLen = 16;  // event header
constexpr uint32_t kCmdMaxData = 65536;      // largest buffer of a request or reply
constexpr uint32_t kCmdMaxKey = 256;         // largest key record
constexpr uint32_t kCmdFlagBuffer = 1;       // the descriptor is a buffer
constexpr uint32_t kCmdFlagKey = 2;          // a key block follows the header
constexpr uint32_t kCmdKnownFlags = kCmdFlagBuffer | kCmdFlagKey;
// The largest request and reply, header, key block and data together.
constexpr uint32_t kCmdMaxRequest = kCmdHeaderLen + 4 + kCmdMaxKey + kCmdMaxData;
constexpr uint32_t kCmdMaxReply = kCmdReplyHeaderLen + 4 + kCmdMaxKey + kCmdMaxData;
constexpr uint32_t kCmdMaxEvent = kCmdEventHeaderLen + kCmdMaxData;

// Operation 0 is not in the agent's table: it turns the connection into an
// event stream.
constexpr uint32_t kCmdOpSubscribe = 0;

// Event kinds of the stream.
constexpr uint32_t kCmdEventGroup = 1;    // the agent's group message (remote change)
constexpr uint32_t kCmdEventTrap = 2;     // an LLDP trap
constexpr uint32_t kCmdEventMedTrap = 3;  // an LLDP-MED trap

struct CmdRequest {
  uint32_t op = 0;
  uint32_t index = 0;
  uint32_t objId = 0;
  uint32_t flags = 0;
  uint32_t value = 0;
  uint32_t len = 0;
  std::vector<uint8_t> key;   // the key block (kCmdFlagKey), at most kCmdMaxKey bytes
  std::vector<uint8_t> data;  // the buffer bytes supplied (kCmdFlagBuffer)
};

struct CmdReply {
  uint32_t rc = 0;
  uint32_t value = 0;  // word 0 after the call (integer form), else 0
  uint32_t len = 0;    // word 1 after the call; with a buffer, data.size()
  bool keyed = false;  // a key block came back (the request had one)
  std::vector<uint8_t> key;
  std::vector<uint8_t> data;
};

struct CmdEvent {
  uint32_t kind = 0;  // kCmdEvent*
  uint32_t arg = 0;   // the group number, or the trap's reason
  std::vector<uint8_t> payload;
};

// Host-order words of the framing.
uint32_t cmdGetU32(const uint8_t* p);
void cmdAddU32(std::vector<uint8_t>& b, uint32_t v);

// Requests. The decoder returns the request length used (> 0), 0 when more
// bytes are needed, -1 when the request is malformed (the server then closes
// the connection).
std::vector<uint8_t> cmdEncodeRequest(const CmdRequest& req);
// Appends the request's bytes to `out`.
void cmdAppendRequest(std::vector<uint8_t>& out, const CmdRequest& req);
long cmdDecode(const uint8_t* buf, size_t n, CmdRequest* req);

// Replies. `key` is null when the request had no key block. A reply's shape
// depends on its request (a key block only when the request had one, data
// only for a buffer), so the decoder takes the request's flags. Returns as
// cmdDecode; -1 also when the reply does not fit its request.
std::vector<uint8_t> cmdEncodeReply(uint32_t rc, uint32_t value, uint32_t len,
                                    const std::vector<uint8_t>* key, const uint8_t* data, uint32_t dataLen);
long cmdDecodeReply(const uint8_t* buf, size_t n, uint32_t requestFlags, CmdReply* out);

// Events of the stream. Returns as cmdDecode.
std::vector<uint8_t> cmdEncodeEvent(uint32_t kind, uint32_t arg, const uint8_t* payload, size_t len);
long cmdDecodeEvent(const uint8_t* buf, size_t n, CmdEvent* out);

// Operation 1001 is not the agent's either: the platform answers it with its
// ports' names and the agent's up-time (docs/command-socket.md). Its buffer
// reply is a run of records, each the port's unit, the name's length (at
// most kCmdPortNameMax) and the name's bytes, in ascending unit order.
constexpr uint32_t kCmdOpPortNames = 1001;
constexpr uint32_t kCmdPortNameMax = 32;
struct CmdPortName {
  uint32_t unit = 0;
  std::string name;
};
// Appends one record; false (nothing appended) when it would take `out` past
// `capacity` bytes or the name is empty or too long.
bool cmdAddPortName(std::vector<uint8_t>& out, const CmdPortName& p, size_t capacity);
// False (out untouched) unless the bytes are whole records with names of 1 to
// kCmdPortNameMax bytes in ascending unit order.
bool cmdDecodePortNames(const uint8_t* p, size_t n, std::vector<CmdPortName>* out);
