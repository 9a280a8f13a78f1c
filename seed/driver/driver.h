// Driver: start-up, running a source text, modules and the compile command.
#pragma once
#if defined(ORVEX_LAYER) && ORVEX_LAYER < 5
#error "driver.h is above this layer"
#endif
#include "../builtins/builtins.h"

extern char g_orvex_home[PATH_MAX_LEN + 1];
extern Env *g_global_env;
// Directory part of path into out (size sz): cut at the last "/" (else the
// last "\\"), "." when there is neither.
void path_dirname(const char *path, char *out, size_t sz);
// Parses and runs src_text in env with file_path as the current file.
void run_source(const char *src_text, const char *file_path, Env *env);
// The reader's cursor and the current file, kept while another text runs.
struct TextCursor {
  const char *src;
  int pos;
  char file[PATH_MAX_LEN + 1];
};
// Saves the cursor in *saved, makes text (named file) the current source
// and file, and returns its tree; leave_text puts the saved ones back.
Node *enter_text(TextCursor *saved, const char *text, const char *file);
void leave_text(const TextCursor *saved);
// Loads a module (once per resolved path) and binds its exports.
void do_use(const char *path_arg, Env *env);
void resolve_use_path(const char *current_dir, const char *mod_path, char *out, size_t sz);
// Runs lib_root/backend/compile_pipeline.orv in the global scope.
void do_prcom(const char *lib_root);
// Installs the hooks of the layers below and makes a fresh global scope.
void boot_global_scope();
// Start-up shared by the commands: loop markers, the home (ORVEX_HOME when
// set, else whatever g_orvex_home holds), the global scope and its bindings.
void boot_globals();
// Entry point of orvex-min (main runs it on a large stack).
int orvex_main(int argc, char **argv);
// Starts the collector and runs entry on a large native stack, then exits
// with its status (standard output flushed).
[[noreturn]] int run_on_big_stack(int (*entry)(int, char **), int argc, char **argv);
// Copies at most PATH_MAX_LEN bytes of src into a path buffer.
void path_copy(char *dst, const char *src);
