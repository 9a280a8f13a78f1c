// Tree shapes the parser must produce where a program's output shows them
// only indirectly: precedence, the reader's tolerance of bad text, the body
// rule, and the limits on literals.
#include <gtest/gtest.h>
#include <sys/mman.h>
#include <unistd.h>

#include <cstdio>
#include <cstring>
#include <string>

#include "frontend/frontend.h"

// One line such as "(block (assign x (bin + (id a) (num 1))))": a null child
// prints as "_", numbers use %g, an empty name as "".
static void quoted(std::string &o, const char *s) {
  o += '"';
  for (; *s; s++) o += *s == '\t' ? "\\t" : *s == '"' || *s == '\\' ? std::string("\\") + *s : std::string(1, *s);
  o += '"';
}

static void name(std::string &o, const char *s) { o += s && *s ? s : "\"\""; }
static void print(std::string &o, const Node *n);
static void kids(std::string &o, std::initializer_list<const Node *> ns) {
  for (const Node *n : ns) o += ' ', print(o, n);
}
static void list(std::string &o, Node *const *ns, int n) {
  for (int i = 0; i < n; i++) kids(o, {ns[i]});
}

static bool g_with_pos;  // each node prefixed with its position

static void print(std::string &o, const Node *n) {
  char buf[64];
  if (!n) return void(o += '_');
  if (g_with_pos) o += std::to_string(n->pos) + ":";
  switch (n->type) {
    case N_NUM: snprintf(buf, sizeof buf, "(num %g)", n->num); return void(o += buf);
    case N_NIL: return void(o += "nil");
    case N_BRK: return void(o += "brk");
    case N_CNT: return void(o += "cnt");
    case N_STR: o += "(str "; quoted(o, n->str); break;
    case N_BOOL: o += n->b ? "(bool 1" : "(bool 0"; break;
    case N_ID: o += "(id "; name(o, n->id); break;
    case N_LST: o += "(lst"; list(o, n->lst.items, n->lst.n); break;
    case N_OBJ:
      o += "(obj";
      for (int i = 0; i < n->obj.n; i++) o += " (", quoted(o, n->obj.keys[i]), kids(o, {n->obj.vals[i]}), o += ')';
      break;
    case N_BIN: o += "(bin "; o += n->bin.op; kids(o, {n->bin.left, n->bin.right}); break;
    case N_UNARY: o += "(unary "; o += n->unary.op; kids(o, {n->unary.operand}); break;
    case N_CALL:
      o += "(call ";
      n->call.name ? void(o += n->call.name) : print(o, n->call.callee);
      list(o, n->call.args, n->call.n);
      break;
    case N_IF:
      o += "(if";
      kids(o, {n->iff.cond, n->iff.then});
      for (int i = 0; i < n->iff.nelif; i++) o += " (elif", kids(o, {n->iff.elifs[i], n->iff.elif_body[i]}), o += ')';
      kids(o, {n->iff.els});
      break;
    case N_WHILE: o += "(whl"; kids(o, {n->whl.cond, n->whl.body}); break;
    case N_FOR: o += "(lop "; name(o, n->forin.var); kids(o, {n->forin.iter, n->forin.body}); break;
    case N_ASSIGN: o += "(assign "; name(o, n->assign.name); kids(o, {n->assign.val}); break;
    case N_DOT_ASSIGN: o += "(dot="; kids(o, {n->dot_assign.obj}); o += ' '; name(o, n->dot_assign.field); kids(o, {n->dot_assign.val}); break;
    case N_IDX_ASSIGN: o += "(idx="; kids(o, {n->idx_assign.obj, n->idx_assign.idx, n->idx_assign.val}); break;
    case N_FN:
      o += "(fn (";
      for (int i = 0; i < n->fn.nparams; i++) o += i ? " " : "", name(o, n->fn.params[i]);
      o += ')';
      kids(o, {n->fn.body});
      break;
    case N_BLOCK: o += "(block"; list(o, n->block.stmts, n->block.n); break;
    case N_IDX: o += "(idx"; kids(o, {n->idx.obj, n->idx.idx}); break;
    case N_DOT: o += "(dot"; kids(o, {n->dot.obj}); o += ' '; name(o, n->dot.field); break;
    case N_USE: o += "(use "; n->use.path ? quoted(o, n->use.path) : void(o += '_'); break;
    case N_RET: o += "(ret"; kids(o, {n->ret.ex}); break;
  }
  o += ')';
}

// A whole program, or one expression whose unread rest goes to *rest; the
// cursor is left at an empty text so no later parse reads a dangling src.
static std::string parse(const char *src, bool whole, std::string *rest = nullptr) {
  g_src = src;
  g_pos = 0;
  std::string out;
  print(out, whole ? parse_program_top() : parse_expr());
  if (rest) *rest = src + g_pos;
  g_src = "";
  g_pos = 0;
  return out;
}

static std::string P(const std::string &src) { return parse(src.c_str(), true); }

// The same with positions, counted from the text's first byte.
static std::string parse_tree_pos(const char *src) {
  g_src_base = 0;
  g_with_pos = true;
  std::string out = parse(src, true);
  g_with_pos = false;
  return out;
}

// One expression, followed by " @" and the unread text when any is left.
static std::string E(const std::string &src) {
  std::string rest;
  std::string t = parse(src.c_str(), false, &rest);
  return rest.empty() ? t : t + " @" + rest;
}

TEST(Parser, OperatorsAndOperands) {
  EXPECT_EQ(E("a or b < c + d * e and f"),
            "(bin | (id a) (bin & (bin < (id b) (bin + (id c) (bin * (id d) (id e)))) (id f)))");
  EXPECT_EQ(E("a < b == c != d <= e >= f"),
            "(bin g (bin l (bin ! (bin = (bin < (id a) (id b)) (id c)) (id d)) (id e)) (id f))");
  // Word operators need a boundary after them only; at an operand they are names.
  EXPECT_EQ(E("a orange"), "(id a) @orange");
  EXPECT_EQ(E("1or 2and(b)"), "(bin | (num 1) (bin & (num 2) (id b)))");
  EXPECT_EQ(E("or + and"), "(bin + (id or) (id and))");
  // An operator with no operand after it (on its line) is consumed and dropped.
  EXPECT_EQ(E("a +\nb"), "(id a) @\nb");
  EXPECT_EQ(E("a && b"), "(id a) @&& b");
  // "--" and "!=" start no operand.
  EXPECT_EQ(E("--x"), "_ @--x");
  EXPECT_EQ(E("!=x"), "_ @!=x");
  EXPECT_EQ(E("[-1 -2]"), "(lst (bin - (num -1) (num 2)))");
  // Numbers: no hex, no leading dot; 70 digits convert their first 63.
  EXPECT_EQ(E("2else"), "(num 2) @lse");
  EXPECT_EQ(E("1.2.3"), "(num 1.2) @.3");
  EXPECT_EQ(E(".5"), "_ @.5");
  EXPECT_EQ(E("1" + std::string(69, '0') + " + 1"), "(bin + (num 1e+62) (num 1))");
  EXPECT_EQ(E("a.b[0](x).c"), "(dot (call (idx (dot (id a) b) (num 0)) (id x)) c)");
  EXPECT_EQ(E("f(a,,b)"), "(call f (id a)) @,b)");
  EXPECT_EQ(E("f\n(x)"), "(id f) @\n(x)");
}

TEST(Parser, Statements) {
  EXPECT_EQ(P("f(a b) = a\np.m (x) = x"),
            "(block (assign f (fn (a b) (id a))) (dot= (id p) m (fn (x) (id x))))");
  EXPECT_EQ(P("p. m(x) = x"), "(block (id p) (assign m (fn (x) (id x))))");
  // The look-ahead counts only parentheses, even inside strings.
  EXPECT_EQ(P("f(\")\") = 1"), "(block (call f (str \")\")) (num 1))");
  EXPECT_EQ(P("f((a)) = a"), "(block (assign f (fn () (id a))) (id a))");
  EXPECT_EQ(P("f(x) = ret x"), "(block (assign f (fn (x) (id ret))) (id x))");
  EXPECT_EQ(P("whl = 5"), "(block (whl _ _) (num 5))");
  EXPECT_EQ(P("ret # done\nbrk 5"), "(block (ret nil) brk (num 5))");
  EXPECT_EQ(P("use txt.sub"), "(block (use \"txt\") (id sub))");
  EXPECT_EQ(P("use _x"), "(block nil (id _x))");
  EXPECT_EQ(P("use $\"{d}/m.orv\""), "(block (use _))");
  EXPECT_EQ(P("lop [1]: x"), "(block (lop \"\" (lst (num 1)) (id x)))");
  EXPECT_EQ(P("if a: x | y | z"), "(block (if (id a) (id x) (id y)) (id z))");
  EXPECT_EQ(P("if c: a | x = 2"), "(block (if (id c) (id a) (id x)) (num 2))");
}

TEST(Parser, BodyRule) {
  // An empty line (or a comment at column 0) after the header: no body.
  EXPECT_EQ(P("whl c:\n\n    x\n"), "(block (whl (id c) nil) (id x))");
  // Blank or comment lines inside a block never end it (an indented comment
  // right after the header sets the indentation); a tab counts four.
  EXPECT_EQ(P("whl c:\n    a\n# col 0\n\n      \n\tb\n   z"), "(block (whl (id c) (block (id a) (id b))) (id z))");
  EXPECT_EQ(P("whl c:\n  # note\n    x\ny"), "(block (whl (id c) (block (id x))) (id y))");
  // A second statement on a line is measured from where the first ended.
  EXPECT_EQ(P("whl c:\n    a = 1 b = 2\n    d\n"),
            "(block (whl (id c) (block (assign a (num 1)))) (assign b (num 2)) (id d))");
  EXPECT_EQ(P("whl a:\n    whl b:\n    x\n    y\nz"),
            "(block (whl (id a) (block (whl (id b) (block (id x) (id y))))) (id z))");
  EXPECT_EQ(P("whl c:\n    ) x\n    y"), "(block (whl (id c) (block)) (id x) (id y))");
  EXPECT_EQ(P("if a:\n    x\n\n# c\n| if b:\n    y\n|\n    z\nw"),
            "(block (if (id a) (block (id x)) (elif (id b) (block (id y))) (block (id z))) (id w))");
  EXPECT_EQ(P("if a:\n    x\n    |\n    y\nz"), "(block (if (id a) (block (id x) (id y)) _) (id z))");
  // Stray bytes are skipped one at a time; CRLF is LF.
  EXPECT_EQ(P(") x = 1 ; y\xc3\xa9"), "(block (assign x (num 1)) (id y))");
  EXPECT_EQ(P("f(x) =\r\n    if x:\r\n        ret x\r\n    |\r\n        ret -1\r\nwhl c:\r\n\r\n    d\r\n"),
            P("f(x) =\n    if x:\n        ret x\n    |\n        ret -1\nwhl c:\n\n    d\n"));
}

TEST(Parser, Literals) {
  EXPECT_EQ(E("\"a\\tb\\q\\\"\\0cd\""), "(str \"a\\tb\\\\q\\\"\")");
  EXPECT_EQ(E("\"ab\\"), "(str \"ab\\\\\")");
  EXPECT_EQ(E("$\"a{x}b{ y + 1 }\""),
            "(bin + (bin + (bin + (str \"a\") (call str (id x))) (str \"b\")) (call str (bin + (id y) (num 1))))");
  // One stretch of literal text keeps 65535 bytes; an escape past it is dropped.
  const size_t max = 65535;
  EXPECT_EQ(E("\"" + std::string(70000, 'a') + "\" + 1"), "(bin + (str \"" + std::string(max, 'a') + "\") (num 1))");
  EXPECT_EQ(E("\"" + std::string(max - 1, 'a') + "\\qz\""), "(str \"" + std::string(max - 1, 'a') + "\\\\\")");
  EXPECT_EQ(E("$\"" + std::string(70000, 'a') + "{x}b\""),
            "(bin + (bin + (str \"" + std::string(max, 'a') + "\") (call str (id x))) (str \"b\"))");
  EXPECT_EQ(E("{a 1, \"b c\": 2, d, if: 3}"), "(obj (\"a\" (num 1)) (\"b c\" (num 2)) (\"d\" _) (\"if\" (num 3)))");
  EXPECT_EQ(E("{\"\": 1}"), "(obj) @: 1}");
  // A key stops at 255 bytes; the rest is read as what follows the key.
  EXPECT_EQ(E("{" + std::string(300, 'k') + ": 1}"),
            "(obj (\"" + std::string(255, 'k') + "\" (id " + std::string(45, 'k') + "))) @: 1}");
  EXPECT_EQ(E("\\(a, +) 1"), "(fn (a) _) @) 1");
}

// Every prefix of a program that uses all the forms, placed so that its
// terminating NUL is the last readable byte before an inaccessible page: a
// reader that looks past the end of the text faults here.
TEST(Parser, NeverReadsPastTheEnd) {
  const char *prog =
      "use txt\nuse \"m.orv\"\nf(a, b) = a + b * -c\np.m(x) =\n    ret x\n"
      "x += 1\ny -= !z\nq = $\"a{x}b\\n\\{\" + \"s\\t\\0\"\n"
      "o = {a: 1, \"b\": [1, 2], c}\nl = \\(a b) => a or b and c\n"
      "if a <= b: c = 1 | if a >= b: d | e\nwhl x != 0: x\n"
      "lop i xs:\n\tprn(i[0].k)\n\tbrk\n\tcnt\n# end\n1.5e+3 2e 0x1 a == b % c / d\n";
  long page = sysconf(_SC_PAGESIZE);
  size_t total = strlen(prog);
  ASSERT_LT((long)total, page);
  char *mem = (char *)mmap(nullptr, (size_t)page * 2, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
  ASSERT_NE(mem, MAP_FAILED);
  ASSERT_EQ(mprotect(mem + page, (size_t)page, PROT_NONE), 0);
  for (size_t len = 0; len <= total; len++) {
    char *text = mem + page - 1 - len;
    memcpy(text, prog, len);
    text[len] = 0;
    parse(text, true);
    parse(text, false);
  }
  munmap(mem, (size_t)page * 2);
}

// A node is positioned where its text starts: a keyword statement at its
// keyword, an assignment at its target, a postfix chain at its operand, an
// operator (and a folded "-5") at its operator, a string at its quote.
TEST(Parser, NodesKnowWhereTheyStart) {
  EXPECT_EQ(parse_tree_pos("use m\nret -5\nbrk\nx += a.b[1](c)\n"),
            "0:(block 0:(use \"m\") 6:(ret 10:(num -5)) 13:brk "
            "17:(assign x 19:(bin + 17:(id x) 22:(call 22:(idx 22:(dot 22:(id a) b) 26:(num 1)) 29:(id c)))))");
  EXPECT_EQ(parse_tree_pos("o.f = [!t, {k: \"s\"}]\nif x: y = 1 | nil\n"),
            "0:(block 0:(dot= 0:(id o) f 6:(lst 7:(unary ! 8:(id t)) 11:(obj (\"k\" 15:(str \"s\"))))) "
            "21:(if 24:(id x) 27:(assign y 31:(num 1)) 35:nil))");
  EXPECT_EQ(parse_tree_pos("f(a) =\n  whl a\n    lop v a: a - v\n"),
            "0:(block 0:(assign f 1:(fn (a) 9:(block 9:(whl 13:(id a) 19:(block 19:(lop v 25:(id a) 30:(bin - 28:(id a) 32:(id v)))))))))");
}
