// The interpreter's native stack: large, so that deep Orvex recursion works.
#include <cstdint>
#include <malloc.h>
#include <sys/mman.h>
#include <sys/resource.h>
#include <ucontext.h>
#include <unistd.h>

#include "driver.h"

#ifdef ORVEX_GC
#define GC_THREADS
#include <gc/gc.h>
#endif

#if defined(__SANITIZE_ADDRESS__)
#include <sanitizer/common_interface_defs.h>
#endif

// Deep recursion in Orvex is deep recursion in C++: the interpreter runs
// on a large, lazily committed stack, and stops with a message shortly
// before its end instead of faulting. The main thread switches onto it
// rather than starting a thread: a thread costs a clone, a wake-up on
// another core and a join, a good part of a short program's run.
// Sanitizer builds spend several times more stack per call, so they get more.
#ifndef ORVEX_STACK_GIB
#define ORVEX_STACK_GIB 1
#endif
static const size_t STACK_SIZE = (size_t)ORVEX_STACK_GIB << 30;
static const size_t STACK_MIN = (size_t)64 << 20;
static const size_t STACK_RESERVE = (size_t)1 << 20;

static struct {
  int (*entry)(int, char **);
  int argc;
  char **argv;
  char *stack;
  size_t size;
} g_start;

static ucontext_t g_interp;

static void interp_main() {
#if defined(__SANITIZE_ADDRESS__)
  __sanitizer_finish_switch_fiber(nullptr, nullptr, nullptr);
#endif
#ifdef ORVEX_GC
  // The collector scans this stack, not the one the process started on
  // (which holds no values), so it learns of it before it starts.
  GC_stack_base sb = {g_start.stack + g_start.size};
  GC_set_stackbottom(nullptr, &sb);
#endif
  gc_init();
  g_stack_limit = g_start.stack + STACK_RESERVE;
  // The process ends here: there is nothing to return to.
  orvex_exit(g_start.entry(g_start.argc, g_start.argv));
}

static char *map_stack(size_t size) {
  void *p = mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE | MAP_STACK, -1, 0);
  if (p == MAP_FAILED) return nullptr;
  mprotect(p, (size_t)getpagesize(), PROT_NONE);  // a fault, not a silent overwrite, past the end
  // Small pages: a huge one would commit 2 MB for the few frames most
  // programs use.
  madvise(p, size, MADV_NOHUGEPAGE);
  return (char *)p;
}

[[noreturn]] int run_on_big_stack(int (*entry)(int, char **), int argc, char **argv) {
  // Scratch memory from malloc grows in large steps.
  mallopt(M_TOP_PAD, 16 << 20);
  g_start = {entry, argc, argv, nullptr, 0};
  // Fall back to smaller stacks where the system refuses a large mapping.
  for (size_t size = STACK_SIZE; size >= STACK_MIN && !g_start.stack; size /= 2) {
    g_start.stack = map_stack(size);
    g_start.size = size;
  }
  if (g_start.stack) {
    getcontext(&g_interp);
    g_interp.uc_stack.ss_sp = g_start.stack;
    g_interp.uc_stack.ss_size = g_start.size;
    g_interp.uc_link = nullptr;
    makecontext(&g_interp, interp_main, 0);
#if defined(__SANITIZE_ADDRESS__)
    __sanitizer_start_switch_fiber(nullptr, g_start.stack, g_start.size);
#endif
    setcontext(&g_interp);  // returns only on failure
  }
  // No room for a large stack: run on this one, within its limit.
  gc_init();
  struct rlimit rl;
  size_t size = (size_t)8 << 20;
  if (getrlimit(RLIMIT_STACK, &rl) == 0 && rl.rlim_cur != RLIM_INFINITY) size = rl.rlim_cur;
  char probe;
  g_stack_limit = (char *)((uintptr_t)&probe - (size - STACK_RESERVE));
  orvex_exit(entry(argc, argv));
}
