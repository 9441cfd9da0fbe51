// The LLDP-MIB's data from a running agent, through the client library.
//
// Each section is read whole (one walk or one batch of Gets) the first time a
// request needs it and then served for `maxAge`, so that the many requests
// of one walk see one consistent view and cost the agent one read; an event
// of the agent's stream or a Set makes the sections it touches be read again.
// When the agent cannot be reached, sections are missing (and not asked for
// again before `retryAfter`); the owner hears of every change of that state
// once.
#pragma once

#include <chrono>
#include <functional>
#include <string>

#include "client/lldp_client.h"
#include "snmp/lldp_source.h"

namespace lldpsnmp {

struct AgentSourceOptions {
  std::chrono::milliseconds maxAge{2000};
  std::chrono::milliseconds retryAfter{1000};
  int timeoutMs = 2000;  // longest wait for one reply
};

class AgentSource : public LldpSource {
 public:
  // Called when the agent becomes reachable (true) or unreachable (false,
  // with the reason), once per change.
  using StateChange = std::function<void(bool reachable, const std::string& detail)>;
  // Called when a section cannot be read although the agent answers (an
  // operation refused), with the reason.
  using ReadError = std::function<void(const std::string& what)>;

  AgentSource(std::string socketPath, AgentSourceOptions opt = {}, StateChange onState = {}, ReadError onError = {});

  std::shared_ptr<const GlobalData> globals() override;
  std::shared_ptr<const PortData> ports() override;
  std::shared_ptr<const LocalMgmtAddressData> localMgmtAddresses() override;
  std::shared_ptr<const NeighbourData> neighbours() override;
  std::shared_ptr<const ListData<lldpc::RemoteMgmtAddress>> remoteMgmtAddresses() override;
  std::shared_ptr<const ListData<lldpc::RemoteTlv>> remoteUnknownTlvs() override;
  std::shared_ptr<const ListData<lldpc::RemoteOrgTlv>> remoteOrgTlvs() override;
  std::shared_ptr<const ListData<lldpc::RemotePpvid>> remotePpvids() override;
  std::shared_ptr<const ListData<lldpc::RemoteVlanName>> remoteVlanNames() override;
  std::shared_ptr<const ListData<lldpc::RemoteProtocol>> remoteProtocols() override;
  std::shared_ptr<const ListData<lldpc::RemotePolicy>> remotePolicies() override;
  std::shared_ptr<const ListData<lldpc::RemoteLocation>> remoteLocations() override;
  void refresh(Refresh what) override;

  std::optional<uint32_t> setGlobal(uint32_t object, uint32_t value) override;
  std::optional<uint32_t> setPortInt(uint32_t unit, uint32_t object, uint32_t value) override;
  std::optional<uint32_t> setPortBytes(uint32_t unit, uint32_t object, const std::vector<uint8_t>& b) override;

  // Whether the last exchange with the agent went through (false before the
  // first).
  bool reachable() const { return state_ == State::Reachable; }
  // The agent answered again or went away, as the event stream saw it.
  void noteReachable(bool reachable, const std::string& detail = "");

  // How many sections were read from the agent (for tests and benchmarks).
  uint64_t reads() const { return reads_; }

 private:
  using Clock = std::chrono::steady_clock;
  template <class D>
  struct Slot {
    std::shared_ptr<const D> data;
    Clock::time_point at;
  };
  template <class D, class Read>
  std::shared_ptr<const D> section(Slot<D>& s, Read read);
  std::optional<uint32_t> set(const CmdRequest& req);

  lldpc::Client client_;
  AgentSourceOptions opt_;
  StateChange onState_;
  ReadError onError_;
  enum class State { Unknown, Reachable, Unreachable } state_ = State::Unknown;
  Clock::time_point retryAt_{};
  uint64_t reads_ = 0;

  Slot<GlobalData> globals_;
  Slot<PortData> ports_;
  Slot<LocalMgmtAddressData> localAddrs_;
  Slot<NeighbourData> neighbours_;
  Slot<ListData<lldpc::RemoteMgmtAddress>> remAddrs_;
  Slot<ListData<lldpc::RemoteTlv>> remUnknown_;
  Slot<ListData<lldpc::RemoteOrgTlv>> remOrg_;
  Slot<ListData<lldpc::RemotePpvid>> remPpvids_;
  Slot<ListData<lldpc::RemoteVlanName>> remVlanNames_;
  Slot<ListData<lldpc::RemoteProtocol>> remProtocols_;
  Slot<ListData<lldpc::RemotePolicy>> remPolicies_;
  Slot<ListData<lldpc::RemoteLocation>> remLocations_;
};

}  // namespace lldpsnmp
