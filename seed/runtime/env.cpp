// Scopes: bindings in first-made order, looked up through the parent chain.
// Bindings carry no immutability flag: nothing would ever set or read one.
#include <cstdlib>
#include <cstring>

#include "runtime.h"

// Call scopes that no closure captured come back here and are reused, with
// their arrays, by later calls.
static Env *g_env_pool;
// Past this many bindings a scope gets a hash index (by name identity).
static const int ENV_INDEX_MIN = 24;

Env *env_new(Env *parent) {
  Env *e = g_env_pool;
  if (e) {
    g_env_pool = e->parent;
  } else {
    e = (Env *)xarena(sizeof(Env));
    memset(e, 0, sizeof *e);
    e->keys = e->inline_keys;
    e->vals = e->inline_vals;
    e->cap = ENV_INLINE;
  }
  e->parent = parent;
  return e;
}

void env_pool_reset() { g_env_pool = nullptr; }

void env_release(Env *e) {
  if (e->captured) return;
  for (int i = 0; i < e->len; i++)
    if (e->vals[i]->type == V_NUM && e->vals[i]->len == NUM_OWNED) num_recycle(e->vals[i]);
  e->len = 0;
  if (e->index) {
    xfree(e->index);
    e->index = nullptr;
    e->index_cap = 0;
  }
  e->parent = g_env_pool;
  g_env_pool = e;
}

static inline uint32_t sym_hash(const char *sym) { return (uint32_t)((uintptr_t)sym >> 3) * 2654435761u; }

static void env_index_put(Env *e, int pos) {
  uint32_t mask = (uint32_t)e->index_cap - 1;
  uint32_t j = sym_hash(e->keys[pos]) & mask;
  while (e->index[j]) j = (j + 1) & mask;
  e->index[j] = pos + 1;
}

static void env_index_rebuild(Env *e) {
  xfree(e->index);
  e->index_cap = 64;
  while (e->index_cap < e->cap * 2) e->index_cap *= 2;
  e->index = (int *)xmalloc(sizeof(int) * (size_t)e->index_cap);
  memset(e->index, 0, sizeof(int) * (size_t)e->index_cap);
  for (int k = 0; k < e->len; k++) env_index_put(e, k);
}

static inline int env_find(Env *e, const char *sym) {
  if (e->index) {
    uint32_t mask = (uint32_t)e->index_cap - 1;
    for (uint32_t j = sym_hash(sym) & mask; e->index[j]; j = (j + 1) & mask)
      if (e->keys[e->index[j] - 1] == sym) return e->index[j] - 1;
    return -1;
  }
  for (int i = 0; i < e->len; i++)
    if (e->keys[i] == sym) return i;
  return -1;
}

Val *env_get(Env *e, const char *sym) {
  for (; e; e = e->parent) {
    int i = env_find(e, sym);
    if (i >= 0) return e->vals[i];
  }
  return nullptr;
}

static void env_grow(Env *e) {
  int ncap = e->cap * 2;
  if (e->keys == e->inline_keys) {
    e->keys = (const char **)xmalloc(sizeof(char *) * (size_t)ncap);
    e->vals = (Val **)xmalloc(sizeof(Val *) * (size_t)ncap);
    memcpy(e->keys, e->inline_keys, sizeof(char *) * (size_t)e->len);
    memcpy(e->vals, e->inline_vals, sizeof(Val *) * (size_t)e->len);
  } else {
    e->keys = (const char **)xrealloc(e->keys, sizeof(char *) * (size_t)ncap);
    e->vals = (Val **)xrealloc(e->vals, sizeof(Val *) * (size_t)ncap);
  }
  e->cap = ncap;
}

static void env_append(Env *e, const char *sym, Val *val) {
  if (e->len == e->cap) env_grow(e);
  e->keys[e->len] = sym;
  e->vals[e->len] = val;
  e->len++;
  if (e->len >= ENV_INDEX_MIN) {
    if (!e->index || e->len * 2 > e->index_cap) env_index_rebuild(e);
    else env_index_put(e, e->len - 1);
  }
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

// The binding env_get would find, located as (scope, slot); null when unbound.
static Env *env_locate(Env *e, const char *sym, int32_t *depth, int32_t *slot) {
  int d = *depth;
  if (d >= 0) {
    // The remembered place holds when no nearer scope has gained the name
    // and the scope there still has it in that slot.
    Env *s = e;
    for (int k = 0; k < d && s; k++, s = s->parent)
      if (env_find(s, sym) >= 0) goto search;
    if (s && *slot < s->len && s->keys[*slot] == sym) return s;
  }
search:
  d = 0;
  for (Env *s = e; s; s = s->parent, d++) {
    int i = env_find(s, sym);
    if (i >= 0) {
      *depth = d;
      *slot = i;
      return s;
    }
  }
  return nullptr;
}

Val **env_slot_cached(Env *e, const char *sym, int32_t *depth, int32_t *slot) {
  Env *s = env_locate(e, sym, depth, slot);
  return s ? &s->vals[*slot] : nullptr;
}

Val *env_get_cached_slow(Env *e, const char *sym, int32_t *depth, int32_t *slot) {
  Env *s = env_locate(e, sym, depth, slot);
  return s ? s->vals[*slot] : nullptr;
}

void env_set_cached(Env *e, const char *sym, Val *val, int32_t *depth, int32_t *slot) {
  if (Env *s = env_locate(e, sym, depth, slot)) s->vals[*slot] = val;
  else env_append(e, sym, val);
}
