// The platform calls of the command server on Linux: icmProcTcpInit starts
// the server (linux_icm.cpp) on the socket that the options name, and the
// trap and group senders feed its event stream.
#include <cstring>
#include <string>
#include <thread>
#include <vector>

#include <sys/un.h>
#include <unistd.h>

#include "platform/icm.h"
#include "platform/linux/linux_platform.h"
#include "platform/trap.h"
#include "platform/zor_socket.h"

namespace lnx {
namespace {

char gSockPath[sizeof(sockaddr_un::sun_path)] = {};

}  // namespace

void cmdSocketUnlink() {
  if (gSockPath[0]) ::unlink(gSockPath);
}

std::string cmdSocketPath() { return gSockPath; }

}  // namespace lnx

int icmProcTcpInit(const char* taskName, const char* path, const IcmFuncEntry* table,
                   uint32_t count) {
  const std::string p = lnx::optString("host.cmdsocket", path ? path : "/tmp/lldpcmd.socket");
  std::string why;
  const int lfd = lnx::cmdListen(p, &why);
  if (lfd < 0) {
    const std::string line = "command socket " + p + ": " + why + "\n";
    lnx::logWrite(0x3F50008, line.c_str());
    return -1;
  }
  std::memcpy(lnx::gSockPath, p.c_str(), p.size() + 1);
  std::thread([lfd, table, count, name = std::string(taskName ? taskName : "cmd")] {
    lnx::nameThisThread(name);
    lnx::cmdServe(lfd, table, count, {{lnx::kCmdOpStackHello, lnx::stackHelloServe}});
  }).detach();
  return 0;
}

int zorNetlinkSGrpSend(uint32_t group, uint32_t /*flags*/, const void* msg, uint32_t len) {
  if (!msg) return -1;
  lnx::eventPublish(kCmdEventGroup, group, msg, len);
  return 0;
}

int send_lldp_trap(uint32_t reason) {
  lnx::eventPublish(kCmdEventTrap, reason, nullptr, 0);
  return 0;
}

int send_lldpmed_trap(uint32_t timeMarkHigh, uint32_t timeMarkLow, uint32_t unit,
                      uint32_t remIndex, uint32_t chassisIdSubtype, const uint8_t* chassisId,
                      uint32_t chassisIdLen, uint32_t medDevType, uint32_t reason) {
  std::vector<uint8_t> b;
  const uint32_t n = !chassisId ? 0 : (chassisIdLen > 255 ? 255 : chassisIdLen);
  for (uint32_t w : {timeMarkHigh, timeMarkLow, unit, remIndex, chassisIdSubtype, n, medDevType})
    lnx::cmdAddU32(b, w);
  if (n) b.insert(b.end(), chassisId, chassisId + n);
  lnx::eventPublish(kCmdEventMedTrap, reason, b.data(), b.size());
  return 0;
}
