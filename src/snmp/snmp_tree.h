// A MIB as a tree of nodes that answer Get, GetNext and Set in
// lexicographic OID order, free of any SNMP library: lldp-snmp's net-snmp
// glue hands each varbind of a request to a MibTree, and the tests drive
// the same tree directly.
//
// A node is one subtree: a scalar (instance base.0) or a table (entries
// base.1.column.index). Nodes never overlap; the tree keeps them sorted by
// base OID, so a GetNext visits them in order and asks each for its first
// instance after the name. A table keeps its rows sorted by their index OID
// (not by the order its source listed them) and walks column by column.
//
// Rows come from a section of data (a shared_ptr held while a table uses
// it): a source that refreshes its sections between two requests of a walk
// only changes what the next GetNext sees, and a GetNext from a row that has
// gone simply continues with the next greater index.
#pragma once

#include <algorithm>
#include <cstdint>
#include <functional>
#include <initializer_list>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <utility>
#include <vector>

namespace lldpsnmp {

using Oid = std::vector<uint32_t>;

// base followed by more sub-identifiers.
Oid oidJoin(const Oid& base, std::initializer_list<uint32_t> more);
Oid oidJoin(const Oid& base, const Oid& more);
bool oidHasPrefix(const Oid& name, const Oid& prefix);
std::string oidStr(const Oid& o);  // "1.0.8802.1.1.2"

struct Value {
  enum class Type : uint8_t { Integer, Counter32, Gauge32, TimeTicks, OctetString, ObjectId };
  Type type = Type::Integer;
  int64_t num = 0;  // Integer: a signed 32-bit value; the others: unsigned 32-bit
  std::vector<uint8_t> bytes;
  Oid oid;

  static Value integer(int32_t v);
  static Value counter(uint32_t v);
  static Value gauge(uint32_t v);
  static Value ticks(uint32_t v);
  static Value octets(std::vector<uint8_t> b);
  static Value octets(const std::string& s);
  static Value objectId(Oid o);
  bool operator==(const Value&) const = default;
};
const char* valueTypeName(Value::Type t);

struct VarBind {
  Oid name;
  Value value;
  bool operator==(const VarBind&) const = default;
};

// Index sub-identifiers as SMIv2 writes them: an integer is one
// sub-identifier; an octet string is its length and then one sub-identifier
// per octet, or the octets alone where the index has a fixed size. Indexes
// are only ever written: a request's OID finds its row by comparison with
// the rows' written indexes, so nothing of a request is decoded.
class IndexWriter {
 public:
  explicit IndexWriter(Oid& out) : out_(out) {}
  IndexWriter& u32(uint32_t v);
  IndexWriter& octets(std::span<const uint8_t> b);       // length-prefixed
  IndexWriter& fixedOctets(std::span<const uint8_t> b);  // fixed size, no length

 private:
  Oid& out_;
};

// SNMP error statuses a Set can end with (RFC 3416 numbering).
enum class SetStatus : uint8_t {
  NoError = 0,
  GenErr = 5,
  NoAccess = 6,
  WrongType = 7,
  WrongLength = 8,
  WrongValue = 10,
  NoCreation = 11,
  InconsistentValue = 12,
  ResourceUnavailable = 13,
  CommitFailed = 14,
  NotWritable = 17,
};
const char* setStatusName(SetStatus s);

struct GetResult {
  enum class Status : uint8_t { Ok, NoSuchObject, NoSuchInstance, Unavailable };
  Status status = Status::NoSuchObject;
  Value value;
  static GetResult ok(Value v) { return {Status::Ok, std::move(v)}; }
  static GetResult of(Status s) { return {s, {}}; }
};

// What a writable object accepts: its type and the range of an integer (or
// of an octet string's length), and how the change is made.
template <class Row>
struct Writable {
  Value::Type type = Value::Type::Integer;
  int64_t min = 0, max = 0;
  std::function<SetStatus(const Row&, const Value&)> apply;
  // Further values refused (wrongValue) beyond the type and the range, such
  // as BITS past the named ones; none: every value in range.
  std::function<bool(const Value&)> accepts = {};
};

// Checks a value against a Writable's type, range and own rule.
SetStatus checkValue(Value::Type type, int64_t min, int64_t max, const Value& v);
template <class Row>
SetStatus checkWritable(const Writable<Row>& w, const Value& v) {
  const SetStatus st = checkValue(w.type, w.min, w.max, v);
  if (st != SetStatus::NoError) return st;
  return w.accepts && !w.accepts(v) ? SetStatus::WrongValue : SetStatus::NoError;
}

class Node {
 public:
  explicit Node(Oid base) : base_(std::move(base)) {}
  virtual ~Node() = default;
  const Oid& base() const { return base_; }

  virtual GetResult get(const Oid& name) = 0;
  // The first instance of this subtree whose name is greater than `name`
  // (any name: before, inside or after the subtree).
  virtual std::optional<VarBind> next(const Oid& name) = 0;
  // A Set in two steps: check says whether it may be done (type, range, row)
  // and changes nothing; apply does it.
  virtual SetStatus check(const Oid&, const Value&) { return SetStatus::NotWritable; }
  virtual SetStatus apply(const Oid&, const Value&) { return SetStatus::NotWritable; }

 protected:
  Oid base_;
};

// A scalar over a section of data S: instance base.0. The getter's nullopt
// means the object has no value now (no instance); a missing section means
// the data cannot be had (Unavailable).
template <class S>
class Scalar : public Node {
 public:
  using Section = std::function<std::shared_ptr<const S>()>;
  using Getter = std::function<std::optional<Value>(const S&)>;
  Scalar(Oid base, Section section, Getter get, std::optional<Writable<S>> write = std::nullopt)
      : Node(std::move(base)), section_(std::move(section)), get_(std::move(get)), write_(std::move(write)) {}

  GetResult get(const Oid& name) override {
    if (name.size() != base_.size() + 1 || name.back() != 0 || !oidHasPrefix(name, base_))
      return GetResult::of(oidHasPrefix(name, base_) ? GetResult::Status::NoSuchInstance
                                                     : GetResult::Status::NoSuchObject);
    auto s = section_();
    if (!s) return GetResult::of(GetResult::Status::Unavailable);
    auto v = get_(*s);
    return v ? GetResult::ok(std::move(*v)) : GetResult::of(GetResult::Status::NoSuchInstance);
  }
  std::optional<VarBind> next(const Oid& name) override {
    Oid inst = oidJoin(base_, {0});
    if (!(name < inst)) return std::nullopt;
    auto s = section_();
    if (!s) return std::nullopt;
    auto v = get_(*s);
    if (!v) return std::nullopt;
    return VarBind{std::move(inst), std::move(*v)};
  }
  SetStatus check(const Oid& name, const Value& v) override {
    if (!write_) return SetStatus::NotWritable;
    if (name != oidJoin(base_, {0})) return SetStatus::NoCreation;
    const SetStatus st = checkWritable(*write_, v);
    if (st != SetStatus::NoError) return st;
    return section_() ? SetStatus::NoError : SetStatus::ResourceUnavailable;
  }
  SetStatus apply(const Oid& name, const Value& v) override {
    const SetStatus st = check(name, v);
    if (st != SetStatus::NoError) return st;
    auto s = section_();
    return s ? write_->apply(*s, v) : SetStatus::ResourceUnavailable;
  }

 private:
  Section section_;
  Getter get_;
  std::optional<Writable<S>> write_;
};

// A conceptual table over a section S whose rows are of type Row: entry
// base.1, columns base.1.c, instances base.1.c.index.
template <class S, class Row>
class Table : public Node {
 public:
  using Section = std::function<std::shared_ptr<const S>()>;
  // Lists the section's rows with their index OIDs, in any order. Where two
  // rows give one index, the first listed is the one served.
  using Rows = std::function<void(const S&, std::vector<std::pair<Oid, const Row*>>&)>;
  struct Column {
    using Getter = std::function<std::optional<Value>(const Row&)>;  // nullopt: no value in this row
    Column(uint32_t i, Getter g) : id(i), get(std::move(g)) {}
    Column(uint32_t i, Getter g, Writable<Row> w) : id(i), get(std::move(g)), write(std::move(w)) {}
    uint32_t id;
    Getter get;
    std::optional<Writable<Row>> write;  // none: read-only
  };

  Table(Oid base, Section section, Rows rows, std::vector<Column> columns)
      : Node(std::move(base)), section_(std::move(section)), rows_(std::move(rows)), columns_(std::move(columns)) {
    std::sort(columns_.begin(), columns_.end(), [](const Column& a, const Column& b) { return a.id < b.id; });
  }

  GetResult get(const Oid& name) override {
    const Column* col = nullptr;
    Oid index;
    if (!split(name, &col, &index)) return GetResult::of(GetResult::Status::NoSuchObject);
    if (!refresh()) return GetResult::of(GetResult::Status::Unavailable);
    const Row* row = find(index);
    if (!row) return GetResult::of(GetResult::Status::NoSuchInstance);
    auto v = col->get(*row);
    return v ? GetResult::ok(std::move(*v)) : GetResult::of(GetResult::Status::NoSuchInstance);
  }

  std::optional<VarBind> next(const Oid& name) override {
    const Oid entry = oidJoin(base_, {1});
    size_t c = 0;                // first column to look at
    const Oid* after = nullptr;  // within that column, rows after this index
    Oid index;
    if (oidHasPrefix(name, entry)) {
      if (name.size() > entry.size()) {
        const uint32_t want = name[entry.size()];
        while (c < columns_.size() && columns_[c].id < want) ++c;
        if (c < columns_.size() && columns_[c].id == want) {
          index.assign(name.begin() + static_cast<long>(entry.size()) + 1, name.end());
          after = &index;
        }
      }
    } else if (!(name < entry)) {
      return std::nullopt;  // past the entry: nothing here
    }
    if (!refresh()) return std::nullopt;
    for (; c < columns_.size(); ++c, after = nullptr) {
      auto it = after ? std::upper_bound(sorted_.begin(), sorted_.end(), *after,
                                         [](const Oid& k, const auto& r) { return k < r.first; })
                      : sorted_.begin();
      for (; it != sorted_.end(); ++it) {
        if (auto v = columns_[c].get(*it->second))
          return VarBind{oidJoin(oidJoin(entry, {columns_[c].id}), it->first), std::move(*v)};
      }
    }
    return std::nullopt;
  }

  SetStatus check(const Oid& name, const Value& v) override {
    const Column* col = nullptr;
    const Row* row = nullptr;
    return prepare(name, v, &col, &row);
  }

  SetStatus apply(const Oid& name, const Value& v) override {
    const Column* col = nullptr;
    const Row* row = nullptr;
    const SetStatus st = prepare(name, v, &col, &row);
    if (st != SetStatus::NoError || !col || !row) return st;
    return col->write->apply(*row, v);
  }

  // The rows in index order (for tests and for whoever needs the indexes).
  std::vector<Oid> indexes() {
    std::vector<Oid> out;
    if (refresh())
      for (const auto& r : sorted_) out.push_back(r.first);
    return out;
  }

 private:
  // base.1.column.index -> the column and the index.
  bool split(const Oid& name, const Column** col, Oid* index) const {
    const size_t n = base_.size();
    if (name.size() < n + 3 || !oidHasPrefix(name, base_) || name[n] != 1) return false;
    for (const Column& c : columns_)
      if (c.id == name[n + 1]) {
        *col = &c;
        index->assign(name.begin() + static_cast<long>(n) + 2, name.end());
        return true;
      }
    return false;
  }
  // The column and row a Set changes, once the value fits the column.
  SetStatus prepare(const Oid& name, const Value& v, const Column** col, const Row** row) {
    Oid index;
    if (!split(name, col, &index) || !(*col)->write) return SetStatus::NotWritable;
    const SetStatus st = checkWritable(*(*col)->write, v);
    if (st != SetStatus::NoError) return st;
    if (!refresh()) return SetStatus::ResourceUnavailable;
    *row = find(index);
    return *row ? SetStatus::NoError : SetStatus::NoCreation;
  }
  // Takes the section's current data, re-sorting when it changed.
  bool refresh() {
    std::shared_ptr<const S> s = section_();
    if (!s) return false;
    if (s != held_) {
      held_ = std::move(s);
      sorted_.clear();
      rows_(*held_, sorted_);
      std::stable_sort(sorted_.begin(), sorted_.end(), [](const auto& a, const auto& b) { return a.first < b.first; });
      sorted_.erase(
          std::unique(sorted_.begin(), sorted_.end(), [](const auto& a, const auto& b) { return a.first == b.first; }),
          sorted_.end());
    }
    return true;
  }
  const Row* find(const Oid& index) const {
    auto it = std::lower_bound(sorted_.begin(), sorted_.end(), index,
                               [](const auto& r, const Oid& k) { return r.first < k; });
    return it != sorted_.end() && it->first == index ? it->second : nullptr;
  }

  Section section_;
  Rows rows_;
  std::vector<Column> columns_;
  std::shared_ptr<const S> held_;
  std::vector<std::pair<Oid, const Row*>> sorted_;
};

// The nodes of one MIB view, sorted by base.
class MibTree {
 public:
  // Adds a node; its subtree must not overlap another's.
  void add(std::unique_ptr<Node> n);
  GetResult get(const Oid& name);
  std::optional<VarBind> next(const Oid& name);
  SetStatus check(const Oid& name, const Value& v);
  SetStatus apply(const Oid& name, const Value& v);
  // Every instance in order, from `from` on (a whole walk, for tests and
  // benchmarks).
  std::vector<VarBind> walk(const Oid& from = {});
  size_t size() const { return nodes_.size(); }

 private:
  Node* owner(const Oid& name);
  std::vector<std::unique_ptr<Node>> nodes_;
};

}  // namespace lldpsnmp
