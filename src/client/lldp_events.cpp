// The event stream: subscribe, read events through the shared decoder,
// reopen a lost stream.
#include "client/lldp_events.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <thread>

namespace lldpc {

namespace {

uint32_t be32(const uint8_t* p) {
  return static_cast<uint32_t>(p[0]) << 24 | static_cast<uint32_t>(p[1]) << 16 |
         static_cast<uint32_t>(p[2]) << 8 | p[3];
}

constexpr size_t kRemoteChangeLen = 56;
constexpr size_t kMedTrapWords = 7;

}  // namespace

bool decodeRemoteChange(const std::vector<uint8_t>& m, RemoteChange* out) {
  if (m.size() != kRemoteChangeLen || be32(m.data()) != kRemoteChangeLen) return false;
  const uint8_t* r = m.data() + 24;
  out->type = static_cast<uint16_t>(m[4] << 8 | m[5]);
  out->index = RemoteIndex{be32(r), be32(r + 4), be32(r + 8), be32(r + 12)};
  std::memcpy(out->sysCapEnabled, r + 16, 2);
  std::memcpy(out->dot1Tlvs, r + 18, 2);
  std::memcpy(out->dot3Tlvs, r + 20, 2);
  std::memcpy(out->medTlvs, r + 22, 2);
  std::memcpy(out->privTlvs, r + 24, 2);
  return true;
}

bool decodeMedTrap(const std::vector<uint8_t>& p, MedTrap* out) {
  if (p.size() < kMedTrapWords * 4) return false;
  uint32_t w[kMedTrapWords];
  for (size_t i = 0; i < kMedTrapWords; ++i) w[i] = cmdGetU32(p.data() + 4 * i);
  if (w[5] != p.size() - kMedTrapWords * 4) return false;  // the chassis ID's length
  out->index = RemoteIndex{w[0], w[1], w[2], w[3]};
  out->chassisIdSubtype = w[4];
  out->medDeviceType = w[6];
  out->chassisId.assign(p.begin() + kMedTrapWords * 4, p.end());
  return true;
}

EventStream::EventStream(std::string path, EventStreamOptions opt) : path_(std::move(path)), opt_(opt) {}

EventStream::~EventStream() { close(); }

void EventStream::close() {
  if (fd_ >= 0) ::close(fd_);
  fd_ = -1;
  in_.clear();
}

void EventStream::open() {
  close();
  // The subscription is an ordinary request whose reply is a bare header;
  // after it the connection carries events only.
  Client c(path_);
  c.connect();
  const CmdReply r = c.call(intRequest(kCmdOpSubscribe, 0, 0));
  if (r.rc != kOk) throw OperationError(kCmdOpSubscribe, 0, r.rc);
  // Take the connection over, with any events that came in behind the reply.
  fd_ = c.release(in_);
}

bool EventStream::tryOpen() {
  try {
    open();
    return true;
  } catch (const Error&) {
    return false;
  }
}

std::optional<Event> EventStream::decodeOne() {
  CmdEvent ev;
  const long n = cmdDecodeEvent(in_.data(), in_.size(), &ev);
  if (n == 0) return std::nullopt;
  if (n < 0) {
    close();
    lost_ = true;
    if (!opt_.reconnect) throw ConnectionError("agent at " + path_ + ": malformed event");
    return std::nullopt;
  }
  in_.erase(in_.begin(), in_.begin() + n);
  Event e;
  e.kind = static_cast<Event::Kind>(ev.kind);
  e.arg = ev.arg;
  e.payload = std::move(ev.payload);
  RemoteChange rc;
  if (ev.kind == kCmdEventGroup && ev.arg == kRemoteChangeGroup && decodeRemoteChange(e.payload, &rc))
    e.change = rc;
  MedTrap mt;
  if (ev.kind == kCmdEventMedTrap && decodeMedTrap(e.payload, &mt)) e.medTrap = std::move(mt);
  return e;
}

std::optional<Event> EventStream::next(std::chrono::milliseconds timeout) {
  const auto deadline = std::chrono::steady_clock::now() + timeout;
  for (;;) {
    if (fd_ < 0) {
      if (!lost_) {
        open();  // the first opening reports its failure
      } else if (!opt_.reconnect) {
        throw ConnectionError("agent at " + path_ + ": event stream lost");
      } else if (tryOpen()) {
        lost_ = false;
        Event e;
        e.kind = Event::Kind::Resumed;
        return e;
      }
    }
    if (fd_ >= 0) {
      if (auto e = decodeOne()) return e;
    }
    const auto left =
        std::chrono::duration_cast<std::chrono::milliseconds>(deadline - std::chrono::steady_clock::now());
    if (left.count() <= 0) return std::nullopt;
    if (fd_ < 0) {
      std::this_thread::sleep_for(std::min(left, std::chrono::milliseconds(opt_.retryMs)));
      continue;
    }
    pollfd p{fd_, POLLIN, 0};
    const int pr = ::poll(&p, 1, static_cast<int>(left.count()));
    if (pr < 0 && errno != EINTR) throw ConnectionError(std::string("poll: ") + std::strerror(errno));
    if (pr <= 0) continue;
    uint8_t chunk[8192];
    const ssize_t n = ::recv(fd_, chunk, sizeof chunk, 0);
    if (n > 0) {
      in_.insert(in_.end(), chunk, chunk + n);
    } else if (n == 0 || (errno != EAGAIN && errno != EINTR)) {
      close();
      lost_ = true;
      if (!opt_.reconnect) throw ConnectionError("agent at " + path_ + ": event stream closed");
    }
  }
}

}  // namespace lldpc
