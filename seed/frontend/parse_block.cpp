// Indented blocks, the body rule shared by every header, and if chains.
#include "../runtime/runtime.h"
#include "frontend.h"

#define PUSH(arr, n, item) arr_push((void ***)&(arr), (n), (item))

// BODY -> NEWLINE INDENTED-BLOCK | EXPR
// The block's indentation is that of the line right after the header; an
// unindented (or empty) line there means no body at all.
Node *parse_body_rule() {
  skip_ws();
  if (g_src[g_pos] != '\n') return parse_expr();
  g_pos++;
  int bi = get_indent();
  if (bi == 0) return node_new(N_NIL);
  return parse_body(bi);
}

static void skip_blanks() {
  while (g_src[g_pos] == ' ' || g_src[g_pos] == '\t') g_pos++;
}

static void skip_comment() {
  if (g_src[g_pos] == '#')
    while (g_src[g_pos] && g_src[g_pos] != '\n') g_pos++;
}

// block -> { stmt } while lines are indented at least min_indent; empty and
// comment-only lines never end a block.
Node *parse_body(int min_indent) {
  check_stack();
  Node *block = node_new(N_BLOCK);
  while (g_src[g_pos]) {
    int save = g_pos, lp;
    for (;;) {
      lp = g_pos;
      skip_blanks();
      skip_comment();
      if (g_src[g_pos] != '\n' && g_src[g_pos] != '\r') break;
      g_pos++;
      if (!g_src[g_pos]) return block;
    }
    g_pos = lp;
    if (get_indent() < min_indent) {
      g_pos = save;
      return block;
    }
    skip_blanks();
    if (g_src[g_pos] == '#') {
      skip_comment();
      continue;
    }
    if (g_src[g_pos] == '\n') {
      g_pos++;
      continue;
    }
    if (!g_src[g_pos]) continue;
    Node *st = parse_stmt();
    if (!st) {
      if (g_src[g_pos]) g_pos++;
      continue;
    }
    PUSH(block->block.stmts, block->block.n, st);
    block->block.n++;
  }
  return block;
}

// if COND [:] BRANCH { | if COND [:] BRANCH } [ | BRANCH ]
// Only the first branch may be a plain assignment written on the same line.
Node *parse_if() {
  if (!eat_str("if")) return nullptr;
  check_stack();
  Node *n = node_new(N_IF);
  n->iff.cond = parse_expr();
  eat(':');
  skip_ws();
  if (g_src[g_pos] == '\n') {
    n->iff.then = parse_body_rule();
  } else if (is_name_start((unsigned char)g_src[g_pos])) {
    int ip = g_pos;
    const char *name = read_name();
    skip_ws();
    if (g_src[g_pos] == '=' && g_src[g_pos + 1] != '=') {
      g_pos++;
      Node *a = node_new(N_ASSIGN);
      a->assign.name = name;
      a->assign.val = parse_expr();
      n->iff.then = a;
    } else {
      g_pos = ip;
      n->iff.then = parse_expr();
    }
  } else {
    n->iff.then = parse_expr();
  }
  for (;;) {
    int save = g_pos;
    skip_ws_nl();
    if (g_src[g_pos] != '|') {
      g_pos = save;
      return n;
    }
    g_pos++;
    skip_ws();
    if (keyword_at(g_pos, "if")) {
      g_pos += 2;
      Node *ec = parse_expr();
      eat(':');
      skip_ws();
      Node *eb = parse_body_rule();
      PUSH(n->iff.elifs, n->iff.nelif, ec);
      PUSH(n->iff.elif_body, n->iff.nelif, eb);
      n->iff.nelif++;
      continue;
    }
    skip_ws();
    n->iff.els = parse_body_rule();
    return n;
  }
}
