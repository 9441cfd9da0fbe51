// Names and text forms of the values that lldpctl shows, and the generic
// text renderer of its JSON documents.
#include <cstdio>
#include <iostream>
#include <sstream>

#include "mgmt/lldp_location.h"
#include "show.h"

namespace lldpctl {

std::string macText(const std::vector<uint8_t>& b) {
  std::string s;
  char buf[4];
  for (size_t i = 0; i < b.size(); ++i) {
    std::snprintf(buf, sizeof buf, i ? ":%02x" : "%02x", b[i]);
    s += buf;
  }
  return s;
}

std::string hexText(const std::vector<uint8_t>& b) { return toHex(b); }

std::string printableOrHex(const std::vector<uint8_t>& b) {
  for (uint8_t x : b)
    if (x < 0x20 || x > 0x7e) return hexText(b);
  return std::string(b.begin(), b.end());
}

std::string familyName(uint8_t f) {
  switch (f) {
    case 1: return "ipv4";
    case 2: return "ipv6";
    case 6: return "mac";
    default: return std::to_string(f);
  }
}

std::string idText(bool chassis, uint32_t subtype, const std::vector<uint8_t>& id) {
  const uint32_t mac = chassis ? 4 : 3, network = chassis ? 5 : 4;
  if (subtype == mac && id.size() == 6) return macText(id);
  if (subtype == network && !id.empty()) {
    lldpc::MgmtAddress a;
    a.subtype = id[0];
    a.bytes.assign(id.begin() + 1, id.end());
    if ((a.subtype == 1 && a.bytes.size() == 4) || (a.subtype == 2 && a.bytes.size() == 16)) return a.str();
  }
  return printableOrHex(id);
}

std::string nameOf(uint32_t v, std::initializer_list<std::pair<uint32_t, const char*>> names) {
  for (const auto& [k, n] : names)
    if (k == v) return n;
  return std::to_string(v);
}

std::string chassisSubtypeName(uint32_t s) {
  return nameOf(s, {{1, "chassis_component"},
                    {2, "interface_alias"},
                    {3, "port_component"},
                    {4, "mac_address"},
                    {5, "network_address"},
                    {6, "interface_name"},
                    {7, "local"}});
}

std::string portSubtypeName(uint32_t s) {
  return nameOf(s, {{1, "interface_alias"},
                    {2, "port_component"},
                    {3, "mac_address"},
                    {4, "network_address"},
                    {5, "interface_name"},
                    {6, "agent_circuit_id"},
                    {7, "local"}});
}

namespace {

struct Cap {
  const char* name;
  char letter;
};
constexpr Cap kCaps[] = {{"other", 'O'},   {"repeater", 'P'}, {"bridge", 'B'},  {"wlan_access_point", 'W'},
                         {"router", 'R'},  {"telephone", 'T'}, {"docsis", 'C'}, {"station", 'S'},
                         {"c_vlan", 'c'},  {"s_vlan", 's'},    {"tpmr", 't'}};

}  // namespace

Json capabilityNames(uint16_t bits) {
  Json out = Json::array();
  for (unsigned n = 0; n < 16; ++n) {
    if (!(bits >> (15 - n) & 1)) continue;
    out.push_back(n < std::size(kCaps) ? std::string(kCaps[n].name) : "bit_" + std::to_string(n));
  }
  return out;
}

std::string capabilityLetters(uint16_t bits) {
  std::string s;
  for (unsigned n = 0; n < std::size(kCaps); ++n)
    if (bits >> (15 - n) & 1) s.push_back(kCaps[n].letter);
  return s;
}

std::string ifSubtypeName(uint32_t s) { return nameOf(s, {{1, "unknown"}, {2, "ifindex"}, {3, "system_port"}}); }

std::string oidText(const std::vector<uint32_t>& arcs) {
  std::string s;
  for (size_t i = 0; i < arcs.size(); ++i) s += (i ? "." : "") + std::to_string(arcs[i]);
  return s;
}

std::string oidText(const std::vector<uint8_t>& b) {
  if (b.empty() || b.size() % 4) return hexText(b);
  std::vector<uint32_t> arcs;
  for (size_t i = 0; i < b.size(); i += 4) arcs.push_back(cmdGetU32(b.data() + i));
  return oidText(arcs);
}

Json truth(uint32_t v) {
  if (v == 1) return true;
  if (v == 2) return false;
  return nullptr;
}

Json bitNames(uint32_t map, uint32_t width, std::initializer_list<const char*> names) {
  Json out = Json::array();
  uint32_t n = 0;
  for (const char* name : names) {
    if (map >> (width - 1 - n) & 1) out.push_back(name);
    ++n;
  }
  for (; n < width; ++n)
    if (map >> (width - 1 - n) & 1) out.push_back("bit_" + std::to_string(n));
  return out;
}

std::string adminStatusName(uint32_t v) {
  return nameOf(v, {{1, "tx"}, {2, "rx"}, {3, "rx_tx"}, {4, "disabled"}});
}

Json privateTlvs(uint16_t map) {
  return bitNames(map, 16, {"capabilities", "system_oid", "hardware_revision", "firmware_revision",
                            "software_revision", "serial_number", "manufacturer", "model", "asset_id"});
}

std::string medDeviceClassName(uint32_t v) {
  return nameOf(v, {{0, "not_defined"},
                    {1, "endpoint_class_1"},
                    {2, "endpoint_class_2"},
                    {3, "endpoint_class_3"},
                    {4, "network_connectivity"}});
}

std::string policyAppName(uint32_t v) {
  return nameOf(v, {{1, "voice"},
                    {2, "voice_signaling"},
                    {3, "guest_voice"},
                    {4, "guest_voice_signaling"},
                    {5, "softphone_voice"},
                    {6, "video_conferencing"},
                    {7, "streaming_video"},
                    {8, "video_signaling"}});
}

std::string mauTypeName(uint32_t v) {
  // The common ones of the IANA MAU types.
  return nameOf(v, {{10, "10BASE-T half duplex"},
                    {11, "10BASE-T full duplex"},
                    {15, "100BASE-TX half duplex"},
                    {16, "100BASE-TX full duplex"},
                    {17, "100BASE-FX half duplex"},
                    {18, "100BASE-FX full duplex"},
                    {21, "1000BASE-X half duplex"},
                    {22, "1000BASE-X full duplex"},
                    {23, "1000BASE-LX half duplex"},
                    {24, "1000BASE-LX full duplex"},
                    {25, "1000BASE-SX half duplex"},
                    {26, "1000BASE-SX full duplex"},
                    {29, "1000BASE-T half duplex"},
                    {30, "1000BASE-T full duplex"},
                    {31, "10GBASE-X"},
                    {32, "10GBASE-LX4"},
                    {40, "10GBASE-SR"},
                    {41, "10GBASE-LR"},
                    {110, "10GBASE-T"},
                    {113, "25GBASE-SR"},
                    {120, "40GBASE-SR4"},
                    {130, "100GBASE-SR4"}});
}

Json policyJson(const lldpc::MediaPolicy& p) {
  Json j;
  j["application"] = policyAppName(p.appType);
  j["vlan_id"] = p.vlan;
  j["priority"] = p.priority;
  j["dscp"] = p.dscp;
  j["tagged"] = truth(p.tagged);
  j["unknown"] = truth(p.unknown);
  return j;
}

Json inventoryJson(const lldpc::MedInventory& inv) {
  Json j;
  j["hardware_revision"] = inv.hardwareRev;
  j["firmware_revision"] = inv.firmwareRev;
  j["software_revision"] = inv.softwareRev;
  j["serial_number"] = inv.serialNumber;
  j["manufacturer"] = inv.manufacturer;
  j["model"] = inv.model;
  j["asset_id"] = inv.assetId;
  return j;
}

Json locationJson(uint32_t format, const std::vector<uint8_t>& data) {
  Json j;
  j["format"] = nameOf(format, {{1, "coordinate"}, {2, "civic_address"}, {3, "elin"}});
  j["coordinate"] = nullptr;
  j["civic_address"] = nullptr;
  j["elin"] = nullptr;
  if (format == 1 && data.size() >= LLDP_LCI_LEN) {
    LldpLciFields f;
    lldpLocationFields(data.data(), &f);
    char text[LLDP_LOC_TEXT_ROOM];
    lldpLocationDecode(data.data(), text, sizeof text);
    Json c;
    c["latitude"] = f.latitude;
    c["longitude"] = f.longitude;
    c["altitude"] = f.altitude;
    c["altitude_unit"] = f.altitudeType == 1 ? "meters" : "floors";
    c["datum"] = nameOf(f.datum, {{1, "wgs84"}, {2, "nad83"}, {3, "nad83_mllw"}});
    c["text"] = text;
    j["coordinate"] = c;
  } else if (format == 2) {
    LldpCivic civic;
    const bool whole = lldpCivicDecode(data.data(), static_cast<uint32_t>(data.size()), &civic);
    Json c;
    c["what"] = nameOf(civic.what, {{0, "dhcp_server"}, {1, "network_element"}, {2, "client"}});
    c["country"] = civic.country;
    Json els = Json::array();
    for (const auto& e : civic.elements) {
      Json el;
      el["type"] = e.type;
      const char* name = lldpCivicTypeName(e.type);
      el["name"] = name ? Json(name) : Json(nullptr);
      el["value"] = e.value;
      els.push_back(el);
    }
    c["elements"] = els;
    c["complete"] = whole;
    j["civic_address"] = c;
  } else if (format == 3) {
    j["elin"] = printableOrHex(data);
  }
  j["data"] = hexText(data);
  return j;
}

std::string durationText(uint64_t s) {
  char buf[48];
  if (s < 60) {
    std::snprintf(buf, sizeof buf, "%llus", static_cast<unsigned long long>(s));
  } else if (s < 86400) {
    std::snprintf(buf, sizeof buf, "%02llu:%02llu:%02llu", static_cast<unsigned long long>(s / 3600),
                  static_cast<unsigned long long>(s / 60 % 60), static_cast<unsigned long long>(s % 60));
  } else {
    std::snprintf(buf, sizeof buf, "%llud %02llu:%02llu:%02llu", static_cast<unsigned long long>(s / 86400),
                  static_cast<unsigned long long>(s / 3600 % 24), static_cast<unsigned long long>(s / 60 % 60),
                  static_cast<unsigned long long>(s % 60));
  }
  return buf;
}

// ---- Output ---------------------------------------------------------------------------
void printJson(const Json& doc) {
  // Bytes a neighbour sent that are not UTF-8 are replaced rather than
  // failing the whole document.
  std::cout << doc.dump(2, ' ', false, Json::error_handler_t::replace) << "\n";
}

std::string printable(std::string s) {
  for (char& ch : s)
    if (static_cast<unsigned char>(ch) < 0x20 || ch == 0x7f) ch = '?';
  return s;
}

std::string cell(const std::string& raw, size_t width) {
  const std::string s = printable(raw);
  if (s.size() <= width) return s;
  if (width <= 2) return s.substr(0, width);
  return s.substr(0, width - 2) + "..";
}

std::string labelOf(const std::string& key) {
  static const std::pair<const char*, const char*> kWords[] = {
      {"id", "ID"},       {"ttl", "TTL"},      {"vlan", "VLAN"},   {"vlans", "VLANs"}, {"mac", "MAC"},
      {"phy", "PHY"},     {"med", "LLDP-MED"}, {"pvid", "PVID"},   {"ppvid", "PPVID"}, {"ppvids", "PPVIDs"},
      {"mau", "MAU"},     {"mdi", "MDI"},      {"pse", "PSE"},     {"pd", "PD"},       {"poe", "PoE"},
      {"oid", "OID"},     {"tlvs", "TLVs"},    {"tlv", "TLV"},     {"dscp", "DSCP"},   {"elin", "ELIN"},
      {"oui", "OUI"},     {"dot1", "802.1"},   {"dot3", "802.3"},  {"rx", "RX"},       {"tx", "TX"},
      {"ids", "IDs"},       {"seconds", "(s)"}, {"watts", "(W)"},    {"lldp", "LLDP"},   {"uptime", "up-time"}};
  std::string out;
  size_t start = 0;
  while (start <= key.size()) {
    size_t end = key.find('_', start);
    if (end == std::string::npos) end = key.size();
    std::string w = key.substr(start, end - start);
    const bool last = end == key.size();
    for (const auto& [k, v] : kWords)
      if (w == k && (last || (w != "seconds" && w != "watts"))) w = v;
    if (out.empty() && !w.empty() && w[0] >= 'a' && w[0] <= 'z') w[0] = static_cast<char>(w[0] - 'a' + 'A');
    if (!out.empty()) out += ' ';
    out += w;
    start = end + 1;
  }
  return out;
}

namespace {

std::string scalarText(const Json& v) {
  if (v.is_string()) return printable(v.get<std::string>());
  if (v.is_boolean()) return v.get<bool>() ? "yes" : "no";
  if (v.is_number_float()) {
    char buf[32];
    std::snprintf(buf, sizeof buf, "%.6g", v.get<double>());
    return buf;
  }
  return v.dump();
}

bool isScalarList(const Json& v) {
  if (!v.is_array()) return false;
  for (const auto& e : v)
    if (e.is_object() || e.is_array()) return false;
  return true;
}

bool shown(const Json& v) {
  if (v.is_null()) return false;
  if (v.is_string() && v.get_ref<const std::string&>().empty()) return false;
  if ((v.is_array() || v.is_object()) && v.empty()) return false;
  return true;
}

}  // namespace

void renderText(std::ostream& out, const Json& obj, int indent) {
  const std::string pad(static_cast<size_t>(indent), ' ');
  // Scalars of one object line up.
  size_t width = 0;
  for (auto it = obj.begin(); it != obj.end(); ++it)
    if (shown(it.value()) && (!it.value().is_structured() || isScalarList(it.value())))
      width = std::max(width, labelOf(it.key()).size() + 1);
  for (auto it = obj.begin(); it != obj.end(); ++it) {
    const Json& v = it.value();
    if (!shown(v)) continue;
    const std::string label = labelOf(it.key());
    if (!v.is_structured() || isScalarList(v)) {
      std::string text;
      if (v.is_array()) {
        for (const auto& e : v) text += (text.empty() ? "" : ", ") + scalarText(e);
      } else {
        text = scalarText(v);
      }
      out << pad << label << ':' << std::string(width - label.size(), ' ') << ' ' << text << '\n';
    } else if (v.is_object()) {
      out << pad << label << ":\n";
      renderText(out, v, indent + 2);
    } else {
      out << pad << label << ":\n";
      for (const auto& e : v) {
        std::ostringstream item;
        renderText(item, e, 0);
        std::string lines = item.str();
        size_t start = 0;
        bool first = true;
        while (start < lines.size()) {
          const size_t nl = lines.find('\n', start);
          out << pad << (first ? "  - " : "    ") << lines.substr(start, nl - start) << '\n';
          first = false;
          start = nl + 1;
        }
      }
    }
  }
}

}  // namespace lldpctl
