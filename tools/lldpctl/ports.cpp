// Ports by the names operators use: the platform's interface names, read
// once per command (lldpc::portNames), and unit numbers.
#include "client/lldp_objects.h"
#include "lldpctl.h"

namespace lldpctl {

PortNames::PortNames(lldpc::Client& c) : c_(&c), names_(lldpc::portNames(c)) {}

std::string PortNames::name(uint32_t unit) const {
  // The records are in unit order.
  size_t lo = 0, hi = names_.size();
  while (lo < hi) {
    const size_t mid = (lo + hi) / 2;
    if (names_[mid].unit < unit) {
      lo = mid + 1;
    } else {
      hi = mid;
    }
  }
  if (lo < names_.size() && names_[lo].unit == unit) return names_[lo].name;
  return std::to_string(unit);
}

uint32_t PortNames::resolve(const std::string& text) const {
  for (const CmdPortName& p : names_)
    if (p.name == text) return p.unit;
  // "U/name" for a port of this unit of a stack, whose platform name is the
  // bare interface name: its unit number carries the stack unit in its high
  // half.
  const size_t slash = text.find('/');
  if (slash != std::string::npos) {
    const auto stackUnit = parseU32(text.substr(0, slash));
    const std::string bare = text.substr(slash + 1);
    if (stackUnit && *stackUnit > 0) {
      for (const CmdPortName& p : names_)
        if (p.unit >> 16 == *stackUnit && p.name == bare) return p.unit;
    }
  }
  if (const auto unit = parseU32(text); unit && !text.empty() && text[0] != '-') {
    bool known = false;
    for (const CmdPortName& p : names_) known = known || p.unit == *unit;
    // A platform without names: ask the agent whether the port exists.
    if (known || (names_.empty() && lldpc::getPort(*c_, *unit))) return *unit;
  }
  throw UsageError{"no port " + text, false};
}

uint32_t resolvePort(lldpc::Client& c, const std::string& text) { return PortNames(c).resolve(text); }

}  // namespace lldpctl
