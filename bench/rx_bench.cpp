// Receive path speed: a typical neighbour's frame (about 300 bytes, every TLV
// family) received as an unchanged refresh, as a change and as a new
// neighbour; and one second of the machine with 1024 ports of 4 neighbours.
#include <benchmark/benchmark.h>

#include "core/lldp_task.h"
#include "rx/rx_test_util.h"

using namespace rxtest;

namespace {

Frame typical(const std::string& chassis, const std::string& sysName = "access-sw-17", uint16_t ttl = 120) {
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

struct Quiet : Agent {
  explicit Quiet(uint32_t maxRems = 64, int nports = 1) : Agent(maxRems, 31, nports) {
    gLldpInfo.debugFlags = 0x100;
  }
};

void BM_RxUnchangedRefresh(benchmark::State& state) {
  Quiet a;
  const Frame f = typical("chassis-0001");
  state.SetLabel(std::to_string(f.b.size()) + " bytes");
  a.recv(f);
  for (auto _ : state) {
    a.recv(f);
  }
  if (a.port()->rxResult != RX_FRAME_OK || gLldpInfo.statsRemTablesInserts != 1) state.SkipWithError("not a refresh");
}
BENCHMARK(BM_RxUnchangedRefresh);

void BM_RxChange(benchmark::State& state) {
  Quiet a;
  const Frame f1 = typical("chassis-0001", "access-sw-17");
  const Frame f2 = typical("chassis-0001", "access-sw-18");
  a.recv(f1);
  bool odd = false;
  for (auto _ : state) {
    a.recv(odd ? f1 : f2);
    odd = !odd;
  }
  if (gLldpInfo.statsRemTablesInserts != 1 || neighbours(a.port()).size() != 1) state.SkipWithError("not a change");
}
BENCHMARK(BM_RxChange);

// A new neighbour each time; its shutdown frame then deletes it, so that the
// port keeps a short list. One iteration is the insert and the delete.
void BM_RxNewNeighbourThenShutdown(benchmark::State& state) {
  Quiet a;
  const Frame f = typical("chassis-0001");
  const Frame bye = Frame().head("chassis-0001", "GigabitEthernet1/0/24", 0).end();
  for (auto _ : state) {
    a.recv(f);
    a.recv(bye);
  }
  if (gLldpInfo.statsRemTablesInserts != gLldpInfo.statsRemTablesDeletes) state.SkipWithError("unbalanced");
}
BENCHMARK(BM_RxNewNeighbourThenShutdown);

// The shutdown half alone, to split the pair above.
void BM_RxShutdownOfUnknownNeighbour(benchmark::State& state) {
  Quiet a;
  const Frame bye = Frame().head("chassis-0001", "GigabitEthernet1/0/24", 0).end();
  for (auto _ : state) a.recv(bye);
}
BENCHMARK(BM_RxShutdownOfUnknownNeighbour);

struct BigAgent {
  Quiet a{1024 * 4 + 16, 1024};
  BigAgent() {
    for (int p = 1; p <= 1024; ++p)
      for (int n = 0; n < 4; ++n)
        a.recv(typical("c" + std::to_string(p) + "-" + std::to_string(n), "sw", 65535), p);
  }
  void refresh() {
    for (LldpPort* p : a.ports)
      for (Msap* m : neighbours(p)) m->rxInfoTTL = 65535;
  }
};

// The receive part of one machine second: timers and machine of each port.
void BM_MachineSecondReceive(benchmark::State& state) {
  BigAgent b;
  uint32_t seconds = 0;
  for (auto _ : state) {
    for (LldpPort* p : b.a.ports) {
      lldpRxUpdateTimers(p);
      lldpRxStatemachineRun(p);
    }
    if (++seconds == 60000) {  // keep the neighbours from ageing out
      state.PauseTiming();
      b.refresh();
      seconds = 0;
      state.ResumeTiming();
    }
  }
  if (gLldpInfo.memCurRems != 4096) state.SkipWithError("neighbours lost");
}
BENCHMARK(BM_MachineSecondReceive)->Unit(benchmark::kMicrosecond);

// The whole lldpMachine second (receive and transmit sides; frames are sent
// whenever the transmit machines decide so).
void BM_LldpMachineSecond(benchmark::State& state) {
  BigAgent b;
  sim::setInt(sim::Svc::Hw, 0, 55, 1);
  uint32_t seconds = 0;
  for (auto _ : state) {
    lldpMachine(nullptr, nullptr);
    if (++seconds == 1000) {
      state.PauseTiming();
      sim::clearSentFrames();
      b.refresh();
      seconds = 0;
      state.ResumeTiming();
    }
  }
  if (gLldpInfo.memCurRems != 4096) state.SkipWithError("neighbours lost");
}
BENCHMARK(BM_LldpMachineSecond)->Unit(benchmark::kMicrosecond);

}  // namespace
