// Module loading: resolve, run once in a scope of copied globals, cache the
// exports by path and bind them.
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <sys/stat.h>

#include "../eval/eval.h"
#include "../frontend/frontend.h"
#include "driver.h"

struct ModEntry {
  char *path;
  Env *env;
};
static const int MOD_CACHE_MAX = 256;
static ModEntry g_mod_cache[MOD_CACHE_MAX];
static int g_mod_cache_len;

// Modules whose top level is running now: using one of them again is a
// cycle. Module paths are compared as text, which misses a module using
// itself as "./me.orv" (a longer text each time), so files are compared too.
struct LoadingFile {
  char *path;
  dev_t dev;
  ino_t ino;
  bool known;
};
static LoadingFile *g_loading;
static int g_loading_len;

static Env *mod_cache_get(const char *path) {
  for (int i = 0; i < g_mod_cache_len; i++)
    if (strcmp(g_mod_cache[i].path, path) == 0) return g_mod_cache[i].env;
  return nullptr;
}

static void mod_cache_put(const char *path, Env *env) {
  if (g_mod_cache_len < MOD_CACHE_MAX) g_mod_cache[g_mod_cache_len++] = {xstrdup(path), env};
}

static void path_join(const char *a, const char *b, char *out, size_t sz) {
  if (b[0] == '/' || b[0] == '\\') snprintf(out, sz, "%s", b);
  else snprintf(out, sz, "%s/%s", a, b);
}

void resolve_use_path(const char *cur_dir, const char *mod_path, char *out, size_t sz) {
  if (mod_path[0] == '.') snprintf(out, sz, "%s/%s", cur_dir, mod_path);
  else if (strchr(mod_path, '/') || strchr(mod_path, '\\') || strstr(mod_path, ".orv"))
    path_join(cur_dir, mod_path, out, sz);
  else if (g_orvex_home[0]) snprintf(out, sz, "%s/lib/stdlib/%s.orv", g_orvex_home, mod_path);
  else snprintf(out, sz, "lib/stdlib/%s.orv", mod_path);
}

// Copies bindings; a copied number is then shared by two scopes, so neither
// owns it any longer.
static void bind_all(Env *from, Env *to) {
  for (int i = 0; i < from->len; i++) {
    env_bind(to, from->keys[i], given_away(from->vals[i]));
  }
}

// Exports: every binding the module made, and every global it rebound to
// another value record; untouched copies of globals stay behind.
static Env *collect_exports(Env *mod_env) {
  Env *exports = env_new(nullptr);
  exports->captured = 1;
  for (int i = 0; i < mod_env->len; i++) {
    Val *global = env_get(g_global_env, mod_env->keys[i]);
    if (global && global == mod_env->vals[i]) continue;
    env_bind(exports, mod_env->keys[i], given_away(mod_env->vals[i]));
  }
  return exports;
}

// Marks a module as loading for the length of its run, also when an error
// unwinds out of it (a later use after a caught error is no cycle).
struct Loading {
  explicit Loading(const char *path) {
    struct stat st;
    bool known = stat(path, &st) == 0;
    for (int i = 0; i < g_loading_len; i++) {
      const LoadingFile &f = g_loading[i];
      bool same_file = known && f.known && f.dev == st.st_dev && f.ino == st.st_ino;
      if (same_file || strcmp(f.path, path) == 0) fatal("orvex-min: use: module cycle through %s", path);
    }
    g_loading = (LoadingFile *)xrealloc(g_loading, sizeof(LoadingFile) * (size_t)(g_loading_len + 1));
    g_loading[g_loading_len++] = {xstrdup(path), known ? st.st_dev : 0, known ? st.st_ino : 0, known};
  }
  ~Loading() { xfree(g_loading[--g_loading_len].path); }
};

static Env *run_module(const char *resolved, const char *text) {
  Loading mark(resolved);
  TextCursor saved;
  Node *prog = enter_text(&saved, text, resolved);
  Env *mod_env = env_new(nullptr);
  mod_env->captured = 1;
  bind_all(g_global_env, mod_env);
  eval_effect(prog, mod_env);
  Env *exports = collect_exports(mod_env);
  leave_text(&saved);
  return exports;
}

void do_use(const char *path_arg, Env *env) {
  if (!path_arg) {
    out_flush();
    fputs("orvex-min: use: module path must be a plain string\n", stderr);
    return;
  }
  char cur_dir[PATH_MAX_LEN + 1], resolved[PATH_MAX_LEN + 1];
  path_dirname(g_cur_file, cur_dir, sizeof cur_dir);
  resolve_use_path(cur_dir, path_arg, resolved, sizeof resolved);
  if (Env *cached = mod_cache_get(resolved)) {
    bind_all(cached, env);
    return;
  }
  char *text = read_file(resolved);
  if (!text) {
    out_flush();
    fprintf(stderr, "orvex-min: use: cannot open %s\n", resolved);
    return;
  }
  Env *exports = run_module(resolved, text);
  mod_cache_put(resolved, exports);
  bind_all(exports, env);
  if (exports->len) bind_all(exports, g_global_env);
  xfree(text);
}
