// lldpctl: common options, verb dispatch, exit statuses.
#include "lldpctl.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <iostream>

#include <sys/stat.h>

#include "client/lldp_client.h"

namespace lldpctl {

namespace {

const char* kUsage =
    "usage: lldpctl [-s SOCKET] call OP INDEX OBJECT [--int N | --str TEXT | --hex HEX]\n"
    "                                 [--size N] [--key HEX] [--key-words W,W,...]\n"
    "\n"
    "  -s SOCKET   the agent's command socket (default: /run/lldpagent/lldpcmd.socket, the\n"
    "              service's, when it exists, else /tmp/lldpcmd.socket)\n"
    "\n"
    "  call        performs one operation of the command socket and prints its reply as\n"
    "              {\"result\": CODE, \"value\": N, \"length\": N, \"hex\": \"...\", \"key\": \"...\"}\n"
    "              (hex for a buffer request, key when a key record came back).\n"
    "              --int N     integer form with value N (the default, with 0)\n"
    "              --str TEXT  buffer form supplying the text's bytes\n"
    "              --hex HEX   buffer form supplying these bytes\n"
    "              --size N    the length word: a Get's buffer capacity (buffer form when\n"
    "                          no value is given), or the supplied length\n"
    "              --key HEX, --key-words W,W,...\n"
    "                          the operation's key record, as bytes or 32-bit words in\n"
    "                          host order; given several times, the pieces follow each other\n"
    "\n"
    "Numbers are decimal or 0x-prefixed hex. Exit status: 0 whatever the result code,\n"
    "1 when the agent cannot be reached, 2 for a usage error.\n";

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
  common.socket = "";
  std::vector<std::string> args(argv + 1, argv + argc);
  size_t i = 0;
  try {
    for (; i < args.size() && !args[i].empty() && args[i][0] == '-'; ++i) {
      if (args[i] == "-h" || args[i] == "--help") {
        std::cout << kUsage;
        return kExitOk;
      }
      if ((args[i] == "-s" || args[i] == "--socket") && i + 1 < args.size()) {
        common.socket = args[++i];
        continue;
      }
      throw UsageError{"unknown option " + args[i]};
    }
    if (i >= args.size()) throw UsageError{"no verb given"};
    if (common.socket.empty()) common.socket = defaultSocket();
    const std::string verb = args[i];
    const std::vector<std::string> rest(args.begin() + static_cast<long>(i) + 1, args.end());
    if (verb == "call") return verbCall(common, rest);
    throw UsageError{"unknown verb " + verb};
  } catch (const UsageError& e) {
    // The synopsis only; --help has the rest.
    const std::string usage = kUsage;
    std::cerr << "lldpctl: " << e.message << "\n"
              << usage.substr(0, usage.find("\n\n") + 1) << "(lldpctl --help says more)\n";
    return kExitUsage;
  } catch (const lldpc::UnreachableError& e) {
    std::cerr << "lldpctl: " << e.what() << "\n";
    return kExitUnreachable;
  } catch (const lldpc::Error& e) {
    std::cerr << "lldpctl: " << e.what() << "\n";
    return kExitUnreachable;
  }
}
