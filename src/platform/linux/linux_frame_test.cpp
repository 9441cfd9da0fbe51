// The frame socket on a real kernel: frames sent on the loopback interface of
// a network namespace of the test's own (a child process unshares one) come
// back through the receive ring as the agent would see them.
#include <gtest/gtest.h>

#include <cerrno>
#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

#include <arpa/inet.h>
#include <linux/if_ether.h>
#include <linux/if_packet.h>
#include <net/if.h>
#include <sched.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include "platform/linux/linux_platform.h"
#include "platform/zor_socket.h"

namespace {

using Bytes = std::vector<uint8_t>;
constexpr int kSkip = 77;

Bytes lldpFrame(uint16_t seq, size_t bodyLen) {
  Bytes f = {0x01, 0x80, 0xC2, 0x00, 0x00, 0x0E, 0x02, 0x00, 0x00, 0x00, 0x00, 0x01, 0x88, 0xCC};
  f.push_back(static_cast<uint8_t>(seq >> 8));
  f.push_back(static_cast<uint8_t>(seq));
  for (size_t i = 0; i < bodyLen; ++i) f.push_back(static_cast<uint8_t>(seq + i));
  return f;
}

bool loopbackUp() {
  const int s = ::socket(AF_INET, SOCK_DGRAM, 0);
  if (s < 0) return false;
  ifreq ifr{};
  std::strcpy(ifr.ifr_name, "lo");
  ifr.ifr_flags = IFF_UP | IFF_RUNNING;
  const bool ok = ::ioctl(s, SIOCSIFFLAGS, &ifr) == 0;
  ::close(s);
  return ok;
}

struct Received {
  Bytes frame;
  uint32_t unit = 0;
  Bytes aux;  // the 20 bytes of the auxiliary data, empty when none came
};

// Everything the agent's socket hands over before 300 ms of quiet.
std::vector<Received> receiveAll(int fd) {
  std::vector<Received> out;
  for (;;) {
    ZorFdSet set;
    ZOR_FD_ZERO(&set);
    ZOR_FD_SET(fd, &set);
    ZorTimeval tv{0, 300000};
    if (zor_select(fd + 1, &set, nullptr, nullptr, &tv) <= 0 || !ZOR_FD_ISSET(fd, &set)) break;
    uint8_t buf[9216];
    uint8_t name[20] = {};
    alignas(8) uint8_t ctl[64] = {};
    ZorIovec iov{buf, sizeof buf};
    ZorMsg m{name, sizeof name, &iov, 1, ctl, sizeof ctl, 0};
    const long n = zor_recvmsg(fd, &m, 0);
    if (n <= 0) continue;
    Received r;
    r.frame.assign(buf, buf + n);
    std::memcpy(&r.unit, name + 4, 4);
    if (m.controlLen >= sizeof(ZorCmsgHdr) + 20) r.aux.assign(ctl + sizeof(ZorCmsgHdr), ctl + sizeof(ZorCmsgHdr) + 20);
    out.push_back(std::move(r));
  }
  return out;
}

// Runs in the child, in its own network namespace; returns what went wrong,
// empty when nothing did.
std::string ringScenario() {
  const int fd = zor_socket(ZOR_AF_PACKET, ZOR_SOCK_RAW, 0x88CC);
  if (fd < 0) return "zor_socket failed: " + std::string(std::strerror(errno));
  const int on = 1;
  if (zor_setsockopt(fd, ZOR_SOL_PACKET, ZOR_PACKET_AUXDATA, &on, sizeof on) != 0)
    return "auxiliary data refused";
  const int tx = ::socket(AF_PACKET, SOCK_RAW, 0);
  const unsigned lo = if_nametoindex("lo");
  sockaddr_ll to{};
  to.sll_family = AF_PACKET;
  to.sll_ifindex = static_cast<int>(lo);
  to.sll_halen = 6;
  auto send = [&](const Bytes& f, uint16_t proto) {
    to.sll_protocol = htons(proto);
    return ::sendto(tx, f.data(), f.size(), 0, reinterpret_cast<sockaddr*>(&to), sizeof to) ==
           static_cast<ssize_t>(f.size());
  };

  // A burst that fills several blocks of the ring, with an IPv4 frame among
  // the LLDP frames (the filter drops it), and a tagged LLDPDU last.
  std::vector<Bytes> sent;
  for (uint16_t i = 0; i < 600; ++i) {
    sent.push_back(lldpFrame(i, 200 + (i * 37) % 1200));
    if (!send(sent.back(), 0x88CC)) return "send failed";
    if (i == 300) {
      Bytes ip = lldpFrame(i, 100);
      ip[12] = 0x08;
      ip[13] = 0x00;
      if (!send(ip, 0x0800)) return "send failed";
    }
  }
  Bytes tagged = lldpFrame(999, 250);
  const uint8_t tag[4] = {0x81, 0x00, 0x60, 0x05};  // priority 3, VLAN 5
  tagged.insert(tagged.begin() + 12, tag, tag + 4);
  if (!send(tagged, 0x8100)) return "send failed";
  sent.push_back(tagged);

  const std::vector<Received> got = receiveAll(fd);
  if (got.size() != sent.size())
    return "received " + std::to_string(got.size()) + " frames, sent " + std::to_string(sent.size());
  for (size_t i = 0; i < got.size(); ++i) {
    if (got[i].frame != sent[i]) return "frame " + std::to_string(i) + " differs from the one sent";
    if (got[i].unit != lo) return "frame " + std::to_string(i) + " names unit " + std::to_string(got[i].unit);
    if (got[i].aux.size() != 20) return "frame " + std::to_string(i) + " has no auxiliary data";
    uint32_t len = 0;
    std::memcpy(&len, got[i].aux.data() + 4, 4);
    if (len != sent[i].size()) return "frame " + std::to_string(i) + ": auxiliary length " + std::to_string(len);
  }
  uint32_t status = 0;
  uint16_t tci = 0;
  std::memcpy(&status, got.back().aux.data(), 4);
  std::memcpy(&tci, got.back().aux.data() + 16, 2);
  if (!(status & TP_STATUS_VLAN_VALID) || tci != 0x6005) return "the tag is not in the auxiliary data";
  std::memcpy(&status, got.front().aux.data(), 4);
  if (status & TP_STATUS_VLAN_VALID) return "an untagged frame reports a tag";

  // Nothing is left behind: a wait with nothing sent times out.
  ZorFdSet set;
  ZOR_FD_ZERO(&set);
  ZOR_FD_SET(fd, &set);
  ZorTimeval tv{0, 200000};
  if (zor_select(fd + 1, &set, nullptr, nullptr, &tv) != 0) return "the socket stays readable";
  // The ring goes round: bursts read one after the other pass through every
  // block several times, and each comes back whole and in order.
  for (int round = 0; round < 5; ++round) {
    for (uint16_t i = 0; i < 1000; ++i)
      if (!send(lldpFrame(i, 300), 0x88CC)) return "send failed";
    const std::vector<Received> again = receiveAll(fd);
    if (again.size() != 1000)
      return "round " + std::to_string(round) + ": " + std::to_string(again.size()) + " frames of 1000";
    for (size_t i = 0; i < again.size(); ++i)
      if (again[i].frame != lldpFrame(static_cast<uint16_t>(i), 300))
        return "round " + std::to_string(round) + ": frame " + std::to_string(i) + " differs";
  }
  ::close(tx);
  zor_close(fd);
  return "";
}

TEST(LinuxFrameSocket, BurstComesBackWholeInOrderWithItsTag) {
  int pipeFd[2];
  ASSERT_EQ(::pipe(pipeFd), 0);
  const pid_t pid = ::fork();
  ASSERT_GE(pid, 0);
  if (pid == 0) {
    ::close(pipeFd[0]);
    if (::unshare(CLONE_NEWNET) != 0 || !loopbackUp()) ::_exit(kSkip);
    const std::string why = ringScenario();
    (void)!::write(pipeFd[1], why.data(), why.size());
    ::_exit(why.empty() ? 0 : 1);
  }
  ::close(pipeFd[1]);
  std::string why;
  char buf[256];
  ssize_t n;
  while ((n = ::read(pipeFd[0], buf, sizeof buf)) > 0) why.append(buf, static_cast<size_t>(n));
  ::close(pipeFd[0]);
  int status = 0;
  ::waitpid(pid, &status, 0);
  if (WIFEXITED(status) && WEXITSTATUS(status) == kSkip) GTEST_SKIP() << "cannot make a network namespace here";
  EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << why;
  EXPECT_EQ(why, "");
}

}  // namespace
