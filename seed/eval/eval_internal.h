// The evaluator's own header: its rules, its handler types and the inline helpers its files share.
#pragma once

// ---- rules the fast paths rely on -----------------------------------------------
// Each names the mistakes planted against it by tools/plant_faults.py,
// which tells the language case that catches each one.
//
// Number records (Val.own):
// 1. Owned: a record marked NUM_OWNED is held by exactly one binding, field
//    or element. Only such a record is updated in place by a store
//    (store_owned) or recycled by a released call scope (env_release).
//    [store-ignores-owner, release-recycles-lent]
// 2. Given away: a value read to be kept or passed on (a variable's value,
//    lst_at, obj_get, module exports) loses the mark. Reads in place
//    (operands, containers, obj_slot_sym) keep it, and arithmetic copies the
//    number out at once, before a later call may update the record.
//    [read-keeps-ownership, module-copy-keeps-ownership]
// 3. Made here: only a number made for its holder (a literal, arithmetic, a
//    math builtin: fresh_number_node) becomes owned by the element, field or
//    parameter it is made for. [variable-read-made-here]
// 4. Lent: a variable's marked number passed to a user function is NUM_LENT
//    while the call runs, so neither the caller's stores nor the callee's
//    release touch it. Afterwards it gets its mark back, unless the callee
//    gave it away (the mark is gone) or a closure kept the call's scope
//    (that scope still holds it). [lent-owned-though-captured,
//    lent-restored-though-given-away]
//
// Per-node memory (Node.bind, key_pos and the handlers):
// 5. A remembered binding or key position is a guess, checked at every use:
//    the slot lies within the scope and holds the same name; one scope out,
//    the inner scope must not bind the name (its name bits); a key position
//    lies within the object and holds the same key.
//    [slot-past-scope-length, outer-slot-despite-local,
//    remembered-scope-unchecked, field-key-unchecked]
// 6. A handler is chosen once, from the node's shape alone (the tree never
//    changes), never from the values its first run saw: a specialised
//    handler takes the generic path whenever an operand is no number.
//    [fast-path-despite-text, self-store-assumes-number]
//
// Builds with ORVEX_PLAIN (see PLAIN) keep no per-node memory but the
// handlers' generic choice, and mark no number owned: the same suite passes
// on that plain path, so a fast path cannot disagree with it unnoticed.
#include <cmath>
#include <cstdint>
#if defined(__SSE2__)
#include <emmintrin.h>
#endif

#include "eval.h"

// ---- handlers ------------------------------------------------------------------
// The code kept in a node's NodeCode slots, one type per way a node is used.
typedef Val *(*OperandFn)(Node *n, Env *env, double *out);
typedef Val *(*EffectFn)(Node *n, Env *env);
typedef bool (*TestFn)(Node *n, Env *env);

// The handler in a node's slot as its own type (null until chosen).
template <class F>
[[gnu::always_inline]] inline F kept(NodeCode c) {
  return reinterpret_cast<F>(c);
}
// The handler in a slot, chosen for the node by choose at its first use.
template <class F>
[[gnu::always_inline]] inline F handler(NodeCode *slot, F (*choose)(Node *), Node *n) {
  F f = kept<F>(*slot);
  if (__builtin_expect(!f, 0)) {
    f = choose(n);
    *slot = reinterpret_cast<NodeCode>(f);
  }
  return f;
}

// ---- what the evaluator's files call in each other ---------------------------
// The value of a function body used inside arithmetic: null with the number
// in *out when it needs no record.
Val *eval_tail_operand(Node *n, Env *env, double *out);
Val *eval_call_node(Node *n, Env *env);
// Evaluation inside arithmetic: null with the number in *out when the result
// is a number that needs no record, else the value.
Val *eval_operand(Node *n, Env *env, double *out);
// The operand handler for a call site: math builtins unboxed, else the call.
OperandFn call_operand_fn(Node *n);
bool call_site_is_math(Node *n);
// The value of a variable, without giving its number record away.
Val *eval_name(Node *n, Env *env);
// A node whose number value is a record made just now, held by nothing else.
bool fresh_number_node(Node *n);
void unwound(Node *site);

// Handlers chosen at a node's first use, one per way a node is used.
OperandFn choose_operand(Node *n);
TestFn choose_test(Node *n);
EffectFn choose_effect(Node *n);
EffectFn choose_store_effect(Node *n);
// Stores where the value is kept (the value handlers of assignments).
Val *assign_value(Node *n, Env *env);
Val *dot_assign_value(Node *n, Env *env);
Val *idx_assign_value(Node *n, Env *env);
// idx null means the index is the number x (evaluated unboxed). A list
// element read to be kept elsewhere is given away (see NUM_OWNED).
Val *index_value(Val *obj, Val *idx, double x, bool give_away);
Val *eval_id_slow(Node *n, Env *env);
[[noreturn, gnu::cold]] void division_by_zero(Node *n);

// ---- the plain build -------------------------------------------------------------
// ORVEX_PLAIN builds keep no binding or key position, choose every node's
// generic handler and mark no number owned, so nothing is updated in place
// or recycled: the slow path that the fast ones are held to.
#ifdef ORVEX_PLAIN
constexpr bool PLAIN = true;
#else
constexpr bool PLAIN = false;
#endif

// The slot of sym as seen from env, through n's remembered binding (rule 5).
[[gnu::always_inline]] inline Val **bound_slot(Env *env, const char *sym, Node *n) {
  if constexpr (PLAIN) {
    Binding fresh = {-1, -1};
    return env_slot_cached_slow(env, sym, &fresh.depth, &fresh.slot);
  }
  return env_slot_cached(env, sym, &n->bind.depth, &n->bind.slot);
}
[[gnu::always_inline]] inline Val *bound_get(Env *env, const char *sym, Node *n) {
  Val **p = bound_slot(env, sym, n);
  return p ? *p : nullptr;
}
// Assigns sym where it is bound, else binds it in env.
[[gnu::always_inline]] inline void bound_set(Env *env, const char *sym, Val *v, Node *n) {
  if constexpr (PLAIN) {
    Binding fresh = {-1, -1};
    return env_set_cached(env, sym, v, &fresh.depth, &fresh.slot);
  }
  env_set_cached(env, sym, v, &n->bind.depth, &n->bind.slot);
}
// The slot of field sym in obj, through n's remembered key position (rule 5).
[[gnu::always_inline]] inline Val **key_slot(Val *obj, const char *sym, Node *n) {
  if constexpr (PLAIN) return obj_slot_sym(obj, sym);
  return obj_slot_cached(obj, sym, &n->key_pos);
}
// A number record made for its one holder, marked as its own (rule 3).
[[gnu::always_inline]] inline Val *owned(Val *v) {
  if constexpr (!PLAIN) v->own = NUM_OWNED;
  return v;
}

// ---- inline helpers ------------------------------------------------------------
// Fuzzing builds give each run a budget of evaluation steps; a loop
// iteration counts as one even when its condition and body cost nothing.
inline void fuzz_step() {
#ifdef ORVEX_FUZZ
  if (--g_steps_left < 0) throw HostStop{};
#endif
}

// A variable read: inline when the name was last found in this very scope
// or one out, the rest out of line to keep callers small. These are
// env_slot_cached's checks written for the value: going through the slot
// pointer costs 2-5% of all instructions (the compiler keeps a null test).
[[gnu::always_inline]] inline Val *eval_id(Node *n, Env *env) {
  if constexpr (PLAIN) return eval_id_slow(n, env);
  uint32_t slot = (uint32_t)n->bind.slot;
  if (__builtin_expect(n->bind.depth == 0 && slot < (uint32_t)env->len && env->keys[slot] == n->id, 1))
    return env->vals[slot];
  if (n->bind.depth == 1) {
    // one scope out (a global or closure variable used in a call)
    Env *p = env->parent;
    if (p && !(env->names & name_bit(n->id)) && slot < (uint32_t)p->len && p->keys[slot] == n->id) return p->vals[slot];
  }
  return eval_id_slow(n, env);
}

// x truncated toward zero when that lands in [0, len), else -1: the index
// num_to_i32 gives there, with one conversion and one unsigned test.
inline int32_t index_in(double x, int32_t len) {
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
[[gnu::always_inline]] inline Val *index_fast(Val *obj, Val *idx, double x, bool give_away) {
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

// The container of a field access or index: usually a variable, read here
// directly (a container is not a number, so nothing is given away).
inline Val *container(Node *n, Env *env) { return n && n->type == N_ID ? eval_id(n, env) : eval_node(n, env); }

// The value of n where it is bound or stored: a variable inline, its
// number given away.
[[gnu::always_inline]] inline Val *value_of(Node *n, Env *env) {
  return n && n->type == N_ID ? given_away(eval_id(n, env)) : eval_node(n, env);
}

// A value read in place as an operand: a number comes out through *x (its
// record stays with its holder), anything else is returned.
[[gnu::always_inline]] inline Val *unboxed(Val *v, double *x) {
  if (v->type != V_NUM) return v;
  *x = v->n;
  return nullptr;
}

[[gnu::always_inline]] inline Val *operand_by_handler(Node *n, Env *env, double *x) {
  if (!n) return g_nil;
  return handler(&n->operand_code, choose_operand, n)(n, env, x);
}

// Arithmetic works on unboxed doubles: an operand whose value is a number
// yields it through *x and returns null, so intermediate results never
// become records; any other operand returns its value. Only a result that
// is kept (bound, stored, passed) gets a record. Numbers and variables, the
// usual operands, are handled inline.
[[gnu::always_inline]] inline Val *operand(Node *n, Env *env, double *x) {
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

// Elements and fields are read in place: a number there keeps its owner.
[[gnu::always_inline]] inline Val *elem_fetch(Node *n, Env *env, double *x) {
  Val *obj = container(n->idx.obj, env);
  double i = 0;
  Val *idx = operand(n->idx.idx, env, &i);
  return unboxed(index_fast(obj, idx, i, false), x);
}

[[gnu::always_inline]] inline Val *field_operand(Val *obj, Node *n, double *x) {
  if (obj->type != V_OBJ) return g_nil;
  Val **slot = key_slot(obj, n->dot.field, n);
  return slot ? unboxed(*slot, x) : g_nil;
}

// Operators on the usual operand shapes (number literals, variables) get
// their own code, chosen once per node: both sides are read without the
// generic operand dispatch, and two numbers skip the text and list cases.
enum OperandKind { K_ANY, K_NUM, K_ID, K_FIELD, K_ELEM };

inline int operand_kind(Node *n) {
  if (!n) return K_ANY;
  return n->type == N_NUM ? K_NUM : n->type == N_ID ? K_ID : K_ANY;
}

// One operand of a given kind: a field of a variable (`b.x`) and an element
// are read in place.
template <int K>
[[gnu::always_inline]] inline Val *fetch(Node *n, Env *env, double *x) {
  if constexpr (K == K_NUM) {
    *x = n->num;
    return nullptr;
  } else if constexpr (K == K_ID) {
    return unboxed(eval_id(n, env), x);
  } else if constexpr (K == K_FIELD) {
    return field_operand(eval_id(n->dot.obj, env), n, x);
  } else if constexpr (K == K_ELEM) {
    return elem_fetch(n, env, x);
  } else {
    return operand(n, env, x);
  }
}

// fmod, with a fast path for whole numbers (the usual case): integer
// remainder has the same sign rule, and a zero result keeps the sign of x.
inline double num_mod(double x, double y) {
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

constexpr bool is_arith_op(char op) { return op == '+' || op == '-' || op == '*' || op == '/' || op == '%'; }

// The five arithmetic operators on two numbers; n is where a division by
// zero is reported. Specialised handlers pass a constant op, so the switch
// folds away there.
[[gnu::always_inline]] inline double num_arith(char op, double x, double y, Node *n) {
  switch (op) {
    case '+': return x + y;
    case '-': return x - y;
    case '*': return x * y;
    case '/':
      if (y == 0) division_by_zero(n);
      return x / y;
    default: return num_mod(x, y);
  }
}

// The six comparisons of two numbers.
[[gnu::always_inline]] inline bool num_compare(char op, double x, double y) {
  switch (op) {
    case '<': return x < y;
    case '>': return x > y;
    case 'l': return x <= y;
    case 'g': return x >= y;
    case '=': return x == y;
    default: return x != y;
  }
}

// A node as a condition.
[[gnu::always_inline]] inline bool test(Node *n, Env *env) {
  if (!n) return false;  // a missing condition is nil
  return handler(&n->test_code, choose_test, n)(n, env);
}

// A node whose value is dropped.
[[gnu::always_inline]] inline Val *effect(Node *n, Env *env) {
  if (!n) return g_nil;
  return handler(&n->effect_code, choose_effect, n)(n, env);
}
