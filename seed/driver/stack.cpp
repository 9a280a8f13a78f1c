// The interpreter's native stack: large, so that deep Orvex recursion works.
#include <cstdint>
#include <malloc.h>
#include <pthread.h>
#include <sys/resource.h>

#include "driver.h"

#ifdef ORVEX_GC
// The collector must know the interpreter's thread to scan its stack.
#define GC_THREADS
#include <gc/gc.h>
#endif

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
  int (*entry)(int, char **);
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
  a->status = a->entry(a->argc, a->argv);
  return nullptr;
}

[[noreturn]] int run_on_big_stack(int (*entry)(int, char **), int argc, char **argv) {
  // The interpreter thread allocates like a single-threaded program: the
  // main heap, grown in large steps, serves it best.
  mallopt(M_ARENA_MAX, 1);
  mallopt(M_TOP_PAD, 16 << 20);
  gc_init();
  MainArgs a = {entry, argc, argv, 1};
  pthread_attr_t attr;
  pthread_attr_init(&attr);
  // Fall back to smaller stacks where the system refuses a large mapping.
  for (size_t size = STACK_SIZE; size >= ((size_t)64 << 20); size /= 2) {
    pthread_t t;
    pthread_attr_setstacksize(&attr, size);
    if (pthread_create(&t, &attr, interp_thread, &a) == 0) {
#ifdef ORVEX_GC
      // This thread only waits and holds no values: collections need not
      // stop it nor scan its stack.
      GC_unregister_my_thread();
#endif
      pthread_join(t, nullptr);
      orvex_exit(a.status);
    }
  }
  struct rlimit rl;
  size_t size = (size_t)8 << 20;
  if (getrlimit(RLIMIT_STACK, &rl) == 0 && rl.rlim_cur != RLIM_INFINITY) size = rl.rlim_cur;
  set_stack_limit(size);
  orvex_exit(entry(argc, argv));
}
