// The tree's mechanics on a small table and scalars of its own: index
// sub-identifiers, GetNext in lexicographic order (columns, then rows by
// index, whatever order the rows came in), cells and sections that are
// missing, rows that go away between two requests, Set checks.
#include "snmp/snmp_tree.h"

#include <gtest/gtest.h>

#include "snmp/snmp_testutil.h"

using namespace lldpsnmp;

namespace {

TEST(SnmpIndex, WritesSmiIndexes) {
  Oid o;
  const uint8_t four[] = {10, 0, 0, 1};
  const uint8_t oui[] = {0x00, 0x12, 0xBB};
  IndexWriter(o).u32(7).octets(four).fixedOctets(oui).u32(0xFFFFFFFF).octets({});
  EXPECT_EQ(o, (Oid{7, 4, 10, 0, 0, 1, 0x00, 0x12, 0xBB, 0xFFFFFFFF, 0}));
}

struct Row {
  uint32_t key;
  std::string name;
  std::optional<uint32_t> extra;  // a cell that some rows lack
};
struct Rows {
  std::vector<Row> rows;
};

const Oid kBase = {1, 3, 6, 1, 4, 1, 99999, 1};

// A scalar at kBase.1, a table at kBase.2 (columns 2 and 4; rows keyed by
// the length-prefixed name, then `key`) and a scalar at kBase.3.
struct Fixture {
  std::shared_ptr<const Rows> data = std::make_shared<Rows>();
  bool available = true;
  std::vector<std::pair<uint32_t, std::string>> sets;
  MibTree tree;

  Fixture() {
    auto sec = [this]() { return available ? data : nullptr; };
    tree.add(std::make_unique<Scalar<Rows>>(oidJoin(kBase, {3}), sec, [](const Rows& r) {
      return std::optional(Value::gauge(static_cast<uint32_t>(r.rows.size())));
    }));
    Writable<Rows> w{Value::Type::Integer, 1, 10, [this](const Rows&, const Value& v) {
                       sets.emplace_back(0, std::to_string(v.num));
                       return SetStatus::NoError;
                     }};
    tree.add(std::make_unique<Scalar<Rows>>(
        oidJoin(kBase, {1}), sec, [](const Rows&) { return std::optional(Value::integer(5)); }, w));
    using Tbl = Table<Rows, Row>;
    tree.add(std::make_unique<Tbl>(
        oidJoin(kBase, {2}), sec,
        [](const Rows& r, std::vector<std::pair<Oid, const Row*>>& out) {
          for (const Row& x : r.rows) {
            Oid o;
            IndexWriter(o).octets(std::vector<uint8_t>(x.name.begin(), x.name.end())).u32(x.key);
            out.emplace_back(std::move(o), &x);
          }
        },
        std::vector<Tbl::Column>{
            {4,
             [](const Row& x) -> std::optional<Value> {
               if (!x.extra) return std::nullopt;
               return Value::counter(*x.extra);
             }},
            {2, [](const Row& x) { return std::optional(Value::octets(x.name)); },
             Writable<Row>{Value::Type::OctetString, 1, 4,
                           [this](const Row& x, const Value& v) {
                             sets.emplace_back(x.key, std::string(v.bytes.begin(), v.bytes.end()));
                             return SetStatus::NoError;
                           }}},
        }));
  }
  void setRows(std::vector<Row> rows) { data = std::make_shared<Rows>(Rows{std::move(rows)}); }
  std::vector<std::string> walkNames(const Oid& from = {}) {
    std::vector<std::string> out;
    for (const VarBind& vb : tree.walk(from)) out.push_back(oidStr(Oid(vb.name.begin() + 8, vb.name.end())));
    return out;
  }
};

TEST(SnmpTree, GetNextGoesColumnByColumnInIndexOrderWhateverTheRowOrder) {
  Fixture f;
  // Listed out of order; "b" sorts before "aa" (its length comes first), and
  // the second {"b", 2} is a duplicate index: the first listed is served.
  f.setRows({{1, "aa", 7}, {2, "b", std::nullopt}, {2, "b", 99}, {1, "b", 8}});
  EXPECT_EQ(f.walkNames(), (std::vector<std::string>{
                               "1.0",  // the scalar
                               "2.1.2.1.98.1",
                               "2.1.2.1.98.2",
                               "2.1.2.2.97.97.1",  // column 2
                               "2.1.4.1.98.1",
                               "2.1.4.2.97.97.1",  // column 4: {"b",2} has no cell
                               "3.0",
                           }));

  // GetNext from names anywhere: before the tree, inside an index, between
  // columns, past the last row of a column, past the table.
  struct Case {
    Oid from;
    std::string want;  // "" for the end of the tree
  } cases[] = {
      {{1}, "1.0"},
      {oidJoin(kBase, {1, 0}), "2.1.2.1.98.1"},
      {oidJoin(kBase, {2}), "2.1.2.1.98.1"},
      {oidJoin(kBase, {2, 1, 2, 1, 98}), "2.1.2.1.98.1"},
      {oidJoin(kBase, {2, 1, 2, 1, 98, 1}), "2.1.2.1.98.2"},
      {oidJoin(kBase, {2, 1, 2, 1, 99}), "2.1.2.2.97.97.1"},
      {oidJoin(kBase, {2, 1, 3}), "2.1.4.1.98.1"},
      {oidJoin(kBase, {2, 1, 2, 2, 97, 97, 1}), "2.1.4.1.98.1"},
      {oidJoin(kBase, {2, 1, 4, 2, 97, 97, 1}), "3.0"},
      {oidJoin(kBase, {2, 2}), "3.0"},
      {oidJoin(kBase, {3, 0}), ""},
      {{2}, ""},
  };
  for (const Case& c : cases) {
    auto vb = f.tree.next(c.from);
    EXPECT_EQ(vb ? oidStr(Oid(vb->name.begin() + 8, vb->name.end())) : "", c.want) << oidStr(c.from);
    if (vb) {
      EXPECT_LT(c.from, vb->name);
    }
  }
}

TEST(SnmpTree, GetAnswersExactInstancesOnly) {
  Fixture f;
  f.setRows({{1, "b", std::nullopt}});
  struct Case {
    Oid name;
    GetResult::Status want;
  } cases[] = {
      {oidJoin(kBase, {1, 0}), GetResult::Status::Ok},
      {oidJoin(kBase, {1, 1}), GetResult::Status::NoSuchInstance},
      {oidJoin(kBase, {2, 1, 2, 1, 98, 1}), GetResult::Status::Ok},
      {oidJoin(kBase, {2, 1, 2, 1, 98, 2}), GetResult::Status::NoSuchInstance},
      {oidJoin(kBase, {2, 1, 4, 1, 98, 1}), GetResult::Status::NoSuchInstance},  // the row lacks the cell
      {oidJoin(kBase, {2, 1, 3, 1, 98, 1}), GetResult::Status::NoSuchObject},    // no column 3
      // Index sub-identifiers that are no row's: a length that is not the
      // octets', an octet above 255, too few, too many.
      {oidJoin(kBase, {2, 1, 2, 2, 98, 1}), GetResult::Status::NoSuchInstance},
      {oidJoin(kBase, {2, 1, 2, 1, 98 + 256, 1}), GetResult::Status::NoSuchInstance},
      {oidJoin(kBase, {2, 1, 2, 1, 98}), GetResult::Status::NoSuchInstance},
      {oidJoin(kBase, {2, 1, 2, 1, 98, 1, 0}), GetResult::Status::NoSuchInstance},
      {oidJoin(kBase, {2, 1, 2}), GetResult::Status::NoSuchObject},
      {oidJoin(kBase, {9}), GetResult::Status::NoSuchObject},
  };
  for (const Case& c : cases) EXPECT_EQ(f.tree.get(c.name).status, c.want) << oidStr(c.name);
  EXPECT_EQ(f.tree.get(oidJoin(kBase, {2, 1, 2, 1, 98, 1})).value, Value::octets(std::string("b")));

  f.available = false;
  EXPECT_EQ(f.tree.get(oidJoin(kBase, {1, 0})).status, GetResult::Status::Unavailable);
  EXPECT_EQ(f.tree.get(oidJoin(kBase, {2, 1, 2, 1, 98, 1})).status, GetResult::Status::Unavailable);
  EXPECT_TRUE(f.walkNames().empty()) << "a walk passes over what cannot be read";
}

TEST(SnmpTree, EmptyTablesAndRowsGoneMidWalk) {
  Fixture f;
  EXPECT_EQ(f.walkNames(), (std::vector<std::string>{"1.0", "3.0"}));

  f.setRows({{1, "a", 1}, {2, "a", 2}, {3, "a", 3}});
  auto vb = f.tree.next(oidJoin(kBase, {2}));
  ASSERT_TRUE(vb);
  EXPECT_EQ(oidStr(vb->name), oidStr(oidJoin(kBase, {2, 1, 2, 1, 97, 1})));
  vb = f.tree.next(vb->name);
  ASSERT_TRUE(vb);
  EXPECT_EQ(vb->name.back(), 2u);
  // The row just returned goes away (and a smaller one comes) before the
  // walk's next request: the walk goes on with the next greater index.
  f.setRows({{0, "a", 0}, {1, "a", 1}, {3, "a", 3}});
  vb = f.tree.next(vb->name);
  ASSERT_TRUE(vb);
  EXPECT_EQ(vb->name.back(), 3u);
  // Column 4 starts again from the first row, the new one included.
  vb = f.tree.next(vb->name);
  ASSERT_TRUE(vb);
  EXPECT_EQ(oidStr(vb->name), oidStr(oidJoin(kBase, {2, 1, 4, 1, 97, 0})));
}

TEST(SnmpTree, SetsAreCheckedBeforeTheyAreApplied) {
  Fixture f;
  f.setRows({{1, "a", 1}});
  const Oid scalar = oidJoin(kBase, {1, 0});
  const Oid cell = oidJoin(kBase, {2, 1, 2, 1, 97, 1});
  struct Case {
    Oid name;
    Value v;
    SetStatus want;
  } cases[] = {
      {scalar, Value::integer(10), SetStatus::NoError},
      {scalar, Value::integer(11), SetStatus::WrongValue},
      {scalar, Value::integer(0), SetStatus::WrongValue},
      {scalar, Value::gauge(3), SetStatus::WrongType},
      {oidJoin(kBase, {1, 1}), Value::integer(3), SetStatus::NoCreation},
      {oidJoin(kBase, {3, 0}), Value::gauge(3), SetStatus::NotWritable},
      {cell, Value::octets(std::string("abcd")), SetStatus::NoError},
      {cell, Value::octets(std::string("abcde")), SetStatus::WrongLength},
      {cell, Value::integer(1), SetStatus::WrongType},
      {oidJoin(kBase, {2, 1, 2, 1, 97, 2}), Value::octets(std::string("x")), SetStatus::NoCreation},
      {oidJoin(kBase, {2, 1, 4, 1, 97, 1}), Value::counter(1), SetStatus::NotWritable},
      {oidJoin(kBase, {7, 0}), Value::integer(1), SetStatus::NotWritable},
  };
  for (const Case& c : cases) EXPECT_EQ(f.tree.check(c.name, c.v), c.want) << oidStr(c.name);
  EXPECT_TRUE(f.sets.empty()) << "a check changes nothing";
  for (const Case& c : cases) EXPECT_EQ(f.tree.apply(c.name, c.v), c.want) << oidStr(c.name);
  EXPECT_EQ(f.sets, (std::vector<std::pair<uint32_t, std::string>>{{0, "10"}, {1, "abcd"}}));

  f.available = false;
  EXPECT_EQ(f.tree.check(scalar, Value::integer(3)), SetStatus::ResourceUnavailable);
}

}  // namespace
