// Builtins: the dispatcher that maps a callee name and argument count to a
// native routine, and the families behind it.
#pragma once
#if defined(ORVEX_LAYER) && ORVEX_LAYER < 4
#error "builtins.h is above this layer"
#endif
#include "../eval/eval.h"

// The routine for this name and count, or null when no builtin accepts them.
fnptr builtin_lookup(const char *name, int nargs);

// A family registers its rows here, in order of the dispatcher's table.
// Count condition: nargs between min_args and max_args (-1: no upper bound).
struct BuiltinRow {
  const char *name;
  int min_args, max_args;
  fnptr fn;
};
// Every row of the dispatcher's tables in its order (a name found twice:
// the first row answers).
void builtin_each(void (*visit)(const BuiltinRow *row, void *ctx), void *ctx);
extern const BuiltinRow core_builtins[];
extern const BuiltinRow text_builtins[];
extern const BuiltinRow list_math_builtins[];
extern const BuiltinRow host_builtins[];
extern const BuiltinRow unsupported_builtins[];
// Any name beginning with one of these prefixes answers nil.
extern const char *const unsupported_prefixes[];
// The family tables in the dispatcher's order, null-terminated.
extern const BuiltinRow *const builtin_tables[];

// A builtin's entry for `orvex help`: one per dispatcher row, kept in step
// by a unit test. sig is the call form ("txt.sub(s, start [, end, ...])"):
// bracketed parameters are optional, "..." takes any number more.
struct BuiltinDoc {
  const char *family;    // core, txt, enc, trl, math, sys or unsupported
  const char *sig;
  const char *result;    // what the call gives (and does)
  const char *fallback;  // the answer for arguments of the wrong kind; null: every kind is fine
};
extern const BuiltinDoc builtin_docs[];  // ends with a null sig
extern const char *const builtin_families[];  // in the order help lists them, null-terminated
// The entry whose signature names exactly this builtin, or null.
const BuiltinDoc *builtin_doc(const char *name);
// The name part of a signature ("txt.sub") into out (size sz).
void doc_name(const BuiltinDoc *d, char *out, size_t sz);
Val *builtin_nil(Val **args, int nargs);

// The routine's form on doubles (see MathOp); null for any routine but a math builtin.
const MathOp *math_op(fnptr f);

Val *builtin_try(Val **args, int nargs);
// Set by a driver: runs the compile pipeline under lib_root (the prcom builtin).
extern void (*g_prcom_hook)(const char *lib_root);
// The run command's argument list (set by the driver), else null.
extern Val *g_argv_val;
