// The net-snmp glue: lldp-snmp as an AgentX subagent. One handler serves
// the whole LLDP-MIB subtree by handing each varbind to the MibTree; Sets go
// through net-snmp's phases (check in RESERVE1, the old value kept in
// RESERVE2, the change in ACTION, the old value put back in UNDO). GETBULK
// reaches the handler as GETNEXTs (net-snmp adds its bulk-to-next helper to
// a handler that does not take GETBULK itself).
#include <sys/select.h>

#include <cerrno>
#include <cstring>
#include <memory>

#include "lldp_snmp.h"
#include "snmp/lldp_mib.h"

// net-snmp last (its headers define macros of common words), its
// configuration header first.
// clang-format off
#include <net-snmp/net-snmp-config.h>
#include <net-snmp/net-snmp-includes.h>
#include <net-snmp/agent/net-snmp-agent-includes.h>
#include <net-snmp/agent/agent_callbacks.h>
// clang-format on

namespace lldpsnmpd {

using lldpsnmp::GetResult;
using lldpsnmp::Oid;
using lldpsnmp::SetStatus;
using lldpsnmp::Value;

namespace {

Oid toOid(const oid* name, size_t len) { return Oid(name, name + len); }

std::vector<oid> fromOid(const Oid& o) { return std::vector<oid>(o.begin(), o.end()); }

void putValue(netsnmp_variable_list* vb, const Value& v) {
  switch (v.type) {
    case Value::Type::Integer: {
      const long x = static_cast<long>(v.num);
      snmp_set_var_typed_value(vb, ASN_INTEGER, &x, sizeof x);
      return;
    }
    case Value::Type::Counter32:
    case Value::Type::Gauge32:
    case Value::Type::TimeTicks: {
      const u_long x = static_cast<u_long>(v.num);
      const u_char type = v.type == Value::Type::Counter32 ? ASN_COUNTER
                          : v.type == Value::Type::Gauge32 ? ASN_GAUGE
                                                           : ASN_TIMETICKS;
      snmp_set_var_typed_value(vb, type, &x, sizeof x);
      return;
    }
    case Value::Type::OctetString: {
      static const u_char none = 0;
      snmp_set_var_typed_value(vb, ASN_OCTET_STR, v.bytes.empty() ? &none : v.bytes.data(), v.bytes.size());
      return;
    }
    case Value::Type::ObjectId: {
      const std::vector<oid> o = fromOid(v.oid);
      snmp_set_var_typed_value(vb, ASN_OBJECT_ID, o.data(), o.size() * sizeof(oid));
      return;
    }
  }
}

std::optional<Value> takeValue(const netsnmp_variable_list* vb) {
  switch (vb->type) {
    case ASN_INTEGER:
      return Value::integer(static_cast<int32_t>(*vb->val.integer));
    case ASN_COUNTER:
      return Value::counter(static_cast<uint32_t>(*vb->val.integer));
    case ASN_GAUGE:
      return Value::gauge(static_cast<uint32_t>(*vb->val.integer));
    case ASN_TIMETICKS:
      return Value::ticks(static_cast<uint32_t>(*vb->val.integer));
    case ASN_OCTET_STR:
      return Value::octets(std::vector<uint8_t>(vb->val.string, vb->val.string + vb->val_len));
    case ASN_OBJECT_ID:
      return Value::objectId(toOid(vb->val.objid, vb->val_len / sizeof(oid)));
    default:
      return std::nullopt;
  }
}

std::string valueText(const Value& v) {
  if (v.type == Value::Type::OctetString) {
    static const char* d = "0123456789abcdef";
    std::string s = "0x";
    for (uint8_t b : v.bytes) {
      s += d[b >> 4];
      s += d[b & 15];
    }
    return s;
  }
  if (v.type == Value::Type::ObjectId) return lldpsnmp::oidStr(v.oid);
  return std::to_string(v.num);
}

// A Set's state across net-snmp's phases, kept with the request.
struct SetState {
  std::optional<Value> old;  // the value before the change
  bool applied = false;
};
constexpr const char* kSetState = "lldp-snmp";

void freeSetState(void* p) { delete static_cast<SetState*>(p); }

int lldpHandler(netsnmp_mib_handler* handler, netsnmp_handler_registration*, netsnmp_agent_request_info* reqinfo,
                netsnmp_request_info* requests) {
  auto* self = static_cast<Subagent*>(handler->myvoid);
  lldpsnmp::MibTree& tree = self->tree();
  for (netsnmp_request_info* r = requests; r; r = r->next) {
    if (r->processed) continue;
    netsnmp_variable_list* vb = r->requestvb;
    const Oid name = toOid(vb->name, vb->name_length);
    switch (reqinfo->mode) {
      case MODE_GET: {
        const GetResult g = tree.get(name);
        switch (g.status) {
          case GetResult::Status::Ok:
            putValue(vb, g.value);
            break;
          case GetResult::Status::NoSuchObject:
            netsnmp_set_request_error(reqinfo, r, SNMP_NOSUCHOBJECT);
            break;
          case GetResult::Status::NoSuchInstance:
            netsnmp_set_request_error(reqinfo, r, SNMP_NOSUCHINSTANCE);
            break;
          case GetResult::Status::Unavailable:
            netsnmp_set_request_error(reqinfo, r, SNMP_ERR_GENERR);
            break;
        }
        break;
      }
      case MODE_GETNEXT: {
        // Nothing after the name: the varbind is left as it came, and
        // net-snmp goes on past this subtree.
        if (auto next = tree.next(name)) {
          const std::vector<oid> o = fromOid(next->name);
          snmp_set_var_objid(vb, o.data(), o.size());
          putValue(vb, next->value);
        }
        break;
      }
      case MODE_SET_RESERVE1: {
        const auto v = takeValue(vb);
        const SetStatus st = v ? tree.check(name, *v) : SetStatus::WrongType;
        if (st != SetStatus::NoError) netsnmp_set_request_error(reqinfo, r, static_cast<int>(st));
        break;
      }
      case MODE_SET_RESERVE2: {
        auto* state = new SetState;
        const GetResult g = tree.get(name);
        if (g.status == GetResult::Status::Ok) state->old = g.value;
        netsnmp_request_add_list_data(r, netsnmp_create_data_list(kSetState, state, freeSetState));
        break;
      }
      case MODE_SET_ACTION: {
        const auto v = takeValue(vb);
        auto* state = static_cast<SetState*>(netsnmp_request_get_list_data(r, kSetState));
        const SetStatus st = v ? tree.apply(name, *v) : SetStatus::WrongType;
        if (logDebugOn())
          logLine(Level::Debug, "set " + lldpsnmp::oidStr(name) + " = " + (v ? valueText(*v) : "?") + ": " +
                                    lldpsnmp::setStatusName(st));
        if (st == SetStatus::NoError) {
          if (state) state->applied = true;
        } else {
          netsnmp_set_request_error(reqinfo, r, static_cast<int>(st));
        }
        break;
      }
      case MODE_SET_UNDO: {
        auto* state = static_cast<SetState*>(netsnmp_request_get_list_data(r, kSetState));
        if (state && state->applied && state->old && tree.apply(name, *state->old) != SetStatus::NoError)
          netsnmp_set_request_error(reqinfo, r, SNMP_ERR_UNDOFAILED);
        break;
      }
      default:  // COMMIT and FREE: the change is made, the state goes with the request
        break;
    }
  }
  return SNMP_ERR_NOERROR;
}

// net-snmp's own log lines, through ours; a line equal to the one before is
// dropped.
int logCallback(int, int, void* serverarg, void*) {
  static std::string last;
  const auto* m = static_cast<const snmp_log_message*>(serverarg);
  std::string text = m->msg ? m->msg : "";
  while (!text.empty() && (text.back() == '\n' || text.back() == '\r')) text.pop_back();
  if (text.empty() || text == last) return 0;
  last = text;
  // Its notes on the session (connected, disconnected) repeat the state
  // lines logged here: they show with -d only.
  const Level level = m->priority <= LOG_ERR       ? Level::Error
                      : m->priority == LOG_WARNING ? Level::Warning
                                                   : Level::Debug;
  logLine(level, "net-snmp: " + text);
  return 0;
}

// net-snmp frees a callback's client argument when it shuts down: the
// subagent is found here instead.
Subagent* gSubagent = nullptr;

int masterUp(int, int, void*, void*) {
  if (gSubagent) gSubagent->masterChanged(true);
  return 0;
}

int masterDown(int, int, void*, void*) {
  if (gSubagent) gSubagent->masterChanged(false);
  return 0;
}

}  // namespace

Subagent::Subagent(lldpsnmp::MibTree& tree, MasterState onMaster) : tree_(tree), onMaster_(std::move(onMaster)) {}

void Subagent::masterChanged(bool connected) {
  if (connected == connected_) return;
  connected_ = connected;
  if (onMaster_) onMaster_(connected);
}

void Subagent::start(const std::string& address, int retrySeconds) {
  netsnmp_ds_set_boolean(NETSNMP_DS_APPLICATION_ID, NETSNMP_DS_AGENT_ROLE, 1);
  if (!address.empty()) netsnmp_ds_set_string(NETSNMP_DS_APPLICATION_ID, NETSNMP_DS_AGENT_X_SOCKET, address.c_str());
  // The master's state is logged here, once per change, not on every retry.
  netsnmp_ds_set_boolean(NETSNMP_DS_APPLICATION_ID, NETSNMP_DS_AGENT_NO_CONNECTION_WARNINGS, 1);
  // Everything comes from the command line: no configuration files, no
  // persistent state, no MIB files (the tree knows its OIDs), and timers run
  // from the loop rather than from a signal.
  netsnmp_ds_set_boolean(NETSNMP_DS_LIBRARY_ID, NETSNMP_DS_LIB_DONT_READ_CONFIGS, 1);
  netsnmp_ds_set_boolean(NETSNMP_DS_LIBRARY_ID, NETSNMP_DS_LIB_DISABLE_PERSISTENT_LOAD, 1);
  netsnmp_ds_set_boolean(NETSNMP_DS_LIBRARY_ID, NETSNMP_DS_LIB_DISABLE_PERSISTENT_SAVE, 1);
  netsnmp_ds_set_boolean(NETSNMP_DS_LIBRARY_ID, NETSNMP_DS_LIB_ALARM_DONT_USE_SIG, 1);
  setenv("MIBS", "", 1);

  snmp_disable_log();
  gSubagent = this;
  snmp_register_callback(SNMP_CALLBACK_LIBRARY, SNMP_CALLBACK_LOGGING, logCallback, nullptr);
  snmp_enable_calllog();
  // net-snmp announces the session to the master opening (its index
  // registrations start) and closing.
  snmp_register_callback(SNMP_CALLBACK_APPLICATION, SNMPD_CALLBACK_INDEX_START, masterUp, nullptr);
  snmp_register_callback(SNMP_CALLBACK_APPLICATION, SNMPD_CALLBACK_INDEX_STOP, masterDown, nullptr);

  init_agent("lldp-snmp");
  // The ping finds a master that went away, and the session is reopened at
  // the same interval (set after init_agent, which puts its default).
  netsnmp_ds_set_int(NETSNMP_DS_APPLICATION_ID, NETSNMP_DS_AGENT_AGENTX_PING_INTERVAL, retrySeconds);
  const std::vector<oid> base = fromOid(lldpsnmp::mib::kLldpMib);
  netsnmp_handler_registration* reg =
      netsnmp_create_handler_registration("lldpMIB", lldpHandler, base.data(), base.size(), HANDLER_CAN_RWRITE);
  reg->handler->myvoid = this;
  netsnmp_register_handler(reg);
  init_snmp("lldp-snmp");
  started_ = true;
}

bool Subagent::poll(int extraFd, int maxWaitMs) {
  int numfds = 0;
  fd_set fds;
  FD_ZERO(&fds);
  timeval tv{maxWaitMs / 1000, (maxWaitMs % 1000) * 1000};
  int block = 0;
  snmp_select_info(&numfds, &fds, &tv, &block);
  if (block || tv.tv_sec * 1000 + tv.tv_usec / 1000 > maxWaitMs)
    tv = timeval{maxWaitMs / 1000, (maxWaitMs % 1000) * 1000};
  if (extraFd >= 0) {
    FD_SET(extraFd, &fds);
    if (extraFd >= numfds) numfds = extraFd + 1;
  }
  const int n = select(numfds, &fds, nullptr, nullptr, &tv);
  bool extra = false;
  if (n > 0) {
    if (extraFd >= 0 && FD_ISSET(extraFd, &fds)) {
      extra = true;
      FD_CLR(extraFd, &fds);
    }
    snmp_read(&fds);
  } else if (n == 0) {
    snmp_timeout();
  } else if (errno != EINTR) {
    logLine(Level::Error, std::string("select: ") + std::strerror(errno));
  }
  run_alarms();
  netsnmp_check_outstanding_agent_requests();
  return extra;
}

bool Subagent::notify(const lldpsnmp::Notification& n) {
  if (!connected_) return false;
  netsnmp_variable_list* vars = nullptr;
  const std::vector<oid> trapOid = fromOid(lldpsnmp::mib::kSnmpTrapOid);
  const std::vector<oid> value = fromOid(n.trapOid);
  snmp_varlist_add_variable(&vars, trapOid.data(), trapOid.size(), ASN_OBJECT_ID, value.data(),
                            value.size() * sizeof(oid));
  for (const lldpsnmp::VarBind& b : n.varbinds) {
    const std::vector<oid> name = fromOid(b.name);
    netsnmp_variable_list* v = snmp_varlist_add_variable(&vars, name.data(), name.size(), ASN_NULL, nullptr, 0);
    if (v) putValue(v, b.value);
  }
  // sysUpTime.0 goes in front of these.
  send_v2trap(vars);
  snmp_free_varbind(vars);
  return true;
}

void Subagent::stop() {
  if (!started_) return;
  snmp_shutdown("lldp-snmp");
  started_ = false;
  gSubagent = nullptr;
}

}  // namespace lldpsnmpd
