// orvex check: findings, the reader's recoveries told as findings, and the
// lints over a finished tree.
#pragma once
#include <cstdint>
#include <set>
#include <string>
#include <vector>

#include "../frontend/frontend.h"

struct Finding {
  uint32_t pos;        // where it points
  std::string kind;    // short name, printed as [kind]
  std::string msg;     // what the reader did and what was probably meant
  uint32_t stop;       // where the reader went on after it (pos when the same)
};

// One recovery as the reader told it.
struct Recovered {
  Recovery what;
  uint32_t at, from;
};

// The reader's recoveries in one file, told as findings.
void explain_recoveries(const std::vector<Recovered> &recs, std::vector<Finding> &out);

// What the lints know about the names of a file.
struct NameSet {
  std::set<std::string> defined;  // bound anywhere in the file or the modules it uses
  bool complete;                  // every module it uses was found
};
// Every name the tree binds: assignments, parameters, loop variables and
// objects made by a method definition.
void names_bound(const Node *n, std::set<std::string> &out);
// The lints over a file's tree.
void lint_tree(const Node *prog, const NameSet &names, std::vector<Finding> &out);
// The use statements of the tree with a plain path.
void uses_in(const Node *n, std::vector<const Node *> &out);

// Calls f on every direct child of n (null children included).
template <class F>
void each_child(const Node *n, F f) {
  switch (n->type) {
    case N_LST: for (int i = 0; i < n->lst.n; i++) f(n->lst.items[i]); return;
    case N_OBJ: for (int i = 0; i < n->obj.n; i++) f(n->obj.vals[i]); return;
    case N_BIN: f(n->bin.left); f(n->bin.right); return;
    case N_UNARY: f(n->unary.operand); return;
    case N_CALL:
      if (!n->call.name) f(n->call.callee);
      for (int i = 0; i < n->call.n; i++) f(n->call.args[i]);
      return;
    case N_IF:
      f(n->iff.cond);
      f(n->iff.then);
      for (int i = 0; i < n->iff.nelif; i++) {
        f(n->iff.elifs[i]);
        f(n->iff.elif_body[i]);
      }
      f(n->iff.els);
      return;
    case N_WHILE: f(n->whl.cond); f(n->whl.body); return;
    case N_FOR: f(n->forin.iter); f(n->forin.body); return;
    case N_ASSIGN: f(n->assign.val); return;
    case N_DOT_ASSIGN: f(n->dot_assign.obj); f(n->dot_assign.val); return;
    case N_IDX_ASSIGN: f(n->idx_assign.obj); f(n->idx_assign.idx); f(n->idx_assign.val); return;
    case N_FN: f(n->fn.body); return;
    case N_BLOCK: for (int i = 0; i < n->block.n; i++) f(n->block.stmts[i]); return;
    case N_IDX: f(n->idx.obj); f(n->idx.idx); return;
    case N_DOT: f(n->dot.obj); return;
    case N_RET: f(n->ret.ex); return;
    default: return;
  }
}
