// What the LLDP-MIB view reads and changes: the agent's objects, in
// sections that are read whole (each one walk or one batch of Gets through
// the client library), and the management Sets that change them.
//
// A section is a shared_ptr to data that never changes once read; null means
// the agent cannot be reached now. AgentSource (lldp_agent_source.h) reads
// the sections from a running agent and keeps them a short while; the tests
// hand in their own.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <vector>

#include "client/lldp_objects.h"

namespace lldpsnmp {

struct GlobalData {
  lldpc::GlobalConfig config;
  lldpc::LocalSystem local;
  lldpc::GlobalStats stats;
};

struct PortData {
  std::vector<lldpc::PortInfo> ports;
};

// One address of the local management-address table: the agent-wide and
// the per-port rows merged by address (an address configured in both is
// one row; the agent-wide row's values win).
struct LocalMgmtAddress {
  lldpc::MgmtAddress addr;
  uint32_t addrLen = 0;
  uint32_t ifSubtype = 0, ifId = 0;
  std::vector<uint32_t> oid;
};
struct LocalMgmtAddressData {
  std::vector<LocalMgmtAddress> rows;
};
LocalMgmtAddressData mergeLocalMgmtAddresses(const std::vector<lldpc::ManAddrRow>& agentWide,
                                             const std::vector<lldpc::ManAddrRow>& perPort);

struct NeighbourData {
  std::vector<lldpc::Neighbour> neighbours;  // every field, lists left empty
};

// The remote records' lists, each across every neighbour.
template <class E>
struct ListData {
  std::vector<E> entries;
};

class LldpSource {
 public:
  virtual ~LldpSource() = default;

  virtual std::shared_ptr<const GlobalData> globals() = 0;
  virtual std::shared_ptr<const PortData> ports() = 0;
  virtual std::shared_ptr<const LocalMgmtAddressData> localMgmtAddresses() = 0;
  virtual std::shared_ptr<const NeighbourData> neighbours() = 0;
  virtual std::shared_ptr<const ListData<lldpc::RemoteMgmtAddress>> remoteMgmtAddresses() = 0;
  virtual std::shared_ptr<const ListData<lldpc::RemoteTlv>> remoteUnknownTlvs() = 0;
  virtual std::shared_ptr<const ListData<lldpc::RemoteOrgTlv>> remoteOrgTlvs() = 0;
  virtual std::shared_ptr<const ListData<lldpc::RemotePpvid>> remotePpvids() = 0;
  virtual std::shared_ptr<const ListData<lldpc::RemoteVlanName>> remoteVlanNames() = 0;
  virtual std::shared_ptr<const ListData<lldpc::RemoteProtocol>> remoteProtocols() = 0;
  virtual std::shared_ptr<const ListData<lldpc::RemotePolicy>> remotePolicies() = 0;
  virtual std::shared_ptr<const ListData<lldpc::RemoteLocation>> remoteLocations() = 0;

  // Makes the next reads ask the agent again: after a remote-table change
  // the neighbours, their lists and the statistics; after the agent came
  // back, everything.
  enum class Refresh { Remote, All };
  virtual void refresh(Refresh what) = 0;

  // The management Sets (global objects, operation 2; port objects,
  // operation 7). The result is the operation's code, nullopt when the agent
  // cannot be reached. A Set makes the sections it touches be read again.
  virtual std::optional<uint32_t> setGlobal(uint32_t object, uint32_t value) = 0;
  virtual std::optional<uint32_t> setPortInt(uint32_t unit, uint32_t object, uint32_t value) = 0;
  virtual std::optional<uint32_t> setPortBytes(uint32_t unit, uint32_t object, const std::vector<uint8_t>& b) = 0;
};

}  // namespace lldpsnmp
