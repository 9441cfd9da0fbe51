// Stack synchronisation: the remote-systems table and the statistics
// mirrored between the units of a stack.
//
// Messages (all integers big-endian, no padding), several back to back in a
// buffer of LLDP_SYNC_BUF_LEN octets, each starting with a 4-octet header
// {syncType, length (header included)}:
//   1 remote record (one Msap with its port unit and an action: 2 add or
//     update, 1 delete), variable length, built by lldpSyncPortMsapBuild;
//   2 global statistics (28 octets), lldpSyncGlobalStatBuild;
//   3 port statistics (44 octets), lldpSyncPortStatsBuild.
// Senders hand a buffer to the platform's command-synchronisation service as
// a Set of scalar object 35; the peer's Set or Sync of that object hands it
// to lldpSyncMsapRecv.
//
// REQUIRES: lldpLock held by the caller of every function declared here.
#pragma once

#include <cstdint>

#include "port/lldp_port.h"

struct Msap;

constexpr uint32_t LLDP_SYNC_DELETE = 1;
constexpr uint32_t LLDP_SYNC_UPDATE = 2;

constexpr uint16_t LLDP_SYNC_TYPE_MSAP = 1;
constexpr uint16_t LLDP_SYNC_TYPE_GLOBAL_STATS = 2;
constexpr uint16_t LLDP_SYNC_TYPE_PORT_STATS = 3;

constexpr uint32_t LLDP_SYNC_BUF_LEN = 9000;
constexpr uint32_t LLDP_SYNC_GLOBAL_STATS_LEN = 28;
constexpr uint32_t LLDP_SYNC_PORT_STATS_LEN = 44;
// A remote record is built only with at least this much room.
constexpr uint32_t LLDP_SYNC_MSAP_MIN_ROOM = 1024;

// Command id of the synchronisation object (scalar command base + 35) and the
// control words of the two kinds of send.
constexpr uint32_t LLDP_SYNC_CMD_ID = 0xB4000u + 35u;
constexpr uint32_t LLDP_SYNC_CTL_MSAP = 0x80000103u;
constexpr uint32_t LLDP_SYNC_CTL_ALL = 0x80000303u;

constexpr uint32_t LLDP_SYNC_FAILED = 0xFFFFFFFFu;

// True when the platform can synchronise with other units (hardware scalar
// 54 reads 0).
bool lldpSyncAvailable();

// Writes one remote record message at buf and returns its length; 0 when
// space (taken modulo 65536) is below 1024 or the message would not fit in
// space; LLDP_SYNC_FAILED for a null pointer.
uint32_t lldpSyncPortMsapBuild(const LldpPort* port, const Msap* msap, uint8_t* buf, uint32_t space,
                               uint32_t action);
// The 28-octet global statistics message: 28, 0 when space is below 28,
// LLDP_SYNC_FAILED for a null buffer.
uint32_t lldpSyncGlobalStatBuild(uint8_t* buf, uint32_t space);
// The 44-octet statistics message of a port: 44, 0 when space is below 44 or
// a pointer is null.
uint32_t lldpSyncPortStatsBuild(const LldpPort* port, uint8_t* buf, uint32_t space);

// One remote record (action 2 add/update, 1 delete). Returns the platform's
// result, or LLDP_SYNC_FAILED when synchronisation is not available.
uint32_t lldpSyncMsapSend(LldpPort* port, Msap* msap, uint32_t action);
uint32_t lldpSyncPortStatSend(LldpPort* port);
uint32_t lldpSyncGlobalStatSend();
// The whole state (global statistics, then every port's statistics and
// records, in as few buffers as fit); doSend 0 does nothing and returns 0.
// Returns 0, or LLDP_SYNC_FAILED when synchronisation is not available.
uint32_t lldpSyncAllSend(uint32_t unit, uint32_t doSend);

// Applies one buffer of synchronisation messages from another unit (the Set
// or Sync of scalar object 35 hands it over, with the agent lock held).
// Returns 0 once the buffer has been walked, 22 for a null buffer. Every read
// stays inside the buffer and inside its message, whatever a length says.
uint32_t lldpSyncMsapRecv(const uint8_t* buf, uint32_t len);
