// lldp-snmp: options, logging, and the loop. The loop waits on net-snmp's
// sockets and on the agent's event stream together; the stream is opened
// again every second while the agent is away, and net-snmp reopens its
// session to a master that went away (its AgentX ping).
#include <signal.h>
#include <sys/stat.h>
#include <sys/time.h>
#include <syslog.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <iostream>
#include <string>

#include "client/lldp_events.h"
#include "lldp_snmp.h"
#include "snmp/lldp_agent_source.h"
#include "snmp/lldp_mib.h"

#ifndef LLDP_VERSION
#define LLDP_VERSION "0"
#endif

namespace lldpsnmpd {

namespace {

bool gSyslog = false;
bool gDebug = false;
bool gJournal = false;

const char* kUsage =
    "usage: lldp-snmp [-s AGENT_SOCKET] [-x AGENTX_ADDRESS] [-d] [--syslog]\n"
    "\n"
    "  -s AGENT_SOCKET    the agent's command socket (default: /run/lldpagent/lldpcmd.socket,\n"
    "                     the service's, when it exists, else /tmp/lldpcmd.socket)\n"
    "  -x AGENTX_ADDRESS  the master agent's AgentX address, in net-snmp's syntax\n"
    "                     (default: unix:/var/agentx/master; e.g. tcp:localhost:705)\n"
    "  -d                 log every notification sent and every Set\n"
    "  --syslog           log to the system log as well (facility daemon)\n"
    "  --help, --version\n"
    "\n"
    "Serves the LLDP-MIB (1.0.8802.1.1.2) and its 802.1, 802.3 and LLDP-MED extensions\n"
    "through the master, and sends lldpRemTablesChange and lldpXMedTopologyChangeDetected.\n"
    "Stays in the foreground; stops on SIGTERM or SIGINT.\n";

constexpr const char* kServiceSocket = "/run/lldpagent/lldpcmd.socket";
constexpr int kRetrySeconds = 1;
constexpr int kEventSlice = 64;  // events handled between two looks at net-snmp's sockets

volatile sig_atomic_t gStop = 0;
void onSignal(int) { gStop = 1; }

std::string defaultSocket() {
  struct stat st {};
  if (::stat(kServiceSocket, &st) == 0 && S_ISSOCK(st.st_mode)) return kServiceSocket;
  return lldpc::kDefaultSocket;
}

}  // namespace

void logInit(bool toSyslog, bool debug) {
  gSyslog = toSyslog;
  gDebug = debug;
  gJournal = std::getenv("JOURNAL_STREAM") != nullptr;
  if (gSyslog) openlog("lldp-snmp", LOG_PID, LOG_DAEMON);
}

bool logDebugOn() { return gDebug; }

void logLine(Level level, const std::string& text) {
  if (level == Level::Debug && !gDebug) return;
  const int prio = level == Level::Error     ? LOG_ERR
                   : level == Level::Warning ? LOG_WARNING
                   : level == Level::Info    ? LOG_NOTICE
                                             : LOG_DEBUG;
  const char* tag = level == Level::Error ? "error: " : level == Level::Warning ? "warning: " : "";
  if (gJournal) {
    std::fprintf(stderr, "<%d>lldp-snmp: %s%s\n", prio, tag, text.c_str());
  } else {
    timeval tv{};
    gettimeofday(&tv, nullptr);
    tm t{};
    localtime_r(&tv.tv_sec, &t);
    char stamp[64];
    std::snprintf(stamp, sizeof stamp, "%04d-%02d-%02d %02d:%02d:%02d.%03ld", t.tm_year + 1900, t.tm_mon + 1, t.tm_mday,
                  t.tm_hour, t.tm_min, t.tm_sec, static_cast<long>(tv.tv_usec / 1000));
    std::fprintf(stderr, "%s lldp-snmp: %s%s\n", stamp, tag, text.c_str());
  }
  std::fflush(stderr);
  if (gSyslog) syslog(prio, "%s%s", tag, text.c_str());
}

namespace {

std::string describe(const lldpsnmp::Notification& n) {
  const char* name = n.trapOid == lldpsnmp::mib::kRemTablesChange     ? "lldpRemTablesChange"
                     : n.trapOid == lldpsnmp::mib::kMedTopologyChange ? "lldpXMedTopologyChangeDetected"
                                                                      : "notification";
  std::string s = name;
  for (const auto& b : n.varbinds) {
    s += " " + lldpsnmp::oidStr(b.name) + "=";
    if (b.value.type == lldpsnmp::Value::Type::OctetString) {
      static const char* d = "0123456789abcdef";
      for (uint8_t x : b.value.bytes) {
        s += d[x >> 4];
        s += d[x & 15];
      }
    } else {
      s += std::to_string(b.value.num);
    }
  }
  return s;
}

int run(const std::string& socket, const std::string& agentx) {
  lldpsnmp::AgentSourceOptions so;
  lldpsnmp::AgentSource src(
      socket, so,
      [&socket](bool reachable, const std::string& why) {
        if (reachable)
          logLine(Level::Info, "agent at " + socket + ": connected");
        else
          logLine(Level::Warning, "agent at " + socket + ": cannot be reached (" + why + "); retrying every " +
                                      std::to_string(kRetrySeconds) + " s");
      },
      [](const std::string& what) { logLine(Level::Warning, "agent: " + what); });
  lldpsnmp::MibTree tree;
  lldpsnmp::addLldpMib(tree, src);

  const std::string master = agentx.empty() ? "unix:/var/agentx/master" : agentx;
  Subagent sub(tree, [&master](bool connected) {
    if (connected)
      logLine(Level::Info, "master agent at " + master + ": connected, serving the LLDP-MIB");
    else
      logLine(Level::Warning,
              "master agent at " + master + ": not connected; retrying every " + std::to_string(kRetrySeconds) + " s");
  });
  logLine(Level::Info,
          std::string("lldp-snmp ") + LLDP_VERSION + " started: agent socket " + socket + ", master agent " + master);
  sub.start(agentx, kRetrySeconds);
  if (!sub.connected())
    logLine(Level::Warning,
            "master agent at " + master + ": not connected; retrying every " + std::to_string(kRetrySeconds) + " s");

  lldpc::EventStream events(socket, lldpc::EventStreamOptions{false, 0});
  using Clock = std::chrono::steady_clock;
  Clock::time_point nextOpen{};
  bool pending = false;
  while (!gStop) {
    if (!events.isOpen() && Clock::now() >= nextOpen) {
      try {
        events.open();
        // What changed while the stream was away is not known.
        src.refresh(lldpsnmp::LldpSource::Refresh::All);
        src.noteReachable(true);
      } catch (const lldpc::Error& e) {
        src.noteReachable(false, e.what());
        nextOpen = Clock::now() + std::chrono::seconds(kRetrySeconds);
      }
    }
    // A burst of events is taken in slices, so that SNMP requests are
    // served between them; after a slice cut at its limit, the rest may
    // already sit in the stream's buffer, so the next wait is none.
    if (!sub.poll(events.fd(), pending ? 0 : 200) && !pending) continue;
    try {
      // The stream gives up a wait below a millisecond before it reads: a
      // few milliseconds let it read what is there, and end the burst when
      // nothing more comes.
      pending = false;
      for (int k = 0; k < kEventSlice; ++k) {
        auto e = events.next(std::chrono::milliseconds(5));
        if (!e) break;
        pending = k + 1 == kEventSlice;
        auto n = lldpsnmp::notificationFor(*e, src);
        if (!n) continue;
        if (sub.notify(*n))
          logLine(Level::Debug, "sent " + describe(*n));
        else
          logLine(Level::Debug, "no master agent: not sent " + describe(*n));
      }
    } catch (const lldpc::Error& e) {
      pending = false;
      events.close();
      src.noteReachable(false, e.what());
      nextOpen = Clock::now() + std::chrono::seconds(kRetrySeconds);
    }
  }
  sub.stop();
  logLine(Level::Info, "lldp-snmp stopped");
  return 0;
}

}  // namespace
}  // namespace lldpsnmpd

int main(int argc, char** argv) {
  using namespace lldpsnmpd;
  std::string socket, agentx;
  bool debug = false, toSyslog = false;
  for (int i = 1; i < argc; ++i) {
    const std::string a = argv[i];
    if (a == "-h" || a == "--help") {
      std::cout << kUsage;
      return 0;
    }
    if (a == "--version") {
      std::cout << "lldp-snmp " << LLDP_VERSION << "\n";
      return 0;
    }
    if (a == "-d") {
      debug = true;
    } else if (a == "--syslog") {
      toSyslog = true;
    } else if ((a == "-s" || a == "-x") && i + 1 < argc) {
      (a == "-s" ? socket : agentx) = argv[++i];
    } else {
      std::cerr << "lldp-snmp: " << (a == "-s" || a == "-x" ? "missing value of " : "unknown option ") << a << "\n"
                << std::string(kUsage).substr(0, std::string(kUsage).find('\n') + 1);
      return 2;
    }
  }
  if (socket.empty()) socket = defaultSocket();

  struct sigaction sa {};
  sa.sa_handler = onSignal;
  sigemptyset(&sa.sa_mask);
  // No SA_RESTART: the loop's select returns at once.
  sigaction(SIGTERM, &sa, nullptr);
  sigaction(SIGINT, &sa, nullptr);
  signal(SIGPIPE, SIG_IGN);

  logInit(toSyslog, debug);
  return run(socket, agentx);
}
