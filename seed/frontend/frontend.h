// Front end: the syntax tree and the one-pass parser over a global cursor.
#pragma once
#if defined(ORVEX_LAYER) && ORVEX_LAYER < 2
#error "frontend.h is above this layer"
#endif
#include <cstdint>

struct Val;
struct Env;
struct Node;
typedef Val *(*fnptr)(Val **args, int nargs);
// Code the evaluator keeps in a node. The reader does not know the
// evaluator's handler types, so a node holds plain code pointers and the
// evaluator casts each back to its own type: free at the call, where a
// pointer to a record of the evaluator's would cost a load.
typedef void (*NodeCode)();

// Where a name was last found: scopes outward and slot in that scope.
struct Binding {
  int32_t depth, slot;
};

enum NType : uint32_t {
  N_NUM = 0, N_STR, N_BOOL, N_NIL, N_ID, N_LST, N_OBJ, N_BIN, N_UNARY,
  N_CALL, N_IF, N_WHILE, N_FOR, N_ASSIGN, N_DOT_ASSIGN, N_IDX_ASSIGN,
  N_FN, N_BLOCK, N_IDX, N_DOT, N_USE, N_BRK, N_CNT, N_RET
};

// Every name in a node (identifiers, fields, parameters, assigned names) is
// interned, and so are object-literal keys; string texts are plain copies.
struct Node {
  NType type;
  // What the evaluator remembers of the node, re-checked on every use
  // where it could go stale; -1 until first known. Which it is goes with
  // the node's kind.
  union {
    Binding bind;             // N_ID, N_ASSIGN, N_FOR, N_CALL by name: where the name was last found
    int32_t key_pos;          // N_DOT, N_DOT_ASSIGN: where the field's key sat in the last object
    int32_t text_len;         // N_STR: the text's length
    int32_t params_distinct;  // N_FN: 1 when no parameter name repeats, else 0
  };
  // Where the node starts (an operator node: its operator), as a position
  // of the source set below; it fills what was a padding hole.
  uint32_t pos;
  // The evaluator's code for this node's shape, chosen at its first use
  // (null until then): for its value, inside arithmetic, where the value
  // is dropped, and as a condition.
  NodeCode value_code, operand_code, effect_code, test_code;
  union {
    double num;
    const char *str;
    int b;
    const char *id;
    struct { Node **items; int n; } lst;
    struct { const char **keys; Node **vals; int n; } obj;
    struct { char op; Node *left, *right; } bin;
    struct { char op; Node *operand; } unary;
    struct {
      const char *name;
      Node *callee;
      Node **args;
      int n;
      int8_t resolved;  // builtin looked up for this site (name and count never change)
      fnptr builtin;
      const void *math;  // the builtin as a function on doubles, when it is one
      uint32_t fresh_args;  // arguments whose number is a record made for the call
      uint32_t lend_args;   // variables passed to a user function (their numbers are lent)
    } call;
    struct { Node *cond, *then; Node **elifs, **elif_body; int nelif; Node *els; } iff;
    struct { Node *cond, *body; } whl;
    struct { const char *var; Node *iter, *body; } forin;
    struct { const char *name; Node *val; } assign;
    struct { Node *obj; const char *field; Node *val; } dot_assign;
    struct { Node *obj, *idx, *val; } idx_assign;
    struct { const char **params; int nparams; Node *body; } fn;
    struct { Node **stmts; int n; bool handlers_chosen; } block;  // chosen: its statements' effect code is set
    struct { Node *obj, *idx; } idx;
    struct { Node *obj; const char *field; } dot;
    struct { const char *path; } use;  // null: an interpolated path, refused when run
    struct { Node *ex; int direct; } ret;  // direct: the marker only ever reaches a call or a file's end
  };
};

static_assert(sizeof(Node) == 104, "a node's position must not make it bigger");

Node *node_new(NType t);  // positioned at the cursor

// The cursor: the text being parsed and the index of the next character.
extern const char *g_src;
extern int g_pos;

// Source positions: every text parsed in this process gets a range of its
// own, so one 32-bit number tells both the file and the place in it.
// g_src_base is the position of g_src[0]; source_add gives a new text the
// next range, before it is parsed.
extern uint32_t g_src_base;
struct Source {
  const char *file;
  const char *text;  // null unless g_keep_sources was set when it was added
  uint32_t base, len;
};
extern bool g_keep_sources;  // keep a copy of every text, to quote and locate later
void source_add(const char *text, const char *file);
void source_reset();  // forgets every text (a fresh interpreter state)
const Source *source_find(uint32_t pos);  // null for a position of no known text
// 1-based line and column (in bytes) of pos; 0 when its text was not kept.
void source_line_col(uint32_t pos, int *line, int *col);

// Recoveries: a checker sets this hook to hear of every place where the
// reader skipped, cut or guessed (never set when running, so the readers
// pay one test of a null pointer on their recovery paths only). at is
// where it happened, from where the construct began (both positions).
enum Recovery {
  REC_SKIPPED,      // a character no statement starts with
  REC_TRAILING,     // more on a line after a complete statement
  REC_UNCLOSED,     // an opener ( [ { " not closed where reading stopped (at): from is the opener
  REC_NO_OPERAND,   // an operator (at) with nothing after it, dropped
  REC_NO_VALUE,     // "=" or a field's ":" with nothing after it: nil
  REC_COND_ASSIGN,  // "=" right after a condition
  REC_SHALLOW_BODY, // a header's body not indented deeper than the header
  REC_NO_PART,      // a header without its condition or list
  REC_ESCAPE,       // an escape of a letter or digit dropped in $"..."
  REC_INTERP,       // text after the expression in {...} read literally
  REC_NUMBER_NAME,  // a number run into a name ("0x1F", "2nd")
  REC_USE,          // use without a module name or plain path
  REC_STRING_LINES, // a plain string running over lines: at is its closing quote
};
extern void (*g_recover_hook)(Recovery what, uint32_t at, uint32_t from);
inline void recovered(Recovery what, int at, int from = -1) {
  if (g_recover_hook) g_recover_hook(what, g_src_base + (uint32_t)at, g_src_base + (uint32_t)(from < 0 ? at : from));
}

void skip_ws();
void skip_ws_nl();
int get_indent();
int peek();
int eat(char c);
int eat_str(const char *s);

Node *parse_program_top();
Node *parse_stmt();
Node *parse_expr();
Node *parse_unary();
Node *parse_bin_rhs(Node *left, int min_prec);
int op_prec(const char *s);
Node *parse_string();
Node *parse_list();
Node *parse_object();
Node *parse_lambda();
Node *parse_if();
Node *parse_body(int min_indent);
Node *parse_body_rule();
// Calls f on each body n holds: a block's statements, an if's branches
// (null when missing), a loop's body.
template <class F>
void each_body(Node *n, F f) {
  switch (n->type) {
    case N_BLOCK:
      for (int i = 0; i < n->block.n; i++) f(n->block.stmts[i]);
      return;
    case N_IF:
      f(n->iff.then);
      for (int i = 0; i < n->iff.nelif; i++) f(n->iff.elif_body[i]);
      f(n->iff.els);
      return;
    case N_WHILE: f(n->whl.body); return;
    case N_FOR: f(n->forin.body); return;
    default: return;
  }
}
// Marks the ret statements whose marker can only travel to the enclosing
// call (or the end of the file) through blocks, ifs and loops.
void mark_ret_context(Node *body);

// Shared by the readers (frontend internal).
bool is_name_char(int c);
bool is_name_start(int c);
bool keyword_at(int pos, const char *kw);
const char *read_name();  // interned run of name characters at the cursor, possibly empty
void arr_push(void ***arr, int n, void *item);  // grows an array of n items by exactly one
template <class T>
inline void arr_add(T **&arr, int n, T *item) { arr_push((void ***)&arr, n, (void *)item); }
// A function's parameters, cursor after its "(": up to ")" or anything
// that is no name.
void read_params(Node *fn);
Node *node_at(NType t, int at);
int blanks_end(int p);  // the first position from p that is no blank, tab or carriage return  // a node positioned at g_src[at]
// A block's reading of one statement: a character no statement starts
// with is skipped; after a statement the rest of its line should be empty.
void stmt_skipped();
void stmt_read(Node *st);
// After a header's condition (header: where it began): tells the hook of
// an "=" that ends it early or of a missing condition.
void cond_read(Node *cond, int header);
