// Operands and arithmetic: operators on unboxed numbers, texts and lists, and conditions.
#include <cstring>
#include <type_traits>

#include "eval_internal.h"

Val *eval_operand(Node *n, Env *env, double *x) { return operand(n, env, x); }

static Val *idx_operand(Node *n, Env *env, double *x) { return elem_fetch(n, env, x); }

static Val *dot_operand(Node *n, Env *env, double *x) { return field_operand(container(n->dot.obj, env), n, x); }

static Val *value_operand(Node *n, Env *env, double *) { return eval_node(n, env); }

static OperandFn choose_bin(Node *n);
static Val *eval_bin_generic(Node *n, Env *env, double *out);

OperandFn choose_operand(Node *n) {
  if constexpr (PLAIN) return n->type == N_BIN ? eval_bin_generic : value_operand;
  switch (n->type) {
    case N_BIN: return choose_bin(n);
    case N_CALL: return call_operand_fn(n);
    case N_IDX: return idx_operand;
    case N_DOT: return dot_operand;
    default: return value_operand;
  }
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

static bool operands_equal(Val *a, double x, Val *b, double y) {
  if (!a && !b) return x == y;
  if (!a) return b->type == V_NUM && x == b->n;
  if (!b) return a->type == V_NUM && a->n == y;
  return val_equal(a, b) != 0;
}

// The operator of n applied to two evaluated operands (null: the number in x).
static Val *bin_apply(Node *n, char op, Val *a, double x, Val *b, double y, double *out) {
  switch (op) {
    case '+':
      if (a && a->type == V_STR) return concat_text(a, x, b, y);
      if (a && b && a->type == V_LST && b->type == V_LST) return lst_concat(a, b);
      if (b && b->type == V_STR) return concat_text(a, x, b, y);
      *out = num_arith('+', as_num(a, x), as_num(b, y), n);
      return nullptr;
    // each operator a constant, so that num_arith folds to its one case
    case '-': *out = num_arith('-', as_num(a, x), as_num(b, y), n); return nullptr;
    case '*': *out = num_arith('*', as_num(a, x), as_num(b, y), n); return nullptr;
    case '/': *out = num_arith('/', as_num(a, x), as_num(b, y), n); return nullptr;
    case '%': *out = num_arith('%', as_num(a, x), as_num(b, y), n); return nullptr;
    case '<': return val_bool(num_compare('<', as_num(a, x), as_num(b, y)));
    case '>': return val_bool(num_compare('>', as_num(a, x), as_num(b, y)));
    case 'l': return val_bool(num_compare('l', as_num(a, x), as_num(b, y)));
    case 'g': return val_bool(num_compare('g', as_num(a, x), as_num(b, y)));
    case '=': return val_bool(operands_equal(a, x, b, y));
    case '!': return val_bool(!operands_equal(a, x, b, y));
    default: return g_nil;
  }
}

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

template <char OP, int LK, int RK>
static Val *bin_spec(Node *n, Env *env, double *out) {
  double x = 0, y = 0;
  Val *a = fetch<LK>(n->bin.left, env, &x);
  Val *b = fetch<RK>(n->bin.right, env, &y);
  if (__builtin_expect(a != nullptr || b != nullptr, 0)) return bin_apply(n, OP, a, x, b, y, out);
  if constexpr (is_arith_op(OP)) {
    *out = num_arith(OP, x, y, n);
    return nullptr;
  } else {
    return num_compare(OP, x, y) ? g_true : g_false;
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
  return num_compare(OP, x, y);
}

template <char OP, int LK, int RK>
struct CmpFor {
  static constexpr TestFn fn = cmp_test<OP, LK, RK>;
};

static bool and_test(Node *n, Env *env) { return test(n->bin.left, env) && test(n->bin.right, env); }
static bool or_test(Node *n, Env *env) { return test(n->bin.left, env) || test(n->bin.right, env); }
static bool value_test(Node *n, Env *env) { return operand_truthy(n, env); }

TestFn choose_test(Node *n) {
  if constexpr (PLAIN) return value_test;
  if (n->type != N_BIN) return value_test;
  int l = operand_kind(n->bin.left), r = operand_kind(n->bin.right);
  if (is_comparison(n->bin.op)) return comparison_by_kinds<CmpFor>(n->bin.op, l, r);
  switch (n->bin.op) {
    case '&': return and_test;
    case '|': return or_test;
    default: return value_test;
  }
}

Val *index_value(Val *obj, Val *idx, double x, bool give_away) {
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
