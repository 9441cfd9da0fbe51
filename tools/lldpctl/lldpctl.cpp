// lldpctl: common options, verb dispatch, exit statuses.
#include "lldpctl.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <iostream>

#include <sys/stat.h>

#include "client/lldp_client.h"
#include "show.h"

namespace lldpctl {

namespace {

// The verbs. Each one's usage text starts with its synopsis; main's help
// lists them all.
const Verb kVerbs[] = {
    {"show", verbShow, kShowUsage, true},
    {"call", verbCall, kCallUsage},
    {"set", verbSet, kSetUsage, true},
    {"port", verbPort, kPortUsage, true},
    {"clear", verbClear, kClearUsage},
    {"watch", verbWatch, kWatchUsage},
};

const char* kUsage =
    "usage: lldpctl [-s SOCKET] [-f text|json] COMMAND [ARGS...]\n"
    "       lldpctl COMMAND --help | --help | --version\n"
    "\n"
    "  -s, --socket SOCKET  the agent's command socket (default:\n"
    "                       /run/lldpagent/lldpcmd.socket, the service's, when it\n"
    "                       exists, else /tmp/lldpcmd.socket)\n"
    "  -f, --format FORMAT  text (the default) or json: one JSON document per command\n"
    "  -j, --json           the same as -f json\n"
    "  -v, --version        prints lldpctl's version\n"
    "\n"
    "Commands (lldpctl COMMAND --help says more of each):\n";

const char* kTrailer =
    "\nExit status: 0 on success, 1 when the agent cannot be reached, 2 for a usage\n"
    "error or a bad argument (an unknown port...).\n";

const Verb* findVerb(const std::string& name) {
  for (const Verb& v : kVerbs)
    if (name == v.name) return &v;
  return nullptr;
}

std::string synopsis(const char* usage) {
  const std::string u = usage;
  const size_t cut = u.find("\n\n");
  return cut == std::string::npos ? u : u.substr(0, cut + 1);
}

void printHelp() {
  std::cout << kUsage;
  for (const Verb& v : kVerbs) {
    const std::string syn = synopsis(v.usage);
    size_t start = 0;
    for (size_t nl; (nl = syn.find('\n', start)) != std::string::npos; start = nl + 1)
      std::cout << "  " << syn.substr(start, nl + 1 - start);
  }
  std::cout << kTrailer;
}

// The systemd service serves its socket here; an agent started by hand uses
// the agent's own default.
constexpr const char* kServiceSocket = "/run/lldpagent/lldpcmd.socket";

std::string defaultSocket() {
  struct stat st {};
  if (::stat(kServiceSocket, &st) == 0 && S_ISSOCK(st.st_mode)) return kServiceSocket;
  return lldpc::kDefaultSocket;
}

int hexDigit(char c) {
  if (c >= '0' && c <= '9') return c - '0';
  if (c >= 'a' && c <= 'f') return c - 'a' + 10;
  if (c >= 'A' && c <= 'F') return c - 'A' + 10;
  return -1;
}

}  // namespace

void printUsageError(const std::string& message, const char* usage, const std::string& command) {
  const std::string u = usage;
  const std::string syn = synopsis(usage);
  std::cerr << "lldpctl: " << message << "\n";
  size_t start = 0;
  for (size_t nl; (nl = syn.find('\n', start)) != std::string::npos; start = nl + 1) {
    // Continuation lines of a synopsis are indented; each other line is a
    // command of its own.
    const bool continued = syn[start] == ' ';
    std::cerr << (start == 0 ? "usage: lldpctl " : continued ? "               " : "       lldpctl ")
              << syn.substr(start, nl + 1 - start);
  }
  std::cerr << "(lldpctl " << (command.empty() ? u.substr(0, u.find_first_of(" \n")) : command)
            << " --help says more)\n";
}

std::optional<uint32_t> parseU32(const std::string& s) {
  if (s.empty()) return std::nullopt;
  errno = 0;
  char* end = nullptr;
  const long long v = std::strtoll(s.c_str(), &end, 0);
  if (errno || *end || v < -2147483648LL || v > 0xFFFFFFFFLL) return std::nullopt;
  return static_cast<uint32_t>(v);
}

std::optional<std::vector<uint8_t>> parseHex(const std::string& s) {
  std::string digits;
  size_t i = (s.rfind("0x", 0) == 0 || s.rfind("0X", 0) == 0) ? 2 : 0;
  for (; i < s.size(); ++i) {
    if (s[i] == ':' || s[i] == ' ') continue;
    if (hexDigit(s[i]) < 0) return std::nullopt;
    digits.push_back(s[i]);
  }
  if (digits.size() % 2) return std::nullopt;
  std::vector<uint8_t> out;
  for (size_t k = 0; k < digits.size(); k += 2)
    out.push_back(static_cast<uint8_t>(hexDigit(digits[k]) << 4 | hexDigit(digits[k + 1])));
  return out;
}

std::optional<std::vector<uint8_t>> parseWords(const std::string& s) {
  std::vector<uint8_t> out;
  size_t start = 0;
  for (;;) {
    const size_t comma = s.find(',', start);
    const auto w = parseU32(s.substr(start, comma == std::string::npos ? std::string::npos : comma - start));
    if (!w) return std::nullopt;
    cmdAddU32(out, *w);
    if (comma == std::string::npos) return out;
    start = comma + 1;
  }
}

std::string toHex(const std::vector<uint8_t>& b) {
  static const char* d = "0123456789abcdef";
  std::string s;
  s.reserve(b.size() * 2);
  for (uint8_t x : b) {
    s.push_back(d[x >> 4]);
    s.push_back(d[x & 15]);
  }
  return s;
}

}  // namespace lldpctl

int main(int argc, char** argv) {
  using namespace lldpctl;
  Common common;
  std::vector<std::string> args(argv + 1, argv + argc);
  const Verb* verb = nullptr;
  try {
    size_t i = 0;
    for (; i < args.size() && !args[i].empty() && args[i][0] == '-'; ++i) {
      const std::string& a = args[i];
      if (a == "-h" || a == "--help") {
        printHelp();
        return kExitOk;
      }
      if (a == "-v" || a == "--version") {
        std::cout << "lldpctl " << LLDP_VERSION << "\n";
        return kExitOk;
      }
      if (a == "-j" || a == "--json") {
        common.format = Format::Json;
        continue;
      }
      const bool hasArg = i + 1 < args.size();
      if (a == "-s" || a == "--socket" || a == "-f" || a == "--format") {
        if (!hasArg) throw UsageError{a + " needs an argument"};
        const std::string& v = args[++i];
        if (a == "-s" || a == "--socket") {
          common.socket = v;
        } else if (v == "text") {
          common.format = Format::Text;
        } else if (v == "json") {
          common.format = Format::Json;
        } else {
          throw UsageError{"unknown format '" + v + "' (text or json)"};
        }
        continue;
      }
      throw UsageError{"unknown option " + a};
    }
    if (i >= args.size()) throw UsageError{"no command given"};
    verb = findVerb(args[i]);
    if (!verb) throw UsageError{"unknown command '" + args[i] + "'"};
    if (common.socket.empty()) common.socket = defaultSocket();
    const std::vector<std::string> rest(args.begin() + static_cast<long>(i) + 1, args.end());
    if (!verb->ownHelp) {
      for (const std::string& a : rest) {
        if (a == "-h" || a == "--help") {
          std::cout << "usage: lldpctl " << verb->usage;
          return kExitOk;
        }
      }
    }
    return verb->run(common, rest);
  } catch (const UsageError& e) {
    if (!e.synopsis) {
      std::cerr << "lldpctl: " << e.message << "\n";
    } else if (verb) {
      printUsageError(e.message, verb->usage);
    } else {
      std::cerr << "lldpctl: " << e.message << "\n" << synopsis(kUsage) << "(lldpctl --help says more)\n";
    }
    return kExitUsage;
  } catch (const lldpc::UnreachableError& e) {
    std::cerr << "lldpctl: " << e.what() << "\n";
    return kExitUnreachable;
  } catch (const lldpc::Error& e) {
    std::cerr << "lldpctl: " << e.what() << "\n";
    return kExitUnreachable;
  }
}
