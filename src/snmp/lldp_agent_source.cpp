// Sections read through the client library, kept for a short while.
#include "snmp/lldp_agent_source.h"

#include <map>

namespace lldpsnmp {

LocalMgmtAddressData mergeLocalMgmtAddresses(const std::vector<lldpc::ManAddrRow>& agentWide,
                                             const std::vector<lldpc::ManAddrRow>& perPort) {
  LocalMgmtAddressData d;
  std::map<std::pair<uint8_t, std::vector<uint8_t>>, bool> seen;
  for (const auto* rows : {&agentWide, &perPort})
    for (const lldpc::ManAddrRow& r : *rows) {
      if (!seen.emplace(std::make_pair(r.addr.subtype, r.addr.bytes), true).second) continue;
      d.rows.push_back(LocalMgmtAddress{r.addr, r.addrLen, r.ifSubtype, r.ifId, r.oid});
    }
  return d;
}

AgentSource::AgentSource(std::string socketPath, AgentSourceOptions opt, StateChange onState, ReadError onError)
    : client_(std::move(socketPath), lldpc::ClientOptions{opt.timeoutMs}),
      opt_(opt),
      onState_(std::move(onState)),
      onError_(std::move(onError)) {}

void AgentSource::noteReachable(bool reachable, const std::string& detail) {
  const State now = reachable ? State::Reachable : State::Unreachable;
  if (now == state_) return;
  state_ = now;
  if (onState_) onState_(reachable, detail);
}

template <class D, class Read>
std::shared_ptr<const D> AgentSource::section(Slot<D>& s, Read read) {
  const Clock::time_point now = Clock::now();
  if (s.data && now - s.at < opt_.maxAge) return s.data;
  // A walk asks for its sections again with every request: an agent that is
  // away is not asked again at once.
  if (state_ == State::Unreachable && now < retryAt_) return nullptr;
  try {
    auto d = std::make_shared<const D>(read(client_));
    ++reads_;
    s.data = d;
    s.at = now;
    noteReachable(true);
    return d;
  } catch (const lldpc::OperationError& e) {
    s.data.reset();
    noteReachable(true);
    if (onError_) onError_(e.what());
    return nullptr;
  } catch (const lldpc::Error& e) {
    s.data.reset();
    client_.close();
    retryAt_ = now + opt_.retryAfter;
    noteReachable(false, e.what());
    return nullptr;
  }
}

std::shared_ptr<const GlobalData> AgentSource::globals() {
  return section(globals_, [](lldpc::Client& c) {
    return GlobalData{lldpc::getGlobalConfig(c), lldpc::getLocalSystem(c), lldpc::getGlobalStats(c)};
  });
}

std::shared_ptr<const PortData> AgentSource::ports() {
  return section(ports_, [](lldpc::Client& c) { return PortData{lldpc::portWalk(c).all()}; });
}

std::shared_ptr<const LocalMgmtAddressData> AgentSource::localMgmtAddresses() {
  return section(localAddrs_, [](lldpc::Client& c) {
    return mergeLocalMgmtAddresses(lldpc::manAddrWalk(c).all(), lldpc::portManAddrWalk(c).all());
  });
}

std::shared_ptr<const NeighbourData> AgentSource::neighbours() {
  return section(neighbours_, [](lldpc::Client& c) { return NeighbourData{lldpc::neighbourFieldWalk(c).all()}; });
}

#define LLDPSNMP_LIST_SECTION(Name, Slot, E, walk)                                                   \
  std::shared_ptr<const ListData<lldpc::E>> AgentSource::Name() {                                    \
    return section(Slot, [](lldpc::Client& c) { return ListData<lldpc::E>{lldpc::walk(c).all()}; }); \
  }
LLDPSNMP_LIST_SECTION(remoteMgmtAddresses, remAddrs_, RemoteMgmtAddress, remoteMgmtAddresses)
LLDPSNMP_LIST_SECTION(remoteUnknownTlvs, remUnknown_, RemoteTlv, remoteUnknownTlvs)
LLDPSNMP_LIST_SECTION(remoteOrgTlvs, remOrg_, RemoteOrgTlv, remoteOrgTlvs)
LLDPSNMP_LIST_SECTION(remotePpvids, remPpvids_, RemotePpvid, remotePpvids)
LLDPSNMP_LIST_SECTION(remoteVlanNames, remVlanNames_, RemoteVlanName, remoteVlanNames)
LLDPSNMP_LIST_SECTION(remoteProtocols, remProtocols_, RemoteProtocol, remoteProtocols)
LLDPSNMP_LIST_SECTION(remotePolicies, remPolicies_, RemotePolicy, remotePolicies)
LLDPSNMP_LIST_SECTION(remoteLocations, remLocations_, RemoteLocation, remoteLocations)
#undef LLDPSNMP_LIST_SECTION

void AgentSource::refresh(Refresh what) {
  // The slots drop their data; tables that still hold it keep serving it
  // until they next ask.
  globals_.data.reset();
  neighbours_.data.reset();
  remAddrs_.data.reset();
  remUnknown_.data.reset();
  remOrg_.data.reset();
  remPpvids_.data.reset();
  remVlanNames_.data.reset();
  remProtocols_.data.reset();
  remPolicies_.data.reset();
  remLocations_.data.reset();
  if (what == Refresh::All) {
    ports_.data.reset();
    localAddrs_.data.reset();
    retryAt_ = {};
  }
}

std::optional<uint32_t> AgentSource::set(const CmdRequest& req) {
  try {
    const CmdReply r = client_.call(req);
    noteReachable(true);
    return r.rc;
  } catch (const lldpc::Error& e) {
    client_.close();
    noteReachable(false, e.what());
    return std::nullopt;
  }
}

std::optional<uint32_t> AgentSource::setGlobal(uint32_t object, uint32_t value) {
  auto rc = set(lldpc::intRequest(lldpc::op::kScalarSet, 0, object, value));
  // A global Set also gives every port fresh copies of the timers.
  globals_.data.reset();
  ports_.data.reset();
  return rc;
}

std::optional<uint32_t> AgentSource::setPortInt(uint32_t unit, uint32_t object, uint32_t value) {
  auto rc = set(lldpc::intRequest(lldpc::op::kPortSet, unit, object, value));
  ports_.data.reset();
  // A port that is re-initialised forgets its neighbours.
  if (object == lldpc::pobj::kAdminStatus) refresh(Refresh::Remote);
  return rc;
}

std::optional<uint32_t> AgentSource::setPortBytes(uint32_t unit, uint32_t object, const std::vector<uint8_t>& b) {
  auto rc = set(lldpc::bufSetRequest(lldpc::op::kPortSet, unit, object, b));
  ports_.data.reset();
  return rc;
}

}  // namespace lldpsnmp
