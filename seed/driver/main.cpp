// Command line and start-up; the interpreter runs on a large native stack.
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <malloc.h>
#include <pthread.h>
#include <sys/resource.h>

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

int orvex_main(int argc, char **argv) {
  markers_init();
  if (argc < 2) return usage();
  const char *home = getenv("ORVEX_HOME");
  if (home) path_copy(g_orvex_home, home);
  g_global_env = env_new(nullptr);
  g_global_env->captured = 1;
  boot_env(g_global_env);
  char root[PATH_MAX_LEN + 1];
  if (g_orvex_home[0]) {
    lib_root(root);
    env_bind(g_global_env, intern("__orvex_lib"), val_str(root));
  }
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

// Deep recursion in Orvex is deep recursion in C++: the interpreter gets a
// large, lazily committed stack, and stops with a message shortly before
// its end instead of faulting.
// Sanitizer builds spend several times more stack per call, so they get more.
#ifndef ORVEX_STACK_GIB
#define ORVEX_STACK_GIB 1
#endif
static const size_t STACK_SIZE = (size_t)ORVEX_STACK_GIB << 30;
static const size_t STACK_RESERVE = (size_t)1 << 20;

struct MainArgs {
  int argc;
  char **argv;
  int status;
};

static void set_stack_limit(size_t stack_size) {
  char probe;
  g_stack_limit = (char *)((uintptr_t)&probe - (stack_size - STACK_RESERVE));
}

static void *interp_thread(void *p) {
  MainArgs *a = (MainArgs *)p;
  pthread_attr_t self;
  size_t size = (size_t)64 << 20;
  if (pthread_getattr_np(pthread_self(), &self) == 0) {
    pthread_attr_getstacksize(&self, &size);
    pthread_attr_destroy(&self);
  }
  set_stack_limit(size);
  a->status = orvex_main(a->argc, a->argv);
  return nullptr;
}

int main(int argc, char **argv) {
  // The interpreter thread allocates like a single-threaded program: the
  // main heap, grown in large steps, serves it best.
  mallopt(M_ARENA_MAX, 1);
  mallopt(M_TOP_PAD, 16 << 20);
  MainArgs a = {argc, argv, 1};
  pthread_attr_t attr;
  pthread_attr_init(&attr);
  // Fall back to smaller stacks where the system refuses a large mapping.
  for (size_t size = STACK_SIZE; size >= ((size_t)64 << 20); size /= 2) {
    pthread_t t;
    pthread_attr_setstacksize(&attr, size);
    if (pthread_create(&t, &attr, interp_thread, &a) == 0) {
      pthread_join(t, nullptr);
      orvex_exit(a.status);
    }
  }
  struct rlimit rl;
  size_t size = (size_t)8 << 20;
  if (getrlimit(RLIMIT_STACK, &rl) == 0 && rl.rlim_cur != RLIM_INFINITY) size = rl.rlim_cur;
  set_stack_limit(size);
  orvex_exit(orvex_main(argc, argv));
}
