// The Linux platform's own shared pieces: the options store, the link table
// kept by the routing-netlink thread, the platform message encoder and the
// command-server framing. Nothing above src/platform/ includes this header.
//
// Locks: the options store has its own mutex (a reload writes it while the
// agent's tasks read it); its accessors take it and hand out copies. The link table has its own mutex (linkTableLock); the
// accessors below take it themselves and hand out copies.
#pragma once

#include <atomic>
#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "platform/common/cmdframe.h"
#include "platform/platform_types.h"
#include "platform/zor_hwil.h"

namespace lnx {

// ---- Options file ----------------------------------------------------------
struct OptError {
  std::string file;
  int line = 0;  // 0 when the file itself could not be read, -1 for a bad value
  std::string reason;
};

// Parses `key = value` text; `#` starts a comment. Fills errors (fatal) and
// warnings (unknown keys). Returns true when the text had no fatal error.
bool optParse(const std::string& text, const std::string& file,
              std::vector<std::pair<std::string, std::string>>* out,
              std::vector<OptError>* errors, std::vector<OptError>* warnings);
// Loads the options file into the store, with Linux's defaults for what it
// leaves out and the command line's values over it. Returns false (with *err)
// when the file cannot be read (a directory cannot) or is malformed; unknown
// keys are printed as warnings.
bool optLoadFile(const std::string& path, OptError* err);
// The file the options came from.
const std::string& optFilePath();
// True for the options whose new value takes effect without a restart.
bool optRunTimeKey(const std::string& key);
// One option that differs between two sets of options.
struct OptChange {
  std::string key;
  bool hadBefore = false, hasAfter = false;
  std::string before, after;
  bool runTime = false;  // optRunTimeKey(key)
};
// The differences, in key order.
std::vector<OptChange> optDiff(const std::map<std::string, std::string>& before,
                               const std::map<std::string, std::string>& after);
// Reads the options file again. The run-time options take their new values;
// the others keep the running ones. Fills *changes with every difference.
// Returns false (with *err, store untouched) when the file is unusable.
bool optReload(std::vector<OptChange>* changes, OptError* err);
// Sets (or replaces) one option in the store.
void optSet(const std::string& key, const std::string& value);
void optClear();
// Looks an option up; true when present.
bool optGet(const std::string& key, std::string* value);
std::string optString(const std::string& key, const std::string& dflt);
long optLong(const std::string& key, long dflt);
bool optBool(const std::string& key, bool dflt);
bool optKnownKey(const std::string& key);
// Changes whenever the store does (load, reload, set, clear).
uint64_t optGeneration();
// A 32-bit value computed from the options, computed again only after they
// change: what the receive path asks for every frame (the stack unit, the
// private OUI) costs an atomic load instead of a look-up and a parse. The
// generation and the value share one word, so a reader never pairs a value
// with the wrong generation.
template <typename Compute>
uint32_t optCached(std::atomic<uint64_t>* cell, Compute compute) {
  const uint64_t gen = optGeneration() & 0xFFFFFFFFu;
  const uint64_t c = cell->load(std::memory_order_acquire);
  if ((c >> 32) == gen) return static_cast<uint32_t>(c);
  const uint32_t v = compute();
  cell->store(gen << 32 | v, std::memory_order_release);
  return v;
}

// ---- Link table --------------------------------------------------------------
// One entry per Linux interface of the agent's namespace (ports and others),
// and, in a stack, one per port of the other units (remote). Keyed by the
// agent's unit number (unitOfIfindex for a local interface).
struct Link {
  uint32_t ifindex = 0;  // Linux ifindex; for a remote port, the other unit's
  uint32_t unit = 0;     // the agent's unit; linkPut fills it for a local link
  std::string name;
  std::string kind;      // IFLA_INFO_KIND ("veth", "bond", ""...)
  std::string alias;
  uint16_t arpType = 0;  // ARPHRD_*
  uint32_t flags = 0;    // IFF_*
  uint32_t mtu = 0;      // Linux MTU
  uint8_t mac[6] = {0, 0, 0, 0, 0, 0};
  uint32_t master = 0;   // ifindex of the master device, 0 = none
  bool isPort = false;   // chosen by the name patterns
  bool isMgmt = false;   // the management Ethernet interface
  bool gone = false;     // deleted; kept so that the removal can be translated
  bool remote = false;   // a port of another unit of the stack
};

// Port choice by name patterns and kind (host.ports, host.exclude).
bool linkIsPortCandidate(const Link& l);
bool linkOperUp(const Link& l);

bool linkGet(uint32_t unit, Link* out);
// Whether the unit has a link that is not gone, without copying its record.
bool linkLive(uint32_t unit);
std::vector<Link> linkAll();
// Replaces an entry (the netlink thread, the stack and tests); a link without
// a unit gets the unit of its ifindex.
void linkPut(const Link& l);
void linkMarkGone(uint32_t unit);
void linkTableClear();
// One synchronous dump of the kernel's links (ports chosen as above),
// without touching the table.
std::vector<Link> linkScan();

// ---- Platform messages ---------------------------------------------------------
// Encoders of the interface messages written on the agent's event socket.
std::vector<uint8_t> msgLinkRegister(uint32_t unit);
// A sub-system (another unit of the stack) has started.
std::vector<uint8_t> msgSubSysUp(uint32_t sysIndex);
std::vector<uint8_t> msgLinkRemove(uint32_t unit);
struct LinkChange {
  bool oper = false;
  uint8_t operValue = 0;  // 1 up, 2 down
  bool mtu = false;
  uint32_t mtuValue = 0;  // largest frame (Linux MTU + 18)
  bool mac = false;
  uint8_t macValue[6] = {0, 0, 0, 0, 0, 0};
  uint32_t joinAgg = 0;  // aggregation unit joined, 0 = none
  uint32_t quitAgg = 0;  // aggregation unit left, 0 = none
};
// Returns an empty vector when nothing changed.
std::vector<uint8_t> msgLinkChange(uint32_t unit, const LinkChange& c);
// The messages for one netlink link report, given the previous entry (null
// when the interface was not known) and the new one. Updates nothing.
std::vector<std::vector<uint8_t>> msgsForLink(const Link* before, const Link& after);

constexpr uint32_t kFrameOverhead = 18;  // Ethernet header, tag and FCS

// Starts the routing-netlink thread writing to fd (one end of the event
// socket pair). Returns 0 or -1.
int netlinkThreadStart(int fd);
// The agent's event socket: a datagram socket pair whose other end the
// platform writes (the netlink thread runs only when asked; tests go
// without). Returns the agent's end or -1.
int eventSocketOpen(bool netlinkThread);
// The platform's end of the event socket.
void eventSocketSet(int fd);
// Writes platform messages to the agent's event socket, in order, from any
// thread; false when there is no event socket (yet).
bool eventWrite(const std::vector<std::vector<uint8_t>>& msgs);
// Messages written so far, and messages the agent has read and finished
// with (counted by the event socket: everything read before the protocol
// task's next wait is handled).
uint64_t eventMessagesWritten();
uint64_t eventMessagesDone();
// True once the netlink thread's first dump of the links is announced.
bool linkTableFilled();

// ---- Frame socket ---------------------------------------------------------------
// The agent's frame socket (its Linux descriptor), -1 before it is opened.
int frameSocketFd();
// Joins (join = true) or leaves the LLDP destination group of a port (by its
// unit) on the frame socket for one reason (a bit of `reason`); the group is
// joined while any reason holds. A port of another unit has nothing to join.
int frameGroupSet(uint32_t unit, uint32_t reason, bool join);
bool frameGroupJoined(uint32_t unit);

// ---- Command server -------------------------------------------------------------
// The framing is shared with the clients (platform/common/cmdframe.h); its
// names are this platform's too.
using ::CmdRequest;
using ::cmdAddU32;
using ::cmdDecode;
using ::cmdEncodeRequest;
using ::cmdGetU32;
using ::kCmdFlagBuffer;
using ::kCmdFlagKey;
using ::kCmdHeaderLen;
using ::kCmdKnownFlags;
using ::kCmdMagic;
using ::kCmdMaxData;
using ::kCmdOpPortNames;
using ::kCmdReplyHeaderLen;

// Runs one request against a handler table (IcmFuncEntry[count]) and returns
// the reply bytes (linux_cmdframe.cpp).
std::vector<uint8_t> cmdExecute(const void* table, uint32_t count, const CmdRequest& req);
// The server's socket and loop (linux_icm.cpp; no platform calls there, so
// that a test or benchmark can serve a table with the simulated platform).
// cmdListen binds and listens on path (mode 0660), leaving alone a path that
// another server still answers on; returns the socket, or -1 with *why.
// cmdServe serves the table on it, on the calling thread, for good; `ops`
// are operations that the platform serves itself, before the table.
int cmdListen(const std::string& path, std::string* why);
struct CmdPlatformOp {
  uint32_t op;
  std::vector<uint8_t> (*serve)(const CmdRequest& req);  // the reply's bytes
};
void cmdServe(int lfd, const void* table, uint32_t count, const std::vector<CmdPlatformOp>& ops = {});
// The platform's own operation: a stack peer's hello (stackHelloServe).
constexpr uint32_t kCmdOpStackHello = 1000;
// The platform's own operation kCmdOpPortNames: the names of the ports
// (stack peers' ports as "UNIT/name") and the agent's up-time.
std::vector<uint8_t> portNamesServe(const CmdRequest& req);
// Sends one event (kind, argument, payload) to every subscribed client.
void eventPublish(uint32_t kind, uint32_t arg, const void* data, size_t len);
// Removes the command socket's path (at exit).
void cmdSocketUnlink();
// The command socket's path, empty when the server did not start.
std::string cmdSocketPath();

// ---- Stack peers (linux_stack.cpp) --------------------------------------------
// This agent's stack unit number (host.stackunit, 1 to 255), 0 outside a
// stack. A stacked unit numbers its ports unit << 16 | ifindex, so that every
// port of the stack has a unit of its own; outside a stack the unit is the
// ifindex.
uint32_t stackUnitSelf();
uint32_t unitOfIfindex(uint32_t ifindex);
// The local ifindex of a unit; 0 for a port of another unit.
uint32_t ifindexOfUnit(uint32_t unit);
bool stackHasPeers();
// Starts the stack thread (hellos to the peers, the join announcements and
// the removal of lost units' ports) when peers are configured.
void stackStart();
// The local ports changed: say hello to the peers now.
void stackPortsChanged();
// Answers a peer's hello (platform operation kCmdOpStackHello) with the reply
// bytes.
std::vector<uint8_t> stackHelloServe(const CmdRequest& req);
// Forwarded commands dropped because the queue was full, since start.
uint64_t stackDropped();

// Stack messages (linux_stackmsg.cpp, free of system calls). A hello
// announces a unit and its ports to a peer; the reply says who answered and
// whether that agent has taken our ports in (ready), so that the whole state
// sent next finds them.
constexpr uint32_t kStackUnitMax = 255;
constexpr uint32_t kStackPortsMax = 4096;
struct StackHelloPort {
  uint32_t ifindex = 0;  // the sender's Linux ifindex (1 to 65535)
  bool up = false;
  uint32_t mtu = 0;      // Linux MTU
  uint8_t mac[6] = {0, 0, 0, 0, 0, 0};
  std::string name;      // at most 16 bytes, printable
};
struct StackHello {
  uint32_t unit = 0;
  uint32_t incarnation = 0;  // changes when the agent restarts
  std::vector<StackHelloPort> ports;
};
struct StackHelloReply {
  uint32_t unit = 0;
  uint32_t incarnation = 0;
  bool ready = false;
};
std::vector<uint8_t> helloEncode(const StackHello& h);
// False (out untouched) when the bytes are not one well-formed hello.
bool helloDecode(const uint8_t* p, size_t n, StackHello* out);
std::vector<uint8_t> helloReplyEncode(const StackHelloReply& r);
bool helloReplyDecode(const uint8_t* p, size_t n, StackHelloReply* out);
// The messages of a buffer of the agent's synchronisation messages that this
// unit (stack unit number self) forwards, each on its own: the global
// statistics, and records and port statistics of its own ports. The walk
// stops at a length that does not fit.
std::vector<std::vector<uint8_t>> stackSyncMessages(const uint8_t* buf, size_t n, uint32_t self);
// The peers' Sync operation and object for a forwarded command id.
bool stackSyncOp(uint32_t cmdId, uint32_t* op, uint32_t* obj);
// The request that forwards one command to a peer.
bool stackRequest(uintptr_t index, uint32_t cmdId, const ZorValue* value, const ZorSyncCtl* ctl,
                  CmdRequest* req);
// The requests that forward one command to a peer: one, or for a buffer of
// synchronisation messages one per message this unit forwards
// (stackSyncMessages). None when the command is not forwarded.
std::vector<CmdRequest> stackRequests(uintptr_t index, uint32_t cmdId, const ZorValue* value,
                                      const ZorSyncCtl* ctl);
// Waits (up to 5 s) until every queued command has been delivered.
void stackDrain();

// Tells the service manager the process's state ("READY=1", "STOPPING=1",
// ...): one datagram to the socket NOTIFY_SOCKET names (a path, or an
// abstract name written with a leading '@'). True when it was sent; nothing
// is sent, and false returned, without NOTIFY_SOCKET.
bool notifyServiceManager(const std::string& state);
// ---- Process (linux_proc.cpp) ------------------------------------------------
// Names the calling thread after an agent task: "lldpagent:" and the task's
// name without its "lldp" and "task" ends ("lldptask" -> "lldpagent:task",
// "lldpcmdtask" -> "lldpagent:cmd"), cut to the kernel's 15 characters.
std::string threadName(const std::string& task);
void nameThisThread(const std::string& task);
// Becomes the user `user` (its group and supplementary groups), keeping only
// CAP_NET_RAW; must run before the first thread starts. False with the reason
// when that is not possible.
bool privDrop(const std::string& user, std::string* why);

// ---- Logging ------------------------------------------------------------------
// host.syslog: "" or a false value: standard error only; a true value: also
// the system log at /dev/log; a path: also the syslog socket at that path.
// When the system log cannot be reached this says so once on standard error.
void logUseSyslog(const std::string& how);
// Formats a time stamp and module name and writes complete lines.
void logWrite(uint32_t module, const char* text);

}  // namespace lnx
