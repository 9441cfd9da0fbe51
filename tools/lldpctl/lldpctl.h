// lldpctl: the operator's client of the agent's command socket, built on the
// client library (src/client). Each verb is a function over the parsed
// common options and its own arguments.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace lldpctl {

// Exit statuses.
constexpr int kExitOk = 0;
constexpr int kExitUnreachable = 1;  // the socket cannot be reached (or the connection failed)
constexpr int kExitUsage = 2;

struct Common {
  std::string socket;
};

// A usage error: the message is printed with the usage text, status 2.
struct UsageError {
  std::string message;
};

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

}  // namespace lldpctl
