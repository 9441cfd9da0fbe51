// The IEEE LLDP-MIB (1.0.8802.1.1.2), with its IEEE 802.1 and IEEE 802.3
// extensions and the ANSI/TIA-1057 LLDP-MED extension, as a MibTree over an
// LldpSource. Object identifiers are written numerically; the names in the
// comments are the MIBs' own.
//
// Indexes: a port is its unit (lldpLocPortNum, lldpPortConfigPortNum); a
// neighbour is its remote-record index, lldpRemTimeMark (the time mark as
// TimeTicks: the agent's up-time in seconds, times 100), lldpRemLocalPortNum
// (the port unit) and lldpRemIndex. Up-times count from the agent's start,
// not from the SNMP master's.
#pragma once

#include "snmp/lldp_source.h"
#include "snmp/snmp_tree.h"

namespace lldpsnmp {

namespace mib {
inline const Oid kLldpMib = {1, 0, 8802, 1, 1, 2};
// snmpTrapOID.0, the second varbind of every notification.
inline const Oid kSnmpTrapOid = {1, 3, 6, 1, 6, 3, 1, 1, 4, 1, 0};
// lldpRemTablesChange and lldpXMedTopologyChangeDetected.
inline const Oid kRemTablesChange = {1, 0, 8802, 1, 1, 2, 0, 0, 1};
inline const Oid kMedTopologyChange = {1, 0, 8802, 1, 1, 2, 1, 5, 4795, 0, 1};
// lldpStatsRemTablesInserts.0 ... lldpStatsRemTablesAgeouts.0 are
// kStats.2.0 ... kStats.5.0.
inline const Oid kStats = {1, 0, 8802, 1, 1, 2, 1, 2};
// lldpRemEntry; its columns are kRemEntry.column.index.
inline const Oid kRemEntry = {1, 0, 8802, 1, 1, 2, 1, 4, 1, 1};
// lldpXMedRemCapabilitiesEntry.
inline const Oid kMedRemCapEntry = {1, 0, 8802, 1, 1, 2, 1, 5, 4795, 1, 3, 1, 1};
}  // namespace mib

// lldpRemTimeMark of a neighbour: its time mark (seconds of up-time) as
// TimeTicks, wrapping as TimeTicks do.
uint32_t timeMarkTicks(uint32_t high, uint32_t low);
// The three index sub-identifiers of a neighbour's rows.
Oid remoteIndexOid(const lldpc::RemoteIndex& i);

// SNMP BITS of n named bits from the agent's maps (bit k = 0x80 >> k % 8 of
// octet k / 8, the same order): the octets that hold the named bits.
std::vector<uint8_t> bitsOf(uint16_t map16, unsigned namedBits);
// LLDP-MED capabilities as the TLV carries them (capability k is bit k of the
// 16-bit value) as BITS of six named bits.
std::vector<uint8_t> medCapabilityBits(uint16_t wire);
// The index octets of a media policy's application type (PolicyAppType,
// BITS of nine named bits: type k is bit k).
std::vector<uint8_t> policyAppTypeBits(uint32_t appType);

// The SNMP status for a management Set's result code (nullopt: the agent
// could not be reached).
SetStatus setStatusOf(std::optional<uint32_t> code);

// Adds every object that lldp-snmp serves to `tree`; the nodes read and
// change the agent through `src`, which must outlive the tree.
void addLldpMib(MibTree& tree, LldpSource& src);

}  // namespace lldpsnmp
