// The process entry of the LLDP agent.
//
// Prepares the process and hands over to the daemon (lldp_daemon.cpp), which
// builds the agent, runs it until it is asked to stop, and stops it in order.
// All protocol work is done by "lldptask" and "lldpcmdtask".
#include <cstring>

#include "core/lldp_core.h"
#include "platform/proc_shell.h"
#include "platform/sil.h"

namespace {
constexpr int kSigPipe = 13;
}

int main(int argc, char** argv) {
  const int args = procArgsInit(argc, argv);
  if (args > 0) return 0;
  if (args < 0) return 1;

  char scratch[32];
  std::memset(scratch, 0, sizeof(scratch));
  silCatchSegFault();
  silIgnoreSignal(kSigPipe);
  patchSignalHandler();
  procShellInit("lldp", 0, 0);
  return lldpDaemonMain();
}
