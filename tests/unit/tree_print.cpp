// Compact one-line printing of syntax trees, and parse helpers for tests.
#include "tree_print.h"

#include <cstdio>

#include "frontend/frontend.h"

static void quoted(std::string &o, const char *s) {
  o += '"';
  for (; *s; s++) {
    unsigned char c = (unsigned char)*s;
    switch (c) {
      case '\n': o += "\\n"; break;
      case '\t': o += "\\t"; break;
      case '\r': o += "\\r"; break;
      case '"': o += "\\\""; break;
      case '\\': o += "\\\\"; break;
      default:
        if (c < 32 || c >= 127) {
          char hex[8];
          snprintf(hex, sizeof hex, "\\x%02x", c);
          o += hex;
        } else {
          o += (char)c;
        }
    }
  }
  o += '"';
}

// Names print bare; an empty (or missing) one as "" so it stays visible.
static void name(std::string &o, const char *s) {
  if (s && *s) o += s;
  else o += "\"\"";
}

static void print(std::string &o, const Node *n);

static void child(std::string &o, const Node *n) {
  o += ' ';
  print(o, n);
}

static bool g_with_pos;

static void print(std::string &o, const Node *n) {
  if (!n) {
    o += '_';
    return;
  }
  if (g_with_pos) o += std::to_string(n->pos) + ":";
  switch (n->type) {
    case N_NUM: {
      char buf[64];
      snprintf(buf, sizeof buf, "(num %g)", n->num);
      o += buf;
      return;
    }
    case N_STR: o += "(str "; quoted(o, n->str); break;
    case N_BOOL: o += n->b ? "(bool 1" : "(bool 0"; break;
    case N_NIL: o += "nil"; return;
    case N_ID: o += "(id "; name(o, n->id); break;
    case N_LST:
      o += "(lst";
      for (int i = 0; i < n->lst.n; i++) child(o, n->lst.items[i]);
      break;
    case N_OBJ:
      o += "(obj";
      for (int i = 0; i < n->obj.n; i++) {
        o += " (";
        quoted(o, n->obj.keys[i]);
        child(o, n->obj.vals[i]);
        o += ')';
      }
      break;
    case N_BIN: o += "(bin "; o += n->bin.op; child(o, n->bin.left); child(o, n->bin.right); break;
    case N_UNARY: o += "(unary "; o += n->unary.op; child(o, n->unary.operand); break;
    case N_CALL:
      o += "(call ";
      if (n->call.name) o += n->call.name;
      else print(o, n->call.callee);
      for (int i = 0; i < n->call.n; i++) child(o, n->call.args[i]);
      break;
    case N_IF:
      o += "(if";
      child(o, n->iff.cond);
      child(o, n->iff.then);
      for (int i = 0; i < n->iff.nelif; i++) {
        o += " (elif";
        child(o, n->iff.elifs[i]);
        child(o, n->iff.elif_body[i]);
        o += ')';
      }
      child(o, n->iff.els);
      break;
    case N_WHILE: o += "(whl"; child(o, n->whl.cond); child(o, n->whl.body); break;
    case N_FOR:
      o += "(lop ";
      name(o, n->forin.var);
      child(o, n->forin.iter);
      child(o, n->forin.body);
      break;
    case N_ASSIGN: o += "(assign "; name(o, n->assign.name); child(o, n->assign.val); break;
    case N_DOT_ASSIGN:
      o += "(dot=";
      child(o, n->dot_assign.obj);
      o += ' ';
      name(o, n->dot_assign.field);
      child(o, n->dot_assign.val);
      break;
    case N_IDX_ASSIGN:
      o += "(idx=";
      child(o, n->idx_assign.obj);
      child(o, n->idx_assign.idx);
      child(o, n->idx_assign.val);
      break;
    case N_FN:
      o += "(fn (";
      for (int i = 0; i < n->fn.nparams; i++) {
        if (i) o += ' ';
        name(o, n->fn.params[i]);
      }
      o += ')';
      child(o, n->fn.body);
      break;
    case N_BLOCK:
      o += "(block";
      for (int i = 0; i < n->block.n; i++) child(o, n->block.stmts[i]);
      break;
    case N_IDX: o += "(idx"; child(o, n->idx.obj); child(o, n->idx.idx); break;
    case N_DOT: o += "(dot"; child(o, n->dot.obj); o += ' '; name(o, n->dot.field); break;
    case N_USE:
      o += "(use ";
      if (n->use.path) quoted(o, n->use.path);
      else o += '_';
      break;
    case N_BRK: o += "brk"; return;
    case N_CNT: o += "cnt"; return;
    case N_RET: o += "(ret"; child(o, n->ret.ex); break;
    default: o += "(?"; break;
  }
  o += ')';
}

std::string tree_str(const Node *n) {
  std::string o;
  print(o, n);
  return o;
}

// The cursor is pointed back at an empty text afterwards, so no later parse
// can read through a dangling pointer to the caller's text.
std::string parse_tree(const char *src) {
  g_src = src;
  g_pos = 0;
  std::string out = tree_str(parse_program_top());
  g_src = "";
  g_pos = 0;
  return out;
}

std::string parse_tree_pos(const char *src) {
  g_src_base = 0;
  g_with_pos = true;
  std::string out = parse_tree(src);
  g_with_pos = false;
  return out;
}

std::string parse_expr_tree(const char *src, std::string *rest) {
  g_src = src;
  g_pos = 0;
  std::string out = tree_str(parse_expr());
  if (rest) *rest = src + g_pos;
  g_src = "";
  g_pos = 0;
  return out;
}
