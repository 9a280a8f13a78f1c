// Tree shapes the parser must produce, including its tolerance of bad text.
#include <gtest/gtest.h>
#include <sys/mman.h>
#include <unistd.h>

#include <cstring>
#include <string>

#include "frontend/frontend.h"
#include "tree_print.h"

// A whole program's block.
static std::string P(const char *src) { return parse_tree(src); }
static std::string P(const std::string &src) { return parse_tree(src.c_str()); }

// One expression, followed by " @" and the unread text when any is left.
static std::string E(const char *src) {
  std::string rest;
  std::string t = parse_expr_tree(src, &rest);
  return rest.empty() ? t : t + " @" + rest;
}
static std::string E(const std::string &src) { return E(src.c_str()); }

TEST(Parser, PrecedenceAndAssociativity) {
  EXPECT_EQ(E("1 - 2 - 3"), "(bin - (bin - (num 1) (num 2)) (num 3))");
  EXPECT_EQ(E("a + b * c - d"), "(bin - (bin + (id a) (bin * (id b) (id c))) (id d))");
  EXPECT_EQ(E("a or b and c"), "(bin | (id a) (bin & (id b) (id c)))");
  EXPECT_EQ(E("a and b or c"), "(bin | (bin & (id a) (id b)) (id c))");
  EXPECT_EQ(E("a < b == c"), "(bin = (bin < (id a) (id b)) (id c))");
  EXPECT_EQ(E("x <= y"), "(bin l (id x) (id y))");
  EXPECT_EQ(E("x>=y"), "(bin g (id x) (id y))");
  EXPECT_EQ(E("x != y"), "(bin ! (id x) (id y))");
  EXPECT_EQ(E("a / b % c * d"), "(bin * (bin % (bin / (id a) (id b)) (id c)) (id d))");
  // A climb through several levels hands back to the lowest pending one.
  EXPECT_EQ(E("a or b < c + d * e and f"),
            "(bin | (id a) (bin & (bin < (id b) (bin + (id c) (bin * (id d) (id e)))) (id f)))");
  EXPECT_EQ(E("a * b + c < d and e or f"),
            "(bin | (bin & (bin < (bin + (bin * (id a) (id b)) (id c)) (id d)) (id e)) (id f))");
  EXPECT_EQ(E("-2 * 3"), "(bin * (num -2) (num 3))");
  EXPECT_EQ(E("-a + b"), "(bin + (bin - (num 0) (id a)) (id b))");
  EXPECT_EQ(E("!a == b"), "(bin = (unary ! (id a)) (id b))");
  EXPECT_EQ(E("!f(x).y"), "(unary ! (dot (call f (id x)) y))");
  EXPECT_EQ(E("(a + b) * c"), "(bin * (bin + (id a) (id b)) (id c))");
  EXPECT_EQ(E("a # note"), "(id a)");
}

TEST(Parser, WordOperatorBoundaries) {
  EXPECT_EQ(E("a orange"), "(id a) @orange");
  EXPECT_EQ(E("a or_b"), "(id a) @or_b");
  EXPECT_EQ(E("a and1"), "(id a) @and1");
  EXPECT_EQ(E("1or 2"), "(bin | (num 1) (num 2))");
  EXPECT_EQ(E("a and(b)"), "(bin & (id a) (id b))");
  EXPECT_EQ(E("a or"), "(id a)");  // the end of the text is a boundary
  EXPECT_EQ(E("a or\n b"), "(id a) @\n b");
  // At an operand position the words are plain names.
  EXPECT_EQ(E("or + and"), "(bin + (id or) (id and))");
}

TEST(Parser, DroppedOperators) {
  EXPECT_EQ(E("a +\nb"), "(id a) @\nb");
  EXPECT_EQ(E("a\n+ b"), "(id a) @\n+ b");
  EXPECT_EQ(E("a && b"), "(id a) @&& b");
  EXPECT_EQ(E("a || b"), "(id a) @|| b");
  EXPECT_EQ(E("a = b"), "(id a) @= b");
  EXPECT_EQ(E("a + ) b"), "(id a) @) b");
  EXPECT_EQ(E("(a +\n b)"), "(id a) @\n b)");
  EXPECT_EQ(E("a * -"), "(bin * (id a) (bin - (num 0) _))");
  EXPECT_EQ(P("x *= 2"), "(block (id x) (num 2))");
  EXPECT_EQ(P("x /= 2"), "(block (id x) (num 2))");
}

TEST(Parser, UnaryFolding) {
  EXPECT_EQ(E("-5"), "(num -5)");
  EXPECT_EQ(E("- 5"), "(num -5)");
  EXPECT_EQ(E("-(5)"), "(num -5)");
  EXPECT_EQ(E("-(-5)"), "(num 5)");
  EXPECT_EQ(E("-x"), "(bin - (num 0) (id x))");
  EXPECT_EQ(E("- -x"), "(bin - (num 0) (bin - (num 0) (id x)))");
  EXPECT_EQ(E("--x"), "_ @--x");
  EXPECT_EQ(E("-=x"), "_ @-=x");
  EXPECT_EQ(E("!=x"), "_ @!=x");
  EXPECT_EQ(E("!!a"), "(unary ! (unary ! (id a)))");
  EXPECT_EQ(E("!"), "(unary ! _)");
  EXPECT_EQ(E("-"), "(bin - (num 0) _)");
  EXPECT_EQ(E("1 - -2"), "(bin - (num 1) (num -2))");
  // At the top level "--x" loses one "-" as a stray character.
  EXPECT_EQ(P("--x"), "(block (bin - (num 0) (id x)))");
}

TEST(Parser, NumberForms) {
  EXPECT_EQ(E("1."), "(num 1)");
  EXPECT_EQ(E("7.25"), "(num 7.25)");
  EXPECT_EQ(E("3e"), "(num 3)");
  EXPECT_EQ(E("1.5e3"), "(num 1500)");
  EXPECT_EQ(E("2E-2"), "(num 0.02)");
  EXPECT_EQ(E("5e+1"), "(num 50)");
  EXPECT_EQ(E("0x10"), "(num 0) @x10");
  EXPECT_EQ(E("3.foo"), "(num 3) @foo");
  EXPECT_EQ(E("2else"), "(num 2) @lse");
  EXPECT_EQ(E("1.2.3"), "(num 1.2) @.3");
  EXPECT_EQ(E(".5"), "_ @.5");
  // 70 digits: the first 63 are converted, the cursor passes all 70.
  std::string big = "1" + std::string(69, '0');
  EXPECT_EQ(E(big), "(num 1e+62)");
  EXPECT_EQ(E(big + " + 1"), "(bin + (num 1e+62) (num 1))");
  std::string digits63 = "1" + std::string(62, '0');
  EXPECT_EQ(E(digits63), "(num 1e+62)");
}

TEST(Parser, LiteralWords) {
  EXPECT_EQ(E("tru"), "(bool 1)");
  EXPECT_EQ(E("fls"), "(bool 0)");
  EXPECT_EQ(E("nil"), "nil");
  EXPECT_EQ(E("true"), "(id true)");
  EXPECT_EQ(E("nil2"), "(id nil2)");
  EXPECT_EQ(E("fls_"), "(id fls_)");
  EXPECT_EQ(E("tru.x"), "(dot (bool 1) x)");
  EXPECT_EQ(E("()"), "_");
  EXPECT_EQ(E("( ) + 1"), "_ @ + 1");
  EXPECT_EQ(E("(a"), "(id a)");
  EXPECT_EQ(E("$"), "_ @$");
  EXPECT_EQ(P("nil = 1"), "(block (assign nil (num 1)))");
}

TEST(Parser, PostfixChainsAndCalls) {
  EXPECT_EQ(E("f(x)"), "(call f (id x))");
  EXPECT_EQ(E("f (x)"), "(call f (id x))");
  EXPECT_EQ(E("(f)(x)"), "(call f (id x))");
  EXPECT_EQ(E("f()"), "(call f)");
  EXPECT_EQ(E("f(x)(y)"), "(call (call f (id x)) (id y))");
  EXPECT_EQ(E("obj.m(1)"), "(call (dot (id obj) m) (num 1))");
  EXPECT_EQ(E("txt.sub(s, 1)"), "(call (dot (id txt) sub) (id s) (num 1))");
  EXPECT_EQ(E("a.b[0](x).c"), "(dot (call (idx (dot (id a) b) (num 0)) (id x)) c)");
  EXPECT_EQ(E("a [0]"), "(idx (id a) (num 0))");
  EXPECT_EQ(E("a[]"), "(idx (id a) _)");
  EXPECT_EQ(E("a[1"), "(idx (id a) (num 1))");
  EXPECT_EQ(E("a.1"), "(id a) @.1");
  EXPECT_EQ(E("a. b"), "(id a) @. b");
  EXPECT_EQ(E("a..b"), "(id a) @..b");
  EXPECT_EQ(E("a._b"), "(dot (id a) _b)");
  EXPECT_EQ(E("f(a b)"), "(call f (id a) (id b))");
  EXPECT_EQ(E("f(a, b,)"), "(call f (id a) (id b))");
  EXPECT_EQ(E("f(a,,b)"), "(call f (id a)) @,b)");
  EXPECT_EQ(E("f(\n  1,  # one\n  2\n)"), "(call f (num 1) (num 2))");
  EXPECT_EQ(E("f(1"), "(call f (num 1))");
  EXPECT_EQ(E("f\n(x)"), "(id f) @\n(x)");
  EXPECT_EQ(E("(\\(x) x * 2)(21)"), "(call (fn (x) (bin * (id x) (num 2))) (num 21))");
  EXPECT_EQ(E("[1, 2][0]"), "(idx (lst (num 1) (num 2)) (num 0))");
  EXPECT_EQ(E("{a: 1}.a"), "(dot (obj (\"a\" (num 1))) a)");
  EXPECT_EQ(E("\"abc\"[1]"), "(idx (str \"abc\") (num 1))");
}

TEST(Parser, DefinitionLookAheads) {
  EXPECT_EQ(P("f(a, b) = a + b"), "(block (assign f (fn (a b) (bin + (id a) (id b)))))");
  EXPECT_EQ(P("f(a b) = a"), "(block (assign f (fn (a b) (id a))))");
  EXPECT_EQ(P("f (x) = x"), "(block (assign f (fn (x) (id x))))");
  EXPECT_EQ(P("f() = 1"), "(block (assign f (fn () (num 1))))");
  EXPECT_EQ(P("f(1st) = 1"), "(block (assign f (fn (1st) (num 1))))");
  EXPECT_EQ(P("p.m (x) = x"), "(block (dot= (id p) m (fn (x) (id x))))");
  EXPECT_EQ(P("p.area(s) = s.w * s.h"),
            "(block (dot= (id p) area (fn (s) (bin * (dot (id s) w) (dot (id s) h)))))");
  // The method name must follow the "." directly.
  EXPECT_EQ(P("p. m(x) = x"), "(block (id p) (assign m (fn (x) (id x))))");
  EXPECT_EQ(P("f(a) == 3"), "(block (bin = (call f (id a)) (num 3)))");
  EXPECT_EQ(P("f(a, b)"), "(block (call f (id a) (id b)))");
  EXPECT_EQ(P("p.m(x) == 1"), "(block (bin = (call (dot (id p) m) (id x)) (num 1)))");
  // Only parentheses are counted, even inside strings.
  EXPECT_EQ(P("f(\")\") = 1"), "(block (call f (str \")\")) (num 1))");
  EXPECT_EQ(P("f(\"(\") = 1"), "(block (call f (str \"(\")) (num 1))");
  // The first "(" is no parameter: the body starts there and ")" "=" are strays.
  EXPECT_EQ(P("f((a)) = a"), "(block (assign f (fn () (id a))) (id a))");
  // Body on the next lines, and a body that is only a statement word.
  EXPECT_EQ(P("f(x) =\n  y = x\n  ret y\nz"),
            "(block (assign f (fn (x) (block (assign y (id x)) (ret (id y))))) (id z))");
  EXPECT_EQ(P("f(x) = ret x"), "(block (assign f (fn (x) (id ret))) (id x))");
  EXPECT_EQ(P("f(x"), "(block (call f (id x)))");
}

TEST(Parser, Assignments) {
  EXPECT_EQ(P("x = 1"), "(block (assign x (num 1)))");
  EXPECT_EQ(P("x=1"), "(block (assign x (num 1)))");
  EXPECT_EQ(P("x == 1"), "(block (bin = (id x) (num 1)))");
  EXPECT_EQ(P("x += 1"), "(block (assign x (bin + (id x) (num 1))))");
  EXPECT_EQ(P("x -= y * 2"), "(block (assign x (bin - (id x) (bin * (id y) (num 2)))))");
  EXPECT_EQ(P("x ="), "(block (assign x _))");
  EXPECT_EQ(P("a.b = 1"), "(block (dot= (id a) b (num 1)))");
  EXPECT_EQ(P("a.b.c = 1"), "(block (dot= (dot (id a) b) c (num 1)))");
  EXPECT_EQ(P("a[0] = 1"), "(block (idx= (id a) (num 0) (num 1)))");
  EXPECT_EQ(P("a[i][j] = v"), "(block (idx= (idx (id a) (id i)) (id j) (id v)))");
  EXPECT_EQ(P("f(x).y = 2"), "(block (dot= (call f (id x)) y (num 2)))");
  // "+" finds no operand and is dropped, which leaves a field assignment.
  EXPECT_EQ(P("a.b += 1"), "(block (dot= (id a) b (num 1)))");
  EXPECT_EQ(P("a[0] == 1"), "(block (bin = (idx (id a) (num 0)) (num 1)))");
  EXPECT_EQ(P("a = 1 b = 2"), "(block (assign a (num 1)) (assign b (num 2)))");
  // Keywords only count as whole words at the start of a statement.
  EXPECT_EQ(P("user = 1"), "(block (assign user (num 1)))");
  EXPECT_EQ(P("whl_count = 0"), "(block (assign whl_count (num 0)))");
  EXPECT_EQ(P("whl = 5"), "(block (whl _ _) (num 5))");
  EXPECT_EQ(P("x = if c: 1 | 2"), "(block (assign x (if (id c) (num 1) (num 2))))");
}

TEST(Parser, KeywordStatements) {
  EXPECT_EQ(P("ret"), "(block (ret nil))");
  EXPECT_EQ(P("ret # done\n"), "(block (ret nil))");
  EXPECT_EQ(P("ret\nx"), "(block (ret nil) (id x))");
  EXPECT_EQ(P("ret x + 1"), "(block (ret (bin + (id x) (num 1))))");
  EXPECT_EQ(P("ret )"), "(block (ret _))");
  EXPECT_EQ(P("brk 5"), "(block brk (num 5))");
  EXPECT_EQ(P("cnt\nbrk"), "(block cnt brk)");
  EXPECT_EQ(P("brk2 = 1"), "(block (assign brk2 (num 1)))");
  EXPECT_EQ(P("use txt"), "(block (use \"txt\"))");
  EXPECT_EQ(P("use \"lib/x.orv\""), "(block (use \"lib/x.orv\"))");
  EXPECT_EQ(P("use txt.sub"), "(block (use \"txt\") (id sub))");
  EXPECT_EQ(P("use t2_x/y"), "(block (use \"t2_x\") (id y))");
  EXPECT_EQ(P("use 5"), "(block nil (num 5))");
  EXPECT_EQ(P("use _x"), "(block nil (id _x))");
  EXPECT_EQ(P("use"), "(block nil)");
  EXPECT_EQ(P("use $\"m.orv\""), "(block (use \"m.orv\"))");
  EXPECT_EQ(P("use $\"{d}/m.orv\""), "(block (use _))");
}

TEST(Parser, LoopHeaders) {
  EXPECT_EQ(P("whl x > 0: x -= 1"), "(block (whl (bin > (id x) (num 0)) (id x)) (num 1))");
  EXPECT_EQ(P("whl c f(x)"), "(block (whl (id c) (call f (id x))))");
  EXPECT_EQ(P("whl c: brk"), "(block (whl (id c) (id brk)))");
  EXPECT_EQ(P("whl c:\n  x = 1\n  brk\ny"),
            "(block (whl (id c) (block (assign x (num 1)) brk)) (id y))");
  EXPECT_EQ(P("whl c\n  x"), "(block (whl (id c) (block (id x))))");
  EXPECT_EQ(P("lop i items: prn(i)"), "(block (lop i (id items) (call prn (id i))))");
  EXPECT_EQ(P("lop i items prn(i)"), "(block (lop i (id items) (call prn (id i))))");
  EXPECT_EQ(P("lop i items:\n    prn(i)\n    cnt\ndone"),
            "(block (lop i (id items) (block (call prn (id i)) cnt)) (id done))");
  EXPECT_EQ(P("lop 2x [1]: x"), "(block (lop 2x (lst (num 1)) (id x)))");
  EXPECT_EQ(P("lop [1]: x"), "(block (lop \"\" (lst (num 1)) (id x)))");
  EXPECT_EQ(P("lop i\n"), "(block (lop i _ nil))");
}

TEST(Parser, BodyRule) {
  // A completely empty line after the header: no body.
  EXPECT_EQ(P("whl c:\n\n    x\n"), "(block (whl (id c) nil) (id x))");
  // A line of blanks sets the indentation instead.
  EXPECT_EQ(P("whl c:\n  \n    x\ny"), "(block (whl (id c) (block (id x))) (id y))");
  // An indented comment line sets the indentation; one at column 0 gives no body.
  EXPECT_EQ(P("whl c:\n  # note\n    x\ny"), "(block (whl (id c) (block (id x))) (id y))");
  EXPECT_EQ(P("whl c:\n# note\n    x\n"), "(block (whl (id c) nil) (id x))");
  // Inside a block, comment lines and empty lines never end it.
  EXPECT_EQ(P("whl c:\n    a\n# col 0\n\n      \n    b\nz"),
            "(block (whl (id c) (block (id a) (id b))) (id z))");
  // A tab counts as four blanks.
  EXPECT_EQ(P("whl c:\n\tx\n    y\nz"), "(block (whl (id c) (block (id x) (id y))) (id z))");
  EXPECT_EQ(P("whl c:\n    x\n\ty\n   z"), "(block (whl (id c) (block (id x) (id y))) (id z))");
  EXPECT_EQ(P("whl c:\n \t x\n      y\n     z"),
            "(block (whl (id c) (block (id x) (id y))) (id z))");
  // 4-8-4 is one block; 8 then 4 ends the block.
  EXPECT_EQ(P("whl c:\n    a\n        b\n    c\nd"),
            "(block (whl (id c) (block (id a) (id b) (id c))) (id d))");
  EXPECT_EQ(P("whl c:\n        a\n    b\n"), "(block (whl (id c) (block (id a))) (id b))");
  // A second statement on the same line is measured from where the first ended.
  EXPECT_EQ(P("whl c:\n    a = 1 b = 2\n    d\n"),
            "(block (whl (id c) (block (assign a (num 1)))) (assign b (num 2)) (id d))");
  // Nested headers; an inner header swallows the rest of its block.
  EXPECT_EQ(P("whl a:\n    whl b:\n        x\n    y\nz"),
            "(block (whl (id a) (block (whl (id b) (block (id x))) (id y))) (id z))");
  EXPECT_EQ(P("whl a:\n    whl b:\n    x\n    y\nz"),
            "(block (whl (id a) (block (whl (id b) (block (id x) (id y))))) (id z))");
  // Stray characters inside a block are skipped one at a time.
  EXPECT_EQ(P("whl c:\n    x\n    ;\n    y\nz"), "(block (whl (id c) (block (id x) (id y))) (id z))");
  // After a skipped stray the next statement is measured from the cursor.
  EXPECT_EQ(P("whl c:\n    ) x\n    y"), "(block (whl (id c) (block)) (id x) (id y))");
  // A header at the end of the text, and a body block at the end.
  EXPECT_EQ(P("whl c:\n"), "(block (whl (id c) nil))");
  EXPECT_EQ(P("whl c:\n    x"), "(block (whl (id c) (block (id x))))");
  EXPECT_EQ(P("whl c:\n    x\n\n"), "(block (whl (id c) (block (id x))))");
}

TEST(Parser, IfChains) {
  EXPECT_EQ(P("if a: x | if b: y | z"),
            "(block (if (id a) (id x) (elif (id b) (id y)) (id z)))");
  EXPECT_EQ(P("if a x"), "(block (if (id a) (id x) _))");
  EXPECT_EQ(P("if a: x | if b: y"), "(block (if (id a) (id x) (elif (id b) (id y)) _))");
  EXPECT_EQ(P("if a: x | y | z"), "(block (if (id a) (id x) (id y)) (id z))");
  EXPECT_EQ(P("if c: x = 1"), "(block (if (id c) (assign x (num 1)) _))");
  EXPECT_EQ(P("if c: x == 1"), "(block (if (id c) (bin = (id x) (num 1)) _))");
  EXPECT_EQ(P("if c: a | x = 2"), "(block (if (id c) (id a) (id x)) (num 2))");
  EXPECT_EQ(P("if c: a | if d: x = 2"), "(block (if (id c) (id a) (elif (id d) (id x)) _) (num 2))");
  EXPECT_EQ(P("if a: x | iffy"), "(block (if (id a) (id x) (id iffy)))");
  EXPECT_EQ(P("iffy: x"), "(block (id iffy) (id x))");
  EXPECT_EQ(P("if iffy: x"), "(block (if (id iffy) (id x) _))");
  EXPECT_EQ(P("if(a) b"), "(block (if (id a) (id b) _))");
  EXPECT_EQ(P("if c"), "(block (if (id c) _ _))");
  EXPECT_EQ(P("if"), "(block (if _ _ _))");
  // Blocks for every branch, with blank lines and comments before each "|".
  EXPECT_EQ(P("if a:\n    x\n| if b:\n    y\n|\n    z\nw"),
            "(block (if (id a) (block (id x)) (elif (id b) (block (id y))) (block (id z))) (id w))");
  EXPECT_EQ(P("if a:\n    x\n\n# c\n| if b:\n    y\n|\n    z\nw"),
            "(block (if (id a) (block (id x)) (elif (id b) (block (id y))) (block (id z))) (id w))");
  // A "|" as deep as the branch block is a stray character inside it.
  EXPECT_EQ(P("if a:\n    x\n    |\n    y\nz"), "(block (if (id a) (block (id x) (id y)) _) (id z))");
  // Many branches.
  EXPECT_EQ(P("if a: 1 | if b: 2 | if c: 3 | if d: 4 | 5"),
            "(block (if (id a) (num 1) (elif (id b) (num 2)) (elif (id c) (num 3)) "
            "(elif (id d) (num 4)) (num 5)))");
  // The chain may continue after a blank line but stops at anything else.
  EXPECT_EQ(P("if a: x\n\n| y"), "(block (if (id a) (id x) (id y)))");
  EXPECT_EQ(P("if a: x\ny\n| z"), "(block (if (id a) (id x) _) (id y) (id z))");
  EXPECT_EQ(E("if a: 1 | 2 + 3"), "(if (id a) (num 1) (bin + (num 2) (num 3)))");
  EXPECT_EQ(E("(if a: 1 | 2) + 3"), "(bin + (if (id a) (num 1) (num 2)) (num 3))");
}

TEST(Parser, PlainStrings) {
  EXPECT_EQ(E("\"a\\tb\""), "(str \"a\\tb\")");
  EXPECT_EQ(E("\"\\n\\r\\\"\\\\\""), "(str \"\\n\\r\\\"\\\\\")");
  EXPECT_EQ(E("\"a\\qb\""), "(str \"a\\\\qb\")");  // unknown escape keeps both
  EXPECT_EQ(E("\"say \\\"hi\\\"\""), "(str \"say \\\"hi\\\"\")");
  EXPECT_EQ(E("\"ab\\0cd\""), "(str \"ab\")");
  EXPECT_EQ(E("\"a\nb # c\""), "(str \"a\\nb # c\")");
  EXPECT_EQ(E("\"abc"), "(str \"abc\")");
  EXPECT_EQ(E("\"ab\\"), "(str \"ab\\\\\")");  // backslash at the end of the text
  EXPECT_EQ(E("\"\""), "(str \"\")");
  EXPECT_EQ(E("\"{x}\""), "(str \"{x}\")");
  EXPECT_EQ(E("\"a\" + \"b\""), "(bin + (str \"a\") (str \"b\"))");
}

TEST(Parser, StringPieceLimit) {
  const size_t max = 65535;
  EXPECT_EQ(E("\"" + std::string(70000, 'a') + "\" + 1"),
            "(bin + (str \"" + std::string(max, 'a') + "\") (num 1))");
  EXPECT_EQ(E("\"" + std::string(max, 'a') + "\""), "(str \"" + std::string(max, 'a') + "\")");
  // An unknown escape at the limit keeps only its backslash.
  EXPECT_EQ(E("\"" + std::string(max - 1, 'a') + "\\qz\""),
            "(str \"" + std::string(max - 1, 'a') + "\\\\\")");
  // Known escapes past the limit are dropped like plain characters.
  EXPECT_EQ(E("\"" + std::string(max, 'a') + "\\n\\t\""), "(str \"" + std::string(max, 'a') + "\")");
  // The limit is per piece of an interpolated literal.
  EXPECT_EQ(E("$\"" + std::string(70000, 'a') + "{x}" + std::string(70000, 'b') + "\""),
            "(bin + (bin + (str \"" + std::string(max, 'a') + "\") (call str (id x))) (str \"" +
                std::string(max, 'b') + "\"))");
}

TEST(Parser, InterpolatedStrings) {
  EXPECT_EQ(E("$\"a{x}b{y}\""),
            "(bin + (bin + (bin + (str \"a\") (call str (id x))) (str \"b\")) (call str (id y)))");
  EXPECT_EQ(E("$\"{n}\""), "(call str (id n))");
  EXPECT_EQ(E("$\"{x} items\""), "(bin + (call str (id x)) (str \" items\"))");
  EXPECT_EQ(E("$\"{a}{b}\""), "(bin + (call str (id a)) (call str (id b)))");
  EXPECT_EQ(E("$\"{ x + 1 }!\""), "(bin + (call str (bin + (id x) (num 1))) (str \"!\"))");
  EXPECT_EQ(E("$\"\""), "(str \"\")");
  EXPECT_EQ(E("$\"abc\""), "(str \"abc\")");
  EXPECT_EQ(E("$\"{}\""), "(call str _)");
  EXPECT_EQ(E("$\"{a b}\""), "(bin + (call str (id a)) (str \"b}\"))");
  EXPECT_EQ(E("$\"{a\""), "(call str (id a))");
  EXPECT_EQ(E("$ \"x\""), "_ @$ \"x\"");
  EXPECT_EQ(E("$\"{f(\"a\")}\""), "(call str (call f (str \"a\")))");
  EXPECT_EQ(E("$\"{$\"{x}y\"}z\""),
            "(bin + (call str (bin + (call str (id x)) (str \"y\"))) (str \"z\"))");
  // Only \n is translated; every other escaped character stands for itself.
  EXPECT_EQ(E("$\"a\\tb\\nc\\rd\\0e\\\"f\\\\g\\{x}\""), "(str \"atb\\ncrd0e\\\"f\\\\g{x}\")");
  EXPECT_EQ(E("$\"a}b\nc\""), "(str \"a}b\\nc\")");
  EXPECT_EQ(E("$\"x{1}"), "(bin + (str \"x\") (call str (num 1)))");
  EXPECT_EQ(E("$\"a\\"), "(str \"a\\\\\")");
}

TEST(Parser, ListLiterals) {
  EXPECT_EQ(E("[]"), "(lst)");
  EXPECT_EQ(E("[1, 2, 3,]"), "(lst (num 1) (num 2) (num 3))");
  EXPECT_EQ(E("[1 2 3]"), "(lst (num 1) (num 2) (num 3))");
  EXPECT_EQ(E("[1, , 2]"), "(lst (num 1)) @, 2]");
  EXPECT_EQ(E("[\n  1,\n  # c\n  2\n]"), "(lst (num 1) (num 2))");
  EXPECT_EQ(E("[1, [2, []]]"), "(lst (num 1) (lst (num 2) (lst)))");
  EXPECT_EQ(E("[1, 2"), "(lst (num 1) (num 2))");
  EXPECT_EQ(E("[-1 -2]"), "(lst (bin - (num -1) (num 2)))");
}

TEST(Parser, ObjectLiterals) {
  EXPECT_EQ(E("{}"), "(obj)");
  EXPECT_EQ(E("{a: 1, \"b c\": 2}"), "(obj (\"a\" (num 1)) (\"b c\" (num 2)))");
  EXPECT_EQ(E("{a 1}"), "(obj (\"a\" (num 1)))");
  EXPECT_EQ(E("{1: x}"), "(obj (\"1\" (id x)))");
  EXPECT_EQ(E("{a}"), "(obj (\"a\" _))");
  EXPECT_EQ(E("{a: 1, a: 2}"), "(obj (\"a\" (num 1)) (\"a\" (num 2)))");
  EXPECT_EQ(E("{\"\": 1}"), "(obj) @: 1}");
  EXPECT_EQ(E("{a: 1, : 2}"), "(obj (\"a\" (num 1))) @: 2}");
  EXPECT_EQ(E("{\"a\\b\": 1}"), "(obj (\"a\\\\b\" (num 1)))");
  EXPECT_EQ(E("{\"a\\\": 1}"), "(obj (\"a\\\\\" (num 1)))");
  EXPECT_EQ(E("{\n  a: 1\n  b: {c: [2]}\n}"),
            "(obj (\"a\" (num 1)) (\"b\" (obj (\"c\" (lst (num 2))))))");
  EXPECT_EQ(E("{a: 1"), "(obj (\"a\" (num 1)))");
  EXPECT_EQ(E("{if: 1, tru: 2}"), "(obj (\"if\" (num 1)) (\"tru\" (num 2)))");
  // A key stops at 255 characters; the rest is read as what follows the key.
  std::string k300(300, 'k');
  EXPECT_EQ(E("{" + k300 + ": 1}"),
            "(obj (\"" + std::string(255, 'k') + "\" (id " + std::string(45, 'k') + "))) @: 1}");
  EXPECT_EQ(E("{\"" + k300 + "\" 1}"),
            "(obj (\"" + std::string(255, 'k') + "\" (id " + std::string(45, 'k') + ")) (\" 1}\" _))");
  std::string k255(255, 'k');
  EXPECT_EQ(E("{\"" + k255 + "\": 1}"), "(obj (\"" + k255 + "\" (num 1)))");
}

TEST(Parser, FunctionLiterals) {
  EXPECT_EQ(E("\\(a, b) => a + b"), "(fn (a b) (bin + (id a) (id b)))");
  EXPECT_EQ(E("\\(a b): a"), "(fn (a b) (id a))");
  EXPECT_EQ(E("\\() 42"), "(fn () (num 42))");
  EXPECT_EQ(E("\\: 42"), "(fn () (num 42))");
  EXPECT_EQ(E("\\x"), "(fn () (id x))");
  EXPECT_EQ(E("\\(x)"), "(fn (x) _)");
  EXPECT_EQ(E("\\(x)\n  x"), "(fn (x) _) @\n  x");
  EXPECT_EQ(E("\\(x) = x"), "(fn (x) _) @= x");
  EXPECT_EQ(E("\\(1a, _b) 0"), "(fn (1a _b) (num 0))");
  // The literal is an operand, so the "+" after it is a dropped operator.
  EXPECT_EQ(E("\\(a, +) 1"), "(fn (a) _) @) 1");
  EXPECT_EQ(E("\\(a"), "(fn (a) _)");
  EXPECT_EQ(E("\\(x) \\(y) x + y"), "(fn (x) (fn (y) (bin + (id x) (id y))))");
  EXPECT_EQ(P("f = \\(x): x * 2"), "(block (assign f (fn (x) (bin * (id x) (num 2)))))");
}

TEST(Parser, StrayCharactersAndLineEnds) {
  EXPECT_EQ(P(") x = 1 ; y"), "(block (assign x (num 1)) (id y))");
  EXPECT_EQ(P("= = x"), "(block (id x))");
  EXPECT_EQ(P("}] |"), "(block)");
  EXPECT_EQ(P(""), "(block)");
  EXPECT_EQ(P("  # only a comment"), "(block)");
  EXPECT_EQ(P("x # c\n# d\n\ny"), "(block (id x) (id y))");
  EXPECT_EQ(P("x\f\vy"), "(block (id x) (id y))");
  // Bytes of 128 and up are neither names nor blanks: skipped as strays.
  EXPECT_EQ(P("a\xc3\xa9 = 1"), "(block (id a) (num 1))");
  // A NUL byte ends the text.
  EXPECT_EQ(P("a = 1\0b = 2"), "(block (assign a (num 1)))");
  // CRLF line ends give the same trees as LF.
  const char *lf =
      "f(x) =\n    if x > 1:\n        ret x\n    | if x: 0\n    |\n        ret -1\n"
      "lop i [1, 2]: prn(i)\nwhl c:\n\n    d\ns = \"a\nb\" # c\n";
  const char *crlf =
      "f(x) =\r\n    if x > 1:\r\n        ret x\r\n    | if x: 0\r\n    |\r\n        ret -1\r\n"
      "lop i [1, 2]: prn(i)\r\nwhl c:\r\n\r\n    d\r\ns = \"a\nb\" # c\r\n";
  EXPECT_EQ(P(crlf), P(lf));
  EXPECT_EQ(P(lf),
            "(block (assign f (fn (x) (block (if (bin > (id x) (num 1)) (block (ret (id x))) "
            "(elif (id x) (num 0)) (block (ret (num -1))))))) "
            "(lop i (lst (num 1) (num 2)) (call prn (id i))) (whl (id c) nil) (id d) "
            "(assign s (str \"a\\nb\")))");
}

TEST(Parser, LongNames) {
  std::string n300(300, 'n');
  EXPECT_EQ(P(n300 + " = 1\n" + n300 + "(" + n300 + ") = " + n300),
            "(block (assign " + n300 + " (num 1)) (assign " + n300 + " (fn (" + n300 + ") (id " +
                n300 + "))))");
  EXPECT_EQ(E("a." + n300 + "(" + n300 + ")"),
            "(call (dot (id a) " + n300 + ") (id " + n300 + "))");
  EXPECT_EQ(P("lop " + n300 + " xs: " + n300),
            "(block (lop " + n300 + " (id xs) (id " + n300 + ")))");
  EXPECT_EQ(P("if c: " + n300 + " = 2"), "(block (if (id c) (assign " + n300 + " (num 2)) _))");
  EXPECT_EQ(E("\\(" + n300 + ") 1"), "(fn (" + n300 + ") (num 1))");
  std::string huge(100000, 'z');
  EXPECT_EQ(P(huge + " += 1"), "(block (assign " + huge + " (bin + (id " + huge + ") (num 1))))");
}

TEST(Parser, ScannerPrimitives) {
  g_src = "  \t\r# c\nx";
  g_pos = 0;
  skip_ws();
  EXPECT_EQ(g_pos, 7);  // stops at the newline after the comment
  g_src = " \f x";
  g_pos = 0;
  skip_ws();
  EXPECT_EQ(g_pos, 1);  // a form feed stops skip_ws
  skip_ws_nl();
  EXPECT_EQ(g_pos, 3);
  g_src = "\n # a\n\v# b";
  g_pos = 0;
  skip_ws_nl();
  EXPECT_EQ(g_src[g_pos], 0);
  g_src = "\t  \tx";
  g_pos = 0;
  EXPECT_EQ(get_indent(), 10);
  EXPECT_EQ(g_pos, 0);
  g_src = "\fx";
  EXPECT_EQ(get_indent(), 0);
  g_src = "  # c\n)";
  g_pos = 0;
  EXPECT_EQ(eat(')'), 0);
  EXPECT_EQ(g_pos, 5);
  g_src = " iffy";
  g_pos = 0;
  EXPECT_EQ(eat_str("if"), 0);
  EXPECT_EQ(g_pos, 1);
  g_src = " if(";
  g_pos = 0;
  EXPECT_EQ(eat_str("if"), 1);
  EXPECT_EQ(g_pos, 3);
  g_src = "if\xc3";
  g_pos = 0;
  EXPECT_EQ(eat_str("if"), 1);
  g_src = "";
  g_pos = 0;
  EXPECT_EQ(peek(), 0);
  EXPECT_EQ(eat(0), 0);
  EXPECT_EQ(g_pos, 0);
  Node *n = node_new(N_CALL);
  EXPECT_EQ(n->type, N_CALL);
  EXPECT_EQ(n->call.name, nullptr);
  EXPECT_EQ(n->call.args, nullptr);
  EXPECT_EQ(n->call.n, 0);
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
  char *mem = (char *)mmap(nullptr, (size_t)page * 2, PROT_READ | PROT_WRITE,
                           MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
  ASSERT_NE(mem, MAP_FAILED);
  ASSERT_EQ(mprotect(mem + page, (size_t)page, PROT_NONE), 0);
  for (size_t len = 0; len <= total; len++) {
    char *text = mem + page - 1 - len;
    memcpy(text, prog, len);
    text[len] = 0;
    parse_tree(text);
    parse_expr_tree(text);
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
