// Tests of the Linux platform's own pieces: the options file, the choice of
// ports, the interface messages written to the agent, the interface objects
// answered from the link table, and the command socket's framing (also over
// a real Unix socket). The daemon run end to end is in tests/*_test.sh.
#include <gtest/gtest.h>

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <memory>
#include <mutex>
#include <string>
#include <tuple>
#include <vector>

#include <linux/if.h>
#include <linux/if_arp.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include "platform/icm.h"
#include "platform/linux/linux_platform.h"
#include "platform/sil.h"
#include "platform/trap.h"
#include "platform/zor_hwil.h"
#include "platform/zor_if.h"
#include "platform/zor_socket.h"

namespace {

using Bytes = std::vector<uint8_t>;
uint32_t u32At(const Bytes& b, size_t off) {
  uint32_t v = 0;
  std::memcpy(&v, &b.at(off + 3) - 3, 4);
  return v;
}
uint16_t u16At(const Bytes& b, size_t off) {
  uint16_t v = 0;
  std::memcpy(&v, &b.at(off + 1) - 1, 2);
  return v;
}

// Attributes of an interface message as (type, payload) pairs.
std::vector<std::pair<uint16_t, Bytes>> attrs(const Bytes& m) {
  std::vector<std::pair<uint16_t, Bytes>> out;
  size_t off = kZorIfAttrOffset;
  while (off + 4 <= m.size()) {
    const uint16_t len = u16At(m, off);
    if (len < 4 || off + len > m.size()) break;
    out.emplace_back(u16At(m, off + 2), Bytes(m.begin() + static_cast<long>(off) + 4,
                                              m.begin() + static_cast<long>(off) + len));
    off += (len + 3u) & ~3u;
  }
  return out;
}

lnx::Link makeLink(uint32_t ifindex, const std::string& name, const std::string& kind = "veth") {
  lnx::Link l;
  l.ifindex = ifindex;
  l.name = name;
  l.kind = kind;
  l.arpType = ARPHRD_ETHER;
  l.flags = IFF_UP | IFF_RUNNING;
  l.mtu = 1500;
  const uint8_t mac[6] = {0x02, 0, 0, 0, 0, static_cast<uint8_t>(ifindex)};
  std::memcpy(l.mac, mac, 6);
  l.isPort = lnx::linkIsPortCandidate(l);
  return l;
}

class LinuxPlatform : public ::testing::Test {
 protected:
  void SetUp() override {
    lnx::optClear();
    lnx::linkTableClear();
  }
  std::vector<std::pair<std::string, std::string>> kv;
  std::vector<lnx::OptError> errors, warnings;
};

// ---- options file ------------------------------------------------------------

TEST_F(LinuxPlatform, OptionsFileParsing) {
  ASSERT_TRUE(lnx::optParse("# comment\n\n  lldp.maxifnum =  16   # trailing\n"
                            "host.sysname = my host\nlldp.enable =\n",
                            "f.conf", &kv, &errors, &warnings));
  EXPECT_TRUE(errors.empty() && warnings.empty());
  using P = std::pair<std::string, std::string>;
  EXPECT_EQ(kv, (std::vector<P>{{"lldp.maxifnum", "16"}, {"host.sysname", "my host"},
                                {"lldp.enable", ""}}));
  // Malformed lines are fatal and named by file and line.
  for (const auto& [text, line] : {std::pair<const char*, int>{"lldp.enable = 1\n\nlldp.x 16\n", 3},
                                   {"bad key = 1\n", 1}}) {
    errors.clear();
    EXPECT_FALSE(lnx::optParse(text, "x.conf", &kv, &errors, &warnings)) << text;
    ASSERT_EQ(errors.size(), 1u);
    EXPECT_EQ(errors[0].file, "x.conf");
    EXPECT_EQ(errors[0].line, line);
  }
  // An unknown key only warns, naming the line.
  EXPECT_TRUE(lnx::optParse("lldp.enable = 1\nlldp.maxifnun = 3\nhost.pvid = 5\n", "y.conf", &kv,
                            &errors, &warnings));
  ASSERT_EQ(warnings.size(), 1u);
  EXPECT_EQ(warnings[0].line, 2);
  EXPECT_NE(warnings[0].reason.find("lldp.maxifnun"), std::string::npos);

  lnx::OptError err;
  EXPECT_FALSE(lnx::optLoadFile("/nonexistent/lldp.conf", &err));
  EXPECT_EQ(err.file, "/nonexistent/lldp.conf");
  EXPECT_EQ(err.line, 0);
  char path[] = "/tmp/lldp-opt-XXXXXX";
  const int fd = mkstemp(path);
  ASSERT_GE(fd, 0);
  const char text[] = "host.pvid = 7\nnot an option\n";
  ASSERT_EQ(write(fd, text, sizeof text - 1), static_cast<ssize_t>(sizeof text - 1));
  close(fd);
  EXPECT_FALSE(lnx::optLoadFile(path, &err));
  EXPECT_EQ(err.line, 2);
  unlink(path);
}

// Writes text to a fresh file and returns its path.
std::string writeTemp(const std::string& text, const std::string& path = "") {
  std::string p = path;
  if (p.empty()) {
    char tmpl[] = "/tmp/lldp-opt-XXXXXX";
    const int fd = mkstemp(tmpl);
    EXPECT_GE(fd, 0);
    close(fd);
    p = tmpl;
  }
  FILE* f = std::fopen(p.c_str(), "w");
  EXPECT_NE(f, nullptr);
  std::fputs(text.c_str(), f);
  std::fclose(f);
  return p;
}

TEST_F(LinuxPlatform, OptionsFileMustBeAReadableFile) {
  lnx::OptError err;
  EXPECT_FALSE(lnx::optLoadFile("/tmp", &err));
  EXPECT_EQ(err.line, 0);
  EXPECT_EQ(err.reason, std::strerror(EISDIR));
  // An empty file is fine and brings Linux's defaults.
  const std::string path = writeTemp("");
  ASSERT_TRUE(lnx::optLoadFile(path, &err));
  EXPECT_EQ(lnx::optString("host.notify", ""), "true");
  EXPECT_EQ(lnx::optFilePath(), path);
  writeTemp("lldp.debugflags = 0x1z\n", path);
  EXPECT_FALSE(lnx::optLoadFile(path, &err));
  EXPECT_EQ(err.line, -1);
  EXPECT_NE(err.reason.find("0x1z"), std::string::npos);
  // A unit of a stack needs a number of its own, 1 to 255: {file, refusal}.
  const std::pair<const char*, const char*> stacks[] = {
      {"host.stackpeers = /run/u2.sock\n", "host.stackpeers needs host.stackunit"},
      {"host.stackunit = 0\n", "host.stackunit needs a number from 1 to 255"},
      {"host.stackunit = 256\nhost.stackpeers = /run/u2.sock\n", "host.stackunit needs a number"},
      {"host.stackunit = 2x\n", "host.stackunit needs a number"},
      {"host.stackunit = 255\nhost.stackpeers = /run/u2.sock\n", ""},
      {"host.stackpeers =\n", ""},
  };
  for (const auto& [text, refusal] : stacks) {
    writeTemp(text, path);
    err = {};
    EXPECT_EQ(lnx::optLoadFile(path, &err), *refusal == '\0') << text;
    EXPECT_EQ(err.reason.rfind(refusal, 0), 0u) << text << err.reason;
  }
  unlink(path.c_str());
}

TEST_F(LinuxPlatform, ReloadTakesRunTimeOptionsAndKeepsTheOthers) {
  const std::string path = writeTemp(
      "host.sysname = before\nlldp.maxifnum = 8\nhost.pvid = 3\nlldp.debugflags = 0x100\n");
  lnx::OptError err;
  ASSERT_TRUE(lnx::optLoadFile(path, &err));
  writeTemp("host.sysname = after\nlldp.maxifnum = 16\nhost.mgmtaddr = 192.0.2.9\n"
            "lldp.debugflags = 0x121\nhost.notify = false\n", path);
  std::vector<lnx::OptChange> changes;
  ASSERT_TRUE(lnx::optReload(&changes, &err));
  std::vector<std::string> got;
  for (const auto& c : changes)
    got.push_back(c.key + (c.runTime ? " run" : " restart") + (c.hadBefore ? " " + c.before : " -") +
                  (c.hasAfter ? " " + c.after : " -"));
  EXPECT_EQ(got, (std::vector<std::string>{
                     "host.mgmtaddr run - 192.0.2.9", "host.notify run true false",
                     "host.pvid restart 3 -", "host.sysname run before after",
                     "lldp.debugflags run 256 289", "lldp.maxifnum restart 8 16"}));
  EXPECT_EQ(lnx::optString("host.sysname", ""), "after");
  EXPECT_EQ(lnx::optString("host.mgmtaddr", ""), "192.0.2.9");
  EXPECT_EQ(lnx::optString("lldp.debugflags", ""), "289");
  EXPECT_EQ(lnx::optString("lldp.maxifnum", ""), "8") << "needs a restart: the running value stays";
  EXPECT_EQ(lnx::optLong("host.pvid", 0), 3);

  // A broken file changes nothing.
  writeTemp("host.sysname = third\nbroken line\n", path);
  EXPECT_FALSE(lnx::optReload(&changes, &err));
  EXPECT_EQ(err.line, 2);
  EXPECT_EQ(lnx::optString("host.sysname", ""), "after");
  unlink(path.c_str());
}

TEST_F(LinuxPlatform, ThreadsAreNamedAfterTheProgramAndTheirTask) {
  using P = std::pair<const char*, const char*>;
  for (const auto& [task, want] : {P{"lldptask", "lldpagent:task"}, P{"lldpcmdtask", "lldpagent:cmd"},
                                   P{"link", "lldpagent:link"}, P{"stack", "lldpagent:stack"},
                                   P{"lldpsomethinglong", "lldpagent:somet"}, P{"", "lldpagent:task"}})
    EXPECT_EQ(lnx::threadName(task), want) << task;
}

// The service manager's notifications reach a socket named by a path or by
// an abstract name ('@'), one datagram each; without NOTIFY_SOCKET nothing goes.
TEST_F(LinuxPlatform, ServiceManagerNotificationsAreOneDatagramEach) {
  const std::string path = "/tmp/lldp-notify-" + std::to_string(::getpid());
  const std::string abstract = "@lldp-notify-" + std::to_string(::getpid());
  for (const std::string& name : {path, abstract}) {
    const int fd = ::socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    ASSERT_GE(fd, 0);
    sockaddr_un a{};
    a.sun_family = AF_UNIX;
    std::memcpy(a.sun_path, name.data(), name.size());
    if (name[0] == '@') a.sun_path[0] = '\0';
    ::unlink(path.c_str());
    ASSERT_EQ(::bind(fd, reinterpret_cast<sockaddr*>(&a),
                     static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + name.size())),
              0)
        << name;
    ::setenv("NOTIFY_SOCKET", name.c_str(), 1);
    EXPECT_TRUE(lnx::notifyServiceManager("READY=1\nSTATUS=2 ports"));
    EXPECT_TRUE(lnx::notifyServiceManager("STOPPING=1"));
    char buf[64];
    std::vector<std::string> got;
    ssize_t n;
    while ((n = ::recv(fd, buf, sizeof buf, MSG_DONTWAIT)) > 0) got.emplace_back(buf, static_cast<size_t>(n));
    EXPECT_EQ(got, (std::vector<std::string>{"READY=1\nSTATUS=2 ports", "STOPPING=1"})) << name;
    ::close(fd);
  }
  ::unlink(path.c_str());
  ::setenv("NOTIFY_SOCKET", "relative/name", 1);
  EXPECT_FALSE(lnx::notifyServiceManager("READY=1"));
  ::unsetenv("NOTIFY_SOCKET");
  EXPECT_FALSE(lnx::notifyServiceManager("READY=1"));
}

TEST_F(LinuxPlatform, OptionReadIsBoundedByTheCallersLength) {
  lnx::optSet("lldp.defaultportmode", "rxtx-and-more");
  lnx::optSet("lldp.enable", "");
  char buf[8];
  std::memset(buf, 'Z', sizeof buf);
  EXPECT_EQ(silOptRead(0, "lldp.defaultportmode", 0, 0, 1, buf, 4), 4);
  EXPECT_STREQ(buf, "rxtx");
  EXPECT_EQ(buf[5], 'Z');
  EXPECT_EQ(silOptRead(0, "lldp.absent", 0, 0, 1, buf, 4), 0);
  EXPECT_EQ(silOptRead(0, "lldp.enable", 0, 0, 1, buf, 4), 0);
}

// ---- ports ----------------------------------------------------------------------

TEST_F(LinuxPlatform, PortChoice) {
  EXPECT_TRUE(makeLink(2, "eth0", "").isPort);
  EXPECT_TRUE(makeLink(3, "veth1", "veth").isPort);
  for (const char* kind : {"bridge", "bond", "vlan", "vxlan", "gretap", "macvlan", "dummy"})
    EXPECT_FALSE(makeLink(4, "x0", kind).isPort) << kind;
  lnx::Link lo = makeLink(1, "lo", "");
  lo.arpType = ARPHRD_LOOPBACK;
  lo.flags |= IFF_LOOPBACK;
  EXPECT_FALSE(lnx::linkIsPortCandidate(lo));
  // Name patterns choose among candidates, never making a bridge a port.
  lnx::optSet("host.ports", "swp*, eth1");
  lnx::optSet("host.exclude", "swp9*");
  lnx::optSet("host.mgmtif", "mgmt0");
  for (const auto& [name, port] : {std::pair<const char*, bool>{"swp1", true}, {"eth1", true},
                                   {"eth0", false}, {"swp90", false}, {"mgmt0", true}})
    EXPECT_EQ(makeLink(5, name, "").isPort, port) << name;
  EXPECT_FALSE(makeLink(6, "swpbr", "bridge").isPort);
}

// ---- interface messages ------------------------------------------------------------

TEST_F(LinuxPlatform, NewPortIsRegisteredThenDescribed) {
  const auto del = lnx::msgLinkRemove(17);
  EXPECT_EQ(u16At(del, 4), ZOR_RTM_DELLINK);
  EXPECT_EQ(u32At(del, 28), 17u);
  lnx::Link l = makeLink(17, "veth0");
  const auto msgs = lnx::msgsForLink(nullptr, l);
  ASSERT_EQ(msgs.size(), 2u);
  EXPECT_EQ(msgs[0], lnx::msgLinkRegister(17));
  ASSERT_EQ(msgs[0].size(), 48u);
  EXPECT_EQ(u32At(msgs[0], 0), 48u);
  EXPECT_EQ(u16At(msgs[0], 4), ZOR_RTM_NEWLINK);
  EXPECT_EQ(u32At(msgs[0], 28), 17u);
  EXPECT_EQ(u32At(msgs[0], 36), 0xFFFFFFFFu);
  const auto& m = msgs[1];
  EXPECT_EQ(u32At(m, 0), m.size());
  EXPECT_NE(u32At(m, 36), 0xFFFFFFFFu);
  const uint32_t frame = 1518;  // the largest frame: MTU + 18
  const auto a = attrs(m);
  ASSERT_EQ(a.size(), 3u);
  EXPECT_EQ(a[0], std::make_pair(uint16_t{ZOR_IFLA_OPERSTATE}, Bytes{1}));
  EXPECT_EQ(a[1], std::make_pair(uint16_t{ZOR_IFLA_MTU},
                                 Bytes(reinterpret_cast<const uint8_t*>(&frame),
                                       reinterpret_cast<const uint8_t*>(&frame) + 4)));
  EXPECT_EQ(a[2], std::make_pair(uint16_t{ZOR_IFLA_ADDRESS}, Bytes(l.mac, l.mac + 6)));
}

TEST_F(LinuxPlatform, ChangesCarryOnlyWhatChanged) {
  const lnx::Link before = makeLink(5, "veth0");
  EXPECT_TRUE(lnx::msgsForLink(&before, before).empty());
  lnx::Link down = before;
  down.flags &= ~static_cast<uint32_t>(IFF_RUNNING);
  auto msgs = lnx::msgsForLink(&before, down);
  ASSERT_EQ(msgs.size(), 1u);
  EXPECT_EQ(attrs(msgs[0]), (std::vector<std::pair<uint16_t, Bytes>>{{ZOR_IFLA_OPERSTATE, {2}}}));

  lnx::Link bigger = before;
  bigger.mtu = 9000;
  bigger.mac[5] = 0x99;
  auto a = attrs(lnx::msgsForLink(&before, bigger).at(0));
  ASSERT_EQ(a.size(), 2u);
  EXPECT_EQ(u32At(a[0].second, 0), 9018u);
  EXPECT_EQ(a[1].first, ZOR_IFLA_ADDRESS);
  EXPECT_EQ(a[1].second.at(5), 0x99);

  // A port that stops matching, or goes, is removed once.
  lnx::optSet("host.exclude", "renamed*");
  lnx::Link after = before;
  after.name = "renamed0";
  after.isPort = lnx::linkIsPortCandidate(after);
  msgs = lnx::msgsForLink(&before, after);
  ASSERT_EQ(msgs.size(), 1u);
  EXPECT_EQ(u16At(msgs[0], 4), ZOR_RTM_DELLINK);
  lnx::Link gone = before;
  gone.gone = true;
  ASSERT_EQ(lnx::msgsForLink(&before, gone).size(), 1u);
  EXPECT_TRUE(lnx::msgsForLink(&gone, gone).empty());
}

TEST_F(LinuxPlatform, BondMembershipJoinsAndQuits) {
  lnx::linkPut(makeLink(10, "bond0", "bond"));
  lnx::linkPut(makeLink(11, "bond1", "bond"));
  lnx::linkPut(makeLink(12, "br0", "bridge"));
  const lnx::Link before = makeLink(5, "eth1", "");
  lnx::Link joined = before, moved = before, bridged = before;
  joined.master = 10;
  moved.master = 11;
  bridged.master = 12;
  auto a = attrs(lnx::msgsForLink(&before, joined).at(0));
  ASSERT_EQ(a.size(), 1u);
  EXPECT_EQ(a[0].first, ZOR_IFLA_PHYJOINAGG);
  EXPECT_EQ(u32At(a[0].second, 0), 10u);
  a = attrs(lnx::msgsForLink(&joined, moved).at(0));  // quit the old bond first
  ASSERT_EQ(a.size(), 2u);
  EXPECT_EQ(a[0].first, ZOR_IFLA_PHYQUITAGG);
  EXPECT_EQ(a[1].first, ZOR_IFLA_PHYJOINAGG);
  EXPECT_TRUE(lnx::msgsForLink(&before, bridged).empty());  // a bridge is no aggregation
  const auto fresh = lnx::msgsForLink(nullptr, joined);
  ASSERT_EQ(fresh.size(), 2u);
  EXPECT_EQ(attrs(fresh[1]).back().first, ZOR_IFLA_PHYJOINAGG);
}

// ---- interface objects ---------------------------------------------------------------

TEST_F(LinuxPlatform, InterfaceObjectsFromTheLinkTable) {
  lnx::Link l = makeLink(5, "veth0");
  l.alias = "uplink";
  l.mtu = 1400;
  lnx::linkPut(l);
  lnx::linkPut(makeLink(6, "br0", "bridge"));
  lnx::optSet("host.mgmtif", "mgmt0");
  lnx::Link mgmt = makeLink(9, "mgmt0", "");
  mgmt.isMgmt = true;
  lnx::linkPut(mgmt);
  struct { uint32_t index, obj, want; } cases[] = {
      {5, 13, 0}, {6, 13, 1}, {77, 13, 1}, {5, 78, 1418}, {5, 19, 1}, {5, 159, 1}, {5, 235, 2}};
  for (const auto& c : cases) {
    uint32_t v = 99;
    EXPECT_EQ(zorIfGetApi(c.index, c.obj, &v), 0) << c.index << "/" << c.obj;
    EXPECT_EQ(v, c.want) << c.index << "/" << c.obj;
  }
  uint32_t v = 0;
  EXPECT_NE(zorIfGetApi(5, 236, &v), 0);
  char buf[4];
  ZorOctets o{buf, sizeof buf};
  EXPECT_EQ(zorIfGetApi(5, 4, &o), 0);
  EXPECT_EQ(std::string(buf, o.len), "upli");  // cut to the caller's size
  char name[ZOR_IFNAME_LEN];
  EXPECT_EQ(zorIfUnit2Name(5, name), 0);
  EXPECT_STREQ(name, "veth0");

  ZorIndexInfo info{};
  ASSERT_EQ(zorIndexTrans(5, 5, &info), 0);
  EXPECT_EQ(info.ifType, 1u);
  EXPECT_EQ(info.portKind, 1u);
  EXPECT_EQ(info.status, 0u);
  EXPECT_NE(zorIndexTrans(6, 5, &info), 0);
  ASSERT_EQ(zorIndexTrans(9, 5, &info), 0);
  EXPECT_EQ(info.ifType, 44u);
  // A removed port still translates, so its removal can be handled, but it
  // is no longer for the agent.
  lnx::linkMarkGone(5);
  EXPECT_EQ(zorIndexTrans(5, 5, &info), 0);
  EXPECT_EQ(zorIfGetApi(5, 13, &v), 0);
  EXPECT_EQ(v, 1u);
  EXPECT_NE(zorIfGetApi(5, 78, &v), 0);
}

// ---- command socket framing -----------------------------------------------------------

uint32_t gLastIndex, gLastObj;
uint32_t intHandler(uintptr_t index, uint32_t objId, ZorValue* v) {
  gLastIndex = static_cast<uint32_t>(index);
  gLastObj = objId;
  v->value = v->value * 2 + 1;
  return 0;
}
uint32_t bufHandler(uintptr_t, uint32_t, ZorValue* v) {
  if (v->form != ZOR_VALUE_BUF) return 22;
  // Claims more than it was given: the reply must stay within the buffer.
  auto* p = static_cast<uint8_t*>(v->buf);
  for (uint32_t i = 0; i < v->len; ++i) p[i] = static_cast<uint8_t>(p[i] + 1);
  v->len = v->len + 1000;
  return 7;
}
// A walk over a 6-byte key record: steps its first word and echoes the form.
uint32_t keyHandler(uintptr_t index, uint32_t, ZorValue* v) {
  auto* key = reinterpret_cast<uint8_t*>(index);
  uint32_t w;
  std::memcpy(&w, key, 4);
  w += 1;
  std::memcpy(key, &w, 4);
  key[5] = 0xEE;  // the last byte of the record is the handler's to write
  if (v->form == ZOR_VALUE_INT) v->value = 77;
  return 0;
}
const IcmFuncEntry kTable[] = {
    {0, nullptr, 0}, {1, intHandler, 0}, {2, bufHandler, 0}, {3, nullptr, 0}, {4, keyHandler, 6}};

lnx::CmdRequest intRequest(uint32_t op) {
  lnx::CmdRequest r;
  r.op = op;
  r.index = 4;
  r.objId = 9;
  r.value = 20;
  return r;
}

TEST_F(LinuxPlatform, RequestDecodingIsBoundedByTheBytesReceived) {
  lnx::CmdRequest r = intRequest(1), got;
  const auto bytes = lnx::cmdEncodeRequest(r);
  for (size_t n = 0; n < bytes.size(); ++n) EXPECT_EQ(lnx::cmdDecode(bytes.data(), n, &got), 0);
  EXPECT_EQ(lnx::cmdDecode(bytes.data(), bytes.size(), &got), static_cast<long>(bytes.size()));
  EXPECT_EQ(got.objId, 9u);
  // Bad magic, a huge or a too small total length.
  for (const auto& [off, val] : {std::pair<size_t, uint32_t>{0, 0x4C4C4451}, {4, 0x7FFFFFFF}, {4, 8}}) {
    auto bad = bytes;
    std::memcpy(&bad[off], &val, 4);
    EXPECT_EQ(lnx::cmdDecode(bad.data(), bad.size(), &got), -1) << off << " " << val;
  }
  r.data = {1, 2, 3};  // data on an integer request is malformed
  const auto bad = lnx::cmdEncodeRequest(r);
  EXPECT_EQ(lnx::cmdDecode(bad.data(), bad.size(), &got), -1);
}

TEST_F(LinuxPlatform, RequestsRunAgainstTheTable) {
  lnx::CmdRequest r = intRequest(1);
  auto rep = lnx::cmdExecute(kTable, 4, r);
  ASSERT_EQ(rep.size(), lnx::kCmdReplyHeaderLen);
  EXPECT_EQ(u32At(rep, 8), 0u);
  EXPECT_EQ(u32At(rep, 12), 41u);
  EXPECT_EQ(gLastIndex, 4u);
  EXPECT_EQ(gLastObj, 9u);
  for (uint32_t op : {3u, 99u})  // a null handler; not in the table
    EXPECT_EQ(u32At(lnx::cmdExecute(kTable, 4, intRequest(op)), 8), 0x3E80010u) << op;
  r.op = 2;
  r.flags = lnx::kCmdFlagBuffer;
  r.len = 4;
  r.data = {1, 2, 3, 4};
  rep = lnx::cmdExecute(kTable, 4, r);
  EXPECT_EQ(u32At(rep, 8), 7u);
  ASSERT_EQ(u32At(rep, 16), 4u);  // clamped to the capacity
  ASSERT_EQ(rep.size(), lnx::kCmdReplyHeaderLen + 4);
  EXPECT_EQ(rep[lnx::kCmdReplyHeaderLen], 2);
  EXPECT_EQ(rep[lnx::kCmdReplyHeaderLen + 3], 5);
  // An octet handler reached with the integer form refuses it.
  EXPECT_EQ(u32At(lnx::cmdExecute(kTable, 5, intRequest(2)), 8), 22u);
}

TEST_F(LinuxPlatform, KeyRecordsTravelInAndOutOfTheCall) {
  lnx::CmdRequest r = intRequest(4);
  r.flags = lnx::kCmdFlagKey;
  r.key = {5, 0, 0, 0};  // shorter than the record: the rest is zero
  const auto bytes = lnx::cmdEncodeRequest(r);
  lnx::CmdRequest got;
  ASSERT_EQ(lnx::cmdDecode(bytes.data(), bytes.size(), &got), static_cast<long>(bytes.size()));
  auto rep = lnx::cmdExecute(kTable, 5, got);
  ASSERT_EQ(rep.size(), lnx::kCmdReplyHeaderLen + 4 + 6);
  EXPECT_EQ((std::vector<uint32_t>{u32At(rep, 8), u32At(rep, 12), u32At(rep, 20)}),
            (std::vector<uint32_t>{0, 77, 6}));
  EXPECT_EQ(Bytes(rep.begin() + 24, rep.end()), (Bytes{6, 0, 0, 0, 0, 0xEE}));
  // Without a key block the handler still gets a zeroed record; none comes back.
  rep = lnx::cmdExecute(kTable, 5, intRequest(4));
  EXPECT_EQ(rep.size(), lnx::kCmdReplyHeaderLen);
  // A key longer than the record, or a key for an integer operation: 22, no call.
  gLastObj = 0;
  r.key.assign(7, 1);
  EXPECT_EQ(u32At(lnx::cmdExecute(kTable, 5, r), 8), 22u);
  r.op = 1;
  r.key = {1};
  EXPECT_EQ(u32At(lnx::cmdExecute(kTable, 5, r), 8), 22u);
  EXPECT_EQ(gLastObj, 0u);
  // A key block that claims more than the request holds, or one above the
  // limit, is malformed.
  for (uint32_t claim : {5u, ICM_MAX_KEY_LEN + 1}) {
    auto bad = lnx::cmdEncodeRequest(r);
    std::memcpy(&bad[lnx::kCmdHeaderLen], &claim, 4);
    EXPECT_EQ(lnx::cmdDecode(bad.data(), bad.size(), &got), -1) << claim;
  }
  r.flags = 0x8;  // an unknown flag
  const auto odd = lnx::cmdEncodeRequest(r);
  EXPECT_EQ(lnx::cmdDecode(odd.data(), odd.size(), &got), -1);
}

// Reads exactly n bytes, or fewer if the peer closes.
Bytes readN(int fd, size_t n) {
  Bytes b(n);
  size_t got = 0;
  for (ssize_t r; got < n && (r = read(fd, b.data() + got, n - got)) > 0;)
    got += static_cast<size_t>(r);
  b.resize(got);
  return b;
}

// Requests split across writes or packed in one are framed; subscribers
// receive traps and group messages; a malformed request closes the connection.
TEST_F(LinuxPlatform, CommandSocketFramesRequestsAndEvents) {
  const std::string path = "/tmp/lldp-linux-ev-" + std::to_string(getpid()) + ".sock";
  lnx::optSet("host.cmdsocket", path);
  ASSERT_EQ(icmProcTcpInit("testev", "/tmp/unused.socket", kTable, 4), 0);
  // A second server does not take a socket that is being served.
  EXPECT_EQ(icmProcTcpInit("testdup", "/tmp/unused.socket", kTable, 4), -1);
  auto dial = [&path] {
    const int fd = socket(AF_UNIX, SOCK_STREAM, 0);
    sockaddr_un sa{};
    sa.sun_family = AF_UNIX;
    std::snprintf(sa.sun_path, sizeof sa.sun_path, "%s", path.c_str());
    EXPECT_EQ(connect(fd, reinterpret_cast<sockaddr*>(&sa), sizeof sa), 0);
    return fd;
  };
  // A malformed request closes the connection.
  const int bad = dial();
  const uint8_t junk[8] = {1, 2, 3, 4, 5, 6, 7, 8};
  ASSERT_EQ(write(bad, junk, sizeof junk), 8);
  uint8_t c;
  EXPECT_EQ(read(bad, &c, 1), 0);
  close(bad);
  // Two requests, the second split across writes, then operation 0 subscribes.
  lnx::CmdRequest r;
  r.op = 1;
  r.value = 5;
  auto req = lnx::cmdEncodeRequest(r);
  req.insert(req.end(), req.begin(), req.end());
  const auto sub = lnx::cmdEncodeRequest(lnx::CmdRequest{});
  req.insert(req.end(), sub.begin(), sub.end());
  const int fd = dial();
  const auto cut = static_cast<ssize_t>(req.size() - sub.size() - 3);
  ASSERT_EQ(write(fd, req.data(), static_cast<size_t>(cut)), cut);
  usleep(20000);
  ASSERT_EQ(write(fd, req.data() + cut, req.size() - static_cast<size_t>(cut)),
            static_cast<ssize_t>(req.size()) - cut);
  const auto rep = readN(fd, 3 * lnx::kCmdReplyHeaderLen);
  ASSERT_EQ(rep.size(), 3 * lnx::kCmdReplyHeaderLen);
  EXPECT_EQ(u32At(rep, 12), 11u);
  EXPECT_EQ(u32At(rep, lnx::kCmdReplyHeaderLen + 12), 11u);
  EXPECT_EQ(u32At(rep, 2 * lnx::kCmdReplyHeaderLen + 8), 0u);

  send_lldp_trap(2);
  const uint8_t msg[56] = {1, 2, 3};
  EXPECT_EQ(zorNetlinkSGrpSend(71, 0, msg, sizeof msg), 0);
  const uint8_t chassis[6] = {0xA, 0xB, 0xC, 0xD, 0xE, 0xF};
  send_lldpmed_trap(0, 9, 5, 7, 4, chassis, 6, 1, 3);
  // Each event: total length, kind, then the LLDP trap's reason, the
  // group's number, or the MED trap's unit and chassis ID length.
  auto ev = readN(fd, 16);
  ASSERT_EQ(ev.size(), 16u);
  EXPECT_EQ((std::vector<uint32_t>{u32At(ev, 4), u32At(ev, 8), u32At(ev, 12)}), (std::vector<uint32_t>{16, 2, 2}));
  ev = readN(fd, 16 + 56);
  ASSERT_EQ(ev.size(), 72u);
  EXPECT_EQ((std::vector<uint32_t>{u32At(ev, 8), u32At(ev, 12), ev[16]}), (std::vector<uint32_t>{1, 71, 1}));
  ev = readN(fd, 16 + 28 + 6);
  ASSERT_EQ(ev.size(), 50u);
  EXPECT_EQ((std::vector<uint32_t>{u32At(ev, 8), u32At(ev, 24), u32At(ev, 36), ev[49]}),
            (std::vector<uint32_t>{3, 5, 6, 0xF}));
  close(fd);
  lnx::cmdSocketUnlink();
}

struct Forwarded {
  uint32_t op, index, objId, value;
  std::string bytes, key;
};
std::mutex gFwdLock;
std::vector<Forwarded> gForwarded;
template <uint32_t Op>
uint32_t recordSync(uintptr_t index, uint32_t objId, ZorValue* v) {
  std::lock_guard<std::mutex> g(gFwdLock);
  Forwarded f{Op, 0, objId, 0, {}, {}};
  if (Op == 13)
    f.key.assign(reinterpret_cast<const char*>(index), 4);
  else
    f.index = static_cast<uint32_t>(index);
  if (v->form == ZOR_VALUE_BUF)
    f.bytes.assign(static_cast<const char*>(v->buf), v->len);
  else
    f.value = v->value;
  gForwarded.push_back(f);
  return Op == 8 ? 0x3E80002 : 0;
}
const IcmFuncEntry kPeerTable[] = {{3, recordSync<3>, 0}, {8, recordSync<8>, 0}, {13, recordSync<13>, 4}};

TEST_F(LinuxPlatform, SetsAreForwardedToStackPeersAsSyncs) {
  uint32_t v = 9;
  EXPECT_NE(zorHwilScalarGet(0, 54, &v), 0);  // no peers: no synchronisation
  EXPECT_EQ(v, 1u);
  ZorValue val{};
  val.value = 15;
  val.len = 4;
  ZorSyncCtl set{3, 0, 4, 0};
  EXPECT_EQ(zorHwilCmdSyncApi(0, 0xB4000 + 2, &val, &set), 0);

  const std::string path = "/tmp/lldp-linux-peer-" + std::to_string(getpid()) + ".sock";
  lnx::optSet("host.cmdsocket", path);
  ASSERT_EQ(icmProcTcpInit("testpeer", "/tmp/unused.socket", kPeerTable, 3), 0);
  // This process plays the peer: its own socket path would be skipped.
  lnx::optSet("host.cmdsocket", "/tmp/lldp-linux-self.sock");
  lnx::optSet("host.stackpeers", path);
  EXPECT_EQ(zorHwilScalarGet(0, 54, &v), 0);
  EXPECT_EQ(v, 0u);
  EXPECT_EQ(zorHwilScalarGet(0, 54, nullptr), 0);

  EXPECT_EQ(zorHwilCmdSyncApi(0, 0xB4000 + 2, &val, &set), 0);
  char text[] = "hello";
  ZorValue oct{};
  oct.buf = text;
  oct.len = 64;
  oct.form = ZOR_VALUE_BUF;
  ZorSyncCtl octSet{3 | 0x10000000u | 0x80000000u, 0, 5, 0};
  // The peer refuses this one; it still applies here.
  EXPECT_EQ(zorHwilCmdSyncApi(7, 0x4074000 + 4, &oct, &octSet), 0);
  // A keyed table: the key record's bytes travel; bit 31 of the mode without
  // a buffer-form descriptor does not make the integer a pointer.
  uint8_t key[4] = {1, 4, 10, 0};
  ZorSyncCtl keySet{3 | 0x80000000u, 40, 4, 4};
  EXPECT_EQ(zorHwilCmdSyncApi(reinterpret_cast<uintptr_t>(key), 0x92A4000, &val, &keySet), 0);
  ZorSyncCtl sync{1, 0, 4, 0};  // came from a peer: not sent back
  EXPECT_EQ(zorHwilCmdSyncApi(0, 0xB4000 + 3, &val, &sync), 0);
  EXPECT_EQ(zorHwilCmdSyncApi(0, 0x12340000, &val, &set), 0);  // unknown base: local only
  // A buffer of synchronisation messages goes one message per Sync, only
  // those of this unit's own ports (units below 65536 outside a stack).
  const Bytes global = {0, 2, 0, 28, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16, 17, 18, 19, 20, 21, 22, 23, 24};
  const Bytes ownStats = {0, 3, 0, 8, 0, 0, 0, 5};
  const Bytes otherStats = {0, 3, 0, 8, 0, 2, 0, 5};
  const Bytes ownRecord = {0, 1, 0, 10, 2, 0, 0, 0, 5, 0xAA};
  Bytes syncBuf;
  for (const Bytes* m : {&global, &ownStats, &otherStats, &ownRecord}) syncBuf.insert(syncBuf.end(), m->begin(), m->end());
  ZorValue sb{};
  sb.buf = syncBuf.data();
  sb.len = static_cast<uint32_t>(syncBuf.size());
  sb.form = ZOR_VALUE_BUF;
  ZorSyncCtl all{0x80000303u, 0, static_cast<uint32_t>(syncBuf.size()), 0};
  EXPECT_EQ(zorHwilCmdSyncApi(0, 0xB4000 + 35, &sb, &all), 0);
  lnx::stackDrain();

  std::lock_guard<std::mutex> g(gFwdLock);
  ASSERT_EQ(gForwarded.size(), 6u);
  std::vector<std::tuple<uint32_t, uint32_t, std::string>> syncs;
  for (size_t i = 3; i < 6; ++i) syncs.emplace_back(gForwarded[i].op, gForwarded[i].objId, gForwarded[i].bytes);
  auto str = [](const Bytes& b) { return std::string(b.begin(), b.end()); };
  EXPECT_EQ(syncs, (std::vector<std::tuple<uint32_t, uint32_t, std::string>>{
                       {3, 35, str(global)}, {3, 35, str(ownStats)}, {3, 35, str(ownRecord)}}));
  const auto& f0 = gForwarded[0];
  const auto& f1 = gForwarded[1];
  const auto& f2 = gForwarded[2];
  EXPECT_EQ(std::make_tuple(f0.op, f0.objId, f0.value), std::make_tuple(3u, 2u, 15u));
  EXPECT_EQ(std::make_tuple(f1.op, f1.index, f1.objId, f1.bytes),
            std::make_tuple(8u, 7u, 4u, std::string("hello")));
  EXPECT_EQ(std::make_tuple(f2.op, f2.objId, f2.value, f2.key),
            std::make_tuple(13u, 0u, 15u, std::string("\x01\x04\x0a\x00", 4)));
  lnx::cmdSocketUnlink();
}

// Mutated requests never make the decoder read past what it was given, and
// whatever it accepts runs without touching more than the buffer it made
// (meaningful under AddressSanitizer: make sanitize).
TEST_F(LinuxPlatform, MutatedRequestsStayInsideTheirBuffers) {
  lnx::CmdRequest r;
  r.op = 2;
  r.flags = lnx::kCmdFlagBuffer;
  r.len = 16;
  r.data = {1, 2, 3, 4, 5, 6, 7, 8};
  const auto good = lnx::cmdEncodeRequest(r);
  uint32_t seed = 12345;
  auto rnd = [&seed] { return (seed = seed * 1103515245u + 12345u) >> 8; };
  int accepted = 0;
  for (int i = 0; i < 20000; ++i) {
    Bytes b = good;
    for (uint32_t e = 0, edits = 1 + rnd() % 4; e < edits; ++e)
      b[rnd() % b.size()] = static_cast<uint8_t>(rnd());
    const size_t n = rnd() % (b.size() + 1);
    // Exactly n bytes on the heap, so that a read past them is caught.
    std::unique_ptr<uint8_t[]> exact(new uint8_t[n ? n : 1]);
    std::memcpy(exact.get(), b.data(), n);
    lnx::CmdRequest got;
    const long used = lnx::cmdDecode(exact.get(), n, &got);
    ASSERT_LE(used, static_cast<long>(n));
    if (used > 0) {
      ++accepted;
      const auto rep = lnx::cmdExecute(kTable, 5, got);
      ASSERT_GE(rep.size(), lnx::kCmdReplyHeaderLen);
      EXPECT_EQ(u32At(rep, 4), rep.size());
    }
  }
  EXPECT_GT(accepted, 0);
}

// ---- stack ------------------------------------------------------------------

TEST_F(LinuxPlatform, StackedUnitNumbersItsPortsWithItsUnit) {
  // Outside a stack the unit is the ifindex.
  EXPECT_EQ((std::vector<uint32_t>{lnx::unitOfIfindex(5), lnx::ifindexOfUnit(5), lnx::ifindexOfUnit(0x20005),
                                   zorSelfSysIndex()}),
            (std::vector<uint32_t>{5, 5, 0x20005, 1}));
  lnx::optSet("host.stackunit", "2");
  EXPECT_EQ((std::vector<uint32_t>{lnx::unitOfIfindex(5), lnx::ifindexOfUnit(0x20005), lnx::ifindexOfUnit(0x10005),
                                   lnx::ifindexOfUnit(lnx::unitOfIfindex(70000)), zorSelfSysIndex()}),
            (std::vector<uint32_t>{0x20005, 5, 0, 70000, 2}));
  EXPECT_NE(lnx::unitOfIfindex(70000) >> 16, 2u) << "a large ifindex never takes a port's unit";
  lnx::linkPut(makeLink(5, "veth0"));
  lnx::Link l;
  ASSERT_TRUE(lnx::linkGet(0x20005, &l));
  EXPECT_FALSE(lnx::linkGet(5, &l));
  const auto msgs = lnx::msgsForLink(nullptr, l);
  ASSERT_EQ(msgs.size(), 2u);
  EXPECT_EQ((std::vector<uint32_t>{u32At(msgs[0], 28), u32At(msgs[1], 28)}), (std::vector<uint32_t>{0x20005, 0x20005}));
  char name[ZOR_IFNAME_LEN];
  EXPECT_EQ(zorIfUnit2Name(0x20005, name), 0);
  EXPECT_STREQ(name, "veth0");
  uint32_t v = 0;
  EXPECT_EQ(zorIfGetApi(0x20005, 13, &v), 0);
  EXPECT_EQ(v, 0u);
}

TEST_F(LinuxPlatform, HelloCodecRefusesWhatDoesNotFit) {
  lnx::StackHello h;
  h.unit = 3;
  h.incarnation = 0xABCD;
  lnx::StackHelloPort p;
  p.ifindex = 7;
  p.up = true;
  p.mtu = 1500;
  p.mac[5] = 9;
  p.name = "eth\x01x";
  h.ports = {p, p};
  h.ports[1].ifindex = 8;
  h.ports[1].name = "a-name-of-16-chr";
  const Bytes good = lnx::helloEncode(h);
  lnx::StackHello got;
  ASSERT_TRUE(lnx::helloDecode(good.data(), good.size(), &got));
  EXPECT_EQ((std::vector<uint32_t>{got.unit, got.incarnation, uint32_t(got.ports.size()), got.ports[0].ifindex,
                                   got.ports[0].up, got.ports[0].mtu, got.ports[0].mac[5]}),
            (std::vector<uint32_t>{3, 0xABCD, 2, 7, 1, 1500, 9}));
  EXPECT_EQ(got.ports[0].name, "eth?x") << "names are made printable";
  EXPECT_EQ(got.ports[1].name, "a-name-of-16-chr");

  struct Case {
    const char* what;
    size_t at;     // word offset to overwrite, or SIZE_MAX
    uint32_t value;
    size_t size;   // bytes handed over
  };
  const size_t n = good.size();
  const Case cases[] = {
      {"header cut", SIZE_MAX, 0, 15},
      {"last port cut", SIZE_MAX, 0, n - 1},
      {"trailing bytes", SIZE_MAX, 0, n + 1},
      {"count larger than the ports", 12, 3, n},
      {"count smaller than the ports", 12, 1, n},
      {"unknown version", 0, 2, n},
      {"unit 0", 4, 0, n},
      {"unit 256", 4, 256, n},
      {"ifindex 0", 16, 0, n},
      {"ifindex beyond 16 bits", 16, 0x10000, n},
      {"empty name", 36, 0, n},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.what);
    Bytes b = good;
    b.resize(std::max(b.size(), c.size), 0);
    if (c.at != SIZE_MAX) std::memcpy(&b[c.at], &c.value, 4);
    std::unique_ptr<uint8_t[]> exact(new uint8_t[c.size]);
    std::memcpy(exact.get(), b.data(), c.size);
    lnx::StackHello out;
    out.unit = 77;
    EXPECT_FALSE(lnx::helloDecode(exact.get(), c.size, &out));
    EXPECT_EQ(out.unit, 77u) << "nothing is taken from a refused hello";
  }
  const Bytes r = lnx::helloReplyEncode({4, 0x55, true});
  lnx::StackHelloReply rr;
  ASSERT_TRUE(lnx::helloReplyDecode(r.data(), r.size(), &rr));
  EXPECT_EQ((std::vector<uint32_t>{rr.unit, rr.incarnation, rr.ready}), (std::vector<uint32_t>{4, 0x55, 1}));
  EXPECT_FALSE(lnx::helloReplyDecode(r.data(), r.size() - 1, &rr));
}

TEST_F(LinuxPlatform, SyncBufferSplitKeepsOwnWholeMessagesOnly) {
  auto msg = [](uint16_t type, uint16_t len, uint32_t unitAt, uint32_t unit) {
    Bytes b(len, 0);
    b[0] = static_cast<uint8_t>(type >> 8);
    b[1] = static_cast<uint8_t>(type);
    b[2] = static_cast<uint8_t>(len >> 8);
    b[3] = static_cast<uint8_t>(len);
    for (int i = 0; i < 4 && unitAt > 0 && unitAt + 3 < len; ++i) b[unitAt + size_t(i)] = static_cast<uint8_t>(unit >> (24 - 8 * i));
    return b;
  };
  const Bytes g = msg(2, 28, 0, 0);
  const Bytes mineRec = msg(1, 40, 5, 0x30001);
  const Bytes theirRec = msg(1, 40, 5, 0x20001);
  const Bytes mineStats = msg(3, 44, 4, 0x30002);
  const Bytes theirStats = msg(3, 44, 4, 0x10002);
  const Bytes unknown = msg(9, 8, 0, 0);
  const Bytes shortRec = msg(1, 8, 5, 0);
  Bytes buf;
  for (const Bytes* m : {&g, &theirStats, &mineStats, &mineRec, &theirRec, &unknown, &shortRec})
    buf.insert(buf.end(), m->begin(), m->end());
  EXPECT_EQ(lnx::stackSyncMessages(buf.data(), buf.size(), 3), (std::vector<Bytes>{g, mineStats, mineRec}));
  // A length that runs past the buffer ends the walk; what came before stays.
  Bytes lying = buf;
  lying[28 + 44 + 3] = 0xFF;
  lying[28 + 44 + 2] = 0x7F;
  EXPECT_EQ(lnx::stackSyncMessages(lying.data(), lying.size(), 3), (std::vector<Bytes>{g}));
  for (size_t cut = 0; cut < buf.size(); ++cut) {
    std::unique_ptr<uint8_t[]> exact(new uint8_t[cut ? cut : 1]);
    std::memcpy(exact.get(), buf.data(), cut);
    EXPECT_LE(lnx::stackSyncMessages(exact.get(), cut, 3).size(), 3u);
  }
}

// A hello registers the sender's ports with the agent as remote ports; the
// reply says ready once the agent has read those messages and gone back to
// wait; ports that vanish from the hellos are removed.
TEST_F(LinuxPlatform, HelloAnnouncesRemotePortsAndSaysWhenTheAgentHasThem) {
  lnx::optSet("host.stackunit", "1");
  const int agent = lnx::eventSocketOpen(false);
  ASSERT_GE(agent, 0);
  lnx::StackHello h;
  h.unit = 3;
  h.incarnation = 42;
  lnx::StackHelloPort eth0, eth1;
  eth0.ifindex = 3;
  eth0.up = true;
  eth0.mtu = 1500;
  eth0.name = "eth0";
  eth1.ifindex = 4;
  eth1.mtu = 9000;
  eth1.name = "eth1";
  h.ports = {eth0, eth1};
  auto serve = [](const lnx::StackHello& hello) {
    lnx::CmdRequest req;
    req.op = lnx::kCmdOpStackHello;
    req.flags = lnx::kCmdFlagBuffer;
    req.data = lnx::helloEncode(hello);
    req.len = static_cast<uint32_t>(req.data.size());
    const Bytes rep = lnx::stackHelloServe(req);
    lnx::StackHelloReply r{};
    EXPECT_EQ(u32At(rep, 8), 0u);
    EXPECT_TRUE(lnx::helloReplyDecode(rep.data() + lnx::kCmdReplyHeaderLen, rep.size() - lnx::kCmdReplyHeaderLen, &r));
    return r;
  };
  // What the agent reads: (type, unit) of each message, then it waits again.
  auto agentReads = [agent] {
    std::vector<std::pair<uint32_t, uint32_t>> got;
    for (;;) {
      ZorFdSet set;
      ZOR_FD_ZERO(&set);
      ZOR_FD_SET(agent, &set);
      ZorTimeval tv{0, 0};
      if (zor_select(agent + 1, &set, nullptr, nullptr, &tv) <= 0) break;
      uint8_t buf[512];
      const long n = zor_recvfrom(agent, buf, sizeof buf, 0, nullptr, nullptr);
      if (n < 32) break;
      const Bytes m(buf, buf + n);
      got.emplace_back(u16At(m, 4), u32At(m, 28));
    }
    return got;
  };

  lnx::StackHelloReply r = serve(h);
  EXPECT_EQ((std::vector<uint32_t>{r.unit, r.ready}), (std::vector<uint32_t>{1, 0}));
  EXPECT_EQ(agentReads(), (std::vector<std::pair<uint32_t, uint32_t>>{
                              {32, 0x30003}, {32, 0x30003}, {32, 0x30004}, {32, 0x30004}}));
  r = serve(h);
  EXPECT_TRUE(r.ready) << "the same ports again: nothing new to take in";
  EXPECT_TRUE(agentReads().empty());

  // The remote ports answer as ports, by name, link state and MTU.
  char name[ZOR_IFNAME_LEN];
  uint32_t notPort = 9, link = 0, mtu = 0;
  ZorIndexInfo info{};
  EXPECT_EQ(zorIfUnit2Name(0x30004, name), 0);
  EXPECT_EQ(zorIfGetApi(0x30004, 13, &notPort) + zorIfGetApi(0x30004, 19, &link) + zorIfGetApi(0x30004, 78, &mtu) +
                zorIndexTrans(0x30004, 5, &info),
            0);
  EXPECT_EQ((std::vector<uint32_t>{notPort, link, mtu, info.ifType, info.portKind, info.status}),
            (std::vector<uint32_t>{0, 2, 9018, 1, 2, 0}));
  EXPECT_STREQ(name, "3/eth1");
  EXPECT_EQ(zorIfSetApi(0x30004, 56, &link), 0) << "nothing to join for another unit's port";
  EXPECT_FALSE(lnx::frameGroupJoined(0x30004));

  // eth1 goes down on unit 3 ... is gone from its hello: removed here.
  h.ports = {eth0};
  r = serve(h);
  EXPECT_FALSE(r.ready);
  EXPECT_EQ(agentReads(), (std::vector<std::pair<uint32_t, uint32_t>>{{34, 0x30004}}));
  EXPECT_TRUE(serve(h).ready);
  // A hello claiming this unit's own number is answered with ours and taken
  // nowhere; a malformed one is refused.
  h.unit = 1;
  EXPECT_EQ(serve(h).unit, 1u);
  EXPECT_TRUE(agentReads().empty());
  lnx::CmdRequest bad;
  bad.op = lnx::kCmdOpStackHello;
  bad.flags = lnx::kCmdFlagBuffer;
  bad.data = {1, 2, 3};
  EXPECT_EQ(u32At(lnx::stackHelloServe(bad), 8), 22u);
  close(agent);
}

// The forwarding queue never makes the caller wait: with a peer that takes
// a connection and never answers, commands past the bound are dropped,
// counted and logged.
TEST_F(LinuxPlatform, FullForwardingQueueDropsCountsAndLogs) {
  const std::string path = "/tmp/lldp-linux-stuck-" + std::to_string(getpid()) + ".sock";
  const int lfd = ::socket(AF_UNIX, SOCK_STREAM, 0);
  sockaddr_un sa{};
  sa.sun_family = AF_UNIX;
  std::snprintf(sa.sun_path, sizeof sa.sun_path, "%s", path.c_str());
  ::unlink(path.c_str());
  ASSERT_EQ(::bind(lfd, reinterpret_cast<sockaddr*>(&sa), sizeof sa), 0);
  ASSERT_EQ(::listen(lfd, 4), 0);
  lnx::optSet("host.stackpeers", path);
  const uint64_t before = lnx::stackDropped();
  ZorValue val{};
  val.value = 30;
  ZorSyncCtl set{3, 0, 4, 0};
  testing::internal::CaptureStderr();
  for (int i = 0; i < 1100; ++i) ASSERT_EQ(zorHwilCmdSyncApi(0, 0xB4000 + 2, &val, &set), 0);
  const std::string err = testing::internal::GetCapturedStderr();
  const uint64_t dropped = lnx::stackDropped() - before;
  EXPECT_GE(dropped, 1100u - 1024u - 1u);
  EXPECT_LE(dropped, 1100u - 1024u);
  EXPECT_NE(err.find("stack forwarding queue full, command dropped (" + std::to_string(lnx::stackDropped()) +
                     " dropped)"),
            std::string::npos);
  // The peer goes away: the queue drains at once.
  ::close(lfd);
  ::unlink(path.c_str());
  lnx::stackDrain();
  lnx::optSet("host.stackpeers", "");
}

}  // namespace
