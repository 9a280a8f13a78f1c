// orvex: located errors. Code run through run_located reports an uncaught
// error, an undefined name, a call of no function or a recursion stop as
//   FILE:LINE:COL: error: MESSAGE
// followed by the call stack, innermost first, one line per frame
//   in NAME, called at FILE:LINE:COL
// instead of ending the process with an unlocated message.
#pragma once
#include <cstdint>

struct Env;
struct Node;

// Installs the hooks and keeps every source text from now on; call once,
// before anything is parsed. Outside run_located nothing changes.
void located_init();

// Runs body(ctx); when one of the conditions above stops it, prints the
// report on standard error (standard output flushed first) and gives
// false. The cursor, the current file and the try depth are put back
// either way, so a caller may go on (a REPL) or exit 1 (run).
bool run_located(void (*body)(void *ctx), void *ctx);
// The same for a source text run in env (a file or a line typed in),
// named file in reports.
bool run_text_located(const char *text, const char *file, Env *env);

// Prints one report: message, where it arose (a position of the source
// set, or none) and the frames gathered for it.
void report_error(const char *msg, const Node *where, bool have_pos, uint32_t pos);
