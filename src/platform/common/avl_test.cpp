// AVL tree against std::set, with the balance invariant checked throughout.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <random>
#include <set>
#include <vector>

#include "platform/avl.h"

namespace {

struct Item {
  AvlNode node;
  int key;
};

int compareItems(const void* a, const void* b) {
  int x = static_cast<const Item*>(a)->key;
  int y = static_cast<const Item*>(b)->key;
  return x < y ? -1 : x > y ? 1 : 0;
}

// Returns the subtree height after checking order, balance, stored heights
// and parent links below n.
intptr_t checkSubtree(const AvlNode* n, const AvlNode* parent, size_t* count) {
  if (!n) return 0;
  EXPECT_EQ(n->parent, parent);
  (*count)++;
  int key = reinterpret_cast<const Item*>(n)->key;
  if (n->left) {
    EXPECT_LT(reinterpret_cast<const Item*>(n->left)->key, key);
  }
  if (n->right) {
    EXPECT_GT(reinterpret_cast<const Item*>(n->right)->key, key);
  }
  intptr_t l = checkSubtree(n->left, n, count);
  intptr_t r = checkSubtree(n->right, n, count);
  EXPECT_LE(std::abs(l - r), 1) << "unbalanced at key " << key;
  intptr_t h = 1 + std::max(l, r);
  EXPECT_EQ(n->height, h) << "stale height at key " << key;
  return h;
}

void checkTree(const AvlTree& t, const std::set<int>& model) {
  size_t count = 0;
  checkSubtree(t.root, nullptr, &count);
  ASSERT_EQ(count, model.size());
  ASSERT_EQ(avl_count(&t), model.size());
  auto it = model.begin();
  for (void* e = avl_first(&t); e; e = avl_next(&t, e), ++it) {
    ASSERT_NE(it, model.end());
    ASSERT_EQ(static_cast<Item*>(e)->key, *it);
  }
  ASSERT_EQ(it, model.end());
}

Item keyOf(int k) {
  Item i{};
  i.key = k;
  return i;
}

TEST(Avl, RandomInsertRemoveMatchesStdSet) {
  std::mt19937 rng(1234);
  std::vector<Item> items(512);
  for (size_t i = 0; i < items.size(); i++) items[i].key = static_cast<int>(i) * 2;
  std::vector<bool> linked(items.size(), false);
  AvlTree t;
  ASSERT_EQ(avl_create(&t, compareItems, sizeof(Item)), 0);
  std::set<int> model;
  for (int step = 0; step < 20000; step++) {
    size_t i = rng() % items.size();
    if (!linked[i]) {
      ASSERT_EQ(avl_add(&t, &items[i]), 0);
      model.insert(items[i].key);
      linked[i] = true;
    } else {
      ASSERT_EQ(avl_remove(&t, &items[i]), 0);
      model.erase(items[i].key);
      linked[i] = false;
    }
    if (step % 97 == 0) checkTree(t, model);
    // Look-ups of odd keys (never present) and even keys against the model.
    int probe = static_cast<int>(rng() % (items.size() * 2 + 4)) - 2;
    Item k = keyOf(probe);
    void* found = avl_find(&t, &k);
    ASSERT_EQ(found != nullptr, model.count(probe) == 1);
    auto gt = model.upper_bound(probe);
    auto ge = model.lower_bound(probe);
    void* g = avl_greater(&t, &k);
    void* gte = avl_greater_equal(&t, &k);
    ASSERT_EQ(g ? static_cast<Item*>(g)->key : -1000, gt == model.end() ? -1000 : *gt);
    ASSERT_EQ(gte ? static_cast<Item*>(gte)->key : -1000, ge == model.end() ? -1000 : *ge);
  }
  checkTree(t, model);
}

TEST(Avl, DuplicatesAndStrangersAreRefused) {
  Item a = keyOf(5), twin = keyOf(5), other = keyOf(6);
  AvlTree t;
  avl_create(&t, compareItems, sizeof(Item));
  EXPECT_EQ(avl_add(&t, &a), 0);
  EXPECT_EQ(avl_add(&t, &twin), -1);
  EXPECT_EQ(avl_count(&t), 1u);
  // An equal key that is not the linked element must not unlink it.
  EXPECT_EQ(avl_remove(&t, &twin), -1);
  EXPECT_EQ(avl_remove(&t, &other), -1);
  EXPECT_EQ(avl_find(&t, &twin), &a);
  EXPECT_EQ(avl_remove(&t, &a), 0);
  EXPECT_EQ(avl_remove(&t, &a), -1);
  EXPECT_EQ(avl_first(&t), nullptr);
}

struct WalkState {
  AvlTree* tree;
  std::vector<int> seen;
  int stopAt;
};

int removeEvenWalk(void* elem, void* arg) {
  auto* w = static_cast<WalkState*>(arg);
  auto* item = static_cast<Item*>(elem);
  w->seen.push_back(item->key);
  if (item->key % 2 == 0) {
    avl_remove(w->tree, item);
    item->key = -1;  // the walk must not look at a removed element again
  }
  return item->key == w->stopAt ? 7 : 0;
}

TEST(Avl, WalkMayRemoveTheElementItIsGiven) {
  std::vector<Item> items(100);
  AvlTree t;
  avl_create(&t, compareItems, sizeof(Item));
  std::set<int> model;
  for (int i = 0; i < 100; i++) {
    items[static_cast<size_t>(i)].key = (i * 37) % 100;
    avl_add(&t, &items[static_cast<size_t>(i)]);
  }
  WalkState w{&t, {}, -2};
  EXPECT_EQ(avl_walk(&t, removeEvenWalk, &w), 0);
  ASSERT_EQ(w.seen.size(), 100u);
  for (int i = 0; i < 100; i++) EXPECT_EQ(w.seen[static_cast<size_t>(i)], i);
  for (int i = 1; i < 100; i += 2) model.insert(i);
  checkTree(t, model);

  // A non-zero callback result stops the walk and is returned.
  WalkState stop{&t, {}, 51};
  EXPECT_EQ(avl_walk(&t, removeEvenWalk, &stop), 7);
  EXPECT_EQ(stop.seen.back(), 51);
  EXPECT_EQ(stop.seen.size(), 26u);
}

}  // namespace
