// The process on Linux: its name and its threads' names, the stop and reload
// signals, the start and stop lines, readiness for systemd, and the change to
// an unprivileged user.
//
// SIGTERM, SIGINT and SIGHUP are blocked in the main thread before any other
// thread starts, so every thread inherits the mask and none of them is ever
// interrupted by one; the main thread takes them synchronously in
// procShellWait (sigtimedwait). Nothing runs in a signal handler.
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <string>
#include <vector>

#include <grp.h>
#include <pthread.h>
#include <pwd.h>
#include <sys/capability.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include "platform/linux/linux_platform.h"
#include "platform/proc_shell.h"

#if defined(__SANITIZE_ADDRESS__)
#include <sanitizer/lsan_interface.h>
#endif

#ifndef LLDP_VERSION
#define LLDP_VERSION "0.1.0"
#endif

namespace {

constexpr uint32_t kModuleAgent = 0x3F50008;
int gStopSignal = 0;

sigset_t daemonSignals() {
  sigset_t set;
  sigemptyset(&set);
  sigaddset(&set, SIGTERM);
  sigaddset(&set, SIGINT);
  sigaddset(&set, SIGHUP);
  return set;
}

void logLine(const std::string& text) { lnx::logWrite(kModuleAgent, (text + "\n").c_str()); }

std::string quoted(bool present, const std::string& v) { return present ? "'" + v + "'" : "(not set)"; }

}  // namespace

namespace lnx {

// The service manager's notification protocol, written here rather than
// linked from libsystemd: the library and what it loads (gcrypt, lz4, zstd,
// xz, libcap's second copy...) kept about 1 MiB of the idle agent resident
// for these four messages. The protocol is the stable one sd_notify(3)
// describes for exactly this use.
bool notifyServiceManager(const std::string& state) {
  const char* path = std::getenv("NOTIFY_SOCKET");
  if (path == nullptr || path[0] == '\0') return false;
  sockaddr_un addr{};
  addr.sun_family = AF_UNIX;
  const size_t len = std::strlen(path);
  if ((path[0] != '/' && path[0] != '@') || len >= sizeof addr.sun_path) return false;
  std::memcpy(addr.sun_path, path, len);
  if (path[0] == '@') addr.sun_path[0] = '\0';  // an abstract name
  const int fd = ::socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0);
  if (fd < 0) return false;
  const auto addrLen = static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + len);
  const ssize_t n = ::sendto(fd, state.data(), state.size(), MSG_NOSIGNAL,
                             reinterpret_cast<const sockaddr*>(&addr), addrLen);
  ::close(fd);
  return n == static_cast<ssize_t>(state.size());
}

std::string threadName(const std::string& task) {
  std::string s = task;
  if (s.rfind("lldp", 0) == 0) s.erase(0, 4);
  if (s.size() >= 4 && s.compare(s.size() - 4, 4, "task") == 0) s.erase(s.size() - 4);
  if (s.empty()) s = "task";
  return ("lldpagent:" + s).substr(0, 15);
}

void nameThisThread(const std::string& task) {
  pthread_setname_np(pthread_self(), threadName(task).c_str());
}

bool privDrop(const std::string& user, std::string* why) {
  std::vector<char> buf(16384);
  passwd pw{};
  passwd* found = nullptr;
  if (getpwnam_r(user.c_str(), &pw, buf.data(), buf.size(), &found) != 0 || !found) {
    *why = "no such user";
    return false;
  }
  if (::geteuid() == pw.pw_uid) return true;  // started as that user already
  if (::geteuid() != 0) {
    *why = "the agent must start as root (or as that user) to change to it";
    return false;
  }
  auto failed = [why](const char* what) {
    *why = std::string(what) + ": " + std::strerror(errno);
    return false;
  };
  // The bounding set first, while every capability is still effective: it
  // limits what the process could ever gain again, not what it holds now.
  for (cap_value_t c = 0; c <= CAP_LAST_CAP; ++c)
    if (c != CAP_NET_RAW && CAP_IS_SUPPORTED(c) && cap_drop_bound(c) != 0)
      return failed("cannot drop capabilities");
  if (::initgroups(user.c_str(), pw.pw_gid) != 0 ||
      ::setresgid(pw.pw_gid, pw.pw_gid, pw.pw_gid) != 0)
    return failed("cannot change group");
  // cap_setuid keeps the permitted set across the change of user.
  if (cap_setuid(pw.pw_uid) != 0) return failed("cannot change user");
  cap_t caps = cap_init();
  const cap_value_t keep[] = {CAP_NET_RAW};
  const bool set = caps && cap_set_flag(caps, CAP_PERMITTED, 1, keep, CAP_SET) == 0 &&
                   cap_set_flag(caps, CAP_EFFECTIVE, 1, keep, CAP_SET) == 0 &&
                   cap_set_proc(caps) == 0;
  if (caps) cap_free(caps);
  if (!set) return failed("cannot keep CAP_NET_RAW");
  if (cap_reset_ambient() != 0 || prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) != 0)
    return failed("cannot lock the capabilities");
  if (::setuid(0) == 0) {
    *why = "root could be regained after the change";
    return false;
  }
  return true;
}

}  // namespace lnx

int procShellInit(const char* /*name*/, uint32_t /*a*/, uint32_t /*b*/) {
  // The process keeps the name of its program, so that ps, top and
  // pgrep -x lldpagent find it; its task threads are named after it.
  return 0;
}

void patchSignalHandler(void) {
  const sigset_t set = daemonSignals();
  pthread_sigmask(SIG_BLOCK, &set, nullptr);
}

int procShellWait(int32_t ms) {
  const sigset_t set = daemonSignals();
  siginfo_t info{};
  int sig = -1;
  if (ms < 0) {
    do sig = sigwaitinfo(&set, &info);
    while (sig < 0 && errno == EINTR);
  } else {
    timespec ts{ms / 1000, static_cast<long>(ms % 1000) * 1000000L};
    sig = sigtimedwait(&set, &info, &ts);
  }
  if (sig == SIGHUP) return PROC_EVENT_RELOAD;
  if (sig == SIGTERM || sig == SIGINT) {
    gStopSignal = sig;
    return PROC_EVENT_STOP;
  }
  return PROC_EVENT_NONE;
}

void procShellReady(void) {
  int ports = 0;
  for (const auto& l : lnx::linkScan())
    if (l.isPort) ++ports;
  const std::string sock = lnx::cmdSocketPath();
  char line[512];
  std::snprintf(line, sizeof line, "lldpagent %s started: options %s, %d port%s, command socket %s",
                LLDP_VERSION, lnx::optFilePath().c_str(), ports, ports == 1 ? "" : "s",
                sock.empty() ? "(none)" : sock.c_str());
  std::string text = line;
  std::string user;
  if (lnx::optGet("host.user", &user) && !user.empty()) text += ", user " + user;
  logLine(text);
  lnx::notifyServiceManager("READY=1\nSTATUS=" + std::to_string(ports) +
                            " ports\nMAINPID=" + std::to_string(::getpid()));
}

int procShellReload(void) {
  lnx::notifyServiceManager("RELOADING=1");
  std::vector<lnx::OptChange> changes;
  lnx::OptError err;
  const std::string file = lnx::optFilePath();
  int applied = 0;
  if (!lnx::optReload(&changes, &err)) {
    std::string where = err.file;
    if (err.line > 0) where += ":" + std::to_string(err.line);
    logLine("reload: " + where + ": " + err.reason + "; the running options stay");
    applied = -1;
  } else if (changes.empty()) {
    logLine("reload: " + file + ": no option changed");
  } else {
    for (const auto& c : changes) {
      const std::string what = c.key + " " + quoted(c.hadBefore, c.before) + " -> " +
                               quoted(c.hasAfter, c.after);
      if (c.runTime) {
        logLine("reload: " + what);
        ++applied;
        if (c.key == "host.syslog") lnx::logUseSyslog(c.after);
      } else {
        logLine("reload: " + what + " needs a restart; running with " +
                quoted(c.hadBefore, c.before) + " until then");
      }
    }
  }
  lnx::notifyServiceManager("READY=1");
  return applied;
}

void procShellStop(void) {
  lnx::notifyServiceManager("STOPPING=1");
  const char* why = gStopSignal == SIGTERM ? "SIGTERM" : gStopSignal == SIGINT ? "SIGINT" : "request";
  logLine(std::string("lldpagent ") + LLDP_VERSION + " stopped (" + why + ")");
  lnx::cmdSocketUnlink();
  // The tasks still run: leave without the static destructors they would
  // race with.
  std::fflush(nullptr);
#if defined(__SANITIZE_ADDRESS__)
  // _exit skips the leak check an AddressSanitizer build makes at exit: make
  // it here, while every task still holds what it uses. A leak is reported on
  // standard error; the exit status stays 0.
  __lsan_do_recoverable_leak_check();
  std::fflush(nullptr);
#endif
  ::_exit(0);
}
