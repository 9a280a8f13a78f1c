// Allocation helpers, the record arena and the table of interned names.
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <sys/mman.h>

#include "runtime.h"

bool g_sandbox;

[[noreturn]] static void out_of_memory() {
  if (g_sandbox) throw SandboxStop{};
  out_flush();
  fputs("out of memory\n", stderr);
  orvex_exit(1);
}

#ifndef ORVEX_FUZZ
#if defined(__SANITIZE_ADDRESS__)
#define ORVEX_MALLOC_ONLY 1  // keep every block visible to the address checker
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
#define ORVEX_MALLOC_ONLY 1
#endif
#endif

// A mapping of size bytes (a multiple of 2 MB) starting on a 2 MB boundary
// and marked for transparent huge pages, or null.
static const size_t HUGE_PAGE = (size_t)2 << 20;
static char *huge_map(size_t size) {
  char *m = (char *)mmap(nullptr, size + HUGE_PAGE, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE,
                         -1, 0);
  if (m == MAP_FAILED) return nullptr;
  char *base = (char *)(((uintptr_t)m + HUGE_PAGE - 1) & ~(HUGE_PAGE - 1));
  if (base > m) munmap(m, (size_t)(base - m));
  munmap(base + size, (size_t)(m + HUGE_PAGE - base));
  madvise(base, size, MADV_HUGEPAGE);
  return base;
}

#ifndef ORVEX_MALLOC_ONLY
// Blocks of half a megabyte or more (the arrays of long lists, big tables)
// get mappings of their own on transparent huge pages: filling one then
// costs a page fault per 2 MB instead of one per 4 KB, which on virtual
// machines is most of the time spent building long lists. A header at the
// 2 MB-aligned start holds the mapping's size; the live ones are listed, so
// a malloc block is never taken for one (there are few: each is big).
static const size_t BIG_MIN = (size_t)512 << 10;
struct BigHeader {
  size_t size, pad;
};
static void **g_bigs;
static size_t g_bigs_len, g_bigs_cap;

static size_t big_index(void *p) {
  if (((uintptr_t)p & (HUGE_PAGE - 1)) != sizeof(BigHeader)) return SIZE_MAX;
  for (size_t i = 0; i < g_bigs_len; i++)
    if (g_bigs[i] == p) return i;
  return SIZE_MAX;
}

static bool is_big(void *p) { return big_index(p) != SIZE_MAX; }

static void *big_alloc(size_t n) {
  if (g_bigs_len == g_bigs_cap) {
    size_t cap = g_bigs_cap ? g_bigs_cap * 2 : 64;
    void **bigs = (void **)realloc(g_bigs, cap * sizeof(void *));
    if (!bigs) return nullptr;
    g_bigs = bigs;
    g_bigs_cap = cap;
  }
  size_t size = (n + sizeof(BigHeader) + HUGE_PAGE - 1) & ~(HUGE_PAGE - 1);
  char *base = huge_map(size);
  if (!base) return nullptr;
  BigHeader *h = (BigHeader *)base;
  h->size = size;
  g_bigs[g_bigs_len++] = h + 1;
  return h + 1;
}

static void big_free(void *p) {
  size_t i = big_index(p);
  g_bigs[i] = g_bigs[--g_bigs_len];
  BigHeader *h = (BigHeader *)p - 1;
  munmap(h, h->size);
}
#endif

void *xmalloc(size_t n) {
#ifndef ORVEX_MALLOC_ONLY
  if (n >= BIG_MIN)
    if (void *p = big_alloc(n)) return p;
#endif
  void *p = malloc(n ? n : 1);
  if (!p) out_of_memory();
  return p;
}

void *xrealloc(void *p, size_t n) {
#ifndef ORVEX_MALLOC_ONLY
  if (p && is_big(p)) {
    size_t room = ((BigHeader *)p)[-1].size - sizeof(BigHeader);
    if (n <= room) return p;
    void *q = xmalloc(n);
    memcpy(q, p, room);
    big_free(p);
    return q;
  }
#endif
  void *q = realloc(p, n ? n : 1);
  if (!q) out_of_memory();
  return q;
}

void xfree(void *p) {
#ifndef ORVEX_MALLOC_ONLY
  if (p && is_big(p)) return big_free(p);
#endif
  free(p);
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

static void arena_reset();
static void intern_reset();
void env_pool_reset();
void render_reset();
void num_pool_reset();

void runtime_reset() {
  while (g_blocks.next != &g_blocks) free(block_unlink(g_blocks.next + 1));
  arena_reset();
  intern_reset();
  env_pool_reset();
  render_reset();
  num_pool_reset();
}
#endif

void *xgrow(void *p, size_t used, size_t cap, size_t size, bool heap) {
  void *q = xmalloc(cap * size);
  memcpy(q, p, used * size);
  if (heap) xfree(p);
  return q;
}

char *xstrndup(const char *s, size_t n) {
  char *p = (char *)xmalloc(n + 1);
  memcpy(p, s, n);
  p[n] = 0;
  return p;
}

char *xstrdup(const char *s) { return xstrndup(s, strlen(s)); }

// Records are never freed, so a bump pointer serves them. Chunks come
// straight from mmap, on transparent huge pages where the system allows:
// a program that makes millions of numbers then pays for few page faults.
static char *g_arena_ptr, *g_arena_end;
static const size_t ARENA_CHUNK = (size_t)32 << 20;

static char *arena_chunk(size_t n) {
#ifndef ORVEX_FUZZ
  if (n <= ARENA_CHUNK) {
    if (char *p = huge_map(ARENA_CHUNK)) {
      g_arena_end = p + ARENA_CHUNK;
      return p;
    }
  }
#endif
  size_t chunk = n > ((size_t)1 << 20) ? n : ((size_t)1 << 20);
  char *p = (char *)xmalloc(chunk);
  g_arena_end = p + chunk;
  return p;
}

void *xarena(size_t n) {
  n = (n + 15) & ~(size_t)15;
  if (__builtin_expect((size_t)(g_arena_end - g_arena_ptr) < n, 0)) g_arena_ptr = arena_chunk(n);
  void *p = g_arena_ptr;
  g_arena_ptr += n;
  return p;
}

char *text_bytes(size_t n) {
  // long texts would leave the rest of an arena chunk unused
  return n <= 4096 ? (char *)xarena(n) : (char *)xmalloc(n);
}

#ifdef ORVEX_FUZZ
static void arena_reset() { g_arena_ptr = g_arena_end = nullptr; }
#endif

// Interned names: open addressing over (hash, text) with linear probing.
struct InternSlot {
  uint32_t hash;
  uint32_t len;
  const char *s;
};
static InternSlot *g_names;
static size_t g_names_cap, g_names_len;

static uint32_t hash_bytes(const char *s, size_t len) {
  uint32_t h = 2166136261u;
  for (size_t i = 0; i < len; i++) h = (h ^ (unsigned char)s[i]) * 16777619u;
  return h;
}

static void intern_grow() {
  size_t ncap = g_names_cap ? g_names_cap * 2 : 1024;
  InternSlot *ns = (InternSlot *)xmalloc(ncap * sizeof(InternSlot));
  memset(ns, 0, ncap * sizeof(InternSlot));
  for (size_t i = 0; i < g_names_cap; i++) {
    if (!g_names[i].s) continue;
    size_t j = g_names[i].hash & (ncap - 1);
    while (ns[j].s) j = (j + 1) & (ncap - 1);
    ns[j] = g_names[i];
  }
  xfree(g_names);
  g_names = ns;
  g_names_cap = ncap;
}

const char *intern(const char *s, size_t len) {
  if ((g_names_len + 1) * 2 > g_names_cap) intern_grow();
  uint32_t h = hash_bytes(s, len);
  size_t j = h & (g_names_cap - 1);
  while (g_names[j].s) {
    if (g_names[j].hash == h && g_names[j].len == len && memcmp(g_names[j].s, s, len) == 0)
      return g_names[j].s;
    j = (j + 1) & (g_names_cap - 1);
  }
  // The byte before each name numbers it: name_bit spreads names made one
  // after another (a function's variables) over distinct bits.
  char *copy = (char *)xarena(len + 2) + 1;
  copy[-1] = (char)(g_names_len & 63);
  memcpy(copy, s, len);
  copy[len] = 0;
  g_names[j] = {h, (uint32_t)len, copy};
  g_names_len++;
  return copy;
}

const char *intern(const char *s) { return intern(s, strlen(s)); }

const char *intern_find(const char *s) {
  if (!g_names_cap) return nullptr;
  size_t len = strlen(s);
  uint32_t h = hash_bytes(s, len);
  for (size_t j = h & (g_names_cap - 1); g_names[j].s; j = (j + 1) & (g_names_cap - 1))
    if (g_names[j].hash == h && g_names[j].len == len && memcmp(g_names[j].s, s, len) == 0)
      return g_names[j].s;
  return nullptr;
}

#ifdef ORVEX_FUZZ
static void intern_reset() {
  g_names = nullptr;
  g_names_cap = g_names_len = 0;
}
#endif
