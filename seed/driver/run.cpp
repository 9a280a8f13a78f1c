// Reading files, directory names and running a source text.
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <sys/stat.h>

#include "../eval/eval.h"
#include "../frontend/frontend.h"
#include "driver.h"

char g_orvex_home[PATH_MAX_LEN + 1];
Env *g_global_env;
Val *g_argv_val;

void boot_env(Env *env) { env_bind(env, intern("__sys_args"), val_lst()); }

// Texts are indexed by a 32-bit cursor, so a file must stay below 2 GiB.
static const size_t SOURCE_MAX = 0x7ffffffe;

// Paths are cut, not refused, at PATH_MAX_LEN bytes: the system opens no
// longer path, so a cut path only shows in messages ("cannot open ...").
void path_copy(char *dst, const char *src) {
  size_t n = strnlen(src, PATH_MAX_LEN);
  memcpy(dst, src, n);
  dst[n] = 0;
}

// Reads to the end rather than trusting a size, so pipes and /dev/stdin work.
char *read_file(const char *path) {
  if (g_sandbox) return nullptr;
  FILE *f = fopen(path, "rb");
  if (!f) return nullptr;
  struct stat st;
  if (fstat(fileno(f), &st) != 0 || S_ISDIR(st.st_mode)) {
    fclose(f);
    return nullptr;
  }
  size_t cap = S_ISREG(st.st_mode) && (size_t)st.st_size < SOURCE_MAX ? (size_t)st.st_size + 1 : 4096;
  size_t len = 0;
  char *buf = (char *)xmalloc(cap);
  for (;;) {
    if (len + 1 >= cap) {
      if (cap > SOURCE_MAX) break;
      cap *= 2;
      buf = (char *)xrealloc(buf, cap);
    }
    size_t k = fread(buf + len, 1, cap - 1 - len, f);
    len += k;
    if (k == 0) break;
  }
  bool ok = !ferror(f) && len <= SOURCE_MAX;
  fclose(f);
  if (!ok) {
    xfree(buf);
    return nullptr;
  }
  buf[len] = 0;
  return buf;
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

void run_source(const char *src_text, const char *file_path, Env *env) {
  const char *old_src = g_src;
  int old_pos = g_pos;
  char old_file[PATH_MAX_LEN + 1];
  memcpy(old_file, g_cur_file, sizeof old_file);
  g_src = src_text;
  g_pos = 0;
  source_add(src_text, file_path);
  path_copy(g_cur_file, file_path);
  Node *prog = parse_program_top();
  eval_effect(prog, env);
  g_src = old_src;
  g_pos = old_pos;
  memcpy(g_cur_file, old_file, sizeof old_file);
}
