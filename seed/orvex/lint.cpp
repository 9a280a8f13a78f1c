// Lints over a finished tree: text that reads as valid but almost never
// means what it says.
#include <cstring>
#include <functional>
#include <map>

#include "../builtins/builtins.h"
#include "check.h"
#include "diagnostics.h"

void names_bound(const Node *n, std::set<std::string> &out) {
  if (!n) return;
  if (n->type == N_ASSIGN) out.insert(n->assign.name);
  if (n->type == N_FOR) out.insert(n->forin.var);
  if (n->type == N_FN)
    for (int i = 0; i < n->fn.nparams; i++) out.insert(n->fn.params[i]);
  // a method definition on an unbound name makes the object
  if (n->type == N_DOT_ASSIGN && n->dot_assign.obj && n->dot_assign.obj->type == N_ID) out.insert(n->dot_assign.obj->id);
  each_child(n, [&](const Node *c) { names_bound(c, out); });
}

void uses_in(const Node *n, std::vector<const Node *> &out) {
  if (!n) return;
  if (n->type == N_USE && n->use.path) out.push_back(n);
  each_child(n, [&](const Node *c) { uses_in(c, out); });
}

// Words other languages use for what Orvex spells otherwise.
struct Alias {
  const char *word, *advice;
};
static const Alias ALIASES[] = {
    {"while", "the loop keyword is `whl`"},     {"loop", "the loop keywords are `lop` and `whl`"},
    {"for", "the loop keyword is `lop`"},       {"foreach", "the loop keyword is `lop`"},
    {"return", "the keyword is `ret`"},         {"break", "the keyword is `brk`"},
    {"continue", "the keyword is `cnt`"},       {"iff", "the keyword is `if`"},
    {"else", "an if's other branch begins with `|`"}, {"elif", "a further branch is `| if`"},
    {"elsif", "a further branch is `| if`"},    {"elseif", "a further branch is `| if`"},
    {"import", "the keyword is `use`"},         {"require", "the keyword is `use`"},
    {"def", "a definition needs no keyword: `name(params) = body`"},
    {"fn", "a definition needs no keyword: `name(params) = body`"},
    {"func", "a definition needs no keyword: `name(params) = body`"},
    {"function", "a definition needs no keyword: `name(params) = body`"},
    {"let", "a binding needs no keyword: `name = value`"}, {"var", "a binding needs no keyword: `name = value`"},
    {"local", "a binding needs no keyword: `name = value`"},
};
static const std::vector<std::string> KEYWORDS = {"whl", "lop", "ret", "brk", "cnt", "use"};

struct Linter {
  const NameSet &names;
  std::vector<Finding> &out;
  std::set<const Node *> told;  // nodes already pointed at
  std::set<std::string> unread;  // names already told unbound
  std::vector<std::string> defined_list;

  void add(const Node *n, const char *kind, const std::string &msg) {
    if (told.insert(n).second) out.push_back({n->pos, kind, msg, n->pos});
  }

  bool known(const std::string &name) const {
    if (names.defined.count(name) || name.compare(0, 2, "__") == 0) return true;
    for (const std::string &b : builtin_names())
      if (b == name) return true;
    return false;
  }

  // The name a statement's text begins with, as its node (a name or a call of one).
  static const Node *leftmost(const Node *n) {
    while (n) {
      if (n->type == N_BIN) n = n->bin.left;
      else if (n->type == N_CALL && !n->call.name) n = n->call.callee;
      else if (n->type == N_DOT) n = n->dot.obj;
      else if (n->type == N_IDX) n = n->idx.obj;
      else return n->type == N_ID || n->type == N_CALL ? n : nullptr;
    }
    return nullptr;
  }
  static const char *name_of(const Node *n) { return n->type == N_ID ? n->id : n->call.name; }

  // A statement, or a header's one-line body (header set).
  void statement(const Node *st, bool header) {
    const Node *l = leftmost(st);
    if (!l) return;
    std::string name = name_of(l);
    if (name == "ret" || name == "brk" || name == "cnt") {
      if (header)
        add(l, "keyword-name", "`" + name + "` after a header's colon is read as a name, and the rest of the line as "
                               "statements of its own: a one-line body is an expression; put `" + name +
                               "` on its own indented line");
      return;
    }
    if (known(name)) return;
    for (const Alias &a : ALIASES)
      if (name == a.word) return add(l, "keyword", "`" + name + "` is read as a name, not a keyword (undefined when run): " + a.advice);
    std::string kw = nearest_name(name, KEYWORDS, 1);
    if (!kw.empty() && name.size() >= 3)
      add(l, "keyword", "`" + name + "` is read as a name (undefined when run): did you mean the keyword `" + kw + "`?");
  }

  void body(const Node *b) {
    if (b && b->type != N_BLOCK) statement(b, true);
  }

  void structure(const Node *n) {
    if (!n) return;
    bool block = n->type == N_BLOCK;
    each_body((Node *)n, [&](const Node *b) { block ? statement(b, false) : body(b); });
    if (n->type == N_FN) body(n->fn.body);
    each_child(n, [&](const Node *c) { structure(c); });
  }

  static bool text_literal(const Node *n) {
    return n && (n->type == N_STR || (n->type == N_BIN && n->bin.op == '+' && n->bin.right &&
                                      n->bin.right->type == N_CALL && n->bin.right->call.name &&
                                      !strcmp(n->bin.right->call.name, "str") && text_at(n->pos) &&
                                      text_at(n->pos)[0] == '$'));
  }

  static bool value_literal(const Node *n) {
    return n && (n->type == N_NUM || n->type == N_STR || n->type == N_LST || n->type == N_OBJ || n->type == N_NIL);
  }

  void operators(const Node *n) {
    const char *op = n->bin.op == 'l' ? "<=" : n->bin.op == 'g' ? ">=" : n->bin.op == '<' ? "<" : n->bin.op == '>' ? ">" : nullptr;
    if (op && (text_literal(n->bin.left) || text_literal(n->bin.right)))
      add(n, "text-compare", std::string("`") + op + "` compares numbers: a text counts as 0, so this compares with 0; "
                             "order texts by their bytes (txtord) instead");
    if ((n->bin.op == '|' || n->bin.op == '&') && value_literal(n->bin.right)) {
      const char *w = n->bin.op == '|' ? "or" : "and";
      add(n, "or-default", std::string("`") + w + "` gives tru or fls, never one of its operands, so it cannot "
                           "supply a default; write `if v: v | default`");
    }
  }

  void call(const Node *n) {
    if (!names.complete) return;
    if (n->call.name) {
      std::string name = n->call.name;
      if (builtin_lookup(n->call.name, n->call.n) || names.defined.count(name) || name.compare(0, 2, "__") == 0) return;
      if (told.count(n)) return;
      if (is_builtin(name)) {
        add(n, "undefined", "no builtin `" + name + "` takes " + std::to_string(n->call.n) +
                            " arguments, and no function of that name is defined: the call stops the run");
        return;
      }
      add(n, "undefined", "`" + name + "` is defined nowhere in this file or the modules it uses, and is no builtin: "
                          "the call stops the run" + did_you_mean(name, defined_list));
      return;
    }
    std::string dotted = dotted_name(n->call.callee);
    size_t dot = dotted.find('.');
    if (dot == std::string::npos || builtin_lookup(dotted.c_str(), n->call.n)) return;
    std::string root = dotted.substr(0, dot);
    if (names.defined.count(root)) return;
    std::string note = family_note(root, dotted.substr(dot + 1));
    if (!note.empty()) add(n, "undefined", "`" + dotted + "`: " + note);
    else if (!known(root) && unread.insert(root).second) add(n, "undefined", "`" + root + "` is defined nowhere: `" + dotted + "(...)` stops the run" +
                                                   did_you_mean(root, defined_list));
  }

  // A variable no statement of the file or its modules binds, at its first
  // read; the root of a family of builtins (txt in txt.up) is none.
  void read(const Node *n) {
    if (!names.complete || known(n->id) || told.count(n) || !unread.insert(n->id).second) return;
    std::string dotted = std::string(n->id) + ".";
    for (const std::string &b : builtin_names())
      if (b == n->id || b.compare(0, dotted.size(), dotted) == 0) return;
    add(n, "unbound", std::string("`") + n->id + "` is bound nowhere in this file or the modules it uses: reading it "
                        "stops the run" + did_you_mean(n->id, defined_list));
  }

  static bool is_builtin(const std::string &name) {
    for (const std::string &b : builtin_names())
      if (b == name) return true;
    return false;
  }

  void everything(const Node *n) {
    if (!n) return;
    if (n->type == N_BIN) operators(n);
    if (n->type == N_CALL) call(n);
    if (n->type == N_ID) read(n);
    each_child(n, [&](const Node *c) { everything(c); });
  }

  // Globals: the first top-level statement binding each name (function
  // bodies aside); calls: the names each top-level statement calls or
  // mentions, and those each top-level function's body does.
  std::map<std::string, size_t> first_bound;
  std::vector<std::set<std::string>> stmt_calls;
  std::map<std::string, std::set<std::string>> fn_calls;
  const Node *top = nullptr;

  void top_names(const Node *n, size_t i) {
    if (!n || n->type == N_FN) return;
    if (n->type == N_ASSIGN) first_bound.emplace(n->assign.name, i);
    if (n->type == N_FOR) first_bound.emplace(n->forin.var, i);
    each_child(n, [&](const Node *c) { top_names(c, i); });
  }

  static void calls_in(const Node *n, bool into_fns, std::set<std::string> &out) {
    if (!n || (n->type == N_FN && !into_fns)) return;
    // a function named as a value may be called by what it is passed to
    if (n->type == N_CALL && n->call.name) out.insert(n->call.name);
    if (n->type == N_ID) out.insert(n->id);
    each_child(n, [&](const Node *c) { calls_in(c, into_fns, out); });
  }

  void call_graph(const Node *prog) {
    top = prog;
    for (int i = 0; i < prog->block.n; i++) {
      const Node *st = prog->block.stmts[i];
      top_names(st, (size_t)i);
      stmt_calls.emplace_back();
      calls_in(st, false, stmt_calls.back());
      if (st->type == N_ASSIGN && st->assign.val && st->assign.val->type == N_FN)
        calls_in(st->assign.val->fn.body, true, fn_calls[st->assign.name]);
    }
  }

  // The top-level statements during which a function may run: those that
  // call it, however indirectly; any from its own on when it has no name.
  std::set<size_t> runs_of(const std::string &name, size_t defined_at) {
    std::set<size_t> runs;
    for (size_t i = name.empty() ? defined_at : 0; i < stmt_calls.size(); i++) {
      if (name.empty()) {
        runs.insert(i);
        continue;
      }
      std::set<std::string> seen, todo = stmt_calls[i];
      while (!todo.empty() && !seen.count(name)) {
        std::string f = *todo.begin();
        todo.erase(todo.begin());
        if (!seen.insert(f).second) continue;
        for (const std::string &g : fn_calls[f]) todo.insert(g);
      }
      if (seen.count(name)) runs.insert(i);
    }
    return runs;
  }

  // Whether the global exists when the function runs: bound by an earlier
  // statement, or by the same loop on an earlier round.
  bool live(const std::string &global, const std::set<size_t> &runs) {
    auto b = first_bound.find(global);
    if (b == first_bound.end()) return false;
    for (size_t i : runs) {
      NType t = top->block.stmts[i]->type;
      if (b->second < i || (b->second == i && (t == N_WHILE || t == N_FOR))) return true;
    }
    return false;
  }

  // A function's body in the order it runs: a global whose first use is
  // an assignment was most likely meant as a local.
  void function(const Node *fn, const std::string &fn_name, std::set<std::string> locals, const std::set<size_t> &runs) {
    for (int i = 0; i < fn->fn.nparams; i++) locals.insert(fn->fn.params[i]);
    std::set<std::string> used;
    std::set<std::string> inner = locals;  // what nested functions see as locals
    names_bound(fn->fn.body, inner);
    std::function<void(const Node *)> walk = [&](const Node *n) {
      if (!n) return;
      if (n->type == N_FN) return function(n, "a function inside " + fn_name, inner, runs);
      if (n->type == N_ID) used.insert(n->id);
      if (n->type == N_FOR) walk(n->forin.iter);
      const char *bound = n->type == N_ASSIGN ? n->assign.name : n->type == N_FOR ? n->forin.var : nullptr;
      if (n->type == N_ASSIGN) walk(n->assign.val);
      if (bound) {
        if (!used.count(bound) && !locals.count(bound) && live(bound, runs))
          add(n, "global-assign", "`" + std::string(bound) + "` is a global when " + fn_name +
                                  " runs: this assignment replaces it instead of making a local; give the local "
                                  "another name, or read the global first if it is meant");
        used.insert(bound);
      }
      if (n->type == N_ASSIGN) return;
      if (n->type == N_FOR) return walk(n->forin.body);
      each_child(n, walk);
      if (n->type == N_CALL && n->call.name) used.insert(n->call.name);
    };
    walk(fn->fn.body);
  }

  // Finds the outermost functions, named by what they are bound to.
  void functions(const Node *n, const std::string &name, size_t stmt) {
    if (!n) return;
    if (n->type == N_FN) {
      bool named = !name.empty() && name.find('.') == std::string::npos;
      return function(n, named ? "`" + name + "`" : "a function literal", {}, runs_of(named ? name : "", stmt));
    }
    std::string next;
    if (n->type == N_ASSIGN) next = n->assign.name;
    if (n->type == N_DOT_ASSIGN) next = dotted_name(n->dot_assign.obj) + "." + n->dot_assign.field;
    each_child(n, [&](const Node *c) { functions(c, next, stmt); });
  }
};

void lint_tree(const Node *prog, const NameSet &names, std::vector<Finding> &out) {
  Linter l{names, out, {}, {}, {}, {}, {}, {}, nullptr};
  l.defined_list.assign(names.defined.begin(), names.defined.end());
  l.structure(prog);
  l.everything(prog);
  l.call_graph(prog);
  for (int i = 0; i < prog->block.n; i++) l.functions(prog->block.stmts[i], "", (size_t)i);
}
