// The table of settings and the checks of their values (settings.h). Nothing
// here talks to the agent: set.cpp sends what parseChange accepted.
#include "settings.h"

#include <cctype>
#include <cerrno>
#include <cmath>
#include <cstdio>
#include <cstdlib>

#include "client/lldp_ops.h"
#include "lldpctl.h"

namespace lldpctl {

namespace {

namespace g = lldpc::gobj;
namespace p = lldpc::pobj;

const std::vector<Named> kOnOff = {{"on", 1}, {"off", 2}};

// RFC 4776 civic address types by their abbreviations.
const Named kCivicTypes[] = {
    {"language", 0}, {"a1", 1},     {"a2", 2},     {"a3", 3},       {"a4", 4},       {"a5", 5},
    {"a6", 6},       {"prd", 16},   {"pod", 17},   {"sts", 18},     {"hno", 19},     {"hns", 20},
    {"lmk", 21},     {"loc", 22},   {"nam", 23},   {"pc", 24},      {"bld", 25},     {"unit", 26},
    {"flr", 27},     {"room", 28},  {"plc", 29},   {"pcn", 30},     {"pobox", 31},   {"addcode", 32},
    {"seat", 33},    {"rd", 34},    {"rdsec", 35}, {"rdbr", 36},    {"rdsubbr", 37}, {"prm", 38},
    {"pom", 39},     {"script", 128},
};

std::string lower(std::string s) {
  for (char& c : s) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
  return s;
}

// A value the checks refuse: one line, no synopsis, status 2.
[[noreturn]] void bad(const std::string& msg) { throw UsageError{msg, false}; }

// A whole decimal number (0x hex too when `hex`), nothing else.
std::optional<uint64_t> wholeNumber(const std::string& s, bool hex = false) {
  if (s.empty() || s.size() > 12) return std::nullopt;
  size_t i = 0;
  int base = 10;
  if (hex && s.size() > 2 && s[0] == '0' && (s[1] == 'x' || s[1] == 'X')) {
    i = 2;
    base = 16;
  }
  uint64_t v = 0;
  for (; i < s.size(); ++i) {
    const char c = static_cast<char>(std::tolower(static_cast<unsigned char>(s[i])));
    int d;
    if (c >= '0' && c <= '9') d = c - '0';
    else if (base == 16 && c >= 'a' && c <= 'f') d = c - 'a' + 10;
    else return std::nullopt;
    v = v * static_cast<uint64_t>(base) + static_cast<uint64_t>(d);
  }
  return v;
}

std::optional<double> decimal(const std::string& s) {
  if (s.empty() || std::isspace(static_cast<unsigned char>(s[0]))) return std::nullopt;
  errno = 0;
  char* end = nullptr;
  const double v = std::strtod(s.c_str(), &end);
  if (errno || *end || !std::isfinite(v)) return std::nullopt;
  // Only plain decimals: no hex floats, no exponents, no inf or nan.
  for (char c : s)
    if (!(std::isdigit(static_cast<unsigned char>(c)) || c == '.' || c == '-' || c == '+')) return std::nullopt;
  return v;
}

uint32_t rangeChecked(const Setting& s, const std::string& word, uint32_t lo, uint32_t hi, const char* what) {
  const auto v = wholeNumber(word, s.kind == Kind::Number && hi > 0xFF && lo == 0);
  if (!v || *v < lo || *v > hi)
    bad(std::string(s.name) + ": " + what + " must be " + std::to_string(lo) + ".." + std::to_string(hi) +
        ", not '" + word + "'");
  return static_cast<uint32_t>(*v);
}

std::string choices(const std::vector<Named>& names) {
  std::string out;
  for (const auto& n : names) {
    if (!out.empty()) out += "|";
    out += n.name;
  }
  return out;
}

const Named* lookup(const std::vector<Named>& names, const std::string& word) {
  for (const auto& n : names)
    if (word == n.name) return &n;
  return nullptr;
}

void setBit(std::vector<uint8_t>& map, uint32_t bit) {
  map[bit / 8] = static_cast<uint8_t>(map[bit / 8] | (0x80 >> (bit % 8)));
}

}  // namespace

const std::vector<Setting>& settingsTable() {
  static const std::vector<Setting> table = {
      // Agent-wide (lldpctl set ...).
      {"interval", Scope::Global, Kind::Number, g::kMsgTxInterval, 5, 32768, {}, "msgTxInterval",
       "seconds between two periodic LLDPDUs"},
      {"hold", Scope::Global, Kind::Number, g::kMsgTxHold, 2, 10, {}, "msgTxHold",
       "the TTL sent is interval x hold (at most 65535 s)"},
      {"tx-delay", Scope::Global, Kind::Number, g::kTxDelay, 1, 8192, {}, "txDelay",
       "least seconds between two LLDPDUs; at most a quarter of the interval"},
      {"reinit-delay", Scope::Global, Kind::Number, g::kReinitDelay, 1, 10, {}, "reinitDelay",
       "seconds a disabled port waits before it may start again"},
      {"notification-interval", Scope::Global, Kind::Number, g::kTrapInterval, 5, 3600, {},
       "notification interval", "least seconds between two notifications of neighbour changes"},
      {"fast-start", Scope::Global, Kind::Number, g::kMedFastStartCount, 1, 10, {}, "LLDP-MED fast start count",
       "LLDPDUs sent one a second when an LLDP-MED endpoint appears"},
      {"med-device-class", Scope::Global, Kind::Choice, g::kMedDeviceClass, 0, 0,
       {{"endpoint-1", 1}, {"endpoint-2", 2}, {"endpoint-3", 3}, {"network", 4}}, "LLDP-MED device class",
       "what this system is to LLDP-MED: an endpoint of class I-III or network connectivity"},
      {"mode", Scope::Global, Kind::Choice, g::kMode, 0, 0, {{"standard", 1}, {"broadcast", 2}}, "destination mode",
       "standard: to 01-80-C2-00-00-0E (EtherType 88CC); broadcast: FF-FF-FF-FF-FF-FF (FFCC)"},
      {"adminstatus", Scope::Global, Kind::Choice, g::kAdminStatus, 0, 0, {{"enabled", 1}, {"disabled", 2}},
       "global admin status", "disabled stops LLDP on every port (each sends its shutdown LLDPDU)"},
      {"trace", Scope::Global, Kind::Number, g::kDebugFlags, 0, 0x1FF, {}, "trace mask",
       "trace classes of the agent's log (lldp.conf(5)); decimal or 0x hex"},
      {"mgmt-address", Scope::Global, Kind::Address, 0, 0, 0, {}, "management address",
       "add or delete an address that every port without one of its own advertises"},

      // Per port (lldpctl port PORT set ...).
      {"adminstatus", Scope::Port, Kind::Choice, p::kAdminStatus, 0, 0,
       {{"tx", 1}, {"rx", 2}, {"txrx", 3}, {"rxtx", 3}, {"disabled", 4}}, "adminStatus",
       "what LLDP does on the port; leaving tx sends a shutdown LLDPDU and forgets the neighbours"},
      {"notifications", Scope::Port, Kind::Choice, p::kNotifications, 0, 0, kOnOff, "notificationEnable",
       "notifications of the port's neighbour changes"},
      {"tlvs", Scope::Port, Kind::Tlvs, p::kBasicEnabled, 1, p::kBasicSupported,
       {{"port-description", 0}, {"system-name", 1}, {"system-description", 2}, {"capabilities", 3}},
       "basic TLVs", "the optional basic TLVs sent"},
      {"port-id-subtype", Scope::Port, Kind::Choice, p::kPortIdSubtype, 0, 0,
       {{"interface-alias", 1}, {"mac-address", 3}, {"interface-name", 5}, {"local", 7}}, "port ID subtype",
       "what the port ID TLV carries"},
      {"pvid-tlv", Scope::Port, Kind::Choice, p::kPvidTx, 0, 0, kOnOff, "IEEE 802.1 port VLAN ID TLV",
       "send the port VLAN ID"},
      {"protocol-identity-tlv", Scope::Port, Kind::Choice, p::kProtoIdTx, 0, 0, kOnOff,
       "IEEE 802.1 protocol identity TLV", "send the protocol identities"},
      {"vlan-names", Scope::Port, Kind::Vlans, p::kVlanNames, 1, 4094, {}, "IEEE 802.1 VLAN name TLVs",
       "add or remove VLANs whose names the port sends (LIST: 10,20-25)"},
      {"ppvids", Scope::Port, Kind::Vlans, p::kPpvids, 1, 4094, {}, "IEEE 802.1 port and protocol VLAN ID TLVs",
       "add or remove port-and-protocol VLAN IDs the port sends"},
      {"dot3-tlvs", Scope::Port, Kind::Tlvs, p::kDot3Enabled, 1, p::kDot3Supported,
       {{"mac-phy", 0}, {"power", 1}, {"link-aggregation", 2}, {"max-frame-size", 3}}, "IEEE 802.3 TLVs",
       "the IEEE 802.3 TLVs sent"},
      {"med-tlvs", Scope::Port, Kind::Tlvs, p::kMedEnabled, 2, p::kMedSupported,
       {{"capabilities", 0},
        {"network-policy", 1},
        {"location", 2},
        {"power-pse", 3},
        {"power-pd", 4},
        {"inventory", 5}},
       "LLDP-MED TLVs", "the LLDP-MED TLVs sent; capabilities must be among them when any other is"},
      {"med-notifications", Scope::Port, Kind::Choice, p::kMedNotifications, 0, 0, kOnOff,
       "LLDP-MED topology change notifications", "notifications when an LLDP-MED endpoint appears"},
      {"private-tlvs", Scope::Port, Kind::Tlvs, p::kPrivEnabled, 2, p::kPrivSupported,
       {{"capabilities", 0}, {"system-oid", 1}, {"inventory", 2}}, "private TLVs",
       "the vendor-private TLVs sent"},
      {"juniper-tlv", Scope::Port, Kind::Choice, p::kJuniperTx, 0, 0, kOnOff, "Juniper TLV",
       "send the Juniper-specific TLV"},
      {"mgmt-address", Scope::Port, Kind::Address, 0, 0, 0, {}, "management address",
       "add or delete an address of the port's own (it then sends its first)"},
      {"policy", Scope::Port, Kind::Policy, 0, 0, 0, {}, "LLDP-MED network policy",
       "voice FIELD VALUE: vlan 0..4094 (0: priority tagged), priority 0..7, dscp 0..63, "
       "tagging tagged|untagged (resets the policy to its default: give it first)"},
      {"location", Scope::Port, Kind::Location, 0, 0, 0, {}, "LLDP-MED location",
       "FORMAT VALUE|none: coordinate north,LAT,east,LON,meters|floors,ALT,wgs84|nad83|nad83-mllw; "
       "civic CC;TYPE=VALUE;... (or 0x hex); elin 10-25 digits"},
  };
  return table;
}

const Setting* findSetting(const std::string& name, Scope scope) {
  const Setting* other = nullptr;
  for (const auto& s : settingsTable()) {
    if (name != s.name) continue;
    if (s.scope == scope) return &s;
    other = &s;
  }
  return other;
}

size_t settingArity(const Setting& s) {
  switch (s.kind) {
    case Kind::Vlans:
    case Kind::Address:
    case Kind::Location:
      return 2;
    case Kind::Policy:
      return 3;
    default:
      return 1;
  }
}

std::string settingSynopsis(const Setting& s) {
  switch (s.kind) {
    case Kind::Number: {
      if (s.lo == 0 && s.hi > 0xFF) {  // a mask, read in hex too
        char buf[16];
        std::snprintf(buf, sizeof buf, "0x%x", s.hi);
        return "0.." + std::string(buf);
      }
      return std::to_string(s.lo) + ".." + std::to_string(s.hi);
    }
    case Kind::Choice:
      return choices(s.names);
    case Kind::Tlvs:
      return "all|none|NAME,...|+NAME,-NAME,...";
    case Kind::Vlans:
      return "add|remove LIST";
    case Kind::Address:
      return "add|delete IPv4|IPv6|MAC";
    case Kind::Policy:
      return "voice vlan|priority|dscp|tagging VALUE";
    case Kind::Location:
      return "coordinate|civic|elin VALUE|none";
  }
  return "";
}

std::optional<std::vector<uint16_t>> parseVlanList(const std::string& text, uint32_t lo, uint32_t hi) {
  std::vector<uint16_t> out;
  size_t start = 0;
  for (;;) {
    const size_t comma = text.find(',', start);
    const std::string item = text.substr(start, comma == std::string::npos ? std::string::npos : comma - start);
    const size_t dash = item.find('-');
    const auto a = wholeNumber(item.substr(0, dash));
    const auto b = dash == std::string::npos ? a : wholeNumber(item.substr(dash + 1));
    if (!a || !b || *a < lo || *b > hi || *a > *b) return std::nullopt;
    for (uint64_t v = *a; v <= *b; ++v) out.push_back(static_cast<uint16_t>(v));
    if (comma == std::string::npos) return out;
    start = comma + 1;
  }
}

std::string normaliseCoordinates(const std::string& text) {
  std::vector<std::string> f;
  size_t start = 0;
  for (size_t i = 0; i <= text.size(); ++i) {
    if (i == text.size() || text[i] == ',') {
      f.push_back(text.substr(start, i - start));
      start = i + 1;
    }
  }
  if (!f.empty() && f.back().empty()) f.pop_back();  // the agent's form ends with a comma
  const char* form = "location coordinate: give north|south,LAT,east|west,LON,meters|floors,ALT,wgs84|nad83|nad83-mllw";
  if (f.size() != 7) bad(form);
  const std::string ns = lower(f[0]), ew = lower(f[2]), unit = lower(f[4]), datum = lower(f[6]);
  if ((ns != "north" && ns != "south") || (ew != "east" && ew != "west") ||
      (unit != "meters" && unit != "floors") || (datum != "wgs84" && datum != "nad83" && datum != "nad83-mllw"))
    bad(form);
  const auto lat = decimal(f[1]), lon = decimal(f[3]), alt = decimal(f[5]);
  if (!lat || *lat < 0 || *lat > 90) bad("location coordinate: latitude must be 0..90 degrees, not '" + f[1] + "'");
  if (!lon || *lon < 0 || *lon > 180)
    bad("location coordinate: longitude must be 0..180 degrees, not '" + f[3] + "'");
  // The altitude is sent with 21 integer bits and a sign.
  if (!alt || std::fabs(*alt) >= 2097152)
    bad("location coordinate: altitude must be -2097151..2097151, not '" + f[5] + "'");
  char buf[96];
  std::snprintf(buf, sizeof buf, "%s,%.7f,%s,%.7f,%s,%.2f,%s,", ns.c_str(), *lat, ew.c_str(), *lon, unit.c_str(),
                *alt, datum.c_str());
  return buf;
}

std::vector<uint8_t> civicAddress(const std::string& text) {
  std::vector<uint8_t> lci;
  if (text.rfind("0x", 0) == 0) {
    const auto b = parseHex(text);
    if (!b) bad("location civic: cannot read the hex '" + text + "'");
    lci = *b;
    if (lci.size() < 6 || lci.size() > 256) bad("location civic: the address must be 6..256 octets");
    if (lci[0] != lci.size() - 1) bad("location civic: the length octet must be the number of octets after it");
    if (lci[1] > 2) bad("location civic: 'what' must be 0..2");
    for (size_t at = 4; at < lci.size();) {
      if (at + 2 > lci.size() || at + 2 + lci[at + 1] > lci.size())
        bad("location civic: an address element runs past the end");
      at += 2 + lci[at + 1];
    }
  } else {
    std::vector<std::string> f;
    size_t start = 0;
    for (size_t i = 0; i <= text.size(); ++i) {
      if (i == text.size() || text[i] == ';') {
        f.push_back(text.substr(start, i - start));
        start = i + 1;
      }
    }
    if (f[0].size() != 2 || !std::isalpha(static_cast<unsigned char>(f[0][0])) ||
        !std::isalpha(static_cast<unsigned char>(f[0][1])))
      bad("location civic: give CC;TYPE=VALUE;... with CC a two-letter country code, not '" + f[0] + "'");
    uint8_t what = 1;
    lci = {0, 0, static_cast<uint8_t>(std::toupper(f[0][0])), static_cast<uint8_t>(std::toupper(f[0][1]))};
    for (size_t i = 1; i < f.size(); ++i) {
      const size_t eq = f[i].find('=');
      if (eq == std::string::npos || eq == 0) bad("location civic: '" + f[i] + "' is not TYPE=VALUE");
      const std::string name = lower(f[i].substr(0, eq)), value = f[i].substr(eq + 1);
      if (name == "what") {
        const auto w = wholeNumber(value);
        if (!w || *w > 2) bad("location civic: 'what' must be 0..2");
        what = static_cast<uint8_t>(*w);
        continue;
      }
      std::optional<uint64_t> type = wholeNumber(name);
      for (const auto& t : kCivicTypes)
        if (name == t.name) type = t.value;
      if (!type || *type > 255) bad("location civic: unknown address element type '" + name + "'");
      if (value.empty() || value.size() > 255) bad("location civic: a value must be 1..255 octets");
      lci.push_back(static_cast<uint8_t>(*type));
      lci.push_back(static_cast<uint8_t>(value.size()));
      lci.insert(lci.end(), value.begin(), value.end());
    }
    if (lci.size() < 6) bad("location civic: give at least one TYPE=VALUE");
    if (lci.size() > 256) bad("location civic: the address must be at most 256 octets");
    lci[0] = static_cast<uint8_t>(lci.size() - 1);
    lci[1] = what;
  }
  return lci;
}

Change parseChange(const Setting& s, const std::vector<std::string>& w) {
  Change c;
  c.setting = &s;
  c.words = w;
  const std::string name = s.name;
  switch (s.kind) {
    case Kind::Number: {
      const auto v = wholeNumber(w[0], s.hi > 0xFF && s.lo == 0);
      if (!v || *v < s.lo || *v > s.hi)
        bad(name + " (" + s.what + ") must be " + std::to_string(s.lo) + ".." + std::to_string(s.hi) + ", not '" +
            w[0] + "'");
      c.value = static_cast<uint32_t>(*v);
      break;
    }
    case Kind::Choice: {
      const Named* n = lookup(s.names, lower(w[0]));
      if (!n) bad(name + " must be " + choices(s.names) + ", not '" + w[0] + "'");
      c.value = n->value;
      break;
    }
    case Kind::Tlvs: {
      const std::string v = lower(w[0]);
      c.bytes.assign(s.lo, 0);
      c.minus.assign(s.lo, 0);
      if (v == "all") {
        c.value = 1;  // every supported TLV
        break;
      }
      if (v == "none") break;
      size_t start = 0;
      int signs = 0, items = 0;
      for (;;) {
        const size_t comma = v.find(',', start);
        std::string item = v.substr(start, comma == std::string::npos ? std::string::npos : comma - start);
        ++items;
        bool minus = false;
        if (!item.empty() && (item[0] == '+' || item[0] == '-')) {
          minus = item[0] == '-';
          item.erase(0, 1);
          ++signs;
        }
        const Named* n = lookup(s.names, item);
        if (!n) bad(name + ": unknown TLV '" + item + "' (" + choices(s.names) + ")");
        setBit(minus ? c.minus : c.bytes, n->value);
        if (comma == std::string::npos) break;
        start = comma + 1;
      }
      if (signs != 0 && signs != items) bad(name + ": give either NAME,... or +NAME,-NAME,..., not both");
      c.relative = signs != 0;
      break;
    }
    case Kind::Vlans: {
      const std::string op = lower(w[0]);
      if (op != "add" && op != "remove") bad(name + " must be followed by add or remove, not '" + w[0] + "'");
      c.sub = op == "add";
      const auto list = parseVlanList(w[1], s.lo, s.hi);
      if (!list) bad(name + ": VLAN IDs must be " + std::to_string(s.lo) + ".." + std::to_string(s.hi) +
                     " (LIST like 10,20-25), not '" + w[1] + "'");
      c.bytes = lldpc::vlanMap(*list);
      break;
    }
    case Kind::Address: {
      const std::string op = lower(w[0]);
      if (op != "add" && op != "delete") bad(name + " must be followed by add or delete, not '" + w[0] + "'");
      c.sub = op == "add";
      const auto a = lldpc::MgmtAddress::parse(w[1]);
      if (!a) bad(name + ": '" + w[1] + "' is not an IPv4, IPv6 or MAC address");
      c.address = *a;
      break;
    }
    case Kind::Policy: {
      if (lower(w[0]) != "voice")
        bad("policy: only the voice policy can be set ('" + w[0] + "': the agent sends no other application type)");
      const std::string field = lower(w[1]);
      if (field == "vlan") {
        c.sub = lldpc::polobj::kVlan;
        c.value = rangeChecked(s, w[2], 0, 4094, "the VLAN ID");
      } else if (field == "priority") {
        c.sub = lldpc::polobj::kPriority;
        c.value = rangeChecked(s, w[2], 0, 7, "the priority");
      } else if (field == "dscp") {
        c.sub = lldpc::polobj::kDscp;
        c.value = rangeChecked(s, w[2], 0, 63, "the DSCP value");
      } else if (field == "tagging") {
        c.sub = lldpc::polobj::kTagged;
        const std::string t = lower(w[2]);
        if (t != "tagged" && t != "untagged") bad("policy: tagging must be tagged|untagged, not '" + w[2] + "'");
        c.value = t == "tagged" ? 1 : 2;
      } else {
        bad("policy: the field must be vlan|priority|dscp|tagging, not '" + w[1] + "'");
      }
      break;
    }
    case Kind::Location: {
      const std::string fmt = lower(w[0]);
      if (fmt == "coordinate") c.value = 1;
      else if (fmt == "civic") c.value = 2;
      else if (fmt == "elin") c.value = 3;
      else bad("location: the format must be coordinate|civic|elin, not '" + w[0] + "'");
      if (lower(w[1]) == "none") {
        c.remove = true;
        break;
      }
      if (c.value == 1) {
        const std::string t = normaliseCoordinates(w[1]);
        c.bytes.assign(t.begin(), t.end());
      } else if (c.value == 2) {
        c.bytes = civicAddress(w[1]);
      } else {
        bool digits = w[1].size() >= 10 && w[1].size() <= 25;
        for (char ch : w[1]) digits = digits && std::isdigit(static_cast<unsigned char>(ch));
        if (!digits) bad("location elin: an ELIN is 10..25 digits, not '" + w[1] + "'");
        c.bytes.assign(w[1].begin(), w[1].end());
      }
      break;
    }
  }
  return c;
}

}  // namespace lldpctl
