// lldpctl show neighbors: the brief table (one walk, one round trip per
// neighbour, the first management address read in the same round trip) and
// the detailed view (every field and every list, grouped by TLV family).
#include <algorithm>
#include <iostream>

#include "show.h"

namespace lldpctl {

// Fields both views (and lldpctl watch) share.
void neighbourBasicJson(Json& j, const lldpc::Neighbour& n, const PortNames& names, const std::optional<uint32_t>& upTime) {
  j["local_port"] = names.name(n.index.port);
  j["local_unit"] = n.index.port;
  j["remote_index"] = n.index.remIndex;
  j["chassis_id_subtype"] = chassisSubtypeName(n.chassisIdSubtype);
  j["chassis_id"] = idText(true, n.chassisIdSubtype, n.chassisId);
  j["port_id_subtype"] = portSubtypeName(n.portIdSubtype);
  j["port_id"] = idText(false, n.portIdSubtype, n.portId);
  j["port_description"] = n.portDescr;
  j["system_name"] = n.sysName;
  j["capabilities_supported"] = capabilityNames(n.capSupported);
  j["capabilities_enabled"] = capabilityNames(n.capEnabled);
  j["ttl_left_seconds"] = n.ttl;
  // The time mark is the agent's up-time when the neighbour was learnt.
  const uint64_t mark = static_cast<uint64_t>(n.index.timeMarkHigh) << 32 | n.index.timeMarkLow;
  j["age_seconds"] = upTime && *upTime >= mark ? Json(*upTime - mark) : Json(nullptr);
}

namespace {

Json mgmtAddrJson(const lldpc::RemoteMgmtAddress& m) {
  Json a;
  a["family"] = familyName(m.addr.subtype);
  a["address"] = m.addr.str();
  a["interface_subtype"] = ifSubtypeName(m.ifSubtype);
  a["interface_number"] = m.ifId;
  a["oid"] = oidText(m.oid);
  return a;
}

bool bit16(uint16_t map, unsigned n) { return map >> (15 - n) & 1; }

Json dot1Json(const lldpc::Neighbour::Dot1& d) {
  if (!d.tlvs) return nullptr;
  Json j;
  j["tlvs"] = bitNames(d.tlvs, 16, {"port_vlan_id", "port_protocol_vlan_id", "vlan_name", "protocol_identity"});
  j["pvid"] = bit16(d.tlvs, 0) ? Json(d.pvid) : Json(nullptr);
  Json pp = Json::array();
  for (const auto& e : d.ppvids) {
    Json x;
    x["ppvid"] = e.ppvid;
    x["supported"] = truth(e.supported);
    x["enabled"] = truth(e.enabled);
    pp.push_back(x);
  }
  j["ppvids"] = pp;
  Json vn = Json::array();
  for (const auto& e : d.vlanNames) {
    Json x;
    x["vlan_id"] = e.vlan;
    x["name"] = e.name;
    vn.push_back(x);
  }
  j["vlan_names"] = vn;
  Json pr = Json::array();
  for (const auto& e : d.protocols) pr.push_back(hexText(e.identity));
  j["protocol_identities"] = pr;
  return j;
}

Json dot3Json(const lldpc::Neighbour::Dot3& d) {
  if (!d.tlvs) return nullptr;
  Json j;
  j["tlvs"] = bitNames(d.tlvs, 16, {"mac_phy", "power_via_mdi", "link_aggregation", "max_frame_size"});
  j["mac_phy"] = nullptr;
  if (bit16(d.tlvs, 0)) {
    Json m;
    m["autoneg_supported"] = truth(d.autoNegSupported);
    m["autoneg_enabled"] = truth(d.autoNegEnabled);
    m["autoneg_advertised"] =
        bitNames(d.autoNegAdvertised, 16,
                 {"other", "10base_t", "10base_t_fd", "100base_t4", "100base_tx", "100base_tx_fd", "100base_t2",
                  "100base_t2_fd", "pause", "asymmetric_pause", "symmetric_pause", "asymmetric_and_symmetric_pause",
                  "1000base_x", "1000base_x_fd", "1000base_t", "1000base_t_fd"});
    m["mau_type"] = d.mauType;
    const std::string mau = mauTypeName(d.mauType);
    m["mau_type_name"] = mau == std::to_string(d.mauType) ? Json(nullptr) : Json(mau);
    j["mac_phy"] = m;
  }
  j["power"] = nullptr;
  if (bit16(d.tlvs, 1)) {
    Json p;
    p["port_class"] = d.powerPortClassPse == 1 ? "pse" : "pd";
    p["mdi_supported"] = truth(d.mdiPowerSupported);
    p["mdi_enabled"] = truth(d.mdiPowerEnabled);
    p["pair_control"] = truth(d.pairControl);
    p["pairs"] = nameOf(d.powerPairs, {{1, "signal"}, {2, "spare"}});
    p["class"] = d.powerClass ? Json(d.powerClass - 1) : Json(nullptr);
    const bool ext = d.extendedPower == 1;
    p["power_type"] = ext ? Json(nameOf(d.powerType, {{2, "type2_pse"}, {3, "type2_pd"}, {4, "type1_pse"},
                                                      {5, "type1_pd"}}))
                          : Json(nullptr);
    const bool pse = d.powerType == 2 || d.powerType == 4;
    p["source"] = !ext ? Json(nullptr)
                  : pse ? Json(nameOf(d.powerSource, {{1, "unknown"}, {2, "primary"}, {3, "backup"}}))
                        : Json(nameOf(d.powerSource, {{1, "unknown"}, {2, "pse"}, {3, "local"}, {4, "pse_and_local"}}));
    p["priority"] =
        ext ? Json(nameOf(d.powerPriority, {{1, "unknown"}, {2, "critical"}, {3, "high"}, {4, "low"}})) : Json(nullptr);
    p["requested_watts"] = ext ? Json(d.pdRequested / 10.0) : Json(nullptr);
    p["allocated_watts"] = ext ? Json(d.pseAllocated / 10.0) : Json(nullptr);
    j["power"] = p;
  }
  j["link_aggregation"] = nullptr;
  if (bit16(d.tlvs, 2)) {
    Json a;
    a["capable"] = (d.linkAggStatus & 0x80) != 0;
    a["aggregated"] = (d.linkAggStatus & 0x40) != 0;
    a["port_id"] = d.aggPortId;
    j["link_aggregation"] = a;
  }
  j["max_frame_size"] = bit16(d.tlvs, 3) ? Json(d.maxFrameSize) : Json(nullptr);
  return j;
}

Json medJson(const lldpc::Neighbour::Med& m) {
  if (!m.tlvs) return nullptr;
  Json j;
  j["tlvs"] = bitNames(m.tlvs, 16, {"capabilities", "network_policy", "location", "extended_power_pse",
                                    "extended_power_pd", "inventory"});
  j["device_class"] = medDeviceClassName(m.deviceClass);
  // As received: capability n is bit n of the value.
  Json caps = Json::array();
  const char* capNames[] = {"capabilities", "network_policy", "location", "extended_power_pse",
                            "extended_power_pd", "inventory"};
  for (unsigned n = 0; n < 16; ++n)
    if (m.capabilities >> n & 1) caps.push_back(n < 6 ? std::string(capNames[n]) : "bit_" + std::to_string(n));
  j["capabilities"] = caps;
  Json pol = Json::array();
  for (const auto& p : m.policies) pol.push_back(policyJson(p.policy));
  j["policies"] = pol;
  Json loc = Json::array();
  for (const auto& l : m.locations) loc.push_back(locationJson(l.format, l.data));
  j["locations"] = loc;
  j["power"] = nullptr;
  if (bit16(m.tlvs, 3) || bit16(m.tlvs, 4)) {
    Json p;
    const bool pse = m.powerType == 2;
    p["device_type"] = nameOf(m.powerType, {{2, "pse"}, {3, "pd"}});
    p["source"] = pse ? nameOf(m.powerSource, {{1, "unknown"}, {2, "primary"}, {3, "backup"}})
                      : nameOf(m.powerSource, {{1, "unknown"}, {2, "pse"}, {3, "local"}, {4, "pse_and_local"}});
    p["priority"] = nameOf(m.powerPriority, {{1, "unknown"}, {2, "critical"}, {3, "high"}, {4, "low"}});
    p["power_watts"] = m.powerValue / 10.0;
    j["power"] = p;
  }
  j["inventory"] = bit16(m.tlvs, 5) ? inventoryJson(m.inventory) : Json(nullptr);
  return j;
}

Json privJson(const lldpc::Neighbour::Priv& p) {
  if (!p.tlvs) return nullptr;
  Json j;
  j["tlvs"] = privateTlvs(p.tlvs);
  j["capabilities"] = bitNames(p.supported, 16, {});
  j["system_oid"] = p.sysOid.empty() ? Json(nullptr) : Json(printableOrHex(p.sysOid));
  Json inv = inventoryJson(p.inventory);
  bool any = false;
  for (const auto& v : inv) any = any || !v.get<std::string>().empty();
  j["inventory"] = any ? inv : Json(nullptr);
  return j;
}

Json detailJson(const lldpc::Neighbour& n, const PortNames& names, const std::optional<uint32_t>& upTime) {
  Json j;
  neighbourBasicJson(j, n, names, upTime);
  j["system_description"] = n.sysDescr;
  j["rx_vlan"] = n.rxVlan ? Json(n.rxVlan) : Json(nullptr);
  Json addrs = Json::array();
  for (const auto& m : n.mgmtAddresses) addrs.push_back(mgmtAddrJson(m));
  j["management_addresses"] = addrs;
  j["dot1"] = dot1Json(n.dot1);
  j["dot3"] = dot3Json(n.dot3);
  j["med"] = medJson(n.med);
  j["private"] = privJson(n.priv);
  Json unk = Json::array();
  for (const auto& t : n.unknownTlvs) {
    Json x;
    x["type"] = t.type;
    x["length"] = t.info.size();
    x["value"] = hexText(t.info);
    unk.push_back(x);
  }
  j["unknown_tlvs"] = unk;
  Json org = Json::array();
  for (const auto& t : n.orgTlvs) {
    Json x;
    char oui[12];
    std::snprintf(oui, sizeof oui, "%02x:%02x:%02x", t.oui >> 16 & 0xFF, t.oui >> 8 & 0xFF, t.oui & 0xFF);
    x["oui"] = oui;
    x["subtype"] = t.subtype;
    x["length"] = t.info.size();
    x["value"] = hexText(t.info);
    org.push_back(x);
  }
  j["other_org_tlvs"] = org;
  return j;
}

// Neighbours of the chosen ports, grouped by port (ports in unit order, each
// port's neighbours in the table's order).
template <class T>
void byPort(std::vector<T>& v) {
  std::stable_sort(v.begin(), v.end(), [](const T& a, const T& b) { return a.index.port < b.index.port; });
}

}  // namespace

int showNeighbors(const Common& common, const std::vector<std::string>& args) {
  bool detail = false;
  std::vector<std::string> portArgs;
  for (size_t i = 0; i < args.size(); ++i) {
    if ((args[i] == "brief" || args[i] == "detail") && i + 1 == args.size()) {
      detail = args[i] == "detail";
    } else {
      portArgs.push_back(args[i]);
    }
  }
  lldpc::Client c(common.socket);
  const PortNames names(c);
  std::vector<uint32_t> only;
  for (const auto& a : portArgs) {
    if (!a.empty() && a[0] == '-') throw UsageError{"unknown option " + a};
    only.push_back(names.resolve(a));
  }
  auto wanted = [&only](uint32_t port) {
    return only.empty() || std::find(only.begin(), only.end(), port) != only.end();
  };
  const auto upTime = lldpc::agentUptime(c);

  Json list = Json::array();
  std::vector<uint16_t> capsEnabled;  // the brief table's letters
  if (!detail) {
    std::vector<lldpc::Neighbour> all;
    for (auto& n : lldpc::neighboursBrief(c))
      if (wanted(n.index.port)) all.push_back(std::move(n));
    byPort(all);
    for (const auto& n : all) {
      Json j;
      neighbourBasicJson(j, n, names, upTime);
      j["management_address"] = n.mgmtAddresses.empty() ? Json(nullptr) : Json(n.mgmtAddresses[0].addr.str());
      list.push_back(std::move(j));
      capsEnabled.push_back(n.capEnabled);
    }
  } else {
    std::vector<lldpc::Neighbour> all;
    if (only.empty()) {
      all = lldpc::neighboursDetail(c);
    } else {
      for (const auto& i : lldpc::neighbourIndexes(c))
        if (wanted(i.port))
          if (auto n = lldpc::getNeighbourDetail(c, i)) all.push_back(std::move(*n));
    }
    byPort(all);
    for (const auto& n : all) list.push_back(detailJson(n, names, upTime));
  }
  Json doc;
  doc["neighbors"] = list;

  emit(common, doc, [&] {
    const Json& ns = doc["neighbors"];
    if (!detail) {
      // 80 columns: 9 + 17 + 12 + 11 + 5 + 5 + 15 and the spaces between (a
      // stacked unit's port, "2/swp12", fits whole).
      std::string out;
      out.reserve(80 * (ns.size() + 2));
      auto col = [&out](const std::string& s, size_t w, bool last = false) {
        const std::string t = cell(s, w);
        out += t;
        if (!last) out.append(w + 1 - t.size(), ' ');
      };
      col("Local", 9);
      col("Chassis ID", 17);
      col("Port ID", 12);
      col("System name", 11);
      col("Caps", 5);
      col("Left", 5);
      col("Mgmt address", 15, true);
      out += '\n';
      for (size_t i = 0; i < ns.size(); ++i) {
        const Json& n = ns[i];
        col(n["local_port"].get<std::string>(), 9);
        col(n["chassis_id"].get<std::string>(), 17);
        col(n["port_id"].get<std::string>(), 12);
        col(n["system_name"].get<std::string>(), 11);
        col(capabilityLetters(capsEnabled[i]), 5);
        col(n["ttl_left_seconds"].dump(), 5);
        col(n["management_address"].is_string() ? n["management_address"].get<std::string>() : "", 15, true);
        out += '\n';
      }
      out += "\nTotal entries displayed: " + std::to_string(ns.size()) + "\n";
      std::cout << out;
      return;
    }
    std::string port;
    for (const auto& n : ns) {
      const std::string p = n["local_port"].get<std::string>();
      if (p != port) {
        std::cout << (port.empty() ? "" : "\n") << "LLDP remote-information of port " << p << "\n";
        port = p;
      }
      std::cout << "\n";
      Json body = n;
      body.erase("local_port");
      renderText(std::cout, body, 2);
    }
    std::cout << "\nTotal entries displayed: " << ns.size() << "\n";
  });
  return kExitOk;
}

}  // namespace lldpctl
