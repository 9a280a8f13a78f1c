// orvex repl: reads inputs (a line, or an indented block up to a blank line),
// runs each in the one global scope and prints the values of expressions.
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <editline/readline.h>
#include <string>
#include <unistd.h>

#include "../builtins/builtins.h"
#include "../driver/driver.h"
#include "../eval/eval.h"
#include "commands.h"
#include "located.h"

// Forgets the values a rendering had open (defined with the renderer).
void render_reset();

// Runs step with errors reported (located, with their calls) and survived;
// false when one happened.
template <class Step>
static bool guarded(Step step) {
  bool ok = run_located([](void *c) { (*(Step *)c)(); }, &step);
  out_flush();
  if (!ok) render_reset();  // a render cut short leaves its open values behind
  return ok;
}

// Points the reader at an input; the REPL is a file in the working
// directory, so `use` resolves as it would there.
static Node *parse_input(const char *text) {
  g_src = text;
  g_pos = 0;
  source_add(text, "<repl>");  // errors point into the input: <repl>:LINE:COL
  path_copy(g_cur_file, "<repl>");
  return parse_program_top();
}

static bool missing(Node *body) { return !body || body->type == N_NIL; }

// A header whose body is still to come: "f(x) =", "if c:", "lop x xs".
static bool opens_block(Node *st) {
  switch (st->type) {
    case N_ASSIGN: return st->assign.val && st->assign.val->type == N_FN && missing(st->assign.val->fn.body);
    case N_DOT_ASSIGN:
      return st->dot_assign.val && st->dot_assign.val->type == N_FN && missing(st->dot_assign.val->fn.body);
    case N_WHILE: return missing(st->whl.body);
    case N_FOR: return missing(st->forin.body);
    case N_IF: return missing(st->iff.then);
    default: return false;
  }
}

// Statements whose value is shown: expressions, and ifs whose branches all are.
static bool shows_value(Node *st) {
  switch (st->type) {
    case N_ASSIGN: case N_DOT_ASSIGN: case N_IDX_ASSIGN: case N_WHILE: case N_FOR:
    case N_BLOCK: case N_USE: case N_BRK: case N_CNT: case N_RET: return false;
    case N_IF:
      for (int i = 0; i < st->iff.nelif; i++)
        if (!st->iff.elif_body[i] || !shows_value(st->iff.elif_body[i])) return false;
      return st->iff.then && shows_value(st->iff.then) && (!st->iff.els || shows_value(st->iff.els));
    default: return true;
  }
}

static bool is_marker(Val *v) { return v == g_brk_sentinel || v == g_cnt_sentinel || is_ret(v); }

static void run_input(const char *text) {
  Node *prog = parse_input(text);
  for (int i = 0; i < prog->block.n; i++) {
    Node *st = prog->block.stmts[i];
    bool show = shows_value(st);
    Val *v = show ? eval_node(st, g_global_env) : eval_effect(st, g_global_env);
    if (is_marker(v)) return;  // brk, cnt or ret end the input, as they end a file
    if (show && v != g_nil) builtin_lookup("prn", 1)(&v, 1);
  }
}

// The text one input would hold if it ended here: does it open a block?
static bool wants_more(const char *text) {
  bool more = false;
  guarded([&] {
    Node *prog = parse_input(text);
    more = prog->block.n > 0 && opens_block(prog->block.stmts[prog->block.n - 1]);
  });
  return more;
}

static bool blank(const std::string &s) { return s.find_first_not_of(" \t\r") == std::string::npos; }

static std::string g_history;  // the history file, "" for none

// One line without its newline; false at the end of input. On a terminal
// through libedit (editing, history), else plain reads without prompts.
static bool read_line(bool tty, const char *prompt, std::string &line) {
  if (tty) {
    char *l = readline(prompt);
    if (!l) return false;
    line = l;
    if (!blank(line)) add_history(l);
    // saved at once: __sys_exit ends the session without coming back here
    if (!g_history.empty()) write_history(g_history.c_str());
    free(l);
    return true;
  }
  char *buf = nullptr;
  size_t cap = 0;
  ssize_t n = getline(&buf, &cap, stdin);
  if (n >= 0) line.assign(buf, n && buf[n - 1] == '\n' ? n - 1 : n);
  free(buf);
  return n >= 0;
}

int cmd_repl() {
  located_init();
  boot_globals();
  bool tty = isatty(0);
  const char *home = getenv("HOME");
  if (tty && home) g_history = std::string(home) + "/.orvex_history";
  if (tty) {
    stifle_history(1000);
    if (!g_history.empty()) read_history(g_history.c_str());
    static const char banner[] = "Orvex: orvex help lists the builtins and the syntax; Ctrl-D leaves.\n";
    out_write(banner, sizeof banner - 1);
  }
  // Input texts stay alive: functions defined in them point into their trees.
  std::string pending, line;
  for (;;) {
    out_flush();
    bool got = read_line(tty, pending.empty() ? "> " : ". ", line);
    if (got && pending.empty()) {
      if (blank(line)) continue;
      pending = line + "\n";
      if (wants_more(xstrdup(pending.c_str()))) continue;  // a header: its block ends at a blank line
    } else if (got && !blank(line)) {
      pending += line + "\n";
      continue;
    }
    if (!pending.empty()) {
      const char *text = xstrdup(pending.c_str());
      pending.clear();
      guarded([&] { run_input(text); });
    }
    if (!got) break;
  }
  if (tty) out_write("\n", 1);
  return 0;
}
