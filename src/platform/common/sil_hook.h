// Test hook of the shared operating-system code: a platform that wants to
// count or fail the shared pool and timer-list calls installs silCommonHook.
// The Linux platform leaves it null.
#pragma once

enum class SilCommonFn { MemPoolInit, MemPoolAlloc, MemPoolFree, MemPoolDestroy, TimerListInit,
                         TimerStart, TimerStop, TimerListNextTimeout, TimerListCheck, Count };

// Called on entry of each shared call; returns true to make the call fail
// with *rc (for silMemPoolAlloc: return nullptr).
using SilCommonHookFn = bool (*)(SilCommonFn fn, int* rc);
extern SilCommonHookFn silCommonHook;

inline bool silCommonFail(SilCommonFn fn, int* rc) { return silCommonHook && silCommonHook(fn, rc); }
