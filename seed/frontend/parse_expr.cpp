// Binary operators: precedence climbing over five left-associative levels.
#include "../runtime/runtime.h"
#include "frontend.h"

// Level of the operator written at s (0: none). Word operators need a
// boundary after them, never before: "1or 2" is "1 or 2".
int op_prec(const char *s) {
  if (s[0] == 'o' && s[1] == 'r' && !is_name_char((unsigned char)s[2])) return 1;
  if (s[0] == 'a' && s[1] == 'n' && s[2] == 'd' && !is_name_char((unsigned char)s[3])) return 2;
  if ((s[0] == '=' || s[0] == '!') && s[1] == '=') return 3;
  if ((s[0] == '<' || s[0] == '>') && s[1] == '=') return 3;
  switch (s[0]) {
    case '*': case '/': case '%': return 5;
    case '+': case '-': return 4;
    case '<': case '>': return 3;
    default: return 0;
  }
}

// Operator code and length of the operator at s (op_prec(s) > 0).
static char op_code(const char *s, int *adv) {
  *adv = 2;
  if (s[0] == 'o') return '|';
  if (s[0] == 'a') { *adv = 3; return '&'; }
  if (s[1] == '=') {
    if (s[0] == '<') return 'l';
    if (s[0] == '>') return 'g';
    if (s[0] == '=') return '=';
    if (s[0] == '!') return '!';
  }
  *adv = 1;
  return s[0];
}

// expr -> unary { OP unary }
Node *parse_expr() {
  Node *u = parse_unary();
  if (!u) return nullptr;
  return parse_bin_rhs(u, 1);
}

// An operator with no operand after it is consumed and dropped.
Node *parse_bin_rhs(Node *left, int min_prec) {
  for (;;) {
    skip_ws();
    int prec = op_prec(g_src + g_pos);
    if (prec < min_prec) return left;
    int adv, at = g_pos;
    char op = op_code(g_src + g_pos, &adv);
    g_pos += adv;
    Node *right = parse_unary();
    if (!right) {
      recovered(REC_NO_OPERAND, at);
      return left;
    }
    skip_ws();
    int np = op_prec(g_src + g_pos);
    while (np > prec) {
      right = parse_bin_rhs(right, np);
      skip_ws();
      np = op_prec(g_src + g_pos);
    }
    Node *n = node_at(N_BIN, at);
    n->bin.op = op;
    n->bin.left = left;
    n->bin.right = right;
    left = n;
  }
}
