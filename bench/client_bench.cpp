// The client library over the real command socket: one global Get per round
// trip, a walk of 1,024 ports reading 8 objects of each (as the library walks:
// a row's Gets and the next GetNext in one round trip; and one call per round
// trip for comparison), and a walk of 10,000 neighbours with their basic
// fields.
//
// The server is the agent's own: its operation table (glldpFuncMap) over the
// Linux command server's loop (cmdServe) on a Unix socket, from a thread of
// this program, with the agent on the simulated platform holding 1,024 ports
// and 10,000 neighbours learnt from typical LLDPDUs. The simulated platform's
// lock is a counter, so the agent lock costs nothing here; on Linux it is an
// uncontended mutex per operation.
//
// With LLDP_BENCH_SOCKET set, the benchmarks talk to the agent at that path
// instead (bench/neighbours.sh runs them against a real lldpagent that has
// learnt 10,000 neighbours over a veth link).
#include <benchmark/benchmark.h>

#include <cstdlib>

#include "client/client_testutil.h"
#include "client/lldp_objects.h"
#include "rx/rx_test_util.h"

using namespace lldpc;

namespace {

constexpr int kPorts = 1024;
constexpr int kNeighbours = 10000;

rxtest::Frame typical(int i) {
  char chassis[32];
  std::snprintf(chassis, sizeof chassis, "chassis-%05d", i);
  rxtest::Frame f;
  f.head(chassis, "GigabitEthernet1/0/24", 65535)
      .tlv(4, rxtest::str("uplink to distribution switch, rack 7"))
      .tlv(5, rxtest::str("access-sw-" + std::to_string(i)))
      .tlv(6, rxtest::str("Switch OS 15.2(7)E3, compiled 2026-03-01 by release engineering"))
      .tlv(7, {0x00, 0x14, 0x00, 0x04})
      .tlv(8, {5,    1,    10,   1,    7,    17,   2,    0,    0,    0,    24,  11,
               0x06, 0x09, 0x2B, 0x06, 0x01, 0x02, 0x01, 0x04, 0x14, 0x01, 0x01})
      .org(rxtest::kDot1, 1, {0x00, 0x64})
      .org(rxtest::kDot1, 3, {0x00, 0x64, 5, 'u', 's', 'e', 'r', 's'})
      .org(rxtest::kDot3, 1, {0x03, 0x6C, 0x01, 0x00, 0x1E})
      .org(rxtest::kDot3, 4, {0x05, 0xF2})
      .org(rxtest::kMed, 1, {0x00, 0x33, 0x04})
      .org(rxtest::kMed, 2, {0x01, 0x40, 0x15, 0x6E})
      .org(rxtest::kMed, 5, rxtest::str("HW 2.1"))
      .end();
  return f;
}

// The socket of the agent under test: LLDP_BENCH_SOCKET, or the in-process
// agent built on first use.
const std::string& agentSocket() {
  static const std::string path = []() -> std::string {
    if (const char* p = std::getenv("LLDP_BENCH_SOCKET")) return p;
    static rxtest::Agent agent(kNeighbours, 31, kPorts);
    gLldpInfo.debugFlags = 0x100;
    sim::setLogRecording(false);
    for (int i = 0; i < kNeighbours; ++i) agent.recv(typical(i), i % kPorts + 1);
    std::string why;
    const std::string s = clienttest::serveAgent("bench", &why);
    if (s.empty()) std::fprintf(stderr, "client_bench: cannot serve the agent: %s\n", why.c_str());
    return s;
  }();
  return path;
}

bool served(benchmark::State& state, Client& c, uint32_t op, uint32_t object) {
  if (agentSocket().empty()) {
    state.SkipWithError("no agent socket");
    return false;
  }
  if (c.call(intRequest(op, 0, object)).rc == kUnknownObject) {
    state.SkipWithError("the agent does not serve this operation");
    return false;
  }
  return true;
}

void perRequest(benchmark::State& state, double requests) {
  state.counters["requests"] = requests;
  state.counters["per_request"] = benchmark::Counter(
      requests, benchmark::Counter::kIsIterationInvariantRate | benchmark::Counter::kInvert);
}

void BM_ScalarGet(benchmark::State& state) {
  Client c(agentSocket());
  if (!served(state, c, op::kScalarGet, gobj::kMsgTxInterval)) return;
  const CmdRequest req = intRequest(op::kScalarGet, 0, gobj::kMsgTxInterval);
  for (auto _ : state) benchmark::DoNotOptimize(c.call(req));
  perRequest(state, 1);
}
BENCHMARK(BM_ScalarGet)->UseRealTime();

// Eight integer objects of a port: status, notifications, port ID subtype
// and five counters.
constexpr uint32_t kPortObjects[8] = {pobj::kAdminStatus,     pobj::kNotifications, pobj::kPortIdSubtype,
                                      pobj::kFramesOut,       pobj::kFramesIn,      pobj::kFramesInErrors,
                                      pobj::kFramesDiscarded, pobj::kAgeouts};

// The library's walk: a port's eight Gets and the next GetNext in one round trip.
void BM_PortWalk8Objects(benchmark::State& state) {
  Client c(agentSocket());
  if (!served(state, c, op::kPortGet, pobj::kAdminStatus)) return;
  WalkPlan plan{op::kPortGetFirst,
                op::kPortGetNext,
                {},
                [](const std::vector<uint8_t>& key, std::vector<CmdRequest>& out) {
                  for (uint32_t obj : kPortObjects)
                    out.push_back(intRequest(op::kPortGet, keyWord(key, 4), obj));
                }};
  size_t ports = 0;
  for (auto _ : state) {
    Walk<uint32_t> w(c, plan, [](WalkStep& st) -> std::optional<uint32_t> {
      for (const CmdReply& r : st.replies)
        if (r.rc != kOk) return std::nullopt;
      return st.replies[0].value;
    });
    ports = w.all().size();
  }
  state.counters["ports"] = static_cast<double>(ports);
  perRequest(state, static_cast<double>(ports * 9 + 1));
}
BENCHMARK(BM_PortWalk8Objects)->Unit(benchmark::kMillisecond)->UseRealTime();

// The same walk with one request per round trip.
void BM_PortWalk8ObjectsOneCallEach(benchmark::State& state) {
  Client c(agentSocket());
  if (!served(state, c, op::kPortGet, pobj::kAdminStatus)) return;
  size_t ports = 0;
  for (auto _ : state) {
    ports = 0;
    CmdReply r = c.call(withKey(intRequest(op::kPortGetFirst, 0, 0), {}));
    while (r.rc == kOk) {
      const uint32_t unit = keyWord(r.key, 4);
      for (uint32_t obj : kPortObjects) benchmark::DoNotOptimize(c.call(intRequest(op::kPortGet, unit, obj)));
      ++ports;
      r = c.call(withKey(intRequest(op::kPortGetNext, 0, 0), r.key));
    }
  }
  state.counters["ports"] = static_cast<double>(ports);
  perRequest(state, static_cast<double>(ports * 9 + 1));
}
BENCHMARK(BM_PortWalk8ObjectsOneCallEach)->Unit(benchmark::kMillisecond)->UseRealTime();

// Every neighbour with chassis ID and subtype, port ID and subtype, port
// description, system name and description, capabilities and TTL.
void BM_NeighbourWalkBasicFields(benchmark::State& state) {
  Client c(agentSocket());
  if (!served(state, c, op::kRemSysGetFirst, 0)) return;
  size_t n = 0;
  for (auto _ : state) n = neighbours(c).all().size();
  state.counters["neighbours"] = static_cast<double>(n);
  perRequest(state, static_cast<double>(n * 11 + 1));
}
BENCHMARK(BM_NeighbourWalkBasicFields)->Unit(benchmark::kMillisecond)->UseRealTime();

}  // namespace
