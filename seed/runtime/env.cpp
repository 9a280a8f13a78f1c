// Scopes: bindings in first-made order, looked up through the parent chain.
// Bindings carry no immutability flag: nothing would ever set or read one.
#include <cstdlib>
#include <cstring>

#include "runtime.h"

// Call scopes that no closure captured come back here and are reused, with
// their arrays, by later calls.
Env *g_env_pool;

Env *env_new_slow(Env *parent) {
  Env *e = (Env *)gc_alloc(sizeof(Env));
  e->keys = e->inline_keys;
  e->vals = e->inline_vals;
  e->cap = ENV_INLINE;
  e->parent = parent;
  return e;
}

void env_pool_reset() { g_env_pool = nullptr; }

void env_release_slow(Env *e) {
  keys_index_drop(&e->index);
  env_release(e);
}

static inline int env_find(Env *e, const char *sym) { return keys_find(e->keys, e->len, &e->index, sym); }

Val *env_get(Env *e, const char *sym) {
  for (; e; e = e->parent) {
    int i = env_find(e, sym);
    if (i >= 0) return e->vals[i];
  }
  return nullptr;
}

static void env_grow(Env *e) {
  int ncap = e->cap * 2;
  bool heap = e->keys != e->inline_keys;
  e->keys = (const char **)xgrow(e->keys, (size_t)e->len, (size_t)ncap, sizeof(char *), heap, true);
  e->vals = (Val **)xgrow(e->vals, (size_t)e->len, (size_t)ncap, sizeof(Val *), heap, false);
  e->cap = ncap;
}

static void env_append(Env *e, const char *sym, Val *val) {
  if (e->len == e->cap) env_grow(e);
  e->keys[e->len] = sym;
  e->vals[e->len] = val;
  e->len++;
  e->names |= name_bit(sym);
  keys_added(e->keys, e->len, e->cap, &e->index, ENV_INDEX_MIN);
}

void env_set_local(Env *e, const char *sym, Val *val) {
  int i = env_find(e, sym);
  if (i >= 0) e->vals[i] = val;
  else env_append(e, sym, val);
}

void env_set(Env *e, const char *sym, Val *val) {
  for (Env *s = e; s; s = s->parent) {
    int i = env_find(s, sym);
    if (i >= 0) {
      s->vals[i] = val;
      return;
    }
  }
  env_append(e, sym, val);
}

void env_bind(Env *e, const char *sym, Val *val) { env_set_local(e, sym, val); }

void env_push_slow(Env *e, const char *sym, Val *val) { env_append(e, sym, val); }

// The binding env_get would find, located as (scope, slot); null when unbound.
static Env *env_locate(Env *e, const char *sym, int32_t *depth, int32_t *slot) {
  int d = *depth;
  if (d >= 0) {
    // The remembered place holds when no nearer scope has gained the name
    // and the scope there still has it in that slot.
    uint64_t bit = name_bit(sym);
    Env *s = e;
    for (int k = 0; k < d && s; k++, s = s->parent)
      if ((s->names & bit) && env_find(s, sym) >= 0) goto search;
    if (s && *slot < s->len && s->keys[*slot] == sym) return s;
  }
search:
  d = 0;
  uint64_t bit = name_bit(sym);
  for (Env *s = e; s; s = s->parent, d++) {
    if (!(s->names & bit)) continue;
    int i = env_find(s, sym);
    if (i >= 0) {
      *depth = d;
      *slot = i;
      return s;
    }
  }
  return nullptr;
}

Val **env_slot_cached_slow(Env *e, const char *sym, int32_t *depth, int32_t *slot) {
  Env *s = env_locate(e, sym, depth, slot);
  return s ? &s->vals[*slot] : nullptr;
}

void env_set_cached(Env *e, const char *sym, Val *val, int32_t *depth, int32_t *slot) {
  if (Val **p = env_slot_cached(e, sym, depth, slot)) *p = val;
  else env_append(e, sym, val);
}
