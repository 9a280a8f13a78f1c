// Values and control: literals, variables, reads, blocks, conditionals, loops and the node dispatch.
#include <cstring>

#include "eval_internal.h"

char g_cur_file[PATH_MAX_LEN + 1];

[[noreturn]] static void undefined_name(Node *n) {
  g_fault_node = n;
  fatal("orvex-min: undefined: %s (in %s)", n->id, g_cur_file[0] ? g_cur_file : "?");
}

void division_by_zero(Node *n) { orvex_throw("division by zero", n); }

[[gnu::noinline]] Val *eval_id_slow(Node *n, Env *env) {
  Val **p = PLAIN ? bound_slot(env, n->id, n) : env_slot_cached_slow(env, n->id, &n->bind.depth, &n->bind.slot);
  if (p) return *p;
  if (n->id[0] == '_' && n->id[1] == '_') return g_nil;
  undefined_name(n);
}

Val *eval_name(Node *n, Env *env) { return eval_id(n, env); }

static inline bool is_marker(Val *v) {
  VType t = v->type;
  if (t < V_STR) return false;  // nil, truth values and numbers, the usual results
  return v == g_brk_sentinel || v == g_cnt_sentinel || (t == V_LST && is_ret(v));
}

// Runs statements [0, end) of a block, stopping at a marker (returned);
// otherwise the last value. The statements' handlers are chosen once, the
// first time the block runs, and then called
// directly.
static inline Val *run_stmts(Node *n, Env *env, int end) {
  Node **st = n->block.stmts;
  if (__builtin_expect(!n->block.handlers_chosen, 0)) {
    for (int i = 0; i < n->block.n; i++)
      handler(&st[i]->effect_code, choose_effect, st[i]);
    n->block.handlers_chosen = true;
  }
  Val *v = g_nil;
  for (int i = 0; i < end; i++) {
    v = kept<EffectFn>(st[i]->effect_code)(st[i], env);
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
    bound_set(env, n->forin.var, lst_at(xs, i), n);
    if (loop_body(body, env, &result, as_effect) != STEP_ON) break;
  }
  return result;
}

// A function value is marked when its parameter names are distinct, so a
// call can bind them without searching its new scope.
static int params_distinct(Node *n) {
  if (n->params_distinct < 0) {
    n->params_distinct = 1;
    for (int i = 0; i < n->fn.nparams; i++)
      for (int j = 0; j < i; j++)
        if (n->fn.params[i] == n->fn.params[j]) n->params_distinct = 0;
  }
  return n->params_distinct;
}

static Val *eval_fn_literal(Node *n, Env *env) {
  Val *v = (Val *)gc_alloc(sizeof(Val));
  v->type = V_FN;
  v->distinct = PLAIN ? 0 : params_distinct(n);
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

// An element or field written in a literal: a number made right here is
// owned by it (rule 3).
static inline Val *literal_item(Node *item, Env *env) {
  Val *x = eval_node(item, env);
  if (x->type == V_NUM && fresh_number_node(item)) owned(x);
  return x;
}

static Val *eval_list_literal(Node *n, Env *env) {
  Val *v = val_lst_cap(n->lst.n);
  for (int i = 0; i < n->lst.n; i++) lst_push(v, literal_item(n->lst.items[i], env));
  return v;
}

static Val *eval_obj_literal(Node *n, Env *env) {
  Val *v = val_obj();
  for (int i = 0; i < n->obj.n; i++) obj_set_sym(v, n->obj.keys[i], literal_item(n->obj.vals[i], env));
  return v;
}

static Val *num_value(Node *n, Env *) { return val_num(n->num); }

// The bytes never change, so they are shared; empty and one-byte texts
// are shared records as well.
static Val *str_value(Node *n, Env *) {
  if (n->text_len < 0) n->text_len = (int32_t)strlen(n->str);
  if (n->text_len <= 1) return val_str_n(n->str, n->text_len);
  return val_str_own((char *)n->str, n->text_len);
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

static Val *idx_value(Node *n, Env *env) {
  Val *obj = container(n->idx.obj, env);
  double x = 0;
  Val *idx = operand(n->idx.idx, env, &x);
  return index_fast(obj, idx, x, true);
}

static Val *dot_value(Node *n, Env *env) {
  Val *obj = container(n->dot.obj, env);
  if (obj->type != V_OBJ) return g_nil;
  Val **slot = key_slot(obj, n->dot.field, n);
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
    case N_DOT_ASSIGN: return dot_assign_value;
    case N_IDX_ASSIGN: return idx_assign_value;
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
  return handler(&n->value_code, choose_value, n)(n, env);
}

bool fresh_number_node(Node *n) {
  return n && (n->type == N_NUM || n->type == N_BIN || (n->type == N_CALL && call_site_is_math(n)));
}

static Val *block_effect(Node *n, Env *env) { return run_stmts(n, env, n->block.n); }

static Val *if_effect(Node *n, Env *env) { return effect(choose_branch(n, env), env); }
static Val *while_effect(Node *n, Env *env) { return eval_while(n, env, true); }
static Val *for_effect(Node *n, Env *env) { return eval_for(n, env, true); }

EffectFn choose_effect(Node *n) {
  if constexpr (PLAIN) return eval_node;
  switch (n->type) {
    case N_ASSIGN:
    case N_DOT_ASSIGN:
    case N_IDX_ASSIGN: return choose_store_effect(n);
    case N_WHILE: return while_effect;
    case N_FOR: return for_effect;
    case N_IF: return if_effect;
    case N_BLOCK: return block_effect;
    case N_CALL: return eval_call_node;
    default: return eval_node;
  }
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
