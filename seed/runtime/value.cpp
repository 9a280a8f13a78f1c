// Value constructors, list and object operations, truth and equality.
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <cstring>

#include "runtime.h"

Val g_nil_rec = {V_NIL, 0, {0}};
Val g_true_rec = {V_BOOL, 0, {1}};
Val g_false_rec = {V_BOOL, 0, {0}};

// A list or object value, its record and its first slots share one block:
// the record right after the value, the slots right after the record.
static Val *val_new(VType t, size_t record = 0) {
  Val *v = (Val *)gc_alloc(sizeof(Val) + record);
  v->type = t;
  v->len = 0;
  return v;
}

Val *val_bool(int b) { return b ? g_true : g_false; }

// Recycled number records, linked through their payload. Number records
// hold no pointers, so the collector never looks inside them.
static Val *g_num_free;

Val *val_num(double n) {
  Val *v = g_num_free;
  if (v) {
    g_num_free = (Val *)v->s;
    v->type = V_NUM;
  } else {
    v = (Val *)gc_atomic(sizeof(Val));
    v->type = V_NUM;
  }
  v->own = 0;
  v->n = n;
  return v;
}

void num_recycle(Val *v) {
  v->type = V_NIL;  // a stale reference would read nil, never a number
  v->own = 0;
  v->s = (char *)g_num_free;
  g_num_free = v;
}

void num_pool_reset() { g_num_free = nullptr; }

Val *val_str_own(char *s, int len) {
  Val *v = val_new(V_STR);
  v->s = s;
  v->len = len;
  return v;
}

// Texts never change and are told apart only by their bytes, so every
// empty or one-byte text is one of these shared records (scanning a text
// byte by byte allocates nothing). Their heads leave no room to append.
struct ByteText {
  TextHead head;
  char bytes[8];
};
static ByteText g_byte_texts[256];
static Val g_byte_vals[256], g_empty_val;

Val *val_str_n(const char *s, int len) {
  if (len == 0) {
    if (!g_empty_val.s) g_empty_val = {V_STR, 0, {.s = g_byte_texts[0].bytes}};
    return &g_empty_val;
  }
  if (len == 1) {
    unsigned char c = (unsigned char)s[0];
    Val *v = &g_byte_vals[c];
    if (!v->s) {
      g_byte_texts[c] = {{1, 1}, {(char)c}};
      *v = {V_STR, 1, {.s = g_byte_texts[c].bytes}};
    }
    return v;
  }
  char *copy = text_new((size_t)len);
  memcpy(copy, s, (size_t)len);
  return val_str_own(copy, len);
}

const char *text_cstr(Val *v) {
  if (v->s[v->len] == 0) return v->s;
  char *copy = text_new((size_t)v->len);
  memcpy(copy, v->s, (size_t)v->len);
  v->s = copy;  // the same bytes: no reader can tell
  return copy;
}

// Appends that grow a text past this many bytes leave room for as many
// again, so a text built piece by piece is copied a logarithmic number of
// times; shorter results are exact, as copying them costs little.
static const size_t TEXT_ROOM_MIN = 64;

char *text_append(Val *a, const char *p, size_t n) {
  TextHead *h = text_head(a->s);
  size_t len = (size_t)a->len;
  if (h->used != len) return nullptr;  // other bytes follow a's already
  if (h->cap - len >= n) {
    memcpy(a->s + len, p, n);
    a->s[len + n] = 0;
    h->used = (uint32_t)(len + n);
    return a->s;
  }
  size_t total = len + n;
  if (total < TEXT_ROOM_MIN || total > (size_t)INT32_MAX / 2) return nullptr;
  char *t = text_new(2 * total);
  text_head(t)->used = (uint32_t)total;
  memcpy(t, a->s, len);
  memcpy(t + len, p, n);
  t[total] = 0;
  return t;
}

Val *val_str(const char *s) { return val_str_n(s, (int)strlen(s)); }

static inline bool lst_items_inline(Lst *l) { return l->items == (Val **)(l + 1); }

Val *val_lst_cap(int cap) {
  // a list of known length gets just its slots; one that will grow by
  // pushes gets a few
  if (cap <= 0) cap = LST_INLINE;
  bool inline_items = cap <= LST_INLINE;
  Val *v = val_new(V_LST, sizeof(Lst) + (inline_items ? sizeof(Val *) * (size_t)cap : 0));
  Lst *l = (Lst *)(v + 1);
  l->items = inline_items ? (Val **)(l + 1) : (Val **)gc_alloc(sizeof(Val *) * (size_t)cap);
  l->cap = cap;
  v->lst = l;
  return v;
}

Val *val_lst() { return val_lst_cap(0); }

Val *val_obj() {
  Val *v = val_new(V_OBJ, sizeof(Obj) + (sizeof(char *) + sizeof(Val *)) * OBJ_INLINE);
  Obj *o = (Obj *)(v + 1);
  o->keys = (const char **)(o + 1);
  o->vals = (Val **)(o->keys + OBJ_INLINE);
  o->cap = OBJ_INLINE;
  v->obj = o;
  return v;
}

void lst_push(Val *lst, Val *item) {
  Lst *l = lst->lst;
  if (l->len == l->cap) {
    if (l->cap > INT32_MAX / 2) fatal("orvex-min: list too long");
    int ncap = l->cap ? l->cap * 2 : 4;
    l->items = (Val **)xgrow(l->items, (size_t)l->len, (size_t)ncap, sizeof(Val *), !lst_items_inline(l), false);
    l->cap = ncap;
  }
  l->items[l->len++] = item;
}

static int list_len(Val *v) { return v->type == V_LST ? v->lst->len : 0; }

Val *lst_concat(Val *a, Val *b) {
  int na = list_len(a), nb = list_len(b);
  Val *r = val_lst_cap(na <= INT32_MAX - nb ? na + nb : 0);
  for (int i = 0; i < na; i++) lst_push(r, lst_at(a, i));
  for (int i = 0; i < nb; i++) lst_push(r, lst_at(b, i));
  return r;
}

// Object keys are interned, so a key is found by pointer comparison:
// linearly while the object is small, past OBJ_INDEX_MIN keys through a hash
// index over the same arrays. Key order is always the order of the arrays.
static const int OBJ_INDEX_MIN = 16;

static inline int obj_find(Obj *o, const char *sym) { return keys_find(o->keys, o->len, &o->index, sym); }

Val **obj_slot_sym(Val *obj, const char *sym) {
  int i = obj_find(obj->obj, sym);
  return i < 0 ? nullptr : &obj->obj->vals[i];
}

Val *obj_get_sym(Val *obj, const char *sym) {
  int i = obj_find(obj->obj, sym);
  if (i < 0) return g_nil;
  return given_away(obj->obj->vals[i]);
}

Val *obj_get(Val *obj, const char *key) {
  const char *sym = intern_find(key);  // a text never interned is no key of any object
  return sym ? obj_get_sym(obj, sym) : g_nil;
}

void obj_set_sym(Val *obj, const char *sym, Val *val) {
  Obj *o = obj->obj;
  int i = obj_find(o, sym);
  if (i >= 0) {
    o->vals[i] = val;
    return;
  }
  if (o->len == o->cap) {
    if (o->cap > INT32_MAX / 4) fatal("orvex-min: object too large");
    int ncap = o->cap * 2;
    bool heap = o->keys != (const char **)(o + 1);
    // scanned: keys made at run time live only as long as objects hold them
    o->keys = (const char **)xgrow(o->keys, (size_t)o->len, (size_t)ncap, sizeof(char *), heap, false);
    o->vals = (Val **)xgrow(o->vals, (size_t)o->len, (size_t)ncap, sizeof(Val *), heap, false);
    o->cap = ncap;
  }
  o->keys[o->len] = sym;
  o->vals[o->len] = val;
  o->len++;
  keys_added(o->keys, o->len, o->cap, &o->index, OBJ_INDEX_MIN);
}

void obj_set(Val *obj, const char *key, Val *val) { obj_set_sym(obj, intern_key(key), val); }

int val_truthy(Val *v) {
  if (!v) return 0;
  switch (v->type) {
    case V_NIL: return 0;
    case V_BOOL: return v->b != 0;
    case V_NUM: return v->n != 0.0;
    case V_STR: return v->len > 0;
    case V_LST: return v->lst->len > 0;
    default: return 1;
  }
}

int val_equal(Val *a, Val *b) {
  if (a->type != b->type) return 0;
  switch (a->type) {
    case V_NIL: return 1;
    case V_BOOL: return a->b == b->b;
    case V_NUM: return a->n == b->n;
    case V_STR: return a == b || (a->len == b->len && memcmp(a->s, b->s, (size_t)a->len) == 0);
    default: return a == b;
  }
}

int32_t num_to_i32(double d) {
  if (std::isnan(d)) return 0;
  if (d >= 2147483647.0) return INT32_MAX;
  if (d <= -2147483648.0) return INT32_MIN;
  return (int32_t)d;
}

int64_t num_to_i64(double d) {
  if (std::isnan(d)) return 0;
  if (d >= 9223372036854775807.0) return INT64_MAX;
  if (d <= -9223372036854775808.0) return INT64_MIN;
  return (int64_t)d;
}
