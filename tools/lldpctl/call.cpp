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
