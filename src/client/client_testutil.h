// For tests and benchmarks of the client library against the agent's own
// handlers: an agent on the simulated platform whose operation table is
// served by the command server's real loop on a real Unix socket.
//
// The server runs on a thread of its own and calls the handlers there; the
// caller changes the agent only while no request is in flight (every client
// call returns only after its reply).
#pragma once

#include <unistd.h>

#include <string>
#include <thread>

#include "mgmt/lldp_mgmt.h"
#include "platform/linux/linux_platform.h"

namespace clienttest {

// Serves glldpFuncMap on a new socket path and returns the path ("" when the
// socket could not be made, with *why).
inline std::string serveAgent(const std::string& tag, std::string* why) {
  const std::string path = "/tmp/lldp-" + tag + "-" + std::to_string(getpid()) + ".sock";
  const int lfd = lnx::cmdListen(path, why);
  if (lfd < 0) return "";
  std::thread([lfd] { lnx::cmdServe(lfd, glldpFuncMap, LLDP_FUNCMAP_COUNT); }).detach();
  return path;
}

}  // namespace clienttest
