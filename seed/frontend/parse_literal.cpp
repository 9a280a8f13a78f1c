// List, object and function literals, and the parameter list of every function.
#include <cstring>

#include "../runtime/runtime.h"
#include "frontend.h"

// list -> [ { EXPR [,] } ]
Node *parse_list() {
  Node *n = node_new(N_LST);
  int open = g_pos;
  eat('[');
  skip_ws_nl();
  while (g_src[g_pos] && g_src[g_pos] != ']') {
    Node *item = parse_expr();
    if (!item) break;
    arr_add(n->lst.items, n->lst.n, item);
    n->lst.n++;
    skip_ws_nl();
    eat(',');
    skip_ws_nl();
  }
  if (!eat(']')) recovered(REC_UNCLOSED, g_pos, open);
  return n;
}

// Object keys stop at 255 bytes; the rest of a longer key stays in the text.
static const int KEY_MAX = 255;

// KEY -> "TEXT" (no escapes) | NAME-CHARS
static const char *read_key() {
  char buf[KEY_MAX + 1];
  int k = 0;
  if (g_src[g_pos] == '"') {
    g_pos++;
    while (g_src[g_pos] && g_src[g_pos] != '"' && k < KEY_MAX) buf[k++] = g_src[g_pos++];
    if (g_src[g_pos] == '"') g_pos++;
  } else {
    while (is_name_char((unsigned char)g_src[g_pos]) && k < KEY_MAX) buf[k++] = g_src[g_pos++];
  }
  buf[k] = 0;
  return k ? intern(buf, (size_t)k) : nullptr;
}

// object -> { { KEY [:] [EXPR] [,] } }
Node *parse_object() {
  Node *n = node_new(N_OBJ);
  int open = g_pos;
  eat('{');
  skip_ws_nl();
  while (g_src[g_pos] && g_src[g_pos] != '}') {
    skip_ws();
    int key_at = g_pos;
    const char *key = read_key();
    if (!key) break;
    skip_ws();
    eat(':');
    Node *val = parse_expr();
    if (!val) recovered(REC_NO_VALUE, g_pos, key_at);
    arr_add(n->obj.keys, n->obj.n, key);
    arr_add(n->obj.vals, n->obj.n, val);
    n->obj.n++;
    skip_ws_nl();
    eat(',');
    skip_ws_nl();
  }
  if (!eat('}')) recovered(REC_UNCLOSED, g_pos, open);
  return n;
}

// lambda -> \ [( { PARAM [,] } )] [: | =>] [EXPR]
Node *parse_lambda() {
  Node *n = node_new(N_FN);
  eat('\\');
  int open = g_pos;
  if (eat('(')) {
    read_params(n);
    if (!eat(')')) recovered(REC_UNCLOSED, g_pos, open);
  }
  skip_ws();
  if (g_src[g_pos] == ':') g_pos++;
  else if (g_src[g_pos] == '=' && g_src[g_pos + 1] == '>') g_pos += 2;
  n->fn.body = parse_expr();
  mark_ret_context(n->fn.body);
  return n;
}

// params -> { PARAM [,] }   (the caller reads the closing ")")
void read_params(Node *fn) {
  for (;;) {
    int c = peek();
    if (c == 0 || c == ')') return;
    skip_ws();
    const char *p = read_name();
    if (!*p) return;
    arr_add(fn->fn.params, fn->fn.nparams, p);
    fn->fn.nparams++;
    eat(',');
  }
}
