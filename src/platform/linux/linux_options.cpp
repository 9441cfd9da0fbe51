// The options file and the daemon's command line.
//
// The file is `key = value` lines; `#` starts a comment anywhere on a line.
// It is read once by procArgsInit before the agent starts; silOptRead then
// answers from memory. An unknown key is a warning (a typo must not pass
// silently), a line that is not `key = value` is fatal.
#include <cctype>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <map>
#include <sstream>

#include <sys/socket.h>
#include <unistd.h>

#include "platform/linux/linux_platform.h"
#include "platform/proc_shell.h"
#include "platform/sil.h"

#ifndef LLDP_VERSION
#define LLDP_VERSION "0.1.0"
#endif

namespace lnx {
namespace {

std::map<std::string, std::string>& store() {
  static std::map<std::string, std::string> s;
  return s;
}

const char* const kKnownKeys[] = {
    // The agent's own start-up options.
    "lldp.enable", "lldp.defaultenable", "lldp.maxifnum", "lldp.dot1enable", "lldp.dot3enable",
    "lldp.medenable", "lldp.privenable", "lldp.dcbxenable", "lldp.mode", "lldp.defaultportmode",
    "lldp.maxmgmtaddrnum", "snmp.enterpriseoid", "lldp.methifenable", "lldp.debugflags",
    // What Linux cannot tell (docs/options.md).
    "host.ports", "host.exclude", "host.mgmtif", "host.cmdsocket", "host.syslog",
    "host.sysname", "host.sysdescr", "host.sysmac", "host.mgmtaddr", "host.hwrev",
    "host.fwrev", "host.swrev", "host.serial", "host.manufacturer", "host.assetid",
    "host.privateoui", "host.sysoid", "host.meddevclass", "host.medcaps", "host.pvid",
    "host.vlanfilter", "host.tpid", "host.mautype", "host.bondmembers", "host.poe",
    "host.poeclass", "host.poepriority", "host.poepairs", "host.medpowertype",
    "host.psepowersource", "host.voicevlan", "host.voicepriority", "host.voicedscp",
};

std::string trim(const std::string& s) {
  size_t b = 0, e = s.size();
  while (b < e && std::isspace(static_cast<unsigned char>(s[b]))) ++b;
  while (e > b && std::isspace(static_cast<unsigned char>(s[e - 1]))) --e;
  return s.substr(b, e - b);
}

bool validKey(const std::string& k) {
  if (k.empty()) return false;
  for (char c : k) {
    const unsigned char u = static_cast<unsigned char>(c);
    if (!std::isalnum(u) && c != '.' && c != '_' && c != '-') return false;
  }
  return true;
}

std::string gConfPath = "/etc/lldp/lldp.conf";

}  // namespace

bool optKnownKey(const std::string& key) {
  for (const char* k : kKnownKeys)
    if (key == k) return true;
  return false;
}

bool optParse(const std::string& text, const std::string& file,
              std::vector<std::pair<std::string, std::string>>* out,
              std::vector<OptError>* errors, std::vector<OptError>* warnings) {
  std::istringstream in(text);
  std::string raw;
  int lineNo = 0;
  bool ok = true;
  while (std::getline(in, raw)) {
    ++lineNo;
    const size_t hash = raw.find('#');
    const std::string line = trim(hash == std::string::npos ? raw : raw.substr(0, hash));
    if (line.empty()) continue;
    const size_t eq = line.find('=');
    if (eq == std::string::npos) {
      errors->push_back({file, lineNo, "expected 'key = value'"});
      ok = false;
      continue;
    }
    const std::string key = trim(line.substr(0, eq));
    const std::string value = trim(line.substr(eq + 1));
    if (!validKey(key)) {
      errors->push_back({file, lineNo, "bad key '" + key + "'"});
      ok = false;
      continue;
    }
    if (!optKnownKey(key)) warnings->push_back({file, lineNo, "unknown key '" + key + "' ignored"});
    out->emplace_back(key, value);
  }
  return ok;
}

bool optLoadFile(const std::string& path, OptError* err) {
  std::ifstream f(path);
  if (!f) {
    *err = {path, 0, std::strerror(errno)};
    return false;
  }
  std::stringstream ss;
  ss << f.rdbuf();
  if (f.bad()) {
    *err = {path, 0, "read error"};
    return false;
  }
  std::vector<std::pair<std::string, std::string>> kv;
  std::vector<OptError> errors, warnings;
  if (!optParse(ss.str(), path, &kv, &errors, &warnings)) {
    *err = errors.front();
    return false;
  }
  for (const auto& w : warnings)
    std::fprintf(stderr, "lldpagent: warning: %s:%d: %s\n", w.file.c_str(), w.line,
                 w.reason.c_str());
  for (const auto& [k, v] : kv) store()[k] = v;
  return true;
}

void optSet(const std::string& key, const std::string& value) { store()[key] = value; }
void optClear() { store().clear(); }

bool optGet(const std::string& key, std::string* value) {
  auto it = store().find(key);
  if (it == store().end()) return false;
  if (value) *value = it->second;
  return true;
}

std::string optString(const std::string& key, const std::string& dflt) {
  std::string v;
  return optGet(key, &v) && !v.empty() ? v : dflt;
}

long optLong(const std::string& key, long dflt) {
  std::string v;
  if (!optGet(key, &v) || v.empty()) return dflt;
  char* end = nullptr;
  const long n = std::strtol(v.c_str(), &end, 0);
  return end && *end == '\0' ? n : dflt;
}

bool optBool(const std::string& key, bool dflt) {
  std::string v;
  if (!optGet(key, &v) || v.empty()) return dflt;
  const char c = static_cast<char>(std::tolower(static_cast<unsigned char>(v[0])));
  if (c == 't' || c == 'y' || c == '1' || v == "on") return true;
  if (c == 'f' || c == 'n' || c == '0' || v == "off") return false;
  return dflt;
}

}  // namespace lnx

int silOptRead(int /*ctx*/, const char* key, int /*a*/, int /*b*/, int /*c*/, char* buf,
               int bufLen) {
  if (!key || !buf || bufLen < 0) return -1;
  std::string v;
  if (!lnx::optGet(key, &v)) return 0;
  const size_t n = std::min(v.size(), static_cast<size_t>(bufLen));
  std::memcpy(buf, v.data(), n);
  buf[n] = '\0';
  return static_cast<int>(n);
}

namespace {

void usage(FILE* to) {
  std::fprintf(to,
               "usage: lldpagent [-c FILE] [-d MASK] [--help] [--version]\n"
               "  -c FILE    options file (default /etc/lldp/lldp.conf)\n"
               "  -d MASK    trace classes to switch on, e.g. 0x1ff (see docs/options.md)\n"
               "  --help     show this text\n"
               "  --version  show the version\n"
               "The agent stays in the foreground and logs to standard error.\n");
}

}  // namespace

int procArgsInit(int argc, char** argv) {
  std::string conf = lnx::gConfPath;
  std::string debug;
  bool haveDebug = false;
  for (int i = 1; i < argc; ++i) {
    const std::string a = argv[i];
    if (a == "--help" || a == "-h") {
      usage(stdout);
      return 1;
    }
    if (a == "--version" || a == "-V") {
      std::printf("lldpagent %s\n", LLDP_VERSION);
      return 1;
    }
    if ((a == "-c" || a == "-d") && i + 1 >= argc) {
      std::fprintf(stderr, "lldpagent: option %s needs an argument\n", a.c_str());
      return -1;
    }
    if (a == "-c") {
      conf = argv[++i];
    } else if (a == "-d") {
      debug = argv[++i];
      char* end = nullptr;
      std::strtoul(debug.c_str(), &end, 0);
      if (debug.empty() || !end || *end != '\0') {
        std::fprintf(stderr, "lldpagent: -d needs a number, not '%s'\n", debug.c_str());
        return -1;
      }
      haveDebug = true;
    } else {
      std::fprintf(stderr, "lldpagent: unknown argument '%s' (try --help)\n", a.c_str());
      return -1;
    }
  }

  lnx::OptError err;
  if (!lnx::optLoadFile(conf, &err)) {
    if (err.line > 0)
      std::fprintf(stderr, "lldpagent: %s:%d: %s\n", err.file.c_str(), err.line,
                   err.reason.c_str());
    else
      std::fprintf(stderr, "lldpagent: cannot read options file %s: %s\n", err.file.c_str(),
                   err.reason.c_str());
    return -1;
  }
  lnx::gConfPath = conf;
  std::string fileDebug;
  if (lnx::optGet("lldp.debugflags", &fileDebug)) {
    char* end = nullptr;
    const unsigned long m = std::strtoul(fileDebug.c_str(), &end, 0);
    if (fileDebug.empty() || !end || *end != '\0') {
      std::fprintf(stderr, "lldpagent: %s: lldp.debugflags needs a number, not '%s'\n",
                   conf.c_str(), fileDebug.c_str());
      return -1;
    }
    lnx::optSet("lldp.debugflags", std::to_string(m));
  }
  if (haveDebug) {
    // The agent reads the mask as a decimal number.
    lnx::optSet("lldp.debugflags", std::to_string(std::strtoul(debug.c_str(), nullptr, 0)));
  }

  // Without raw sockets the agent cannot do anything useful: say so at once
  // rather than through the agent's generic start-up failure.
  const int probe = ::socket(AF_PACKET, SOCK_RAW, 0);
  if (probe < 0) {
    std::fprintf(stderr, "lldpagent: cannot open a raw packet socket: %s (run as root or with "
                 "CAP_NET_RAW)\n", std::strerror(errno));
    return -1;
  }
  ::close(probe);
  lnx::logUseSyslog(lnx::optBool("host.syslog", false));
  return 0;
}
