// The process entry of the LLDP agent.
//
// Prepares the process, reads the options and builds the agent (lldpOptInit),
// then parks the main thread: all work is done by "lldptask" and
// "lldpcmdtask". There is no orderly shutdown.
#include <cstdlib>
#include <cstring>

#include "base/lldp_info.h"
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

  if (lldpOptInit() != 0) return -1;

  // The daemon's trace mask ("-d MASK" on Linux) arrives as an option.
  if (silOptRead(0, "lldp.debugflags", 0, 0, 1, scratch, sizeof(scratch) - 1) > 0) {
    const auto flags = static_cast<uint32_t>(std::strtoul(scratch, nullptr, 0));
    lldpLock();
    gLldpInfo.debugFlags = flags;
    lldpUnLock();
  }

  for (;;) silSleep(10);
}
