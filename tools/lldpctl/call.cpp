// lldpctl call: one raw operation of the command socket, its reply as one
// JSON object. The diagnostic door to the agent, and how the tests drive it.
#include <iostream>
#include <nlohmann/json.hpp>

#include "client/lldp_client.h"
#include "lldpctl.h"

namespace lldpctl {

namespace {

uint32_t number(const std::string& what, const std::string& text) {
  const auto v = parseU32(text);
  if (!v) throw UsageError{what + " is not a 32-bit number: '" + text + "'"};
  return *v;
}

}  // namespace

const char* const kCallUsage =
    "call OP INDEX OBJECT [--int N | --str TEXT | --hex HEX] [--size N]\n"
    "                     [--key HEX] [--key-words W,W,...]\n"
    "\n"
    "Performs one operation of the command socket and prints its reply as\n"
    "{\"result\": CODE, \"value\": N, \"length\": N, \"hex\": \"...\", \"key\": \"...\"}\n"
    "(hex for a buffer request, key when a key record came back).\n"
    "  --int N     integer form with value N (the default, with 0)\n"
    "  --str TEXT  buffer form supplying the text's bytes\n"
    "  --hex HEX   buffer form supplying these bytes\n"
    "  --size N    the length word: a Get's buffer capacity (buffer form when\n"
    "              no value is given), or the supplied length\n"
    "  --key HEX, --key-words W,W,...\n"
    "              the operation's key record, as bytes or 32-bit words in\n"
    "              host order; given several times, the pieces follow each other\n"
    "Numbers are decimal or 0x-prefixed hex. Exit status: 0 whatever the result\n"
    "code, 1 when the agent cannot be reached, 2 for a usage error.\n";

int verbCall(const Common& common, const std::vector<std::string>& args) {
  std::vector<std::string> pos;
  std::optional<uint32_t> intValue, size;
  std::optional<std::vector<uint8_t>> data;
  std::optional<std::vector<uint8_t>> key;
  auto addKey = [&key](const std::vector<uint8_t>& piece) {
    if (!key) key.emplace();
    key->insert(key->end(), piece.begin(), piece.end());
  };
  for (size_t i = 0; i < args.size(); ++i) {
    const std::string& a = args[i];
    const bool hasArg = i + 1 < args.size();
    if (a == "--int" || a == "--str" || a == "--hex" || a == "--size" || a == "--key" || a == "--key-words") {
      if (!hasArg) throw UsageError{a + " needs an argument"};
      const std::string& v = args[++i];
      if (a == "--size") {
        size = number("--size", v);
      } else if (a == "--key" || a == "--key-words") {
        const auto piece = a == "--key" ? parseHex(v) : parseWords(v);
        if (!piece) throw UsageError{a + ": cannot read '" + v + "'"};
        addKey(*piece);
      } else {
        if (intValue || data) throw UsageError{"give at most one of --int, --str, --hex"};
        if (a == "--int") {
          intValue = number("--int", v);
        } else if (a == "--str") {
          data = std::vector<uint8_t>(v.begin(), v.end());
        } else if (!(data = parseHex(v))) {
          throw UsageError{"--hex: cannot read '" + v + "'"};
        }
      }
    } else if (!a.empty() && a[0] == '-' && !parseU32(a)) {
      throw UsageError{"unknown option " + a};
    } else {
      pos.push_back(a);
    }
  }
  if (pos.size() != 3) throw UsageError{"call takes OP INDEX OBJECT"};
  const uint32_t op = number("OP", pos[0]);
  const uint32_t index = number("INDEX", pos[1]);
  const uint32_t object = number("OBJECT", pos[2]);
  if (key && key->size() > kCmdMaxKey)
    throw UsageError{"a key record has at most " + std::to_string(kCmdMaxKey) + " bytes"};
  if ((data && data->size() > kCmdMaxData) || (size && (data || !intValue) && *size > kCmdMaxData))
    throw UsageError{"a buffer has at most " + std::to_string(kCmdMaxData) + " bytes"};

  CmdRequest req;
  if (data) {
    req = lldpc::bufSetRequest(op, index, object, *data);
    if (size) req.len = *size;
  } else if (size && !intValue) {
    req = lldpc::bufGetRequest(op, index, object, *size);
  } else {
    req = lldpc::intRequest(op, index, object, intValue.value_or(0), size.value_or(0));
  }
  if (key) req = lldpc::withKey(std::move(req), *key);

  lldpc::Client client(common.socket);
  const CmdReply r = client.call(req);
  nlohmann::ordered_json out;
  out["result"] = r.rc;
  out["value"] = r.value;
  out["length"] = r.len;
  if (req.flags & kCmdFlagBuffer) out["hex"] = toHex(r.data);
  if (r.keyed) out["key"] = toHex(r.key);
  std::cout << out.dump() << "\n";
  return kExitOk;
}

}  // namespace lldpctl
