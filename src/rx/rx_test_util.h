// Test helpers of the receive path: an LLDPDU builder and an agent with one
// receiving port on the simulated platform. Header-only, shared by
// src/rx/*_test.cpp, tests/, bench/ and fuzz/.
#pragma once

#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

#include "base/lldp_info.h"
#include "core/lldp_core.h"
#include "frameio/lldp_frameio.h"
#include "platform/sim/sim.h"
#include "port/lldp_port.h"
#include "rx/lldp_msap.h"
#include "rx/lldp_rx.h"

namespace rxtest {

using Bytes = std::vector<uint8_t>;

inline Bytes str(const std::string& s) { return Bytes(s.begin(), s.end()); }

// An Ethernet frame carrying an LLDPDU, built TLV by TLV.
struct Frame {
  Bytes b;

  explicit Frame(const Bytes& dst = {0x01, 0x80, 0xC2, 0x00, 0x00, 0x0E},
                 const Bytes& src = {0x00, 0x11, 0x22, 0x33, 0x44, 0x55}, uint16_t type = 0x88CC,
                 int vlanTpid = -1, uint16_t vid = 0) {
    b.insert(b.end(), dst.begin(), dst.end());
    b.insert(b.end(), src.begin(), src.end());
    if (vlanTpid >= 0) {
      put16(static_cast<uint16_t>(vlanTpid));
      put16(vid);
    }
    put16(type);
  }
  void put16(uint16_t v) {
    b.push_back(static_cast<uint8_t>(v >> 8));
    b.push_back(static_cast<uint8_t>(v));
  }
  // Header with an explicit 9-bit length (which may disagree with the value).
  Frame& raw(uint8_t type, uint16_t len, const Bytes& value) {
    b.push_back(static_cast<uint8_t>((type << 1) | ((len >> 8) & 1)));
    b.push_back(static_cast<uint8_t>(len));
    b.insert(b.end(), value.begin(), value.end());
    return *this;
  }
  Frame& tlv(uint8_t type, const Bytes& value) {
    return raw(type, static_cast<uint16_t>(value.size()), value);
  }
  Frame& chassis(const std::string& id, uint8_t sub = 7) {
    Bytes v{sub};
    v.insert(v.end(), id.begin(), id.end());
    return tlv(1, v);
  }
  Frame& port(const std::string& id, uint8_t sub = 5) {
    Bytes v{sub};
    v.insert(v.end(), id.begin(), id.end());
    return tlv(2, v);
  }
  Frame& ttl(uint16_t t) { return tlv(3, {static_cast<uint8_t>(t >> 8), static_cast<uint8_t>(t)}); }
  Frame& end() { return tlv(0, {}); }
  Frame& org(const Bytes& oui, uint8_t subtype, const Bytes& data) {
    Bytes v = oui;
    v.push_back(subtype);
    v.insert(v.end(), data.begin(), data.end());
    return tlv(127, v);
  }
  Frame& pad(size_t n) {
    b.insert(b.end(), n, 0);
    return *this;
  }
  // The three mandatory TLVs.
  Frame& head(const std::string& chassisId = "chassis-A", const std::string& portId = "port-1",
              uint16_t t = 120) {
    return chassis(chassisId).port(portId).ttl(t);
  }
};

inline const Bytes kDot1{0x00, 0x80, 0xC2};
inline const Bytes kDot3{0x00, 0x12, 0x0F};
inline const Bytes kMed{0x00, 0x12, 0xBB};
inline const Bytes kPriv{0x00, 0xE0, 0xFC};
inline const Bytes kDcbx{0x00, 0x1B, 0x21};

// A typical neighbour's LLDPDU (about 300 bytes, every TLV family).
inline Frame typicalNeighbour(const std::string& chassis, const std::string& sysName = "access-sw-17", uint16_t ttl = 120) {
  Frame f;
  f.head(chassis, "GigabitEthernet1/0/24", ttl)
      .tlv(4, str("uplink to distribution switch, rack 7"))
      .tlv(5, str(sysName))
      .tlv(6, str("Switch OS 15.2(7)E3, compiled 2026-03-01 by release engineering"))
      .tlv(7, {0x00, 0x14, 0x00, 0x04})
      .tlv(8, {5, 1, 10, 1, 7, 17, 2, 0, 0, 0, 24, 11, 0x06, 0x09, 0x2B, 0x06, 0x01, 0x02, 0x01, 0x04, 0x14, 0x01, 0x01})
      .org(kDot1, 1, {0x00, 0x64})
      .org(kDot1, 3, {0x00, 0x64, 5, 'u', 's', 'e', 'r', 's'})
      .org(kDot1, 4, {2, 0x88, 0x8E})
      .org(kDot3, 1, {0x03, 0x6C, 0x01, 0x00, 0x1E})
      .org(kDot3, 2, {0x0F, 0x01, 0x04})
      .org(kDot3, 3, {0x03, 0x00, 0x00, 0x00, 0x00})
      .org(kDot3, 4, {0x05, 0xF2})
      .org(kMed, 1, {0x00, 0x33, 0x04})
      .org(kMed, 2, {0x01, 0x40, 0x15, 0x6E})
      .org(kMed, 4, {0x12, 0x01, 0x2C})
      .org(kMed, 5, str("HW 2.1"))
      .org(kPriv, 1, {0x00, 0x14})
      .end();
  return f;
}

// Receive counters of a port and of the agent, for before/after deltas.
struct Counters {
  uint32_t discarded, inErrors, in, tlvDiscarded, tlvUnrecognized, ageouts;
  uint32_t gDiscarded, gInErrors, gIn, gTlvDiscarded, gTlvUnrecognized;
  uint32_t drops, inserts, deletes, tableAgeouts;
  static Counters of(const LldpPort* p) {
    const uint32_t* g = gLldpInfo.globalStatsBlock;
    return {p->statsFramesDiscardedTotal, p->statsFramesInErrorsTotal, p->statsFramesInTotal,
            p->statsTLVsDiscardedTotal, p->statsTLVsUnrecognizedTotal, p->statsAgeoutsTotal,
            g[LLDP_GSTAT_FRAMES_DISCARDED], g[LLDP_GSTAT_FRAMES_IN_ERRORS], g[LLDP_GSTAT_FRAMES_IN],
            g[LLDP_GSTAT_TLVS_DISCARDED], g[LLDP_GSTAT_TLVS_UNRECOGNIZED],
            gLldpInfo.statsRemTablesDrops, gLldpInfo.statsRemTablesInserts,
            gLldpInfo.statsRemTablesDeletes, gLldpInfo.statsRemTablesAgeouts};
  }
};

// An agent on the simulated platform with receiving ports 1.. (named ge1..).
struct Agent {
  std::vector<LldpPort*> ports;

  explicit Agent(uint32_t maxRems = 64, uint32_t ext = 31, int nports = 1, uint32_t txTTL = 120) {
    sim::reset();
    sim::setOctets(sim::Svc::Scalar, 0, 39, kPriv);
    lldpInit(maxRems, ext, 0, LLDP_MODE_STANDARD, LLDP_ADMIN_TXRX, 1, 0, 0, 0);
    for (int i = 1; i <= nports; ++i) {
      const auto u = static_cast<uint32_t>(i);
      sim::addInterface(u, "ge" + std::to_string(i), 100 + u,
                        {0x00, 0xAA, 0xBB, 0x00, 0x00, static_cast<uint8_t>(i)});
      LldpPort* p = lldpPortEntryAdd(u);
      lldpPortEntryInit(p, LLDP_ADMIN_TXRX);
      p->portStatus = 1;
      p->txTTL = static_cast<uint16_t>(txTTL);
      // Two runs: wait-operational -> initialise -> wait for frame.
      lldpRxStatemachineRun(p);
      lldpRxStatemachineRun(p);
      ports.push_back(p);
    }
    gLldpInfo.debugFlags = 0x1FF;  // every trace, so that tests see them
    sim::clearLogLines();
  }
  ~Agent() {
    sim::failAllocation(0);
    for (LldpPort* p : ports) {
      lldpPortMsapCleanup(p);
      lldpPortEntryDel(p);
    }
    silMemPoolDestroy(&gLldpInfo.portPool);
  }
  Agent(const Agent&) = delete;
  Agent& operator=(const Agent&) = delete;
  LldpPort* port(int i = 1) { return ports[static_cast<size_t>(i - 1)]; }

  // Hands a frame to a port as the protocol task does; returns the result.
  uint8_t recv(const Bytes& frame, int i = 1) {
    static const uint8_t aux[32] = {};
    LldpPort* p = port(i);
    lldpMsgRecv(p, aux, frame.data(), static_cast<uint32_t>(frame.size()));
    return p->rxResult;
  }
  uint8_t recv(const Frame& f, int i = 1) { return recv(f.b, i); }

  // One second of the machine for every port (receive side only).
  void tick() {
    sim::advanceMs(1000);
    for (LldpPort* p : ports) {
      if (p->adminStatus != LLDP_ADMIN_DISABLED) lldpRxUpdateTimers(p);
      if (p->adminStatus & LLDP_ADMIN_RX) lldpRxStatemachineRun(p);
    }
  }
};

// The port's neighbours, front (newest) to back (oldest).
inline std::vector<Msap*> neighbours(LldpPort* p) {
  std::vector<Msap*> v;
  if (p->msapList.next == nullptr) return v;
  for (LldpListHead* l = p->msapList.next; l != &p->msapList; l = l->next) v.push_back(lldpMsapFromLink(l));
  return v;
}

inline std::string text(const uint8_t* p, size_t n) {
  return p ? std::string(reinterpret_cast<const char*>(p), n) : std::string();
}

}  // namespace rxtest
