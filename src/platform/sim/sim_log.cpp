// Simulated platform: trace and log lines, and traps.
#include <cstdarg>
#include <cstdio>
#include <cstdlib>

#include "platform/logging.h"
#include "platform/sim/sim_internal.h"
#include "platform/trap.h"

using namespace sim::detail;

namespace sim::detail {

void resetLog() {
  State& s = st();
  s.logLines.clear();
  s.traps.clear();
  s.recordLogs = true;
}

}  // namespace sim::detail

namespace {

bool verbose() {
  static const bool on = std::getenv("LLDP_SIM_VERBOSE") != nullptr;
  return on;
}

void record(bool debug, uint32_t module, uint32_t level, uint32_t priority, const char* fmt,
            va_list ap) {
  State& s = st();
  bool show = verbose();
  if (!s.recordLogs && !show) return;
  char small[512];
  va_list copy;
  va_copy(copy, ap);
  int n = std::vsnprintf(small, sizeof(small), fmt, copy);
  va_end(copy);
  std::string text;
  if (n < 0) {
    text = "";
  } else if (static_cast<size_t>(n) < sizeof(small)) {
    text.assign(small, static_cast<size_t>(n));
  } else {
    text.resize(static_cast<size_t>(n) + 1);
    std::vsnprintf(text.data(), text.size(), fmt, ap);
    text.resize(static_cast<size_t>(n));
  }
  if (show) {
    std::printf("[%s %#x/%u] %s", debug ? "dbg" : "log", module, level, text.c_str());
    if (text.empty() || text.back() != '\n') std::printf("\n");
  }
  if (s.recordLogs) s.logLines.push_back({debug, module, level, priority, std::move(text)});
}

}  // namespace

namespace sim {

const std::vector<LogLine>& logLines() { return st().logLines; }
void clearLogLines() { st().logLines.clear(); }
void setLogRecording(bool on) { st().recordLogs = on; }
bool hasLine(const std::string& text) {
  for (const LogLine& l : st().logLines) {
    if (l.text == text) return true;
  }
  return false;
}
bool hasLineContaining(const std::string& part) {
  for (const LogLine& l : st().logLines) {
    if (l.text.find(part) != std::string::npos) return true;
  }
  return false;
}
size_t countLinesContaining(const std::string& part) {
  size_t n = 0;
  for (const LogLine& l : st().logLines) {
    if (l.text.find(part) != std::string::npos) n++;
  }
  return n;
}
const std::vector<Trap>& traps() { return st().traps; }

}  // namespace sim

void loggingDebugOutput(uint32_t module, uint32_t level, uint32_t priority, const char* fmt, ...) {
  int rc = 0;
  if (enter(Fn::loggingDebugOutput, &rc) || !fmt) return;
  va_list ap;
  va_start(ap, fmt);
  record(true, module, level, priority, fmt, ap);
  va_end(ap);
}

void loggingLogOutput(uint32_t module, uint32_t level, uint32_t priority, const char* fmt, ...) {
  int rc = 0;
  if (enter(Fn::loggingLogOutput, &rc) || !fmt) return;
  va_list ap;
  va_start(ap, fmt);
  record(false, module, level, priority, fmt, ap);
  va_end(ap);
}

int send_lldp_trap(uint32_t reason) {
  int rc = -1;
  if (enter(Fn::send_lldp_trap, &rc)) return rc;
  st().traps.push_back({false, {reason}, {}});
  return 0;
}

int send_lldpmed_trap(uint32_t timeMarkHigh, uint32_t timeMarkLow, uint32_t unit,
                      uint32_t remIndex, uint32_t chassisIdSubtype, const uint8_t* chassisId,
                      uint32_t chassisIdLen, uint32_t medDevType, uint32_t reason) {
  int rc = -1;
  if (enter(Fn::send_lldpmed_trap, &rc)) return rc;
  sim::Trap t{true,
              {timeMarkHigh, timeMarkLow, unit, remIndex, chassisIdSubtype, chassisIdLen,
               medDevType, reason},
              {}};
  if (chassisId) t.chassisId.assign(chassisId, chassisId + chassisIdLen);
  st().traps.push_back(std::move(t));
  return 0;
}
