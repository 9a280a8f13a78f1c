// Stores: assignment to variables, fields and elements, numbers updated in place where owned.
#include "eval_internal.h"

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

// The right side of a store: stores of an element (swaps, copies between
// lists) get their own handlers with the element read inline.
template <bool ELEM>
[[gnu::always_inline]] static inline Val *stored_operand(Node *n, Env *env, double *x) {
  if constexpr (ELEM) return elem_fetch(n, env, x);
  return operand(n, env, x);
}

static bool is_elem(Node *n) { return n && n->type == N_IDX; }

Val *assign_value(Node *n, Env *env) {
  Val *v = value_of(n->assign.val, env);
  bound_set(env, n->assign.name, v, n);
  return v;
}

static Val *dot_assign_target(Node *n, Env *env) {
  Node *on = n->dot_assign.obj;
  Val *target;
  if (on && on->type == N_ID) {
    target = bound_get(env, on->id, on);
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
  if (Val **slot = key_slot(target, n->dot_assign.field, n)) *slot = v;
  else obj_set_sym(target, n->dot_assign.field, v);
}

Val *dot_assign_value(Node *n, Env *env) {
  Val *target = dot_assign_target(n, env);
  Val *v = value_of(n->dot_assign.val, env);
  if (target->type == V_OBJ) set_field(n, target, v);
  return v;
}

Val *idx_assign_value(Node *n, Env *env) {
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

// Stores the number x into a slot: in place when the slot owns its record.
static void store_owned(Val **slot, double x) {
  if ((*slot)->type == V_NUM && (*slot)->own == NUM_OWNED) {
    (*slot)->n = x;
    return;
  }
  *slot = owned(val_num(x));
}

// An element assignment whose value is dropped: a number goes into the
// element's own record when it owns one.
template <bool ELEM>
static Val *idx_assign_effect(Node *n, Env *env) {
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

// A field assignment whose value is dropped: like dot_assign_value, with a
// number stored into the field's own record when it owns one.
static Val *dot_assign_effect(Node *n, Env *env) {
  Node *rhs = n->dot_assign.val;
  Val *target = dot_assign_target(n, env);
  double x;
  Val *v = operand(rhs, env, &x);
  if (target->type != V_OBJ) return v ? v : g_nil;
  if (v) {
    set_field(n, target, v);
    return v;
  }
  Val **slot = key_slot(target, n->dot_assign.field, n);
  if (slot) {
    store_owned(slot, x);
  } else {
    obj_set_sym(target, n->dot_assign.field, owned(val_num(x)));
  }
  return g_nil;
}

// An assignment whose value is dropped: a number (made by arithmetic or
// read from a variable, element, field or call) goes into the variable's
// own record when the variable owns one, else into a new record it owns;
// the record it came from stays with its holder. Numbers are never told
// apart by record, so copying them is invisible.
template <bool ELEM>
static Val *assign_effect(Node *n, Env *env) {
  double x;
  Val *v = stored_operand<ELEM>(n->assign.val, env, &x);
  if (!v) {
    Val **slot = bound_slot(env, n->assign.name, n);
    if (slot) {
      store_owned(slot, x);
      return g_nil;
    }
    bound_set(env, n->assign.name, owned(val_num(x)), n);
    return g_nil;
  }
  bound_set(env, n->assign.name, v, n);
  return v;
}

// `x = x OP y` (and `x += y`) with y a number literal or a variable: the
// variable's slot is found once and, when it holds a number it owns,
// updated in place. Anything unusual takes the general path.
template <char OP, int RK>
static Val *assign_self_effect(Node *n, Env *env) {
  Node *rhs = n->assign.val;
  Val **slot = bound_slot(env, n->assign.name, n);
  double y;
  if (!slot || (*slot)->type != V_NUM || fetch<RK>(rhs->bin.right, env, &y)) return assign_effect<false>(n, env);
  store_owned(slot, num_arith(OP, (*slot)->n, y, rhs));
  return g_nil;
}

template <char OP>
static EffectFn self_for_kind(int rk) {
  return rk == K_NUM ? assign_self_effect<OP, K_NUM> : assign_self_effect<OP, K_ID>;
}

static EffectFn choose_assign_effect(Node *n) {
  Node *rhs = n->assign.val;
  if (is_elem(rhs)) return assign_effect<true>;
  if (!rhs || rhs->type != N_BIN || !rhs->bin.left || rhs->bin.left->type != N_ID ||
      rhs->bin.left->id != n->assign.name)
    return assign_effect<false>;
  int rk = operand_kind(rhs->bin.right);
  if (rk == K_ANY) return assign_effect<false>;
  switch (rhs->bin.op) {
    case '+': return self_for_kind<'+'>(rk);
    case '-': return self_for_kind<'-'>(rk);
    case '*': return self_for_kind<'*'>(rk);
    case '/': return self_for_kind<'/'>(rk);
    case '%': return self_for_kind<'%'>(rk);
    default: return assign_effect<false>;
  }
}

// The effect handler of a store (a node of one of the three assignment kinds).
EffectFn choose_store_effect(Node *n) {
  switch (n->type) {
    case N_ASSIGN: return choose_assign_effect(n);
    case N_DOT_ASSIGN: return dot_assign_effect;
    default: return is_elem(n->idx_assign.val) ? idx_assign_effect<true> : idx_assign_effect<false>;
  }
}
