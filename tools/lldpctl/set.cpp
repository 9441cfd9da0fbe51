// lldpctl set / port PORT set / clear statistics: the operator's changes.
// Every word is checked against the settings table (settings.cpp) before the
// agent is asked anything; the checks that need the agent's state (the
// interval for tx-delay, a port's supported TLVs) come next; only then are
// the changes sent, in the order given.
#include <algorithm>
#include <iostream>

#include "client/lldp_objects.h"
#include "lldpctl.h"
#include "settings.h"

namespace lldpctl {

const char* const kSetUsage =
    "set NAME VALUE [NAME VALUE ...]\n"
    "\n"
    "Changes agent-wide settings, each checked here before any is sent.\n";
const char* const kPortUsage =
    "port PORT set NAME VALUE [NAME VALUE ...]\n"
    "\n"
    "Changes settings of one port (PORT: its interface name or unit), each\n"
    "checked here before any is sent.\n";
const char* const kClearUsage =
    "clear statistics [PORT]\n"
    "\n"
    "Clears the counters of the port, or without PORT the agent's and every port's.\n";

namespace {

namespace g = lldpc::gobj;

// A change the agent refused or could not make: one line, status 1.
struct Refused {
  std::string message;
};

// Prints text in lines of at most 78 columns, each indented by six.
void printWrapped(const std::string& text) {
  std::string line;
  size_t start = 0;
  while (start < text.size()) {
    size_t end = text.find(' ', start);
    if (end == std::string::npos) end = text.size();
    const std::string word = text.substr(start, end - start);
    if (!line.empty() && line.size() + 1 + word.size() > 72) {
      std::cout << "      " << line << "\n";
      line.clear();
    }
    line += (line.empty() ? "" : " ") + word;
    start = end + 1;
  }
  if (!line.empty()) std::cout << "      " << line << "\n";
}

void printSettings(Scope scope) {
  std::cout << "usage: lldpctl " << (scope == Scope::Global ? kSetUsage : kPortUsage) << "\nSettings:\n";
  for (const auto& s : settingsTable()) {
    if (s.scope != scope) continue;
    std::cout << "  " << s.name << " " << settingSynopsis(s) << "\n";
    std::string help = std::string(s.what) + ": " + s.help;
    if (s.kind == Kind::Tlvs) {
      help += ". NAME:";
      for (const auto& n : s.names) help += std::string(" ") + n.name;
      help += "; +NAME and -NAME change the set the port sends now";
    }
    printWrapped(help);
  }
}

std::vector<Change> parseChanges(const std::vector<std::string>& args, size_t from, Scope scope) {
  std::vector<Change> out;
  if (from >= args.size()) throw UsageError{"no setting given"};
  for (size_t i = from; i < args.size();) {
    const Setting* s = findSetting(args[i], scope);
    if (!s) throw UsageError{"unknown setting '" + args[i] + "'"};
    if (s->scope != scope)
      throw UsageError{std::string(s->name) + " is " +
                           (scope == Scope::Global ? "a port setting: lldpctl port PORT set "
                                                   : "agent-wide: lldpctl set ") +
                           s->name + " ...",
                       false};
    const size_t n = settingArity(*s);
    if (i + n >= args.size())
      throw UsageError{std::string(s->name) + " needs " + settingSynopsis(*s)};
    out.push_back(parseChange(*s, std::vector<std::string>(args.begin() + static_cast<long>(i) + 1,
                                                           args.begin() + static_cast<long>(i + 1 + n))));
    i += 1 + n;
  }
  return out;
}

std::string codeText(uint32_t code) {
  switch (code) {
    case lldpc::kAgentDisabled:
      return "the agent is disabled (lldpctl set adminstatus enabled)";
    case lldpc::kNotSupported:
      return "the port does not support that TLV";
    case lldpc::kNoMemory:
      return "the management-address limit is reached";
    case lldpc::kBadArgument:
      return "the agent refused the value";
    default:
      return lldpc::resultName(code);
  }
}

// The TLV map a Tlvs change leaves, checked against what the port supports.
std::vector<uint8_t> tlvMap(lldpc::Client& c, uint32_t unit, const Change& ch) {
  const Setting& s = *ch.setting;
  std::vector<uint8_t> supported = c.getBytes(lldpc::op::kPortGet, unit, s.hi, 2);
  supported.resize(s.lo, 0);
  std::vector<uint8_t> map = ch.bytes;
  if (ch.value == 1) map = supported;  // all
  if (ch.relative) {
    map = c.getBytes(lldpc::op::kPortGet, unit, s.object, 2);
    map.resize(s.lo, 0);
    for (size_t i = 0; i < map.size(); ++i)
      map[i] = static_cast<uint8_t>((map[i] | ch.bytes[i]) & ~ch.minus[i]);
  }
  for (const auto& n : s.names) {
    const uint8_t bit = static_cast<uint8_t>(0x80 >> (n.value % 8));
    if ((map[n.value / 8] & bit) && !(supported[n.value / 8] & bit))
      throw UsageError{std::string(s.name) + ": the port does not support " + n.name, false};
  }
  // LLDP-MED: the capabilities TLV comes with any other LLDP-MED TLV.
  if (s.object == lldpc::pobj::kMedEnabled && !(map[0] & 0x80) && ((map[0] & 0x7F) || map[1]))
    throw UsageError{"med-tlvs: capabilities must be sent when any other LLDP-MED TLV is", false};
  return map;
}

bool addressExists(lldpc::Client& c, std::optional<uint32_t> unit, const lldpc::MgmtAddress& a) {
  using namespace lldpc;
  const CmdReply r = unit ? c.call(withKey(intRequest(op::kPortManAddrGet, 0, mobj::kPortRowStatus),
                                           portManAddrKey(a, *unit)))
                          : c.call(withKey(intRequest(op::kManAddrGet, 0, mobj::kAddrLen), manAddrKey(a)));
  return r.rc == kOk;
}

// Checks that need the agent, and the follow-up changes they imply.
void checkWithAgent(lldpc::Client& c, std::optional<uint32_t> unit, std::vector<Change>& changes) {
  const Change* interval = nullptr;
  const Change* txDelay = nullptr;
  for (const auto& ch : changes) {
    if (ch.setting->object == g::kMsgTxInterval && ch.setting->scope == Scope::Global) interval = &ch;
    if (ch.setting->object == g::kTxDelay && ch.setting->scope == Scope::Global) txDelay = &ch;
  }
  if (interval || txDelay) {
    const uint32_t iv = interval ? interval->value : c.getInt(lldpc::op::kScalarGet, 0, g::kMsgTxInterval);
    const uint32_t td = txDelay ? txDelay->value : c.getInt(lldpc::op::kScalarGet, 0, g::kTxDelay);
    if (td * 4 > iv) {
      if (txDelay)
        throw UsageError{"tx-delay (txDelay) must be at most a quarter of the interval (" + std::to_string(iv) +
                         " s): 1.." + std::to_string(std::max<uint32_t>(iv / 4, 1)) + ", not " +
                         std::to_string(td),
                         false};
      // A shorter interval takes the delay down with it, and says so.
      Change lower;
      lower.setting = findSetting("tx-delay", Scope::Global);
      lower.value = std::max<uint32_t>(iv / 4, 1);
      lower.words = {std::to_string(lower.value)};
      std::cerr << "lldpctl: tx-delay lowered from " << td << " to " << lower.value
                << " s, at most a quarter of the interval\n";
      changes.insert(changes.begin(), lower);
    }
  }
  for (auto& ch : changes) {
    if (ch.setting->kind == Kind::Tlvs) ch.bytes = tlvMap(c, *unit, ch), ch.relative = false, ch.value = 0;
  }
  // Tagging resets the voice policy: it goes before the other fields.
  std::stable_partition(changes.begin(), changes.end(), [](const Change& ch) {
    return ch.setting->kind == Kind::Policy && ch.sub == lldpc::polobj::kTagged;
  });
}

void applyOne(lldpc::Client& c, std::optional<uint32_t> unit, const Change& ch) {
  const Setting& s = *ch.setting;
  switch (s.kind) {
    case Kind::Number:
    case Kind::Choice:
      if (unit) lldpc::setPortInt(c, *unit, s.object, ch.value);
      else lldpc::setGlobal(c, s.object, ch.value);
      break;
    case Kind::Tlvs:
      lldpc::setPortBytes(c, *unit, s.object, ch.bytes);
      break;
    case Kind::Vlans:
      lldpc::setPortBytes(c, *unit, ch.sub ? s.object : s.object + 1, ch.bytes);
      break;
    case Kind::Address: {
      const bool exists = addressExists(c, unit, ch.address);
      if (ch.sub && exists) {
        // Adding it again would count against the limit for nothing.
        std::cerr << "lldpctl: " << ch.address.str() << " is already configured\n";
        break;
      }
      if (!ch.sub && !exists) throw Refused{"mgmt-address: " + ch.address.str() + " is not configured"};
      if (ch.sub && !unit) {
        // The agent-wide table refuses past its limit without saying so.
        const auto gc = lldpc::getGlobalConfig(c);
        if (gc.mgmtAddrCount > gc.mgmtAddrLimit)
          throw Refused{"mgmt-address: the limit of management addresses (" + std::to_string(gc.mgmtAddrLimit) +
                        ") is reached"};
      }
      if (unit) {
        if (ch.sub) lldpc::addPortManAddr(c, *unit, ch.address);
        else lldpc::deletePortManAddr(c, *unit, ch.address);
      } else {
        if (ch.sub) lldpc::addManAddr(c, ch.address);
        else lldpc::deleteManAddr(c, ch.address);
      }
      break;
    }
    case Kind::Policy:
      lldpc::setPolicy(c, *unit, 1, ch.sub, ch.value);
      break;
    case Kind::Location:
      if (ch.remove) lldpc::removeLocation(c, *unit, ch.value);
      else lldpc::setLocation(c, *unit, ch.value, ch.bytes);
      break;
  }
}

std::string describe(const Change& ch) {
  std::string s = ch.setting->name;
  for (const auto& w : ch.words) s += " " + w;
  return s;
}

int applyAll(lldpc::Client& c, std::optional<uint32_t> unit, const std::string& where, std::vector<Change> changes) {
  checkWithAgent(c, unit, changes);
  for (size_t i = 0; i < changes.size(); ++i) {
    try {
      applyOne(c, unit, changes[i]);
    } catch (const lldpc::OperationError& e) {
      std::string msg = where + describe(changes[i]) + ": " + codeText(e.code());
      if (i) msg += " (the " + std::to_string(i) + " change(s) before it were made)";
      throw Refused{msg};
    }
  }
  return kExitOk;
}

// Runs a verb's body, turning the agent's refusals into one line and status
// 1, the status of an agent that cannot be reached: the change was not made.
template <class F>
int refusals(F&& body) {
  try {
    return body();
  } catch (const Refused& r) {
    std::cerr << "lldpctl: " << r.message << "\n";
    return kExitUnreachable;
  } catch (const lldpc::OperationError& e) {
    std::cerr << "lldpctl: " << e.what() << "\n";
    return kExitUnreachable;
  }
}

bool wantsHelp(const std::vector<std::string>& args) {
  return std::find_if(args.begin(), args.end(), [](const std::string& a) { return a == "--help" || a == "-h"; }) !=
         args.end();
}

}  // namespace

int verbSet(const Common& common, const std::vector<std::string>& args) {
  if (wantsHelp(args)) {
    printSettings(Scope::Global);
    return kExitOk;
  }
  auto changes = parseChanges(args, 0, Scope::Global);
  return refusals([&] {
    lldpc::Client c(common.socket);
    return applyAll(c, std::nullopt, "", std::move(changes));
  });
}

int verbPort(const Common& common, const std::vector<std::string>& args) {
  if (wantsHelp(args)) {
    printSettings(Scope::Port);
    return kExitOk;
  }
  if (args.size() < 2 || args[1] != "set")
    throw UsageError{args.empty() ? "port needs PORT set NAME VALUE" : "port " + args[0] + ": only 'set' follows"};
  auto changes = parseChanges(args, 2, Scope::Port);
  return refusals([&] {
    lldpc::Client c(common.socket);
    const uint32_t unit = resolvePort(c, args[0]);
    return applyAll(c, unit, "port " + args[0] + ": ", std::move(changes));
  });
}

int verbClear(const Common& common, const std::vector<std::string>& args) {
  if (args.empty() || args[0] != "statistics" || args.size() > 2) throw UsageError{"clear takes statistics [PORT]"};
  return refusals([&] {
    lldpc::Client c(common.socket);
    try {
      if (args.size() == 2) {
        lldpc::clearPortCounters(c, resolvePort(c, args[1]));
        return kExitOk;
      }
      lldpc::clearGlobalCounters(c);
      for (uint32_t unit : lldpc::portUnits(c).all()) lldpc::clearPortCounters(c, unit);
    } catch (const lldpc::OperationError& e) {
      throw Refused{"clear statistics: " + codeText(e.code())};
    }
    return kExitOk;
  });
}

}  // namespace lldpctl
