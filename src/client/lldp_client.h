// The client library of the agent's command socket: what lldpctl and every
// other tool of the project use to reach a running agent. It sits outside the
// agent and talks to it over the Unix socket only; the framing is the shared
// one (platform/common/cmdframe.h), so no tool writes those bytes itself.
//
//   Client c("/tmp/lldpcmd.socket");
//   CmdReply r = c.call(intRequest(1, 0, 2));          // one raw operation
//   for (uint32_t unit : c.ports()) ...                 // a walk (lldp_objects.h)
//   EventStream ev(path); ev.next(1s);                  // the event stream (lldp_events.h)
//
// Errors are exceptions, in two families that a tool treats differently:
//   - the agent cannot be reached, or the connection broke or carried bytes
//     that are not a reply (UnreachableError, ConnectionError);
//   - an operation answered a result code other than success
//     (OperationError; raw calls return the code instead of throwing).
//
// A Client is one connection, used by one thread at a time.
#pragma once

#include <cstdint>
#include <functional>
#include <iterator>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

#include "platform/common/cmdframe.h"

namespace lldpc {

constexpr const char* kDefaultSocket = "/tmp/lldpcmd.socket";

// Result codes of the operations (docs/management.md).
constexpr uint32_t kOk = 0;
constexpr uint32_t kNoMemory = 12;
constexpr uint32_t kBadArgument = 22;
constexpr uint32_t kNotSupported = 89;
constexpr uint32_t kNoSuchRow = 0x3E80002;  // also the end of a walk
constexpr uint32_t kBufferTooSmall = 0x3E8000D;
constexpr uint32_t kUnknownObject = 0x3E80010;
constexpr uint32_t kAgentDisabled = 0x3E80036;
// A short text for a result code ("no such row or end of walk"...); codes
// passed through from a platform call get "platform error".
const char* resultName(uint32_t code);

class Error : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

// No agent answers at the socket's path (no such file, refused, no
// permission, a path too long).
class UnreachableError : public Error {
 public:
  UnreachableError(const std::string& path, int err);
  const std::string& path() const { return path_; }
  int errnum() const { return errno_; }

 private:
  std::string path_;
  int errno_;
};

// The connection broke, timed out, or the agent answered bytes that are not a
// reply to the request (the agent also closes the connection on a request it
// finds malformed).
class ConnectionError : public Error {
 public:
  using Error::Error;
};

// A typed call's operation answered a result code other than success.
class OperationError : public Error {
 public:
  OperationError(uint32_t op, uint32_t object, uint32_t code);
  uint32_t op() const { return op_; }
  uint32_t object() const { return object_; }
  uint32_t code() const { return code_; }

 private:
  uint32_t op_, object_, code_;
};

// Request builders. An integer request carries `value` (word 0) and `len`
// (word 1); a buffer Get asks for `capacity` bytes; a buffer Set supplies
// `bytes`. withKey adds a key block (raw bytes of the operation's key record).
CmdRequest intRequest(uint32_t op, uint32_t index, uint32_t object, uint32_t value = 0, uint32_t len = 0);
CmdRequest bufGetRequest(uint32_t op, uint32_t index, uint32_t object, uint32_t capacity);
CmdRequest bufSetRequest(uint32_t op, uint32_t index, uint32_t object, std::vector<uint8_t> bytes);
CmdRequest withKey(CmdRequest req, std::vector<uint8_t> key);

struct ClientOptions {
  // Longest wait for a reply (and for the socket to take a request), in ms.
  int timeoutMs = 5000;
};

class Client {
 public:
  explicit Client(std::string path = kDefaultSocket, ClientOptions opt = {});
  ~Client();
  Client(Client&& other) noexcept;
  Client& operator=(Client&& other) noexcept;
  Client(const Client&) = delete;
  Client& operator=(const Client&) = delete;

  const std::string& path() const { return path_; }
  // Connects now (calls connect on their own when needed). Throws
  // UnreachableError.
  void connect();
  void close();
  bool connected() const { return fd_ >= 0; }
  // Hands the connection over (the event stream takes it after subscribing):
  // returns the socket, appends bytes read past the last reply to `pending`
  // and forgets both.
  int release(std::vector<uint8_t>& pending);

  // One request, one reply, whatever its result code. When the connection
  // had gone stale (the agent restarted since the last call) and the request
  // could not be written at all, it is written once more on a fresh
  // connection; a request that may have reached the agent is never repeated.
  // Throws UnreachableError or ConnectionError.
  CmdReply call(const CmdRequest& req);
  // Several requests written back to back, their replies read in order (one
  // round trip however many; the socket's buffers never fill up, since
  // replies are read while requests are written). out gets one reply per
  // request.
  void callMany(const std::vector<CmdRequest>& reqs, std::vector<CmdReply>& out);
  std::vector<CmdReply> callMany(const std::vector<CmdRequest>& reqs);

  // Typed helpers of the calls above: the reply when its code is success,
  // else OperationError.
  CmdReply check(const CmdRequest& req);
  uint32_t getInt(uint32_t op, uint32_t index, uint32_t object);
  std::vector<uint8_t> getBytes(uint32_t op, uint32_t index, uint32_t object, uint32_t capacity = 512);

 private:
  void run(const CmdRequest* reqs, size_t n, CmdReply* out);
  void exchange(const CmdRequest* reqs, size_t n, CmdReply* out, bool* wroteAny);
  void fail(const std::string& what);

  std::string path_;
  ClientOptions opt_;
  int fd_ = -1;
  std::vector<uint8_t> out_;  // requests being written
  std::vector<uint8_t> in_;   // bytes read and not yet decoded
};

// A walk of a table: its GetFirst operation, then its GetNext operation with
// the key record the previous step returned, until the end of the table
// (0x3E80002). Each step can carry further requests for the same key (the
// Gets of the row's fields), sent in the same round trip as the GetNext, so
// that a walk that gathers k fields per row costs one round trip per row.
//
//   for (const auto& row : Walk<Row>(client, plan)) ...
//
// A result code other than success or the end stops the walk with
// OperationError; a GetNext that does not move on (the same key again) stops
// it with ConnectionError, so that a walk always ends.
struct WalkStep {
  std::vector<uint8_t> key;       // the row's key record
  std::vector<CmdReply> replies;  // the replies to the extra requests
};

struct WalkPlan {
  using Extra = std::function<void(const std::vector<uint8_t>& key, std::vector<CmdRequest>& out)>;
  WalkPlan(uint32_t first, uint32_t next, std::vector<uint8_t> seedKey = {}, Extra extraRequests = {})
      : firstOp(first), nextOp(next), seed(std::move(seedKey)), extra(std::move(extraRequests)) {}

  uint32_t firstOp;
  uint32_t nextOp;
  std::vector<uint8_t> seed;  // GetFirst's key record (e.g. a filter word), may be empty
  // The further requests for one row's key; may be empty.
  Extra extra;
  // When set, the walk ends at the first key outside (a part of a table,
  // such as one neighbour's entries of a list).
  std::function<bool(const std::vector<uint8_t>& key)> within;
};

template <class T>
class Walk {
 public:
  // Turns one step into a row; nullopt skips it (e.g. the row vanished
  // between the GetNext that found it and the Gets of its fields).
  using Make = std::function<std::optional<T>(WalkStep& step)>;

  Walk(Client& c, WalkPlan plan, Make make) : c_(&c), plan_(std::move(plan)), make_(std::move(make)) {}

  class iterator {
   public:
    using iterator_category = std::input_iterator_tag;
    using value_type = T;
    using difference_type = std::ptrdiff_t;
    using pointer = const T*;
    using reference = const T&;

    iterator() = default;
    const T& operator*() const { return *w_->cur_; }
    const T* operator->() const { return &*w_->cur_; }
    iterator& operator++() {
      w_->advance();
      return *this;
    }
    void operator++(int) { w_->advance(); }
    bool operator==(std::default_sentinel_t) const { return !w_ || !w_->cur_; }

   private:
    friend class Walk;
    explicit iterator(Walk* w) : w_(w) {}
    Walk* w_ = nullptr;
  };

  // Starts (or restarts) the walk with its GetFirst.
  iterator begin() {
    cur_.reset();
    pending_.reset();
    const CmdReply r = c_->call(withKey(intRequest(plan_.firstOp, 0, 0), plan_.seed));
    if (r.rc == kOk) {
      if (!plan_.within || plan_.within(r.key)) pending_ = r.key;
    } else if (r.rc != kNoSuchRow) {
      throw OperationError(plan_.firstOp, 0, r.rc);
    }
    advance();
    return iterator(this);
  }
  std::default_sentinel_t end() { return {}; }

  // Every row at once.
  std::vector<T> all() {
    std::vector<T> out;
    for (auto it = begin(); it != end(); ++it) out.push_back(std::move(*cur_));
    return out;
  }

 private:
  // Materialises the row of the pending key (its extra requests and the
  // GetNext in one round trip), skipping rows that make_ drops.
  void advance() {
    cur_.reset();
    while (pending_ && !cur_) {
      WalkStep step;
      step.key = std::move(*pending_);
      pending_.reset();
      reqs_.clear();
      if (plan_.extra) plan_.extra(step.key, reqs_);
      const size_t extras = reqs_.size();
      reqs_.push_back(withKey(intRequest(plan_.nextOp, 0, 0), step.key));
      c_->callMany(reqs_, replies_);
      const CmdReply& next = replies_.back();
      if (next.rc == kOk) {
        if (next.key == step.key)
          throw ConnectionError("walk of operation " + std::to_string(plan_.nextOp) + " did not move on");
        if (!plan_.within || plan_.within(next.key)) pending_ = next.key;
      } else if (next.rc != kNoSuchRow) {
        throw OperationError(plan_.nextOp, 0, next.rc);
      }
      step.replies.assign(std::make_move_iterator(replies_.begin()),
                          std::make_move_iterator(replies_.begin() + static_cast<long>(extras)));
      cur_ = make_(step);
    }
  }

  Client* c_;
  WalkPlan plan_;
  Make make_;
  std::optional<std::vector<uint8_t>> pending_;  // the next row's key, none at the end
  std::optional<T> cur_;
  std::vector<CmdRequest> reqs_;
  std::vector<CmdReply> replies_;
};

// A walk that yields the raw key records.
Walk<std::vector<uint8_t>> keyWalk(Client& c, uint32_t firstOp, uint32_t nextOp,
                                   std::vector<uint8_t> seed = {});

// Host-order words of a key record (the layouts of docs/management.md).
std::vector<uint8_t> keyWords(std::initializer_list<uint32_t> words);
uint32_t keyWord(const std::vector<uint8_t>& key, size_t offset);

}  // namespace lldpc
