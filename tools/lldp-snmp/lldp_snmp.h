// lldp-snmp: the agent's SNMP face, an AgentX subagent of a net-snmp master.
// It serves the LLDP-MIB tree of src/snmp (read through the client library)
// and turns the agent's event stream into SNMP notifications; the agent
// itself has no SNMP code.
//
//   main.cpp    options, logging, the loop over net-snmp's sockets and the
//               agent's event stream, start-up retries
//   agentx.cpp  the net-snmp glue: one handler for the LLDP-MIB subtree that
//               hands each varbind to the MibTree, notifications
#pragma once

#include <functional>
#include <string>

#include "snmp/lldp_notify.h"
#include "snmp/snmp_tree.h"

namespace lldpsnmpd {

// Log lines go to standard error, and to syslog (facility daemon) when
// asked; debug lines only with -d.
enum class Level { Error, Warning, Info, Debug };
void logInit(bool toSyslog, bool debug);
void logLine(Level level, const std::string& text);
bool logDebugOn();

class Subagent {
 public:
  // Called when the AgentX session to the master comes up or goes down,
  // once per change.
  using MasterState = std::function<void(bool connected)>;

  explicit Subagent(lldpsnmp::MibTree& tree, MasterState onMaster);
  // Sets net-snmp up as a subagent of the master at `address` (net-snmp's
  // syntax; empty: its default), registers the LLDP-MIB subtree and opens
  // the session (or starts retrying it every `retrySeconds`).
  void start(const std::string& address, int retrySeconds);
  // One pass of the loop: waits up to `maxWaitMs` for net-snmp's sockets and
  // `extraFd` (when not -1); returns true when extraFd became readable.
  bool poll(int extraFd, int maxWaitMs);
  // Sends a notification through the master; false when there is no master.
  bool notify(const lldpsnmp::Notification& n);
  bool connected() const { return connected_; }
  void stop();

  // Used by the net-snmp callbacks.
  void masterChanged(bool connected);
  lldpsnmp::MibTree& tree() { return tree_; }

 private:
  lldpsnmp::MibTree& tree_;
  MasterState onMaster_;
  bool connected_ = false;
  bool started_ = false;
};

}  // namespace lldpsnmpd
