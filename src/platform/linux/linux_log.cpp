// Logging on Linux: trace and log lines to standard error, each complete line
// with a time stamp and the module's name, and to the system log when asked.
//
// The agent writes some lines in pieces (the packet trace writes a byte at a
// time); pieces are gathered per thread until a line end arrives, so that a
// time stamp starts every line and lines of two threads do not interleave.
//
// Under systemd standard error already is the journal, which stamps each line
// itself: there a line carries its priority ("<5>") instead of a time stamp.
// The system log is written as datagrams on its socket (/dev/log, where
// journald and rsyslog listen), so that a log that cannot be reached is
// noticed and said once instead of being dropped in silence.
#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <mutex>
#include <string>

#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/time.h>
#include <sys/un.h>
#include <unistd.h>

#include "platform/linux/linux_platform.h"
#include "platform/logging.h"

namespace {

constexpr int kFacilityDaemon = 3 << 3;
constexpr int kPrioWarning = 4, kPrioNotice = 5, kPrioDebug = 7;

std::mutex gOutLock;
thread_local std::string tPending;

// The system log; guarded by gOutLock.
struct Syslog {
  bool on = false;
  std::string path;
  int fd = -1;
  bool warned = false;
  time_t lastTry = 0;
} gSyslog;
constexpr time_t kRetrySeconds = 30;

// Standard error goes to the journal (systemd sets JOURNAL_STREAM to its
// device and inode).
bool stderrIsJournal() {
  const char* js = std::getenv("JOURNAL_STREAM");
  if (!js) return false;
  unsigned long dev = 0, ino = 0;
  if (std::sscanf(js, "%lu:%lu", &dev, &ino) != 2) return false;
  struct stat st{};
  return ::fstat(2, &st) == 0 && st.st_dev == dev && st.st_ino == ino;
}
const bool gJournal = stderrIsJournal();

const char* moduleName(uint32_t module) {
  switch (module) {
    case 0x3F50000: return "lldp.rxframe";
    case 0x3F50001: return "lldp.rxsm";
    case 0x3F50002: return "lldp.tx";
    case 0x3F50003: return "lldp.port";
    case 0x3F50004: return "lldp.tlvlist";
    case 0x3F50005: return "lldp.event";
    case 0x3F50006: return "lldp.sync";
    case 0x3F50007: return "lldp.class7";
    case 0x3F50008: return "lldp";
    case 0x3F50009: return "lldp.remote";
    case 0x3F5000A: return "lldp.med";
    default: return "platform";
  }
}

// REQUIRES: gOutLock held. Leaves fd at -1 (errno set) when it fails.
bool syslogConnect() {
  if (gSyslog.fd >= 0) ::close(gSyslog.fd);
  gSyslog.fd = -1;
  sockaddr_un sa{};
  sa.sun_family = AF_UNIX;
  if (gSyslog.path.size() >= sizeof sa.sun_path) {
    errno = ENAMETOOLONG;
    return false;
  }
  std::memcpy(sa.sun_path, gSyslog.path.c_str(), gSyslog.path.size() + 1);
  const int fd = ::socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0);
  if (fd < 0) return false;
  if (::connect(fd, reinterpret_cast<sockaddr*>(&sa), sizeof sa) != 0) {
    const int err = errno;
    ::close(fd);
    errno = err;
    return false;
  }
  gSyslog.fd = fd;
  return true;
}

// REQUIRES: gOutLock held.
void syslogWarnOnce(int err) {
  if (gSyslog.warned) return;
  gSyslog.warned = true;
  std::fprintf(stderr,
               "lldpagent: warning: host.syslog: cannot reach the system log at %s (%s); "
               "logging to standard error only\n",
               gSyslog.path.c_str(), std::strerror(err));
  std::fflush(stderr);
}

// REQUIRES: gOutLock held.
void syslogSend(int prio, const char* module, const std::string& line) {
  const time_t now = std::time(nullptr);
  if (gSyslog.fd < 0) {
    // An unreachable log is tried again now and then, not for every line.
    if (now - gSyslog.lastTry < kRetrySeconds) return;
    gSyslog.lastTry = now;
    if (!syslogConnect()) {
      syslogWarnOnce(errno);
      return;
    }
  }
  char stamp[32];
  tm t{};
  localtime_r(&now, &t);
  std::strftime(stamp, sizeof stamp, "%b %e %H:%M:%S", &t);
  char msg[2304];
  const int n = std::snprintf(msg, sizeof msg, "<%d>%s lldpagent[%d]: %s: %s", kFacilityDaemon | prio,
                              stamp, static_cast<int>(::getpid()), module, line.c_str());
  if (n <= 0) return;
  const size_t len = static_cast<size_t>(n) < sizeof msg ? static_cast<size_t>(n) : sizeof msg - 1;
  const int flags = MSG_DONTWAIT | MSG_NOSIGNAL;
  if (::send(gSyslog.fd, msg, len, flags) >= 0) return;
  if (errno == EAGAIN) return;  // a full log loses the line rather than stall the agent
  // The log may have been restarted since: connect again once.
  if (syslogConnect() && ::send(gSyslog.fd, msg, len, flags) >= 0) return;
  const int err = errno;
  if (gSyslog.fd >= 0) ::close(gSyslog.fd);
  gSyslog.fd = -1;
  gSyslog.lastTry = now;
  syslogWarnOnce(err);
}

void emitLine(uint32_t module, const std::string& line, bool isLog) {
  const bool warning = line.rfind("warning:", 0) == 0;
  const int prio = warning ? kPrioWarning : isLog ? kPrioNotice : kPrioDebug;
  std::lock_guard<std::mutex> g(gOutLock);
  if (gJournal) {
    std::fprintf(stderr, "<%d>%s: %s\n", prio, moduleName(module), line.c_str());
  } else {
    timeval tv{};
    gettimeofday(&tv, nullptr);
    tm t{};
    localtime_r(&tv.tv_sec, &t);
    char stamp[64];
    std::snprintf(stamp, sizeof stamp, "%04d-%02d-%02d %02d:%02d:%02d.%03ld", t.tm_year + 1900,
                  t.tm_mon + 1, t.tm_mday, t.tm_hour, t.tm_min, t.tm_sec,
                  static_cast<long>(tv.tv_usec / 1000));
    std::fprintf(stderr, "%s %s: %s\n", stamp, moduleName(module), line.c_str());
  }
  std::fflush(stderr);
  if (gSyslog.on) syslogSend(prio, moduleName(module), line);
}

void feed(uint32_t module, const char* text, bool isLog) {
  for (const char* p = text; *p; ++p) {
    if (*p == '\r') continue;
    if (*p == '\n') {
      emitLine(module, tPending, isLog);
      tPending.clear();
    } else {
      tPending.push_back(*p);
    }
  }
  // A line that never ends must not grow without bound.
  if (tPending.size() > 4096) {
    emitLine(module, tPending, isLog);
    tPending.clear();
  }
}

void vout(uint32_t module, bool isLog, const char* fmt, va_list ap) {
  char buf[2048];
  std::vsnprintf(buf, sizeof buf, fmt, ap);
  feed(module, buf, isLog);
}

}  // namespace

namespace lnx {
void logUseSyslog(const std::string& how) {
  std::lock_guard<std::mutex> g(gOutLock);
  const char c = how.empty() ? 'f' : how[0];
  std::string path;
  if (c == '/') path = how;
  else if (c == 't' || c == 'T' || c == 'y' || c == 'Y' || c == '1' || how == "on") path = "/dev/log";
  if (path == gSyslog.path && gSyslog.on) return;
  if (gSyslog.fd >= 0) ::close(gSyslog.fd);
  gSyslog = Syslog{};
  if (path.empty()) return;
  gSyslog.on = true;
  gSyslog.path = path;
  gSyslog.lastTry = std::time(nullptr);
  if (!syslogConnect()) syslogWarnOnce(errno);
}
void logWrite(uint32_t module, const char* text) { feed(module, text, true); }
}  // namespace lnx

void loggingDebugOutput(uint32_t module, uint32_t /*level*/, uint32_t /*priority*/,
                        const char* fmt, ...) {
  va_list ap;
  va_start(ap, fmt);
  vout(module, false, fmt, ap);
  va_end(ap);
}

void loggingLogOutput(uint32_t module, uint32_t /*level*/, uint32_t /*priority*/, const char* fmt,
                      ...) {
  va_list ap;
  va_start(ap, fmt);
  vout(module, true, fmt, ap);
  va_end(ap);
}
