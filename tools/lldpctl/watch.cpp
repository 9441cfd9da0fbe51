// lldpctl watch: follows the agent's event stream and prints one line (or
// one JSON object) per neighbour added, changed or deleted. The remote-change
// message says only which neighbour changed, so the neighbour is read when
// its message comes, and a copy of every neighbour seen is kept to describe a
// deleted one. When the agent goes away the stream is reopened as soon as it
// answers again, and the table is read anew and compared with the copy, since
// the events of the gap are lost.
#include <poll.h>
#include <unistd.h>

#include <csignal>
#include <ctime>
#include <iostream>
#include <map>
#include <nlohmann/json.hpp>

#include "client/lldp_events.h"
#include "client/lldp_objects.h"
#include "lldpctl.h"
#include "show.h"

namespace lldpctl {

const char* const kWatchUsage =
    "watch [-f text|json]\n"
    "\n"
    "Prints one line per neighbour added, changed or deleted (with -f json one\n"
    "JSON object per line) until interrupted; when the agent goes away, says so\n"
    "and reconnects as soon as it is back.\n";

namespace {

volatile std::sig_atomic_t gStop = 0;
void onSignal(int) { gStop = 1; }

class Watcher {
 public:
  Watcher(const Common& common, bool json) : path_(common.socket), json_(json), client_(common.socket) {}
  Watcher(const Watcher&) = delete;
  Watcher& operator=(const Watcher&) = delete;

  int run() {
    lldpc::EventStream ev(path_);
    ev.open();  // an agent that is not there at the start is an error
    for (const auto& n : lldpc::neighbours(client_).all()) seen_[n.index] = n;
    bool gone = false;
    while (!gStop && !outputGone()) {
      std::optional<lldpc::Event> e;
      try {
        e = ev.next(std::chrono::milliseconds(250));
      } catch (const lldpc::Error& err) {
        std::cerr << "lldpctl: " << err.what() << "\n";
        return kExitUnreachable;
      }
      if (!ev.isOpen() && !gone) {
        gone = true;
        std::cerr << "lldpctl: agent gone, reconnecting to " << path_ << std::endl;
      }
      if (!e) continue;
      try {
        if (e->kind == lldpc::Event::Kind::Resumed) {
          // An agent back within one wait was never seen gone.
          if (!gone) std::cerr << "lldpctl: agent gone, reconnecting to " << path_ << std::endl;
          gone = false;
          std::cerr << "lldpctl: reconnected to " << path_ << std::endl;
          names_.reset();
          resync();
        } else if (e->change) {
          onChange(*e->change);
        }
      } catch (const lldpc::Error&) {
        // The agent went away while being read; the stream notices it too.
      }
    }
    return kExitOk;
  }

 private:
  // Standard output's reader has gone (watch | head -1): stop now rather
  // than at the next event's write.
  static bool outputGone() {
    pollfd p{STDOUT_FILENO, 0, 0};
    return ::poll(&p, 1, 0) == 1 && (p.revents & (POLLERR | POLLHUP));
  }

  static bool sameFields(const lldpc::Neighbour& a, const lldpc::Neighbour& b) {
    return a.chassisIdSubtype == b.chassisIdSubtype && a.chassisId == b.chassisId &&
           a.portIdSubtype == b.portIdSubtype && a.portId == b.portId && a.sysName == b.sysName;
  }

  void onChange(const lldpc::RemoteChange& rc) {
    const auto now = lldpc::getNeighbour(client_, rc.index);
    const auto it = seen_.find(rc.index);
    if (now) {
      print(rc.added() || it == seen_.end() ? "added" : "changed", *now);
      seen_[rc.index] = *now;
    } else if (it != seen_.end()) {
      print("deleted", it->second);
      seen_.erase(it);
    }
  }

  // After a gap: what left, what came, what changed under the same index.
  void resync() {
    std::map<lldpc::RemoteIndex, lldpc::Neighbour> now;
    for (const auto& n : lldpc::neighbours(client_).all()) now[n.index] = n;
    for (const auto& [idx, n] : seen_)
      if (!now.count(idx) || !sameFields(now[idx], n)) print("deleted", n);
    for (const auto& [idx, n] : now)
      if (!seen_.count(idx) || !sameFields(seen_[idx], n)) print("added", n);
    seen_ = std::move(now);
  }

  // The operator's name of a port; the names are read again when a port
  // is not among them (it came after they were read).
  std::string portName(uint32_t unit) {
    if (!names_) names_.emplace(client_);
    std::string name = names_->name(unit);
    if (name == std::to_string(unit)) {
      names_.emplace(client_);
      name = names_->name(unit);
    }
    return name;
  }

  void print(const char* what, const lldpc::Neighbour& n) {
    const std::time_t t = std::time(nullptr);
    std::tm tm{};
    char stamp[32];
    const std::string port = portName(n.index.port);
    const std::string chassis = idText(true, n.chassisIdSubtype, n.chassisId);
    const std::string portId = idText(false, n.portIdSubtype, n.portId);
    if (json_) {
      ::gmtime_r(&t, &tm);
      std::strftime(stamp, sizeof stamp, "%Y-%m-%dT%H:%M:%SZ", &tm);
      // The keys of lldpctl -f json show neighbors.
      Json j;
      j["time"] = stamp;
      j["event"] = what;
      neighbourBasicJson(j, n, *names_, std::nullopt);
      std::cout << j.dump(-1, ' ', false, nlohmann::json::error_handler_t::replace) << std::endl;
    } else {
      ::localtime_r(&t, &tm);
      std::strftime(stamp, sizeof stamp, "%H:%M:%S", &tm);
      std::cout << stamp << " " << what << (std::string(what) == "added" ? "   " : " ") << "port " << port
                << "  chassis " << chassis << "  port-id " << portId << "  system "
                << (n.sysName.empty() ? "-" : n.sysName) << std::endl;
    }
  }

  std::string path_;
  bool json_;
  lldpc::Client client_;
  std::map<lldpc::RemoteIndex, lldpc::Neighbour> seen_;
  std::optional<PortNames> names_;
};

}  // namespace

int verbWatch(const Common& common, const std::vector<std::string>& args) {
  bool json = common.format == Format::Json;
  for (size_t i = 0; i < args.size(); ++i) {
    const std::string& a = args[i];
    if ((a == "-f" || a == "--format") && i + 1 < args.size() && (args[i + 1] == "json" || args[i + 1] == "text")) {
      json = args[++i] == "json";
    } else if (a == "--json" || a == "-j") {
      json = true;
    } else {
      throw UsageError{"watch: unknown argument '" + a + "'"};
    }
  }
  struct sigaction sa {};
  sa.sa_handler = onSignal;
  sigemptyset(&sa.sa_mask);
  ::sigaction(SIGINT, &sa, nullptr);
  ::sigaction(SIGTERM, &sa, nullptr);
  Watcher w(common, json);
  return w.run();
}

}  // namespace lldpctl
