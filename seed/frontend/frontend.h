// Front end: the syntax tree and the one-pass parser over a global cursor.
#pragma once
#include <cstdint>

struct Val;
struct Env;
struct Node;
typedef Val *(*fnptr)(Val **args, int nargs);
typedef Val *(*OperandFn)(Node *n, Env *env, double *out);
typedef Val *(*EffectFn)(Node *n, Env *env);
typedef bool (*TestFn)(Node *n, Env *env);

enum NType : uint32_t {
  N_NUM = 0, N_STR, N_BOOL, N_NIL, N_ID, N_LST, N_OBJ, N_BIN, N_UNARY,
  N_CALL, N_IF, N_WHILE, N_FOR, N_ASSIGN, N_DOT_ASSIGN, N_IDX_ASSIGN,
  N_FN, N_BLOCK, N_IDX, N_DOT, N_USE, N_BRK, N_CNT, N_RET
};

// Every name in a node (identifiers, fields, parameters, assigned names) is
// interned, and so are object-literal keys; string texts are plain copies.
struct Node {
  NType type;
  // Where the last lookup of this node's name found its binding (scopes
  // outward, slot), re-checked on every use; -1 when unknown. N_STR keeps
  // its text length in cache_slot.
  int32_t cache_depth, cache_slot;
  // The evaluator's code for this node's shape, chosen at its first use
  // (null until then): for its value, inside arithmetic, where the value
  // is dropped, and as a condition.
  EffectFn value_fn;
  OperandFn operand_fn;
  EffectFn effect_fn;
  TestFn test_fn;
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
    struct { Node **stmts; int n; } block;
    struct { Node *obj, *idx; } idx;
    struct { Node *obj; const char *field; } dot;
    struct { const char *path; } use;  // null: an interpolated path, refused when run
    struct { Node *ex; int direct; } ret;  // direct: the marker only ever reaches a call or a file's end
  };
};

Node *node_new(NType t);

// The cursor: the text being parsed and the index of the next character.
extern const char *g_src;
extern int g_pos;

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
// Marks the ret statements whose marker can only travel to the enclosing
// call (or the end of the file) through blocks, ifs and loops.
void mark_ret_context(Node *body);

// Shared by the readers (frontend internal).
bool is_name_char(int c);
bool is_name_start(int c);
bool keyword_at(int pos, const char *kw);
const char *read_name();  // interned run of name characters at the cursor, possibly empty
void arr_push(void ***arr, int n, void *item);  // grows an array of n items by exactly one
