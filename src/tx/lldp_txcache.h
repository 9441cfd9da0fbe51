// Answers the TLV builders share within one information frame.
//
// Several TLVs of a frame ask the platform the same questions: the private
// OUI heads every private TLV, the PoE answers feed both the 802.3 power TLV
// and the MED extended power TLV, the PVID object is read for the PVID, the
// Juniper and every PPVID TLV. The frame builder asks once and hands the
// answer on; a TLV builder called on its own starts with an empty cache and
// asks for what it needs. The agent lock is held for the whole frame, so the
// answers cannot change in between.
//
// REQUIRES: lldpLock held.
#pragma once

#include <cstdint>

#include "local/lldp_local.h"
#include "port/lldp_port.h"

struct LldpTxCache {
  bool privOuiRead = false;
  uint8_t privOui[3] = {};

  bool poeRead = false;
  bool poeOk = false;  // false: the presence could not be read
  LldpPortPoe poe{};

  bool pseSourceRead = false;
  uint32_t pseSource = 0;

  bool pvidRead = false;
  uint32_t pvid = 0;

  bool protoVlanRead = false;
  uint8_t ppvidFlags = 0;
};

int lldpDot1PvidTlv(LldpPort* port, LldpTxCache* cache);
int lldpJuniperTlv(LldpPort* port, LldpTxCache* cache);
int lldpDot1PpvidTlv(LldpPort* port, uint16_t vid, LldpTxCache* cache);
int lldpDot3MdiPowerTlv(LldpPort* port, LldpTxCache* cache);
int lldpMedXpoepseTlv(LldpPort* port, LldpTxCache* cache);
int lldpPrivCapsTlv(LldpPort* port, LldpTxCache* cache);
int lldpPrivSysOidTlv(LldpPort* port, LldpTxCache* cache);
// Private inventory TLV of subtype 3 (hardware revision) to 9 (asset id).
int lldpPrivInventoryTlv(LldpPort* port, uint8_t subtype, LldpTxCache* cache);
