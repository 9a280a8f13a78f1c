// Fuzzing entry points: every run starts from a fresh state and ends by
// releasing all memory, whatever way the program stopped.
#include <cstring>
#include <sys/resource.h>

#include "../eval/eval.h"
#include "../frontend/frontend.h"
#include "driver.h"
#include "sandbox.h"

static void sandbox_begin() {
  g_host_inert = true;
  runtime_reset();
  source_reset();
  markers_init();
  // libFuzzer runs on the main thread: leave room below this frame.
  struct rlimit rl;
  size_t size = (size_t)8 << 20;
  if (getrlimit(RLIMIT_STACK, &rl) == 0 && rl.rlim_cur != RLIM_INFINITY) size = rl.rlim_cur;
  char probe;
  g_stack_limit = (char *)((uintptr_t)&probe - size / 2);
  g_try_depth = 0;
#ifdef ORVEX_FUZZ
  g_steps_left = 200000;
#endif
  g_cur_file[0] = 0;
}

void sandbox_parse(const char *text) {
  sandbox_begin();
  g_src = text;
  g_pos = 0;
  try {
    parse_program_top();
  } catch (HostStop &) {
  }
  g_src = "";
  runtime_reset();
}

void sandbox_run(const char *text) {
  sandbox_begin();
  try {
    boot_global_scope();
    run_source(text, "fuzz.orv", g_global_env);
  } catch (HostStop &) {
  }
  g_src = "";
  g_global_env = nullptr;
  g_argv_val = nullptr;
  runtime_reset();
}
