// Tables of rows {port unit, id} kept in the port records: the VLAN-name and
// protocol-VLAN tables (id: VLAN id), the LLDP-MED policy table (application
// type) and the LLDP-MED location table (location format).
//
// Key record (8 bytes, host order words): 0 port unit, 4 id.
#pragma once

#include <cstdint>

#include "mgmt/lldp_mgmt_util.h"
#include "port/lldp_port.h"

constexpr uint32_t LLDP_PORT_ROW_KEY_LEN = 8;

inline uint32_t lldpPortRowUnit(uintptr_t key) { return lldpMgmtKeyGet32(key, 0); }
inline uint32_t lldpPortRowId(uintptr_t key) { return lldpMgmtKeyGet32(key, 4); }

// Whether a port takes part in a table at all, and whether it has row `id`.
using LldpPortRowCounts = bool (*)(const LldpPort* port);
using LldpPortRowHas = bool (*)(const LldpPort* port, uint32_t id);

// The walk of such a table, under the lock: ports in ascending unit order,
// those that count, and in each the ids 1..maxId that it has, ascending.
// GetFirst (first) answers the first row; GetNext starts at the first port
// whose unit is not below the key's, and in the key's own port takes only
// ids above the key's. Writes the row into the key; 0x3E80002 at the end,
// 22 without a key record.
// REQUIRES: nothing held; takes lldpLock.
uint32_t lldpPortRowWalk(uintptr_t key, bool first, uint32_t maxId, LldpPortRowCounts counts,
                         LldpPortRowHas has);
