// The agent's event stream: a connection that sent operation 0 and from then
// on receives the agent's remote-change messages and its traps
// (docs/command-socket.md, Event stream).
//
//   EventStream ev(path);
//   while (auto e = ev.next(std::chrono::seconds(1))) { ... }
//
// With reconnection on (the default), a stream whose agent went away is
// opened again as soon as the agent answers, and an event of kind Resumed
// says so: events of the gap are lost, so a tool that mirrors the tables
// reads them again then.
#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "client/lldp_client.h"
#include "client/lldp_objects.h"

namespace lldpc {

// The agent's remote-change message (event kind 1 from group 71): 56 bytes,
// the change record in network byte order at offset 24.
struct RemoteChange {
  uint16_t type = 0;  // 280 a neighbour was added; 281 changed or deleted
  RemoteIndex index;  // the neighbour's index in the remote tables
  uint8_t sysCapEnabled[2] = {0, 0};
  uint8_t dot1Tlvs[2] = {0, 0};  // first two bytes of each received-TLV map
  uint8_t dot3Tlvs[2] = {0, 0};
  uint8_t medTlvs[2] = {0, 0};
  uint8_t privTlvs[2] = {0, 0};
  bool added() const { return type == 280; }
};
constexpr uint32_t kRemoteChangeGroup = 71;
constexpr uint16_t kRemoteChangeAdd = 280;
constexpr uint16_t kRemoteChangeOther = 281;

// An LLDP-MED trap (event kind 3).
struct MedTrap {
  RemoteIndex index;
  uint32_t chassisIdSubtype = 0;
  std::vector<uint8_t> chassisId;
  uint32_t medDeviceType = 0;
};

struct Event {
  enum class Kind { Group = 1, Trap = 2, MedTrap = 3, Resumed = 100 };
  Kind kind = Kind::Group;
  uint32_t arg = 0;  // the group number (Group) or the trap's reason: 1 add, 2 delete, 3 change
  std::vector<uint8_t> payload;
  std::optional<RemoteChange> change;  // a well-formed message of group 71
  std::optional<MedTrap> medTrap;      // a well-formed MED trap
};

// Decoders of the payloads; false when the bytes are not one.
bool decodeRemoteChange(const std::vector<uint8_t>& msg, RemoteChange* out);
bool decodeMedTrap(const std::vector<uint8_t>& payload, MedTrap* out);

struct EventStreamOptions {
  bool reconnect = true;
  int retryMs = 500;  // between attempts to reopen a lost stream
};

class EventStream {
 public:
  explicit EventStream(std::string path = kDefaultSocket, EventStreamOptions opt = {});
  ~EventStream();
  EventStream(const EventStream&) = delete;
  EventStream& operator=(const EventStream&) = delete;

  // Connects and subscribes now. Throws UnreachableError or ConnectionError.
  void open();
  void close();
  bool isOpen() const { return fd_ >= 0; }

  // The next event, waiting up to `timeout`; nullopt when none came. Without
  // reconnection a lost stream throws ConnectionError; with it, the stream is
  // reopened (retrying within the timeout) and an event of kind Resumed is
  // returned first. A stream that was never opened is opened here.
  std::optional<Event> next(std::chrono::milliseconds timeout);
  // The socket, for a caller's own poll loop (-1 while closed).
  int fd() const { return fd_; }

 private:
  bool tryOpen();
  std::optional<Event> decodeOne();

  std::string path_;
  EventStreamOptions opt_;
  int fd_ = -1;
  bool lost_ = false;  // the stream was lost: the next reopen reports Resumed
  std::vector<uint8_t> in_;
};

}  // namespace lldpc
