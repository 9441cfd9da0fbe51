// Local system and port attribute providers.
//
// A flat family of stateless functions: each asks one platform service (or
// answers a fixed value), converts the answer into what the TLV writers and
// the management objects want, and supplies a default where the agent has
// one. Providers with a default return 0 with it when the platform fails;
// the others pass the platform's code on and leave their out value alone.
//
// Platform object ids used here (interface objects by unit, scalars by 0):
//   interface 2 descr, 3 name, 4 alias, 19 link, 33 MAC, 55 protocol bitmap,
//   78 MTU, 131/133 auto-negotiation, 141 advertised caps, 145 MAU type,
//   159 PVID, 235/236 aggregation; scalar 6 system MAC, 7/8/49/52/53/57
//   inventory, 50 name, 58 descr, 128 MED class, 129 MED caps; hardware 197
//   power device type, 198 PSE power source; PoE 1/2/3/5/7; voice VLAN
//   interface 1/2, scalar 10/11; SNMP 46 system OID.
//
// REQUIRES: lldpLock held (port records are read).
#include "local/lldp_local.h"

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <initializer_list>

#include "base/lldp_trace.h"
#include "platform/logging.h"
#include "platform/platform_types.h"
#include "platform/zor_hwil.h"
#include "platform/zor_if.h"
#include "port/lldp_port.h"

namespace {

using GetFn = int (*)(uint32_t, uint32_t, void*);

constexpr uint32_t kMaxTextLen = 255;

// Reads an octet object of at most `size` bytes; on success *outLen is the
// number of bytes the platform wrote, never more than `size`.
int getOctets(GetFn fn, uint32_t unit, uint32_t objId, void* buf, uint32_t size,
              uint32_t* outLen) {
  ZorOctets oct{buf, size};
  int rc = fn(unit, objId, &oct);
  if (rc == 0) *outLen = std::min(oct.len, size);
  return rc;
}

int getInt(GetFn fn, uint32_t unit, uint32_t objId, uint32_t* value) {
  uint32_t v = 0;
  int rc = fn(unit, objId, &v);
  if (rc == 0) *value = v;
  return rc;
}

// A text object whose length is capped for a TLV (caller size in *len).
int getText(GetFn fn, uint32_t unit, uint32_t objId, uint8_t* buf, uint32_t* len) {
  uint32_t n = 0;
  int rc = getOctets(fn, unit, objId, buf, *len, &n);
  if (rc == 0) *len = std::min(n, kMaxTextLen);
  return rc;
}

// Inventory strings: a 32-byte buffer, the length kept in one byte.
int getInventory(uint32_t objId, uint8_t* buf, uint8_t* len) {
  uint32_t n = 0;
  int rc = getOctets(zorScalarGetApi, 0, objId, buf, LLDP_INV_STR_LEN, &n);
  if (rc == 0) *len = static_cast<uint8_t>(n);
  return rc;
}

// Writes a fixed bit mask of `bytes` bytes with the listed bits set. The
// caller hands a buffer and its size; too small a buffer is refused.
int putCapMask(uint8_t* buf, uint32_t* len, uint32_t bytes, std::initializer_list<uint32_t> bits) {
  if (buf == nullptr || len == nullptr || *len < bytes) return -1;
  std::memset(buf, 0, bytes);
  for (uint32_t b : bits) lldpBitSet(buf, b);
  *len = bytes;
  return 0;
}

// snprintf into buf of `size` bytes; the length of what fits (no terminator).
uint32_t formatInto(uint8_t* buf, uint32_t size, const char* fmt, ...)
    __attribute__((format(printf, 3, 4)));
uint32_t formatInto(uint8_t* buf, uint32_t size, const char* fmt, ...) {
  if (size == 0) return 0;
  va_list ap;
  va_start(ap, fmt);
  int n = std::vsnprintf(reinterpret_cast<char*>(buf), size, fmt, ap);
  va_end(ap);
  if (n < 0) return 0;
  return std::min(static_cast<uint32_t>(n), size - 1);
}

bool hasPoe(uint32_t unit) { return lldpCheckPoeStatus(unit) == 0; }

// PoE object with a default for ports without PoE and for failed calls.
uint32_t poeValueOr(uint32_t unit, uint32_t objId, uint32_t dflt) {
  if (!hasPoe(unit)) return dflt;
  uint32_t v = 0;
  if (poeIfGetApi(unit, objId, &v) != 0) return dflt;
  return v;
}

// The platform's class numbering mapped as the deployed agents do, 9 and 0
// included; peers rely on it. A failed read counts as class 2.
uint32_t powerClassOf(int rc, uint32_t cls) {
  if (rc != 0) return 2;
  if (cls >= 1 && cls <= 4) return cls + 1;
  if (cls == 9) return 1;
  return 0;
}

// PSE priority from the platform's (a failed read counts as 2).
uint32_t psePriorityOf(int rc, uint32_t v) {
  if (rc != 0) v = 2;
  return (v >= 1 && v <= 3) ? v + 1 : 1;
}

// PSE power in milliwatts for a mapped class.
uint32_t psePowerOf(uint32_t cls) {
  switch (cls) {
    case 1:
    case 4: return 15400;
    case 2: return 4000;
    case 3: return 7000;
    case 5: return 30000;
    default: return cls;
  }
}

// ---- LLDP-MED network policy ------------------------------------------------

constexpr uint32_t kMaxAppType = 8;
constexpr uint32_t kAppVoice = 1;

const LldpMedPolicy* policyOf(const LldpPort* port, uint32_t appType) {
  if (port == nullptr || appType < 1 || appType > kMaxAppType) return nullptr;
  return &port->medPolicy[appType - 1];
}

bool policyPresent(const LldpMedPolicy* p) { return p != nullptr && p->appType != 0; }

// The voice VLAN service speaks for the port's voice policy only while that
// policy still holds the default values and the service calls it a voice port.
bool voiceServiceOwns(const LldpPort* port, uint32_t appType) {
  if (lldpMedPortGetPolicyIsDefault(port, appType) != 1) return false;
  uint32_t isVoice = 0;
  return voiceVlanIfGetApi(port->unit, 2, &isVoice) == 0 && isVoice == 1;
}

enum class PolicyField { Vid, Pri, Dscp, Unknown, Tagged };

int policyField(const LldpPort* port, uint32_t appType, PolicyField field, uint32_t* value) {
  const LldpMedPolicy* p = policyOf(port, appType);
  if (p == nullptr || value == nullptr) return -1;
  if (voiceServiceOwns(port, appType)) {
    switch (field) {
      case PolicyField::Vid: return getInt(voiceVlanIfGetApi, port->unit, 1, value);
      case PolicyField::Pri: return getInt(voiceVlanScalarGetApi, 0, 10, value);
      case PolicyField::Dscp: return getInt(voiceVlanScalarGetApi, 0, 11, value);
      case PolicyField::Unknown: *value = 0; return 0;
      case PolicyField::Tagged: *value = 1; return 0;
    }
  }
  if (!policyPresent(p)) return -1;
  switch (field) {
    case PolicyField::Vid: *value = p->vid; break;
    case PolicyField::Pri: *value = p->priority; break;
    case PolicyField::Dscp: *value = p->dscp; break;
    case PolicyField::Unknown: *value = p->unknown; break;
    case PolicyField::Tagged: *value = p->tagged; break;
  }
  return 0;
}

// ---- Example LLDP-MED locations -------------------------------------------------
// Shipped as an example configuration for a port that has none of its own.

// Coordinate LCI (RFC 3825 layout): 52.5162 N, 13.3777 E with 34-bit
// resolutions, altitude 34 m (type 1, meters, resolution 30), datum 1 (WGS84).
constexpr uint8_t kExampleCoordLci[16] = {0x88, 0x69, 0x08, 0x4B, 0x5E, 0x88, 0x1A, 0xC1,
                                          0x61, 0xE5, 0x17, 0x80, 0x00, 0x22, 0x00, 0x01};

// Civic address LCI: length byte, what = 2 (client), country "DE", then the
// CA types 1 (state), 2 (county), 3 (city), 4 (city division), 6 (street),
// 19 (house number) and 24 (postal code), each as type, length, text.
constexpr uint8_t kExampleCivicLci[61] = {
    60,  2,   'D', 'E',                                                   //
    1,   2,   'B', 'E',                                                   //
    2,   5,   'M', 'i', 't', 't', 'e',                                    //
    3,   6,   'B', 'e', 'r', 'l', 'i', 'n',                               //
    4,   10,  'T', 'i', 'e', 'r', 'g', 'a', 'r', 't', 'e', 'n',           //
    6,   13,  'P', 'a', 'r', 'i', 's', 'e', 'r', ' ', 'P', 'l', 'a', 't', 'z',  //
    19,  2,   '1', '2',                                                   //
    24,  5,   '1', '0', '1', '1', '7'};
static_assert(sizeof(kExampleCivicLci) == 61 && kExampleCivicLci[0] == 60);

// Emergency call service ELIN: 11 digits.
constexpr uint8_t kExampleElin[11] = {'1', '2', '0', '2', '5', '5', '5', '0', '1', '0', '0'};

}  // namespace

// ---- Bit strings -------------------------------------------------------------

void lldpBitSet(uint8_t* bits, uint32_t n) { bits[n / 8] |= static_cast<uint8_t>(0x80u >> (n % 8)); }

void lldpBitClear(uint8_t* bits, uint32_t n) {
  bits[n / 8] &= static_cast<uint8_t>(~(0x80u >> (n % 8)));
}

int lldpBitTest(const uint8_t* bits, uint32_t n) { return (bits[n / 8] & (0x80u >> (n % 8))) ? 1 : 0; }

// ---- System attributes ---------------------------------------------------------

int lldpGetSysName(uint8_t* buf, uint32_t* len) { return getText(zorScalarGetApi, 0, 50, buf, len); }

int lldpGetSysDescr(uint8_t* buf, uint32_t* len) { return getText(zorScalarGetApi, 0, 58, buf, len); }

int lldpGetSysMac(uint8_t* mac6) {
  uint32_t n = 0;
  return getOctets(zorScalarGetApi, 0, 6, mac6, 6, &n);
}

int lldpGetChassisIdType(uint32_t* subtype) {
  *subtype = 4;  // MAC address
  return 0;
}

int lldpGetChassisId(uint8_t* buf, uint32_t* len) {
  if (*len < 6) return -1;
  uint8_t mac[6] = {};
  int rc = lldpGetSysMac(mac);
  if (rc != 0) return rc;
  std::memcpy(buf, mac, 6);
  *len = 6;
  return 0;
}

// Bridge (bit 2) and router (bit 4), in stored bit-string order.
int lldpGetCapSupported(uint8_t* buf, uint32_t* len) { return putCapMask(buf, len, 2, {2, 4}); }

int lldpGetCapEnabled(uint8_t* buf, uint32_t* len) { return putCapMask(buf, len, 2, {2, 4}); }

int lldpGetSysOid(uint8_t* buf, uint32_t* len) {
  uint32_t n = 0;
  if (getOctets(snmpScalarGetApi, 0, 46, buf, *len, &n) != 0) return -1;
  *len = n;
  return 0;
}

int lldpMedGetDevClass(uint32_t* devClass) { return getInt(zorScalarGetApi, 0, 128, devClass); }

int lldpMedGetPowerDeviceType(uint32_t* type) { return zorHwilScalarGet(0, 197, type); }

// The PD fields describe the far end's view; the agent answers fixed values.
int lldpMedGetPdPowerSource(uint32_t* source) {
  *source = 2;
  return 0;
}

int lldpMedGetPdPowerPriority(uint32_t* prio) {
  *prio = 2;
  return 0;
}

int lldpMedGetPdPowerValue(uint32_t* value) {
  *value = 33;
  return 0;
}

int lldpMedGetHwRev(uint8_t* buf, uint8_t* len) { return getInventory(7, buf, len); }
int lldpMedGetFwRev(uint8_t* buf, uint8_t* len) { return getInventory(57, buf, len); }
int lldpMedGetSwRev(uint8_t* buf, uint8_t* len) { return getInventory(8, buf, len); }
int lldpMedGetSn(uint8_t* buf, uint8_t* len) { return getInventory(49, buf, len); }
int lldpMedGetManufName(uint8_t* buf, uint8_t* len) { return getInventory(53, buf, len); }
int lldpMedGetAssetId(uint8_t* buf, uint8_t* len) { return getInventory(52, buf, len); }

// The model name is not read from the platform on purpose.
int lldpMedGetModelName(uint8_t* buf, uint8_t* len) {
  std::memcpy(buf, "LLDP", 5);
  *len = 4;
  return 0;
}

// ---- Port attributes -------------------------------------------------------------

int lldpGetIndexFromUnit(uint32_t unit, uint32_t* index) {
  ZorIndexInfo info{};
  int rc = zorIndexTrans(unit, 3, &info);
  if (rc == 0) *index = info.index;
  return rc;
}

int lldpPortGetMacAddr(uint32_t unit, uint8_t* mac6) {
  uint32_t n = 0;
  return getOctets(zorIfGetApi, unit, 33, mac6, 6, &n);
}

int lldpPortGetMtu(uint32_t unit, uint32_t* mtu) { return getInt(zorIfGetApi, unit, 78, mtu); }

int lldpPortCheckLinkUp(uint32_t unit) {
  uint32_t v = 0;
  if (zorIfGetApi(unit, 19, &v) != 0) return -1;
  return v == 1 ? 0 : -1;
}

int lldpPortGetIfName(uint32_t unit, uint8_t* buf, uint32_t* len) {
  return getText(zorIfGetApi, unit, 3, buf, len);
}

int lldpPortGetAlias(uint32_t unit, uint8_t* buf, uint32_t* len) {
  uint32_t size = *len;
  uint32_t n = 0;
  if (getOctets(zorIfGetApi, unit, 4, buf, size, &n) == 0 && n > 0 && buf[0] != 0) {
    *len = std::min(n, kMaxTextLen);
    return 0;
  }
  // No alias (or no answer): name the port by its unit.
  *len = std::min(formatInto(buf, size, "port:%u", unit), kMaxTextLen);
  return 0;
}

int lldpPortGetDescr(uint32_t unit, uint8_t* buf, uint32_t* len) {
  uint32_t size = *len;
  // The description is read into buf; the alias read below leaves buf alone,
  // so the description is only copied out when it is formatted.
  uint32_t n = 0;
  if (getOctets(zorIfGetApi, unit, 2, buf, size, &n) != 0) n = 0;

  char alias[257];
  uint32_t aliasLen = 0;
  int rc = getOctets(zorIfGetApi, unit, 4, alias, 256, &aliasLen);
  if (rc != 0) aliasLen = 0;
  alias[aliasLen] = 0;

  if (aliasLen > 0 && alias[0] != 0) {
    uint32_t m = std::min({aliasLen, size, kMaxTextLen});
    std::memcpy(buf, alias, m);
    *len = m;
    return rc;
  }
  char descr[513];
  n = std::min(n, 512u);
  std::memcpy(descr, buf, n);
  descr[n] = 0;
  // The empty alias is formatted in too, so the text ends in a blank; other
  // agents and the command line expect exactly that.
  *len = std::min(formatInto(buf, size, "%s SNMP-Index:%u %s", descr, unit, alias), kMaxTextLen);
  return rc;
}

int lldpPortGetPortIdType(uint32_t /*unit*/, uint32_t* subtype) {
  *subtype = 5;  // interface name
  return 0;
}

int lldpPortGetPortId(uint32_t unit, uint32_t subtype, uint8_t* buf, uint32_t* len) {
  uint32_t size = *len;
  uint32_t n = size;
  switch (subtype) {
    case 3:  // MAC address
      if (size < 6 || lldpPortGetMacAddr(unit, buf) != 0) n = 0;
      else n = 6;
      break;
    case 7:  // locally assigned: the name, then "interface"
      if (lldpPortGetIfName(unit, buf, &n) != 0) n = 0;
      n += formatInto(buf + n, size - n, "interface");
      break;
    case 1:  // interface alias
      lldpPortGetAlias(unit, buf, &n);
      break;
    default:  // interface name, and anything unknown
      if (lldpPortGetIfName(unit, buf, &n) != 0) n = 0;
      break;
  }
  *len = n;
  return 0;
}

int lldpPortGetPortId(const LldpPort* port, uint8_t* buf, uint32_t* len) {
  return lldpPortGetPortId(port->unit, port->portIdSubtype, buf, len);
}

// ---- IEEE 802.1 ----------------------------------------------------------------

int lldpDot1PortGetCapSupported(uint32_t, uint8_t* buf, uint32_t* len) {
  return putCapMask(buf, len, 1, {0, 1, 2, 3});
}

int lldpDot1PortGetPvid(uint32_t unit, uint32_t* pvid) { return getInt(zorIfGetApi, unit, 159, pvid); }

// "vlan:" and the id as a signed decimal (as "%d" of the id as int would
// give), cut to the buffer like formatInto; written by hand since it is asked
// for every advertised VLAN of every frame.
int lldpDot1PortGetVlanName(uint32_t, uint32_t vid, uint8_t* buf, uint32_t* len) {
  char text[16] = {'v', 'l', 'a', 'n', ':'};
  uint32_t n = 5;
  const int32_t id = static_cast<int32_t>(vid);
  uint32_t mag = id < 0 ? 0u - vid : vid;
  if (id < 0) text[n++] = '-';
  char digits[10];
  uint32_t d = 0;
  do {
    digits[d++] = static_cast<char>('0' + mag % 10);
    mag /= 10;
  } while (mag != 0);
  while (d != 0) text[n++] = digits[--d];
  const uint32_t size = *len;
  if (size == 0) {
    *len = 0;
    return 0;
  }
  const uint32_t m = std::min(n, size - 1);
  std::memcpy(buf, text, m);
  buf[m] = 0;
  *len = m;
  return 0;
}

// Read from the PVID object on purpose: the platform has no separate one.
int lldpDot1PortGetProtoVlanEnable(uint32_t unit, uint32_t* enable) {
  return getInt(zorIfGetApi, unit, 159, enable);
}

int lldpDot1PortGetProtoVlanSupported(uint32_t, uint32_t* supported) {
  *supported = 1;
  return 0;
}

int lldpDot1PortGetProtoState(uint32_t unit, uint8_t* buf, uint32_t* len) {
  uint32_t n = 0;
  int rc = getOctets(zorIfGetApi, unit, 55, buf, std::min(*len, 32u), &n);
  if (rc == 0) *len = n;
  return rc;
}

// ---- IEEE 802.3 ----------------------------------------------------------------

int lldpDot3PortGetCapSupported(uint32_t, uint8_t* buf, uint32_t* len) {
  return putCapMask(buf, len, 1, {0, 1, 2, 3, 4});
}

int lldpDot3PortGetCapDfltEnabled(uint32_t, uint8_t* buf, uint32_t* len) {
  return putCapMask(buf, len, 1, {0, 1, 2, 3, 4});
}

int lldpDot3PortGetAutoNegSupported(uint32_t unit, uint32_t* value) {
  return getInt(zorIfGetApi, unit, 133, value);
}

int lldpDot3PortGetAutoNegEnabled(uint32_t unit, uint32_t* value) {
  if (getInt(zorIfGetApi, unit, 131, value) != 0) *value = 2;
  return 0;
}

int lldpDot3PortGetAutoNegAdvertisedCap(uint32_t unit, uint8_t* buf, uint32_t* len) {
  uint32_t n = 0;
  int rc = getOctets(zorIfGetApi, unit, 141, buf, std::min(*len, 6u), &n);
  if (rc == 0) *len = n;
  return rc;
}

int lldpDot3PortGetOperMauType(uint32_t unit, uint32_t* value) {
  return getInt(zorIfGetApi, unit, 145, value);
}

int lldpDot3PortGetPowerPortClass(uint32_t, uint32_t* value) {
  *value = 1;  // PSE
  return 0;
}

int lldpDot3PortGetPowerMDISupported(uint32_t unit, uint32_t* value) {
  *value = hasPoe(unit) ? 1 : 2;
  return 0;
}

int lldpDot3PortGetPowerMDIEnabled(uint32_t unit, uint32_t* value) {
  *value = poeValueOr(unit, 1, 2);
  return 0;
}

int lldpDot3PortGetPowerPairControlable(uint32_t unit, uint32_t* value) {
  *value = poeValueOr(unit, 2, 2);
  return 0;
}

int lldpDot3PortGetPowerPairs(uint32_t unit, uint32_t* value) {
  *value = poeValueOr(unit, 3, 1);
  return 0;
}

int lldpDot3PortGetPowerClass(uint32_t unit, uint32_t* value) {
  if (!hasPoe(unit)) {
    *value = 2;
    return 0;
  }
  uint32_t cls = 0;
  const int rc = poeIfGetApi(unit, 7, &cls);
  *value = powerClassOf(rc, cls);
  return 0;
}

int lldpDot3PortGetLinkAggStatus(uint32_t unit, uint8_t* buf, uint32_t* len) {
  if (*len < 1) return -1;
  lldpBitSet(buf, 0);  // aggregation capable
  uint32_t v = 0;
  int rc = zorIfGetApi(unit, 235, &v);
  if (rc == 0 && v == 1) lldpBitSet(buf, 1);
  else lldpBitClear(buf, 1);
  *len = 1;
  return rc;
}

int lldpDot3PortGetLinkAggPortId(uint32_t unit, uint32_t* value) {
  uint32_t v = 0;
  int rc = zorIfGetApi(unit, 236, &v);
  if (rc == -1) {
    *value = 0;
    return 0;
  }
  if (rc == 0) *value = v;
  return rc;
}

// The MTU object answers for the maximum frame size, deliberately.
int lldpDot3PortGetMaxFrameSize(uint32_t unit, uint32_t* value) {
  return getInt(zorIfGetApi, unit, 78, value);
}

// ---- LLDP-MED ------------------------------------------------------------------

int lldpMedPortGetCapSupported(uint32_t, uint8_t* buf, uint32_t* len) {
  if (buf == nullptr || len == nullptr || *len < 2) return -1;
  uint32_t n = 0;
  int rc = getOctets(zorScalarGetApi, 0, 129, buf, 2, &n);
  if (rc == 0) *len = 2;
  return rc;
}

// Capabilities (0), extended power PSE (3) and inventory (5).
int lldpMedPortGetCapDfltEnabled(uint32_t, uint8_t* buf, uint32_t* len) {
  return putCapMask(buf, len, 2, {0, 3, 5});
}

int lldpMedPortGetPolicySupported(const LldpPort* port, uint32_t appType) {
  return policyPresent(policyOf(port, appType)) ? 0 : -1;
}

int lldpMedPortGetPolicyIsDefault(const LldpPort* port, uint32_t appType) {
  const LldpMedPolicy* p = policyOf(port, appType);
  bool dflt = appType == kAppVoice && policyPresent(p) && p->unknown == 0 && p->tagged == 1 &&
              p->priority == 5 && p->dscp == 46 && p->vid == 0;
  return dflt ? 1 : 2;
}

int lldpMedPortGetPolicyVid(const LldpPort* port, uint32_t appType, uint32_t* value) {
  return policyField(port, appType, PolicyField::Vid, value);
}

int lldpMedPortGetPolicyPri(const LldpPort* port, uint32_t appType, uint32_t* value) {
  return policyField(port, appType, PolicyField::Pri, value);
}

int lldpMedPortGetPolicyDscp(const LldpPort* port, uint32_t appType, uint32_t* value) {
  return policyField(port, appType, PolicyField::Dscp, value);
}

int lldpMedPortGetPolicyUnknown(const LldpPort* port, uint32_t appType, uint32_t* value) {
  return policyField(port, appType, PolicyField::Unknown, value);
}

int lldpMedPortGetPolicyTagged(const LldpPort* port, uint32_t appType, uint32_t* value) {
  return policyField(port, appType, PolicyField::Tagged, value);
}

int lldpMedPortGetPolicyFields(const LldpPort* port, uint32_t appType, LldpMedPolicyFields* out) {
  const LldpMedPolicy* p = policyOf(port, appType);
  if (p == nullptr || out == nullptr) return -1;
  if (voiceServiceOwns(port, appType)) {
    if (getInt(voiceVlanIfGetApi, port->unit, 1, &out->vid) != 0 ||
        getInt(voiceVlanScalarGetApi, 0, 10, &out->pri) != 0 ||
        getInt(voiceVlanScalarGetApi, 0, 11, &out->dscp) != 0)
      return -1;
    out->unknown = 0;
    out->tagged = 1;
    return 0;
  }
  if (!policyPresent(p)) return -1;
  *out = LldpMedPolicyFields{p->vid, p->priority, p->dscp, p->unknown, p->tagged};
  return 0;
}

int lldpMedPortGetLocationSupported(uint32_t, uint32_t format) {
  return (format >= 1 && format <= 3) ? 0 : -1;
}

int lldpMedPortGetLocation(uint32_t, uint32_t format, uint8_t* buf, uint32_t* len) {
  const uint8_t* data = nullptr;
  uint32_t n = 0;
  switch (format) {
    case 1: data = kExampleCoordLci; n = sizeof(kExampleCoordLci); break;
    case 2: data = kExampleCivicLci; n = sizeof(kExampleCivicLci); break;
    case 3: data = kExampleElin; n = sizeof(kExampleElin); break;
    default: return -1;
  }
  if (*len < n) return -1;
  std::memcpy(buf, data, n);
  *len = n;
  return 0;
}

int lldpMedPortGetPsePowerSource(uint32_t, uint32_t* value) { return zorHwilScalarGet(0, 198, value); }

int lldpMedPortGetPsePowerPriority(uint32_t unit, uint32_t* value) {
  if (!hasPoe(unit)) {
    *value = 3;
    return 0;
  }
  uint32_t v = 0;
  const int rc = poeIfGetApi(unit, 5, &v);
  *value = psePriorityOf(rc, v);
  return 0;
}

int lldpMedPortGetPsePowerValue(uint32_t unit, uint32_t* value) {
  if (!hasPoe(unit)) {
    *value = 33;
    return 0;
  }
  uint32_t cls = 0;
  lldpDot3PortGetPowerClass(unit, &cls);
  *value = psePowerOf(cls);
  return 0;
}

// ---- Private "LLDP-ZOR" TLVs -----------------------------------------------------

int lldpPrivPortGetCapSupported(uint32_t, uint8_t* buf, uint32_t* len) {
  return putCapMask(buf, len, 2, {0, 1, 2});
}

// Capabilities and system OID; the inventory set stays off by default.
int lldpPrivPortGetCapDfltEnabled(uint32_t, uint8_t* buf, uint32_t* len) {
  return putCapMask(buf, len, 2, {0, 1});
}

// ---- PoE presence ----------------------------------------------------------------

int lldpCheckPoeStatus(uint32_t unit) {
  uint8_t protos[48] = {};
  uint32_t n = 0;
  if (getOctets(zorIfGetApi, unit, 55, protos, sizeof(protos), &n) != 0) {
    char name[ZOR_IFNAME_LEN] = {};
    zorIfUnit2Name(unit, name);
    loggingLogOutput(LLDP_LOG_MODULE_AGENT, 5, 0, "%s get poe protocol error\r\n", name);
    std::memset(protos, 0, sizeof(protos));
  }
  return lldpBitTest(protos, 183) ? 0 : -1;
}

int lldpPortGetPoe(uint32_t unit, LldpPortPoe* out) {
  uint8_t protos[48] = {};
  uint32_t n = 0;
  if (getOctets(zorIfGetApi, unit, 55, protos, sizeof(protos), &n) != 0) return -1;
  if (!lldpBitTest(protos, 183)) {
    *out = LldpPortPoe{2, 2, 2, 1, 2, 3, 33};
    return 0;
  }
  // One PoE object into v; its value, or dflt when the read fails.
  uint32_t v = 0;
  auto read = [unit, &v](uint32_t objId, uint32_t dflt) {
    v = 0;
    return poeIfGetApi(unit, objId, &v) == 0 ? v : dflt;
  };
  out->mdiSupported = 1;
  out->mdiEnabled = read(1, 2);
  out->pairControlable = read(2, 2);
  out->pairs = read(3, 1);
  v = 0;
  int rc = poeIfGetApi(unit, 7, &v);
  out->powerClass = powerClassOf(rc, v);
  v = 0;
  rc = poeIfGetApi(unit, 5, &v);
  out->psePriority = psePriorityOf(rc, v);
  out->psePowerValue = psePowerOf(out->powerClass);
  return 0;
}
