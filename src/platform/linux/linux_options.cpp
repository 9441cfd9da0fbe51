// The options file and the daemon's command line.
//
// The file is `key = value` lines; `#` starts a comment anywhere on a line.
// It is read by procArgsInit before the agent starts, and again on a reload
// (SIGHUP), when only the options that can change at run time take their new
// values; silOptRead answers from memory. An unknown key is a warning (a typo
// must not pass silently), a line that is not `key = value` is fatal.
#include <atomic>
#include <algorithm>
#include <cctype>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <map>
#include <mutex>
#include <sstream>

#include <fcntl.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

#include "platform/linux/linux_platform.h"
#include "platform/proc_shell.h"
#include "platform/sil.h"

#ifndef LLDP_VERSION
#define LLDP_VERSION "0.1.0"
#endif

namespace lnx {
namespace {

using OptMap = std::map<std::string, std::string>;

// The running options. Written at start, and again by a reload while the
// agent's tasks read them, so every access takes the lock.
std::mutex gStoreLock;
OptMap gStore;
// Counts the changes of the store, so that a value computed from options can
// be kept until they change (optCached). Starts at 1: a cache cell of 0 is
// never current.
std::atomic<uint64_t> gGeneration{1};
void changed() { gGeneration.fetch_add(1, std::memory_order_acq_rel); }
// What the command line set (-d, -s): it wins over the file, also on reload.
OptMap gOverrides;

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
    "host.psepowersource", "host.voicevlan", "host.voicepriority", "host.voicedscp", "host.stackpeers",
    "host.notify", "host.user", "host.stackunit",
};

// Options whose new value takes effect in a running agent: the platform or
// the agent reads them again whenever it needs them. Every other change waits
// for a restart.
const char* const kRunTimeKeys[] = {
    "lldp.debugflags", "host.sysname", "host.sysdescr", "host.mgmtaddr", "host.syslog", "host.notify",
};

// Linux's own defaults for options the agent reads.
const std::pair<const char*, const char*> kDefaults[] = {
    {"host.notify", "true"},  // a neighbour change is a log line
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

// Reads the whole file. Anything but a readable regular file (or a pipe) is
// an error with the reason.
bool readWholeFile(const std::string& path, std::string* text, std::string* why) {
  const int fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
  if (fd < 0) {
    *why = std::strerror(errno);
    return false;
  }
  struct stat st{};
  if (::fstat(fd, &st) == 0 && S_ISDIR(st.st_mode)) {
    ::close(fd);
    *why = std::strerror(EISDIR);
    return false;
  }
  text->clear();
  char buf[4096];
  for (;;) {
    const ssize_t n = ::read(fd, buf, sizeof buf);
    if (n < 0 && errno == EINTR) continue;
    if (n < 0) {
      *why = std::strerror(errno);
      ::close(fd);
      return false;
    }
    if (n == 0) break;
    text->append(buf, static_cast<size_t>(n));
  }
  ::close(fd);
  return true;
}

// File, then Linux's defaults for what the file leaves out, then the command
// line. The trace mask is stored as the decimal number the agent reads.
bool optBuild(const std::string& path, OptMap* out, OptError* err, bool printWarnings) {
  std::string text, why;
  if (!readWholeFile(path, &text, &why)) {
    *err = {path, 0, why};
    return false;
  }
  std::vector<std::pair<std::string, std::string>> kv;
  std::vector<OptError> errors, warnings;
  if (!optParse(text, path, &kv, &errors, &warnings)) {
    *err = errors.front();
    return false;
  }
  if (printWarnings)
    for (const auto& w : warnings)
      std::fprintf(stderr, "lldpagent: warning: %s:%d: %s\n", w.file.c_str(), w.line,
                   w.reason.c_str());
  OptMap m;
  for (const auto& [k, v] : kv) m[k] = v;
  for (const auto& [k, v] : kDefaults)
    if (!m.count(k)) m[k] = v;
  auto debug = m.find("lldp.debugflags");
  if (debug != m.end()) {
    char* end = nullptr;
    const unsigned long mask = std::strtoul(debug->second.c_str(), &end, 0);
    if (debug->second.empty() || !end || *end != '\0') {
      *err = {path, -1, "lldp.debugflags needs a number, not '" + debug->second + "'"};
      return false;
    }
    debug->second = std::to_string(mask);
  }
  // A stacked unit needs a number of its own: it numbers its ports with it.
  const auto unit = m.find("host.stackunit");
  const auto peers = m.find("host.stackpeers");
  if (unit != m.end() || (peers != m.end() && !peers->second.empty())) {
    const std::string u = unit != m.end() ? unit->second : "";
    char* end = nullptr;
    const unsigned long n = std::strtoul(u.c_str(), &end, 10);
    if (unit == m.end() || u.empty() || !end || *end != '\0' || n < 1 || n > kStackUnitMax) {
      *err = {path, -1,
              unit != m.end() ? "host.stackunit needs a number from 1 to 255"
                              : "host.stackpeers needs host.stackunit (this unit's number, 1 to 255)"};
      return false;
    }
  }
  for (const auto& [k, v] : gOverrides) m[k] = v;
  *out = std::move(m);
  return true;
}

}  // namespace

bool optKnownKey(const std::string& key) {
  for (const char* k : kKnownKeys)
    if (key == k) return true;
  return false;
}

bool optRunTimeKey(const std::string& key) {
  for (const char* k : kRunTimeKeys)
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
  OptMap m;
  if (!optBuild(path, &m, err, true)) return false;
  std::lock_guard<std::mutex> g(gStoreLock);
  for (auto& [k, v] : m) gStore[k] = v;
  gConfPath = path;
  changed();
  return true;
}

std::vector<OptChange> optDiff(const std::map<std::string, std::string>& before,
                               const std::map<std::string, std::string>& after) {
  std::vector<OptChange> out;
  auto note = [&out](const std::string& key, const std::string* b, const std::string* a) {
    OptChange c;
    c.key = key;
    c.hadBefore = b != nullptr;
    c.hasAfter = a != nullptr;
    if (b) c.before = *b;
    if (a) c.after = *a;
    c.runTime = optRunTimeKey(key);
    out.push_back(std::move(c));
  };
  for (const auto& [k, v] : before) {
    auto it = after.find(k);
    if (it == after.end()) note(k, &v, nullptr);
    else if (it->second != v) note(k, &v, &it->second);
  }
  for (const auto& [k, v] : after)
    if (!before.count(k)) note(k, nullptr, &v);
  std::sort(out.begin(), out.end(),
            [](const OptChange& x, const OptChange& y) { return x.key < y.key; });
  return out;
}

bool optReload(std::vector<OptChange>* changes, OptError* err) {
  OptMap fresh;
  if (!optBuild(gConfPath, &fresh, err, true)) return false;
  std::lock_guard<std::mutex> g(gStoreLock);
  *changes = optDiff(gStore, fresh);
  for (const auto& c : *changes) {
    if (!c.runTime) continue;  // the running value stays until a restart
    if (c.hasAfter) gStore[c.key] = c.after;
    else gStore.erase(c.key);
  }
  changed();
  return true;
}

const std::string& optFilePath() { return gConfPath; }

void optSet(const std::string& key, const std::string& value) {
  std::lock_guard<std::mutex> g(gStoreLock);
  gStore[key] = value;
  changed();
}
void optClear() {
  std::lock_guard<std::mutex> g(gStoreLock);
  gStore.clear();
  changed();
}

uint64_t optGeneration() { return gGeneration.load(std::memory_order_acquire); }

bool optGet(const std::string& key, std::string* value) {
  std::lock_guard<std::mutex> g(gStoreLock);
  auto it = gStore.find(key);
  if (it == gStore.end()) return false;
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
               "usage: lldpagent [-c FILE] [-d MASK] [-s PATH] [--help] [--version]\n"
               "  -c FILE    options file (default /etc/lldp/lldp.conf)\n"
               "  -d MASK    trace classes to switch on, e.g. 0x1ff (see lldp.conf(5))\n"
               "  -s PATH    command socket (overrides host.cmdsocket)\n"
               "  --help     show this text\n"
               "  --version  show the version\n"
               "The agent stays in the foreground and logs to standard error.\n"
               "SIGTERM or SIGINT stop it, SIGHUP re-reads the options file.\n");
}

}  // namespace

int procArgsInit(int argc, char** argv) {
  std::string conf = lnx::gConfPath;
  lnx::gOverrides.clear();
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
    if ((a == "-c" || a == "-d" || a == "-s") && i + 1 >= argc) {
      std::fprintf(stderr, "lldpagent: option %s needs an argument\n", a.c_str());
      return -1;
    }
    if (a == "-c") {
      conf = argv[++i];
    } else if (a == "-d") {
      const std::string debug = argv[++i];
      char* end = nullptr;
      const unsigned long mask = std::strtoul(debug.c_str(), &end, 0);
      if (debug.empty() || !end || *end != '\0') {
        std::fprintf(stderr, "lldpagent: -d needs a number, not '%s'\n", debug.c_str());
        return -1;
      }
      // The agent reads the mask as a decimal number.
      lnx::gOverrides["lldp.debugflags"] = std::to_string(mask);
    } else if (a == "-s") {
      lnx::gOverrides["host.cmdsocket"] = argv[++i];
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
    else if (err.line < 0)
      std::fprintf(stderr, "lldpagent: %s: %s\n", err.file.c_str(), err.reason.c_str());
    else
      std::fprintf(stderr, "lldpagent: cannot read options file %s: %s\n", err.file.c_str(),
                   err.reason.c_str());
    return -1;
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
  lnx::logUseSyslog(lnx::optString("host.syslog", ""));
  // Before any thread exists, so that every thread runs as the user.
  std::string user;
  if (lnx::optGet("host.user", &user) && !user.empty()) {
    std::string why;
    if (!lnx::privDrop(user, &why)) {
      std::fprintf(stderr, "lldpagent: host.user %s: %s\n", user.c_str(), why.c_str());
      return -1;
    }
  }
  return 0;
}
