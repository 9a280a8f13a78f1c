// Statement reader: keyword statements, definitions, assignments, the program.
#include <cstring>

#include "../runtime/runtime.h"
#include "frontend.h"

// program -> { stmt } ; stray characters are skipped one at a time
Node *parse_program_top() {
  Node *block = node_new(N_BLOCK);
  for (;;) {
    skip_ws_nl();
    if (!g_src[g_pos]) {
      mark_ret_context(block);
      return block;
    }
    Node *st = parse_stmt();
    if (!st) {
      stmt_skipped();
      continue;
    }
    stmt_read(st);
    arr_add(block->block.stmts, block->block.n, st);
    block->block.n++;
    skip_ws();
    if (g_src[g_pos] == '\n') g_pos++;
  }
}

// use NAME | use "PATH"
static Node *parse_use() {
  int start = g_pos;
  g_pos += 3;
  skip_ws();
  unsigned char c = (unsigned char)g_src[g_pos];
  if ((c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z')) {
    Node *n = node_at(N_USE, start);
    n->use.path = read_name();
    return n;
  }
  Node *s = parse_string();
  if (!s || s->type != N_STR) recovered(REC_USE, start);
  if (!s) return node_at(N_NIL, start);
  Node *n = node_at(N_USE, start);
  // An interpolated path with embedded expressions has no fixed text: the
  // node keeps a null path and the statement is refused when it runs.
  n->use.path = s->type == N_STR ? s->str : nullptr;
  return n;
}

// ret [EXPR]
static Node *parse_ret() {
  Node *n = node_new(N_RET);
  g_pos += 3;
  skip_ws();
  if (!g_src[g_pos] || g_src[g_pos] == '\n') n->ret.ex = node_new(N_NIL);
  else n->ret.ex = parse_expr();
  return n;
}

// whl COND [:] BODY
static Node *parse_whl() {
  Node *n = node_new(N_WHILE);
  g_pos += 3;
  n->whl.cond = parse_expr();
  cond_read(n->whl.cond, (int)(n->pos - g_src_base));
  eat(':');
  skip_ws();
  n->whl.body = parse_body_rule();
  return n;
}

// lop VAR ITER [:] BODY   (the variable may be empty or start with a digit)
static Node *parse_lop() {
  Node *n = node_new(N_FOR);
  g_pos += 3;
  skip_ws();
  n->forin.var = read_name();
  n->forin.iter = parse_expr();
  if (!n->forin.iter) recovered(REC_NO_PART, (int)(n->pos - g_src_base));
  eat(':');
  skip_ws();
  n->forin.body = parse_body_rule();
  return n;
}

// Position after the ")" that closes the "(" just before ps; only
// parentheses count, even inside strings and comments.
static int scan_parens(int ps) {
  int depth = 1, p = ps;
  while (g_src[p]) {
    char c = g_src[p++];
    if (c == '(') depth++;
    else if (c == ')' && --depth == 0) break;
  }
  return p;
}

// Parameters and body of a definition, cursor just after "(":
//   PARAM {[,] PARAM} ) [=] BODY
static Node *parse_def_rest() {
  Node *fn = node_at(N_FN, g_pos - 1);
  read_params(fn);
  if (!eat(')')) recovered(REC_UNCLOSED, g_pos, (int)(fn->pos - g_src_base));
  skip_ws();
  if (g_src[g_pos] == '=') g_pos++;
  skip_ws();
  fn->fn.body = parse_body_rule();
  mark_ret_context(fn->fn.body);
  return fn;
}

// True when the look-ahead from ps (just after "(") finds ") =" (not "==").
static bool def_follows(int ps) {
  g_pos = scan_parens(ps);
  skip_ws();
  return g_src[g_pos] == '=' && g_src[g_pos + 1] != '=';
}

// The value after an "=" (at eq); nothing there assigns nil.
static Node *assigned_value(int eq) {
  Node *v = parse_expr();
  if (!v) recovered(REC_NO_VALUE, g_pos, eq);
  return v;
}

// EXPR | TARGET.FIELD = EXPR | TARGET[IDX] = EXPR
static Node *parse_expr_stmt() {
  Node *ex = parse_expr();
  if (!ex) return nullptr;
  skip_ws();
  if (g_src[g_pos] != '=' || g_src[g_pos + 1] == '=') return ex;
  int eq = g_pos;
  if (ex->type == N_DOT) {
    g_pos++;
    Node *n = node_at(N_DOT_ASSIGN, (int)(ex->pos - g_src_base));
    n->dot_assign.obj = ex->dot.obj;
    n->dot_assign.field = ex->dot.field;
    n->dot_assign.val = assigned_value(eq);
    return n;
  }
  if (ex->type == N_IDX) {
    g_pos++;
    Node *n = node_at(N_IDX_ASSIGN, (int)(ex->pos - g_src_base));
    n->idx_assign.obj = ex->idx.obj;
    n->idx_assign.idx = ex->idx.idx;
    n->idx_assign.val = assigned_value(eq);
    return n;
  }
  return ex;
}

// NAME.METHOD(PARAMS) = BODY | NAME(PARAMS) = BODY | NAME = EXPR
// | NAME += EXPR | NAME -= EXPR | otherwise an expression statement
static Node *parse_name_stmt() {
  int save = g_pos;
  const char *name = read_name();
  skip_ws();
  char c = g_src[g_pos];
  if (c == '.') {
    g_pos++;
    const char *method = read_name();
    skip_ws();
    if (*method && g_src[g_pos] == '(') {
      int ps = g_pos + 1;
      if (def_follows(ps)) {
        g_pos = ps;
        Node *n = node_at(N_DOT_ASSIGN, save);
        Node *obj = node_at(N_ID, save);
        obj->id = name;
        n->dot_assign.obj = obj;
        n->dot_assign.field = method;
        n->dot_assign.val = parse_def_rest();
        return n;
      }
    }
  } else if (c == '(') {
    int ps = g_pos + 1;
    if (def_follows(ps)) {
      g_pos = ps;
      Node *n = node_at(N_ASSIGN, save);
      n->assign.name = name;
      n->assign.val = parse_def_rest();
      return n;
    }
  } else if (c == '=' && g_src[g_pos + 1] != '=') {
    int eq = g_pos++;
    Node *n = node_at(N_ASSIGN, save);
    n->assign.name = name;
    n->assign.val = assigned_value(eq);
    return n;
  } else if ((c == '+' || c == '-') && g_src[g_pos + 1] == '=') {
    int op = g_pos;
    g_pos += 2;
    Node *rhs = assigned_value(op);
    Node *bin = node_at(N_BIN, op);
    bin->bin.op = c;
    bin->bin.left = node_at(N_ID, save);
    bin->bin.left->id = name;
    bin->bin.right = rhs;
    Node *n = node_at(N_ASSIGN, save);
    n->assign.name = name;
    n->assign.val = bin;
    return n;
  }
  g_pos = save;
  return parse_expr_stmt();
}

Node *parse_stmt() {
  check_stack();
  skip_ws();
  if (!g_src[g_pos]) return nullptr;
  if (keyword_at(g_pos, "use")) return parse_use();
  if (keyword_at(g_pos, "ret")) return parse_ret();
  if (keyword_at(g_pos, "brk")) {
    Node *n = node_new(N_BRK);
    g_pos += 3;
    return n;
  }
  if (keyword_at(g_pos, "cnt")) {
    Node *n = node_new(N_CNT);
    g_pos += 3;
    return n;
  }
  if (keyword_at(g_pos, "whl")) return parse_whl();
  if (keyword_at(g_pos, "lop")) return parse_lop();
  if (keyword_at(g_pos, "if")) return parse_if();
  if (is_name_start((unsigned char)g_src[g_pos])) return parse_name_stmt();
  return parse_expr_stmt();
}
