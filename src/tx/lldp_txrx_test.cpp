// Round trip inside the agent: frames built by the transmit path of one port
// are handed to the receive path of another, and the neighbour record must
// hold what the sender meant to advertise.
#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "rx/rx_test_util.h"
#include "tx/lldp_tx.h"
#include "tx/tx_test_port.h"

namespace {

class TxRx : public ::testing::Test {
 protected:
  // Port 1 sends, port 2 receives; both are real port records of an agent.
  rxtest::Agent agent{64, LLDP_EXT_DOT1 | LLDP_EXT_DOT3 | LLDP_EXT_MED | LLDP_EXT_PRIV, 2};

  Msap* sendAndReceive(LldpPort* from) {
    EXPECT_GT(lldpMibConstrInfoLLDPDU(from), 0u);
    const rxtest::Bytes f(from->tx.frame, from->tx.frame + from->tx.sendsize);
    EXPECT_EQ(agent.recv(f, 2), RX_FRAME_OK);
    auto n = rxtest::neighbours(agent.port(2));
    EXPECT_EQ(n.size(), 1u);
    return n.empty() ? nullptr : n.front();
  }
};

TEST_F(TxRx, DefaultFrameOfARealPort) {
  sim::setString(sim::Svc::Scalar, 0, 50, "sw-a");
  sim::setString(sim::Svc::Scalar, 0, 58, "switch A");
  LldpPort* p = agent.port(1);
  p->txTTL = 120;
  Msap* m = sendAndReceive(p);
  ASSERT_NE(m, nullptr);
  EXPECT_EQ(m->chassIdSubtype, 4);
  EXPECT_EQ(rxtest::text(m->chassId, m->chassIdLen), rxtest::text(gLldpInfo.sysMac, 6));
  EXPECT_EQ(m->portIdSubtype, 5);
  EXPECT_EQ(rxtest::text(m->portId, m->portIdLen), "ge1");
  EXPECT_EQ(m->rxInfoTTL, 120);
  EXPECT_EQ(rxtest::text(m->sysName, m->sysNameLen), "sw-a");
  EXPECT_EQ(rxtest::text(m->sysDescr, m->sysDescrLen), "switch A");
  // Capabilities come back in the agent's stored bit-string order.
  EXPECT_EQ(m->sysCap[0], gLldpInfo.capSupported[0]);
  EXPECT_EQ(m->sysCap[1], gLldpInfo.capSupported[1]);
  EXPECT_EQ(m->sysCapEnabled[0], gLldpInfo.capEnabled[0]);
  ASSERT_NE(m->mgmtAddrList, nullptr);
  EXPECT_EQ(m->mgmtAddrList->mgmtAddrSubtype, 6);
  EXPECT_EQ(rxtest::text(m->mgmtAddrList->mgmtAddr, m->mgmtAddrList->mgmtAddrLen),
            rxtest::text(p->portMac, 6));
  EXPECT_EQ(m->mgmtAddrList->mgmtAddrIfId, p->ifIndex);
}

TEST_F(TxRx, EveryFamilyComesBackAsSent) {
  LldpPort* p = agent.port(1);
  txtest::enableEverything(p);
  gLldpInfo.medDeviceType = 4;
  Msap* m = sendAndReceive(p);
  ASSERT_NE(m, nullptr);

  EXPECT_EQ(m->dot1Pvid, 100);
  std::vector<uint16_t> ppvids, vids;
  for (auto* x = m->dot1PpvidList; x != nullptr; x = x->next) ppvids.push_back(x->ppvid);
  for (auto* x = m->dot1VlanNameList; x != nullptr; x = x->next) {
    vids.push_back(x->vid);
    EXPECT_EQ(rxtest::text(x->name, x->nameLen), "vlan:" + std::to_string(x->vid));
  }
  std::sort(ppvids.begin(), ppvids.end());
  std::sort(vids.begin(), vids.end());
  EXPECT_EQ(ppvids, (std::vector<uint16_t>{10, 4094}));
  EXPECT_EQ(vids, (std::vector<uint16_t>{1, 100, 4000}));
  EXPECT_EQ(m->dot1ProtoidNum, 4);

  EXPECT_EQ(m->dot3AutoNegAdvertisedCap[0], 0x6c);
  EXPECT_EQ(m->dot3AutoNegAdvertisedCap[1], 0x01);
  EXPECT_EQ(m->dot3MauType, 30);
  EXPECT_EQ(m->dot3Mfs, 1522);
  EXPECT_EQ(m->dot3PowerPairs, 2);
  EXPECT_EQ(m->dot3PowerClass, 5);
  EXPECT_EQ(m->dot3PowerAllocated, 300);
  EXPECT_EQ(m->dot3AggPortId, 12u);

  EXPECT_EQ(m->medDevType, 4);
  for (uint8_t t = 1; t <= 8; ++t) {
    const LldpRemMedPolicy& r = m->medPolicy[t - 1];
    const LldpMedPolicy& s = p->medPolicy[t - 1];
    EXPECT_EQ(r.appType, t);
    EXPECT_EQ(r.vid, s.vid) << int(t);
    EXPECT_EQ(r.priority, s.priority) << int(t);
    EXPECT_EQ(r.dscp, s.dscp) << int(t);
  }
  for (int f = 0; f < 3; ++f)
    EXPECT_EQ(rxtest::text(m->medLocation[f].data, m->medLocation[f].len),
              rxtest::text(p->medLocation[f].data, p->medLocation[f].len))
        << f;
  EXPECT_EQ(rxtest::text(m->medInventory[LLDP_INV_SN].data, m->medInventory[LLDP_INV_SN].len),
            "SN0001234");
  EXPECT_EQ(rxtest::text(m->priInventory[LLDP_INV_ASSETID].data,
                         m->priInventory[LLDP_INV_ASSETID].len),
            "ASSET-42");
}

TEST_F(TxRx, ShutdownFrameRemovesTheNeighbour) {
  LldpPort* p = agent.port(1);
  p->txTTL = 120;
  ASSERT_NE(sendAndReceive(p), nullptr);
  ASSERT_GT(lldpMibConstrShutdownLLDPDU(p), 0u);
  agent.recv(rxtest::Bytes(p->tx.frame, p->tx.frame + p->tx.sendsize), 2);
  EXPECT_TRUE(rxtest::neighbours(agent.port(2)).empty());
}

}  // namespace
