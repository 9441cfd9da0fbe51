// lldpctl: the operator's client of the agent's command socket, built on the
// client library (src/client). Each verb is a function over the parsed
// common options and its own arguments.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "client/lldp_client.h"
#include "platform/common/cmdframe.h"

namespace lldpctl {

// Exit statuses.
constexpr int kExitOk = 0;
constexpr int kExitUnreachable = 1;  // the socket cannot be reached (or the connection failed)
constexpr int kExitUsage = 2;

enum class Format { Text, Json };

struct Common {
  std::string socket;
  Format format = Format::Text;
};

// A usage error: the message is printed with the verb's synopsis, status 2.
// With synopsis false (a bad value rather than a bad command line: "no port
// eth9") the message alone is printed.
struct UsageError {
  std::string message;
  bool synopsis = true;
};

// A verb of the command line: `lldpctl [OPTIONS] NAME ARGS...`. `usage` is
// its synopsis, a blank line and the details (`lldpctl NAME --help` prints
// it whole, a usage error the synopsis). With ownHelp the verb reads --help
// itself (verbs with sub-commands of their own).
struct Verb {
  const char* name;
  int (*run)(const Common& common, const std::vector<std::string>& args);
  const char* usage;
  bool ownHelp = false;
};
// Prints a usage error's message and a synopsis the way main does; the
// closing hint names `command` (by default the usage's first word).
void printUsageError(const std::string& message, const char* usage, const std::string& command = "");

// ---- Ports by name ---------------------------------------------------------------
// Operators name ports by their interface name ("eth1", "swp3", "2/eth1" for
// a port of stack unit 2); the platform tells the names (lldpc::portNames).
// A unit number is accepted as well.
class PortNames {
 public:
  explicit PortNames(lldpc::Client& c);
  // The operator's name of a port: the platform's, else its unit number.
  std::string name(uint32_t unit) const;
  // The unit of a port name or number; UsageError "no port NAME" (without
  // synopsis) when there is no such port.
  uint32_t resolve(const std::string& text) const;

 private:
  lldpc::Client* c_;
  std::vector<CmdPortName> names_;
};
uint32_t resolvePort(lldpc::Client& c, const std::string& text);

// Argument parsing shared by the verbs. Numbers are decimal or 0x-prefixed
// hex; parseU32 also takes a negative number down to -2^31 as its 32-bit
// two's complement. Hex text may separate bytes with ':' or spaces.
std::optional<uint32_t> parseU32(const std::string& s);
std::optional<std::vector<uint8_t>> parseHex(const std::string& s);
// "W,W,..." as 32-bit words in host order.
std::optional<std::vector<uint8_t>> parseWords(const std::string& s);
std::string toHex(const std::vector<uint8_t>& b);

// lldpctl call OP INDEX OBJECT [--int N | --str TEXT | --hex HEX] [--size N]
//              [--key HEX] [--key-words W,W,...]
int verbCall(const Common& common, const std::vector<std::string>& args);
extern const char* const kCallUsage;

// lldpctl set NAME VALUE ... / port PORT set NAME VALUE ... / clear
// statistics [PORT] (set.cpp, settings.cpp); lldpctl watch (watch.cpp).
int verbSet(const Common& common, const std::vector<std::string>& args);
int verbPort(const Common& common, const std::vector<std::string>& args);
int verbClear(const Common& common, const std::vector<std::string>& args);
int verbWatch(const Common& common, const std::vector<std::string>& args);
extern const char* const kSetUsage;
extern const char* const kPortUsage;
extern const char* const kClearUsage;
extern const char* const kWatchUsage;

}  // namespace lldpctl
