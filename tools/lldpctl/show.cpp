// lldpctl show: the sub-commands and the local views (local system, ports,
// statistics, global settings). The neighbour views are show_neighbors.cpp.
#include "show.h"

#include <algorithm>
#include <iomanip>
#include <iostream>
#include <map>

namespace lldpctl {

namespace {

struct SubCommand {
  const char* name;
  const char* alias;
  int (*run)(const Common&, const std::vector<std::string>&);
  const char* usage;  // after "show "
};

const SubCommand kSubCommands[] = {
    {"neighbors", "neighbours", showNeighbors,
     "neighbors [PORT...] [brief|detail]\n"
     "\n"
     "The neighbours learnt, on every port or on the ports named (an interface\n"
     "name such as eth1, 2/eth1 for a port of stack unit 2, or a unit number).\n"
     "brief (the default) is one line per neighbour: local port, chassis ID, port\n"
     "ID, system name, capabilities enabled (B bridge, R router, W WLAN access\n"
     "point, T telephone, S station, P repeater, C DOCSIS, O other, c C-VLAN,\n"
     "s S-VLAN, t TPMR), seconds left before it ages out and its first management\n"
     "address. detail shows every field received, grouped by TLV family.\n"},
    {"local", nullptr, showLocal,
     "local\n"
     "\n"
     "This system as the agent advertises it: chassis ID, system name and\n"
     "description, capabilities, management addresses, LLDP-MED device class and\n"
     "inventory, and what each port sends.\n"},
    {"ports", nullptr, showPorts,
     "ports [PORT...]\n"
     "\n"
     "Each port's admin status, the TLVs it can and does send, its notification\n"
     "switch, VLAN names and protocol VLANs, LLDP-MED policies and location, and\n"
     "counters.\n"},
    {"statistics", nullptr, showStatistics,
     "statistics [PORT...]\n"
     "\n"
     "The remote table's statistics, the agent's counters and each port's\n"
     "counters, with when they were last cleared.\n"},
    {"config", nullptr, showConfig,
     "config\n"
     "\n"
     "The global settings: transmit interval, hold multiplier, reinit delay,\n"
     "transmit delay, LLDP-MED fast-start count, addressing mode, admin status,\n"
     "notification interval, trace mask.\n"},
};

const SubCommand* findSub(const std::string& name) {
  for (const auto& s : kSubCommands)
    if (name == s.name || (s.alias && name == s.alias)) return &s;
  return nullptr;
}

std::string firstLine(const char* usage) {
  const std::string u = usage;
  return u.substr(0, u.find('\n'));
}

void noArguments(const std::vector<std::string>& args, const char* what) {
  if (!args.empty()) throw UsageError{std::string("show ") + what + " takes no argument ('" + args[0] + "')"};
}

// Seconds since an up-time stamp of the agent; null when its up-time is
// unknown (a platform without operation 1001).
Json sinceJson(uint32_t stamp, const std::optional<uint32_t>& upTime) {
  if (!upTime || *upTime < stamp) return nullptr;
  return *upTime - stamp;
}

std::string sinceText(const Json& seconds) {
  if (!seconds.is_number()) return "unknown";
  return durationText(seconds.get<uint64_t>()) + " ago";
}

Json statsJson(const lldpc::PortStats& s, const std::optional<uint32_t>& upTime) {
  Json j;
  j["frames_out"] = s.framesOut;
  j["frames_in"] = s.framesIn;
  j["frames_in_errors"] = s.framesInErrors;
  j["frames_discarded"] = s.framesDiscarded;
  j["tlvs_discarded"] = s.tlvsDiscarded;
  j["tlvs_unrecognised"] = s.tlvsUnrecognised;
  j["ageouts"] = s.ageouts;
  j["neighbor_count"] = s.neighbours;
  j["med_neighbor_count"] = s.medNeighbours;
  j["cleared_at_uptime_seconds"] = s.countersCleared;
  j["seconds_since_cleared"] = sinceJson(s.countersCleared, upTime);
  return j;
}

Json basicTlvs(uint8_t map) {
  return bitNames(map, 8, {"port_description", "system_name", "system_description", "system_capabilities"});
}
Json dot1Tlvs(uint32_t map, uint32_t width) {
  return bitNames(map, width, {"port_vlan_id", "port_protocol_vlan_id", "vlan_name", "protocol_identity"});
}
Json dot3Tlvs(uint32_t map, uint32_t width) {
  return bitNames(map, width, {"mac_phy", "power_via_mdi", "link_aggregation", "max_frame_size"});
}
Json medTlvs(uint16_t map) {
  return bitNames(map, 16, {"capabilities", "network_policy", "location", "extended_power_pse",
                            "extended_power_pd", "inventory"});
}

// A port's TLV maps, by family.
Json tlvMaps(uint8_t basic, uint8_t dot1, uint8_t dot3, uint16_t med, uint16_t priv) {
  Json j;
  j["basic"] = basicTlvs(basic);
  j["dot1"] = dot1Tlvs(dot1, 8);
  j["dot3"] = dot3Tlvs(dot3, 8);
  j["med"] = medTlvs(med);
  j["private"] = privateTlvs(priv);
  return j;
}

}  // namespace

const char* const kShowUsage =
    "show neighbors [PORT...] [brief|detail]\n"
    "show local\n"
    "show ports [PORT...]\n"
    "show statistics [PORT...]\n"
    "show config\n"
    "\n"
    "lldpctl show COMMAND --help says more of each.\n";

int verbShow(const Common& common, const std::vector<std::string>& args) {
  if (args.empty() || args[0] == "-h" || args[0] == "--help") {
    if (args.empty()) throw UsageError{"show what?"};
    std::cout << "usage: lldpctl [-s SOCKET] [-f text|json] show COMMAND\n\n";
    for (const auto& s : kSubCommands) std::cout << "  show " << firstLine(s.usage) << "\n";
    return kExitOk;
  }
  const SubCommand* sub = findSub(args[0]);
  if (!sub) throw UsageError{"unknown command 'show " + args[0] + "'"};
  const std::vector<std::string> rest(args.begin() + 1, args.end());
  for (const auto& a : rest) {
    if (a == "-h" || a == "--help") {
      std::cout << "usage: lldpctl [-s SOCKET] [-f text|json] show " << sub->usage;
      return kExitOk;
    }
  }
  try {
    return sub->run(common, rest);
  } catch (UsageError& e) {
    if (e.synopsis) {
      printUsageError(e.message, (std::string("show ") + sub->usage).c_str(), std::string("show ") + sub->name);
      return kExitUsage;
    }
    throw;
  }
}

std::vector<uint32_t> selectedPorts(lldpc::Client& c, const PortNames& names, const std::vector<std::string>& args) {
  std::vector<uint32_t> units;
  for (const auto& a : args) {
    if (!a.empty() && a[0] == '-') throw UsageError{"unknown option " + a};
    const uint32_t u = names.resolve(a);
    if (std::find(units.begin(), units.end(), u) == units.end()) units.push_back(u);
  }
  if (args.empty())
    for (uint32_t u : lldpc::portUnits(c)) units.push_back(u);
  std::sort(units.begin(), units.end());
  return units;
}

// ---- show local ----------------------------------------------------------------------------
int showLocal(const Common& common, const std::vector<std::string>& args) {
  noArguments(args, "local");
  lldpc::Client c(common.socket);
  const PortNames names(c);
  const lldpc::LocalSystem sys = lldpc::getLocalSystem(c);
  const lldpc::GlobalConfig cfg = lldpc::getGlobalConfig(c);

  Json doc;
  doc["agent_version"] = sys.version;
  doc["chassis_id_subtype"] = chassisSubtypeName(sys.chassisIdSubtype);
  doc["chassis_id"] = sys.chassisId ? Json(idText(true, sys.chassisIdSubtype, *sys.chassisId)) : Json(nullptr);
  doc["system_name"] = sys.sysName ? Json(*sys.sysName) : Json(nullptr);
  doc["system_description"] = sys.sysDescr ? Json(*sys.sysDescr) : Json(nullptr);
  doc["capabilities_supported"] = capabilityNames(sys.capSupported);
  doc["capabilities_enabled"] = capabilityNames(sys.capEnabled);
  Json addrs = Json::array();
  for (const auto& m : lldpc::manAddrWalk(c)) {
    Json a;
    a["family"] = familyName(m.addr.subtype);
    a["address"] = m.addr.str();
    a["interface_subtype"] = ifSubtypeName(m.ifSubtype);
    a["interface_number"] = m.ifId;
    a["oid"] = oidText(m.oid);
    addrs.push_back(a);
  }
  doc["management_addresses"] = addrs;
  Json med;
  med["device_class"] = medDeviceClassName(cfg.medDeviceClass);
  med["poe_device_type"] = nameOf(sys.medPoeDeviceType, {{0, "none"}, {1, "pse"}, {2, "pd"}});
  med["pse_power_source"] = sys.psePowerSource ? Json(*sys.psePowerSource) : Json(nullptr);
  med["pd_power_watts"] = sys.pdPowerValue ? Json(*sys.pdPowerValue / 10.0) : Json(nullptr);
  med["pd_power_source"] = sys.pdPowerSource ? Json(*sys.pdPowerSource) : Json(nullptr);
  med["pd_power_priority"] = sys.pdPowerPriority ? Json(*sys.pdPowerPriority) : Json(nullptr);
  med["inventory"] = inventoryJson(sys.inventory);
  doc["med"] = med;

  std::map<uint32_t, Json> portAddrs;
  for (const auto& m : lldpc::portManAddrWalk(c)) portAddrs[m.unit].push_back(m.addr.str());
  Json ports = Json::array();
  for (const auto& p : lldpc::portWalk(c)) {
    Json j;
    j["port"] = names.name(p.unit);
    j["unit"] = p.unit;
    j["admin_status"] = adminStatusName(p.adminStatus);
    j["port_id_subtype"] = portSubtypeName(p.portIdSubtype);
    j["port_id"] = p.portId ? Json(idText(false, p.portIdSubtype, *p.portId)) : Json(nullptr);
    j["port_description"] = p.portDescr ? Json(*p.portDescr) : Json(nullptr);
    j["tlvs_sent"] = tlvMaps(p.basicEnabled, p.dot1Enabled, p.dot3Enabled, p.medEnabled, p.privEnabled);
    j["management_addresses"] = portAddrs.count(p.unit) ? portAddrs[p.unit] : Json::array();
    ports.push_back(j);
  }
  doc["ports"] = ports;

  emit(common, doc, [&] {
    Json head = doc;
    head.erase("ports");
    renderText(std::cout, head, 0);
    for (const auto& p : doc["ports"]) {
      std::cout << "\nLLDP local-information of port " << p["port"].get<std::string>() << "\n";
      Json body = p;
      body.erase("port");
      renderText(std::cout, body, 2);
    }
  });
  return kExitOk;
}

// ---- show ports ----------------------------------------------------------------------------
int showPorts(const Common& common, const std::vector<std::string>& args) {
  lldpc::Client c(common.socket);
  const PortNames names(c);
  const std::vector<uint32_t> units = selectedPorts(c, names, args);
  const auto upTime = lldpc::agentUptime(c);
  std::map<uint32_t, std::map<uint32_t, std::string>> vlanNames;
  for (const auto& v : lldpc::localVlanNames(c)) vlanNames[v.unit][v.vlan] = v.name;
  std::map<uint32_t, Json> policies, locations;
  for (const auto& p : lldpc::localPolicies(c)) policies[p.unit].push_back(policyJson(p.policy));
  for (const auto& l : lldpc::localLocations(c))
    if (l.configured) locations[l.unit].push_back(locationJson(l.format, l.data));

  Json ports = Json::array();
  for (uint32_t unit : units) {
    const auto p = lldpc::getPort(c, unit);
    if (!p) continue;  // gone since the list was read
    Json j;
    j["port"] = names.name(unit);
    j["unit"] = unit;
    j["admin_status"] = adminStatusName(p->adminStatus);
    j["notifications"] = truth(p->notifications);
    j["med_notifications"] = truth(p->medNotifications);
    j["tlvs_supported"] = tlvMaps(p->basicSupported, p->dot1Supported, p->dot3Supported, p->medSupported,
                                  p->privSupported);
    j["tlvs_enabled"] =
        tlvMaps(p->basicEnabled, p->dot1Enabled, p->dot3Enabled, p->medEnabled, p->privEnabled);
    j["port_id_subtype"] = portSubtypeName(p->portIdSubtype);
    j["port_id"] = p->portId ? Json(idText(false, p->portIdSubtype, *p->portId)) : Json(nullptr);
    j["pvid"] = p->pvid ? Json(*p->pvid) : Json(nullptr);
    Json vn = Json::array();
    for (uint16_t v : p->vlanNames) {
      Json e;
      e["vlan_id"] = v;
      const auto& m = vlanNames[unit];
      e["name"] = m.count(v) ? Json(m.at(v)) : Json(nullptr);
      vn.push_back(e);
    }
    j["vlan_names"] = vn;
    j["protocol_vlan_ids"] = p->ppvids;
    j["med_policies"] = policies.count(unit) ? policies[unit] : Json::array();
    j["med_locations"] = locations.count(unit) ? locations[unit] : Json::array();
    j["counters"] = statsJson(p->stats, upTime);
    ports.push_back(j);
  }
  Json doc;
  doc["ports"] = ports;
  emit(common, doc, [&] {
    bool first = true;
    for (const auto& p : doc["ports"]) {
      std::cout << (first ? "" : "\n") << "LLDP configuration of port " << p["port"].get<std::string>() << "\n";
      first = false;
      Json body = p;
      body.erase("port");
      renderText(std::cout, body, 2);
    }
  });
  return kExitOk;
}

// ---- show statistics ----------------------------------------------------------------------------
int showStatistics(const Common& common, const std::vector<std::string>& args) {
  lldpc::Client c(common.socket);
  const PortNames names(c);
  const std::vector<uint32_t> units = selectedPorts(c, names, args);
  const auto upTime = lldpc::agentUptime(c);
  const lldpc::GlobalStats g = lldpc::getGlobalStats(c);

  Json doc;
  doc["agent_uptime_seconds"] = upTime ? Json(*upTime) : Json(nullptr);
  Json table;
  table["last_change_at_uptime_seconds"] = g.remLastChange;
  table["seconds_since_last_change"] = sinceJson(g.remLastChange, upTime);
  table["inserts"] = g.remInserts;
  table["deletes"] = g.remDeletes;
  table["drops"] = g.remDrops;
  table["ageouts"] = g.remAgeouts;
  doc["remote_table"] = table;
  Json counters;
  counters["frames_out"] = g.framesOut;
  counters["frames_in"] = g.framesIn;
  counters["frames_in_errors"] = g.framesInErrors;
  counters["frames_discarded"] = g.framesDiscarded;
  counters["tlvs_discarded"] = g.tlvsDiscarded;
  counters["tlvs_unrecognised"] = g.tlvsUnrecognised;
  counters["cleared_at_uptime_seconds"] = g.countersCleared;
  counters["seconds_since_cleared"] = sinceJson(g.countersCleared, upTime);
  doc["counters"] = counters;
  Json ports = Json::array();
  for (uint32_t unit : units) {
    const auto p = lldpc::getPort(c, unit);
    if (!p) continue;
    Json j;
    j["port"] = names.name(unit);
    j["unit"] = unit;
    const Json stats = statsJson(p->stats, upTime);
    for (auto it = stats.begin(); it != stats.end(); ++it) j[it.key()] = it.value();
    ports.push_back(j);
  }
  doc["ports"] = ports;

  emit(common, doc, [&] {
    const Json& t = doc["remote_table"];
    const Json& k = doc["counters"];
    std::cout << "Remote table: " << t["inserts"] << " inserts, " << t["deletes"] << " deletes, " << t["drops"]
              << " drops, " << t["ageouts"] << " ageouts; last change " << sinceText(t["seconds_since_last_change"])
              << "\n"
              << "Agent counters (cleared " << sinceText(k["seconds_since_cleared"]) << "):\n"
              << "  Frames out: " << k["frames_out"] << "  in: " << k["frames_in"]
              << "  in errors: " << k["frames_in_errors"] << "  discarded: " << k["frames_discarded"] << "\n"
              << "  TLVs discarded: " << k["tlvs_discarded"] << "  unrecognised: " << k["tlvs_unrecognised"]
              << "\n\n";
    // One line per port, 80 columns.
    std::cout << std::left << std::setw(9) << "Port" << std::right << std::setw(9) << "Out" << std::setw(9)
              << "In" << std::setw(7) << "InErr" << std::setw(7) << "Disc" << std::setw(7) << "TlvDis"
              << std::setw(7) << "TlvUnk" << std::setw(6) << "Aged" << std::setw(5) << "Nbrs"
              << "  Cleared\n";
    for (const auto& p : doc["ports"]) {
      std::cout << std::left << std::setw(9) << cell(p["port"].get<std::string>(), 8) << std::right
                << std::setw(9) << p["frames_out"].dump() << std::setw(9) << p["frames_in"].dump() << std::setw(7)
                << p["frames_in_errors"].dump() << std::setw(7) << p["frames_discarded"].dump() << std::setw(7)
                << p["tlvs_discarded"].dump() << std::setw(7) << p["tlvs_unrecognised"].dump() << std::setw(6)
                << p["ageouts"].dump() << std::setw(5) << p["neighbor_count"].dump() << "  "
                << (p["seconds_since_cleared"].is_number() ? durationText(p["seconds_since_cleared"].get<uint64_t>())
                                                          : std::string("?"))
                << "\n";
    }
  });
  return kExitOk;
}

// ---- show config ----------------------------------------------------------------------------
int showConfig(const Common& common, const std::vector<std::string>& args) {
  noArguments(args, "config");
  lldpc::Client c(common.socket);
  const lldpc::GlobalConfig g = lldpc::getGlobalConfig(c);
  Json doc;
  doc["tx_interval_seconds"] = g.msgTxInterval;
  doc["tx_hold"] = g.msgTxHold;
  doc["reinit_delay_seconds"] = g.reinitDelay;
  doc["tx_delay_seconds"] = g.txDelay;
  doc["fast_start_count"] = g.medFastStartCount;
  doc["mode"] = nameOf(g.mode, {{1, "standard"}, {2, "broadcast"}});
  doc["admin_status"] = nameOf(g.adminStatus, {{1, "enabled"}, {2, "disabled"}});
  doc["default_port_admin_status"] = adminStatusName(g.defaultPortAdmin);
  doc["trap_interval_seconds"] = g.trapInterval;
  doc["debug_mask"] = g.debugFlags;
  doc["med_device_class"] = medDeviceClassName(g.medDeviceClass);
  doc["management_address_limit"] = g.mgmtAddrLimit;
  doc["management_address_count"] = g.mgmtAddrCount;
  emit(common, doc, [&] {
    Json text = doc;
    char mask[16];
    std::snprintf(mask, sizeof mask, "0x%x", g.debugFlags);
    text["debug_mask"] = mask;
    renderText(std::cout, text, 0);
  });
  return kExitOk;
}

}  // namespace lldpctl
