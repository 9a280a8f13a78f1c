// List builtins (trl.*), including the walks that call a user function back,
// and the number builtins (flo, cel, abs, sqr, pow, log, max, min).
#include <cmath>

#include "../eval/eval.h"
#include "builtins.h"

static bool is_list(Val *v) { return v->type == V_LST; }
static double num_or_0(Val *v) { return v->type == V_NUM ? v->n : 0; }

static void push_all(Val *dst, Val *src) {
  if (!is_list(src)) return;
  for (int i = 0; i < src->lst->len; i++) lst_push(dst, src->lst->items[i]);
}

static Val *b_cat(Val **args, int) {
  Val *r = val_lst();
  push_all(r, args[0]);
  push_all(r, args[1]);
  return r;
}

static Val *b_but(Val **args, int) {
  Val *r = val_lst();
  Val *xs = args[0];
  if (!is_list(xs)) return r;
  for (int i = 0; i < xs->lst->len - 1; i++) lst_push(r, xs->lst->items[i]);
  return r;
}

static Val *b_rev(Val **args, int) {
  Val *r = val_lst();
  Val *xs = args[0];
  if (!is_list(xs)) return r;
  for (int i = xs->lst->len - 1; i >= 0; i--) lst_push(r, xs->lst->items[i]);
  return r;
}

static Val *b_lst(Val **args, int) {
  if (is_list(args[0])) return args[0];
  Val *r = val_lst();
  lst_push(r, args[0]);
  return r;
}

// The walks re-read xs's length before each element: f may push onto xs and
// the new elements are visited too. An error inside f passes straight through.
static Val *b_map(Val **args, int) {
  Val *xs = args[0], *f = args[1];
  Val *r = val_lst();
  if (!is_list(xs) || f->type != V_FN) return r;
  for (int i = 0; i < xs->lst->len; i++) {
    Val *argv[1] = {xs->lst->items[i]};
    lst_push(r, call_fn(f, argv, 1));
  }
  return r;
}

static Val *b_fil(Val **args, int) {
  Val *xs = args[0], *f = args[1];
  Val *r = val_lst();
  if (!is_list(xs) || f->type != V_FN) return r;
  for (int i = 0; i < xs->lst->len; i++) {
    Val *x = xs->lst->items[i];
    Val *argv[1] = {x};
    if (val_truthy(call_fn(f, argv, 1))) lst_push(r, x);
  }
  return r;
}

static Val *b_red(Val **args, int) {
  Val *xs = args[0], *acc = args[1], *f = args[2];
  if (!is_list(xs) || f->type != V_FN) return acc;
  for (int i = 0; i < xs->lst->len; i++) {
    Val *argv[2] = {acc, xs->lst->items[i]};
    acc = call_fn(f, argv, 2);
  }
  return acc;
}

static Val *b_flo(Val **args, int) { return val_num(args[0]->type == V_NUM ? floor(args[0]->n) : 0); }
static Val *b_cel(Val **args, int) { return val_num(args[0]->type == V_NUM ? ceil(args[0]->n) : 0); }
static Val *b_abs(Val **args, int) { return val_num(args[0]->type == V_NUM ? fabs(args[0]->n) : 0); }
static Val *b_sqr(Val **args, int) { return val_num(args[0]->type == V_NUM ? sqrt(args[0]->n) : 0); }
static Val *b_log(Val **args, int) { return val_num(args[0]->type == V_NUM ? log(args[0]->n) : 0); }
static Val *b_pow(Val **args, int) { return val_num(pow(num_or_0(args[0]), num_or_0(args[1]))); }

// Ties and NaN give the second argument: the plain comparison fails for both.
static Val *b_max(Val **args, int) {
  double a = num_or_0(args[0]), b = num_or_0(args[1]);
  return val_num(a > b ? a : b);
}

static Val *b_min(Val **args, int) {
  double a = num_or_0(args[0]), b = num_or_0(args[1]);
  return val_num(a < b ? a : b);
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
