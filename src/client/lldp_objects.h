// Typed access to the agent's management objects (docs/management.md): the
// global settings, local system and statistics, the ports, the local
// management addresses and the neighbours, as plain records, and the table
// walks that yield them. Every read of a record gathers its objects in one
// round trip; every walk costs one round trip per row.
//
// Reads throw OperationError when an object answers a code other than
// success, except where a field is optional: values that the agent asks its
// platform for may be missing on a host, and are then left unset. Changes
// throw OperationError with the operation's code.
//
// Bit maps are kept as the agent sends them, most significant bit first: in
// a one-octet map bit n is 0x80 >> n, in a two-octet map 0x8000 >> n.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "client/lldp_client.h"
#include "client/lldp_ops.h"

namespace lldpc {

// ---- Global objects ---------------------------------------------------------
struct GlobalConfig {
  uint32_t msgTxInterval = 0;
  uint32_t msgTxHold = 0;
  uint32_t reinitDelay = 0;
  uint32_t txDelay = 0;
  uint32_t trapInterval = 0;
  uint32_t mode = 0;  // 1 standard (01-80-C2-00-00-0E), 2 broadcast
  uint32_t defaultMode = 0;
  uint32_t debugFlags = 0;
  uint32_t medDeviceClass = 0;
  uint32_t medFastStartCount = 0;
  uint32_t defaultPortAdmin = 0;  // admin status given to ports when the agent is enabled
  uint32_t adminStatus = 0;       // 1 enabled, 2 disabled
  uint32_t defaultAdminStatus = 0;
  uint32_t mgmtAddrLimit = 0;
  uint32_t mgmtAddrCount = 0;
};

struct MedInventory {
  std::string hardwareRev, firmwareRev, softwareRev, serialNumber, manufacturer, model, assetId;
};

struct LocalSystem {
  std::string version;
  uint32_t chassisIdSubtype = 0;
  std::optional<std::vector<uint8_t>> chassisId;
  std::optional<std::string> sysName;
  std::optional<std::string> sysDescr;
  uint16_t capSupported = 0;
  uint16_t capEnabled = 0;
  MedInventory inventory;
  uint32_t medPoeDeviceType = 0;
  std::optional<uint32_t> psePowerSource;
  std::optional<uint32_t> pdPowerValue, pdPowerSource, pdPowerPriority;
};

struct GlobalStats {
  uint32_t remLastChange = 0;  // up-time (s) of the last remote-table change
  uint32_t remInserts = 0, remDeletes = 0, remDrops = 0, remAgeouts = 0;
  uint32_t countersCleared = 0;  // up-time (s) when the counters below were cleared
  uint32_t framesIn = 0, framesInErrors = 0, framesDiscarded = 0;
  uint32_t tlvsDiscarded = 0, tlvsUnrecognised = 0, framesOut = 0;
};

GlobalConfig getGlobalConfig(Client& c);
LocalSystem getLocalSystem(Client& c);
GlobalStats getGlobalStats(Client& c);
// A global integer object (gobj::...).
void setGlobal(Client& c, uint32_t object, uint32_t value);
void clearGlobalCounters(Client& c);

// ---- Ports --------------------------------------------------------------------
struct PortStats {
  uint32_t framesOut = 0, framesDiscarded = 0, framesInErrors = 0, framesIn = 0;
  uint32_t tlvsDiscarded = 0, tlvsUnrecognised = 0, ageouts = 0;
  uint32_t countersCleared = 0;  // up-time (s)
  uint32_t neighbours = 0, medNeighbours = 0;
};

struct PortInfo {
  uint32_t unit = 0;
  uint32_t adminStatus = 0;    // 1 transmit, 2 receive, 3 both, 4 disabled
  uint32_t notifications = 0;  // 1 on, 2 off
  uint8_t basicSupported = 0,
          basicEnabled = 0;  // 0x80 port descr., 0x40 sys name, 0x20 sys descr., 0x10 caps
  uint32_t portIdSubtype = 0;
  std::optional<std::vector<uint8_t>> portId;
  std::optional<std::string> portDescr;
  uint8_t dot1Supported = 0, dot1Enabled = 0;  // bit 0 PVID, 1 PPVID, 2 VLAN name, 3 protocol identity
  uint32_t pvidTx = 0, protoIdTx = 0;          // 1 on, 2 off
  std::optional<uint32_t> pvid;
  std::vector<uint16_t> vlanNames;             // VLANs whose names the port advertises
  std::vector<uint16_t> ppvids;                // VLANs advertised as port-and-protocol VLAN IDs
  uint8_t dot3Supported = 0, dot3Enabled = 0;  // bit 0 MAC/PHY, 1 power, 2 aggregation, 3 max frame
  std::optional<uint32_t> autoNegSupported, autoNegEnabled, mauType;
  std::optional<std::vector<uint8_t>> autoNegAdvertised;
  std::optional<uint32_t> powerPortClass, mdiPowerSupported, mdiPowerEnabled, powerPairControl, powerPairs,
      powerClass;
  std::optional<uint32_t> medPowerDeviceType, psePowerSource, psePowerPriority, psePowerValue;
  std::optional<uint8_t> linkAggStatus;
  std::optional<uint32_t> aggPortId, maxFrameSize;
  uint16_t medSupported = 0, medEnabled = 0;  // bit 0 caps, 1 policy, 2 location, 3 PSE, 4 PD, 5 inventory
  uint32_t medNotifications = 0;
  uint32_t juniperTx = 0;
  uint16_t privSupported = 0, privEnabled = 0;
  PortStats stats;
};

// Port units in ascending order; `filter` as the port walk takes it (an OUI
// shifted left by 8 with a bit number, 0 for every port).
Walk<uint32_t> portUnits(Client& c, uint32_t filter = 0);
// One port with every object; nullopt when there is no such port.
std::optional<PortInfo> getPort(Client& c, uint32_t unit);
// Every port with every object.
Walk<PortInfo> portWalk(Client& c);
void setPortInt(Client& c, uint32_t unit, uint32_t object, uint32_t value);
void setPortBytes(Client& c, uint32_t unit, uint32_t object, const std::vector<uint8_t>& bytes);
void clearPortCounters(Client& c, uint32_t unit);

// The platform's names of the ports ("eth1", "2/eth1" for a port of stack
// unit 2), in unit order; empty when the agent's platform names none (it
// does not serve kCmdOpPortNames).
std::vector<CmdPortName> portNames(Client& c);
// One port's name; nullopt when the platform names no such port.
std::optional<std::string> portName(Client& c, uint32_t unit);
// The agent's up-time in seconds, the clock of its time marks and clearing
// times; nullopt when the platform does not tell it.
std::optional<uint32_t> agentUptime(Client& c);

// VLAN lists of the port objects 27-31: bit n of the map stands for VLAN n + 1.
std::vector<uint8_t> vlanMap(const std::vector<uint16_t>& vlans);
std::vector<uint16_t> vlanList(const std::vector<uint8_t>& map);

// ---- Local management addresses --------------------------------------------------
struct MgmtAddress {
  uint8_t subtype = 0;  // IANA address family: 1 IPv4, 2 IPv6, 6 IEEE 802
  std::vector<uint8_t> bytes;
  // "192.0.2.1", "2001:db8::1", "00:11:22:33:44:55"; nullopt for anything else.
  static std::optional<MgmtAddress> parse(const std::string& text);
  std::string str() const;
  bool operator==(const MgmtAddress&) const = default;
};

struct ManAddrRow {
  MgmtAddress addr;
  uint32_t unit = 0;  // the port of a per-port row; 0 for the agent-wide table
  uint32_t addrLen = 0;
  uint32_t ifSubtype = 0;
  uint32_t ifId = 0;
  std::vector<uint32_t> oid;  // the object identifier's arcs
};

// Key records of the two tables (34 and 38 bytes).
std::vector<uint8_t> manAddrKey(const MgmtAddress& a);
std::vector<uint8_t> portManAddrKey(const MgmtAddress& a, uint32_t unit);
MgmtAddress manAddrFromKey(const std::vector<uint8_t>& key);

Walk<ManAddrRow> manAddrWalk(Client& c);
Walk<ManAddrRow> portManAddrWalk(Client& c);
void addManAddr(Client& c, const MgmtAddress& a);
void deleteManAddr(Client& c, const MgmtAddress& a);
void addPortManAddr(Client& c, uint32_t unit, const MgmtAddress& a);
void deletePortManAddr(Client& c, uint32_t unit, const MgmtAddress& a);

// ---- Neighbours -------------------------------------------------------------------
// A neighbour's index in the remote tables: its 20-byte key record is the
// time mark (high, low), the local port unit, the remote index and a filter.
// The lists' key records start with its first 16 bytes.
struct RemoteIndex {
  uint32_t timeMarkHigh = 0, timeMarkLow = 0;
  uint32_t port = 0;
  uint32_t remIndex = 0;
  std::vector<uint8_t> key(uint32_t filter = 0) const;
  static RemoteIndex fromKey(const std::vector<uint8_t>& key);
  bool operator==(const RemoteIndex&) const = default;
  auto operator<=>(const RemoteIndex& o) const {
    // The remote tables' order; the remote index compares as a signed number.
    if (auto c = timeMarkHigh <=> o.timeMarkHigh; c != 0) return c;
    if (auto c = timeMarkLow <=> o.timeMarkLow; c != 0) return c;
    if (auto c = port <=> o.port; c != 0) return c;
    return static_cast<int32_t>(remIndex) <=> static_cast<int32_t>(o.remIndex);
  }
};

// The neighbours a walk visits: every one, or those that sent a TLV.
enum class RemoteFilter {
  All,           // 19, 20
  Dot1Pvid,      // 85, 86: 802.1 port VLAN ID
  Dot3MacPhy,    // 87, 88
  Dot3Power,     // 89, 90
  Dot3LinkAgg,   // 91, 92
  Dot3MaxFrame,  // 93, 94
  MedCapable,    // 95, 96: the LLDP-MED endpoints
  MedPoePse,     // 81, 82
  MedPoePd,      // 79, 80
  MedInventory,  // 97, 98
  MedPoe,        // 83, 84: the PSE walk, then the PD walk
};

struct MediaPolicy {
  uint32_t appType = 0;  // 1 voice ... 8 video signalling
  uint32_t vlan = 0;
  uint32_t priority = 0;
  uint32_t dscp = 0;
  uint32_t unknown = 0;  // 1 set, 0 clear
  uint32_t tagged = 0;   // 1 tagged, 2 untagged
  bool operator==(const MediaPolicy&) const = default;
};

// The entries of the remote records' lists. `place` is an entry's position
// in the neighbour's list (1 first), which tells equal entries apart.
struct RemoteMgmtAddress {
  RemoteIndex index;
  MgmtAddress addr;
  uint32_t ifSubtype = 0, ifId = 0;
  std::vector<uint8_t> oid;  // 4 bytes per arc, or the octets received when not an identifier
};
struct RemoteTlv {  // a TLV of types 9-126
  RemoteIndex index;
  uint32_t type = 0, place = 0;
  std::vector<uint8_t> info;
};
struct RemoteOrgTlv {  // an organisationally specific TLV no decoder took
  RemoteIndex index;
  uint32_t oui = 0, subtype = 0, place = 0;
  std::vector<uint8_t> info;
};
struct RemotePpvid {
  RemoteIndex index;
  uint32_t ppvid = 0, place = 0;
  uint32_t supported = 0, enabled = 0;  // truth values
};
struct RemoteVlanName {
  RemoteIndex index;
  uint32_t vlan = 0, place = 0;
  std::string name;
};
struct RemoteProtocol {
  RemoteIndex index;
  uint32_t entry = 0, place = 0;
  std::vector<uint8_t> identity;
};
struct RemotePolicy {
  RemoteIndex index;
  MediaPolicy policy;
};
struct RemoteLocation {
  RemoteIndex index;
  uint32_t format = 0;                        // 1 coordinate, 2 civic address, 3 ELIN
  std::optional<std::vector<uint8_t>> value;  // as a client sets it (coordinates: the text)
  std::vector<uint8_t> data;                  // as received
};

struct Neighbour {
  RemoteIndex index;
  // Basic fields (every read).
  uint32_t chassisIdSubtype = 0;
  std::vector<uint8_t> chassisId;
  uint32_t portIdSubtype = 0;
  std::vector<uint8_t> portId;
  std::string portDescr;
  std::string sysName;
  std::string sysDescr;
  uint16_t capSupported = 0, capEnabled = 0;
  uint32_t ttl = 0;  // seconds left before the neighbour ages out

  // Everything else: filled by the detailed reads only.
  bool detailed = false;
  uint32_t rxVlan = 0;  // VLAN of the tagged frame it came in, 0 untagged
  struct Dot1 {
    uint16_t tlvs = 0;  // bit 0 PVID, 1 PPVID, 2 VLAN name, 3 protocol identity
    uint32_t pvid = 0;
    std::vector<RemotePpvid> ppvids;
    std::vector<RemoteVlanName> vlanNames;
    std::vector<RemoteProtocol> protocols;
  } dot1;
  struct Dot3 {
    uint16_t tlvs = 0;  // bit 0 MAC/PHY, 1 power, 2 aggregation, 3 max frame size
    uint32_t autoNegSupported = 0, autoNegEnabled = 0;  // truth values
    uint16_t autoNegAdvertised = 0;
    uint32_t mauType = 0;
    uint32_t powerPortClassPse = 0, mdiPowerSupported = 0, mdiPowerEnabled = 0, pairControl = 0;
    uint32_t powerPairs = 0, powerClass = 0;
    uint32_t extendedPower = 0;  // truth value: the 12-octet power TLV came
    uint32_t powerType = 0, powerSource = 0, powerPriority = 0, pdRequested = 0, pseAllocated = 0;
    uint8_t linkAggStatus = 0;  // 0x80 capable, 0x40 aggregated
    uint32_t aggPortId = 0;
    uint32_t maxFrameSize = 0;
  } dot3;
  struct Med {
    uint16_t capabilities = 0;  // as received: capability n is bit n of the value
    uint16_t tlvs = 0;          // bit 0 capabilities ... 5 inventory (most significant first)
    uint32_t deviceClass = 0;
    MedInventory inventory;
    uint32_t powerType = 0, powerValue = 0, powerSource = 0, powerPriority = 0;
    std::vector<RemotePolicy> policies;
    std::vector<RemoteLocation> locations;
  } med;
  struct Priv {
    uint16_t supported = 0, tlvs = 0;
    std::vector<uint8_t> sysOid;
    MedInventory inventory;
  } priv;
  std::vector<RemoteMgmtAddress> mgmtAddresses;
  std::vector<RemoteTlv> unknownTlvs;
  std::vector<RemoteOrgTlv> orgTlvs;
};

// The neighbours' indexes only (one request per row).
Walk<RemoteIndex> neighbourIndexes(Client& c, RemoteFilter filter = RemoteFilter::All);
// Neighbours with their basic fields (one round trip per neighbour).
Walk<Neighbour> neighbours(Client& c, RemoteFilter filter = RemoteFilter::All);
// Neighbours with their basic fields and their first management address
// (mgmtAddresses holds that one at most, its address only): one round trip
// per neighbour, as neighbours().
Walk<Neighbour> neighboursBrief(Client& c, RemoteFilter filter = RemoteFilter::All);
// One neighbour with its basic fields; nullopt when it is gone.
std::optional<Neighbour> getNeighbour(Client& c, const RemoteIndex& index);
// Every neighbour with every field and list: one round trip per neighbour
// and per list entry.
std::vector<Neighbour> neighboursDetail(Client& c);
// Every neighbour with every field but without its lists (left empty; the
// list walks below read them table by table): one round trip per neighbour.
Walk<Neighbour> neighbourFieldWalk(Client& c, RemoteFilter filter = RemoteFilter::All);
// One neighbour with every field and list; nullopt when it is gone.
std::optional<Neighbour> getNeighbourDetail(Client& c, const RemoteIndex& index);

// The remote records' lists, each walked across every neighbour in index
// order, each entry with its objects.
Walk<RemoteMgmtAddress> remoteMgmtAddresses(Client& c);
Walk<RemoteTlv> remoteUnknownTlvs(Client& c);
Walk<RemoteOrgTlv> remoteOrgTlvs(Client& c);
Walk<RemotePpvid> remotePpvids(Client& c);
Walk<RemoteVlanName> remoteVlanNames(Client& c);
Walk<RemoteProtocol> remoteProtocols(Client& c);
Walk<RemotePolicy> remotePolicies(Client& c);
Walk<RemoteLocation> remoteLocations(Client& c);

// ---- Local 802.1 and LLDP-MED tables ---------------------------------------------
struct LocalVlanName {  // a VLAN whose name a port advertises
  uint32_t unit = 0, vlan = 0;
  std::string name;
};
struct LocalProtoVlan {  // a VLAN a port advertises as port-and-protocol VLAN ID
  uint32_t unit = 0, vlan = 0;
  uint32_t supported = 0, enabled = 0;  // truth values
};
struct LocalPolicy {
  uint32_t unit = 0;
  MediaPolicy policy;
};
struct LocalLocation {  // one format of a port's location, configured or not
  uint32_t unit = 0, format = 0;
  bool configured = false;
  std::vector<uint8_t> value;  // as set (coordinates: the text read back)
  std::vector<uint8_t> data;   // as sent in the location TLV (coordinates: the LCI)
};

Walk<LocalVlanName> localVlanNames(Client& c);
Walk<LocalProtoVlan> localProtoVlans(Client& c);
Walk<LocalPolicy> localPolicies(Client& c);
Walk<LocalLocation> localLocations(Client& c);
// Starts or stops advertising a VLAN's name / the VLAN as PPVID on a port.
void setVlanNameAdvertised(Client& c, uint32_t unit, uint32_t vlan, bool on);
void setProtoVlanAdvertised(Client& c, uint32_t unit, uint32_t vlan, bool on);
// Whether a platform protocol runs on a port (operation 41): true or false.
bool protocolRunning(Client& c, uint32_t unit, uint32_t protocol);
// One object of a port's network policy of an application type (polobj::).
void setPolicy(Client& c, uint32_t unit, uint32_t appType, uint32_t object, uint32_t value);
// A location of a format: coordinates as their text, a civic address or an
// ELIN as their octets.
void setLocation(Client& c, uint32_t unit, uint32_t format, const std::vector<uint8_t>& value);
void removeLocation(Client& c, uint32_t unit, uint32_t format);

}  // namespace lldpc
