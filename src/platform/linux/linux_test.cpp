// Tests of the Linux platform's own pieces: the options file, the choice of
// ports, the interface messages written to the agent, the interface objects
// answered from the link table, and the command socket's framing (also over
// a real Unix socket).
#include <gtest/gtest.h>

#include <cstring>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include <linux/if.h>
#include <linux/if_arp.h>
#include <sys/socket.h>
#include <sys/stat.h>
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

uint32_t u32At(const std::vector<uint8_t>& b, size_t off) {
  uint32_t v = 0;
  std::memcpy(&v, &b.at(off + 3) - 3, 4);
  return v;
}
uint16_t u16At(const std::vector<uint8_t>& b, size_t off) {
  uint16_t v = 0;
  std::memcpy(&v, &b.at(off + 1) - 1, 2);
  return v;
}

// Attributes of an interface message as (type, payload) pairs.
std::vector<std::pair<uint16_t, std::vector<uint8_t>>> attrs(const std::vector<uint8_t>& m) {
  std::vector<std::pair<uint16_t, std::vector<uint8_t>>> out;
  size_t off = kZorIfAttrOffset;
  while (off + 4 <= m.size()) {
    const uint16_t len = u16At(m, off);
    const uint16_t type = u16At(m, off + 2);
    if (len < 4 || off + len > m.size()) break;
    out.emplace_back(type, std::vector<uint8_t>(m.begin() + static_cast<long>(off) + 4,
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
};

// ---- options file ------------------------------------------------------------

TEST_F(LinuxPlatform, OptionsFileReadsKeysValuesAndComments) {
  std::vector<std::pair<std::string, std::string>> kv;
  std::vector<lnx::OptError> errors, warnings;
  const std::string text =
      "# comment\n"
      "\n"
      "  lldp.maxifnum =  16   # trailing comment\n"
      "lldp.defaultportmode=rxtx\n"
      "host.sysname = my host\n"
      "lldp.enable =\n";
  ASSERT_TRUE(lnx::optParse(text, "f.conf", &kv, &errors, &warnings));
  EXPECT_TRUE(errors.empty());
  EXPECT_TRUE(warnings.empty());
  ASSERT_EQ(kv.size(), 4u);
  EXPECT_EQ(kv[0], std::make_pair(std::string("lldp.maxifnum"), std::string("16")));
  EXPECT_EQ(kv[1].second, "rxtx");
  EXPECT_EQ(kv[2].second, "my host");
  EXPECT_EQ(kv[3].second, "");
}

TEST_F(LinuxPlatform, MalformedLineIsFatalAndNamesTheLine) {
  std::vector<std::pair<std::string, std::string>> kv;
  std::vector<lnx::OptError> errors, warnings;
  EXPECT_FALSE(lnx::optParse("lldp.enable = true\n\nlldp.maxifnum 16\n", "x.conf", &kv, &errors,
                             &warnings));
  ASSERT_EQ(errors.size(), 1u);
  EXPECT_EQ(errors[0].file, "x.conf");
  EXPECT_EQ(errors[0].line, 3);
  errors.clear();
  EXPECT_FALSE(lnx::optParse("bad key = 1\n", "x.conf", &kv, &errors, &warnings));
  ASSERT_EQ(errors.size(), 1u);
  EXPECT_EQ(errors[0].line, 1);
}

TEST_F(LinuxPlatform, UnknownKeyIsAWarningNamingTheLine) {
  std::vector<std::pair<std::string, std::string>> kv;
  std::vector<lnx::OptError> errors, warnings;
  EXPECT_TRUE(lnx::optParse("lldp.enable = 1\nlldp.maxifnun = 3\nhost.pvid = 5\n", "y.conf", &kv,
                            &errors, &warnings));
  ASSERT_EQ(warnings.size(), 1u);
  EXPECT_EQ(warnings[0].line, 2);
  EXPECT_NE(warnings[0].reason.find("lldp.maxifnun"), std::string::npos);
}

TEST_F(LinuxPlatform, OptionReadIsBoundedByTheCallersLength) {
  lnx::optSet("lldp.defaultportmode", "rxtx-and-more");
  char buf[8];
  std::memset(buf, 'Z', sizeof buf);
  EXPECT_EQ(silOptRead(0, "lldp.defaultportmode", 0, 0, 1, buf, 4), 4);
  EXPECT_STREQ(buf, "rxtx");
  EXPECT_EQ(buf[5], 'Z');
  EXPECT_EQ(silOptRead(0, "lldp.absent", 0, 0, 1, buf, 4), 0);
  lnx::optSet("lldp.enable", "");
  EXPECT_EQ(silOptRead(0, "lldp.enable", 0, 0, 1, buf, 4), 0);
}

TEST_F(LinuxPlatform, OptionsFileErrorsName) {
  lnx::OptError err;
  EXPECT_FALSE(lnx::optLoadFile("/nonexistent/lldp.conf", &err));
  EXPECT_EQ(err.line, 0);
  EXPECT_EQ(err.file, "/nonexistent/lldp.conf");
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

// ---- ports ----------------------------------------------------------------------

TEST_F(LinuxPlatform, DefaultPortsAreEthernetAndVethOnly) {
  EXPECT_TRUE(makeLink(2, "eth0", "").isPort);
  EXPECT_TRUE(makeLink(3, "veth1", "veth").isPort);
  for (const char* kind : {"bridge", "bond", "vlan", "vxlan", "gretap", "macvlan", "dummy"})
    EXPECT_FALSE(makeLink(4, "x0", kind).isPort) << kind;
  lnx::Link lo = makeLink(1, "lo", "");
  lo.arpType = ARPHRD_LOOPBACK;
  lo.flags |= IFF_LOOPBACK;
  EXPECT_FALSE(lnx::linkIsPortCandidate(lo));
}

TEST_F(LinuxPlatform, NamePatternsChoosePorts) {
  lnx::optSet("host.ports", "swp*, eth1");
  lnx::optSet("host.exclude", "swp9*");
  EXPECT_TRUE(makeLink(2, "swp1", "").isPort);
  EXPECT_TRUE(makeLink(3, "eth1", "").isPort);
  EXPECT_FALSE(makeLink(4, "eth0", "").isPort);
  EXPECT_FALSE(makeLink(5, "swp90", "").isPort);
  // Patterns never make a bridge or a bond a port.
  EXPECT_FALSE(makeLink(6, "swpbr", "bridge").isPort);
  lnx::optSet("host.mgmtif", "mgmt0");
  lnx::Link m = makeLink(7, "mgmt0", "");
  EXPECT_TRUE(m.isPort);
}

// ---- interface messages ------------------------------------------------------------

TEST_F(LinuxPlatform, RegistrationAndRemovalLayout) {
  const auto reg = lnx::msgLinkRegister(17);
  ASSERT_EQ(reg.size(), 48u);
  EXPECT_EQ(u32At(reg, 0), 48u);
  EXPECT_EQ(u16At(reg, 4), ZOR_RTM_NEWLINK);
  EXPECT_EQ(u32At(reg, 28), 17u);
  EXPECT_EQ(u32At(reg, 36), 0xFFFFFFFFu);
  const auto del = lnx::msgLinkRemove(17);
  EXPECT_EQ(u16At(del, 4), ZOR_RTM_DELLINK);
  EXPECT_EQ(u32At(del, 28), 17u);
}

TEST_F(LinuxPlatform, NewPortIsRegisteredThenDescribed) {
  lnx::Link l = makeLink(5, "veth0");
  const auto msgs = lnx::msgsForLink(nullptr, l);
  ASSERT_EQ(msgs.size(), 2u);
  EXPECT_EQ(u32At(msgs[0], 36), 0xFFFFFFFFu);
  const auto& m = msgs[1];
  EXPECT_EQ(u32At(m, 0), m.size());
  EXPECT_NE(u32At(m, 36), 0xFFFFFFFFu);
  const auto a = attrs(m);
  ASSERT_EQ(a.size(), 3u);
  EXPECT_EQ(a[0].first, ZOR_IFLA_OPERSTATE);
  EXPECT_EQ(a[0].second, std::vector<uint8_t>{1});
  EXPECT_EQ(a[1].first, ZOR_IFLA_MTU);
  uint32_t mtu = 0;
  std::memcpy(&mtu, a[1].second.data(), 4);
  EXPECT_EQ(mtu, 1518u);  // the largest frame: MTU + 18
  EXPECT_EQ(a[2].first, ZOR_IFLA_ADDRESS);
  EXPECT_EQ(a[2].second, std::vector<uint8_t>(l.mac, l.mac + 6));
}

TEST_F(LinuxPlatform, ChangesCarryOnlyWhatChanged) {
  lnx::Link before = makeLink(5, "veth0");
  EXPECT_TRUE(lnx::msgsForLink(&before, before).empty());

  lnx::Link down = before;
  down.flags &= ~static_cast<uint32_t>(IFF_RUNNING);
  auto msgs = lnx::msgsForLink(&before, down);
  ASSERT_EQ(msgs.size(), 1u);
  auto a = attrs(msgs[0]);
  ASSERT_EQ(a.size(), 1u);
  EXPECT_EQ(a[0].first, ZOR_IFLA_OPERSTATE);
  EXPECT_EQ(a[0].second, std::vector<uint8_t>{2});

  lnx::Link bigger = before;
  bigger.mtu = 9000;
  bigger.mac[5] = 0x99;
  a = attrs(lnx::msgsForLink(&before, bigger).at(0));
  ASSERT_EQ(a.size(), 2u);
  uint32_t mtu = 0;
  std::memcpy(&mtu, a[0].second.data(), 4);
  EXPECT_EQ(mtu, 9018u);
  EXPECT_EQ(a[1].first, ZOR_IFLA_ADDRESS);
  EXPECT_EQ(a[1].second[5], 0x99);
}

TEST_F(LinuxPlatform, PortThatStopsMatchingIsRemoved) {
  lnx::Link before = makeLink(5, "veth0");
  lnx::optSet("host.exclude", "renamed*");
  lnx::Link after = before;
  after.name = "renamed0";
  after.isPort = lnx::linkIsPortCandidate(after);
  auto msgs = lnx::msgsForLink(&before, after);
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
  lnx::Link before = makeLink(5, "eth1", "");
  lnx::Link joined = before;
  joined.master = 10;
  auto a = attrs(lnx::msgsForLink(&before, joined).at(0));
  ASSERT_EQ(a.size(), 1u);
  EXPECT_EQ(a[0].first, ZOR_IFLA_PHYJOINAGG);
  uint32_t agg = 0;
  std::memcpy(&agg, a[0].second.data(), 4);
  EXPECT_EQ(agg, 10u);
  // Moving to another bond: quit the old one first.
  lnx::Link moved = joined;
  moved.master = 11;
  a = attrs(lnx::msgsForLink(&joined, moved).at(0));
  ASSERT_EQ(a.size(), 2u);
  EXPECT_EQ(a[0].first, ZOR_IFLA_PHYQUITAGG);
  EXPECT_EQ(a[1].first, ZOR_IFLA_PHYJOINAGG);
  // A bridge is not an aggregation.
  lnx::Link bridged = before;
  bridged.master = 12;
  EXPECT_TRUE(lnx::msgsForLink(&before, bridged).empty());
  // A port announced while in a bond says so after its registration.
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
  uint32_t v = 99;
  EXPECT_EQ(zorIfGetApi(5, 13, &v), 0);
  EXPECT_EQ(v, 0u);
  EXPECT_EQ(zorIfGetApi(6, 13, &v), 0);
  EXPECT_EQ(v, 1u);
  EXPECT_EQ(zorIfGetApi(77, 13, &v), 0);
  EXPECT_EQ(v, 1u);
  EXPECT_EQ(zorIfGetApi(5, 78, &v), 0);
  EXPECT_EQ(v, 1418u);
  EXPECT_EQ(zorIfGetApi(5, 19, &v), 0);
  EXPECT_EQ(v, 1u);
  EXPECT_EQ(zorIfGetApi(5, 159, &v), 0);
  EXPECT_EQ(v, 1u);
  EXPECT_EQ(zorIfGetApi(5, 235, &v), 0);
  EXPECT_EQ(v, 2u);
  EXPECT_NE(zorIfGetApi(5, 236, &v), 0);

  char buf[4];
  ZorOctets o{buf, sizeof buf};
  EXPECT_EQ(zorIfGetApi(5, 4, &o), 0);
  EXPECT_EQ(o.len, 4u);  // "uplink" cut to the caller's size
  EXPECT_EQ(std::string(buf, 4), "upli");

  char name[ZOR_IFNAME_LEN];
  EXPECT_EQ(zorIfUnit2Name(5, name), 0);
  EXPECT_STREQ(name, "veth0");

  ZorIndexInfo info{};
  ASSERT_EQ(zorIndexTrans(5, 5, &info), 0);
  EXPECT_EQ(info.ifType, 1u);
  EXPECT_EQ(info.portKind, 1u);
  EXPECT_EQ(info.status, 0u);
  EXPECT_NE(zorIndexTrans(6, 5, &info), 0);

  // A removed port still translates, so its removal can be handled, but it
  // is no longer for the agent.
  lnx::linkMarkGone(5);
  EXPECT_EQ(zorIndexTrans(5, 5, &info), 0);
  EXPECT_EQ(zorIfGetApi(5, 13, &v), 0);
  EXPECT_EQ(v, 1u);
  EXPECT_NE(zorIfGetApi(5, 78, &v), 0);
}

TEST_F(LinuxPlatform, ManagementInterfaceIsKind44) {
  lnx::optSet("host.mgmtif", "mgmt0");
  lnx::Link l = makeLink(9, "mgmt0", "");
  l.isMgmt = true;
  lnx::linkPut(l);
  ZorIndexInfo info{};
  ASSERT_EQ(zorIndexTrans(9, 5, &info), 0);
  EXPECT_EQ(info.ifType, 44u);
}

// ---- command socket framing -----------------------------------------------------------

uint32_t gLastIndex, gLastObj;
uint32_t intHandler(uint32_t index, uint32_t objId, ZorValue* v) {
  gLastIndex = index;
  gLastObj = objId;
  v->value = v->value * 2 + 1;
  return 0;
}
uint32_t bufHandler(uint32_t, uint32_t, ZorValue* v) {
  // Claims more than it was given: the reply must stay within the buffer.
  auto* p = static_cast<uint8_t*>(v->buf);
  for (uint32_t i = 0; i < v->len; ++i) p[i] = static_cast<uint8_t>(p[i] + 1);
  v->len = v->len + 1000;
  return 7;
}
const IcmFuncEntry kTable[] = {{0, nullptr}, {1, intHandler}, {2, bufHandler}, {3, nullptr}};

TEST_F(LinuxPlatform, RequestDecodingIsBoundedByTheBytesReceived) {
  lnx::CmdRequest r;
  r.op = 1;
  r.index = 4;
  r.objId = 9;
  r.value = 20;
  auto bytes = lnx::cmdEncodeRequest(r);
  lnx::CmdRequest got;
  for (size_t n = 0; n < bytes.size(); ++n) EXPECT_EQ(lnx::cmdDecode(bytes.data(), n, &got), 0);
  EXPECT_EQ(lnx::cmdDecode(bytes.data(), bytes.size(), &got), static_cast<long>(bytes.size()));
  EXPECT_EQ(got.objId, 9u);

  auto bad = bytes;
  bad[0] ^= 1;  // magic
  EXPECT_EQ(lnx::cmdDecode(bad.data(), bad.size(), &got), -1);
  bad = bytes;
  const uint32_t huge = 0x7FFFFFFF;
  std::memcpy(&bad[4], &huge, 4);
  EXPECT_EQ(lnx::cmdDecode(bad.data(), bad.size(), &got), -1);
  const uint32_t tiny = 8;
  std::memcpy(&bad[4], &tiny, 4);
  EXPECT_EQ(lnx::cmdDecode(bad.data(), bad.size(), &got), -1);
  // Data on an integer request is malformed.
  r.data = {1, 2, 3};
  bad = lnx::cmdEncodeRequest(r);
  EXPECT_EQ(lnx::cmdDecode(bad.data(), bad.size(), &got), -1);
}

TEST_F(LinuxPlatform, RequestsRunAgainstTheTable) {
  lnx::CmdRequest r;
  r.op = 1;
  r.index = 4;
  r.objId = 9;
  r.value = 20;
  auto rep = lnx::cmdExecute(kTable, 4, r);
  ASSERT_EQ(rep.size(), lnx::kCmdReplyHeaderLen);
  EXPECT_EQ(u32At(rep, 8), 0u);
  EXPECT_EQ(u32At(rep, 12), 41u);
  EXPECT_EQ(gLastIndex, 4u);
  EXPECT_EQ(gLastObj, 9u);

  r.op = 3;  // null handler
  EXPECT_EQ(u32At(lnx::cmdExecute(kTable, 4, r), 8), 0x3E80010u);
  r.op = 99;  // not in the table
  EXPECT_EQ(u32At(lnx::cmdExecute(kTable, 4, r), 8), 0x3E80010u);

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
}

TEST_F(LinuxPlatform, CommandSocketServesTheTable) {
  const std::string path = "/tmp/lldp-linux-test-" + std::to_string(getpid()) + ".sock";
  lnx::optSet("host.cmdsocket", path);
  ASSERT_EQ(icmProcTcpInit("testcmd", "/tmp/unused.socket", kTable, 4), 0);
  struct stat st{};
  ASSERT_EQ(stat(path.c_str(), &st), 0);
  EXPECT_EQ(st.st_mode & 0777, 0660u);
  // A second server does not take a socket that is being served.
  EXPECT_EQ(icmProcTcpInit("testdup", "/tmp/unused.socket", kTable, 4), -1);

  const int fd = socket(AF_UNIX, SOCK_STREAM, 0);
  sockaddr_un sa{};
  sa.sun_family = AF_UNIX;
  std::snprintf(sa.sun_path, sizeof sa.sun_path, "%s", path.c_str());
  ASSERT_EQ(connect(fd, reinterpret_cast<sockaddr*>(&sa), sizeof sa), 0);
  lnx::CmdRequest r;
  r.op = 1;
  r.value = 5;
  auto req = lnx::cmdEncodeRequest(r);
  // Two requests in one write, the second split across writes.
  auto two = req;
  two.insert(two.end(), req.begin(), req.end());
  ASSERT_EQ(write(fd, two.data(), two.size() - 3), static_cast<ssize_t>(two.size() - 3));
  usleep(20000);
  ASSERT_EQ(write(fd, two.data() + two.size() - 3, 3), 3);
  std::vector<uint8_t> rep(2 * lnx::kCmdReplyHeaderLen);
  size_t got = 0;
  while (got < rep.size()) {
    const ssize_t n = read(fd, rep.data() + got, rep.size() - got);
    ASSERT_GT(n, 0);
    got += static_cast<size_t>(n);
  }
  EXPECT_EQ(u32At(rep, 12), 11u);
  EXPECT_EQ(u32At(rep, lnx::kCmdReplyHeaderLen + 12), 11u);
  // A malformed request closes the connection.
  const uint8_t junk[8] = {1, 2, 3, 4, 5, 6, 7, 8};
  ASSERT_EQ(write(fd, junk, sizeof junk), 8);
  uint8_t c;
  EXPECT_EQ(read(fd, &c, 1), 0);
  close(fd);
  lnx::cmdSocketUnlink();
}

}  // namespace

namespace {

// Reads exactly n bytes or fails the test.
std::vector<uint8_t> readN(int fd, size_t n) {
  std::vector<uint8_t> b(n);
  size_t got = 0;
  while (got < n) {
    const ssize_t r = read(fd, b.data() + got, n - got);
    if (r <= 0) break;
    got += static_cast<size_t>(r);
  }
  b.resize(got);
  return b;
}

TEST_F(LinuxPlatform, SubscribersReceiveTrapsAndGroupMessages) {
  const std::string path = "/tmp/lldp-linux-ev-" + std::to_string(getpid()) + ".sock";
  lnx::optSet("host.cmdsocket", path);
  ASSERT_EQ(icmProcTcpInit("testev", "/tmp/unused.socket", kTable, 4), 0);
  const int fd = socket(AF_UNIX, SOCK_STREAM, 0);
  sockaddr_un sa{};
  sa.sun_family = AF_UNIX;
  std::snprintf(sa.sun_path, sizeof sa.sun_path, "%s", path.c_str());
  ASSERT_EQ(connect(fd, reinterpret_cast<sockaddr*>(&sa), sizeof sa), 0);
  lnx::CmdRequest sub;  // operation 0: subscribe
  const auto req = lnx::cmdEncodeRequest(sub);
  ASSERT_EQ(write(fd, req.data(), req.size()), static_cast<ssize_t>(req.size()));
  const auto ack = readN(fd, lnx::kCmdReplyHeaderLen);
  ASSERT_EQ(ack.size(), lnx::kCmdReplyHeaderLen);
  EXPECT_EQ(u32At(ack, 8), 0u);

  send_lldp_trap(2);
  const uint8_t msg[56] = {1, 2, 3};
  EXPECT_EQ(zorNetlinkSGrpSend(71, 0, msg, sizeof msg), 0);
  const uint8_t chassis[6] = {0xA, 0xB, 0xC, 0xD, 0xE, 0xF};
  send_lldpmed_trap(0, 9, 5, 7, 4, chassis, 6, 1, 3);

  auto ev = readN(fd, 16);
  ASSERT_EQ(ev.size(), 16u);
  EXPECT_EQ(u32At(ev, 4), 16u);
  EXPECT_EQ(u32At(ev, 8), 2u);   // LLDP trap
  EXPECT_EQ(u32At(ev, 12), 2u);  // its reason
  ev = readN(fd, 16 + 56);
  ASSERT_EQ(ev.size(), 72u);
  EXPECT_EQ(u32At(ev, 8), 1u);
  EXPECT_EQ(u32At(ev, 12), 71u);
  EXPECT_EQ(ev[16], 1);
  ev = readN(fd, 16 + 28 + 6);
  ASSERT_EQ(ev.size(), 50u);
  EXPECT_EQ(u32At(ev, 0 + 8), 3u);
  EXPECT_EQ(u32At(ev, 16 + 8), 5u);   // unit
  EXPECT_EQ(u32At(ev, 16 + 20), 6u);  // chassis ID length
  EXPECT_EQ(ev[49], 0xF);
  close(fd);
  lnx::cmdSocketUnlink();
}

}  // namespace

namespace {

struct Forwarded {
  uint32_t op, index, objId, value, len;
  std::string bytes;
};
std::mutex gFwdLock;
std::vector<Forwarded> gForwarded;
template <uint32_t Op>
uint32_t recordSync(uint32_t index, uint32_t objId, ZorValue* v) {
  std::lock_guard<std::mutex> g(gFwdLock);
  Forwarded f{Op, index, objId, 0, v->len, {}};
  if (Op == 8)
    f.bytes.assign(static_cast<const char*>(v->buf), v->len);
  else
    f.value = v->value;
  gForwarded.push_back(f);
  return Op == 8 ? 0x3E80002 : 0;
}
const IcmFuncEntry kPeerTable[] = {{3, recordSync<3>}, {8, recordSync<8>}};

TEST_F(LinuxPlatform, SetsAreForwardedToStackPeersAsSyncs) {
  uint32_t v = 9;
  EXPECT_NE(zorHwilScalarGet(0, 54, &v), 0);  // no peers: no synchronisation
  EXPECT_EQ(v, 1u);
  ZorValue val{};
  val.value = 15;
  val.len = 4;
  ZorSyncCtl set{3, 0, 4};
  EXPECT_EQ(zorHwilCmdSyncApi(0, 0xB4000 + 2, &val, &set), 0);

  const std::string path = "/tmp/lldp-linux-peer-" + std::to_string(getpid()) + ".sock";
  lnx::optSet("host.cmdsocket", path);
  ASSERT_EQ(icmProcTcpInit("testpeer", "/tmp/unused.socket", kPeerTable, 2), 0);
  lnx::optSet("host.stackpeers", path);
  EXPECT_EQ(zorHwilScalarGet(0, 54, &v), 0);
  EXPECT_EQ(v, 0u);
  EXPECT_EQ(zorHwilScalarGet(0, 54, nullptr), 0);

  EXPECT_EQ(zorHwilCmdSyncApi(0, 0xB4000 + 2, &val, &set), 0);
  char text[] = "hello";
  ZorValue oct{};
  oct.buf = text;
  oct.len = 64;
  ZorSyncCtl octSet{3 | 0x10000000u | 0x80000000u, 0, 5};
  // The peer refuses this one; it still applies here.
  EXPECT_EQ(zorHwilCmdSyncApi(7, 0x4074000 + 4, &oct, &octSet), 0);
  ZorSyncCtl sync{1, 0, 4};  // came from a peer: not sent back
  EXPECT_EQ(zorHwilCmdSyncApi(0, 0xB4000 + 3, &val, &sync), 0);
  EXPECT_EQ(zorHwilCmdSyncApi(0, 0x12340000, &val, &set), 0);  // unknown base: local only
  lnx::stackDrain();

  std::lock_guard<std::mutex> g(gFwdLock);
  ASSERT_EQ(gForwarded.size(), 2u);
  EXPECT_EQ(gForwarded[0].op, 3u);
  EXPECT_EQ(gForwarded[0].objId, 2u);
  EXPECT_EQ(gForwarded[0].value, 15u);
  EXPECT_EQ(gForwarded[1].op, 8u);
  EXPECT_EQ(gForwarded[1].index, 7u);
  EXPECT_EQ(gForwarded[1].objId, 4u);
  EXPECT_EQ(gForwarded[1].bytes, "hello");
  lnx::cmdSocketUnlink();
}

}  // namespace

namespace {

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
  auto rnd = [&seed] {
    seed = seed * 1103515245u + 12345u;
    return seed >> 8;
  };
  int accepted = 0;
  for (int i = 0; i < 20000; ++i) {
    std::vector<uint8_t> b = good;
    const int edits = 1 + static_cast<int>(rnd() % 4);
    for (int e = 0; e < edits; ++e) b[rnd() % b.size()] = static_cast<uint8_t>(rnd());
    const size_t n = rnd() % (b.size() + 1);
    // Exactly n bytes on the heap, so that a read past them is caught.
    std::unique_ptr<uint8_t[]> exact(new uint8_t[n ? n : 1]);
    std::memcpy(exact.get(), b.data(), n);
    lnx::CmdRequest got;
    const long used = lnx::cmdDecode(exact.get(), n, &got);
    ASSERT_LE(used, static_cast<long>(n));
    if (used > 0) {
      ++accepted;
      const auto rep = lnx::cmdExecute(kTable, 4, got);
      ASSERT_GE(rep.size(), lnx::kCmdReplyHeaderLen);
      EXPECT_EQ(u32At(rep, 4), rep.size());
    }
  }
  EXPECT_GT(accepted, 0);
}

}  // namespace
