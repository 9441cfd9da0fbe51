// Process shell registration, command line, signals and the daemon's life.
#pragma once

#include <cstdint>

// The platform's view of the process's command line, handled before anything
// else: returns 0 to go on, a positive value when the process should exit with
// status 0 at once (it printed help or its version), and a negative value for
// bad usage (it printed the reason; exit status 1). The Linux platform takes
// the options file and the trace mask here (the mask reaches the agent as the
// option "lldp.debugflags").
int procArgsInit(int argc, char** argv);
// Registers the process with the platform shell under `name`.
int procShellInit(const char* name, uint32_t a, uint32_t b);
// Sets up the stop and reload requests (on Linux SIGTERM and SIGINT stop,
// SIGHUP reloads). Called before any task starts; from then on the requests
// wait for procShellWait instead of ending the process.
void patchSignalHandler(void);
// Makes the process ignore signal signo (13, broken pipe, at start).
void silIgnoreSignal(int signo);

// What procShellWait returns.
constexpr int PROC_EVENT_NONE = 0;    // the time ran out
constexpr int PROC_EVENT_STOP = 1;    // stop the agent
constexpr int PROC_EVENT_RELOAD = 2;  // re-read the start-up options
// Waits up to ms milliseconds (-1: without limit) for a stop or reload
// request and returns it, or PROC_EVENT_NONE when the time ran out.
int procShellWait(int32_t ms);
// The agent is built and running: the platform announces it (a start line in
// its log, readiness to a service manager).
void procShellReady(void);
// Re-reads the start-up options. Options that can change at run time take
// their new values (silOptRead answers with them from now on); the others
// keep their running values until a restart. The platform logs each change
// and what it needs. Returns the number of options that changed at run time
// (0 when none did), or -1 when the options could not be read (the running
// values all stay; the reason is logged).
int procShellReload(void);
// The agent is stopping: the platform logs its stop line and removes what it
// made in the file system. The process exits with status 0 right after; a
// platform may end it here itself (Linux does, so that no task still running
// meets the process's teardown).
void procShellStop(void);
