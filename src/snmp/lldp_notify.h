// The notifications lldp-snmp sends for the agent's event stream:
// lldpRemTablesChange for every LLDP trap of the agent (which the agent
// already holds back within its notification interval), with the four
// remote-table statistics, and lldpXMedTopologyChangeDetected for every
// LLDP-MED trap, with the neighbour's chassis ID and device class.
#pragma once

#include <optional>

#include "client/lldp_events.h"
#include "snmp/lldp_source.h"
#include "snmp/snmp_tree.h"

namespace lldpsnmp {

struct Notification {
  Oid trapOid;                    // the value of snmpTrapOID.0
  std::vector<VarBind> varbinds;  // the notification's objects, in the MIB's order
};

Notification remTablesChange(const lldpc::GlobalStats& stats);
Notification medTopologyChange(const lldpc::MedTrap& trap);

// Handles one event of the agent's stream: makes `src` read again what the
// event changed, and gives the notification it asks for, if any (none when
// the statistics cannot be read or the event is malformed).
std::optional<Notification> notificationFor(const lldpc::Event& e, LldpSource& src);

}  // namespace lldpsnmp
