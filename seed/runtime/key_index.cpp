// Key lookup shared by scopes and objects: interned keys compared by pointer.
#include <cstring>

#include "runtime.h"

// Fibonacci hashing: the high half of the product, since the low bits of
// name addresses (16-byte aligned, plus one) hardly vary.
static inline uint32_t ptr_hash(const char *p) { return (uint32_t)(((uint64_t)(uintptr_t)p * 0x9E3779B97F4A7C15ull) >> 32); }

static void index_put(const char *const *keys, KeyIndex *ix, int pos) {
  uint32_t mask = (uint32_t)ix->cap - 1;
  uint32_t j = ptr_hash(keys[pos]) & mask;
  while (ix->slots[j]) j = (j + 1) & mask;
  ix->slots[j] = pos + 1;
}

int keys_find_indexed(const char *const *keys, const KeyIndex *ix, const char *sym) {
  uint32_t mask = (uint32_t)ix->cap - 1;
  for (uint32_t j = ptr_hash(sym) & mask; ix->slots[j]; j = (j + 1) & mask)
    if (keys[ix->slots[j] - 1] == sym) return ix->slots[j] - 1;
  return -1;
}

// The index stays at most half full; it is rebuilt at twice the key room.
void keys_index_add(const char *const *keys, int len, int room, KeyIndex *ix) {
  if (ix->slots && len * 2 <= ix->cap) {
    index_put(keys, ix, len - 1);
    return;
  }
  gc_free(ix->slots);
  ix->cap = 64;
  while (ix->cap < room * 2 || ix->cap < len * 2) ix->cap *= 2;
  ix->slots = (int *)gc_atomic(sizeof(int) * (size_t)ix->cap);
  memset(ix->slots, 0, sizeof(int) * (size_t)ix->cap);
  for (int i = 0; i < len; i++) index_put(keys, ix, i);
}

void keys_index_drop(KeyIndex *ix) {
  gc_free(ix->slots);
  ix->slots = nullptr;
  ix->cap = 0;
}
