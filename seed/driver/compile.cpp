// The compile command: runs the installation's pipeline in the global scope.
#include <cstdio>
#include <cstdlib>

#include "driver.h"

void do_prcom(const char *lib_root) {
  char entry[PATH_MAX_LEN + 1];
  snprintf(entry, sizeof entry, "%s/backend/compile_pipeline.orv", lib_root);
  char *text = read_file(entry);
  if (!text) fatal("orvex-min: prcom: cannot open %s", entry);
  env_set(g_global_env, intern("__orvex_lib"), val_str(lib_root));
  run_source(text, entry, g_global_env);
  xfree(text);
}
