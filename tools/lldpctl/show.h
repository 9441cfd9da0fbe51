// lldpctl show: every view is built as one JSON document (the -f json
// output, keys in lower_snake_case, lists always arrays, absent values
// null), and the text output is drawn from that same document: the brief
// tables by hand, the detailed views by a generic renderer that turns keys
// into labels. So both formats always show the same facts.
#pragma once

#include <cstdint>
#include <iosfwd>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "client/lldp_objects.h"
#include "lldpctl.h"

namespace lldpctl {

using Json = nlohmann::ordered_json;

// ---- Values as text ----------------------------------------------------------------
std::string macText(const std::vector<uint8_t>& b);  // "00:11:22:33:44:55"
std::string hexText(const std::vector<uint8_t>& b);  // "0a1b2c"
// The bytes as text when every one is printable, else as hex.
std::string printableOrHex(const std::vector<uint8_t>& b);
// A chassis ID or port ID by its subtype: a MAC address, a network address
// (IANA family octet first), a name, or hex.
std::string idText(bool chassis, uint32_t subtype, const std::vector<uint8_t>& id);
std::string chassisSubtypeName(uint32_t subtype);
std::string portSubtypeName(uint32_t subtype);
// System capabilities (the agent's two-octet map, capability n at
// 0x8000 >> n), by name and as the one-letter codes of the brief table.
Json capabilityNames(uint16_t bits);
std::string capabilityLetters(uint16_t bits);
std::string familyName(uint8_t ianaFamily);
std::string ifSubtypeName(uint32_t subtype);
// An object identifier of 4-byte arcs ("1.3.6.1..."); other bytes as hex.
std::string oidText(const std::vector<uint8_t>& b);
std::string oidText(const std::vector<uint32_t>& arcs);
// 1 true, 2 false, anything else null.
Json truth(uint32_t v);
// A name from a table of names indexed by value, or the number as text.
std::string nameOf(uint32_t v, std::initializer_list<std::pair<uint32_t, const char*>> names);
// The names of the bits set in a map, most significant bit first (bit n of a
// `width`-bit map is 1 << (width - 1 - n)).
Json bitNames(uint32_t map, uint32_t width, std::initializer_list<const char*> names);
std::string adminStatusName(uint32_t v);
// The private TLV set's map: bit n for subtype n + 1.
Json privateTlvs(uint16_t map);
std::string medDeviceClassName(uint32_t v);
std::string policyAppName(uint32_t v);
std::string mauTypeName(uint32_t v);
// A location (format 1 coordinate LCI, 2 civic address LCI, 3 ELIN) decoded
// with the agent's own codec.
Json locationJson(uint32_t format, const std::vector<uint8_t>& data);
Json policyJson(const lldpc::MediaPolicy& p);
// A neighbour's basic fields under the keys of show neighbors; its age is
// null without the agent's up-time.
void neighbourBasicJson(Json& j, const lldpc::Neighbour& n, const PortNames& names,
                        const std::optional<uint32_t>& upTime);
Json inventoryJson(const lldpc::MedInventory& inv);
// A duration as "1d 02:03:04", "02:03:04" or "45s".
std::string durationText(uint64_t seconds);

// ---- Output ---------------------------------------------------------------------------
// The generic text form of an object: one "Label: value" line per scalar,
// lists of scalars on one line, nested objects indented, lists of objects as
// "- " items; nulls and empty lists are left out.
void renderText(std::ostream& out, const Json& obj, int indent);
std::string labelOf(const std::string& key);
// Text a neighbour sent, for a terminal: control characters become '?'.
std::string printable(std::string s);
// A cell of a brief table (printable): cut to `width` columns, ".." marking
// the cut.
std::string cell(const std::string& s, size_t width);
void printJson(const Json& doc);
// Prints the document (json) or calls the text printer.
template <class TextFn>
void emit(const Common& common, const Json& doc, TextFn text) {
  if (common.format == Format::Json) {
    printJson(doc);
  } else {
    text();
  }
}

// ---- The views ---------------------------------------------------------------------------
// Each takes its arguments after the sub-command's name.
int showNeighbors(const Common& common, const std::vector<std::string>& args);
int showLocal(const Common& common, const std::vector<std::string>& args);
int showPorts(const Common& common, const std::vector<std::string>& args);
int showStatistics(const Common& common, const std::vector<std::string>& args);
int showConfig(const Common& common, const std::vector<std::string>& args);

// The ports named on the command line (resolved), or every port when none.
std::vector<uint32_t> selectedPorts(lldpc::Client& c, const PortNames& names, const std::vector<std::string>& args);

int verbShow(const Common& common, const std::vector<std::string>& args);
extern const char* const kShowUsage;

}  // namespace lldpctl
