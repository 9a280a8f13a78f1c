// Runtime values: the value record, scopes, allocation, rendering, errors and markers.
#pragma once
#include <cstddef>
#include <cstdint>

struct Node;
struct Env;
struct Val;

// ---- allocation -------------------------------------------------------------
// Every allocation of the interpreter goes through these; failure prints
// "out of memory" and exits 1, so no caller checks for null.
//
// Values live in collected memory: whatever no program can reach any more
// is reclaimed. The collector finds pointers conservatively on the native
// stack, in static data and in the blocks of gc_alloc; it does not look
// inside gc_atomic blocks (texts, numbers, index arrays) nor in memory from
// xmalloc or xarena, so those never hold the only pointer to a value.
// Builds without the collector (sanitizers, fuzzing) serve the same calls
// from malloc.
void gc_init();  // before the first allocation, on the main thread
void *gc_alloc(size_t n);   // may hold pointers to values; zeroed
void *gc_atomic(size_t n);  // holds no pointers
void gc_free(void *p);      // a block nothing points to any more
// Moves the first `used` items (each `size` bytes) of an array to a new
// collected block with room for `cap`, releasing the old block unless it
// was storage inside a record (heap false).
void *xgrow(void *p, size_t used, size_t cap, size_t size, bool heap, bool atomic);
// Scratch memory that holds no values: source texts, paths, messages.
void *xmalloc(size_t n);
void *xrealloc(void *p, size_t n);
void xfree(void *p);
void *xcalloc(size_t n);  // zeroed
// A zeroed table of n bytes that holds no values (large ones on huge pages),
// and its release (n as given).
void *table_new(size_t n);
void table_free(void *p, size_t n);
char *xstrdup(const char *s);
char *xstrndup(const char *s, size_t n);
// Memory that lives until exit and is never scanned: syntax trees and
// interned names (which hold no values).
void *xarena(size_t n);

// Text bytes follow a small head in the same block. Texts are read by
// length, never up to a NUL: a text made by appending to another may share
// its bytes, and the shorter one then has no NUL after its last byte.
struct TextHead {
  uint32_t cap;   // bytes the block has room for, before the final NUL
  uint32_t used;  // bytes written by the longest text sharing the block
};
inline TextHead *text_head(const char *s) { return (TextHead *)(void *)(s - sizeof(TextHead)); }
// Room for a text of len bytes (and a NUL) in collected memory; head says
// `used` = len.
char *text_new(size_t len);
// The same in memory that lives until exit (the tree's string literals).
char *text_permanent(const char *s, size_t len);

// Canonical copy of a name: equal names give the same pointer, so scopes can
// compare names by identity. The result lives until exit.
const char *intern(const char *s, size_t len);
const char *intern(const char *s);
// The same for an object key made while the program runs: reclaimed once
// no object holds it (an intern of the same text keeps it until exit).
const char *intern_key(const char *s);
// The interned copy of s if there is one; never adds.
const char *intern_find(const char *s);

// ---- values -----------------------------------------------------------------
enum VType : uint32_t { V_NIL = 0, V_BOOL, V_NUM, V_STR, V_LST, V_OBJ, V_FN };

typedef Val *(*fnptr)(Val **args, int nargs);

// Where interned keys sit in an array of keys (scope names, object keys):
// found by pointer comparison, linearly while the array is short and through
// a hash index once it is long. Slots hold position + 1; 0 is empty.
struct KeyIndex {
  int *slots;
  int cap;
};
int keys_find_indexed(const char *const *keys, const KeyIndex *ix, const char *sym);
inline int keys_find(const char *const *keys, int len, const KeyIndex *ix, const char *sym) {
  if (ix->slots) return keys_find_indexed(keys, ix, sym);
  for (int i = 0; i < len; i++)
    if (keys[i] == sym) return i;
  return -1;
}
// Call after appending keys[len - 1]; builds the index from min_len keys on.
void keys_index_add(const char *const *keys, int len, int room, KeyIndex *ix);
inline void keys_added(const char *const *keys, int len, int room, KeyIndex *ix, int min_len) {
  if (len >= min_len) keys_index_add(keys, len, room, ix);
}
void keys_index_drop(KeyIndex *ix);

struct Lst {
  Val **items;  // the slots right after this record, or a heap array once outgrown
  int len, cap;
};
// Slots a list gets right after its record when no length is known.
constexpr int LST_INLINE = 4;

struct Obj {
  const char **keys;  // interned, in insertion order: equal keys are one pointer;
                      // the first few sit right after this record
  Val **vals;
  int len, cap;
  KeyIndex index;
};
// An object's first OBJ_INLINE keys and values sit right after its record.
constexpr int OBJ_INLINE = 4;

struct Fn {
  const char **params;  // shared with the N_FN node
  int nparams;
  Node *body;
  Env *closure;
  fnptr native;
  uint64_t param_names;  // the name bits of all parameters (see name_bit)
};

// 16 bytes: kind, a word whose meaning goes with the kind, and one word of
// payload. Lists, objects and functions keep their bodies behind a pointer
// so numbers stay small.
struct Val {
  VType type;
  union {
    int len;       // V_STR: bytes before the terminating NUL, as stored at construction
    int own;       // V_NUM: 0, NUM_OWNED or NUM_LENT
    int distinct;  // V_FN: 1 when the parameter names are distinct
  };
  union {
    int b;
    double n;
    char *s;
    Lst *lst;
    Obj *obj;
    Fn *fn;
  };
};
static_assert(sizeof(Val) == 16, "Val must stay 16 bytes");

extern Val g_nil_rec, g_true_rec, g_false_rec, g_brk_rec, g_cnt_rec;
#define g_nil (&g_nil_rec)
#define g_true (&g_true_rec)
#define g_false (&g_false_rec)
#define g_brk_sentinel (&g_brk_rec)
#define g_cnt_sentinel (&g_cnt_rec)

Val *val_bool(int b);
Val *val_num(double n);
// A number record with own == NUM_OWNED is referenced by exactly one scope
// slot, object field or list element and nothing else: an assignment may update it in
// place, and a released scope may recycle it. Reading it as a value (not
// inside arithmetic) gives the record away and clears the mark.
constexpr int NUM_OWNED = 1;
// An owned record passed to a user function as an argument is lent: it is
// not updated in place or recycled until the call returns, and then owned
// again unless the callee gave it away or kept its scope alive.
constexpr int NUM_LENT = 2;
void num_recycle(Val *v);
Val *val_str_n(const char *s, int len);
Val *val_str(const char *s);
Val *val_str_own(char *s, int len);  // s from text_new, text_permanent or sb_take
// The bytes of a text as a C string: a text whose bytes go on (see
// TextHead) first gets a terminated copy of its own. Texts never contain a
// NUL byte (every way of making one stops at the first).
const char *text_cstr(Val *v);
// a + the n bytes at p, extending a's block in place when a ends where the
// block's used part ends; null when a copy is the better way.
char *text_append(Val *a, const char *p, size_t n);
Val *val_lst();
// An empty list with room for cap items (a length known in advance; at
// most 0 means none).
Val *val_lst_cap(int cap);
Val *val_obj();
void lst_push(Val *lst, Val *item);
// A new list of a's items then b's, made at that length; a value that is
// not a list counts as empty.
Val *lst_concat(Val *a, Val *b);
// A value read to be kept or passed on: a number record is given away (no
// longer owned by the slot it came from, see NUM_OWNED).
inline Val *given_away(Val *v) {
  if (v->type == V_NUM) v->own = 0;
  return v;
}
// Element i for a reader that keeps or passes it on.
inline Val *lst_at(Val *lst, int i) { return given_away(lst->lst->items[i]); }
Val *obj_get(Val *obj, const char *key);
void obj_set(Val *obj, const char *key, Val *val);
// The same for a key already interned (names from the tree).
Val *obj_get_sym(Val *obj, const char *sym);
void obj_set_sym(Val *obj, const char *sym, Val *val);
// The field's slot, or null; reading through it gives nothing away, so a
// number found there stays owned by the field (see NUM_OWNED).
Val **obj_slot_sym(Val *obj, const char *sym);
// The same, remembering the key's position in *cache for the next object
// (objects never lose keys, and objects built alike share key order).
[[gnu::always_inline]] inline Val **obj_slot_cached(Val *obj, const char *sym, int32_t *cache) {
  Obj *o = obj->obj;
  uint32_t s = (uint32_t)*cache;
  if (__builtin_expect(s < (uint32_t)o->len && o->keys[s] == sym, 1)) return &o->vals[s];
  Val **p = obj_slot_sym(obj, sym);
  if (p) *cache = (int32_t)(p - o->vals);
  return p;
}
int val_truthy(Val *v);
int val_equal(Val *a, Val *b);

// Numbers to integers: truncation toward zero, saturating, NaN giving 0.
int32_t num_to_i32(double d);
int64_t num_to_i64(double d);

// ---- rendering ----------------------------------------------------------------
// Growable byte buffer for building texts.
struct StrBuf {
  char *p;
  size_t len, cap;
};
void sb_init(StrBuf *b);
void sb_add(StrBuf *b, const char *s, size_t n);
void sb_addc(StrBuf *b, char c);
// The bytes as a text (see text_new) with room to grow; b is then empty.
char *sb_take(StrBuf *b);
void sb_free(StrBuf *b);
// A number as text into buf (NUM_TEXT_MAX bytes); returns its length.
constexpr int NUM_TEXT_MAX = 64;
int format_num(char *buf, double n);
void render_num(StrBuf *b, double n);
void render_into(StrBuf *b, Val *v);
char *val_to_str(Val *v);  // a fresh text (see text_new)

// ---- output -------------------------------------------------------------------
// Standard output goes through one large buffer; out_flush before any exit.
void out_write(const char *s, size_t n);
void out_flush();
// Flushes standard output, then ends the process; when a write to standard
// output failed (other than into a closed pipe, which ends the process at
// once), it says so on standard error and the status becomes 1.
[[noreturn]] void orvex_exit(int status);
// Prefix of the write-error message: "orvex-min" unless a program's main sets its own.
extern const char *g_prog_name;
// Writes one formatted line to standard error and exits 1 (never caught).
[[noreturn]] void fatal(const char *fmt, ...) __attribute__((format(printf, 1, 2)));
// When set, fatal hands it the message line first; a driver that goes on
// after a fatal condition (a REPL) or locates it throws from here.
extern void (*g_fatal_hook)(const char *msg);

// ---- scopes -----------------------------------------------------------------
// Keys are interned names: compared by identity. Small scopes keep their
// bindings in the record itself.
constexpr int ENV_INLINE = 4;
// Past this many bindings a scope gets a hash index (by name identity).
constexpr int ENV_INDEX_MIN = 24;
struct Env {
  Env *parent;
  const char **keys;
  Val **vals;
  int len, cap;
  int captured;  // a function literal closed over this scope
  // One bit per name bound here (by name_bit): a clear bit proves a name
  // absent without searching, so cached lookups in outer scopes stay cheap.
  uint64_t names;
  KeyIndex index;
  const char *inline_keys[ENV_INLINE];
  Val *inline_vals[ENV_INLINE];
};
// Names are numbered modulo NAME_BITS in the byte before their text (see intern).
constexpr int NAME_BITS = 64;
inline uint64_t name_bit(const char *sym) { return (uint64_t)1 << ((const unsigned char *)sym)[-1] % NAME_BITS; }
// A scope from the pool of released call scopes, or a fresh one.
extern Env *g_env_pool;
Env *env_new_slow(Env *parent);
inline Env *env_new(Env *parent) {
  Env *e = g_env_pool;
  if (__builtin_expect(!e, 0)) return env_new_slow(parent);
  g_env_pool = e->parent;
  e->parent = parent;
  return e;
}
Val *env_get(Env *e, const char *sym);
void env_set_local(Env *e, const char *sym, Val *val);
void env_set(Env *e, const char *sym, Val *val);
void env_bind(Env *e, const char *sym, Val *val);
// Appends a binding the caller knows e does not have yet.
void env_push_slow(Env *e, const char *sym, Val *val);
inline void env_push(Env *e, const char *sym, Val *val) {
  if (e->len < e->cap && e->len + 1 < ENV_INDEX_MIN) {
    e->keys[e->len] = sym;
    e->vals[e->len] = val;
    e->len++;
    e->names |= name_bit(sym);
    return;
  }
  env_push_slow(e, sym, val);
}
// Lookup and assignment that remember where the name was found (scopes
// outward and slot) and re-check that place first next time.
Val **env_slot_cached_slow(Env *e, const char *sym, int32_t *depth, int32_t *slot);
// The slot holding the binding env_get would find, or null. The common case
// inline: the name was last found in this very scope.
[[gnu::always_inline]] inline Val **env_slot_cached(Env *e, const char *sym, int32_t *depth, int32_t *slot) {
  if (__builtin_expect(*depth == 0 && *slot < e->len && e->keys[*slot] == sym, 1)) return &e->vals[*slot];
  if (*depth == 1) {
    // one scope out (a global or closure variable used in a call)
    Env *p = e->parent;
    if (p && !(e->names & name_bit(sym)) && *slot < p->len && p->keys[*slot] == sym) return &p->vals[*slot];
  }
  return env_slot_cached_slow(e, sym, depth, slot);
}
[[gnu::always_inline]] inline Val *env_get_cached(Env *e, const char *sym, int32_t *depth, int32_t *slot) {
  Val **p = env_slot_cached(e, sym, depth, slot);
  return p ? *p : nullptr;
}
void env_set_cached(Env *e, const char *sym, Val *val, int32_t *depth, int32_t *slot);
// Returns a call scope to the pool when nothing closed over it, recycling
// the numbers only its bindings held.
void env_release_slow(Env *e);
inline void env_release(Env *e) {
  if (e->captured) return;
  if (__builtin_expect(e->index.slots != nullptr, 0)) return env_release_slow(e);
  for (int i = 0; i < e->len; i++) {
    Val *v = e->vals[i];
    if (v->type == V_NUM && v->own == NUM_OWNED) num_recycle(v);
  }
  e->len = 0;
  e->names = 0;
  e->parent = g_env_pool;
  g_env_pool = e;
}

// ---- errors and markers -------------------------------------------------------
// The one exception type: only the try builtin catches it.
struct OrvexError {
  char *msg;          // malloc'd copy, or null when the copy failed
  const Node *where;  // the node that raised it, when the raiser knows it
};
extern int g_try_depth;
[[noreturn]] void orvex_throw(const char *msg, const Node *where = nullptr);
Val *make_ret(Val *v);
Val *make_direct_ret(Val *v);
// Any two-element list headed by the text "__ret__" is a return marker.
int is_ret_shape(Val *v);
extern Val *g_direct_ret;
inline int is_ret(Val *v) { return v && (v == g_direct_ret || is_ret_shape(v)); }
Val *ret_val(Val *v);
void markers_init();

// Lowest address the native stack may reach: deeper recursion (in programs,
// source nesting or rendering) stops with a message instead of faulting.
extern char *g_stack_limit;
inline void check_stack() {
  char probe;
  if (__builtin_expect(&probe < g_stack_limit, 0)) fatal("orvex-min: recursion too deep (native stack exhausted)");
}

// ---- inert host mode ---------------------------------------------------------
// With g_host_inert set, output is dropped, no file is read, and every way
// out of the process (exit, fatal message, exhausted memory) throws HostStop
// to whoever set it instead. Builds with ORVEX_FUZZ also cap allocation and
// count evaluation steps against g_steps_left.
extern bool g_host_inert;
struct HostStop {};
// Releases every allocation made since the last reset (ORVEX_FUZZ builds only).
void runtime_reset();
#ifdef ORVEX_FUZZ
extern long g_steps_left;
#endif

// ---- limits -------------------------------------------------------------------
constexpr int PATH_MAX_LEN = 4095;  // paths are cut to this many bytes

// ---- files --------------------------------------------------------------------
// Whole file as a NUL-terminated text the caller frees (xfree); null when it
// cannot be opened or fully read, and always in inert host mode.
char *read_file(const char *path);
