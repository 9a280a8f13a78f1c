// Function calls: builtins first by name, then bound function values.
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "eval_internal.h"

char *build_dotted(Node *n) {
  if (!n) return nullptr;
  if (n->type == N_ID) return xstrdup(n->id);
  if (n->type != N_DOT) return nullptr;
  char *inner = build_dotted(n->dot.obj);
  if (!inner) return nullptr;
  size_t a = strlen(inner), b = strlen(n->dot.field);
  char *s = (char *)xmalloc(a + b + 2);
  memcpy(s, inner, a);
  s[a] = '.';
  memcpy(s + a + 1, n->dot.field, b + 1);
  xfree(inner);
  return s;
}

// Argument arrays up to this size live on the native stack.
static const int ARGS_INLINE = 8;
// A site's plans for its arguments (fresh_args, lend_args) are bit masks:
// arguments past this many are evaluated the plain way.
static const int PLAN_ARGS = 32;

// What a call site needs to know once: the builtin for it (name or dotted
// callee and argument count are fixed by the tree, so the dispatcher is
// asked once per site) and which arguments make fresh numbers or name
// variables.
static void resolve_site(Node *n) {
  fnptr f = nullptr;
  if (n->call.name) {
    f = g_eval_hooks.builtin(n->call.name, n->call.n);
  } else if (n->call.callee && n->call.callee->type == N_DOT) {
    char *dotted = build_dotted(n->call.callee);
    if (dotted) f = g_eval_hooks.builtin(dotted, n->call.n);
    xfree(dotted);
  }
  n->call.builtin = f;
  n->call.math = f ? g_eval_hooks.math(f) : nullptr;
  for (int i = 0; i < n->call.n && i < PLAN_ARGS; i++) {
    Node *a = n->call.args[i];
    if (!f && i < ARGS_INLINE && a && a->type == N_ID) n->call.lend_args |= 1u << i;
    else if (fresh_number_node(a)) n->call.fresh_args |= 1u << i;
  }
  n->call.resolved = 1;
}

static inline fnptr site_builtin(Node *n) {
  if (__builtin_expect(!n->call.resolved, 0)) resolve_site(n);
  return n->call.builtin;
}

bool call_site_is_math(Node *n) {
  site_builtin(n);
  return n->call.math != nullptr;
}

static inline Val *unwrap_ret(Val *r) { return r && r->type == V_LST && is_ret(r) ? ret_val(r) : r; }

// Calls a user function; with out set, a number result comes back unboxed.
// *captured tells whether a closure kept the call's scope alive.
[[gnu::always_inline]] static inline Val *call_user(Val *fn, Val **args, int nargs, uint32_t fresh, double *out,
                                                    bool *captured) {
  Fn *f = fn->fn;
  *captured = true;
  if (f->native) return f->native(args, nargs);
  check_stack();
  Env *scope = env_new(f->closure);
  int k = nargs < f->nparams ? nargs : f->nparams;
  if (fn->distinct && k <= ENV_INLINE) {
    // distinct names into a fresh scope, which always has room for a few
    for (int i = 0; i < k; i++) {
      scope->keys[i] = f->params[i];
      scope->vals[i] = args[i];
    }
    scope->len = k;
    scope->names = f->param_names;  // unbound extra parameters only cost a search
  } else if (fn->distinct) {
    for (int i = 0; i < k; i++) env_push(scope, f->params[i], args[i]);
  } else {
    for (int i = 0; i < k; i++) env_bind(scope, f->params[i], args[i]);
  }
  for (; fresh; fresh &= fresh - 1) {
    int i = __builtin_ctz(fresh);
    if (i < k) owned(args[i]);
  }
  Val *r = out ? eval_tail_operand(f->body, scope, out) : eval_node(f->body, scope);
  *captured = scope->captured != 0;
  env_release(scope);
  return unwrap_ret(r);
}

Node *g_fault_node;
void (*g_unwind_hook)(Node *site);

void unwound(Node *site) {
  if (g_unwind_hook) g_unwind_hook(site);
}

[[noreturn, gnu::cold]] static void not_callable(Node *n, Val *fn) {
  g_fault_node = n;
  if (!fn) fatal("orvex-min: undefined: %s", n->call.name);
  fatal("orvex-min: not callable: %s", n->call.name ? n->call.name : "<expr>");
}

static Val *call_site(Node *n, Env *env, double *out) {
  int nargs = n->call.n;
  Val *inline_args[ARGS_INLINE];
  Val **args = nargs <= ARGS_INLINE ? inline_args : (Val **)gc_alloc(sizeof(Val *) * (size_t)nargs);
  fnptr builtin = site_builtin(n);
  uint32_t fresh = 0, lent = 0, lend = n->call.lend_args, fresh_args = n->call.fresh_args;
  int lent_prev[ARGS_INLINE];
  // the plan covers the first PLAN_ARGS arguments (bit runs out to 0 after them)
  uint32_t bit = 1;
  for (int i = 0; i < nargs; i++, bit <<= 1) {
    Node *a = n->call.args[i];
    if (lend & bit) {
      // a variable's own number is lent to a user function, not given away
      Val *v = eval_name(a, env);
      if (v->type == V_NUM && v->own) {
        lent_prev[i] = v->own;
        v->own = NUM_LENT;
        lent |= bit;
      }
      args[i] = v;
      continue;
    }
    if (fresh_args & bit) {
      // a number made just for this call may be owned by the parameter it binds
      double x;
      // arithmetic goes straight to its handler once chosen
      Val *v = a && a->operand_code ? kept<OperandFn>(a->operand_code)(a, env, &x) : eval_operand(a, env, &x);
      if (!v) {
        v = val_num(x);
        fresh |= bit;
      }
      args[i] = v;
      continue;
    }
    args[i] = eval_node(a, env);
  }
  Val *result;
  bool captured = true;
  Val *fn = nullptr;
  if (!builtin) {
    if (n->call.name) fn = bound_get(env, n->call.name, n);
    else fn = n->call.callee ? eval_node(n->call.callee, env) : g_nil;
    if (!fn || fn->type != V_FN) not_callable(n, fn);
  }
  // Only an exception leaving the call itself passes this site's frame.
  try {
    result = builtin ? builtin(args, nargs) : call_user(fn, args, nargs, fresh, out, &captured);
  } catch (...) {
    unwound(n);
    throw;
  }
  // Lent records come back in reverse order (one may be lent twice).
  while (lent) {
    int i = PLAN_ARGS - 1 - __builtin_clz(lent);
    lent &= ~(1u << i);
    if (args[i]->own == NUM_LENT) args[i]->own = captured ? 0 : lent_prev[i];
  }
  if (args != inline_args) gc_free(args);
  return result;
}

Val *eval_call_node(Node *n, Env *env) { return call_site(n, env, nullptr); }

// Inside arithmetic, a math builtin takes and gives unboxed numbers and a
// user function's number result needs no record.
static Val *user_call_operand(Node *n, Env *env, double *out) { return call_site(n, env, out); }

static Val *math_call_operand(Node *n, Env *env, double *out) {
  const MathOp *op = (const MathOp *)n->call.math;
  double x = 0, y = 0;
  Val *a = eval_operand(n->call.args[0], env, &x);
  if (op->f1) {
    *out = !a || a->type == V_NUM ? op->f1(a ? a->n : x) : 0;
    return nullptr;
  }
  Val *b = eval_operand(n->call.args[1], env, &y);
  *out = op->f2(a ? (a->type == V_NUM ? a->n : 0) : x, b ? (b->type == V_NUM ? b->n : 0) : y);
  return nullptr;
}

OperandFn call_operand_fn(Node *n) {
  site_builtin(n);
  return n->call.math ? math_call_operand : user_call_operand;
}

Val *call_fn(Val *fn, Val **args, int nargs) {
  bool captured;
  return call_user(fn, args, nargs, 0, nullptr, &captured);
}
