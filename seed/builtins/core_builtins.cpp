// Core builtins: printing, conversion, objects, lists, errors and try.
#include <cerrno>
#include <cstdlib>
#include <cstring>

#include "../eval/eval.h"
#include "builtins.h"

static Val *b_prn(Val **args, int nargs) {
  StrBuf b;
  sb_init(&b);
  for (int i = 0; i < nargs; i++) {
    if (i) sb_addc(&b, ' ');
    render_into(&b, args[i]);
  }
  sb_addc(&b, '\n');
  out_write(b.p, b.len);
  sb_free(&b);
  return g_nil;
}

static Val *b_len(Val **args, int) {
  Val *v = args[0];
  switch (v->type) {
    case V_LST: return val_num(v->lst->len);
    case V_OBJ: return val_num(v->obj->len);
    case V_STR: return val_num(v->len);
    default: return val_num(0);
  }
}

static Val *b_str(Val **args, int) {
  if (args[0]->type == V_STR) return args[0];  // texts are told apart only by their bytes
  StrBuf b;
  sb_init(&b);
  render_into(&b, args[0]);
  int len = (int)b.len;
  return val_str_own(sb_take(&b), len);
}

static Val *b_int(Val **args, int) {
  Val *v = args[0];
  if (v->type == V_STR) return val_num((double)strtoll(text_cstr(v), nullptr, 10));
  if (v->type == V_NUM) return val_num((double)num_to_i64(v->n));
  return val_num(0);
}

static Val *b_flt(Val **args, int) {
  Val *v = args[0];
  if (v->type == V_STR) return val_num(strtod(text_cstr(v), nullptr));
  if (v->type == V_NUM) return val_num(v->n);
  return val_num(0);
}

static Val *b_typ(Val **args, int) {
  static const char *const names[] = {"nil", "bool", "num", "str", "lst", "obj", "fn"};
  VType t = args[0]->type;
  return val_str(t <= V_FN ? names[t] : "nil");
}

static Val *b_ofld(Val **args, int) {
  if (args[0]->type != V_OBJ || args[1]->type != V_STR) return g_nil;
  Val *v = obj_get(args[0], text_cstr(args[1]));
  if (v == g_nil) orvex_throw("ofld: key not found");
  return v;
}

static Val *b_oset(Val **args, int) {
  if (args[0]->type == V_OBJ && args[1]->type == V_STR) obj_set(args[0], text_cstr(args[1]), args[2]);
  return args[0];
}

static Val *b_okeys(Val **args, int) {
  Val *r = val_lst();
  if (args[0]->type == V_OBJ)
    for (int i = 0; i < args[0]->obj->len; i++) lst_push(r, val_str(args[0]->obj->keys[i]));
  return r;
}

static Val *b_push(Val **args, int) {
  if (args[0]->type == V_LST) lst_push(args[0], args[1]);
  return args[0];
}

[[noreturn]] static void throw_rendering(Val *v) {
  orvex_throw(val_to_str(v));
}

static Val *b_err(Val **args, int) { throw_rendering(args[0]); }

static Val *b_asr(Val **args, int nargs) {
  if (val_truthy(args[0])) return g_nil;
  if (nargs >= 2) throw_rendering(args[1]);
  orvex_throw("assertion failed");
}

// try(f): calls f with no arguments; an error inside becomes {val: nil, err: msg}.
Val *builtin_try(Val **args, int nargs) {
  Val *r = val_obj();
  if (nargs < 1 || args[0]->type != V_FN) {
    obj_set(r, "val", nargs ? args[0] : g_nil);
    obj_set(r, "err", g_nil);
    return r;
  }
  g_try_depth++;
  try {
    Val *v = call_fn(args[0], nullptr, 0);
    g_try_depth--;
    obj_set(r, "val", is_ret(v) ? ret_val(v) : v);
    obj_set(r, "err", g_nil);
  } catch (OrvexError &e) {
    g_try_depth--;
    obj_set(r, "val", g_nil);
    obj_set(r, "err", val_str(e.msg ? e.msg : "error"));
    free(e.msg);
  }
  return r;
}

void (*g_prcom_hook)(const char *lib_root);

static Val *b_prcom(Val **args, int) {
  if (args[0]->type != V_STR) orvex_throw("prcom: expected string lib_root");
  g_prcom_hook(text_cstr(args[0]));
  return g_nil;
}

const BuiltinRow core_builtins[] = {
    {"prn", 0, -1, b_prn},
    {"len", 1, 1, b_len},
    {"str", 1, 1, b_str},
    {"int", 1, 1, b_int},
    {"flt", 1, 1, b_flt},
    {"typ", 1, 1, b_typ},
    {"ofld", 2, 2, b_ofld},
    {"oset", 3, 3, b_oset},
    {"okeys", 1, 1, b_okeys},
    {"push", 2, 2, b_push},
    {"err", 1, -1, b_err},
    {"asr", 1, -1, b_asr},
    {"try", 0, -1, builtin_try},
    {"try_call", 0, -1, builtin_try},
    {"prcom", 1, 1, b_prcom},
    {nullptr, 0, 0, nullptr},
};
