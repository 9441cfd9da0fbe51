// Fixed-size pools: one silMalloc'd block cut into equal elements, a free
// list threaded through the free elements, and an in-use bit per element
// (kept after the elements) so that a double free is refused like a
// foreign pointer.
#include <cstring>

#include "platform/common/sil_hook.h"
#include "platform/sil.h"

SilCommonHookFn silCommonHook = nullptr;

namespace {

constexpr uint32_t kAlign = alignof(void*);

inline unsigned char* inUseBits(SilMemPool* pool) {
  return pool->storage + size_t{pool->elemCount} * pool->elemSize;
}

}  // namespace

int silMemPoolInit(SilMemPool* pool, const char* name, uint32_t elemCount, uint32_t elemSize,
                   uint32_t /*flags*/) {
  int rc = -1;
  if (silCommonFail(SilCommonFn::MemPoolInit, &rc)) return rc ? rc : -1;
  if (!pool || elemSize == 0) return -1;
  std::memset(pool, 0, sizeof(*pool));
  if (name) std::strncpy(pool->name, name, sizeof(pool->name) - 1);
  uint64_t size = (uint64_t{elemSize} + kAlign - 1) / kAlign * kAlign;
  if (size > UINT32_MAX) return -1;
  uint64_t bytes = size * elemCount + (uint64_t{elemCount} + 7) / 8;
  if (bytes > SIZE_MAX / 2) return -1;
  pool->elemSize = static_cast<uint32_t>(size);
  pool->elemCount = elemCount;
  if (elemCount == 0) return 0;
  pool->storage = static_cast<unsigned char*>(silMalloc(static_cast<size_t>(bytes)));
  if (!pool->storage) {
    pool->elemCount = 0;
    return -1;
  }
  std::memset(inUseBits(pool), 0, (elemCount + 7) / 8);
  // Thread the free list in address order so that allocation order is stable.
  void* next = nullptr;
  for (uint32_t i = elemCount; i-- > 0;) {
    unsigned char* e = pool->storage + size_t{i} * pool->elemSize;
    std::memcpy(e, &next, sizeof(next));
    next = e;
  }
  pool->freeList = next;
  return 0;
}

void* silMemPoolAlloc(SilMemPool* pool) {
  int rc = 0;
  if (silCommonFail(SilCommonFn::MemPoolAlloc, &rc)) return nullptr;
  if (!pool || !pool->freeList) return nullptr;
  unsigned char* e = static_cast<unsigned char*>(pool->freeList);
  void* next;
  std::memcpy(&next, e, sizeof(next));
  pool->freeList = next;
  size_t idx = static_cast<size_t>(e - pool->storage) / pool->elemSize;
  inUseBits(pool)[idx / 8] |= static_cast<unsigned char>(1u << (idx % 8));
  pool->used++;
  std::memset(e, 0, pool->elemSize);
  return e;
}

int silMemPoolFree(SilMemPool* pool, void* elem) {
  int rc = -1;
  if (silCommonFail(SilCommonFn::MemPoolFree, &rc)) return rc ? rc : -1;
  if (!pool || !pool->storage || !elem) return -1;
  unsigned char* e = static_cast<unsigned char*>(elem);
  unsigned char* end = pool->storage + size_t{pool->elemCount} * pool->elemSize;
  if (e < pool->storage || e >= end) return -1;
  size_t off = static_cast<size_t>(e - pool->storage);
  if (off % pool->elemSize != 0) return -1;
  size_t idx = off / pool->elemSize;
  unsigned char bit = static_cast<unsigned char>(1u << (idx % 8));
  if (!(inUseBits(pool)[idx / 8] & bit)) return -1;  // already free
  inUseBits(pool)[idx / 8] &= static_cast<unsigned char>(~bit);
  std::memcpy(e, &pool->freeList, sizeof(void*));
  pool->freeList = e;
  pool->used--;
  return 0;
}

int silMemPoolDestroy(SilMemPool* pool) {
  int rc = -1;
  if (silCommonFail(SilCommonFn::MemPoolDestroy, &rc)) return rc ? rc : -1;
  if (!pool) return 0;
  silFree(pool->storage);
  pool->storage = nullptr;
  pool->freeList = nullptr;
  pool->used = 0;
  pool->elemCount = 0;
  return 0;
}
