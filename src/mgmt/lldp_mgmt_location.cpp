// LLDP-MED location table (operations 62-66): per port, one location of
// each format (1 coordinate, 2 civic address, 3 ELIN), kept in the port
// record as the octets that the location TLV carries. A client gives a
// coordinate location as text (lldp_location.h) and reads it back as text;
// civic addresses and ELINs go in and out as they are.
//
// Key record {port unit, format} (lldp_mgmt_portrow.h). Objects:
//   0  status (integer): 1 a location is configured, 2 none; Set 2 removes it
//   1  the location (octets): coordinate text, civic address LCI, ELIN
//   2  the stored octets (octets, Get only): a coordinate location's 16-octet LCI
//
// Every operation holds the agent lock for its whole run; a Set forwards the
// change to the other units first and marks the port changed whatever the
// outcome.
#include <cstring>

#include "base/lldp_info.h"
#include "local/lldp_local.h"
#include "mgmt/lldp_location.h"
#include "mgmt/lldp_mgmt.h"
#include "mgmt/lldp_mgmt_portrow.h"
#include "mgmt/lldp_mgmt_util.h"
#include "platform/sil.h"

// REQUIRES: nothing held; takes lldpLock.
uint32_t _lldpMedLocationSetApi(uintptr_t key, uint32_t objId, ZorValue* value, uint32_t syncMode);

namespace {

// Command-id base (base + object id) of a forwarded location change; every
// unit of a stack shares it.
constexpr uint32_t kCmdBaseLocation = 0x73C8000;
constexpr uint32_t kMedLocationBit = 2;
constexpr uint32_t kFormats = 3;
constexpr uint32_t kCoordinate = 1, kCivic = 2;
constexpr uint32_t kCivicMin = 6, kCivicMax = 256;
// The most data a location TLV can carry (9-bit TLV length, less the OUI,
// subtype and format octets); an empty location TLV is one its receivers
// refuse, with the whole LLDPDU.
constexpr uint32_t kTlvDataMax = 511 - 5;

bool locationSupported(const LldpPort* p) { return lldpMgmtBitTest(p->medTlvTxSupported, 2, kMedLocationBit); }
bool locationCounts(const LldpPort* p) { return p->adminStatus != LLDP_ADMIN_DISABLED && locationSupported(p); }
bool locationHas(const LldpPort* p, uint32_t format) {
  return lldpMedPortGetLocationSupported(p->unit, format) == 0;
}

void locationClear(LldpMedLocation& loc) {
  silFree(loc.data);
  loc.data = nullptr;
  loc.len = 0;
  loc.present = 0;
}

// The octets to store for object 1 of a format, checked before anything is
// forwarded: a coordinate text becomes its LCI; civic addresses need 6 to
// 256 octets; an ELIN is taken as it is, from 1 octet up to what a TLV can
// carry.
uint32_t locationOctets(uint32_t format, const ZorValue* v, uint8_t lci[LLDP_LCI_LEN],
                        const uint8_t** data, uint32_t* len) {
  if (format == kCoordinate) {
    const uint32_t rc = lldpLocationEncode(lldpMgmtBuf(v), v->len, lci);
    if (rc != 0) return rc;
    *data = lci;
    *len = LLDP_LCI_LEN;
    return LLDP_MGMT_OK;
  }
  if (format == kCivic && (v->len < kCivicMin || v->len > kCivicMax)) return LLDP_MGMT_EINVAL;
  if (v->len == 0 || v->len > kTlvDataMax) return LLDP_MGMT_EINVAL;
  *data = lldpMgmtBuf(v);
  *len = v->len;
  return LLDP_MGMT_OK;
}

uint32_t locationStore(LldpMedLocation& loc, const uint8_t* data, uint32_t len) {
  auto* copy = static_cast<uint8_t*>(silMalloc(len));
  if (copy == nullptr) return LLDP_MGMT_ENOMEM;
  std::memcpy(copy, data, len);
  silFree(loc.data);
  loc.data = copy;
  loc.len = static_cast<uint16_t>(len);
  loc.present = 1;
  return LLDP_MGMT_OK;
}

uint32_t setLocation(uintptr_t key, LldpMedLocation& loc, uint32_t format, ZorValue* v, uint32_t syncMode) {
  if (!lldpMgmtIsBuf(v)) return LLDP_MGMT_EINVAL;
  uint8_t lci[LLDP_LCI_LEN];
  const uint8_t* data = nullptr;
  uint32_t len = 0;
  uint32_t rc = locationOctets(format, v, lci, &data, &len);
  if (rc != 0) return rc;
  rc = lldpMgmtForward(key, LLDP_PORT_ROW_KEY_LEN, kCmdBaseLocation + 1, v,
                       syncMode | LLDP_SYNC_CTL_OCTETS, 8, v->len);
  if (rc != 0) return rc;
  return locationStore(loc, data, len);
}

uint32_t setStatus(uintptr_t key, LldpMedLocation& loc, ZorValue* v, uint32_t syncMode) {
  if (!lldpMgmtIsInt(v)) return LLDP_MGMT_EINVAL;
  if (v->value != 2) return LLDP_MGMT_BAD_OBJECT;
  const uint32_t rc = lldpMgmtForward(key, LLDP_PORT_ROW_KEY_LEN, kCmdBaseLocation + 0, v, syncMode, 8, 4);
  if (rc == 0) locationClear(loc);
  return rc;
}

uint32_t getLocation(const LldpMedLocation& loc, uint32_t format, uint32_t objId, ZorValue* v) {
  const bool have = loc.present != 0 && loc.data != nullptr;
  switch (objId) {
    case 0: return lldpMgmtPutInt(v, have ? 1 : 2);
    case 1:
      if (have && format == kCoordinate) {
        if (!lldpMgmtIsBuf(v)) return LLDP_MGMT_EINVAL;
        if (loc.len < LLDP_LCI_LEN) return LLDP_MGMT_EINVAL;
        char text[LLDP_LOC_TEXT_ROOM];
        const uint32_t n = lldpLocationDecode(loc.data, text, sizeof text);
        return lldpMgmtPutOctets(v, text, n, LLDP_MGMT_TOO_SMALL);
      }
      [[fallthrough]];
    case 2: return lldpMgmtPutOctets(v, loc.data, have ? loc.len : 0, LLDP_MGMT_TOO_SMALL);
    default: return LLDP_MGMT_BAD_OBJECT;
  }
}

}  // namespace

uint32_t lldpMedLocationGetFirst(uintptr_t key, uint32_t, ZorValue*) {
  return lldpPortRowWalk(key, true, kFormats, locationCounts, locationHas);
}
uint32_t lldpMedLocationGetNext(uintptr_t key, uint32_t, ZorValue*) {
  return lldpPortRowWalk(key, false, kFormats, locationCounts, locationHas);
}

uint32_t lldpMedLocationGetApi(uintptr_t key, uint32_t objId, ZorValue* value) {
  if (key == 0 || value == nullptr) return LLDP_MGMT_EINVAL;
  LldpMgmtLock lock;
  const LldpPort* p = lldpPortEntryGet(lldpPortRowUnit(key));
  if (p == nullptr) return LLDP_MGMT_NO_ENTRY;
  if (!locationSupported(p)) return LLDP_MGMT_ENOTSUP;
  const uint32_t format = lldpPortRowId(key);
  if (format < 1 || format > kFormats || !locationHas(p, format)) return LLDP_MGMT_NO_ENTRY;
  return getLocation(p->medLocation[format - 1], format, objId, value);
}

uint32_t _lldpMedLocationSetApi(uintptr_t key, uint32_t objId, ZorValue* value, uint32_t syncMode) {
  if (key == 0) return LLDP_MGMT_EINVAL;
  LldpMgmtLock lock;
  LldpPort* p = lldpPortEntryGet(lldpPortRowUnit(key));
  if (p == nullptr) return LLDP_MGMT_NO_ENTRY;
  if (!locationSupported(p)) return LLDP_MGMT_ENOTSUP;
  const uint32_t format = lldpPortRowId(key);
  uint32_t rc = LLDP_MGMT_BAD_OBJECT;
  if (format >= 1 && format <= kFormats) {
    LldpMedLocation& loc = p->medLocation[format - 1];
    if (objId == 1) rc = setLocation(key, loc, format, value, syncMode);
    if (objId == 0) rc = setStatus(key, loc, value, syncMode);
  }
  p->somethingChangedLocal = 1;
  return rc;
}
uint32_t lldpMedLocationSetApi(uintptr_t key, uint32_t objId, ZorValue* value) {
  return _lldpMedLocationSetApi(key, objId, value, LLDP_SYNC_MODE_SET);
}
uint32_t lldpMedLocationSyncApi(uintptr_t key, uint32_t objId, ZorValue* value) {
  return _lldpMedLocationSetApi(key, objId, value, LLDP_SYNC_MODE_SYNC);
}
