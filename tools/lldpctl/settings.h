// The settings that `lldpctl set` and `lldpctl port PORT set` change: one
// table row per name, which drives the parsing, the checks and the help
// listing. The agent stores what it is given (cut to its field's width), so
// every range of IEEE 802.1AB and LLDP-MED is checked here, before anything
// is sent.
#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "client/lldp_objects.h"

namespace lldpctl {

enum class Scope { Global, Port };

enum class Kind {
  Number,    // an integer within [lo, hi]
  Choice,    // one of the named values
  Tlvs,      // a set of named TLVs: a bit map `lo` octets wide, checked against the supported map `hi`
  Vlans,     // add|remove VLAN-LIST: `object` adds, `object + 1` removes
  Address,   // add|delete ADDRESS: the management-address tables
  Policy,    // APP-TYPE FIELD VALUE: the LLDP-MED network policy
  Location,  // FORMAT VALUE|none: the LLDP-MED location
};

struct Named {
  const char* name;
  uint32_t value;  // Choice: the value sent; Tlvs: the bit number
};

struct Setting {
  const char* name;
  Scope scope;
  Kind kind;
  uint32_t object;
  uint32_t lo, hi;
  std::vector<Named> names;
  const char* what;  // the IEEE 802.1AB / LLDP-MED name, for messages
  const char* help;
};

const std::vector<Setting>& settingsTable();
// The setting of that name in the scope, else the one in the other scope
// (for a message), else null.
const Setting* findSetting(const std::string& name, Scope scope);
// How many words after the name a setting takes.
size_t settingArity(const Setting& s);
// The argument synopsis of a setting ("5..32768", "on|off", ...).
std::string settingSynopsis(const Setting& s);

// One checked change, ready to be sent.
struct Change {
  const Setting* setting = nullptr;
  std::vector<std::string> words;  // as given, for messages
  uint32_t value = 0;              // Number, Choice; Policy: the value; Location: the format
  uint32_t sub = 0;                // Policy: the object; Vlans / Address: 1 add, 0 remove
  std::vector<uint8_t> bytes;      // Tlvs: the map (when not relative); Vlans: the map; Location: the value
  lldpc::MgmtAddress address;
  std::vector<uint8_t> minus;       // Tlvs given as +NAME,-NAME: the bits to clear (bytes: to set)
  bool relative = false;
  bool remove = false;             // Location: none
};

// Parsing and checking of one setting's words; throws UsageError with one
// clear line.
Change parseChange(const Setting& s, const std::vector<std::string>& words);

// The value checks of parseChange that turn text into what the agent takes.
// "10,20-25" with every VLAN within [lo, hi]; nullopt otherwise.
std::optional<std::vector<uint16_t>> parseVlanList(const std::string& text, uint32_t lo, uint32_t hi);
// Coordinate text, checked and written back in the agent's own form (36 to
// 67 octets); throws UsageError.
std::string normaliseCoordinates(const std::string& text);
// A civic address "CC;TYPE=VALUE;..." (or "what=N" among the fields), or
// its octets as 0x-prefixed hex, as the LCI that the agent stores (from its
// length octet on); throws UsageError.
std::vector<uint8_t> civicAddress(const std::string& text);

}  // namespace lldpctl
