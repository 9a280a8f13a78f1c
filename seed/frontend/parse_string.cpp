// String literals: plain "..." and interpolated $"...{expr}...".
#include <cstring>
#include <string>

#include "../runtime/runtime.h"
#include "frontend.h"

// One stretch of literal text holds at most this many bytes; later bytes are
// read and dropped.
static const size_t STR_PIECE_MAX = 65535;

static void piece_add(std::string &buf, char c) {
  if (buf.size() < STR_PIECE_MAX) buf.push_back(c);
}

static Node *str_node(const std::string &buf) {
  Node *n = node_new(N_STR);
  n->str = text_permanent(buf.c_str(), strlen(buf.c_str()));  // the stored text ends at its first NUL
  return n;
}

static void chain_add(Node **result, Node *piece) {
  if (!*result) {
    *result = piece;
    return;
  }
  Node *n = node_new(N_BIN);
  n->bin.op = '+';
  n->bin.left = *result;
  n->bin.right = piece;
  *result = n;
}

static char plain_escape(char c, bool *known) {
  *known = true;
  switch (c) {
    case 'n': return '\n';
    case 't': return '\t';
    case 'r': return '\r';
    case '"': return '"';
    case '\\': return '\\';
    case '0': return 0;
    default: *known = false; return c;
  }
}

static Node *parse_plain() {
  std::string buf;
  for (;;) {
    char c = g_src[g_pos];
    if (!c) break;
    g_pos++;
    if (c == '"') break;
    if (c == '\\' && g_src[g_pos]) {
      bool known;
      char e = plain_escape(g_src[g_pos++], &known);
      if (!known) piece_add(buf, '\\');
      piece_add(buf, e);
      continue;
    }
    piece_add(buf, c);
  }
  return str_node(buf);
}

// Only \n is translated here; any other escaped character stands for itself.
static Node *parse_interp() {
  std::string buf;
  Node *result = nullptr;
  for (;;) {
    char c = g_src[g_pos];
    if (!c) break;
    if (c == '"') {
      g_pos++;
      break;
    }
    if (c == '\\' && g_src[g_pos + 1]) {
      char e = g_src[g_pos + 1];
      piece_add(buf, e == 'n' ? '\n' : e);
      g_pos += 2;
      continue;
    }
    if (c == '{') {
      if (!buf.empty()) chain_add(&result, str_node(buf));
      buf.clear();
      g_pos++;
      Node *ex = parse_expr();
      if (g_src[g_pos] == '}') g_pos++;
      Node *call = node_new(N_CALL);
      call->call.name = intern("str");
      call->call.args = (Node **)xmalloc(sizeof(Node *));
      call->call.args[0] = ex;
      call->call.n = 1;
      chain_add(&result, call);
      continue;
    }
    piece_add(buf, c);
    g_pos++;
  }
  if (!buf.empty()) chain_add(&result, str_node(buf));
  return result ? result : str_node(buf);
}

Node *parse_string() {
  bool interp = g_src[g_pos] == '$' && g_src[g_pos + 1] == '"';
  if (interp) g_pos++;
  if (!eat('"')) return nullptr;
  return interp ? parse_interp() : parse_plain();
}
