// orvex help: the commands, the builtins (from the dispatcher's own tables)
// and a one-screen summary of the syntax.
#include <CLI/CLI.hpp>
#include <algorithm>
#include <cstdio>
#include <cstring>
#include <string>

#include "../builtins/builtins.h"
#include "commands.h"

static const char *const SYNTAX = R"(Orvex on one screen (orvex(7) has the whole language)

  # a comment runs to the end of the line; blocks are indented lines
  x = 1      x += 2     x -= 1      o.f = v      xs[i] = v
  sq(x) = x * x                   # a function: name(params) = body
  area(s) =                       # a body on the next lines is a block;
      w = s.w                     # it gives its last statement's value,
      ret w * s.h                 # or what ret gives
  o.area(s) = s.w * s.h           # a function stored in a field
  f = \(a, b) a + b               # function literal; \: expr takes none
  if n < 0: "neg" | if n == 0: "zero" | "pos"       # if is an expression
  if ok                           # block form: "|" at the start of a line
      prn("yes")                  # continues the chain ("| if c" or "|")
  lop x xs: prn(x)                # lop walks a list; a body on the header's
  whl i < 3                       # own line is one expression, statements
      i += 1                      # need the block form
  brk  cnt  ret v                 # leave a loop, next round, leave a function
  use strs                        # lib/stdlib/strs.orv of the home, or
  use "./util.orv"                # a file beside this one; binds its names
Values: nil tru fls; numbers 1 2.5 -3 (doubles); texts "a\tb" and $"x is {x}";
  lists [1, "a"] xs[0] xs[-1]; objects {w: 2, h: 3} o.w o["w"]; functions.
Operators, loosest first: or; and; == != < > <= >=; + -; * / %; then ! and -.
  + joins a text with any value; nil fls 0 "" [] are false; lists, objects and
  functions are equal only to themselves.
Errors: err(v) raises, try(\: expr) gives {val, err}; undefined names end the run.
)";

static void put(const std::string &s) { out_write(s.data(), s.size()); }

// Words of text after lead, wrapped at 78 columns with indent on later lines.
static std::string wrapped(const std::string &lead, const char *text, size_t indent) {
  std::string out = lead, word;
  size_t col = lead.size();
  for (const char *p = text;; p++) {
    if (*p && *p != ' ') {
      word += *p;
      continue;
    }
    if (!word.empty()) {
      bool fits = col + 1 + word.size() <= 78;
      if (col > indent) out += fits ? " " : "\n" + std::string(indent, ' ');
      if (col > indent) col = fits ? col + 1 : indent;
      out += word;
      col += word.size();
      word.clear();
    }
    if (!*p) break;
  }
  return out + "\n";
}

static const BuiltinRow *row_of(const char *name) {
  for (const BuiltinRow *const *t = builtin_tables; *t; t++)
    for (const BuiltinRow *r = *t; r->name; r++)
      if (strcmp(r->name, name) == 0) return r;
  return nullptr;
}

static std::string count_text(const BuiltinRow *r) {
  if (!r) return "";
  if (r->max_args < 0) return r->min_args ? std::to_string(r->min_args) + " or more arguments" : "any arguments";
  if (r->max_args == 0) return "no arguments";
  return std::to_string(r->max_args) + (r->max_args == 1 ? " argument" : " arguments");
}

static void show_entry(const BuiltinDoc *d) {
  char name[256];
  doc_name(d, name, sizeof name);
  put(std::string(d->sig) + "    [" + d->family + ", " + count_text(row_of(name)) + "]\n");
  put(wrapped("  gives:", d->result, 4));
  if (d->fallback) put(wrapped("  wrong kinds:", d->fallback, 4));
}

static void show_builtins() {
  put("Builtins by family; orvex help FAMILY or orvex help NAME tells more.\n"
      "A call with a count a builtin does not take goes to your own function.\n\n");
  for (const char *const *f = builtin_families; *f; f++) {
    std::string names;
    for (const BuiltinDoc *d = builtin_docs; d->sig; d++) {
      if (strcmp(d->family, *f) != 0) continue;
      char name[256];
      doc_name(d, name, sizeof name);
      names += std::string(names.empty() ? "" : " ") + name;
    }
    std::string lead = *f;
    put(wrapped(lead + std::string(13 - lead.size(), ' '), names.c_str(), 13));
  }
  std::string prefixes;
  for (const char *const *p = unsupported_prefixes; *p; p++) prefixes += std::string(" ") + *p + "*";
  put(wrapped("             and any name beginning with", (prefixes.substr(1) + " (nil)").c_str(), 13));
}

static void show_commands(CLI::App *app) {
  put("orvex: run, check and explore Orvex programs\n\nCommands:\n");
  for (const CLI::App *sub : app->get_subcommands({}))
    put("  orvex " + sub->get_name() + std::string(10 - sub->get_name().size(), ' ') + sub->get_description() + "\n");
  put("\nHelp topics:\n"
      "  orvex help syntax     the language on one screen\n"
      "  orvex help builtins   every builtin, by family\n"
      "  orvex help FAMILY     core, txt, enc, trl, math, sys or unsupported\n"
      "  orvex help NAME       one builtin, as orvex help txt.sub\n"
      "  orvex help COMMAND    a command's arguments and options\n"
      "\nManual pages: orvex(1), orvex(7) (language and builtins), orvex-min(1).\n");
}

// Edits (insert, delete, replace) turning a into b.
static size_t distance(const std::string &a, const std::string &b) {
  std::vector<size_t> row(b.size() + 1);
  for (size_t j = 0; j <= b.size(); j++) row[j] = j;
  for (size_t i = 1; i <= a.size(); i++) {
    size_t diag = row[0];
    row[0] = i;
    for (size_t j = 1; j <= b.size(); j++) {
      size_t up = row[j];
      row[j] = std::min({row[j] + 1, row[j - 1] + 1, diag + (a[i - 1] != b[j - 1])});
      diag = up;
    }
  }
  return row[b.size()];
}

static int unknown_topic(const std::string &topic) {
  std::string close;
  for (const BuiltinDoc *d = builtin_docs; d->sig; d++) {
    char name[256];
    doc_name(d, name, sizeof name);
    std::string n = name;
    bool near = topic.find(n) != std::string::npos || n.find(topic) != std::string::npos ||
                distance(topic, n) <= (topic.size() < 5 ? 1u : 2u);
    if (near) close += " " + n;
  }
  fprintf(stderr, "orvex help: no topic %s\n", topic.c_str());
  if (!close.empty()) fprintf(stderr, "did you mean:%s\n", close.c_str());
  fputs("orvex help builtins lists every builtin; orvex help lists the topics\n", stderr);
  return 1;
}

int cmd_help(const std::string &topic, CLI::App *app) {
  if (topic.empty() || topic == "commands") {
    show_commands(app);
    return 0;
  }
  if (topic == "syntax") {
    put(SYNTAX);
    return 0;
  }
  if (topic == "builtins") {
    show_builtins();
    return 0;
  }
  if (const BuiltinDoc *d = builtin_doc(topic.c_str())) {
    show_entry(d);
    return 0;
  }
  bool family = false;
  for (const BuiltinDoc *d = builtin_docs; d->sig; d++)
    if (topic == d->family) {
      show_entry(d);
      family = true;
    }
  if (family) return 0;
  for (CLI::App *sub : app->get_subcommands({}))
    if (sub->get_name() == topic) {
      put(sub->help("orvex"));
      return 0;
    }
  return unknown_topic(topic);
}
