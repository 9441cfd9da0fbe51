// Stack synchronisation speed and size: one typical neighbour's record
// encoded, decoded and applied; and the whole-state send of 10,000
// neighbours (100 ports of 100), with the bytes and buffers it makes and the
// time a peer takes to apply those records one message at a time (as the
// Linux stack transport delivers them).
#include <benchmark/benchmark.h>

#include "base/lldp_wire.h"
#include "sync/sync_test_util.h"

using namespace rxtest;
using namespace synctest;

namespace {

struct QuietUnit : Unit {
  explicit QuietUnit(uint32_t maxRems = 64, int nports = 2) : Unit(maxRems, 31, nports) {
    gLldpInfo.debugFlags = 0x100;
    sim::setLogRecording(false);
  }
};

void BM_SyncEncodeTypical(benchmark::State& state) {
  QuietUnit a;
  a.recv(typicalNeighbour("chassis-0001"));
  const Msap* m = neighbours(a.port())[0];
  Bytes buf(LLDP_SYNC_BUF_LEN);
  uint32_t n = 0;
  for (auto _ : state) {
    n = lldpSyncPortMsapBuild(a.port(), m, buf.data(), LLDP_SYNC_BUF_LEN, LLDP_SYNC_UPDATE);
    benchmark::DoNotOptimize(buf.data());
  }
  state.SetLabel(std::to_string(n) + " octets");
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) * n);
}
BENCHMARK(BM_SyncEncodeTypical);

// Decode and apply as a refresh of the record already held (the common case:
// the owner unit forwards every refresh of its neighbour).
void BM_SyncDecodeTypicalRefresh(benchmark::State& state) {
  QuietUnit a;
  a.recv(typicalNeighbour("chassis-0001"));
  Bytes msg(LLDP_SYNC_BUF_LEN);
  msg.resize(lldpSyncPortMsapBuild(a.port(1), neighbours(a.port(1))[0], msg.data(), LLDP_SYNC_BUF_LEN, 2));
  lldpPut32(msg.data() + 5, 2);  // as if learnt on the other port
  sim::setInt(sim::Svc::Hw, 0, 54, 1);  // apply only, forward nothing
  for (auto _ : state) lldpSyncMsapRecv(msg.data(), static_cast<uint32_t>(msg.size()));
  if (neighbours(a.port(2)).size() != 1) state.SkipWithError("not applied");
  state.SetLabel(std::to_string(msg.size()) + " octets");
}
BENCHMARK(BM_SyncDecodeTypicalRefresh);

// Encode, then decode and insert as a new neighbour, then delete it again.
void BM_SyncEncodeDecodeNewThenDelete(benchmark::State& state) {
  QuietUnit a;
  a.recv(typicalNeighbour("chassis-0001"));
  const Msap* m = neighbours(a.port(1))[0];
  sim::setInt(sim::Svc::Hw, 0, 54, 1);
  Bytes msg(LLDP_SYNC_BUF_LEN);
  for (auto _ : state) {
    const uint32_t n = lldpSyncPortMsapBuild(a.port(1), m, msg.data(), LLDP_SYNC_BUF_LEN, 2);
    lldpPut32(msg.data() + 5, 2);
    lldpSyncMsapRecv(msg.data(), n);
    lldpPortMsapCleanup(a.port(2));
  }
  if (gLldpInfo.statsRemTablesInserts != gLldpInfo.statsRemTablesDeletes + 1) state.SkipWithError("unbalanced");
}
BENCHMARK(BM_SyncEncodeDecodeNewThenDelete);

struct TenThousand {
  QuietUnit a{10000 + 16, 100};
  TenThousand() {
    sim::setInt(sim::Svc::Hw, 0, 54, 1);  // no forwarding while the table fills
    for (int p = 1; p <= 100; ++p)
      for (int n = 0; n < 100; ++n)
        a.recv(typicalNeighbour("c" + std::to_string(p) + "-" + std::to_string(n), "sw", 65535), p);
    sim::setInt(sim::Svc::Hw, 0, 54, 0);
  }
};

void BM_SyncWholeState10k(benchmark::State& state) {
  TenThousand t;
  if (gLldpInfo.memCurRems != 10000) state.SkipWithError("table not full");
  size_t bytes = 0, buffers = 0;
  for (auto _ : state) {
    state.PauseTiming();
    sim::reset();  // drop the recordings of the last round
    sim::setInt(sim::Svc::Hw, 0, 54, 0);
    state.ResumeTiming();
    lldpSyncAllSend(2, 1);
    state.PauseTiming();
    bytes = buffers = 0;
    for (const auto& c : sim::cmdSyncs()) bytes += c.bytes.size(), ++buffers;
    state.ResumeTiming();
  }
  state.counters["bytes"] = static_cast<double>(bytes);
  state.counters["buffers"] = static_cast<double>(buffers);
  state.counters["octets_per_record"] = static_cast<double>(bytes - 28 - 100 * 44) / 10000.0;
}
BENCHMARK(BM_SyncWholeState10k)->Unit(benchmark::kMillisecond);

// What a peer does with that state: every message applied on its own (new
// neighbours into an empty table), then the table emptied.
void BM_SyncApply10kMessages(benchmark::State& state) {
  std::vector<Bytes> messages;
  {
    TenThousand t;
    lldpSyncAllSend(2, 1);
    for (const auto& c : sim::cmdSyncs())
      for (size_t off = 0; off + 4 <= c.bytes.size();) {
        const size_t len = (c.bytes[off + 2] << 8) | c.bytes[off + 3];
        messages.emplace_back(c.bytes.begin() + long(off), c.bytes.begin() + long(off + len));
        off += len;
      }
  }
  QuietUnit b{10000 + 16, 100};
  sim::setInt(sim::Svc::Hw, 0, 54, 1);
  for (auto _ : state) {
    for (const Bytes& m : messages) lldpSyncMsapRecv(m.data(), static_cast<uint32_t>(m.size()));
    state.PauseTiming();
    if (gLldpInfo.memCurRems != 10000) state.SkipWithError("not every record applied");
    for (LldpPort* p : b.ports) lldpPortMsapCleanup(p);
    state.ResumeTiming();
  }
  state.counters["messages"] = static_cast<double>(messages.size());
}
BENCHMARK(BM_SyncApply10kMessages)->Unit(benchmark::kMillisecond);

}  // namespace
