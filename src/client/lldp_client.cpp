// The command-socket connection: connect, write requests, read replies.
//
// Requests go out through a non-blocking socket while replies are read as
// they come, so any number of requests can be in flight without either side
// blocking on a full socket buffer. Replies are decoded by the shared framing
// code, bounded by the bytes received.
#include "client/lldp_client.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <cstring>

namespace lldpc {

namespace {

std::string hexCode(uint32_t code) {
  char b[16];
  std::snprintf(b, sizeof b, "0x%X", code);
  return b;
}

}  // namespace

const char* resultName(uint32_t code) {
  switch (code) {
    case kOk:
      return "success";
    case kNoMemory:
      return "no room for the row";
    case kBadArgument:
      return "bad argument";
    case kNotSupported:
      return "TLV not supported on the port";
    case kNoSuchRow:
      return "no such row or end of walk";
    case kBufferTooSmall:
      return "buffer too small";
    case kUnknownObject:
      return "unknown object or operation";
    case kAgentDisabled:
      return "agent globally disabled";
    default:
      return "platform error";
  }
}

UnreachableError::UnreachableError(const std::string& path, int err)
    : Error("cannot reach the agent at " + path + ": " + std::strerror(err)), path_(path), errno_(err) {}

OperationError::OperationError(uint32_t op, uint32_t object, uint32_t code)
    : Error("operation " + std::to_string(op) + " object " + std::to_string(object) + ": " +
            resultName(code) + " (" + (code < 1000 ? std::to_string(code) : hexCode(code)) + ")"),
      op_(op),
      object_(object),
      code_(code) {}

CmdRequest intRequest(uint32_t op, uint32_t index, uint32_t object, uint32_t value, uint32_t len) {
  CmdRequest r;
  r.op = op;
  r.index = index;
  r.objId = object;
  r.value = value;
  r.len = len;
  return r;
}

CmdRequest bufGetRequest(uint32_t op, uint32_t index, uint32_t object, uint32_t capacity) {
  CmdRequest r = intRequest(op, index, object);
  r.flags = kCmdFlagBuffer;
  r.len = capacity;
  return r;
}

CmdRequest bufSetRequest(uint32_t op, uint32_t index, uint32_t object, std::vector<uint8_t> bytes) {
  CmdRequest r = intRequest(op, index, object);
  r.flags = kCmdFlagBuffer;
  r.len = static_cast<uint32_t>(bytes.size());
  r.data = std::move(bytes);
  return r;
}

CmdRequest withKey(CmdRequest req, std::vector<uint8_t> key) {
  req.flags |= kCmdFlagKey;
  req.key = std::move(key);
  return req;
}

std::vector<uint8_t> keyWords(std::initializer_list<uint32_t> words) {
  std::vector<uint8_t> k;
  for (uint32_t w : words) cmdAddU32(k, w);
  return k;
}

uint32_t keyWord(const std::vector<uint8_t>& key, size_t offset) {
  return offset + 4 <= key.size() ? cmdGetU32(key.data() + offset) : 0;
}

Client::Client(std::string path, ClientOptions opt) : path_(std::move(path)), opt_(opt) {}

Client::~Client() { close(); }

Client::Client(Client&& o) noexcept
    : path_(std::move(o.path_)), opt_(o.opt_), fd_(o.fd_), out_(std::move(o.out_)), in_(std::move(o.in_)) {
  o.fd_ = -1;
}

Client& Client::operator=(Client&& o) noexcept {
  if (this != &o) {
    close();
    path_ = std::move(o.path_);
    opt_ = o.opt_;
    fd_ = o.fd_;
    o.fd_ = -1;
    out_ = std::move(o.out_);
    in_ = std::move(o.in_);
  }
  return *this;
}

void Client::connect() {
  if (fd_ >= 0) return;
  sockaddr_un sa{};
  if (path_.empty() || path_.size() >= sizeof sa.sun_path) throw UnreachableError(path_, ENAMETOOLONG);
  sa.sun_family = AF_UNIX;
  std::memcpy(sa.sun_path, path_.c_str(), path_.size() + 1);
  const int fd = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
  if (fd < 0) throw UnreachableError(path_, errno);
  if (::connect(fd, reinterpret_cast<sockaddr*>(&sa), sizeof sa) < 0) {
    const int err = errno;
    ::close(fd);
    throw UnreachableError(path_, err);
  }
  // Non-blocking from here: every wait is a poll with the call's deadline.
  ::fcntl(fd, F_SETFL, ::fcntl(fd, F_GETFL) | O_NONBLOCK);
  fd_ = fd;
  in_.clear();
}

void Client::close() {
  if (fd_ >= 0) ::close(fd_);
  fd_ = -1;
  in_.clear();
}

int Client::release(std::vector<uint8_t>& pending) {
  pending.insert(pending.end(), in_.begin(), in_.end());
  in_.clear();
  const int fd = fd_;
  fd_ = -1;
  return fd;
}

void Client::fail(const std::string& what) {
  close();
  throw ConnectionError("agent at " + path_ + ": " + what);
}

CmdReply Client::call(const CmdRequest& req) {
  CmdReply reply;
  run(&req, 1, &reply);
  return reply;
}

std::vector<CmdReply> Client::callMany(const std::vector<CmdRequest>& reqs) {
  std::vector<CmdReply> out;
  callMany(reqs, out);
  return out;
}

void Client::callMany(const std::vector<CmdRequest>& reqs, std::vector<CmdReply>& out) {
  out.resize(reqs.size());
  run(reqs.data(), reqs.size(), out.data());
}

void Client::run(const CmdRequest* reqs, size_t n, CmdReply* out) {
  if (n == 0) return;
  const bool reused = fd_ >= 0;
  connect();
  bool wroteAny = false;
  try {
    exchange(reqs, n, out, &wroteAny);
  } catch (const ConnectionError&) {
    // The agent went away since the last call: nothing of this call reached
    // it, so it may be sent again on a new connection.
    if (!reused || wroteAny) throw;
    connect();
    exchange(reqs, n, out, &wroteAny);
  }
}

void Client::exchange(const CmdRequest* reqs, size_t count, CmdReply* out, bool* wroteAny) {
  // Every byte an agent sends answers a request: bytes left over from the
  // last call mean the two sides no longer agree where a reply starts.
  if (!in_.empty()) fail("bytes that answer no request");
  out_.clear();
  for (size_t i = 0; i < count; ++i) cmdAppendRequest(out_, reqs[i]);
  size_t sent = 0, done = 0;
  bool writable = true;  // try a write before the first wait
  const auto deadline = std::chrono::steady_clock::now() + std::chrono::milliseconds(opt_.timeoutMs);
  while (done < count) {
    if (writable && sent < out_.size()) {
      const ssize_t n = ::send(fd_, out_.data() + sent, out_.size() - sent, MSG_NOSIGNAL);
      if (n > 0) {
        sent += static_cast<size_t>(n);
        *wroteAny = true;
      } else if (n < 0 && errno != EAGAIN && errno != EINTR) {
        fail(std::string("send: ") + std::strerror(errno));
      }
    }
    const auto left =
        std::chrono::duration_cast<std::chrono::milliseconds>(deadline - std::chrono::steady_clock::now());
    if (left.count() <= 0) fail("no reply within " + std::to_string(opt_.timeoutMs) + " ms");
    pollfd p{fd_, static_cast<short>(POLLIN | (sent < out_.size() ? POLLOUT : 0)), 0};
    const int pr = ::poll(&p, 1, static_cast<int>(left.count()));
    if (pr < 0 && errno != EINTR) fail(std::string("poll: ") + std::strerror(errno));
    writable = pr > 0 && (p.revents & POLLOUT);
    if (pr <= 0 || !(p.revents & (POLLIN | POLLHUP | POLLERR))) continue;
    uint8_t chunk[32768];
    const ssize_t n = ::recv(fd_, chunk, sizeof chunk, 0);
    if (n == 0) fail("connection closed by the agent");
    if (n < 0 && errno != EAGAIN && errno != EINTR) fail(std::string("recv: ") + std::strerror(errno));
    if (n > 0) in_.insert(in_.end(), chunk, chunk + n);
    // Decode whatever complete replies are in.
    size_t used = 0;
    while (done < count) {
      const long k = cmdDecodeReply(in_.data() + used, in_.size() - used, reqs[done].flags, &out[done]);
      if (k < 0) fail("malformed reply to operation " + std::to_string(reqs[done].op));
      if (k == 0) break;
      used += static_cast<size_t>(k);
      ++done;
    }
    if (used) in_.erase(in_.begin(), in_.begin() + static_cast<long>(used));
  }
}

CmdReply Client::check(const CmdRequest& req) {
  CmdReply r = call(req);
  if (r.rc != kOk) throw OperationError(req.op, req.objId, r.rc);
  return r;
}

uint32_t Client::getInt(uint32_t op, uint32_t index, uint32_t object) {
  return check(intRequest(op, index, object)).value;
}

std::vector<uint8_t> Client::getBytes(uint32_t op, uint32_t index, uint32_t object, uint32_t capacity) {
  return check(bufGetRequest(op, index, object, capacity)).data;
}

Walk<std::vector<uint8_t>> keyWalk(Client& c, uint32_t firstOp, uint32_t nextOp, std::vector<uint8_t> seed) {
  WalkPlan s(firstOp, nextOp, std::move(seed));
  return Walk<std::vector<uint8_t>>(
      c, std::move(s), [](WalkStep& st) { return std::optional<std::vector<uint8_t>>(std::move(st.key)); });
}

}  // namespace lldpc
