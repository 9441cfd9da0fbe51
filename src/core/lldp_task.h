// The protocol task "lldptask" and its per-second machine run.
//
// lldpMain is the task body; lldpMainStart and lldpMainRound are its two
// halves, so that the simulated platform's tests can run one round at a time.
#pragma once

#include <cstdint>

void lldpMain(void);
// Clears the task's buffers and arms the one-second machine timer.
void lldpMainStart(void);
// One round of the loop: wait (zor_select), run timers, at most one frame and
// one platform message.
void lldpMainRound(void);
int lldpMachine(void* arg1, void* arg2);
