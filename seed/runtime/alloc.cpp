// Allocation: the collected heap for values, scratch memory, the arena for
// trees and names, and the table of interned names.
#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "runtime.h"

#ifdef ORVEX_GC
#include <sys/mman.h>

#define GC_THREADS
#include <gc/gc.h>
#include <gc/gc_inline.h>
#include <gc/gc_mark.h>
#endif

bool g_host_inert;

[[noreturn]] static void out_of_memory() {
  if (g_host_inert) throw HostStop{};
  out_flush();
  fputs("out of memory\n", stderr);
  orvex_exit(1);
}

void env_pool_reset();
void num_pool_reset();

#ifndef ORVEX_FUZZ
void *xmalloc(size_t n) {
  void *p = malloc(n ? n : 1);
  if (!p) out_of_memory();
  return p;
}

void *xrealloc(void *p, size_t n) {
  void *q = realloc(p, n ? n : 1);
  if (!q) out_of_memory();
  return q;
}

void xfree(void *p) { free(p); }

void *xcalloc(size_t n) {
  void *p = calloc(n ? n : 1, 1);
  if (!p) out_of_memory();
  return p;
}

void runtime_reset() {}
#else
// Fuzzing builds keep every block on one list so that a run can be thrown
// away whole, and count the bytes so that a run has a memory budget.
struct Block {
  Block *prev, *next;
  size_t size, pad;
};
static Block g_blocks = {&g_blocks, &g_blocks, 0, 0};
static size_t g_bytes;
static const size_t SANDBOX_MEMORY = (size_t)256 << 20;

static void *block_link(Block *b, size_t n) {
  b->size = n;
  b->prev = &g_blocks;
  b->next = g_blocks.next;
  g_blocks.next->prev = b;
  g_blocks.next = b;
  g_bytes += n;
  return b + 1;
}

static Block *block_unlink(void *p) {
  Block *b = (Block *)p - 1;
  b->prev->next = b->next;
  b->next->prev = b->prev;
  g_bytes -= b->size;
  return b;
}

void *xmalloc(size_t n) {
  if (g_bytes + n > SANDBOX_MEMORY) out_of_memory();
  Block *b = (Block *)malloc(sizeof(Block) + n);
  if (!b) out_of_memory();
  return block_link(b, n);
}

void *xrealloc(void *p, size_t n) {
  if (!p) return xmalloc(n);
  if (g_bytes + n > SANDBOX_MEMORY) out_of_memory();
  Block *b = block_unlink(p);
  Block *q = (Block *)realloc(b, sizeof(Block) + n);
  if (!q) {
    block_link(b, b->size);
    out_of_memory();
  }
  return block_link(q, n);
}

void xfree(void *p) {
  if (p) free(block_unlink(p));
}

void *xcalloc(size_t n) { return memset(xmalloc(n), 0, n); }

static void arena_reset();
static void intern_reset();
void render_reset();

void runtime_reset() {
  while (g_blocks.next != &g_blocks) free(block_unlink(g_blocks.next + 1));
  arena_reset();
  intern_reset();
  env_pool_reset();
  render_reset();
  num_pool_reset();
}
#endif

#ifdef ORVEX_GC
// Small blocks come from lists that the collector fills many at a time, one
// list per size (in 16-byte granules) and per kind (atomic or scanned).
static const size_t GRANULE = 16, LIST_GRANULES = 16;
static void *g_lists[2][LIST_GRANULES + 1];

// The lists of atomic blocks, and the pools of recycled numbers and call
// scopes, are linked through blocks the collector does not trace (or that
// hold stale values): each collection starts by forgetting them all, so
// they neither keep dead values alive nor hand out blocks the collector
// has taken back.
static void on_collection_event(GC_EventType event);

static void drop_pools() {
  memset(g_lists, 0, sizeof g_lists);
  num_pool_reset();
  env_pool_reset();
}

// Large blocks on huge pages: placed on a 2 MB boundary, rounded up to
// whole 2 MB pages and advised, so that touching one faults once per 2 MB
// rather than once per 4 KB page (faults are dear on virtual machines).
// The memory comes zeroed.
static const size_t HUGE_PAGE = (size_t)2 << 20, HUGE_MIN = HUGE_PAGE / 2;
static size_t huge_room(size_t len) { return (len + HUGE_PAGE - 1) & ~(HUGE_PAGE - 1); }

extern "C" void *__real_mmap(void *addr, size_t len, int prot, int flags, int fd, off_t off);

static void *map_huge(size_t len, int prot, int flags) {
  size_t room = huge_room(len);
  char *p = (char *)__real_mmap(nullptr, room + HUGE_PAGE, prot, flags, -1, 0);
  if (p == (char *)MAP_FAILED) return p;
  char *start = (char *)(((uintptr_t)p + HUGE_PAGE - 1) & ~(uintptr_t)(HUGE_PAGE - 1));
  if (start > p) munmap(p, (size_t)(start - p));
  munmap(start + room, (size_t)(p + HUGE_PAGE - start));
  madvise(start, room, MADV_HUGEPAGE);
  return start;
}

// The collector's memory comes from mmap, and its calls are linked to this
// wrapper: sections of a megabyte or more go on huge pages (the collector
// uses just the length it asked for); its small tables, which it clears or
// fills at once, come populated, one call instead of a fault per page.
extern "C" void *__wrap_mmap(void *addr, size_t len, int prot, int flags, int fd, off_t off) {
  if (!(flags & MAP_ANONYMOUS) || (flags & MAP_FIXED) || !(prot & PROT_WRITE))
    return __real_mmap(addr, len, prot, flags, fd, off);
  if (len < HUGE_MIN) return __real_mmap(addr, len, prot, flags | MAP_POPULATE, fd, off);
  return map_huge(len, prot, flags);
}

void *table_new(size_t n) {
  if (n < HUGE_MIN) return xcalloc(n);
  void *p = map_huge(n, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS);
  if (p == MAP_FAILED) out_of_memory();
  return p;
}

void table_free(void *p, size_t n) {
  if (n < HUGE_MIN) xfree(p);
  else if (p) munmap(p, huge_room(n));
}

static const size_t INITIAL_HEAP = (size_t)4 << 20;

void gc_init() {
  // Values are reached through pointers to their starts; the heap keeps
  // two interior pointers, a text's just past its head and a collected
  // name's past its number byte. The native stack may hold any interior
  // pointer: the collector honours those.
  GC_set_all_interior_pointers(0);
  GC_set_warn_proc(GC_ignore_warn_proc);
  GC_set_dont_precollect(1);  // nothing to collect before the first value
  GC_set_markers_count(1);  // heaps here are small: helper threads cost more than they mark
  GC_INIT();
  GC_register_displacement(sizeof(TextHead));
  GC_register_displacement(1);
  // Records point into themselves at their inline slots. Counted as
  // pointers to the record, these cost a mark bit already set; unknown,
  // each would be checked and blacklisted at every collection.
  GC_register_displacement(sizeof(Val));  // a list's or object's record
  GC_register_displacement(sizeof(Val) + sizeof(Lst));
  GC_register_displacement(sizeof(Val) + sizeof(Obj));
  GC_register_displacement(sizeof(Val) + sizeof(Obj) + sizeof(char *) * OBJ_INLINE);
  GC_register_displacement(offsetof(Env, inline_keys));
  GC_register_displacement(offsetof(Env, inline_vals));
  // At the least, collect when the new allocation reaches the heap's size,
  // not a third of it; pace_collections spaces collections further.
  GC_set_free_space_divisor(1);
  GC_set_start_callback(drop_pools);
  GC_set_on_collection_event(on_collection_event);
  // A first heap of a few megabytes spares short programs the many small
  // collections of a heap grown from nothing.
  GC_expand_hp(INITIAL_HEAP);
}

// Arrays this large get blocks the collector places without regard to
// stray pointers into their later pages.
static const size_t LARGE_BLOCK = (size_t)64 << 10;

#ifdef ORVEX_GC_STRESS
// Checking builds collect every ORVEX_GC_STRESS-th allocation, so that a
// value held where the collector cannot see it is soon reclaimed and reused.
static void stress() {
  static unsigned count;
  if (++count % ORVEX_GC_STRESS == 0) GC_gcollect();
}
#else
static inline void stress() {}
#endif

template <int KIND>
static inline void *gc_block(size_t n) {
  stress();
  size_t g = (n + GRANULE - 1) / GRANULE;
  if (__builtin_expect(g - 1 < LIST_GRANULES, 1)) {
    void **list = &g_lists[KIND][g];
    void *p = *list;
    if (__builtin_expect(!p, 0)) {
      GC_generic_malloc_many(g * GRANULE, KIND, list);
      if (!(p = *list)) out_of_memory();
    }
    *list = GC_NEXT(p);
    GC_NEXT(p) = nullptr;
    return p;
  }
  void *p;
  if (KIND == GC_I_NORMAL) p = n < LARGE_BLOCK ? GC_MALLOC(n) : GC_MALLOC_IGNORE_OFF_PAGE(n);
  else p = n < LARGE_BLOCK ? GC_MALLOC_ATOMIC(n) : GC_malloc_atomic_ignore_off_page(n);
  if (!p) out_of_memory();
  return p;
}

void *gc_alloc(size_t n) { return gc_block<GC_I_NORMAL>(n); }
void *gc_atomic(size_t n) { return gc_block<GC_I_PTRFREE>(n); }

// Left to the collector: explicit frees mixed with the batch lists above
// handed one block out twice under frequent collection (cause not yet
// found), and leaving them costs nothing measurable.
void gc_free(void *) {}
#else
// Without the collector every block stays until exit, each one a malloc
// block of its own, so the address checker sees every overflow.
void gc_init() {}

void *gc_alloc(size_t n) {
  void *p = xmalloc(n);
  memset(p, 0, n);
  return p;
}

void *gc_atomic(size_t n) { return xmalloc(n); }

void gc_free(void *p) { xfree(p); }

void *table_new(size_t n) { return xcalloc(n); }
void table_free(void *p, size_t) { xfree(p); }
#endif

void *xgrow(void *p, size_t used, size_t cap, size_t size, bool heap, bool atomic) {
  void *q = atomic ? gc_atomic(cap * size) : gc_alloc(cap * size);
  memcpy(q, p, used * size);
  if (heap) gc_free(p);
  return q;
}

char *xstrndup(const char *s, size_t n) {
  char *p = (char *)xmalloc(n + 1);
  memcpy(p, s, n);
  p[n] = 0;
  return p;
}

char *xstrdup(const char *s) { return xstrndup(s, strlen(s)); }

static char *text_at(TextHead *h, size_t cap, size_t used) {
  h->cap = (uint32_t)cap;
  h->used = (uint32_t)used;
  char *s = (char *)(h + 1);
  s[used] = 0;
  return s;
}

char *text_new(size_t len) { return text_at((TextHead *)gc_atomic(sizeof(TextHead) + len + 1), len, len); }

// Trees and names are never released, so a bump pointer serves them.
static char *g_arena_ptr, *g_arena_end;
static const size_t ARENA_CHUNK = (size_t)1 << 20;

void *xarena(size_t n) {
  n = (n + 15) & ~(size_t)15;
  if (__builtin_expect((size_t)(g_arena_end - g_arena_ptr) < n, 0)) {
    size_t chunk = n > ARENA_CHUNK ? n : ARENA_CHUNK;
    g_arena_ptr = (char *)xmalloc(chunk);
    g_arena_end = g_arena_ptr + chunk;
  }
  void *p = g_arena_ptr;
  g_arena_ptr += n;
  return p;
}

char *text_permanent(const char *s, size_t len) {
  char *t = text_at((TextHead *)xarena(sizeof(TextHead) + len + 1), len, len);
  memcpy(t, s, len);
  return t;
}

#ifdef ORVEX_FUZZ
static void arena_reset() { g_arena_ptr = g_arena_end = nullptr; }
#endif

// Interned names: open addressing over (hash, text) with linear probing.
// Names of the tree live in the arena until exit. Names made while the
// program runs (object keys from texts) live in the collected heap and the
// table holds them weakly: after each collection the slot of one no object
// holds any more is cleared, and stays a tombstone so that later names in
// its probe chain are still found.
struct InternSlot {
  uint32_t hash;
  uint32_t len : 31;
  uint32_t weak : 1;  // a collected name: its slot is cleared when it dies
  const char *s;      // null: empty, or a tombstone when weak
};
static InternSlot *g_names;
static size_t g_names_cap, g_names_used;  // used: live slots and tombstones
static uint32_t g_names_made;

static uint32_t hash_bytes(const char *s, size_t len) {
  uint32_t h = 2166136261u;
  for (size_t i = 0; i < len; i++) h = (h ^ (unsigned char)s[i]) * 16777619u;
  return h;
}

// The slot holding s, or null with *room set to where it would go.
static InternSlot *name_slot(const char *s, size_t len, uint32_t h, InternSlot **room) {
  size_t mask = g_names_cap - 1;
  InternSlot *tomb = nullptr;
  for (size_t j = h & mask;; j = (j + 1) & mask) {
    InternSlot *e = &g_names[j];
    if (!e->s) {
      if (e->weak) {
        if (!tomb) tomb = e;
        continue;
      }
      if (room) *room = tomb ? tomb : e;
      return nullptr;
    }
    if (e->hash == h && e->len == len && memcmp(e->s, s, len) == 0) return e;
  }
}

#ifdef ORVEX_GC
// The next collection comes once the program has allocated PACE times what
// survived this one, but no more than the survivors plus PACE_CAP: a
// program whose live data grows marks it a fraction as often as the
// collector's own pacing would, in a heap about PACE + 1 times that data
// (twice it plus the cap, for large data). Loops over little live data
// stay in the first heap.
static const size_t PACE = 4, PACE_CAP = (size_t)48 << 20;

static void pace_collections() {
  GC_prof_stats_s st;
  GC_get_prof_stats_unsafe(&st, sizeof st);
  size_t live = st.heapsize_full - st.free_bytes_full;
  GC_set_min_bytes_allocd(std::min(PACE * live, live + PACE_CAP) + 1);
}

// After marking and before any block is reused, the slots of collected
// names that nothing marked become tombstones.
static void clear_dead_names() {
  for (size_t i = 0; i < g_names_cap; i++) {
    InternSlot *e = &g_names[i];
    if (e->weak && e->s && !GC_is_marked(e->s - 1)) e->s = nullptr;
  }
}

static void on_collection_event(GC_EventType event) {
  if (event == GC_EVENT_RECLAIM_START) clear_dead_names();
  if (event == GC_EVENT_RECLAIM_END) pace_collections();
}

// A collected name the tree now uses too must outlive every holder the
// collector can see: a scanned array that static data points to keeps it.
static const char **g_kept_names;
static size_t g_kept_len, g_kept_cap;

static void keep_name(InternSlot *e) {
  const char *name = e->s - 1;  // held here while the array may grow and collect
  if (g_kept_len == g_kept_cap) {
    g_kept_cap = g_kept_cap ? g_kept_cap * 2 : 64;
    g_kept_names = (const char **)xgrow(g_kept_names, g_kept_len, g_kept_cap, sizeof(char *), true, false);
  }
  g_kept_names[g_kept_len++] = name;
  e->weak = 0;
}
#endif

// A fresh table for the live names, at most a quarter full.
static void names_rehash() {
  size_t live = 0;
  for (size_t i = 0; i < g_names_cap; i++) live += g_names[i].s != nullptr;
  size_t ncap = 1024;
  while ((live + 1) * 4 > ncap) ncap *= 2;
  InternSlot *ns = (InternSlot *)table_new(ncap * sizeof(InternSlot));
  for (size_t i = 0; i < g_names_cap; i++) {
    InternSlot *e = &g_names[i];
    if (!e->s) continue;
    size_t j = e->hash & (ncap - 1);
    while (ns[j].s) j = (j + 1) & (ncap - 1);
    ns[j] = *e;
  }
  table_free(g_names, g_names_cap * sizeof(InternSlot));
  g_names = ns;
  g_names_cap = ncap;
  g_names_used = live;
}

static const char *name_add(const char *s, size_t len, uint32_t h, bool weak) {
  char *copy = (char *)(weak ? gc_atomic(len + 2) : xarena(len + 2)) + 1;
  // The byte before each name numbers it: name_bit spreads names made one
  // after another (a function's variables) over distinct bits.
  copy[-1] = (char)(g_names_made++ % NAME_BITS);
  memcpy(copy, s, len);
  copy[len] = 0;
  // The allocation may have collected, so the slot is found after it.
  if ((g_names_used + 1) * 2 > g_names_cap) names_rehash();
  InternSlot *e;
  name_slot(s, len, h, &e);
  if (!e->weak) g_names_used++;  // an empty slot, not a tombstone
  *e = {h, (uint32_t)len, weak, copy};
  return copy;
}

static const char *name_get(const char *s, size_t len, bool weak) {
  if (!g_names_cap) names_rehash();
  uint32_t h = hash_bytes(s, len);
  InternSlot *e = name_slot(s, len, h, nullptr);
  if (!e) return name_add(s, len, h, weak);
#ifdef ORVEX_GC
  if (e->weak && !weak) keep_name(e);
#endif
  return e->s;
}

const char *intern(const char *s, size_t len) { return name_get(s, len, false); }
const char *intern(const char *s) { return intern(s, strlen(s)); }
#ifdef ORVEX_GC
const char *intern_key(const char *s) { return name_get(s, strlen(s), true); }
#else
const char *intern_key(const char *s) { return intern(s); }  // nothing is collected
#endif

const char *intern_find(const char *s) {
  if (!g_names_cap) return nullptr;
  size_t len = strlen(s);
  InternSlot *e = name_slot(s, len, hash_bytes(s, len), nullptr);
  return e ? e->s : nullptr;
}

#ifdef ORVEX_FUZZ
static void intern_reset() {
  g_names = nullptr;
  g_names_cap = g_names_used = 0;
  g_names_made = 0;
}
#endif
