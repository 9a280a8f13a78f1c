// Evaluation of nodes: operators, indexing, assignment, conditionals, loops.
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <type_traits>
#if defined(__SSE2__)
#include <emmintrin.h>
#endif

#include "eval.h"

char g_cur_file[PATH_MAX_LEN + 1];

[[noreturn]] static void undefined_name(Node *n) {
  g_fault_node = n;
  fatal("orvex-min: undefined: %s (in %s)", n->id, g_cur_file[0] ? g_cur_file : "?");
}

[[noreturn, gnu::cold]] static void division_by_zero(Node *n) { orvex_throw("division by zero", n); }

[[gnu::noinline]] static Val *eval_id_slow(Node *n, Env *env) {
  if (Val **p = env_slot_cached_slow(env, n->id, &n->cache_depth, &n->cache_slot)) return *p;
  if (n->id[0] == '_' && n->id[1] == '_') return g_nil;
  undefined_name(n);
}

// A variable read: inline when the name was last found in this very scope
// or one out, the rest out of line to keep callers small. These are
// env_slot_cached's checks written for the value: going through the slot
// pointer costs 2-5% of all instructions (the compiler keeps a null test).
[[gnu::always_inline]] static inline Val *eval_id(Node *n, Env *env) {
  uint32_t slot = (uint32_t)n->cache_slot;
  if (__builtin_expect(n->cache_depth == 0 && slot < (uint32_t)env->len && env->keys[slot] == n->id, 1))
    return env->vals[slot];
  if (n->cache_depth == 1) {
    // one scope out (a global or closure variable used in a call)
    Env *p = env->parent;
    if (p && !(env->names & name_bit(n->id)) && slot < (uint32_t)p->len && p->keys[slot] == n->id) return p->vals[slot];
  }
  return eval_id_slow(n, env);
}

Val *eval_name(Node *n, Env *env) { return eval_id(n, env); }


// Fuzzing builds give each run a budget of evaluation steps; a loop
// iteration counts as one even when its condition and body cost nothing.
static inline void fuzz_step() {
#ifdef ORVEX_FUZZ
  if (--g_steps_left < 0) throw HostStop{};
#endif
}

static Val *index_value(Val *obj, Val *idx, double x, bool give_away);

// x truncated toward zero when that lands in [0, len), else -1: the index
// num_to_i32 gives there, with one conversion and one unsigned test.
static inline int32_t index_in(double x, int32_t len) {
#if defined(__SSE2__)
  int32_t i = _mm_cvttsd_si32(_mm_set_sd(x));  // INT32_MIN when out of range or NaN
  return (uint32_t)i < (uint32_t)len ? i : -1;
#else
  return x > -1 && x < len ? (int32_t)x : -1;
#endif
}

// The usual index, an unboxed number in range of a list or text, inline;
// everything else (negative, fractional edge cases, objects) in
// index_value. Truncating a number in [0, len) is what num_to_i32 does.
[[gnu::always_inline]] static inline Val *index_fast(Val *obj, Val *idx, double x, bool give_away) {
  if (!idx) {
    if (obj->type == V_LST) {
      int32_t i = index_in(x, obj->lst->len);
      if (i >= 0) {
        Val *v = obj->lst->items[i];
        return give_away ? given_away(v) : v;
      }
    } else if (obj->type == V_STR) {
      int32_t i = index_in(x, obj->len);
      if (i >= 0) return val_str_n(obj->s + i, obj->s[i] ? 1 : 0);
    }
  }
  return index_value(obj, idx, x, give_away);
}

// The element an assignment writes in a list, or null; negative indexes
// are not counted from the end here, and a list never grows.
[[gnu::always_inline]] static inline Val **element_slot(Val *target, Val *idx, double x) {
  if (idx) {
    if (idx->type != V_NUM) return nullptr;
    x = idx->n;
  }
  int32_t i = index_in(x, target->lst->len);
  if (__builtin_expect(i < 0, 0)) i = num_to_i32(x);  // NaN is index 0
  return i >= 0 && i < target->lst->len ? &target->lst->items[i] : nullptr;
}

// The container of a field access or index: usually a variable, read here
// directly (a container is not a number, so nothing is given away).
static inline Val *container(Node *n, Env *env) {
  return n && n->type == N_ID ? eval_id(n, env) : eval_node(n, env);
}

// The value of n where it is bound or stored: a variable inline, its
// number given away.
[[gnu::always_inline]] static inline Val *value_of(Node *n, Env *env) {
  return n && n->type == N_ID ? given_away(eval_id(n, env)) : eval_node(n, env);
}

[[gnu::always_inline]] static inline Val *operand_by_handler(Node *n, Env *env, double *x);
[[gnu::always_inline]] static inline Val *effect(Node *n, Env *env);

// A value read in place as an operand: a number comes out through *x (its
// record stays with its holder), anything else is returned.
[[gnu::always_inline]] static inline Val *unboxed(Val *v, double *x) {
  if (v->type != V_NUM) return v;
  *x = v->n;
  return nullptr;
}

// Arithmetic works on unboxed doubles: an operand whose value is a number
// yields it through *x and returns null, so intermediate results never
// become records; any other operand returns its value. Only a result that
// is kept (bound, stored, passed) gets a record. Numbers and variables, the
// usual operands, are handled inline.
[[gnu::always_inline]] static inline Val *operand(Node *n, Env *env, double *x) {
  if (n) {
    if (n->type == N_NUM) {
      *x = n->num;
      return nullptr;
    }
    if (n->type == N_ID) {
      // A number is read out at once: a call later in the same expression
      // may update the variable's record in place.
      return unboxed(eval_id(n, env), x);
    }
  }
  return operand_by_handler(n, env, x);
}

Val *eval_operand(Node *n, Env *env, double *x) { return operand(n, env, x); }

// Elements and fields are read in place: a number there keeps its owner.
[[gnu::always_inline]] static inline Val *elem_fetch(Node *n, Env *env, double *x) {
  Val *obj = container(n->idx.obj, env);
  double i = 0;
  Val *idx = operand(n->idx.idx, env, &i);
  return unboxed(index_fast(obj, idx, i, false), x);
}

static Val *idx_operand(Node *n, Env *env, double *x) { return elem_fetch(n, env, x); }

// The right side of a store: stores of an element (swaps, copies between
// lists) get their own handlers with the element read inline.
template <bool ELEM>
[[gnu::always_inline]] static inline Val *stored_operand(Node *n, Env *env, double *x) {
  if constexpr (ELEM) return elem_fetch(n, env, x);
  return operand(n, env, x);
}

static bool is_elem(Node *n) { return n && n->type == N_IDX; }

[[gnu::always_inline]] static inline Val *field_operand(Val *obj, Node *n, double *x) {
  if (obj->type != V_OBJ) return g_nil;
  Val **slot = obj_slot_cached(obj, n->dot.field, &n->cache_slot);
  return slot ? unboxed(*slot, x) : g_nil;
}

static Val *dot_operand(Node *n, Env *env, double *x) { return field_operand(container(n->dot.obj, env), n, x); }

static Val *value_operand(Node *n, Env *env, double *) { return eval_node(n, env); }

static OperandFn choose_bin(Node *n);

static OperandFn choose_operand(Node *n) {
  switch (n->type) {
    case N_BIN: return choose_bin(n);
    case N_CALL: return call_operand_fn(n);
    case N_IDX: return idx_operand;
    case N_DOT: return dot_operand;
    default: return value_operand;
  }
}

[[gnu::always_inline]] static inline Val *operand_by_handler(Node *n, Env *env, double *x) {
  if (!n) return g_nil;
  OperandFn f = n->operand_fn;
  if (__builtin_expect(!f, 0)) f = n->operand_fn = choose_operand(n);
  return f(n, env, x);
}

// The number an operand counts as in arithmetic: non-numbers are 0.
static inline double as_num(Val *v, double x) {
  if (!v) return x;
  return v->type == V_NUM ? v->n : 0;
}

[[gnu::always_inline]] static inline bool operand_truthy(Node *n, Env *env) {
  double x;
  Val *v = operand(n, env, &x);
  if (!v) return x != 0;
  // comparisons answer with the shared truth records
  if (v == g_true) return true;
  if (v == g_false) return false;
  return val_truthy(v) != 0;
}

static void render_operand(StrBuf *b, Val *v, double x) {
  if (v) render_into(b, v);
  else render_num(b, x);
}

// The bytes a text or number operand of "+" contributes (as rendering gives
// them); false for other kinds.
static bool plain_piece(Val *v, double x, char *buf, const char **p, size_t *n) {
  if (v && v->type == V_STR) {
    *p = v->s;
    *n = (size_t)v->len;
    return true;
  }
  if (v && v->type != V_NUM) return false;
  *p = buf;
  *n = (size_t)format_num(buf, v ? v->n : x);
  return true;
}

static Val *concat_text(Val *a, double x, Val *b, double y) {
  char bufa[NUM_TEXT_MAX], bufb[NUM_TEXT_MAX];
  const char *pa, *pb;
  size_t na, nb;
  if (plain_piece(a, x, bufa, &pa, &na) && plain_piece(b, y, bufb, &pb, &nb) && na + nb < INT32_MAX) {
    if (a && a->type == V_STR)
      if (char *s = text_append(a, pb, nb)) return val_str_own(s, (int)(na + nb));
    char *s = text_new(na + nb);
    memcpy(s, pa, na);
    memcpy(s + na, pb, nb);
    s[na + nb] = 0;
    return val_str_own(s, (int)(na + nb));
  }
  StrBuf sb;
  sb_init(&sb);
  render_operand(&sb, a, x);
  render_operand(&sb, b, y);
  int len = (int)sb.len;
  return val_str_own(sb_take(&sb), len);
}

static Val *concat_lists(Val *a, Val *b) {
  Val *r = val_lst();
  for (int i = 0; i < a->lst->len; i++) lst_push(r, lst_at(a, i));
  for (int i = 0; i < b->lst->len; i++) lst_push(r, lst_at(b, i));
  return r;
}

static bool operands_equal(Val *a, double x, Val *b, double y) {
  if (!a && !b) return x == y;
  if (!a) return b->type == V_NUM && x == b->n;
  if (!b) return a->type == V_NUM && a->n == y;
  return val_equal(a, b) != 0;
}

// fmod, with a fast path for whole numbers (the usual case): integer
// remainder has the same sign rule, and a zero result keeps the sign of x.
static inline double num_mod(double x, double y) {
  // 32-bit division is much faster where both fit (INT32_MIN % -1 does not)
  if (x > -2147483648.0 && x < 2147483648.0 && y > 0 && y < 2147483648.0) {
    int32_t ix = (int32_t)x, iy = (int32_t)y;
    if ((double)ix == x && (double)iy == y) {
      int32_t r = ix % iy;
      return r == 0 ? std::copysign(0.0, x) : (double)r;
    }
  }
  const double lim = 9007199254740992.0;  // 2^53: exact in both types
  if (x > -lim && x < lim && y > -lim && y < lim && y != 0) {
    int64_t ix = (int64_t)x, iy = (int64_t)y;
    if ((double)ix == x && (double)iy == y) {
      double r = (double)(ix % iy);
      return r == 0 ? std::copysign(0.0, x) : r;
    }
  }
  return fmod(x, y);
}

// The operator of n applied to two evaluated operands (null: the number in x).
static Val *bin_apply(Node *n, char op, Val *a, double x, Val *b, double y, double *out) {
  switch (op) {
    case '+':
      if (a && a->type == V_STR) return concat_text(a, x, b, y);
      if (a && b && a->type == V_LST && b->type == V_LST) return concat_lists(a, b);
      if (b && b->type == V_STR) return concat_text(a, x, b, y);
      *out = as_num(a, x) + as_num(b, y);
      return nullptr;
    case '-': *out = as_num(a, x) - as_num(b, y); return nullptr;
    case '*': *out = as_num(a, x) * as_num(b, y); return nullptr;
    case '/': {
      double d = as_num(b, y);
      if (d == 0) division_by_zero(n);
      *out = as_num(a, x) / d;
      return nullptr;
    }
    case '%': *out = num_mod(as_num(a, x), as_num(b, y)); return nullptr;
    case '<': return val_bool(as_num(a, x) < as_num(b, y));
    case '>': return val_bool(as_num(a, x) > as_num(b, y));
    case 'l': return val_bool(as_num(a, x) <= as_num(b, y));
    case 'g': return val_bool(as_num(a, x) >= as_num(b, y));
    case '=': return val_bool(operands_equal(a, x, b, y));
    case '!': return val_bool(!operands_equal(a, x, b, y));
    default: return g_nil;
  }
}

[[gnu::always_inline]] static inline bool test(Node *n, Env *env);

static Val *eval_bin_generic(Node *n, Env *env, double *out) {
  char op = n->bin.op;
  if (op == '|') {
    if (test(n->bin.left, env)) return g_true;
    return val_bool(test(n->bin.right, env));
  }
  if (op == '&') {
    if (!test(n->bin.left, env)) return g_false;
    return val_bool(test(n->bin.right, env));
  }
  double x = 0, y = 0;
  Val *a = operand(n->bin.left, env, &x);
  Val *b = operand(n->bin.right, env, &y);
  return bin_apply(n, op, a, x, b, y, out);
}

// Operators on the usual operand shapes (number literals, variables) get
// their own code, chosen once per node: both sides are read without the
// generic operand dispatch, and two numbers skip the text and list cases.
enum OperandKind { K_ANY, K_NUM, K_ID, K_FIELD, K_ELEM };

// A field of a variable (`b.x`) read in place.
[[gnu::always_inline]] static inline Val *field_fetch(Node *n, Env *env, double *x) {
  return field_operand(eval_id(n->dot.obj, env), n, x);
}

template <int K>
[[gnu::always_inline]] static inline Val *fetch(Node *n, Env *env, double *x) {
  if constexpr (K == K_NUM) {
    *x = n->num;
    return nullptr;
  } else if constexpr (K == K_ID) {
    return unboxed(eval_id(n, env), x);
  } else if constexpr (K == K_FIELD) {
    return field_fetch(n, env, x);
  } else if constexpr (K == K_ELEM) {
    return elem_fetch(n, env, x);
  } else {
    return operand(n, env, x);
  }
}

// The six comparisons of two numbers.
template <char OP>
[[gnu::always_inline]] static inline bool num_compare(double x, double y) {
  switch (OP) {
    case '<': return x < y;
    case '>': return x > y;
    case 'l': return x <= y;
    case 'g': return x >= y;
    case '=': return x == y;
    default: return x != y;
  }
}

template <char OP, int LK, int RK>
static Val *bin_spec(Node *n, Env *env, double *out) {
  double x = 0, y = 0;
  Val *a = fetch<LK>(n->bin.left, env, &x);
  Val *b = fetch<RK>(n->bin.right, env, &y);
  if (__builtin_expect(a != nullptr || b != nullptr, 0)) return bin_apply(n, OP, a, x, b, y, out);
  switch (OP) {
    case '+': *out = x + y; return nullptr;
    case '-': *out = x - y; return nullptr;
    case '*': *out = x * y; return nullptr;
    case '/':
      if (y == 0) division_by_zero(n);
      *out = x / y;
      return nullptr;
    case '%': *out = num_mod(x, y); return nullptr;
    default: return num_compare<OP>(x, y) ? g_true : g_false;
  }
}

// The handler for one operator and each pair of the three basic kinds.
template <template <char, int, int> class H, char OP>
static auto by_kinds(int lk, int rk) {
  static const std::remove_const_t<decltype(H<OP, K_ANY, K_ANY>::fn)> table[3][3] = {
      {H<OP, K_ANY, K_ANY>::fn, H<OP, K_ANY, K_NUM>::fn, H<OP, K_ANY, K_ID>::fn},
      {H<OP, K_NUM, K_ANY>::fn, H<OP, K_NUM, K_NUM>::fn, H<OP, K_NUM, K_ID>::fn},
      {H<OP, K_ID, K_ANY>::fn, H<OP, K_ID, K_NUM>::fn, H<OP, K_ID, K_ID>::fn},
  };
  return table[lk][rk];
}

template <char OP, int LK, int RK>
struct BinFor {
  static constexpr OperandFn fn = bin_spec<OP, LK, RK>;
};

template <char OP>
static OperandFn bin_for_kinds(int lk, int rk) { return by_kinds<BinFor, OP>(lk, rk); }

static bool is_comparison(char op) { return op && strchr("<>lg=!", op) != nullptr; }

// The handler of a comparison operator (see is_comparison) for two kinds.
template <template <char, int, int> class H>
static auto comparison_by_kinds(char op, int lk, int rk) {
  switch (op) {
    case '<': return by_kinds<H, '<'>(lk, rk);
    case '>': return by_kinds<H, '>'>(lk, rk);
    case 'l': return by_kinds<H, 'l'>(lk, rk);
    case 'g': return by_kinds<H, 'g'>(lk, rk);
    case '=': return by_kinds<H, '='>(lk, rk);
    default: return by_kinds<H, '!'>(lk, rk);
  }
}

static int operand_kind(Node *n) {
  if (!n) return K_ANY;
  return n->type == N_NUM ? K_NUM : n->type == N_ID ? K_ID : K_ANY;
}

// The four arithmetic operators also read fields of variables and
// elements inline (float code through object fields, list arithmetic).
template <char OP, int LK>
static constexpr OperandFn arith_row[5] = {bin_spec<OP, LK, K_ANY>, bin_spec<OP, LK, K_NUM>, bin_spec<OP, LK, K_ID>,
                                           bin_spec<OP, LK, K_FIELD>, bin_spec<OP, LK, K_ELEM>};

template <char OP>
static OperandFn arith_for_kinds(int lk, int rk) {
  static const OperandFn *const rows[5] = {arith_row<OP, K_ANY>, arith_row<OP, K_NUM>, arith_row<OP, K_ID>,
                                           arith_row<OP, K_FIELD>, arith_row<OP, K_ELEM>};
  return rows[lk][rk];
}

static int arith_kind(Node *n) {
  if (n && n->type == N_DOT && n->dot.obj && n->dot.obj->type == N_ID) return K_FIELD;
  if (n && n->type == N_IDX) return K_ELEM;
  return operand_kind(n);
}

static OperandFn choose_bin(Node *n) {
  int l = operand_kind(n->bin.left), r = operand_kind(n->bin.right);
  int al = arith_kind(n->bin.left), ar = arith_kind(n->bin.right);
  switch (n->bin.op) {
    case '+': return arith_for_kinds<'+'>(al, ar);
    case '-': return arith_for_kinds<'-'>(al, ar);
    case '*': return arith_for_kinds<'*'>(al, ar);
    case '/': return arith_for_kinds<'/'>(al, ar);
    case '%': return bin_for_kinds<'%'>(l, r);
    default: return is_comparison(n->bin.op) ? comparison_by_kinds<BinFor>(n->bin.op, l, r) : eval_bin_generic;
  }
}

// Conditions: a comparison of the usual operand shapes answers a bool
// straight from the two numbers; other operators and nodes are tested by
// their value's truth.
template <char OP, int LK, int RK>
static bool cmp_test(Node *n, Env *env) {
  double x = 0, y = 0;
  Val *a = fetch<LK>(n->bin.left, env, &x);
  Val *b = fetch<RK>(n->bin.right, env, &y);
  if (__builtin_expect(a != nullptr || b != nullptr, 0)) return bin_apply(n, OP, a, x, b, y, &x) == g_true;
  return num_compare<OP>(x, y);
}

template <char OP, int LK, int RK>
struct CmpFor {
  static constexpr TestFn fn = cmp_test<OP, LK, RK>;
};


static bool and_test(Node *n, Env *env) { return test(n->bin.left, env) && test(n->bin.right, env); }
static bool or_test(Node *n, Env *env) { return test(n->bin.left, env) || test(n->bin.right, env); }
static bool value_test(Node *n, Env *env) { return operand_truthy(n, env); }

static TestFn choose_test(Node *n) {
  if (n->type != N_BIN) return value_test;
  int l = operand_kind(n->bin.left), r = operand_kind(n->bin.right);
  if (is_comparison(n->bin.op)) return comparison_by_kinds<CmpFor>(n->bin.op, l, r);
  switch (n->bin.op) {
    case '&': return and_test;
    case '|': return or_test;
    default: return value_test;
  }
}

[[gnu::always_inline]] static inline bool test(Node *n, Env *env) {
  if (!n) return false;  // a missing condition is nil
  TestFn f = n->test_fn;
  if (__builtin_expect(!f, 0)) f = n->test_fn = choose_test(n);
  return f(n, env);
}

// idx null means the index is the number x (evaluated unboxed). A list
// element read to be kept elsewhere is given away (see NUM_OWNED).
static Val *index_value(Val *obj, Val *idx, double x, bool give_away) {
  if (obj->type == V_OBJ) return idx && idx->type == V_STR ? obj_get(obj, text_cstr(idx)) : g_nil;
  if (idx) {
    if (idx->type != V_NUM) return g_nil;
    x = idx->n;
  }
  if (obj->type != V_STR && obj->type != V_LST) return g_nil;
  int64_t i = num_to_i32(x);
  int64_t len = obj->type == V_STR ? obj->len : obj->lst->len;
  if (i < 0) i += len;
  if (i < 0 || i >= len) return g_nil;
  if (obj->type == V_LST) return give_away ? lst_at(obj, (int)i) : obj->lst->items[i];
  return val_str_n(obj->s + i, obj->s[i] ? 1 : 0);
}

static Val *dot_assign_target(Node *n, Env *env) {
  Node *on = n->dot_assign.obj;
  Val *target;
  if (on && on->type == N_ID) {
    target = env_get_cached(env, on->id, &on->cache_depth, &on->cache_slot);
    // Assigning a field of an unbound (or nil) name makes the object.
    if (!target || target == g_nil) {
      target = val_obj();
      env_set(env, on->id, target);
    }
  } else {
    target = eval_node(on, env);
  }
  return target;
}

// Sets a field, through the node's remembered key position when it holds.
static inline void set_field(Node *n, Val *target, Val *v) {
  if (Val **slot = obj_slot_cached(target, n->dot_assign.field, &n->cache_slot)) *slot = v;
  else obj_set_sym(target, n->dot_assign.field, v);
}

static Val *eval_dot_assign(Node *n, Env *env) {
  Val *target = dot_assign_target(n, env);
  Val *v = value_of(n->dot_assign.val, env);
  if (target->type == V_OBJ) set_field(n, target, v);
  return v;
}

static Val *eval_idx_assign(Node *n, Env *env) {
  Val *target = container(n->idx_assign.obj, env);
  double x = 0;
  Val *idx = operand(n->idx_assign.idx, env, &x);
  Val *v = value_of(n->idx_assign.val, env);
  if (target->type == V_OBJ) {
    if (idx && idx->type == V_STR) obj_set(target, text_cstr(idx), v);
  } else if (target->type == V_LST) {
    if (Val **slot = element_slot(target, idx, x)) *slot = v;
  }
  return v;
}

static inline bool is_marker(Val *v) {
  VType t = v->type;
  if (t < V_STR) return false;  // nil, truth values and numbers, the usual results
  return v == g_brk_sentinel || v == g_cnt_sentinel || (t == V_LST && is_ret(v));
}

static EffectFn choose_effect(Node *n);

// Runs statements [0, end) of a block, stopping at a marker (returned);
// otherwise the last value. The statements' handlers are chosen once, the
// first time the block runs (cache_depth marks it), and then called
// directly.
static inline Val *run_stmts(Node *n, Env *env, int end) {
  Node **st = n->block.stmts;
  if (__builtin_expect(n->cache_depth != 1, 0)) {
    for (int i = 0; i < n->block.n; i++)
      if (!st[i]->effect_fn) st[i]->effect_fn = choose_effect(st[i]);
    n->cache_depth = 1;
  }
  Val *v = g_nil;
  for (int i = 0; i < end; i++) {
    v = st[i]->effect_fn(st[i], env);
    if (is_marker(v)) return v;
  }
  return v;
}

// Runs every statement of a block but the last; the value that stops it
// (a marker, or nil for an empty block), else null.
static Val *run_block_prefix(Node *n, Env *env) {
  int last = n->block.n - 1;
  if (last < 0) return g_nil;
  Val *v = run_stmts(n, env, last);
  return is_marker(v) ? v : nullptr;
}

// Loop bodies: brk ends the loop with nil, cnt goes on (leaving nil as the
// result), a return marker leaves the loop as its value.
enum LoopStep { STEP_ON, STEP_BREAK, STEP_RETURN };

static inline LoopStep loop_body(Node *body, Env *env, Val **result, bool as_effect) {
  Val *r = as_effect ? effect(body, env) : eval_node(body, env);
  if (r == g_brk_sentinel) {
    *result = g_nil;
    return STEP_BREAK;
  }
  if (r == g_cnt_sentinel) {
    *result = g_nil;
    return STEP_ON;
  }
  *result = r;
  return r->type == V_LST && is_ret(r) ? STEP_RETURN : STEP_ON;
}

// The branch an if runs (null when none applies).
static Node *choose_branch(Node *n, Env *env) {
  if (test(n->iff.cond, env)) return n->iff.then;
  for (int i = 0; i < n->iff.nelif; i++)
    if (test(n->iff.elifs[i], env)) return n->iff.elif_body[i];
  return n->iff.els;
}

// A block of one statement gives that statement's value: loops run the
// statement itself.
static Node *loop_stmt(Node *body) {
  while (body && body->type == N_BLOCK && body->block.n == 1) body = body->block.stmts[0];
  return body;
}

static Val *eval_while(Node *n, Env *env, bool as_effect) {
  Val *result = g_nil;
  Node *cond = n->whl.cond, *body = loop_stmt(n->whl.body);
  while (test(cond, env)) {
    fuzz_step();
    if (loop_body(body, env, &result, as_effect) != STEP_ON) break;
  }
  return result;
}

// The length is read again before every element: the body may append.
static Val *eval_for(Node *n, Env *env, bool as_effect) {
  Val *xs = eval_node(n->forin.iter, env);
  Val *result = g_nil;
  if (xs->type != V_LST) return g_nil;
  Node *body = loop_stmt(n->forin.body);
  for (int i = 0; i < xs->lst->len; i++) {
    fuzz_step();
    env_set_cached(env, n->forin.var, lst_at(xs, i), &n->cache_depth, &n->cache_slot);
    if (loop_body(body, env, &result, as_effect) != STEP_ON) break;
  }
  return result;
}

// A function value's len is 1 when its parameter names are distinct, so a
// call can bind them without searching its new scope.
static int params_distinct(Node *n) {
  if (n->cache_slot < 0) {
    n->cache_slot = 1;
    for (int i = 0; i < n->fn.nparams; i++)
      for (int j = 0; j < i; j++)
        if (n->fn.params[i] == n->fn.params[j]) n->cache_slot = 0;
  }
  return n->cache_slot;
}

static Val *eval_fn_literal(Node *n, Env *env) {
  Val *v = (Val *)gc_alloc(sizeof(Val));
  v->type = V_FN;
  v->len = params_distinct(n);
  Fn *f = (Fn *)gc_alloc(sizeof(Fn));
  f->params = n->fn.params;
  f->nparams = n->fn.nparams;
  f->body = n->fn.body;
  f->closure = env;
  f->native = nullptr;
  f->param_names = 0;
  for (int i = 0; i < f->nparams; i++) f->param_names |= name_bit(f->params[i]);
  v->fn = f;
  env->captured = 1;
  return v;
}

// A number made for an element right here is owned by that element.
static Val *eval_list_literal(Node *n, Env *env) {
  Val *v = val_lst();
  for (int i = 0; i < n->lst.n; i++) {
    Val *x = eval_node(n->lst.items[i], env);
    if (x->type == V_NUM && fresh_number_node(n->lst.items[i])) x->len = NUM_OWNED;
    lst_push(v, x);
  }
  return v;
}

// A number made for a field right here is owned by that field.
static Val *eval_obj_literal(Node *n, Env *env) {
  Val *v = val_obj();
  for (int i = 0; i < n->obj.n; i++) {
    Val *x = eval_node(n->obj.vals[i], env);
    if (x->type == V_NUM && fresh_number_node(n->obj.vals[i])) x->len = NUM_OWNED;
    obj_set_sym(v, n->obj.keys[i], x);
  }
  return v;
}

static Val *num_value(Node *n, Env *) { return val_num(n->num); }

// The bytes never change, so they are shared; empty and one-byte texts
// are shared records as well.
static Val *str_value(Node *n, Env *) {
  if (n->cache_slot < 0) n->cache_slot = (int32_t)strlen(n->str);
  if (n->cache_slot <= 1) return val_str_n(n->str, n->cache_slot);
  return val_str_own((char *)n->str, n->cache_slot);
}

static Val *bool_value(Node *n, Env *) { return val_bool(n->b); }
static Val *nil_value(Node *, Env *) { return g_nil; }

static Val *id_value(Node *n, Env *env) { return given_away(eval_id(n, env)); }

static Val *bin_value(Node *n, Env *env) {
  double x;
  Val *v = operand_by_handler(n, env, &x);
  return v ? v : val_num(x);
}

static Val *unary_value(Node *n, Env *env) {
  Val *v = eval_node(n->unary.operand, env);
  if (n->unary.op == '!') return val_bool(!val_truthy(v));
  if (n->unary.op == '-') return val_num(v->type == V_NUM ? -v->n : -0.0);
  return v;
}

// The chosen branch of an if and the last statement of a block are tail
// calls: they add no native stack depth.
static Val *if_value(Node *n, Env *env) { return eval_node(choose_branch(n, env), env); }

static Val *block_value(Node *n, Env *env) {
  if (Val *stop = run_block_prefix(n, env)) return stop;
  return eval_node(n->block.stmts[n->block.n - 1], env);
}

static Val *while_value(Node *n, Env *env) { return eval_while(n, env, false); }
static Val *for_value(Node *n, Env *env) { return eval_for(n, env, false); }

static Val *assign_value(Node *n, Env *env) {
  Val *v = value_of(n->assign.val, env);
  env_set_cached(env, n->assign.name, v, &n->cache_depth, &n->cache_slot);
  return v;
}

static Val *idx_value(Node *n, Env *env) {
  Val *obj = container(n->idx.obj, env);
  double x = 0;
  Val *idx = operand(n->idx.idx, env, &x);
  return index_fast(obj, idx, x, true);
}

static Val *dot_value(Node *n, Env *env) {
  Val *obj = container(n->dot.obj, env);
  if (obj->type != V_OBJ) return g_nil;
  Val **slot = obj_slot_cached(obj, n->dot.field, &n->cache_slot);
  return slot ? given_away(*slot) : g_nil;
}

static Val *use_value(Node *n, Env *env) {
  try {
    g_eval_hooks.use(n->use.path, env);
  } catch (...) {
    unwound(n);
    throw;
  }
  return g_nil;
}

static Val *brk_value(Node *, Env *) { return g_brk_sentinel; }
static Val *cnt_value(Node *, Env *) { return g_cnt_sentinel; }

static Val *ret_value(Node *n, Env *env) {
  Val *v = eval_node(n->ret.ex, env);
  return n->ret.direct ? make_direct_ret(v) : make_ret(v);
}

static EffectFn choose_value(Node *n) {
  switch (n->type) {
    case N_NUM: return num_value;
    case N_STR: return str_value;
    case N_BOOL: return bool_value;
    case N_NIL: return nil_value;
    case N_ID: return id_value;
    case N_LST: return eval_list_literal;
    case N_OBJ: return eval_obj_literal;
    case N_BIN: return bin_value;
    case N_UNARY: return unary_value;
    case N_CALL: return eval_call_node;
    case N_IF: return if_value;
    case N_WHILE: return while_value;
    case N_FOR: return for_value;
    case N_ASSIGN: return assign_value;
    case N_DOT_ASSIGN: return eval_dot_assign;
    case N_IDX_ASSIGN: return eval_idx_assign;
    case N_FN: return eval_fn_literal;
    case N_BLOCK: return block_value;
    case N_IDX: return idx_value;
    case N_DOT: return dot_value;
    case N_USE: return use_value;
    case N_BRK: return brk_value;
    case N_CNT: return cnt_value;
    case N_RET: return ret_value;
    default: return nil_value;
  }
}

Val *eval_node(Node *n, Env *env) {
  check_stack();
  fuzz_step();
  if (!n) return g_nil;
  EffectFn f = n->value_fn;
  if (__builtin_expect(!f, 0)) f = n->value_fn = choose_value(n);
  return f(n, env);
}

static bool is_math_call(Node *n);

bool fresh_number_node(Node *n) {
  return n && (n->type == N_NUM || n->type == N_BIN || is_math_call(n));
}

// Stores the number x into a slot: in place when the slot owns its record.
static void store_owned(Val **slot, double x) {
  if ((*slot)->type == V_NUM && (*slot)->len == NUM_OWNED) {
    (*slot)->n = x;
    return;
  }
  Val *box = val_num(x);
  box->len = NUM_OWNED;
  *slot = box;
}

// An element assignment whose value is dropped: a number goes into the
// element's own record when it owns one.
template <bool ELEM>
static Val *eval_idx_assign_effect(Node *n, Env *env) {
  Node *rhs = n->idx_assign.val;
  Val *target = container(n->idx_assign.obj, env);
  double i = 0, x = 0;
  Val *idx = operand(n->idx_assign.idx, env, &i);
  Val *v = stored_operand<ELEM>(rhs, env, &x);
  if (target->type == V_OBJ) {
    if (idx && idx->type == V_STR) obj_set(target, text_cstr(idx), v ? v : val_num(x));
  } else if (target->type == V_LST) {
    if (Val **slot = element_slot(target, idx, i)) {
      if (v) *slot = v;
      else store_owned(slot, x);
    }
  }
  return v ? v : g_nil;
}

// A field assignment whose value is dropped: like eval_dot_assign, with a
// number stored into the field's own record when it owns one.
static Val *eval_dot_assign_effect(Node *n, Env *env) {
  Node *rhs = n->dot_assign.val;
  Val *target = dot_assign_target(n, env);
  double x;
  Val *v = operand(rhs, env, &x);
  if (target->type != V_OBJ) return v ? v : g_nil;
  if (v) {
    set_field(n, target, v);
    return v;
  }
  Val **slot = obj_slot_cached(target, n->dot_assign.field, &n->cache_slot);
  if (slot) {
    store_owned(slot, x);
  } else {
    Val *box = val_num(x);
    box->len = NUM_OWNED;
    obj_set_sym(target, n->dot_assign.field, box);
  }
  return g_nil;
}

// An assignment whose value is dropped: a number (made by arithmetic or
// read from a variable, element, field or call) goes into the variable's
// own record when the variable owns one, else into a new record it owns;
// the record it came from stays with its holder. Numbers are never told
// apart by record, so copying them is invisible.
template <bool ELEM>
static Val *eval_assign_effect(Node *n, Env *env) {
  double x;
  Val *v = stored_operand<ELEM>(n->assign.val, env, &x);
  if (!v) {
    Val **slot = env_slot_cached(env, n->assign.name, &n->cache_depth, &n->cache_slot);
    if (slot) {
      store_owned(slot, x);
      return g_nil;
    }
    Val *box = val_num(x);
    box->len = NUM_OWNED;
    env_set_cached(env, n->assign.name, box, &n->cache_depth, &n->cache_slot);
    return g_nil;
  }
  env_set_cached(env, n->assign.name, v, &n->cache_depth, &n->cache_slot);
  return v;
}

static bool is_math_call(Node *n) { return n->type == N_CALL && call_site_is_math(n); }

static Val *block_effect(Node *n, Env *env) { return run_stmts(n, env, n->block.n); }

static Val *if_effect(Node *n, Env *env) { return effect(choose_branch(n, env), env); }
static Val *while_effect(Node *n, Env *env) { return eval_while(n, env, true); }
static Val *for_effect(Node *n, Env *env) { return eval_for(n, env, true); }

// `x = x OP y` (and `x += y`) with y a number literal or a variable: the
// variable's slot is found once and, when it holds a number it owns,
// updated in place. Anything unusual takes the general path.
template <char OP, int RK>
static Val *assign_self_effect(Node *n, Env *env) {
  Node *rhs = n->assign.val;
  Val **slot = env_slot_cached(env, n->assign.name, &n->cache_depth, &n->cache_slot);
  double y;
  if (!slot || (*slot)->type != V_NUM || fetch<RK>(rhs->bin.right, env, &y))
    return eval_assign_effect<false>(n, env);
  double x = (*slot)->n, r;
  switch (OP) {
    case '+': r = x + y; break;
    case '-': r = x - y; break;
    case '*': r = x * y; break;
    case '/':
      if (y == 0) division_by_zero(rhs);
      r = x / y;
      break;
    default: r = num_mod(x, y); break;
  }
  store_owned(slot, r);
  return g_nil;
}

template <char OP>
static EffectFn self_for_kind(int rk) {
  return rk == K_NUM ? assign_self_effect<OP, K_NUM> : assign_self_effect<OP, K_ID>;
}

static EffectFn choose_assign_effect(Node *n) {
  Node *rhs = n->assign.val;
  if (is_elem(rhs)) return eval_assign_effect<true>;
  if (!rhs || rhs->type != N_BIN || !rhs->bin.left || rhs->bin.left->type != N_ID ||
      rhs->bin.left->id != n->assign.name)
    return eval_assign_effect<false>;
  int rk = operand_kind(rhs->bin.right);
  if (rk == K_ANY) return eval_assign_effect<false>;
  switch (rhs->bin.op) {
    case '+': return self_for_kind<'+'>(rk);
    case '-': return self_for_kind<'-'>(rk);
    case '*': return self_for_kind<'*'>(rk);
    case '/': return self_for_kind<'/'>(rk);
    case '%': return self_for_kind<'%'>(rk);
    default: return eval_assign_effect<false>;
  }
}

static EffectFn choose_effect(Node *n) {
  switch (n->type) {
    case N_ASSIGN: return choose_assign_effect(n);
    case N_DOT_ASSIGN: return eval_dot_assign_effect;
    case N_IDX_ASSIGN:
      return is_elem(n->idx_assign.val) ? eval_idx_assign_effect<true> : eval_idx_assign_effect<false>;
    case N_WHILE: return while_effect;
    case N_FOR: return for_effect;
    case N_IF: return if_effect;
    case N_BLOCK: return block_effect;
    case N_CALL: return eval_call_node;
    default: return eval_node;
  }
}

[[gnu::always_inline]] static inline Val *effect(Node *n, Env *env) {
  if (!n) return g_nil;
  EffectFn f = n->effect_fn;
  if (__builtin_expect(!f, 0)) f = n->effect_fn = choose_effect(n);
  return f(n, env);
}

Val *eval_effect(Node *n, Env *env) { return effect(n, env); }

Val *eval_tail_operand(Node *n, Env *env, double *out) {
  for (;;) {
    if (!n) return g_nil;
    switch (n->type) {
      case N_IF: n = choose_branch(n, env); continue;
      case N_BLOCK: {
        if (Val *stop = run_block_prefix(n, env)) return stop;
        n = n->block.stmts[n->block.n - 1];
        continue;
      }
      default: return operand(n, env, out);
    }
  }
}
