// Events of the agent's stream -> SNMP notifications.
#include "snmp/lldp_notify.h"

#include "snmp/lldp_mib.h"

namespace lldpsnmp {

Notification remTablesChange(const lldpc::GlobalStats& s) {
  Notification n{mib::kRemTablesChange, {}};
  const uint32_t values[] = {s.remInserts, s.remDeletes, s.remDrops, s.remAgeouts};
  for (uint32_t i = 0; i < 4; ++i) n.varbinds.push_back({oidJoin(mib::kStats, {2 + i, 0}), Value::gauge(values[i])});
  return n;
}

Notification medTopologyChange(const lldpc::MedTrap& t) {
  const Oid index = remoteIndexOid(t.index);
  Notification n{mib::kMedTopologyChange, {}};
  n.varbinds.push_back(
      {oidJoin(oidJoin(mib::kRemEntry, {4}), index), Value::integer(static_cast<int32_t>(t.chassisIdSubtype))});
  n.varbinds.push_back({oidJoin(oidJoin(mib::kRemEntry, {5}), index), Value::octets(t.chassisId)});
  n.varbinds.push_back(
      {oidJoin(oidJoin(mib::kMedRemCapEntry, {3}), index), Value::integer(static_cast<int32_t>(t.medDeviceType))});
  return n;
}

std::optional<Notification> notificationFor(const lldpc::Event& e, LldpSource& src) {
  using K = lldpc::Event::Kind;
  switch (e.kind) {
    case K::Resumed:
      // Whatever happened while the stream was away is not known.
      src.refresh(LldpSource::Refresh::All);
      return std::nullopt;
    case K::Group:
      src.refresh(LldpSource::Refresh::Remote);
      return std::nullopt;
    case K::Trap: {
      src.refresh(LldpSource::Refresh::Remote);
      auto g = src.globals();
      if (!g) return std::nullopt;
      return remTablesChange(g->stats);
    }
    case K::MedTrap:
      src.refresh(LldpSource::Refresh::Remote);
      if (!e.medTrap) return std::nullopt;
      return medTopologyChange(*e.medTrap);
  }
  return std::nullopt;
}

}  // namespace lldpsnmp
