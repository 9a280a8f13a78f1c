// Function calls: builtins first by name, then bound function values.
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "../builtins/builtins.h"
#include "eval.h"

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

// The builtin for this call site: name (or dotted callee) and argument count
// are fixed by the tree, so the dispatcher is asked once per site.
static fnptr site_builtin(Node *n) {
  if (n->call.resolved) return n->call.builtin;
  fnptr f = nullptr;
  if (n->call.name) {
    f = builtin_lookup(n->call.name, n->call.n);
  } else if (n->call.callee && n->call.callee->type == N_DOT) {
    char *dotted = build_dotted(n->call.callee);
    if (dotted) f = builtin_lookup(dotted, n->call.n);
    xfree(dotted);
  }
  n->call.builtin = f;
  n->call.math = f ? math_op(f) : nullptr;
  n->call.resolved = 1;
  return f;
}

// A call of a math builtin inside arithmetic takes and gives unboxed
// numbers; anything else is an ordinary call.
Val *eval_call_operand(Node *n, Env *env, double *out) {
  site_builtin(n);
  const MathOp *op = (const MathOp *)n->call.math;
  if (!op) return eval_call_node(n, env);
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

// Argument arrays up to this size live on the native stack.
static const int ARGS_INLINE = 8;

Val *eval_call_node(Node *n, Env *env) {
  int nargs = n->call.n;
  Val *inline_args[ARGS_INLINE];
  Val **args = nargs <= ARGS_INLINE ? inline_args : (Val **)xmalloc(sizeof(Val *) * (size_t)nargs);
  for (int i = 0; i < nargs; i++) args[i] = eval_node(n->call.args[i], env);
  Val *result;
  if (fnptr f = site_builtin(n)) {
    result = f(args, nargs);
  } else if (n->call.name) {
    Val *fn = env_get_cached(env, n->call.name, &n->cache_depth, &n->cache_slot);
    if (!fn) fatal("orvex-min: undefined: %s", n->call.name);
    if (fn->type != V_FN) fatal("orvex-min: not callable: %s", n->call.name);
    result = call_fn(fn, args, nargs);
  } else {
    Val *fn = n->call.callee ? eval_node(n->call.callee, env) : g_nil;
    if (fn->type != V_FN) fatal("orvex-min: not callable: %s", "<expr>");
    result = call_fn(fn, args, nargs);
  }
  if (args != inline_args) xfree(args);
  return result;
}

Val *call_fn(Val *fn, Val **args, int nargs) {
  Fn *f = fn->fn;
  if (f->native) return f->native(args, nargs);
  check_stack();
  Env *scope = env_new(f->closure);
  int k = nargs < f->nparams ? nargs : f->nparams;
  for (int i = 0; i < k; i++) env_bind(scope, f->params[i], args[i]);
  Val *r = eval_node(f->body, scope);
  env_release(scope);
  return is_ret(r) ? ret_val(r) : r;
}
