// Operands: prefix operators, primary forms, numbers and postfix chains.
#include <cstdlib>
#include <cstring>

#include "../runtime/runtime.h"
#include "frontend.h"

static bool is_digit(char c) { return c >= '0' && c <= '9'; }

// Only the first NUMBER_TEXT_MAX characters of a number are converted; the
// cursor still passes the whole literal.
static const int NUMBER_TEXT_MAX = 63;

// NUMBER -> DIGITS [. DIGITS*] [(e|E) [+|-] DIGITS*]
// No hex: "0x1F" is 0 followed by x1F.
static Node *parse_number() {
  int start = g_pos;
  if (!is_digit(g_src[g_pos])) return nullptr;
  while (is_digit(g_src[g_pos])) g_pos++;
  if (g_src[g_pos] == '.') {
    g_pos++;
    while (is_digit(g_src[g_pos])) g_pos++;
  }
  if (g_src[g_pos] == 'e' || g_src[g_pos] == 'E') {
    g_pos++;
    if (g_src[g_pos] == '+' || g_src[g_pos] == '-') g_pos++;
    while (is_digit(g_src[g_pos])) g_pos++;
  }
  char buf[NUMBER_TEXT_MAX + 1];
  int k = g_pos - start;
  if (k > NUMBER_TEXT_MAX) k = NUMBER_TEXT_MAX;
  memcpy(buf, g_src + start, (size_t)k);
  buf[k] = 0;
  Node *n = node_at(N_NUM, start);
  n->num = strtod(buf, nullptr);
  // a word operator may follow at once ("1or 2"); any other name is cut off
  if (is_name_char((unsigned char)g_src[g_pos]) && !op_prec(g_src + g_pos)) recovered(REC_NUMBER_NAME, g_pos, start);
  return n;
}

static Node *parse_atom() {
  skip_ws();
  char c = g_src[g_pos];
  if (c == '\\') return parse_lambda();
  if (c == '$' && g_src[g_pos + 1] == '"') return parse_string();
  if (is_digit(c)) return parse_number();
  if (c == '"') return parse_string();
  if (c == '(') {
    int open = g_pos++;
    Node *n = parse_expr();
    if (!eat(')')) recovered(REC_UNCLOSED, g_pos, open);
    return n;
  }
  if (c == '[') return parse_list();
  if (c == '{') return parse_object();
  if (keyword_at(g_pos, "tru") || keyword_at(g_pos, "fls")) {
    Node *n = node_new(N_BOOL);
    n->b = c == 't';
    g_pos += 3;
    return n;
  }
  if (keyword_at(g_pos, "nil")) {
    Node *n = node_new(N_NIL);
    g_pos += 3;
    return n;
  }
  if (keyword_at(g_pos, "if")) return parse_if();
  if (is_name_start((unsigned char)c)) {
    Node *n = node_new(N_ID);
    n->id = read_name();
    return n;
  }
  return nullptr;
}

// postfix -> { .NAME | [EXPR] | (ARGS) } on the operand's own line
// Each node starts where its operand does.
static Node *parse_postfix(Node *left) {
  int start = (int)(left->pos - g_src_base);
  for (;;) {
    skip_ws();
    char c = g_src[g_pos];
    int at = g_pos;
    if (c == '.' && is_name_start((unsigned char)g_src[g_pos + 1])) {
      g_pos++;
      Node *n = node_at(N_DOT, start);
      n->dot.obj = left;
      n->dot.field = read_name();
      left = n;
    } else if (c == '[') {
      g_pos++;
      Node *n = node_at(N_IDX, start);
      n->idx.obj = left;
      n->idx.idx = parse_expr();
      if (!eat(']')) recovered(REC_UNCLOSED, g_pos, at);
      left = n;
    } else if (c == '(') {
      g_pos++;
      Node *n = node_at(N_CALL, start);
      if (left->type == N_ID) n->call.name = left->id;
      else n->call.callee = left;
      skip_ws_nl();
      while (g_src[g_pos] && g_src[g_pos] != ')') {
        Node *arg = parse_expr();
        if (!arg) break;
        arr_add(n->call.args, n->call.n, arg);
        n->call.n++;
        skip_ws_nl();
        eat(',');
        skip_ws_nl();
      }
      if (!eat(')')) recovered(REC_UNCLOSED, g_pos, at);
      left = n;
    } else {
      return left;
    }
  }
}

// unary -> ! unary | - unary | atom postfix
// "-" before a number literal folds into it: -5, - 5 and -(5) are one N_NUM.
Node *parse_unary() {
  check_stack();
  skip_ws();
  char c = g_src[g_pos];
  char d = c ? g_src[g_pos + 1] : 0;  // never look past the terminating NUL
  int at = g_pos;
  if (c == '!' && d != '=') {
    Node *n = node_new(N_UNARY);
    g_pos++;
    n->unary.op = '!';
    n->unary.operand = parse_unary();
    if (!n->unary.operand) recovered(REC_NO_OPERAND, at);
    return n;
  }
  if (c == '-' && d != '=' && d != '-') {
    g_pos++;
    Node *inner = parse_unary();
    if (inner && inner->type == N_NUM) {
      inner->num = -inner->num;
      inner->pos = g_src_base + (uint32_t)at;
      return inner;
    }
    if (!inner) recovered(REC_NO_OPERAND, at);
    Node *n = node_at(N_BIN, at);
    n->bin.op = '-';
    n->bin.left = node_new(N_NUM);
    n->bin.right = inner;
    return n;
  }
  Node *n = parse_atom();
  return n ? parse_postfix(n) : nullptr;
}
