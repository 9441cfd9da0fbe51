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
#include "platform/sil.h"
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

std::vector<uint8_t> portNamesServe(const CmdRequest& req) {
  const uint32_t upTime = silGetUpTime();
  if (req.flags & kCmdFlagKey) return cmdEncodeReply(22, upTime, 0, &req.key, nullptr, 0);
  if (!(req.flags & kCmdFlagBuffer)) return cmdEncodeReply(0, upTime, req.len, nullptr, nullptr, 0);
  // The ports from unit `index` on, as many whole records as the capacity
  // takes; a client asks again from the unit after the last one it got.
  std::vector<uint8_t> out;
  for (const Link& l : linkAll()) {
    if (l.unit < req.index || !l.isPort || l.gone || l.name.empty()) continue;
    if (!cmdAddPortName(out, {l.unit, l.name.substr(0, kCmdPortNameMax)}, req.len)) break;
  }
  const auto n = static_cast<uint32_t>(out.size());
  return cmdEncodeReply(0, upTime, n, nullptr, out.data(), n);
}

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
    lnx::cmdServe(lfd, table, count,
                  {{lnx::kCmdOpStackHello, lnx::stackHelloServe}, {lnx::kCmdOpPortNames, lnx::portNamesServe}});
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
