// Logging on Linux: trace and log lines to standard error, each complete line
// with a time stamp and the module's name, and to syslog when asked.
//
// The agent writes some lines in pieces (the packet trace writes a byte at a
// time); pieces are gathered per thread until a line end arrives, so that a
// time stamp starts every line and lines of two threads do not interleave.
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <mutex>
#include <string>

#include <sys/time.h>
#include <syslog.h>

#include "platform/linux/linux_platform.h"
#include "platform/logging.h"

namespace {

std::mutex gOutLock;
bool gSyslog = false;
thread_local std::string tPending;

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

void emitLine(uint32_t module, const std::string& line, bool isLog) {
  timeval tv{};
  gettimeofday(&tv, nullptr);
  tm t{};
  localtime_r(&tv.tv_sec, &t);
  char stamp[64];
  std::snprintf(stamp, sizeof stamp, "%04d-%02d-%02d %02d:%02d:%02d.%03ld", t.tm_year + 1900,
                t.tm_mon + 1, t.tm_mday, t.tm_hour, t.tm_min, t.tm_sec,
                static_cast<long>(tv.tv_usec / 1000));
  {
    std::lock_guard<std::mutex> g(gOutLock);
    std::fprintf(stderr, "%s %s: %s\n", stamp, moduleName(module), line.c_str());
    std::fflush(stderr);
  }
  if (gSyslog) syslog(isLog ? LOG_NOTICE : LOG_DEBUG, "%s: %s", moduleName(module), line.c_str());
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
void logUseSyslog(bool on) {
  if (on && !gSyslog) openlog("lldpagent", LOG_PID, LOG_DAEMON);
  gSyslog = on;
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
