// Catchable errors and the brk, cnt and ret markers.
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "runtime.h"

Val g_brk_rec = {V_STR, 0, {0}};
Val g_cnt_rec = {V_STR, 0, {0}};
int g_try_depth;
// A marker that can only travel to its call (a "direct" ret) is never seen
// by the program, so one record serves them all.
Val *g_direct_ret;
char *g_stack_limit;
#ifdef ORVEX_FUZZ
long g_steps_left;
#endif

void markers_init() {
  g_direct_ret = nullptr;
  g_brk_rec.s = text_permanent("__brk__", 7);
  g_brk_rec.len = 7;
  g_cnt_rec.s = text_permanent("__cnt__", 7);
  g_cnt_rec.len = 7;
}

void orvex_throw(const char *msg, const Node *where) {
  if (g_try_depth > 0) throw OrvexError{strdup(msg), where};
  out_flush();
  fprintf(stderr, "error: %s\n", msg);
  orvex_exit(1);
}

Val *make_direct_ret(Val *v) {
  if (!g_direct_ret) g_direct_ret = make_ret(g_nil);
  g_direct_ret->lst->items[1] = v;
  return g_direct_ret;
}

Val *make_ret(Val *v) {
  Val *r = val_lst_cap(4);
  lst_push(r, val_str_n("__ret__", 7));
  lst_push(r, v);
  return r;
}

int is_ret_shape(Val *v) {
  if (!v || v->type != V_LST || v->lst->len != 2) return 0;
  Val *tag = v->lst->items[0];
  return tag->type == V_STR && tag->len == 7 && memcmp(tag->s, "__ret__", 7) == 0;
}

Val *ret_val(Val *v) { return v->lst->items[1]; }
