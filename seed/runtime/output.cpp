// Buffered standard output and the exits that must flush it first.
#include <cerrno>
#include <csignal>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <pthread.h>
#include <unistd.h>

#include "runtime.h"

static char g_out[1 << 16];
static size_t g_out_len;
// errno of the first failed write; later output is dropped, and the exit
// reports it with status 1, so that lost output never passes for success.
static int g_out_error;
const char *g_prog_name = "orvex-min";

// A reader that went away is the Unix way to stop a producer: end quietly,
// by the signal, also when the parent left SIGPIPE ignored.
[[noreturn]] static void broken_pipe() {
  signal(SIGPIPE, SIG_DFL);
  sigset_t set;
  sigemptyset(&set);
  sigaddset(&set, SIGPIPE);
  pthread_sigmask(SIG_UNBLOCK, &set, nullptr);
  raise(SIGPIPE);
  _exit(128 + SIGPIPE);
}

static void write_all(const char *s, size_t n) {
  while (n > 0 && !g_out_error) {
    ssize_t k = write(1, s, n);
    if (k > 0) {
      s += k;
      n -= (size_t)k;
    } else if (k < 0 && errno == EPIPE) {
      broken_pipe();
    } else if (k == 0 || errno != EINTR) {
      g_out_error = k < 0 ? errno : EIO;
    }
  }
}

void out_flush() {
  write_all(g_out, g_out_len);
  g_out_len = 0;
}

void out_write(const char *s, size_t n) {
  if (g_host_inert || g_out_error) return;
  if (g_out_len + n > sizeof g_out) {
    out_flush();
    if (n > sizeof g_out) return write_all(s, n);
  }
  memcpy(g_out + g_out_len, s, n);
  g_out_len += n;
}

void orvex_exit(int status) {
  if (g_host_inert) throw HostStop{};
  out_flush();
  if (g_out_error) {
    fprintf(stderr, "%s: write error: %s\n", g_prog_name, strerror(g_out_error));
    status = 1;
  }
  fflush(stderr);
  _exit(status);
}

void (*g_fatal_hook)(const char *msg);

void fatal(const char *fmt, ...) {
  if (g_host_inert) throw HostStop{};
  va_list ap;
  va_start(ap, fmt);
  char *msg = nullptr;
  if (vasprintf(&msg, fmt, ap) < 0) msg = nullptr;
  va_end(ap);
  if (g_fatal_hook && msg) g_fatal_hook(msg);
  out_flush();
  fprintf(stderr, "%s\n", msg ? msg : fmt);
  orvex_exit(1);
}
