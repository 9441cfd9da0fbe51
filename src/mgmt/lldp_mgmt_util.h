// Pieces every management handler shares: the result codes, the checks of
// the value descriptor's form, the lock guard, the forward of a change to the
// other units of the stack, key-record access and the OUI/bit walk filter.
//
// Forms. The command socket cannot tell an integer from a buffer by looking,
// so the descriptor says which one word 0 holds (ZorValue::form). Handlers of
// string and octet objects take only the buffer form and answer 22 to an
// integer before touching word 0; handlers of integer objects take only the
// integer form (a Get of an integer in buffer form is 22 too, so an integer
// is never written over a buffer pointer).
#pragma once

#include <cstdint>
#include <cstring>

#include "base/lldp_info.h"
#include "platform/platform_types.h"
#include "platform/zor_hwil.h"

// ---- Result codes ----------------------------------------------------------
constexpr uint32_t LLDP_MGMT_OK = 0;
constexpr uint32_t LLDP_MGMT_ENOMEM = 12;          // a row could not be made
constexpr uint32_t LLDP_MGMT_EINVAL = 22;          // null, wrong form, bad length or value
constexpr uint32_t LLDP_MGMT_ENOTSUP = 89;         // TLV not supported on the port
constexpr uint32_t LLDP_MGMT_NO_ENTRY = 0x3E80002;   // no such row, or the end of a walk
constexpr uint32_t LLDP_MGMT_TOO_SMALL = 0x3E8000D;  // the caller's buffer is too small
constexpr uint32_t LLDP_MGMT_BAD_OBJECT = 0x3E80010; // unknown object id or bad value
constexpr uint32_t LLDP_MGMT_DISABLED = 0x3E80036;   // the agent is globally disabled

// ---- Forwarding to the other units -----------------------------------------
// syncMode: a Set entered at this unit, or a Sync that came from a peer.
constexpr uint32_t LLDP_SYNC_MODE_SET = 3;
constexpr uint32_t LLDP_SYNC_MODE_SYNC = 1;
// Control bits added to the mode: a per-port object; word 0 is a buffer.
constexpr uint32_t LLDP_SYNC_CTL_PORT = 0x10000000;
constexpr uint32_t LLDP_SYNC_CTL_OCTETS = 0x80000000;
// Command-id bases (base + object id) that every unit of a stack shares.
constexpr uint32_t LLDP_CMD_BASE_SCALAR = 0xB4000;
constexpr uint32_t LLDP_CMD_BASE_PORT = 0x4074000;
constexpr uint32_t LLDP_CMD_BASE_MANADDR = 0x92A4000;
constexpr uint32_t LLDP_CMD_BASE_PORT_MANADDR = 0x8D68000;
constexpr uint32_t LLDP_CMD_BASE_VLAN_NAME = 0x8D64000;
constexpr uint32_t LLDP_CMD_BASE_PROTO_VLAN = 0x8D60000;
constexpr uint32_t LLDP_CMD_BASE_MED_POLICY = 0x73C4000;

// Hands a change to the other units (zorHwilCmdSyncApi) with the control
// record {mode, arg, valueLen, keyLen}. `index` is the integer index, or the
// key record's address when keyLen is not 0 (the transport then carries
// keyLen bytes of it). In buffer form valueLen is cut to the descriptor's
// length, so the transport never reads past the caller's buffer. Returns 0
// when the change may be applied here, else the code to answer with.
uint32_t lldpMgmtForward(uintptr_t index, uint32_t keyLen, uint32_t cmdId, ZorValue* value,
                         uint32_t mode, uint32_t arg, uint32_t valueLen);

// ---- The agent lock ----------------------------------------------------------
// Holds lldpLock for a handler's scope.
class LldpMgmtLock {
 public:
  LldpMgmtLock() { lldpLock(); }
  ~LldpMgmtLock() { lldpUnLock(); }
  LldpMgmtLock(const LldpMgmtLock&) = delete;
  LldpMgmtLock& operator=(const LldpMgmtLock&) = delete;
};

inline bool lldpMgmtAgentEnabled() { return gLldpInfo.globalAdminStatus == 1; }

// ---- The value descriptor ----------------------------------------------------
inline bool lldpMgmtIsInt(const ZorValue* v) { return v != nullptr && v->form == ZOR_VALUE_INT; }
inline bool lldpMgmtIsBuf(const ZorValue* v) {
  return v != nullptr && v->form == ZOR_VALUE_BUF && v->buf != nullptr;
}
inline uint8_t* lldpMgmtBuf(const ZorValue* v) { return static_cast<uint8_t*>(v->buf); }

// Answers an integer object: 22 unless the descriptor is in integer form.
inline uint32_t lldpMgmtPutInt(ZorValue* v, uint32_t x) {
  if (!lldpMgmtIsInt(v)) return LLDP_MGMT_EINVAL;
  v->value = x;
  return LLDP_MGMT_OK;
}
// Answers an octet object of n bytes: 22 unless in buffer form; `shortCode`
// when the caller's buffer holds fewer than n bytes (nothing copied then).
inline uint32_t lldpMgmtPutOctets(ZorValue* v, const void* src, uint32_t n,
                                  uint32_t shortCode = LLDP_MGMT_EINVAL) {
  if (!lldpMgmtIsBuf(v)) return LLDP_MGMT_EINVAL;
  if (v->len < n) return shortCode;
  if (n > 0) std::memcpy(v->buf, src, n);
  v->len = n;
  return LLDP_MGMT_OK;
}

// Answers an octet object that the agent gives whole whatever the caller's
// capacity says: as many of its n bytes as the buffer holds, with their
// number as the length (never a byte past the buffer). 22 unless in buffer
// form.
inline uint32_t lldpMgmtPutCut(ZorValue* v, const void* src, uint32_t n) {
  if (!lldpMgmtIsBuf(v)) return LLDP_MGMT_EINVAL;
  if (v->len < n) n = v->len;
  if (n > 0) std::memcpy(v->buf, src, n);
  v->len = n;
  return LLDP_MGMT_OK;
}

// ---- Key records ---------------------------------------------------------------
// A key record is a byte string owned by the caller; its 32-bit words need
// not be aligned.
inline uint8_t* lldpMgmtKey(uintptr_t key) { return reinterpret_cast<uint8_t*>(key); }
inline uint32_t lldpMgmtKeyGet32(uintptr_t key, uint32_t off) {
  uint32_t v;
  std::memcpy(&v, lldpMgmtKey(key) + off, 4);
  return v;
}
inline void lldpMgmtKeyPut32(uintptr_t key, uint32_t off, uint32_t v) {
  std::memcpy(lldpMgmtKey(key) + off, &v, 4);
}

// ---- Bit strings -----------------------------------------------------------------
// Bit n is in octet n / 8 under 0x80 >> (n % 8) (lldpBitSet / lldpBitClear /
// lldpBitTest of local/lldp_local.h). This test is bounded by the map's width:
// a bit beyond `octets` octets is clear.
bool lldpMgmtBitTest(const uint8_t* map, uint32_t octets, uint32_t n);

// ---- Walk filters ---------------------------------------------------------------
// A filter word is an organisation identifier shifted left by 8 with a bit
// number in its low octet; 0 takes everything.
constexpr uint32_t LLDP_OUI_DOT1 = 0x0080C2;
constexpr uint32_t LLDP_OUI_DOT3 = 0x00120F;
constexpr uint32_t LLDP_OUI_MED = 0x0012BB;
constexpr uint32_t lldpMgmtFilter(uint32_t oui, uint32_t bit) { return oui << 8 | bit; }
// The maps a filter selects on, with their widths in octets.
struct LldpMgmtFilterMaps {
  const uint8_t* dot1;
  uint32_t dot1Len;
  const uint8_t* dot3;
  uint32_t dot3Len;
  const uint8_t* med;
  uint32_t medLen;
};
// True when the filter is 0, or when its OUI's map has its bit; false for
// any other OUI.
bool lldpMgmtFilterMatch(uint32_t filter, const LldpMgmtFilterMaps& maps);
