// Evaluator: walks the syntax tree in a scope and performs calls.
#pragma once
#if defined(ORVEX_LAYER) && ORVEX_LAYER < 3
#error "eval.h is above this layer"
#endif
#include "../frontend/frontend.h"
#include "../runtime/runtime.h"

// The value of n in env; never null (a missing node is nil).
Val *eval_node(Node *n, Env *env);
// The same where the value is dropped and only a marker in it matters
// (statements before the last of a block, whole files): assignments of
// numbers may then update an owned record in place.
Val *eval_effect(Node *n, Env *env);
// Calls a function value; fn must be of kind V_FN. args may be null when nargs is 0.
Val *call_fn(Val *fn, Val **args, int nargs);
// "a.b.c" for a chain of field accesses from a name, else null; caller frees.
char *build_dotted(Node *n);

// The current file, named by "undefined" messages and used to resolve `use`.
extern char g_cur_file[PATH_MAX_LEN + 1];

// The node of a fatal condition (an undefined name, a call of no
// function), set just before fatal() so that a driver's hook can locate it.
extern Node *g_fault_node;
// When set, told of every call site and use statement an exception leaves,
// innermost first: a driver builds its call stack from them. The handler
// runs only when an exception passes, so calls cost nothing more.
extern void (*g_unwind_hook)(Node *site);
// A math builtin as a function on doubles (one of f1, f2 is set), for
// evaluating it on unboxed operands.
struct MathOp {
  fnptr fn;
  double (*f1)(double);
  double (*f2)(double, double);
};
// What the evaluator asks of the layers above it, installed by a driver
// before any program runs. The builtin of a call site is asked for once per
// site, so none of these sits on the path of a repeated evaluation.
struct EvalHooks {
  fnptr (*builtin)(const char *name, int nargs);  // the routine for a name and count, or null
  const MathOp *(*math)(fnptr f);                 // its form on doubles, or null
  void (*use)(const char *path, Env *env);        // loads a module and binds its exports
};
extern EvalHooks g_eval_hooks;
