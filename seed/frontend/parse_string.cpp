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

// The cursor is just past the opening quote at open.
static Node *parse_plain(int open) {
  std::string buf;
  bool lines = false;
  for (;;) {
    char c = g_src[g_pos];
    if (!c) {
      recovered(REC_UNCLOSED, g_pos, open);
      break;
    }
    g_pos++;
    if (c == '"') {
      if (lines) recovered(REC_STRING_LINES, g_pos - 1, open);
      break;
    }
    lines |= c == '\n';
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
static Node *parse_interp(int open) {
  std::string buf;
  Node *result = nullptr;
  for (;;) {
    char c = g_src[g_pos];
    if (!c) {
      recovered(REC_UNCLOSED, g_pos, open);
      break;
    }
    if (c == '"') {
      g_pos++;
      break;
    }
    if (c == '\\' && g_src[g_pos + 1]) {
      char e = g_src[g_pos + 1];
      if (e != 'n' && is_name_char((unsigned char)e)) recovered(REC_ESCAPE, g_pos);
      piece_add(buf, e == 'n' ? '\n' : e);
      g_pos += 2;
      continue;
    }
    if (c == '{') {
      if (!buf.empty()) chain_add(&result, str_node(buf));
      buf.clear();
      int brace = g_pos++;
      Node *ex = parse_expr();
      if (g_src[g_pos] == '}') g_pos++;
      else if (g_src[g_pos] == '"' || !g_src[g_pos]) recovered(REC_UNCLOSED, g_pos, brace);
      else recovered(REC_INTERP, g_pos, brace);
      if (!ex) recovered(REC_INTERP, brace, brace);
      Node *call = node_at(N_CALL, brace);
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
  int start = g_pos;
  bool interp = g_src[g_pos] == '$' && g_src[g_pos + 1] == '"';
  if (interp) g_pos++;
  int open = g_pos;
  if (!eat('"')) return nullptr;
  if (g_pos - 1 != open) start = open = g_pos - 1;  // eat passed blanks first
  Node *n = interp ? parse_interp(open) : parse_plain(open);
  n->pos = g_src_base + (uint32_t)start;
  return n;
}
