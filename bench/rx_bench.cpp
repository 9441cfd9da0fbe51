// Receive path speed: a typical neighbour's frame (about 300 bytes, every TLV
// family) received as an unchanged refresh, as a change and as a new
// neighbour; and one second of the machine with 1024 ports of 4 neighbours.
#include <benchmark/benchmark.h>
#include <malloc.h>

#include <cstdio>
#include <string>
#include <vector>

#include "core/lldp_task.h"
#include "rx/rx_test_util.h"

using namespace rxtest;

namespace {

struct Quiet : Agent {
  explicit Quiet(uint32_t maxRems = 64, int nports = 1) : Agent(maxRems, 31, nports) {
    gLldpInfo.debugFlags = 0x100;
  }
};

void BM_RxUnchangedRefresh(benchmark::State& state) {
  Quiet a;
  const Frame f = typicalNeighbour("chassis-0001");
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
  const Frame f1 = typicalNeighbour("chassis-0001", "access-sw-17");
  const Frame f2 = typicalNeighbour("chassis-0001", "access-sw-18");
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
  const Frame f = typicalNeighbour("chassis-0001");
  const Frame bye = Frame().head("chassis-0001", "GigabitEthernet1/0/24", 0).end();
  for (auto _ : state) {
    a.recv(f);
    a.recv(bye);
  }
  if (gLldpInfo.statsRemTablesInserts != gLldpInfo.statsRemTablesDeletes) state.SkipWithError("unbalanced");
}
BENCHMARK(BM_RxNewNeighbourThenShutdown);

// The heap a learnt neighbour holds: 1,000 typical neighbours learnt on one
// port, the C heap in use (mallinfo2) before and after, per neighbour. The
// timing is of the learning of all 1,000.
void BM_RxHeapPerNeighbour(benchmark::State& state) {
  constexpr int kNeighbours = 1000;
  std::vector<Frame> frames;
  for (int i = 0; i < kNeighbours; ++i) {
    char name[32];
    std::snprintf(name, sizeof name, "chassis-%05d", i);
    frames.push_back(typicalNeighbour(name, std::string("access-sw-") + std::to_string(i)));
  }
  double perNeighbour = 0;
  for (auto _ : state) {
    state.PauseTiming();
    {
      Quiet a(kNeighbours + 8);
      a.recv(frames[0]);  // the port's own first allocations
      const size_t before = mallinfo2().uordblks;
      state.ResumeTiming();
      for (int i = 1; i < kNeighbours; ++i) a.recv(frames[static_cast<size_t>(i)]);
      state.PauseTiming();
      const size_t after = mallinfo2().uordblks;
      perNeighbour = static_cast<double>(after - before) / (kNeighbours - 1);
      if (gLldpInfo.memCurRems != kNeighbours) state.SkipWithError("not every neighbour learnt");
    }
    state.ResumeTiming();
  }
  state.counters["heap_bytes_per_neighbour"] = perNeighbour;
  state.SetLabel(std::to_string(frames[0].b.size()) + " bytes");
}
BENCHMARK(BM_RxHeapPerNeighbour)->Unit(benchmark::kMillisecond)->Iterations(5);

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
        a.recv(typicalNeighbour("c" + std::to_string(p) + "-" + std::to_string(n), "sw", 65535), p);
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
