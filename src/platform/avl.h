// Ordered tree (AVL), intrusive: every element begins with an AvlNode.
//
// The tree does not own element memory; it links elements that the caller
// allocated. Keys are compared by the tree's compare callback over whole
// elements, so a lookup key is an element-shaped record with the key fields
// filled in. Shared implementation in src/platform/common/avl.cpp.
#pragma once

#include <cstddef>
#include <cstdint>

struct AvlNode {
  AvlNode* left;
  AvlNode* right;
  AvlNode* parent;
  intptr_t height;
  uintptr_t reserved;
};

// Returns <0, 0 or >0 as a orders before, equal to or after b.
using AvlCompare = int (*)(const void* a, const void* b);
// Walk callback: a non-zero return stops the walk. The callback may remove
// the element it was given (the walk has fetched the successor already).
using AvlWalkFn = int (*)(void* elem, void* arg);

struct AvlTree {
  AvlNode* root;
  AvlCompare compare;
  size_t elemSize;
  size_t count;
};

// Returns 0.
int avl_create(AvlTree* tree, AvlCompare compare, size_t elemSize);
// Links elem. Returns 0, or -1 when an equal element is already present.
int avl_add(AvlTree* tree, void* elem);
// Unlinks elem (which must be in the tree). Returns 0, or -1 when absent.
int avl_remove(AvlTree* tree, void* elem);
// Exact match of key, or nullptr.
void* avl_find(const AvlTree* tree, const void* key);
void* avl_first(const AvlTree* tree);
// The element after elem in order, or nullptr (elem must be in the tree).
void* avl_next(const AvlTree* tree, const void* elem);
// Smallest element strictly greater than key / greater than or equal to key.
void* avl_greater(const AvlTree* tree, const void* key);
void* avl_greater_equal(const AvlTree* tree, const void* key);
// In-order walk; returns the non-zero value that stopped it, else 0.
int avl_walk(AvlTree* tree, AvlWalkFn fn, void* arg);
size_t avl_count(const AvlTree* tree);
