// Arbitrary frames through the hand-over of a received frame (lldpMsgRecv)
// into the remote table of simulated ports. The input is the frame; a hash of
// it varies the clock, the table limit, the VLAN answers of the platform, the
// trace switches and an injected allocation failure, and picks a one-byte
// variant of the frame that is received next (a refresh, a change or a new
// neighbour), followed by a few seconds of ageing.
#include <cstddef>
#include <cstdint>
#include <vector>

#include "base/lldp_info.h"
#include "core/lldp_core.h"
#include "frameio/lldp_frameio.h"
#include "platform/sim/sim.h"
#include "port/lldp_port.h"
#include "rx/lldp_msap.h"
#include "rx/lldp_rx.h"

namespace {

const std::vector<uint8_t> kPrivOui{0x00, 0x1e, 0x73};
LldpPort* gPorts[2];

void platform() {
  sim::setOctets(sim::Svc::Scalar, 0, 39, kPrivOui);
  sim::addInterface(1, "ge1", 101, {0x00, 0xAA, 0xBB, 0, 0, 1}, 9216);
  sim::addInterface(2, "ge2", 102, {0x00, 0xAA, 0xBB, 0, 0, 2}, 9216);
}

void setUp() {
  sim::reset();
  platform();
  lldpInit(4, 31, 0, LLDP_MODE_STANDARD, LLDP_ADMIN_TXRX, 1, 0, 0, 0);
  for (uint32_t u = 1; u <= 2; ++u) {
    LldpPort* p = lldpPortEntryAdd(u);
    lldpPortEntryInit(p, LLDP_ADMIN_TXRX);
    p->portStatus = 1;
    p->txTTL = 120;
    lldpRxStatemachineRun(p);
    lldpRxStatemachineRun(p);
    gPorts[u - 1] = p;
  }
}

uint64_t hashOf(const uint8_t* d, size_t n) {
  uint64_t h = 1469598103934665603ull;
  for (size_t i = 0; i < n; ++i) h = (h ^ d[i]) * 1099511628211ull;
  return h;
}

void tick() {
  sim::advanceMs(1000);
  for (LldpPort* p : gPorts) {
    lldpRxUpdateTimers(p);
    lldpRxStatemachineRun(p);
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  static bool ready = (setUp(), true);
  (void)ready;
  static const uint8_t aux[32] = {};

  // Each input starts from an empty table and fresh platform recordings.
  for (LldpPort* p : gPorts) lldpPortMsapCleanup(p);
  sim::reset();
  platform();

  const uint64_t h = hashOf(data, size);
  gLldpInfo.memMaxRems = static_cast<uint32_t>(h % 5);
  gLldpInfo.trapInterval = static_cast<uint16_t>((h >> 3) % 8);
  gLldpInfo.debugFlags = (h & 1) ? 0x1FF : 0x100;
  gLldpInfo.medDeviceType = (h & 2) ? 4 : 1;
  for (LldpPort* p : gPorts) p->notificationEnable = p->medNotificationEnable = (h & 4) ? 1 : 2;
  sim::advanceMs((h >> 8) % 100000);
  if (h & 0x10) {
    sim::setInt(sim::Svc::If, 1, 211, static_cast<uint32_t>((h >> 20) % 4096));
    sim::setInt(sim::Svc::If, 1, 159, static_cast<uint32_t>((h >> 32) % 4096));
  }
  if (h & 0x20) sim::setInt(sim::Svc::If, 1, 162, (h & 0x40) ? 0x88A8 : 0);

  if (h & 0x80) sim::failAllocation(1 + (h >> 40) % 24);
  lldpMsgRecv(gPorts[0], aux, data, static_cast<uint32_t>(size));
  sim::failAllocation(0);
  sim::clearLogLines();

  if (size > 0) {
    std::vector<uint8_t> v(data, data + size);
    v[(h >> 24) % size] ^= static_cast<uint8_t>(((h >> 48) & 0xFF) | 1);
    sim::advanceMs(1000 + (h >> 44) % 7000);
    lldpMsgRecv(gPorts[(h >> 9) & 1], aux, v.data(), static_cast<uint32_t>(v.size()));
    lldpMsgRecv(gPorts[0], aux, data, static_cast<uint32_t>(size));
  }
  for (uint64_t i = (h >> 12) % 4; i > 0; --i) tick();
  sim::clearLogLines();
  return 0;
}
