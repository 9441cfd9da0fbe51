// The client library against the agent's real command server (the Linux
// platform's socket loop with a table of test handlers) and against a
// scripted server that misbehaves: reply and event decoding, partial and
// pipelined replies, key records, walks, the event stream and its
// reconnection, unreachable sockets.
#include "client/lldp_client.h"

#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <cstring>
#include <functional>
#include <set>
#include <thread>

#include "client/lldp_events.h"
#include "client/lldp_objects.h"
#include "platform/icm.h"
#include "platform/linux/linux_platform.h"
#include "platform/trap.h"
#include "platform/zor_socket.h"

using namespace lldpc;
using Bytes = std::vector<uint8_t>;

namespace {

std::string tmpPath(const std::string& tag) {
  return "/tmp/lldp-client-" + tag + "-" + std::to_string(getpid()) + ".sock";
}

// ---- The real server with a table of test handlers --------------------------
// Walkable rows: keys {tag word, row}. Op 3/4 walk them, op 5 reads a row's
// field, op 6 is a walk that does not move, op 7 a walk that fails.
std::set<uint32_t> gRows;
std::set<uint32_t> gVanished;  // rows whose field Get answers "no such row"

uint32_t hEcho(uintptr_t index, uint32_t obj, ZorValue* v) {
  if (v->form != ZOR_VALUE_INT) return 22;
  v->value = v->value + static_cast<uint32_t>(index) * 1000 + obj;
  v->len = v->len + 1;
  return obj == 99 ? 0x3E80010 : 0;
}
// Buffer objects: the supplied bytes plus one each, or the capacity filled
// with the object id when nothing is supplied.
uint32_t hBuf(uintptr_t, uint32_t obj, ZorValue* v) {
  if (v->form != ZOR_VALUE_BUF) return 22;
  auto* p = static_cast<uint8_t*>(v->buf);
  bool supplied = false;
  for (uint32_t i = 0; i < v->len; ++i) supplied |= p[i] != 0;
  for (uint32_t i = 0; i < v->len; ++i)
    p[i] = supplied ? static_cast<uint8_t>(p[i] + 1) : static_cast<uint8_t>(obj);
  return 0;
}
uint32_t rowOf(uintptr_t key) {
  uint32_t w;
  std::memcpy(&w, reinterpret_cast<uint8_t*>(key) + 4, 4);
  return w;
}
void setRow(uintptr_t key, uint32_t row) { std::memcpy(reinterpret_cast<uint8_t*>(key) + 4, &row, 4); }
uint32_t hFirst(uintptr_t key, uint32_t, ZorValue*) {
  if (gRows.empty()) return 0x3E80002;
  setRow(key, *gRows.begin());
  return 0;
}
uint32_t hNext(uintptr_t key, uint32_t, ZorValue*) {
  auto it = gRows.upper_bound(rowOf(key));
  if (it == gRows.end()) return 0x3E80002;
  setRow(key, *it);
  return 0;
}
uint32_t hField(uintptr_t key, uint32_t obj, ZorValue* v) {
  const uint32_t row = rowOf(key);
  if (!gRows.count(row) || gVanished.count(row)) return 0x3E80002;
  v->value = row * 10 + obj;
  return 0;
}
uint32_t hStuck(uintptr_t, uint32_t, ZorValue*) { return 0; }
uint32_t hFail(uintptr_t, uint32_t, ZorValue*) { return 22; }

const IcmFuncEntry kTable[] = {{0, nullptr, 0}, {1, hEcho, 0},  {2, hBuf, 0},   {3, hFirst, 8},
                               {4, hNext, 8},   {5, hField, 8}, {6, hStuck, 8}, {7, hFail, 8}};

const std::string& serverPath() {
  static const std::string path = [] {
    const std::string p = tmpPath("real");
    std::string why;
    const int lfd = lnx::cmdListen(p, &why);
    EXPECT_GE(lfd, 0) << why;
    std::thread([lfd] { lnx::cmdServe(lfd, kTable, sizeof kTable / sizeof kTable[0]); }).detach();
    return p;
  }();
  return path;
}

// ---- A scripted server --------------------------------------------------------
// Accepts connections one after the other and hands each to the script, with
// a reader of whole requests.
class Scripted {
 public:
  using Script = std::function<void(int conn, int n, Scripted& s)>;
  explicit Scripted(Script script) : path_(tmpPath("fake" + std::to_string(++count_))) {
    sockaddr_un sa{};
    sa.sun_family = AF_UNIX;
    std::snprintf(sa.sun_path, sizeof sa.sun_path, "%s", path_.c_str());
    ::unlink(path_.c_str());
    lfd_ = ::socket(AF_UNIX, SOCK_STREAM, 0);
    EXPECT_EQ(::bind(lfd_, reinterpret_cast<sockaddr*>(&sa), sizeof sa), 0);
    EXPECT_EQ(::listen(lfd_, 4), 0);
    thread_ = std::thread([this, script] {
      for (int n = 0;; ++n) {
        const int c = ::accept(lfd_, nullptr, nullptr);
        if (c < 0 || stop_) return;
        script(c, n, *this);
      }
    });
  }
  ~Scripted() {
    stop_ = true;
    ::shutdown(lfd_, SHUT_RDWR);
    ::close(lfd_);
    thread_.join();
    ::unlink(path_.c_str());
  }
  const std::string& path() const { return path_; }
  // Reads one whole request; false when the client closed.
  bool read(int c, CmdRequest* req) {
    for (;;) {
      const long used = cmdDecode(in_.data(), in_.size(), req);
      if (used > 0) {
        in_.erase(in_.begin(), in_.begin() + used);
        return true;
      }
      uint8_t b[4096];
      const ssize_t n = ::recv(c, b, sizeof b, 0);
      if (n <= 0) return false;
      in_.insert(in_.end(), b, b + n);
    }
  }
  static void write(int c, const Bytes& b) {
    ASSERT_EQ(::send(c, b.data(), b.size(), MSG_NOSIGNAL), static_cast<ssize_t>(b.size()));
  }
  std::atomic<int> stage{0};

 private:
  static inline int count_ = 0;
  std::string path_;
  int lfd_ = -1;
  std::atomic<bool> stop_{false};
  Bytes in_;
  std::thread thread_;
};

Bytes okReply(uint32_t value) { return cmdEncodeReply(0, value, 0, nullptr, nullptr, 0); }

// ---- Framing of replies and events ----------------------------------------------

TEST(ClientFraming, RepliesAndEventsDecodeOnlyWhenWholeAndWellFormed) {
  const Bytes key = {1, 2, 3, 4, 5, 6, 7, 8};
  const Bytes data = {9, 8, 7};
  const Bytes keyed = cmdEncodeReply(0, 0, 3, &key, data.data(), 3);
  const uint32_t kb = kCmdFlagKey | kCmdFlagBuffer;
  CmdReply r;
  for (size_t n = 0; n < keyed.size(); ++n) EXPECT_EQ(cmdDecodeReply(keyed.data(), n, kb, &r), 0) << n;
  ASSERT_EQ(cmdDecodeReply(keyed.data(), keyed.size(), kb, &r), static_cast<long>(keyed.size()));
  EXPECT_TRUE(r.keyed);
  EXPECT_EQ(r.key, key);
  EXPECT_EQ(r.data, data);

  // One changed word, and the decoder's verdict for a keyed buffer request.
  struct Case {
    size_t offset;
    uint32_t value;
    uint32_t flags;
    const char* why;
  };
  const Case cases[] = {
      {0, 0x4C4C4451, kb, "wrong magic"},
      {4, 19, kb, "total below the header"},
      {4, kCmdMaxReply + 1, kb, "total above any reply"},
      {20, 9, kb, "key block longer than the reply"},
      {20, kCmdMaxKey + 1, kb, "key block above the limit"},
      {16, 2, kb, "length word is not the data's"},
      {0, kCmdMagic, kCmdFlagKey, "data on an integer reply"},
      {0, kCmdMagic, kCmdFlagBuffer, "a key block the request did not ask for (read as data)"},
  };
  for (const Case& c : cases) {
    Bytes bad = keyed;
    std::memcpy(&bad[c.offset], &c.value, 4);
    EXPECT_EQ(cmdDecodeReply(bad.data(), bad.size(), c.flags, &r), -1) << c.why;
  }

  const uint8_t payload[5] = {1, 2, 3, 4, 5};
  const Bytes ev = cmdEncodeEvent(kCmdEventTrap, 7, payload, 5);
  CmdEvent e;
  for (size_t n = 0; n < ev.size(); ++n) EXPECT_EQ(cmdDecodeEvent(ev.data(), n, &e), 0) << n;
  ASSERT_EQ(cmdDecodeEvent(ev.data(), ev.size(), &e), static_cast<long>(ev.size()));
  EXPECT_EQ((std::vector<uint32_t>{e.kind, e.arg, static_cast<uint32_t>(e.payload.size())}),
            (std::vector<uint32_t>{2, 7, 5}));
  for (uint32_t total : {15u, kCmdMaxEvent + 1}) {
    Bytes bad = ev;
    std::memcpy(&bad[4], &total, 4);
    EXPECT_EQ(cmdDecodeEvent(bad.data(), bad.size(), &e), -1) << total;
  }
}

// ---- Calls against the real server ---------------------------------------------

TEST(ClientCall, IntegerBufferAndKeyedRequestsRoundTrip) {
  Client c(serverPath());
  CmdReply r = c.call(intRequest(1, 4, 9, 20, 5));
  EXPECT_EQ((std::vector<uint32_t>{r.rc, r.value, r.len}), (std::vector<uint32_t>{0, 4029, 6}));
  EXPECT_FALSE(r.keyed);
  r = c.call(bufSetRequest(2, 0, 1, {1, 2, 3}));
  EXPECT_EQ(r.data, (Bytes{2, 3, 4}));
  r = c.call(bufGetRequest(2, 0, 0x41, 4));
  EXPECT_EQ(r.data, (Bytes{0x41, 0x41, 0x41, 0x41}));
  // A short key block is zero-filled by the server and comes back whole.
  gRows = {6};
  r = c.call(withKey(intRequest(3, 0, 0), keyWords({0xABCD})));
  EXPECT_TRUE(r.keyed);
  EXPECT_EQ(r.key, keyWords({0xABCD, 6}));
  // Result codes are the caller's business in a raw call, errors in a checked one.
  EXPECT_EQ(c.call(intRequest(1, 0, 99)).rc, 0x3E80010u);
  EXPECT_EQ(c.call(intRequest(42, 0, 0)).rc, 0x3E80010u);  // not in the table
  try {
    c.getInt(1, 0, 99);
    FAIL() << "no OperationError";
  } catch (const OperationError& e) {
    EXPECT_EQ((std::vector<uint32_t>{e.op(), e.object(), e.code()}),
              (std::vector<uint32_t>{1, 99, 0x3E80010}));
    EXPECT_NE(std::string(e.what()).find("unknown object"), std::string::npos) << e.what();
  }
}

// Many large requests in one batch: requests and replies each far beyond the
// socket buffers, so a client that wrote everything before reading would
// stall against the server.
TEST(ClientCall, PipelinedBatchesLargerThanTheSocketBuffersComplete) {
  Client c(serverPath());
  std::vector<CmdRequest> reqs;
  for (uint32_t i = 0; i < 600; ++i)
    reqs.push_back(i % 2 ? bufSetRequest(2, 0, 0, Bytes(32768, static_cast<uint8_t>(i)))
                         : intRequest(1, 0, i));
  const auto replies = c.callMany(reqs);
  ASSERT_EQ(replies.size(), reqs.size());
  size_t wrong = 0;
  for (uint32_t i = 0; i < reqs.size(); ++i) {
    if (i % 2)
      wrong += replies[i].data != Bytes(32768, static_cast<uint8_t>(i + 1));
    else
      wrong += replies[i].value != i;
  }
  EXPECT_EQ(wrong, 0u);
}

// ---- Walks ------------------------------------------------------------------------

TEST(ClientWalk, WalksYieldEveryRowInOrderAndGatherFieldsPerRow) {
  Client c(serverPath());
  gRows = {3, 5, 9};
  gVanished = {};
  std::vector<uint32_t> rows;
  for (const Bytes& k : keyWalk(c, 3, 4, keyWords({0x77}))) {
    EXPECT_EQ(keyWord(k, 0), 0x77u);  // the seed's filter word travels along
    rows.push_back(keyWord(k, 4));
  }
  EXPECT_EQ(rows, (std::vector<uint32_t>{3, 5, 9}));

  // Each row with two fields; a row whose fields say it is gone is skipped.
  gVanished = {5};
  WalkPlan plan{3, 4, {}, [](const Bytes& key, std::vector<CmdRequest>& out) {
                  out.push_back(withKey(intRequest(5, 0, 1), key));
                  out.push_back(withKey(intRequest(5, 0, 2), key));
                }};
  Walk<std::pair<uint32_t, uint32_t>> w(c, plan,
                                        [](WalkStep& st) -> std::optional<std::pair<uint32_t, uint32_t>> {
                                          if (st.replies[0].rc != kOk) return std::nullopt;
                                          return std::make_pair(st.replies[0].value, st.replies[1].value);
                                        });
  EXPECT_EQ(w.all(), (std::vector<std::pair<uint32_t, uint32_t>>{{31, 32}, {91, 92}}));

  gRows = {};
  auto empty = keyWalk(c, 3, 4);
  EXPECT_TRUE(empty.begin() == empty.end());
}

TEST(ClientWalk, AWalkThatFailsOrDoesNotMoveOnEnds) {
  Client c(serverPath());
  gRows = {1, 2};
  auto stuck = keyWalk(c, 3, 6);
  EXPECT_THROW(stuck.all(), ConnectionError);
  auto failing = keyWalk(c, 3, 7);
  try {
    failing.all();
    FAIL() << "no OperationError";
  } catch (const OperationError& e) {
    EXPECT_EQ(e.code(), 22u);
    EXPECT_EQ(e.op(), 7u);
  }
  // The connection stays usable after an operation error.
  EXPECT_EQ(c.call(intRequest(1, 0, 1)).value, 1u);
}

// ---- Misbehaving servers ------------------------------------------------------

TEST(ClientCall, RepliesSplitAnywhereOrPackedTogetherAreDecoded) {
  Scripted s([](int c, int, Scripted& srv) {
    CmdRequest req;
    for (int i = 0; i < 3; ++i) srv.read(c, &req);
    Bytes all = okReply(1);
    const Bytes k = keyWords({5, 6});
    const Bytes second = cmdEncodeReply(0, 2, 0, &k, nullptr, 0);
    all.insert(all.end(), second.begin(), second.end());
    const Bytes third = okReply(3);
    all.insert(all.end(), third.begin(), third.end());
    for (uint8_t b : all) {  // one byte at a time
      Scripted::write(c, {b});
      std::this_thread::sleep_for(std::chrono::microseconds(200));
    }
    srv.read(c, &req);
    ::close(c);
  });
  Client c(s.path());
  const auto r = c.callMany({intRequest(1, 0, 0), withKey(intRequest(3, 0, 0), {}), intRequest(1, 0, 0)});
  EXPECT_EQ((std::vector<uint32_t>{r[0].value, r[1].value, r[2].value}), (std::vector<uint32_t>{1, 2, 3}));
  EXPECT_EQ(r[1].key, keyWords({5, 6}));
}

TEST(ClientCall, ABrokenOrSilentAgentIsAConnectionError) {
  struct Case {
    const char* what;
    std::function<void(int c)> answer;
    uint32_t flags;
  };
  const Case cases[] = {
      {"wrong magic",
       [](int c) {
         Bytes b = okReply(0);
         b[0] ^= 1;
         Scripted::write(c, b);
       },
       0},
      {"data on an integer reply",
       [](int c) {
         const uint8_t d = 1;
         Scripted::write(c, cmdEncodeReply(0, 0, 1, nullptr, &d, 1));
       },
       0},
      {"no key block", [](int c) { Scripted::write(c, okReply(0)); }, kCmdFlagKey},
      {"closed half way",
       [](int c) {
         Bytes b = okReply(0);
         b.resize(10);
         Scripted::write(c, b);
       },
       0},
      {"silent", [](int) { std::this_thread::sleep_for(std::chrono::milliseconds(400)); }, 0},
  };
  for (const Case& k : cases) {
    Scripted s([&k](int c, int, Scripted& srv) {
      CmdRequest req;
      if (srv.read(c, &req)) k.answer(c);
      ::close(c);
    });
    Client c(s.path(), ClientOptions{150});
    CmdRequest req = intRequest(1, 0, 0);
    req.flags = k.flags;
    EXPECT_THROW(c.call(req), ConnectionError) << k.what;
    EXPECT_FALSE(c.connected()) << k.what;
  }
}

// An agent that restarted closes the old connection: a request that could
// not be written is sent again on a new one; one that was written is not.
TEST(ClientCall, AStaleConnectionIsReopenedOnlyWhenNothingWasSent) {
  std::atomic<int> connections{0};
  Scripted s([&connections](int c, int n, Scripted& srv) {
    ++connections;
    CmdRequest req;
    if (n == 0) {
      srv.read(c, &req);
      Scripted::write(c, okReply(100));
      ::close(c);
      srv.stage = 1;
      return;
    }
    // Two answers, then the agent dies with the third request read.
    for (uint32_t v : {201u, 202u})
      if (srv.read(c, &req)) Scripted::write(c, okReply(v));
    srv.read(c, &req);
    ::close(c);
  });
  Client c(s.path());
  EXPECT_EQ(c.call(intRequest(1, 0, 0)).value, 100u);
  while (s.stage.load() == 0) std::this_thread::sleep_for(std::chrono::milliseconds(1));
  std::this_thread::sleep_for(std::chrono::milliseconds(20));
  EXPECT_EQ(c.call(intRequest(1, 0, 0)).value, 201u);
  EXPECT_EQ(c.call(intRequest(1, 0, 0)).value, 202u);  // the new connection stays
  EXPECT_THROW(c.call(intRequest(2, 0, 0)), ConnectionError);
  std::this_thread::sleep_for(std::chrono::milliseconds(20));
  EXPECT_EQ(connections.load(), 2);  // the request that reached the agent was not sent again
}

TEST(ClientCall, AnUnreachableSocketNamesItsPath) {
  const std::string gone = tmpPath("gone");
  // A socket file nobody listens on any more.
  const std::string stale = tmpPath("stale");
  {
    const int fd = ::socket(AF_UNIX, SOCK_STREAM, 0);
    sockaddr_un sa{};
    sa.sun_family = AF_UNIX;
    std::snprintf(sa.sun_path, sizeof sa.sun_path, "%s", stale.c_str());
    ::unlink(stale.c_str());
    ASSERT_EQ(::bind(fd, reinterpret_cast<sockaddr*>(&sa), sizeof sa), 0);
    ::close(fd);
  }
  const std::pair<std::string, int> cases[] = {
      {gone, ENOENT}, {stale, ECONNREFUSED}, {"/tmp/" + std::string(200, 'x'), ENAMETOOLONG}};
  for (const auto& [path, err] : cases) {
    Client c(path);
    try {
      c.call(intRequest(1, 0, 1));
      FAIL() << path;
    } catch (const UnreachableError& e) {
      EXPECT_EQ(e.path(), path);
      EXPECT_EQ(e.errnum(), err) << path;
      EXPECT_NE(std::string(e.what()).find(path), std::string::npos);
    }
  }
  ::unlink(stale.c_str());
}

// ---- Port names (the platform's own operation) ----------------------------------

TEST(ClientFraming, PortNameRecordsDecodeOnlyWhenWholeAndInOrder) {
  Bytes b;
  ASSERT_TRUE(cmdAddPortName(b, {3, "eth0"}, 100));
  ASSERT_TRUE(cmdAddPortName(b, {0x20005, "2/swp12"}, 100));
  EXPECT_FALSE(cmdAddPortName(b, {7, "x"}, b.size() + 8));  // a record that does not fit
  EXPECT_FALSE(cmdAddPortName(b, {7, ""}, 100));
  EXPECT_FALSE(cmdAddPortName(b, {7, std::string(kCmdPortNameMax + 1, 'n')}, 1000));
  std::vector<CmdPortName> v;
  ASSERT_TRUE(cmdDecodePortNames(b.data(), b.size(), &v));
  ASSERT_EQ(v.size(), 2u);
  EXPECT_EQ(v[1].unit, 0x20005u);
  EXPECT_EQ(v[1].name, "2/swp12");
  const std::vector<CmdPortName> before = {{9, "keep"}};
  for (size_t cut = 1; cut < b.size(); ++cut) {  // every truncation is refused
    v = before;
    if (cut == 12) continue;                       // the first record alone is whole
    EXPECT_FALSE(cmdDecodePortNames(b.data(), cut, &v)) << cut;
    EXPECT_EQ(v[0].name, "keep");
  }
  Bytes outOfOrder, longName = b;
  cmdAddPortName(outOfOrder, {5, "a"}, 100);
  cmdAddPortName(outOfOrder, {5, "b"}, 100);
  EXPECT_FALSE(cmdDecodePortNames(outOfOrder.data(), outOfOrder.size(), &v));
  longName[4] = 0xff;  // a length past the bytes
  EXPECT_FALSE(cmdDecodePortNames(longName.data(), longName.size(), &v));
}

TEST(ClientObjects, PortNamesComeFromTheLinkTableInPagesWithTheUpTime) {
  const std::string path = tmpPath("names");
  std::string why;
  const int lfd = lnx::cmdListen(path, &why);
  ASSERT_GE(lfd, 0) << why;
  std::thread([lfd] {
    lnx::cmdServe(lfd, kTable, sizeof kTable / sizeof kTable[0], {{kCmdOpPortNames, lnx::portNamesServe}});
  }).detach();
  Client c(path);
  EXPECT_TRUE(portNames(c).empty());
  // More ports than one reply's page holds, among interfaces that are not
  // ports and a port that is gone.
  lnx::linkTableClear();
  for (uint32_t i = 1; i <= 600; ++i) {
    lnx::Link l;
    l.ifindex = i;
    l.name = "port-with-a-long-name-" + std::to_string(i);
    l.isPort = i % 100 != 0;
    lnx::linkPut(l);
  }
  lnx::linkMarkGone(7);
  const auto names = portNames(c);
  ASSERT_EQ(names.size(), 600u - 6 - 1);
  EXPECT_EQ(names.front().unit, 1u);
  EXPECT_EQ(names.back().name, "port-with-a-long-name-599");
  for (size_t i = 1; i < names.size(); ++i) EXPECT_LT(names[i - 1].unit, names[i].unit);
  EXPECT_EQ(portName(c, 250).value_or(""), "port-with-a-long-name-250");
  EXPECT_FALSE(portName(c, 300));  // not a port
  EXPECT_FALSE(portName(c, 7));    // gone
  EXPECT_FALSE(portName(c, 601));
  EXPECT_TRUE(agentUptime(c).has_value());
  lnx::linkTableClear();
  ::unlink(path.c_str());
}

// ---- Event stream ----------------------------------------------------------------

TEST(ClientEvents, TrapsAndRemoteChangesArriveDecoded) {
  EventStream ev(serverPath());
  ev.open();
  send_lldp_trap(2);
  // The agent's remote-change message: length and type, then the record in
  // network byte order.
  Bytes msg(56, 0);
  msg[3] = 56;
  msg[4] = 0x01, msg[5] = 0x18;  // 280, added
  for (int i = 0; i < 4; ++i) msg[24 + 4 * i + 3] = static_cast<uint8_t>(i + 1);
  msg[24 + 16] = 0x28;
  msg[24 + 22] = 0x80;
  zorNetlinkSGrpSend(71, 0, msg.data(), 56);
  zorNetlinkSGrpSend(5, 0, msg.data(), 56);  // another group: delivered, not decoded
  const uint8_t chassis[3] = {0xA, 0xB, 0xC};
  send_lldpmed_trap(1, 2, 3, 4, 4, chassis, 3, 2, 3);

  auto e = ev.next(std::chrono::seconds(2));
  ASSERT_TRUE(e);
  EXPECT_EQ(e->kind, Event::Kind::Trap);
  EXPECT_EQ(e->arg, 2u);
  e = ev.next(std::chrono::seconds(2));
  ASSERT_TRUE(e && e->change);
  EXPECT_TRUE(e->change->added());
  EXPECT_EQ(e->change->index, (RemoteIndex{1, 2, 3, 4}));
  EXPECT_EQ((std::vector<uint8_t>{e->change->sysCapEnabled[0], e->change->medTlvs[0]}),
            (std::vector<uint8_t>{0x28, 0x80}));
  e = ev.next(std::chrono::seconds(2));
  ASSERT_TRUE(e);
  EXPECT_EQ(e->arg, 5u);
  EXPECT_FALSE(e->change);
  e = ev.next(std::chrono::seconds(2));
  ASSERT_TRUE(e && e->medTrap);
  EXPECT_EQ(e->arg, 3u);
  EXPECT_EQ(e->medTrap->index, (RemoteIndex{1, 2, 3, 4}));
  EXPECT_EQ(e->medTrap->chassisId, (Bytes{0xA, 0xB, 0xC}));
  EXPECT_EQ(e->medTrap->medDeviceType, 2u);
  EXPECT_FALSE(ev.next(std::chrono::milliseconds(50)));
}

TEST(ClientEvents, ALostStreamReopensAndSaysSo) {
  Scripted s([](int c, int n, Scripted& srv) {
    CmdRequest req;
    if (!srv.read(c, &req) || req.op != kCmdOpSubscribe) return (void)::close(c);
    // The subscription's reply and the first event in one write.
    Bytes b = okReply(0);
    const Bytes e = cmdEncodeEvent(kCmdEventTrap, static_cast<uint32_t>(10 + n), nullptr, 0);
    b.insert(b.end(), e.begin(), e.end());
    Scripted::write(c, b);
    if (n == 0) {
      ::close(c);  // the agent goes away
      return;
    }
    while (srv.stage.load() == 0) std::this_thread::sleep_for(std::chrono::milliseconds(5));
    ::close(c);
  });
  EventStream ev(s.path(), EventStreamOptions{true, 20});
  auto e = ev.next(std::chrono::seconds(2));
  ASSERT_TRUE(e);
  EXPECT_EQ(e->arg, 10u);
  e = ev.next(std::chrono::seconds(2));
  ASSERT_TRUE(e);
  EXPECT_EQ(e->kind, Event::Kind::Resumed);
  e = ev.next(std::chrono::seconds(2));
  ASSERT_TRUE(e);
  EXPECT_EQ(e->arg, 11u);
  s.stage = 1;

  // Without reconnection the loss is an error.
  EventStream once(s.path(), EventStreamOptions{false, 20});
  EXPECT_TRUE(once.next(std::chrono::seconds(2)));
  EXPECT_THROW(
      {
        for (int i = 0; i < 100; ++i) once.next(std::chrono::milliseconds(50));
      },
      ConnectionError);
}

}  // namespace
