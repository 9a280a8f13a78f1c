// orvex-min's two commands, run and compile.
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "../frontend/frontend.h"
#include "driver.h"

static int usage() {
  fputs("Usage: orvex-min <command> [args]\n"
        "  compile          Build orvex.orbc from lib/ (uses ORVEX_HOME)\n"
        "  run <file.orv>   Run an Orvex source file\n",
        stderr);
  return 1;
}

static void lib_root(char *out) { snprintf(out, PATH_MAX_LEN + 1, "%s/lib", g_orvex_home); }

void boot_globals() {
  markers_init();
  const char *home = getenv("ORVEX_HOME");
  if (home) path_copy(g_orvex_home, home);
  boot_global_scope();
  char root[PATH_MAX_LEN + 1];
  if (g_orvex_home[0]) {
    lib_root(root);
    env_bind(g_global_env, intern("__orvex_lib"), val_str(root));
  }
}

int orvex_main(int argc, char **argv) {
  if (argc < 2) return usage();
  boot_globals();
  char root[PATH_MAX_LEN + 1];
  const char *cmd = argv[1];
  if (strcmp(cmd, "compile") == 0) {
    if (!g_orvex_home[0]) {
      fputs("orvex-min: compile requires ORVEX_HOME to be set\n", stderr);
      return 1;
    }
    lib_root(root);
    do_prcom(root);
    return 0;
  }
  if (strcmp(cmd, "run") != 0) {
    fprintf(stderr, "orvex-min: unknown command: %s\n", cmd);
    return 1;
  }
  if (argc == 2) {
    fputs("Usage: orvex-min run <file.orv>\n", stderr);
    return 1;
  }
  const char *path = argv[2];
  g_argv_val = val_lst();
  for (int i = 0; i < argc; i++) lst_push(g_argv_val, val_str(argv[i]));
  env_bind(g_global_env, intern("__sys_args"), g_argv_val);
  char *text = read_file(path);
  if (!text) {
    fprintf(stderr, "orvex-min: cannot open %s\n", path);
    return 1;
  }
  run_source(text, path, g_global_env);
  xfree(text);
  return 0;
}

