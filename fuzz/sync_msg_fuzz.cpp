// Arbitrary buffers through the stack synchronisation receiver
// (lldpSyncMsapRecv) on a stacked unit with two simulated ports; the seeds
// (fuzz/corpus/sync_msg_fuzz) are real buffers of the sender: records of
// every TLV family, deletes, statistics, several messages back to back.
//
// Whatever the lengths say, nothing is read past the buffer (an exact-size
// copy). Every record the receiver applied is then sent back through the
// whole-state send, so the builder meets whatever the receiver accepted, and
// the ports are removed again. A hash of the input picks the
// trace switches and an allocation to fail.
#include <cstddef>
#include <cstdint>
#include <vector>

#include "base/lldp_info.h"
#include "platform/avl.h"
#include "core/lldp_core.h"
#include "platform/sim/sim.h"
#include "port/lldp_port.h"
#include "rx/lldp_msap.h"
#include "sync/lldp_sync.h"

namespace {

LldpPort* gPorts[2];

void platform() {
  sim::setInt(sim::Svc::Hw, 0, 54, 0);  // a unit of a stack
  sim::addInterface(1, "ge1", 101, {0x00, 0xAA, 0xBB, 0, 0, 1});
  sim::addInterface(2, "ge2", 102, {0x00, 0xAA, 0xBB, 0, 0, 2});
}

// Two fresh ports for every input, and nothing left of them afterwards, so
// that what an input allocates it also frees (the leak check stays quiet).
void addPorts() {
  platform();
  for (uint32_t u = 1; u <= 2; ++u) {
    LldpPort* p = lldpPortEntryAdd(u);
    lldpPortEntryInit(p, LLDP_ADMIN_TXRX);
    p->portStatus = 1;
    gPorts[u - 1] = p;
  }
}

void removePorts() {
  for (LldpPort* p : gPorts) lldpPortMsapCleanup(p);
  while (auto* p = static_cast<LldpPort*>(avl_first(&gLldpInfo.portTable))) lldpPortEntryDel(p);
  sim::reset();
}

uint64_t hashOf(const uint8_t* d, size_t n) {
  uint64_t h = 1469598103934665603ull;
  for (size_t i = 0; i < n; ++i) h = (h ^ d[i]) * 1099511628211ull;
  return h;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  static bool ready = [] {
    sim::reset();
    platform();
    lldpInit(8, 31, 0, LLDP_MODE_STANDARD, LLDP_ADMIN_TXRX, 1, 0, 0, 0);
    return true;
  }();
  (void)ready;
  addPorts();
  const uint64_t h = hashOf(data, size);
  gLldpInfo.debugFlags = (h & 1) ? 0x1FF : 0x100;
  if ((h >> 1) % 4 == 0) sim::failAllocation(1 + (h >> 3) % 40);

  // An exact-size copy, so that a read one byte past the end is caught.
  std::vector<uint8_t> buf(data, data + size);
  lldpSyncMsapRecv(buf.data(), static_cast<uint32_t>(buf.size()));
  sim::failAllocation(0);

  lldpSyncAllSend(2, 1);
  removePorts();
  return 0;
}
