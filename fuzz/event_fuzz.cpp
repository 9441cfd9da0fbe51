// Arbitrary platform event buffers through lldpEvtNotifyRecv: registrations,
// removals, link, MTU and MAC changes, aggregation joins and quits,
// configuration resets, slot, card and sub-system start, tunnel MAC changes.
// Every input starts from the same two registered ports; whatever the length
// fields of the messages and attributes say, nothing is read past the buffer.
#include <cstddef>
#include <cstdint>
#include <vector>

#include "base/lldp_info.h"
#include "core/lldp_core.h"
#include "platform/sim/sim.h"
#include "port/lldp_port.h"

namespace {

using sim::Svc;

void platform() {
  for (uint32_t u = 1; u <= 4; ++u) {
    sim::addInterface(u, "ge" + std::to_string(u), 100 + u, {0x00, 0xAA, 0xBB, 0, 0, uint8_t(u)});
    sim::setInt(Svc::If, u, 10, u % 2 ? 0x40000u : 0u);  // odd units are aggregations of that kind
  }
  sim::setInt(Svc::Hw, 0, 54, 0);
  sim::setHwObject(0x1F40032, 1);
  sim::setHwObject(0x1F4002B, 1);
  sim::setHwObject(0x1F4002A, 1);
  sim::setHwObject(0x2EE002B, 1);
  sim::setHwObject(0x2EE002A, 1);
  sim::setHwObject(0x2EE0029, 1, -1);
}

void clearPorts() {
  while (auto* p = static_cast<LldpPort*>(avl_first(&gLldpInfo.portTable))) lldpPortEntryDel(p);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  static bool ready = [] {
    sim::reset();
    platform();
    lldpInit(4, 31, 0, LLDP_MODE_STANDARD, LLDP_ADMIN_TXRX, 1, 0, 0, 1);
    return true;
  }();
  (void)ready;

  clearPorts();
  sim::reset();
  platform();
  gLldpInfo.debugFlags = (size & 1) ? 0x1FF : 0x100;
  gLldpInfo.globalAdminStatus = (size & 2) ? 1 : 2;
  for (uint32_t u = 1; u <= 2; ++u)
    if (LldpPort* p = lldpPortEntryAdd(u)) lldpPortEntryInit(p, LLDP_ADMIN_TXRX);

  // An exact-size copy, so that a read one byte past the end is caught.
  std::vector<uint8_t> buf(data, data + size);
  lldpEvtNotifyRecv(buf.data(), static_cast<uint32_t>(buf.size()));
  return 0;
}
