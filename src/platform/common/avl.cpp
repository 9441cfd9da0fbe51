// Intrusive AVL tree. Every element starts with an AvlNode, so an element
// pointer and its node pointer are the same address; the compare callback
// always sees whole elements (or element-shaped lookup keys).
#include "platform/avl.h"

namespace {

inline AvlNode* nodeOf(const void* elem) {
  return static_cast<AvlNode*>(const_cast<void*>(elem));
}

inline intptr_t heightOf(const AvlNode* n) { return n ? n->height : 0; }

inline void updateHeight(AvlNode* n) {
  intptr_t l = heightOf(n->left);
  intptr_t r = heightOf(n->right);
  n->height = 1 + (l > r ? l : r);
}

// Puts `repl` where `old` hung below `parent` (or at the root).
void replaceChild(AvlTree* tree, AvlNode* parent, AvlNode* old, AvlNode* repl) {
  if (!parent) {
    tree->root = repl;
  } else if (parent->left == old) {
    parent->left = repl;
  } else {
    parent->right = repl;
  }
  if (repl) repl->parent = parent;
}

AvlNode* rotateLeft(AvlTree* tree, AvlNode* x) {
  AvlNode* y = x->right;
  AvlNode* parent = x->parent;
  x->right = y->left;
  if (y->left) y->left->parent = x;
  replaceChild(tree, parent, x, y);
  y->left = x;
  x->parent = y;
  updateHeight(x);
  updateHeight(y);
  return y;
}

AvlNode* rotateRight(AvlTree* tree, AvlNode* x) {
  AvlNode* y = x->left;
  AvlNode* parent = x->parent;
  x->left = y->right;
  if (y->right) y->right->parent = x;
  replaceChild(tree, parent, x, y);
  y->right = x;
  x->parent = y;
  updateHeight(x);
  updateHeight(y);
  return y;
}

// Restores heights and balance from n up to the root.
void rebalance(AvlTree* tree, AvlNode* n) {
  while (n) {
    updateHeight(n);
    intptr_t balance = heightOf(n->left) - heightOf(n->right);
    if (balance > 1) {
      if (heightOf(n->left->left) < heightOf(n->left->right)) rotateLeft(tree, n->left);
      n = rotateRight(tree, n);
    } else if (balance < -1) {
      if (heightOf(n->right->right) < heightOf(n->right->left)) rotateRight(tree, n->right);
      n = rotateLeft(tree, n);
    }
    n = n->parent;
  }
}

AvlNode* leftmost(AvlNode* n) {
  while (n && n->left) n = n->left;
  return n;
}

}  // namespace

int avl_create(AvlTree* tree, AvlCompare compare, size_t elemSize) {
  tree->root = nullptr;
  tree->compare = compare;
  tree->elemSize = elemSize;
  tree->count = 0;
  return 0;
}

int avl_add(AvlTree* tree, void* elem) {
  AvlNode* node = nodeOf(elem);
  AvlNode* parent = nullptr;
  AvlNode** link = &tree->root;
  while (*link) {
    parent = *link;
    int c = tree->compare(elem, parent);
    if (c == 0) return -1;
    link = c < 0 ? &parent->left : &parent->right;
  }
  node->left = nullptr;
  node->right = nullptr;
  node->parent = parent;
  node->height = 1;
  *link = node;
  tree->count++;
  rebalance(tree, parent);
  return 0;
}

int avl_remove(AvlTree* tree, void* elem) {
  // Only the very element that is linked may be unlinked: an equal-keyed
  // stranger must not corrupt the tree.
  if (!elem || avl_find(tree, elem) != elem) return -1;
  AvlNode* z = nodeOf(elem);
  AvlNode* from;
  if (!z->left || !z->right) {
    AvlNode* child = z->left ? z->left : z->right;
    from = z->parent;
    replaceChild(tree, z->parent, z, child);
  } else {
    // Two children: the in-order successor y (no left child) takes z's place.
    AvlNode* y = leftmost(z->right);
    if (y->parent != z) {
      from = y->parent;
      replaceChild(tree, y->parent, y, y->right);
      y->right = z->right;
      y->right->parent = y;
    } else {
      from = y;
    }
    replaceChild(tree, z->parent, z, y);
    y->left = z->left;
    y->left->parent = y;
    y->height = z->height;
  }
  z->left = z->right = z->parent = nullptr;
  z->height = 0;
  tree->count--;
  rebalance(tree, from);
  return 0;
}

void* avl_find(const AvlTree* tree, const void* key) {
  AvlNode* n = tree->root;
  while (n) {
    int c = tree->compare(key, n);
    if (c == 0) return n;
    n = c < 0 ? n->left : n->right;
  }
  return nullptr;
}

void* avl_first(const AvlTree* tree) { return leftmost(tree->root); }

void* avl_next(const AvlTree*, const void* elem) {
  AvlNode* n = nodeOf(elem);
  if (!n) return nullptr;
  if (n->right) return leftmost(n->right);
  AvlNode* p = n->parent;
  while (p && p->right == n) {
    n = p;
    p = p->parent;
  }
  return p;
}

void* avl_greater(const AvlTree* tree, const void* key) {
  AvlNode* n = tree->root;
  AvlNode* best = nullptr;
  while (n) {
    if (tree->compare(key, n) < 0) {
      best = n;
      n = n->left;
    } else {
      n = n->right;
    }
  }
  return best;
}

void* avl_greater_equal(const AvlTree* tree, const void* key) {
  AvlNode* n = tree->root;
  AvlNode* best = nullptr;
  while (n) {
    int c = tree->compare(key, n);
    if (c == 0) return n;
    if (c < 0) {
      best = n;
      n = n->left;
    } else {
      n = n->right;
    }
  }
  return best;
}

int avl_walk(AvlTree* tree, AvlWalkFn fn, void* arg) {
  void* e = avl_first(tree);
  while (e) {
    // Fetch the successor first: the callback may unlink (and free) e.
    void* next = avl_next(tree, e);
    int rc = fn(e, arg);
    if (rc != 0) return rc;
    e = next;
  }
  return 0;
}

size_t avl_count(const AvlTree* tree) { return tree->count; }
