// List builtins (trl.*), including the walks that call a user function back,
// and the number builtins (flo, cel, abs, sqr, pow, log, max, min).
#include <cmath>

#include "../eval/eval.h"
#include "builtins.h"

static bool is_list(Val *v) { return v->type == V_LST; }
static double num_or_0(Val *v) { return v->type == V_NUM ? v->n : 0; }

static int list_len(Val *v) { return is_list(v) ? v->lst->len : 0; }

static Val *b_cat(Val **args, int) { return lst_concat(args[0], args[1]); }

static Val *b_but(Val **args, int) {
  Val *xs = args[0];
  Val *r = val_lst_cap(list_len(xs) - 1);
  if (!is_list(xs)) return r;
  for (int i = 0; i < xs->lst->len - 1; i++) lst_push(r, lst_at(xs, i));
  return r;
}

static Val *b_rev(Val **args, int) {
  Val *xs = args[0];
  Val *r = val_lst_cap(list_len(xs));
  if (!is_list(xs)) return r;
  for (int i = xs->lst->len - 1; i >= 0; i--) lst_push(r, lst_at(xs, i));
  return r;
}

static Val *b_lst(Val **args, int) {
  if (is_list(args[0])) return args[0];
  Val *r = val_lst();
  lst_push(r, args[0]);
  return r;
}

// f on every element: trl.map keeps the results, trl.fil the elements whose
// result is true. The walk re-reads xs's length before each element: f may
// push onto xs and the new elements are visited too. An error inside f
// passes straight through.
static Val *each_element(Val **args, bool filter) {
  Val *xs = args[0], *f = args[1];
  if (!is_list(xs) || f->type != V_FN) return val_lst();
  // A map's result is as long as its list (unless the callback grows it):
  // one array of that size, not a doubling series of copies.
  Val *r = val_lst_cap(filter ? 0 : xs->lst->len);
  for (int i = 0; i < xs->lst->len; i++) {
    Val *x = lst_at(xs, i);
    Val *argv[1] = {x};
    Val *y = call_fn(f, argv, 1);
    if (!filter) lst_push(r, y);
    else if (val_truthy(y)) lst_push(r, x);
  }
  return r;
}

static Val *b_map(Val **args, int) { return each_element(args, false); }
static Val *b_fil(Val **args, int) { return each_element(args, true); }

static Val *b_red(Val **args, int) {
  Val *xs = args[0], *acc = args[1], *f = args[2];
  if (!is_list(xs) || f->type != V_FN) return acc;
  for (int i = 0; i < xs->lst->len; i++) {
    Val *argv[2] = {acc, lst_at(xs, i)};
    acc = call_fn(f, argv, 2);
  }
  return acc;
}

// The math builtins as plain functions on doubles, so that the evaluator can
// apply them to unboxed operands (see math_op).
static double m_floor(double x) { return floor(x); }
static double m_ceil(double x) { return ceil(x); }
static double m_fabs(double x) { return fabs(x); }
static double m_sqrt(double x) { return sqrt(x); }
static double m_log(double x) { return log(x); }
static double m_pow(double x, double y) { return pow(x, y); }
// Ties and NaN give the second argument: the plain comparison fails for both.
static double m_max(double a, double b) { return a > b ? a : b; }
static double m_min(double a, double b) { return a < b ? a : b; }

// One-argument math builtins answer 0 for a non-number; two-argument ones
// count a non-number as 0.
static Val *unary_math(Val *v, double (*f)(double)) { return val_num(v->type == V_NUM ? f(v->n) : 0); }
static Val *b_flo(Val **args, int) { return unary_math(args[0], m_floor); }
static Val *b_cel(Val **args, int) { return unary_math(args[0], m_ceil); }
static Val *b_abs(Val **args, int) { return unary_math(args[0], m_fabs); }
static Val *b_sqr(Val **args, int) { return unary_math(args[0], m_sqrt); }
static Val *b_log(Val **args, int) { return unary_math(args[0], m_log); }
static Val *b_pow(Val **args, int) { return val_num(m_pow(num_or_0(args[0]), num_or_0(args[1]))); }
static Val *b_max(Val **args, int) { return val_num(m_max(num_or_0(args[0]), num_or_0(args[1]))); }
static Val *b_min(Val **args, int) { return val_num(m_min(num_or_0(args[0]), num_or_0(args[1]))); }

static const MathOp g_math_ops[] = {
    {b_flo, m_floor, nullptr}, {b_cel, m_ceil, nullptr}, {b_abs, m_fabs, nullptr},
    {b_sqr, m_sqrt, nullptr},  {b_log, m_log, nullptr},  {b_pow, nullptr, m_pow},
    {b_max, nullptr, m_max},   {b_min, nullptr, m_min},
};

const MathOp *math_op(fnptr f) {
  for (const MathOp &op : g_math_ops)
    if (op.fn == f) return &op;
  return nullptr;
}

const BuiltinRow list_math_builtins[] = {
    {"trl.cat", 2, 2, b_cat},
    {"trl.but", 1, 1, b_but},
    {"trl.map", 2, 2, b_map},
    {"trl.fil", 2, 2, b_fil},
    {"trl.red", 3, 3, b_red},
    {"trl.rev", 1, 1, b_rev},
    {"trl.lst", 1, 1, b_lst},
    {"flo", 1, 1, b_flo},
    {"cel", 1, 1, b_cel},
    {"abs", 1, 1, b_abs},
    {"sqr", 1, 1, b_sqr},
    {"pow", 2, 2, b_pow},
    {"log", 1, 1, b_log},
    {"max", 2, 2, b_max},
    {"min", 2, 2, b_min},
    {nullptr, 0, 0, nullptr},
};
