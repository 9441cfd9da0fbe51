// OIDs, values, index codecs and the tree's dispatch.
#include "snmp/snmp_tree.h"

#include <cstdio>

namespace lldpsnmp {

Oid oidJoin(const Oid& base, std::initializer_list<uint32_t> more) {
  Oid o = base;
  o.insert(o.end(), more.begin(), more.end());
  return o;
}

Oid oidJoin(const Oid& base, const Oid& more) {
  Oid o = base;
  o.insert(o.end(), more.begin(), more.end());
  return o;
}

bool oidHasPrefix(const Oid& name, const Oid& prefix) {
  return name.size() >= prefix.size() && std::equal(prefix.begin(), prefix.end(), name.begin());
}

std::string oidStr(const Oid& o) {
  std::string s;
  for (size_t i = 0; i < o.size(); ++i) {
    if (i) s += '.';
    s += std::to_string(o[i]);
  }
  return s;
}

Value Value::integer(int32_t v) { return Value{Type::Integer, v, {}, {}}; }
Value Value::counter(uint32_t v) { return Value{Type::Counter32, v, {}, {}}; }
Value Value::gauge(uint32_t v) { return Value{Type::Gauge32, v, {}, {}}; }
Value Value::ticks(uint32_t v) { return Value{Type::TimeTicks, v, {}, {}}; }
Value Value::octets(std::vector<uint8_t> b) { return Value{Type::OctetString, 0, std::move(b), {}}; }
Value Value::octets(const std::string& s) { return octets(std::vector<uint8_t>(s.begin(), s.end())); }
Value Value::objectId(Oid o) { return Value{Type::ObjectId, 0, {}, std::move(o)}; }

const char* valueTypeName(Value::Type t) {
  switch (t) {
    case Value::Type::Integer:
      return "INTEGER";
    case Value::Type::Counter32:
      return "Counter32";
    case Value::Type::Gauge32:
      return "Gauge32";
    case Value::Type::TimeTicks:
      return "TimeTicks";
    case Value::Type::OctetString:
      return "OCTET STRING";
    case Value::Type::ObjectId:
      return "OBJECT IDENTIFIER";
  }
  return "?";
}

const char* setStatusName(SetStatus s) {
  switch (s) {
    case SetStatus::NoError:
      return "noError";
    case SetStatus::GenErr:
      return "genErr";
    case SetStatus::NoAccess:
      return "noAccess";
    case SetStatus::WrongType:
      return "wrongType";
    case SetStatus::WrongLength:
      return "wrongLength";
    case SetStatus::WrongValue:
      return "wrongValue";
    case SetStatus::NoCreation:
      return "noCreation";
    case SetStatus::InconsistentValue:
      return "inconsistentValue";
    case SetStatus::ResourceUnavailable:
      return "resourceUnavailable";
    case SetStatus::CommitFailed:
      return "commitFailed";
    case SetStatus::NotWritable:
      return "notWritable";
  }
  return "?";
}

IndexWriter& IndexWriter::u32(uint32_t v) {
  out_.push_back(v);
  return *this;
}

IndexWriter& IndexWriter::octets(std::span<const uint8_t> b) {
  out_.push_back(static_cast<uint32_t>(b.size()));
  return fixedOctets(b);
}

IndexWriter& IndexWriter::fixedOctets(std::span<const uint8_t> b) {
  for (uint8_t x : b) out_.push_back(x);
  return *this;
}

SetStatus checkValue(Value::Type type, int64_t min, int64_t max, const Value& v) {
  if (v.type != type) return SetStatus::WrongType;
  if (type == Value::Type::OctetString) {
    const auto n = static_cast<int64_t>(v.bytes.size());
    return n < min || n > max ? SetStatus::WrongLength : SetStatus::NoError;
  }
  if (type == Value::Type::ObjectId) return SetStatus::NoError;
  return v.num < min || v.num > max ? SetStatus::WrongValue : SetStatus::NoError;
}

void MibTree::add(std::unique_ptr<Node> n) {
  auto at = std::lower_bound(nodes_.begin(), nodes_.end(), n->base(),
                             [](const std::unique_ptr<Node>& a, const Oid& b) { return a->base() < b; });
  nodes_.insert(at, std::move(n));
}

Node* MibTree::owner(const Oid& name) {
  // The node whose base is the greatest one not above the name, if it is a
  // prefix of the name.
  auto at = std::upper_bound(nodes_.begin(), nodes_.end(), name,
                             [](const Oid& a, const std::unique_ptr<Node>& b) { return a < b->base(); });
  if (at == nodes_.begin()) return nullptr;
  Node* n = std::prev(at)->get();
  return oidHasPrefix(name, n->base()) ? n : nullptr;
}

GetResult MibTree::get(const Oid& name) {
  Node* n = owner(name);
  return n ? n->get(name) : GetResult::of(GetResult::Status::NoSuchObject);
}

std::optional<VarBind> MibTree::next(const Oid& name) {
  // Start with the node that holds the name, or the first one after it.
  auto at = std::upper_bound(nodes_.begin(), nodes_.end(), name,
                             [](const Oid& a, const std::unique_ptr<Node>& b) { return a < b->base(); });
  if (at != nodes_.begin() && oidHasPrefix(name, (*std::prev(at))->base())) --at;
  for (; at != nodes_.end(); ++at)
    if (auto vb = (*at)->next(name)) return vb;
  return std::nullopt;
}

SetStatus MibTree::check(const Oid& name, const Value& v) {
  Node* n = owner(name);
  return n ? n->check(name, v) : SetStatus::NotWritable;
}

SetStatus MibTree::apply(const Oid& name, const Value& v) {
  Node* n = owner(name);
  return n ? n->apply(name, v) : SetStatus::NotWritable;
}

std::vector<VarBind> MibTree::walk(const Oid& from) {
  std::vector<VarBind> out;
  Oid cur = from;
  while (auto vb = next(cur)) {
    cur = vb->name;
    out.push_back(std::move(*vb));
  }
  return out;
}

}  // namespace lldpsnmp
