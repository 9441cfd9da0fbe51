// Remote-table queries: the remote-record index that every remote walk and
// Get carries in its key record, and the record walks in the table's own key
// order (time mark, local port, remIndex: lldpMsapEntyrCmp).
//
// Key record of the record walks and of lldpRemSysGetApi (20 bytes, host
// order words): 0 time mark high, 4 time mark low, 8 local port unit,
// 12 remIndex, 16 filter. The list tables use the first 16 bytes the same way
// and put the entry's own key after them (docs/management.md).
//
// REQUIRES: lldpLock held by the caller of every function declared here.
#pragma once

#include <cstdint>

#include "rx/lldp_msap.h"

constexpr uint32_t LLDP_REM_KEY_LEN = 20;     // record walks
constexpr uint32_t LLDP_REM_INDEX_LEN = 16;   // the four index words
constexpr uint32_t LLDP_REM_KEY_FILTER = 16;  // offset of the filter word

struct LldpRemIndex {
  uint32_t timeHigh, timeLow, unit, remIndex;
};

LldpRemIndex lldpRemIndexOf(const Msap* m);
LldpRemIndex lldpRemIndexGet(uintptr_t key);
void lldpRemIndexPut(uintptr_t key, const Msap* m);
bool lldpRemIndexIs(const Msap* m, const LldpRemIndex& idx);

// The record with this index, or null.
Msap* lldpRemFind(const LldpRemIndex& idx);
// The first record whose index is greater than (or equal to, with orEqual)
// idx, whether or not a record with idx exists.
Msap* lldpRemAfter(const LldpRemIndex& idx, bool orEqual);
Msap* lldpRemFirst();
Msap* lldpRemNext(const Msap* m);

// True when the filter (OUI << 8 | bit number; 0 takes every record) selects
// the record by its received-TLV map of that organisation.
bool lldpRemFilterMatch(const Msap* m, uint32_t filter);

// The filtered record walks: the first record the filter selects, or the
// first whose index is strictly greater than the key's. On success the
// record's index and the filter are written into the key. 0x3E80002 at the
// end. They take no lock.
uint32_t lldpRemGetFirst(uint32_t filter, uintptr_t key);
uint32_t lldpRemGetNext(uint32_t filter, uintptr_t key);
