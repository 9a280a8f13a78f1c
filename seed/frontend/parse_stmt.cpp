// Statement reader: keyword statements, definitions, assignments, the program.
#include <cstring>

#include "../runtime/runtime.h"
#include "frontend.h"

#define PUSH(arr, n, item) arr_push((void ***)&(arr), (n), (item))

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
      if (g_src[g_pos]) g_pos++;
      continue;
    }
    PUSH(block->block.stmts, block->block.n, st);
    block->block.n++;
    skip_ws();
    if (g_src[g_pos] == '\n') g_pos++;
  }
}

// use NAME | use "PATH"
static Node *parse_use() {
  g_pos += 3;
  skip_ws();
  unsigned char c = (unsigned char)g_src[g_pos];
  if ((c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z')) {
    Node *n = node_new(N_USE);
    n->use.path = read_name();
    return n;
  }
  Node *s = parse_string();
  if (!s) return node_new(N_NIL);
  Node *n = node_new(N_USE);
  // An interpolated path with embedded expressions has no fixed text: the
  // node keeps a null path and the statement is refused when it runs.
  n->use.path = s->type == N_STR ? s->str : nullptr;
  return n;
}

// ret [EXPR]
static Node *parse_ret() {
  g_pos += 3;
  Node *n = node_new(N_RET);
  skip_ws();
  if (!g_src[g_pos] || g_src[g_pos] == '\n') n->ret.ex = node_new(N_NIL);
  else n->ret.ex = parse_expr();
  return n;
}

// whl COND [:] BODY
static Node *parse_whl() {
  g_pos += 3;
  Node *n = node_new(N_WHILE);
  n->whl.cond = parse_expr();
  eat(':');
  skip_ws();
  n->whl.body = parse_body_rule();
  return n;
}

// lop VAR ITER [:] BODY   (the variable may be empty or start with a digit)
static Node *parse_lop() {
  g_pos += 3;
  skip_ws();
  Node *n = node_new(N_FOR);
  n->forin.var = read_name();
  n->forin.iter = parse_expr();
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
  Node *fn = node_new(N_FN);
  for (;;) {
    int c = peek();
    if (c == ')' || c == 0) break;
    skip_ws();
    const char *p = read_name();
    if (!*p) break;
    PUSH(fn->fn.params, fn->fn.nparams, (void *)p);
    fn->fn.nparams++;
    eat(',');
  }
  eat(')');
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

// EXPR | TARGET.FIELD = EXPR | TARGET[IDX] = EXPR
static Node *parse_expr_stmt() {
  Node *ex = parse_expr();
  if (!ex) return nullptr;
  skip_ws();
  if (g_src[g_pos] != '=' || g_src[g_pos + 1] == '=') return ex;
  if (ex->type == N_DOT) {
    g_pos++;
    Node *n = node_new(N_DOT_ASSIGN);
    n->dot_assign.obj = ex->dot.obj;
    n->dot_assign.field = ex->dot.field;
    n->dot_assign.val = parse_expr();
    return n;
  }
  if (ex->type == N_IDX) {
    g_pos++;
    Node *n = node_new(N_IDX_ASSIGN);
    n->idx_assign.obj = ex->idx.obj;
    n->idx_assign.idx = ex->idx.idx;
    n->idx_assign.val = parse_expr();
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
        Node *n = node_new(N_DOT_ASSIGN);
        Node *obj = node_new(N_ID);
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
      Node *n = node_new(N_ASSIGN);
      n->assign.name = name;
      n->assign.val = parse_def_rest();
      return n;
    }
  } else if (c == '=' && g_src[g_pos + 1] != '=') {
    g_pos++;
    Node *n = node_new(N_ASSIGN);
    n->assign.name = name;
    n->assign.val = parse_expr();
    return n;
  } else if ((c == '+' || c == '-') && g_src[g_pos + 1] == '=') {
    g_pos += 2;
    Node *rhs = parse_expr();
    Node *bin = node_new(N_BIN);
    bin->bin.op = c;
    bin->bin.left = node_new(N_ID);
    bin->bin.left->id = name;
    bin->bin.right = rhs;
    Node *n = node_new(N_ASSIGN);
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
    g_pos += 3;
    return node_new(N_BRK);
  }
  if (keyword_at(g_pos, "cnt")) {
    g_pos += 3;
    return node_new(N_CNT);
  }
  if (keyword_at(g_pos, "whl")) return parse_whl();
  if (keyword_at(g_pos, "lop")) return parse_lop();
  if (keyword_at(g_pos, "if")) return parse_if();
  if (is_name_start((unsigned char)g_src[g_pos])) return parse_name_stmt();
  return parse_expr_stmt();
}
