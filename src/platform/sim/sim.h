// The simulated platform: a deterministic test double for every platform
// call, with a virtual clock, scripted interfaces and scalars, recordings of
// everything the agent emits, and injected failures.
//
// Tests, benchmarks and fuzzers link the agent with this platform. The
// agent's tasks are never started as threads: silCreateTask only records the
// task, and a test drives the protocol task's rounds itself through
// lldpMainStart() and lldpMainRound() (src/core/lldp_task.h).
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace sim {

// Clears every table, recording, queue, failure and counter; the clock goes
// back to 0 ms. Allocations still live stay valid (they are the agent's).
void reset();

// ---- Virtual clock ------------------------------------------------------
uint64_t nowMs();
void advanceMs(uint64_t ms);
// silGetUpTime() == nowMs() / 1000.

// ---- Options (silOptRead) -------------------------------------------------
void setOption(const std::string& key, const std::string& value);
void clearOption(const std::string& key);

// ---- Process shell (procShellWait, procShellReload) ----------------------
// procShellWait hands out the queued events in order (PROC_EVENT_STOP,
// PROC_EVENT_RELOAD); with none queued it advances the clock by its time-out
// and returns PROC_EVENT_NONE, or returns PROC_EVENT_STOP when it was asked
// to wait without limit (so that a daemon loop under test ends).
void queueProcEvent(int event);
// What procShellReload returns (default 0: nothing changed at run time).
void setReloadResult(int rc);

// ---- Platform objects -----------------------------------------------------
// A service groups objects: interface objects (zorIfGetApi/zorIfSetApi by
// unit), system scalars (zorScalarGetApi), hardware scalars
// (zorHwilScalarGet), PoE (poeIfGetApi), voice VLAN (voiceVlanIfGetApi by
// unit, voiceVlanScalarGetApi), SNMP scalars (snmpScalarGetApi).
enum class Svc { If, Scalar, Hw, Poe, VoiceIf, VoiceScalar, Snmp };

// Integer objects write a uint32_t; octet objects fill a ZorOctets (cut to
// the caller's size, len set to the bytes written). An unset object makes the
// call fail with -1 unless a default is documented below.
void setInt(Svc svc, uint32_t unit, uint32_t objId, uint32_t value);
void setOctets(Svc svc, uint32_t unit, uint32_t objId, const std::vector<uint8_t>& bytes);
void setString(Svc svc, uint32_t unit, uint32_t objId, const std::string& text);
// Makes reads of this object fail with rc (set again or clear to undo).
void failObject(Svc svc, uint32_t unit, uint32_t objId, int rc = -1);
void clearObject(Svc svc, uint32_t unit, uint32_t objId);

// Convenience: one Ethernet port. Sets the name (zorIfUnit2Name and
// interface object 3), the translations (zorIndexTrans kind 5: type 1,
// portKind 1, status 0; kind 3: index = ifIndex), interface objects 33 (MAC),
// 78 (MTU, default 1522), 19 (link: 1 up), 13 (0: for the agent).
void addInterface(uint32_t unit, const std::string& name, uint32_t ifIndex,
                  const std::vector<uint8_t>& mac, uint32_t mtu = 1522, bool linkUp = true);
// Link object 19 reads 1 when up and 2 when down.
void setLinkUp(uint32_t unit, bool up);
// zorIfUnit2Name and zorIfIndex2Name answer interface object 3 (set by
// addInterface or setString(Svc::If, unit, 3, ...)), cut to 63 bytes; a unit
// without a name gets "" and -1. zorIfIndex2Name finds the unit through the
// kind-3 translations. Strings read through a ZorOctets get a terminating
// zero when the buffer has room for it (not counted in len).
// Hardware scalars (Svc::Hw): 55 (transmit gate) and 54 (no stack peers)
// read 1 while unset; every other unset object fails with -1.
// zorIndexTrans answer for a unit and kind (overrides addInterface's).
void setIndexTrans(uint32_t unit, uint32_t kind, uint32_t index, uint32_t ifType,
                   uint32_t portKind, uint32_t status, int rc = 0);
void setSelfSysIndex(uint32_t index);  // default 1
// zorIpGetFirst answers: the first entry whose family matches the query and
// whose preference equals the query's is returned (an entry with a non-zero
// unit is skipped by a query for another non-zero unit).
void addIpAddress(uint8_t family, const std::vector<uint8_t>& addr, uint32_t preference,
                  uint32_t unit = 0);
// zorHwilSlotGet / zorHwilCardGet answers by object id (value, rc).
void setHwObject(uint32_t objId, uint32_t value, int rc = 0);

// Every zorIfSetApi / zorProtoSetApi call, in order (value: the first four
// bytes of the record the caller passed).
struct IfSet {
  uint32_t unit;
  uint32_t objId;
  uint32_t value;  // the integer pointed to
  bool proto;      // recorded by zorProtoSetApi rather than zorIfSetApi
};
const std::vector<IfSet>& ifSets();
// Result code of zorIfSetApi for an object id (default 0).
void setIfSetResult(uint32_t objId, int rc);

// ---- Sockets ------------------------------------------------------------
// zor_socket hands out descriptors from 3 upwards. The first packet socket
// is the frame socket; the first netlink socket is the event socket.
int openDescriptors();  // descriptors opened and not yet closed
// The current frame and event sockets, -1 while none is open. Closing one
// lets the next socket of its family take its place.
int frameSocket();
int eventSocket();
struct SockOpt {
  int fd, level, name;
  std::vector<uint8_t> value;
};
const std::vector<SockOpt>& sockOpts();
struct Bind {
  int fd;
  std::vector<uint8_t> addr;
};
const std::vector<Bind>& binds();

// Frames the agent sent (zor_sendto on the frame socket).
struct SentFrame {
  uint32_t unit;       // from the 20-byte link-layer address
  uint16_t protocol;   // from the link-layer address
  std::vector<uint8_t> addr;   // the whole 20-byte address
  std::vector<uint8_t> bytes;
  uint64_t atMs;
};
const std::vector<SentFrame>& sentFrames();
void clearSentFrames();
// Makes the next sends return `result` instead of the length (count < 0: all;
// count 0 cancels). A negative result records no frame; zor_sendto also
// returns -1 without recording when the address is shorter than 20 bytes.
// Sends on other sockets succeed and are not recorded.
void setSendResult(long result, int count = -1);

// Input for the agent: a frame queued on the frame socket (delivered by
// zor_recvmsg with a 20-byte link-layer source address whose interface is
// `unit`, and, when withAux, one control message level 263 type 20 carrying a
// ZorPktAuxData whose byte 16 is auxByte16) and platform messages queued on
// the event socket (delivered by zor_recvfrom).
void queueFrame(uint32_t unit, const std::vector<uint8_t>& bytes, bool withAux = true,
                uint8_t auxByte16 = 0);
void queueEvent(const std::vector<uint8_t>& msg);
// zor_recvmsg (frame socket) and zor_recvfrom (event socket) return -1 when
// their queue is empty or the descriptor is another one; both return the
// bytes copied, cut to the caller's buffers, and fill the source address
// (cut to its length, which is updated).
size_t queuedFrames();
size_t queuedEvents();

// Netlink group sends (zorNetlinkSGrpSend).
struct GroupSend {
  uint32_t group;
  std::vector<uint8_t> bytes;
};
const std::vector<GroupSend>& groupSends();

// ---- Logging and traps ----------------------------------------------------
struct LogLine {
  bool debug;  // loggingDebugOutput (true) or loggingLogOutput (false)
  uint32_t module, level, priority;
  std::string text;  // formatted
};
const std::vector<LogLine>& logLines();
void clearLogLines();
// Searches over every recorded line, debug traces and log lines alike.
bool hasLine(const std::string& text);       // exact formatted text
bool hasLineContaining(const std::string& part);
size_t countLinesContaining(const std::string& part);
// Recording on (default, and after reset) or off (for benchmarks that trace).
// LLDP_SIM_VERBOSE in the environment also prints every line on stdout.
void setLogRecording(bool on);

struct Trap {
  bool med;
  std::vector<uint32_t> args;  // send_lldp_trap: {reason}; med: the nine args
                               // with the chassis ID pointer left out
  std::vector<uint8_t> chassisId;  // med only
};
const std::vector<Trap>& traps();

// ---- Hardware layer and stack sync ---------------------------------------
struct CmdSync {
  uint32_t index, cmdId;       // index: an integer index (0 when a key record came)
  uint32_t ctlMode, ctlArg, ctlLen;
  uint32_t form;               // the descriptor's form
  uint32_t value;              // word 0 as an integer (integer form only)
  std::vector<uint8_t> bytes;  // ctl->valueLen bytes of word 0's buffer (buffer form)
  std::vector<uint8_t> key;    // ctl->keyLen bytes of the key record, when one came
};
// bytes are copied only when the descriptor is in buffer form, word 0 is not
// null and the control record's length is not 0.
const std::vector<CmdSync>& cmdSyncs();
void setCmdSyncResult(int rc);  // default 0
struct HwSet {
  uint32_t unit, scalarId, value, flags;
};
const std::vector<HwSet>& hwSets();
struct CardUp {
  uint32_t c0, c1, c2, protocol;
};
const std::vector<CardUp>& cardUps();

// ---- Tasks, semaphores, command server, shell ---------------------------
struct Task {
  std::string name;
  uint32_t priority, stackSize;
  void (*entry)(void);
  bool alive;
};
const std::vector<Task>& tasks();
int liveTasks();
int liveSemaphores();
int semaphoreDepth();  // times taken minus times given, all semaphores
struct CmdServer {
  std::string taskName, path;
  const void* table;
  uint32_t count;
};
const std::vector<CmdServer>& cmdServers();

// ---- Memory -----------------------------------------------------------------
// Live silMalloc/silCalloc blocks and totals (pools count their storage),
// counting only blocks allocated since the last reset(). A silFree of a
// pointer that silMalloc did not return, or a double free, aborts.
size_t liveAllocations();
uint64_t totalAllocations();
// The n-th allocation from now (1 = the next) returns nullptr; 0 cancels.
void failAllocation(uint64_t nth);
// Every allocation from now fails until cleared.
void failAllAllocations(bool on);

// ---- Injected failures of any platform call ------------------------------
// The nth call (1 = next) of the named platform function from now fails with
// rc (the value the function returns; for silCreateTask a failure also stores
// all ones in the task id; for silCreateMSem rc is ignored and 0 returned).
// Names are the functions' own names, e.g. "zor_socket", "zor_bind",
// "zor_setsockopt". The shared pool and timer-list calls (silMemPoolInit,
// silMemPoolAlloc, silMemPoolFree, silMemPoolDestroy, silTimerListInit,
// silTimerStart, silTimerStop, silTimerListNextTimeout, silTimerListCheck)
// are counted and can be failed too (silMemPoolAlloc returns nullptr).
// Functions without a result (silFree, silSleep, the logging calls, ...)
// are only counted, except that a failed logging call records nothing and a
// failed silSleep does not advance the clock. Clocks never fail. An unknown
// name aborts the test program.
void failCall(const std::string& function, uint64_t nth = 1, int rc = -1);
// Every call of the function fails with rc until cleared.
void failAlways(const std::string& function, int rc = -1);
// Clears call failures and the allocation failures above.
void clearFailures();
// How many times a platform function was called since reset.
uint64_t callCount(const std::string& function);

// ---- zor_select ------------------------------------------------------------
// Never blocks: a queued frame or event makes its socket readable and the
// call returns at once; otherwise the virtual clock advances by the timeout
// and the call returns 0 (a null timeout returns 0 at once). Only the
// frame and event sockets are ever readable; write and error sets come back
// empty.

}  // namespace sim
