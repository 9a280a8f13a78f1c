// Indented blocks, the body rule shared by every header, and if chains.
#include "../runtime/runtime.h"
#include "frontend.h"

// Indentation of the line that holds position p.
static int indent_of_line(int p) {
  while (p > 0 && g_src[p - 1] != '\n') p--;
  int save = g_pos;
  g_pos = p;
  int w = get_indent();
  g_pos = save;
  return w;
}

// BODY -> NEWLINE INDENTED-BLOCK | EXPR
// The block's indentation is that of the line right after the header; an
// unindented (or empty) line there means no body at all.
Node *parse_body_rule() {
  skip_ws();
  if (g_src[g_pos] != '\n') return parse_expr();
  int header_end = g_pos++;
  int bi = get_indent();
  if (g_recover_hook && bi <= indent_of_line(header_end)) {
    recovered(REC_SHALLOW_BODY, blanks_end(g_pos), header_end);
  }
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

void stmt_skipped() {
  if (!g_src[g_pos]) return;
  recovered(REC_SKIPPED, g_pos);
  g_pos++;
}

void stmt_read(Node *st) {
  if (!g_recover_hook) return;
  int p = blanks_end(g_pos);
  if (g_src[p] && g_src[p] != '\n' && g_src[p] != '#') recovered(REC_TRAILING, p, (int)(st->pos - g_src_base));
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
      stmt_skipped();
      continue;
    }
    stmt_read(st);
    if (block->block.n == 0) block->pos = st->pos;
    arr_add(block->block.stmts, block->block.n, st);
    block->block.n++;
  }
  return block;
}

void cond_read(Node *cond, int header) {
  if (!g_recover_hook) return;
  int p = blanks_end(g_pos);
  if (g_src[p] == '=' && g_src[p + 1] != '=') recovered(REC_COND_ASSIGN, p, header);
  else if (!cond) recovered(REC_NO_PART, header);
}

// if COND [:] BRANCH { | if COND [:] BRANCH } [ | BRANCH ]
// Only the first branch may be a plain assignment written on the same line.
Node *parse_if() {
  skip_ws();
  int start = g_pos;
  if (!eat_str("if")) return nullptr;
  check_stack();
  Node *n = node_at(N_IF, start);
  n->iff.cond = parse_expr();
  cond_read(n->iff.cond, start);
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
      Node *a = node_at(N_ASSIGN, ip);
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
      int elif = g_pos;
      g_pos += 2;
      Node *ec = parse_expr();
      cond_read(ec, elif);
      eat(':');
      skip_ws();
      Node *eb = parse_body_rule();
      arr_add(n->iff.elifs, n->iff.nelif, ec);
      arr_add(n->iff.elif_body, n->iff.nelif, eb);
      n->iff.nelif++;
      continue;
    }
    skip_ws();
    n->iff.els = parse_body_rule();
    return n;
  }
}
