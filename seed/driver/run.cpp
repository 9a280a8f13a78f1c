// Paths, the global scope, and running a source text.
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "../eval/eval.h"
#include "../frontend/frontend.h"
#include "driver.h"

char g_orvex_home[PATH_MAX_LEN + 1];
Env *g_global_env;

void boot_global_scope() {
  g_eval_hooks = {builtin_lookup, math_op, do_use};
  g_prcom_hook = do_prcom;
  g_global_env = env_new(nullptr);
  g_global_env->captured = 1;
  env_bind(g_global_env, intern("__sys_args"), val_lst());
}

// Paths are cut, not refused, at PATH_MAX_LEN bytes: the system opens no
// longer path, so a cut path only shows in messages ("cannot open ...").
void path_copy(char *dst, const char *src) {
  size_t n = strnlen(src, PATH_MAX_LEN);
  memcpy(dst, src, n);
  dst[n] = 0;
}

void path_dirname(const char *path, char *out, size_t sz) {
  size_t n = strnlen(path, sz - 1);
  memcpy(out, path, n);
  out[n] = 0;
  char *cut = strrchr(out, '/');
  if (!cut) cut = strrchr(out, '\\');
  if (cut) *cut = 0;
  else strcpy(out, ".");
}

Node *enter_text(TextCursor *saved, const char *text, const char *file) {
  saved->src = g_src;
  saved->pos = g_pos;
  memcpy(saved->file, g_cur_file, sizeof saved->file);
  g_src = text;
  g_pos = 0;
  source_add(text, file);
  path_copy(g_cur_file, file);
  return parse_program_top();
}

// Only after the text ran to its end: an error passing through leaves the
// cursor where it was, for whoever catches it to restore.
void leave_text(const TextCursor *saved) {
  g_src = saved->src;
  g_pos = saved->pos;
  memcpy(g_cur_file, saved->file, sizeof g_cur_file);
}

void run_source(const char *src_text, const char *file_path, Env *env) {
  TextCursor saved;
  Node *prog = enter_text(&saved, src_text, file_path);
  eval_effect(prog, env);
  leave_text(&saved);
}
