// orvex ast: the tree as the reader understood it, one node a line, each
// with where it starts, so that what a quirk did to a line shows.
#include <cstdio>
#include <string>

#include "../driver/driver.h"
#include "../frontend/frontend.h"
#include "commands.h"
#include "diagnostics.h"
#include "located.h"

static void print_node(const Node *n, int depth, const char *role);

static std::string quoted(const char *s) {
  std::string q = "\"";
  for (; *s; s++) {
    if (*s == '\n') q += "\\n";
    else if (*s == '\t') q += "\\t";
    else if (*s == '"' || *s == '\\') q += std::string("\\") + *s;
    else q += *s;
  }
  return q + "\"";
}

// The operator as written; the tree keeps one character per operator.
static const char *op_text(char op) {
  switch (op) {
    case 'l': return "<=";
    case 'g': return ">=";
    case '=': return "==";
    case '!': return "!=";
    case '|': return "or";
    case '&': return "and";
    default: {
      static char one[2];
      one[0] = op;
      return one;
    }
  }
}

static std::string names(const char *const *xs, int n) {
  std::string s = "(";
  for (int i = 0; i < n; i++) s += (i ? ", " : "") + std::string(xs[i]);
  return s + ")";
}

// The kind and the node's own fields (names, values, operators).
static std::string label(const Node *n) {
  char num[64];
  switch (n->type) {
    case N_NUM: snprintf(num, sizeof num, "num %.17g", n->num); return num;
    case N_STR: return "str " + quoted(n->str);
    case N_BOOL: return n->b ? "tru" : "fls";
    case N_NIL: return "nil";
    case N_ID: return std::string("name ") + n->id;
    case N_LST: return "list";
    case N_OBJ: return "object";
    case N_BIN: return std::string("op ") + op_text(n->bin.op);
    case N_UNARY: return std::string("op ") + n->unary.op;
    case N_CALL: return n->call.name ? std::string("call ") + n->call.name : "call";
    case N_IF: return "if";
    case N_WHILE: return "whl";
    case N_FOR: return std::string("lop ") + (*n->forin.var ? n->forin.var : "(no variable)");
    case N_ASSIGN: return std::string("assign ") + n->assign.name;
    case N_DOT_ASSIGN: return std::string("assign field ") + n->dot_assign.field;
    case N_IDX_ASSIGN: return "assign element";
    case N_FN: return "function " + names(n->fn.params, n->fn.nparams);
    case N_BLOCK: return "block";
    case N_IDX: return "element";
    case N_DOT: return std::string("field ") + n->dot.field;
    case N_USE: return std::string("use ") + (n->use.path ? quoted(n->use.path) : "(no fixed path)");
    case N_BRK: return "brk";
    case N_CNT: return "cnt";
    case N_RET: return "ret";
  }
  return "?";
}

static void print_list(Node *const *xs, int n, int depth, const char *role) {
  for (int i = 0; i < n; i++) print_node(xs[i], depth, role);
}

static void print_children(const Node *n, int d) {
  switch (n->type) {
    case N_LST: return print_list(n->lst.items, n->lst.n, d, "");
    case N_OBJ:
      for (int i = 0; i < n->obj.n; i++) print_node(n->obj.vals[i], d, (std::string(n->obj.keys[i]) + ": ").c_str());
      return;
    case N_BIN: print_node(n->bin.left, d, ""); return print_node(n->bin.right, d, "");
    case N_UNARY: return print_node(n->unary.operand, d, "");
    case N_CALL:
      if (!n->call.name) print_node(n->call.callee, d, "callee: ");
      return print_list(n->call.args, n->call.n, d, "arg: ");
    case N_IF:
      print_node(n->iff.cond, d, "cond: ");
      print_node(n->iff.then, d, "then: ");
      for (int i = 0; i < n->iff.nelif; i++) {
        print_node(n->iff.elifs[i], d, "| if: ");
        print_node(n->iff.elif_body[i], d, "then: ");
      }
      if (n->iff.els) print_node(n->iff.els, d, "| ");
      return;
    case N_WHILE: print_node(n->whl.cond, d, "cond: "); return print_node(n->whl.body, d, "body: ");
    case N_FOR: print_node(n->forin.iter, d, "list: "); return print_node(n->forin.body, d, "body: ");
    case N_ASSIGN: return print_node(n->assign.val, d, "");
    case N_DOT_ASSIGN: print_node(n->dot_assign.obj, d, "object: "); return print_node(n->dot_assign.val, d, "");
    case N_IDX_ASSIGN:
      print_node(n->idx_assign.obj, d, "list: ");
      print_node(n->idx_assign.idx, d, "index: ");
      return print_node(n->idx_assign.val, d, "");
    case N_FN: return print_node(n->fn.body, d, "body: ");
    case N_BLOCK: return print_list(n->block.stmts, n->block.n, d, "");
    case N_IDX: print_node(n->idx.obj, d, ""); return print_node(n->idx.idx, d, "index: ");
    case N_DOT: return print_node(n->dot.obj, d, "");
    case N_RET: return print_node(n->ret.ex, d, "");
    default: return;
  }
}

// A missing child (the reader found nothing it could use) shows as such.
static void print_node(const Node *n, int depth, const char *role) {
  std::string line(2 * depth, ' ');
  line += role;
  if (!n) {
    printf("%s(nothing)\n", line.c_str());
    return;
  }
  int l, c;
  source_line_col(n->pos, &l, &c);
  printf("%s%s  %d:%d\n", line.c_str(), label(n).c_str(), l, c);
  print_children(n, depth + 1);
}

int cmd_ast(const std::string &file) {
  char *text = read_file(file.c_str());
  if (!text) {
    fprintf(stderr, "orvex: cannot open %s\n", file.c_str());
    return 2;
  }
  located_init();
  struct Ast {
    char *text;
    const char *file;
  } a = {text, file.c_str()};
  bool ok = run_located([](void *p) {
    Ast *a = (Ast *)p;
    g_src = a->text;
    g_pos = 0;
    source_add(a->text, a->file);
    print_node(parse_program_top(), 0, "");
  }, &a);
  fflush(stdout);
  return ok ? 0 : 1;
}
