// Building an information LLDPDU in place in a port's transmit buffer: the
// default frame of a port, and a frame with every TLV family and every
// optional TLV enabled (the catalogue of the tshark cross-check). The
// simulated platform answers the providers, so the figures include its
// lookups.
#include <benchmark/benchmark.h>

#include "tx/lldp_tx.h"
#include "tx/tx_test_port.h"

namespace {

void BM_InfoFrameDefault(benchmark::State& state) {
  txtest::agentDefaults();
  txtest::Port port;
  for (auto _ : state) benchmark::DoNotOptimize(lldpMibConstrInfoLLDPDU(port.get()));
  state.counters["bytes"] = static_cast<double>(port->tx.sendsize);
}
BENCHMARK(BM_InfoFrameDefault);

void BM_InfoFrameEveryFamily(benchmark::State& state) {
  txtest::agentDefaults();
  txtest::Port port;
  txtest::enableEverything(port.get());
  for (auto _ : state) benchmark::DoNotOptimize(lldpMibConstrInfoLLDPDU(port.get()));
  state.counters["bytes"] = static_cast<double>(port->tx.sendsize);
}
BENCHMARK(BM_InfoFrameEveryFamily);

void BM_ShutdownFrame(benchmark::State& state) {
  txtest::agentDefaults();
  txtest::Port port;
  for (auto _ : state) benchmark::DoNotOptimize(lldpMibConstrShutdownLLDPDU(port.get()));
}
BENCHMARK(BM_ShutdownFrame);

}  // namespace
