// Process shell registration and signal set-up.
#pragma once

#include <cstdint>

int procShellInit(const char* name, uint32_t a, uint32_t b);
void patchSignalHandler(void);
// Makes the process ignore signal signo (13, broken pipe, at start).
void silIgnoreSignal(int signo);
