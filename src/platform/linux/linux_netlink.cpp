// Interfaces on Linux: the link table and the routing-netlink thread.
//
// The thread listens to the kernel's link notifications (RTMGRP_LINK) through
// libmnl, keeps one table entry per interface of the namespace, and turns
// what changed on a port into the platform's interface messages, written to
// the agent's event socket pair:
//   - a new port: a registration (change mask all ones), then one change
//     message with its oper status, largest frame, MAC and, for a bond
//     member, the aggregation it joined;
//   - a changed port: one change message with only what changed (oper
//     status, largest frame, MAC, aggregation quit and join);
//   - a removed port (or one renamed out of the port patterns): a removal.
// At start it dumps the existing links and announces every port the same way.
// When the kernel reports a lost notification (ENOBUFS) it dumps again and
// removes what the dump no longer shows.
#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cstring>
#include <fnmatch.h>
#include <map>
#include <mutex>
#include <set>
#include <sstream>
#include <thread>

#include <libmnl/libmnl.h>
#include <linux/if.h>
#include <linux/if_arp.h>
#include <linux/if_link.h>
#include <linux/rtnetlink.h>
#include <sys/socket.h>
#include <unistd.h>

#include "platform/linux/linux_platform.h"
#include "platform/platform_types.h"

namespace lnx {
namespace {

std::mutex gLinkLock;
std::map<uint32_t, Link> gLinks;  // by unit

// The agent's end of the event socket pair is read by the protocol task;
// this end is written by the netlink thread and the stack thread.
std::mutex gEventLock;
int gEventFd = -1;
bool gEventPeerGone = false;
std::atomic<uint64_t> gEventWritten{0};
std::atomic<bool> gFirstDumpDone{false};

std::vector<std::string> splitPatterns(const std::string& s) {
  std::vector<std::string> out;
  std::string cur;
  for (char c : s) {
    if (c == ',' || c == ' ' || c == '\t') {
      if (!cur.empty()) out.push_back(cur);
      cur.clear();
    } else {
      cur.push_back(c);
    }
  }
  if (!cur.empty()) out.push_back(cur);
  return out;
}

bool matchAny(const std::vector<std::string>& pats, const std::string& name) {
  for (const auto& p : pats)
    if (fnmatch(p.c_str(), name.c_str(), 0) == 0) return true;
  return false;
}

// Kinds that are never ports: bridges, aggregations, VLAN devices, tunnels.
bool neverPortKind(const std::string& kind) {
  static const char* const kinds[] = {
      "bridge", "bond", "team", "vlan", "macvlan", "macvtap", "ipvlan", "vxlan", "gre",
      "gretap", "ip6gre", "ip6gretap", "ipip", "ip6tnl", "sit", "geneve", "erspan",
      "ip6erspan", "tun", "wireguard", "macsec", "openvswitch", "vrf", "dummy", "ifb",
      "nlmon", "bareudp", "gtp", "xfrm"};
  for (const char* k : kinds)
    if (kind == k) return true;
  return false;
}

void put32(std::vector<uint8_t>& b, size_t off, uint32_t v) { std::memcpy(&b[off], &v, 4); }
void put16(std::vector<uint8_t>& b, size_t off, uint16_t v) { std::memcpy(&b[off], &v, 2); }

std::vector<uint8_t> ifMsg(uint16_t type, uint32_t unit, uint32_t change) {
  std::vector<uint8_t> b(kZorIfAttrOffset, 0);
  put16(b, 4, type);
  put32(b, 24 + 4, unit);
  put32(b, 24 + 12, change);
  return b;
}

void addAttr(std::vector<uint8_t>& b, uint16_t type, const void* data, uint16_t len) {
  const size_t off = b.size();
  const size_t padded = (4u + len + 3u) & ~size_t{3};
  b.resize(off + padded, 0);
  put16(b, off, static_cast<uint16_t>(4 + len));
  put16(b, off + 2, type);
  if (len) std::memcpy(&b[off + 4], data, len);
}

void finish(std::vector<uint8_t>& b) { put32(b, 0, static_cast<uint32_t>(b.size())); }

bool isAggregation(uint32_t ifindex) {
  Link m;
  return ifindex != 0 && linkGet(unitOfIfindex(ifindex), &m) && (m.kind == "bond" || m.kind == "team");
}

uint32_t unitOf(const Link& l) { return l.unit != 0 ? l.unit : unitOfIfindex(l.ifindex); }

}  // namespace

bool linkIsPortCandidate(const Link& l) {
  if (l.arpType != ARPHRD_ETHER || (l.flags & IFF_LOOPBACK)) return false;
  const std::string mgmt = optString("host.mgmtif", "");
  if (!mgmt.empty() && l.name == mgmt) return true;
  if (neverPortKind(l.kind)) return false;
  const auto include = splitPatterns(optString("host.ports", ""));
  const auto exclude = splitPatterns(optString("host.exclude", ""));
  if (matchAny(exclude, l.name)) return false;
  if (!include.empty()) return matchAny(include, l.name);
  return l.kind.empty() || l.kind == "veth";
}

bool linkOperUp(const Link& l) { return (l.flags & IFF_UP) && (l.flags & IFF_RUNNING); }

bool linkGet(uint32_t unit, Link* out) {
  std::lock_guard<std::mutex> g(gLinkLock);
  auto it = gLinks.find(unit);
  if (it == gLinks.end()) return false;
  if (out) *out = it->second;
  return true;
}

bool linkLive(uint32_t unit) {
  std::lock_guard<std::mutex> g(gLinkLock);
  auto it = gLinks.find(unit);
  return it != gLinks.end() && !it->second.gone;
}

std::vector<Link> linkAll() {
  std::lock_guard<std::mutex> g(gLinkLock);
  std::vector<Link> v;
  for (const auto& [i, l] : gLinks) v.push_back(l);
  return v;
}

void linkPut(const Link& l) {
  Link e = l;
  e.unit = unitOf(l);
  std::lock_guard<std::mutex> g(gLinkLock);
  gLinks[e.unit] = e;
}

void linkMarkGone(uint32_t unit) {
  std::lock_guard<std::mutex> g(gLinkLock);
  auto it = gLinks.find(unit);
  if (it != gLinks.end()) it->second.gone = true;
}

void linkTableClear() {
  std::lock_guard<std::mutex> g(gLinkLock);
  gLinks.clear();
}

std::vector<uint8_t> msgLinkRegister(uint32_t unit) {
  auto b = ifMsg(ZOR_RTM_NEWLINK, unit, 0xFFFFFFFFu);
  finish(b);
  return b;
}

std::vector<uint8_t> msgSubSysUp(uint32_t sysIndex) {
  std::vector<uint8_t> b(kZorIfAttrOffset - 20, 0);  // header and one body word
  put16(b, 4, ZOR_RTM_SUBSYS_UP);
  put32(b, 24, sysIndex);
  finish(b);
  return b;
}

std::vector<uint8_t> msgLinkRemove(uint32_t unit) {
  auto b = ifMsg(ZOR_RTM_DELLINK, unit, 0);
  finish(b);
  return b;
}

std::vector<uint8_t> msgLinkChange(uint32_t unit, const LinkChange& c) {
  uint32_t mask = 0;
  if (c.oper) mask |= 1;
  if (c.mtu) mask |= 2;
  if (c.mac) mask |= 4;
  if (c.joinAgg || c.quitAgg) mask |= 8;
  if (!mask) return {};
  auto b = ifMsg(ZOR_RTM_NEWLINK, unit, mask);
  if (c.oper) addAttr(b, ZOR_IFLA_OPERSTATE, &c.operValue, 1);
  if (c.mtu) addAttr(b, ZOR_IFLA_MTU, &c.mtuValue, 4);
  if (c.mac) addAttr(b, ZOR_IFLA_ADDRESS, c.macValue, 6);
  // Leaving one aggregation comes before joining the next.
  if (c.quitAgg) addAttr(b, ZOR_IFLA_PHYQUITAGG, &c.quitAgg, 4);
  if (c.joinAgg) addAttr(b, ZOR_IFLA_PHYJOINAGG, &c.joinAgg, 4);
  finish(b);
  return b;
}

std::vector<std::vector<uint8_t>> msgsForLink(const Link* before, const Link& after) {
  std::vector<std::vector<uint8_t>> out;
  const uint32_t unit = unitOf(after);
  const bool wasPort = before && before->isPort && !before->gone;
  if (!after.isPort || after.gone) {
    if (wasPort) out.push_back(msgLinkRemove(unit));
    return out;
  }
  LinkChange c;
  const uint8_t oper = linkOperUp(after) ? 1 : 2;
  const uint32_t frame = after.mtu + kFrameOverhead;
  if (!wasPort) {
    out.push_back(msgLinkRegister(unit));
    c.oper = c.mtu = c.mac = true;
    c.operValue = oper;
    c.mtuValue = frame;
    std::memcpy(c.macValue, after.mac, 6);
    if (isAggregation(after.master)) c.joinAgg = unitOfIfindex(after.master);
  } else {
    if ((linkOperUp(*before) ? 1 : 2) != oper) {
      c.oper = true;
      c.operValue = oper;
    }
    if (before->mtu != after.mtu) {
      c.mtu = true;
      c.mtuValue = frame;
    }
    if (std::memcmp(before->mac, after.mac, 6) != 0) {
      c.mac = true;
      std::memcpy(c.macValue, after.mac, 6);
    }
    if (before->master != after.master) {
      if (isAggregation(before->master)) c.quitAgg = unitOfIfindex(before->master);
      if (isAggregation(after.master)) c.joinAgg = unitOfIfindex(after.master);
    }
  }
  auto m = msgLinkChange(unit, c);
  if (!m.empty()) out.push_back(std::move(m));
  return out;
}

namespace {

struct NlCtx {
  bool dumping;
  std::set<uint32_t> seen;  // ifindexes a dump showed
};

void sendAll(NlCtx* /*ctx*/, const std::vector<std::vector<uint8_t>>& msgs) {
  if (msgs.empty()) return;
  eventWrite(msgs);
  stackPortsChanged();
}

int linkAttrCb(const nlattr* a, void* data) {
  auto* tb = static_cast<const nlattr**>(data);
  const int type = mnl_attr_get_type(a);
  if (mnl_attr_type_valid(a, IFLA_MAX) < 0) return MNL_CB_OK;
  tb[type] = a;
  return MNL_CB_OK;
}

int infoAttrCb(const nlattr* a, void* data) {
  auto* tb = static_cast<const nlattr**>(data);
  const int type = mnl_attr_get_type(a);
  if (mnl_attr_type_valid(a, IFLA_INFO_MAX) < 0) return MNL_CB_OK;
  tb[type] = a;
  return MNL_CB_OK;
}

std::string attrString(const nlattr* a) {
  // Bounded by the attribute's payload, whatever the terminator says.
  const char* p = static_cast<const char*>(mnl_attr_get_payload(a));
  const size_t n = mnl_attr_get_payload_len(a);
  return std::string(p, strnlen(p, n));
}

// Fills l from an RTM_NEWLINK message (l keeps what the message leaves out).
void parseLink(const nlmsghdr* nlh, Link* out) {
  const auto* ifi = static_cast<const ifinfomsg*>(mnl_nlmsg_get_payload(nlh));
  Link& l = *out;
  const nlattr* tb[IFLA_MAX + 1] = {};
  mnl_attr_parse(nlh, sizeof(ifinfomsg), linkAttrCb, tb);
  l.ifindex = static_cast<uint32_t>(ifi->ifi_index);
  l.unit = unitOfIfindex(l.ifindex);
  l.gone = false;
  l.arpType = ifi->ifi_type;
  l.flags = ifi->ifi_flags;
  if (tb[IFLA_IFNAME]) l.name = attrString(tb[IFLA_IFNAME]);
  if (tb[IFLA_MTU] && mnl_attr_get_payload_len(tb[IFLA_MTU]) >= 4) l.mtu = mnl_attr_get_u32(tb[IFLA_MTU]);
  if (tb[IFLA_ADDRESS] && mnl_attr_get_payload_len(tb[IFLA_ADDRESS]) >= 6)
    std::memcpy(l.mac, mnl_attr_get_payload(tb[IFLA_ADDRESS]), 6);
  l.master = tb[IFLA_MASTER] && mnl_attr_get_payload_len(tb[IFLA_MASTER]) >= 4
                 ? mnl_attr_get_u32(tb[IFLA_MASTER])
                 : 0;
  l.alias = tb[IFLA_IFALIAS] ? attrString(tb[IFLA_IFALIAS]) : std::string();
  if (tb[IFLA_LINKINFO]) {
    const nlattr* info[IFLA_INFO_MAX + 1] = {};
    mnl_attr_parse_nested(tb[IFLA_LINKINFO], infoAttrCb, info);
    if (info[IFLA_INFO_KIND]) l.kind = attrString(info[IFLA_INFO_KIND]);
  }
  const std::string mgmt = optString("host.mgmtif", "");
  l.isMgmt = !mgmt.empty() && l.name == mgmt;
  // A stacked unit numbers its ports with 16 bits of ifindex.
  l.isPort = linkIsPortCandidate(l) && (stackUnitSelf() == 0 || l.ifindex <= 0xFFFF);
}

int linkMsgCb(const nlmsghdr* nlh, void* data) {
  auto* ctx = static_cast<NlCtx*>(data);
  if (nlh->nlmsg_type != RTM_NEWLINK && nlh->nlmsg_type != RTM_DELLINK) return MNL_CB_OK;
  if (nlh->nlmsg_len < mnl_nlmsg_size(sizeof(ifinfomsg))) return MNL_CB_OK;
  const auto* ifi = static_cast<const ifinfomsg*>(mnl_nlmsg_get_payload(nlh));
  // Bridge port reports come with the bridge family; they are not about the
  // link itself.
  if (ifi->ifi_family != AF_UNSPEC) return MNL_CB_OK;
  const uint32_t ifindex = static_cast<uint32_t>(ifi->ifi_index);
  const uint32_t unit = unitOfIfindex(ifindex);

  Link before;
  const bool known = linkGet(unit, &before);
  if (nlh->nlmsg_type == RTM_DELLINK) {
    if (!known) return MNL_CB_OK;
    Link after = before;
    after.gone = true;
    auto msgs = msgsForLink(&before, after);
    linkMarkGone(unit);
    frameGroupSet(unit, 0xFFFFFFFFu, false);
    sendAll(ctx, msgs);
    return MNL_CB_OK;
  }

  Link l = known && !before.gone ? before : Link{};
  parseLink(nlh, &l);

  if (ctx->dumping) ctx->seen.insert(ifindex);
  auto msgs = msgsForLink(known ? &before : nullptr, l);
  linkPut(l);
  sendAll(ctx, msgs);
  return MNL_CB_OK;
}

bool requestDump(mnl_socket* nl, uint32_t seq) {
  char buf[MNL_SOCKET_BUFFER_SIZE];
  nlmsghdr* nlh = mnl_nlmsg_put_header(buf);
  nlh->nlmsg_type = RTM_GETLINK;
  nlh->nlmsg_flags = NLM_F_REQUEST | NLM_F_DUMP;
  nlh->nlmsg_seq = seq;
  auto* ifi = static_cast<ifinfomsg*>(mnl_nlmsg_put_extra_header(nlh, sizeof(ifinfomsg)));
  ifi->ifi_family = AF_UNSPEC;
  return mnl_socket_sendto(nl, nlh, nlh->nlmsg_len) >= 0;
}

// Called when a dump has ended: whatever it did not show has gone.
void dumpDone(NlCtx* ctx) {
  for (const Link& l : linkAll()) {
    if (l.gone || l.remote || ctx->seen.count(l.ifindex)) continue;
    Link after = l;
    after.gone = true;
    auto msgs = msgsForLink(&l, after);
    linkMarkGone(l.unit);
    sendAll(ctx, msgs);
  }
  ctx->dumping = false;
  ctx->seen.clear();
  gFirstDumpDone = true;
}

void netlinkThread(mnl_socket* nl) {
  nameThisThread("link");
  NlCtx ctx{true, {}};
  uint32_t seq = 1;
  std::vector<char> buf(1 << 16);
  requestDump(nl, seq);
  for (;;) {
    {
      std::lock_guard<std::mutex> g(gEventLock);
      if (gEventPeerGone) break;
    }
    const ssize_t n = mnl_socket_recvfrom(nl, buf.data(), buf.size());
    if (n < 0) {
      if (errno == EINTR) continue;
      if (errno == ENOBUFS) {
        // Notifications were lost: start over from a full dump.
        ctx.dumping = true;
        ctx.seen.clear();
        requestDump(nl, ++seq);
        continue;
      }
      break;
    }
    // Walk the datagram ourselves so that the end of a dump is seen.
    size_t left = static_cast<size_t>(n);
    const auto* nlh = reinterpret_cast<const nlmsghdr*>(buf.data());
    while (mnl_nlmsg_ok(nlh, static_cast<int>(left))) {
      if (nlh->nlmsg_type == NLMSG_DONE) {
        if (ctx.dumping) dumpDone(&ctx);
      } else if (nlh->nlmsg_type >= NLMSG_MIN_TYPE) {
        linkMsgCb(nlh, &ctx);
      }
      int rem = static_cast<int>(left);
      nlh = mnl_nlmsg_next(nlh, &rem);
      left = static_cast<size_t>(rem);
    }
  }
  mnl_socket_close(nl);
  std::lock_guard<std::mutex> g(gEventLock);
  ::close(gEventFd);
  gEventFd = -1;
}

}  // namespace

void eventSocketSet(int fd) {
  std::lock_guard<std::mutex> g(gEventLock);
  gEventFd = fd;
  gEventPeerGone = false;
}

bool eventWrite(const std::vector<std::vector<uint8_t>>& msgs) {
  std::lock_guard<std::mutex> g(gEventLock);
  if (gEventFd < 0) return false;
  for (const auto& m : msgs) {
    if (::send(gEventFd, m.data(), m.size(), MSG_NOSIGNAL) < 0) {
      if (errno == ECONNREFUSED || errno == EPIPE || errno == EBADF) gEventPeerGone = true;
      continue;
    }
    gEventWritten.fetch_add(1);
  }
  return true;
}

uint64_t eventMessagesWritten() { return gEventWritten.load(); }

bool linkTableFilled() { return gFirstDumpDone.load(); }

std::vector<Link> linkScan() {
  std::vector<Link> out;
  mnl_socket* nl = mnl_socket_open(NETLINK_ROUTE);
  if (!nl) return out;
  if (mnl_socket_bind(nl, 0, MNL_SOCKET_AUTOPID) < 0 || !requestDump(nl, 1)) {
    mnl_socket_close(nl);
    return out;
  }
  std::vector<char> buf(1 << 16);
  bool done = false;
  while (!done) {
    const ssize_t n = mnl_socket_recvfrom(nl, buf.data(), buf.size());
    if (n <= 0) break;
    int left = static_cast<int>(n);
    const auto* nlh = reinterpret_cast<const nlmsghdr*>(buf.data());
    while (mnl_nlmsg_ok(nlh, left)) {
      if (nlh->nlmsg_type == NLMSG_DONE || nlh->nlmsg_type == NLMSG_ERROR) {
        done = true;
        break;
      }
      if (nlh->nlmsg_type == RTM_NEWLINK && nlh->nlmsg_len >= mnl_nlmsg_size(sizeof(ifinfomsg)) &&
          static_cast<const ifinfomsg*>(mnl_nlmsg_get_payload(nlh))->ifi_family == AF_UNSPEC) {
        Link l;
        parseLink(nlh, &l);
        out.push_back(l);
      }
      nlh = mnl_nlmsg_next(nlh, &left);
    }
  }
  mnl_socket_close(nl);
  return out;
}

int netlinkThreadStart(int fd) {
  mnl_socket* nl = mnl_socket_open(NETLINK_ROUTE);
  if (!nl) return -1;
  if (mnl_socket_bind(nl, RTMGRP_LINK, MNL_SOCKET_AUTOPID) < 0) {
    mnl_socket_close(nl);
    return -1;
  }
  // A large receive buffer makes lost notifications rare when many links
  // change at once.
  int rcv = 1 << 20;
  setsockopt(mnl_socket_get_fd(nl), SOL_SOCKET, SO_RCVBUF, &rcv, sizeof rcv);
  eventSocketSet(fd);
  std::thread(netlinkThread, nl).detach();
  return 0;
}

}  // namespace lnx
