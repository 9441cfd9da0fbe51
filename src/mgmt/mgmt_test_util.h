// Test support for the management handlers: an agent on the simulated
// platform with ports registered through platform events and run by the
// protocol task's rounds, and short forms for value descriptors.
#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

#include "core/lldp_task.h"
#include "core/lldp_testutil.h"
#include "mgmt/lldp_mgmt.h"
#include "mgmt/lldp_mgmt_util.h"
#include "platform/sil.h"
#include "port/lldp_mgmt_addr.h"
#include "rx/rx_test_util.h"

namespace mgmttest {

using lldptest::Bytes;

// An integer descriptor.
inline ZorValue intVal(uint32_t v = 0) {
  ZorValue d{};
  d.value = v;
  d.form = ZOR_VALUE_INT;
  return d;
}

// A buffer descriptor over its own storage.
struct Buf {
  std::vector<uint8_t> mem;
  ZorValue v{};
  // One byte more than asked, as the command server gives, so that even an
  // empty buffer has an address.
  explicit Buf(uint32_t capacity, const Bytes& data = {})
      : mem((capacity > data.size() ? capacity : data.size()) + 1, 0) {
    std::copy(data.begin(), data.end(), mem.begin());
    v.buf = mem.data();
    v.len = capacity;
    v.form = ZOR_VALUE_BUF;
  }
  // A Set's descriptor: exactly the bytes supplied.
  static Buf of(const Bytes& data) { return Buf(static_cast<uint32_t>(data.size()), data); }
  ZorValue* p() { return &v; }
  Bytes bytes() const { return Bytes(mem.begin(), mem.begin() + v.len); }
};

class MgmtTest : public lldptest::AgentTest {
 protected:
  void SetUp() override {
    ASSERT_EQ(lldptest::startAgent({{"lldp.defaultportmode", "rxtx"}, {"lldp.maxifnum", "8"}}), 0);
    lldpMainStart();
  }
  void TearDown() override {
    EXPECT_EQ(sim::semaphoreDepth(), 0) << "lock left taken";
    // The agent-wide address rows belong to no port: free them here.
    while (lldpMgmtAddr* row = gLldpInfo.manAddrList) {
      gLldpInfo.manAddrList = row->next;
      silFree(row->mgmtAddrOid);
      silFree(row->mgmtAddrPort);
      silFree(row);
    }
    lldptest::AgentTest::TearDown();
  }
  // Registers the unit through the event socket (admin status from the
  // options: TXRX) and runs the rounds that bring its machines to steady
  // state.
  static LldpPort* addPort(uint32_t unit) {
    lldptest::addPort(unit);
    sim::queueEvent(lldptest::registration(unit));
    rounds(3);
    return lldpPortEntryGet(unit);
  }
  static void rounds(int n) {
    for (int i = 0; i < n; ++i) lldpMainRound();
  }
  // A neighbour's LLDPDU received on the unit (an LLDP-MED endpoint when med).
  static void neighbour(uint32_t unit, const std::string& chassis, bool med = false,
                        uint16_t ttl = 120) {
    rxtest::Frame f;
    f.head(chassis, "p1", ttl);
    if (med) f.org(rxtest::kMed, 1, {0x00, 0x21, 0x03});
    f.end();
    sim::queueFrame(unit, f.b);
    lldpMainRound();
  }
  // The TTL of a frame the agent sent: the TLV after chassis and port IDs.
  static int ttlOf(const Bytes& f) {
    size_t off = 14;
    for (int i = 0; i < 2 && off + 2 <= f.size(); ++i) off += 2 + (((f[off] & 1) << 8) | f[off + 1]);
    if (off + 4 > f.size() || f[off] != 0x06) return -1;
    return f[off + 2] << 8 | f[off + 3];
  }
  // The units of the frames sent since the last clear, with their TTLs.
  static std::vector<std::pair<uint32_t, int>> sent() {
    std::vector<std::pair<uint32_t, int>> out;
    for (const auto& f : sim::sentFrames()) out.emplace_back(f.unit, ttlOf(f.bytes));
    return out;
  }
};

}  // namespace mgmttest
