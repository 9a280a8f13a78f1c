// Scanner: the cursor, white space and comments, names, keywords and nodes.
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "../runtime/runtime.h"
#include "frontend.h"

const char *g_src = "";
int g_pos;
Node *node_new(NType t) {
  Node *n = (Node *)xarena(sizeof(Node));
  memset(n, 0, sizeof *n);
  n->type = t;
  n->bind = {-1, -1};  // every per-kind memory of the evaluator starts unknown
  n->pos = g_src_base + (uint32_t)g_pos;
  return n;
}

Node *node_at(NType t, int at) {
  Node *n = node_new(t);
  n->pos = g_src_base + (uint32_t)at;
  return n;
}

void mark_ret_context(Node *n) {
  if (!n) return;
  check_stack();
  if (n->type == N_RET) n->ret.direct = 1;
  else each_body(n, mark_ret_context);
}

// Tree arrays hold exactly n items; their room doubles at each power of two
// so that long lists, chains and blocks cost linear time to build.
void arr_push(void ***arr, int n, void *item) {
  if ((n & (n - 1)) == 0) *arr = (void **)xrealloc(*arr, sizeof(void *) * (size_t)(n ? 2 * n : 1));
  (*arr)[n] = item;
}

// POSIX-locale classes on bytes; bytes of 128 and up are in none of them.
bool is_name_start(int c) { return c == '_' || (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z'); }
bool is_name_char(int c) { return is_name_start(c) || (c >= '0' && c <= '9'); }

bool keyword_at(int pos, const char *kw) {
  size_t k = strlen(kw);
  return strncmp(g_src + pos, kw, k) == 0 && !is_name_char((unsigned char)g_src[pos + k]);
}

// Names are taken whole, however long: they are interned straight from the
// source, so no fixed buffer limits them (only object keys stop at 255).
const char *read_name() {
  int start = g_pos;
  while (is_name_char((unsigned char)g_src[g_pos])) g_pos++;
  return intern(g_src + start, (size_t)(g_pos - start));
}

int blanks_end(int p) {
  while (g_src[p] == ' ' || g_src[p] == '\t' || g_src[p] == '\r') p++;
  return p;
}

void skip_ws() {
  while (g_src[g_pos] == ' ' || g_src[g_pos] == '\t' || g_src[g_pos] == '\r') g_pos++;
  if (g_src[g_pos] == '#')
    while (g_src[g_pos] && g_src[g_pos] != '\n') g_pos++;
}

static bool is_space(char c) { return c == ' ' || (c >= '\t' && c <= '\r'); }

void skip_ws_nl() {
  for (;;) {
    while (g_src[g_pos] && is_space(g_src[g_pos])) g_pos++;
    if (g_src[g_pos] != '#') return;
    while (g_src[g_pos] && g_src[g_pos] != '\n') g_pos++;
  }
}

int get_indent() {
  int w = 0;
  for (int p = g_pos;; p++) {
    if (g_src[p] == ' ') w += 1;
    else if (g_src[p] == '\t') w += 4;
    else return w;
    if (w > (1 << 28)) return w;  // absurd indentation: stop counting before overflow
  }
}

int peek() {
  skip_ws();
  return (unsigned char)g_src[g_pos];
}

int eat(char c) {
  skip_ws();
  if (g_src[g_pos] != c || c == 0) return 0;
  g_pos++;
  return 1;
}

int eat_str(const char *s) {
  skip_ws();
  if (!keyword_at(g_pos, s)) return 0;
  g_pos += (int)strlen(s);
  return 1;
}
