// Test helpers shared by the core, port and frame I/O tests: bring the agent
// up on the simulated platform, tear it down without leaks, and build
// platform event messages.
#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <initializer_list>
#include <string>
#include <utility>
#include <vector>

#include "base/lldp_info.h"
#include "core/lldp_core.h"
#include "platform/platform_types.h"
#include "platform/sil.h"
#include "platform/sim/sim.h"
#include "platform/zor_socket.h"
#include "port/lldp_port.h"

namespace lldptest {

using Bytes = std::vector<uint8_t>;
using Options = std::initializer_list<std::pair<const char*, const char*>>;

// Starts the agent from options (key, value) on a freshly reset platform.
inline int startAgent(Options opts = {}) {
  sim::reset();
  for (const auto& [k, v] : opts) sim::setOption(k, v);
  return lldpOptInit();
}

// Undoes what lldpInit built (the agent itself never shuts down): every port
// and its buffers, the pool, the lock, the sockets.
inline void stopAgent() {
  sim::clearFailures();
  while (auto* p = static_cast<LldpPort*>(avl_first(&gLldpInfo.portTable)))
    if (lldpPortEntryDel(p) != 0) break;
  silMemPoolDestroy(&gLldpInfo.portPool);
  if (gLldpInfo.semaphore != 0) silDeleteSem(gLldpInfo.semaphore);
  gLldpInfo.semaphore = 0;
  if (gLldpInfo.dataSock > 0) zor_close(gLldpInfo.dataSock);
  if (gLldpInfo.rtSock > 0) zor_close(gLldpInfo.rtSock);
  gLldpInfo.dataSock = gLldpInfo.rtSock = -1;
  gLldpInfo.portTable.root = nullptr;
  gLldpInfo.portTable.count = 0;
}

// Fixture base: stops the agent after each test and checks nothing leaked.
class AgentTest : public ::testing::Test {
 protected:
  void TearDown() override {
    stopAgent();
    EXPECT_EQ(sim::liveAllocations(), 0u) << "buffers or pool storage leaked";
  }
};

// One Ethernet port "ge0/<unit>" with ifIndex 100 + unit, MAC 00:11:22:33:44:<unit>.
inline void addPort(uint32_t unit, uint32_t mtu = 1522, bool up = true) {
  sim::addInterface(unit, "ge0/" + std::to_string(unit), 100 + unit,
                    {0x00, 0x11, 0x22, 0x33, 0x44, static_cast<uint8_t>(unit)}, mtu, up);
}

// ---- Platform messages --------------------------------------------------------

inline void put16(Bytes& b, size_t off, uint16_t v) { std::memcpy(b.data() + off, &v, 2); }
inline void put32(Bytes& b, size_t off, uint32_t v) { std::memcpy(b.data() + off, &v, 4); }

inline Bytes concat(std::initializer_list<Bytes> parts) {
  Bytes out;
  for (const Bytes& p : parts) out.insert(out.end(), p.begin(), p.end());
  return out;
}

// A message of `type` with the 24-byte header and `body` after it.
inline Bytes message(uint16_t type, const Bytes& body) {
  Bytes m = concat({Bytes(24, 0), body});
  put32(m, 0, static_cast<uint32_t>(m.size()));
  put16(m, 4, type);
  return m;
}

// Body words (host order).
inline Bytes words(std::initializer_list<uint32_t> ws) {
  Bytes b(ws.size() * 4);
  std::memcpy(b.data(), ws.begin(), b.size());
  return b;
}

// One attribute, padded to 4 bytes.
inline Bytes attr(uint16_t type, const Bytes& payload) {
  Bytes a = concat({Bytes(4, 0), payload});
  put16(a, 0, static_cast<uint16_t>(a.size()));
  put16(a, 2, type);
  a.resize((a.size() + 3) / 4 * 4, 0);
  return a;
}
inline Bytes attr32(uint16_t type, uint32_t v) { return attr(type, words({v})); }
inline Bytes attr8(uint16_t type, uint8_t v) { return attr(type, Bytes{v}); }

// An interface message (NEWLINK, DELLINK, ...) for unit with change mask and attributes.
inline Bytes ifMessage(uint16_t type, uint32_t unit, uint32_t change, std::initializer_list<Bytes> attrs = {}) {
  Bytes body = words({0, unit, 0, change, 0, 0});
  for (const Bytes& a : attrs) body.insert(body.end(), a.begin(), a.end());
  return message(type, body);
}
inline Bytes registration(uint32_t unit) { return ifMessage(ZOR_RTM_NEWLINK, unit, 0xFFFFFFFFu); }
inline Bytes change(uint32_t unit, std::initializer_list<Bytes> attrs) {
  return ifMessage(ZOR_RTM_NEWLINK, unit, 1, attrs);
}
inline int deliver(const Bytes& buf) { return lldpEvtNotifyRecv(buf.data(), static_cast<uint32_t>(buf.size())); }

// The protocol-registration calls of the platform (objects 53, 54, 56, 57)
// made for a unit, in order.
inline std::vector<uint32_t> protoSets(uint32_t unit) {
  std::vector<uint32_t> out;
  for (const auto& s : sim::ifSets())
    if (!s.proto && s.unit == unit && s.objId >= 53 && s.objId <= 57) out.push_back(s.objId);
  return out;
}

}  // namespace lldptest
