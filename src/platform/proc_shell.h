// Process shell registration, command line and signal set-up.
#pragma once

#include <cstdint>

// The platform's view of the process's command line, handled before anything
// else: returns 0 to go on, a positive value when the process should exit with
// status 0 at once (it printed help or its version), and a negative value for
// bad usage (it printed the reason; exit status 1). The Linux platform takes
// the options file and the trace mask here (the mask reaches the agent as the
// option "lldp.debugflags").
int procArgsInit(int argc, char** argv);
int procShellInit(const char* name, uint32_t a, uint32_t b);
void patchSignalHandler(void);
// Makes the process ignore signal signo (13, broken pipe, at start).
void silIgnoreSignal(int signo);
