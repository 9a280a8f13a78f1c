// Buffered standard output and the exits that must flush it first.
#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <unistd.h>

#include "runtime.h"

static char g_out[1 << 16];
static size_t g_out_len;

void out_flush() {
  size_t off = 0;
  while (off < g_out_len) {
    ssize_t k = write(1, g_out + off, g_out_len - off);
    if (k < 0 && errno == EINTR) continue;
    if (k <= 0) break;  // nowhere to write: the output is dropped
    off += (size_t)k;
  }
  g_out_len = 0;
}

void out_write(const char *s, size_t n) {
  if (g_sandbox) return;
  if (g_out_len + n > sizeof g_out) {
    out_flush();
    if (n > sizeof g_out) {
      size_t off = 0;
      while (off < n) {
        ssize_t k = write(1, s + off, n - off);
        if (k < 0 && errno == EINTR) continue;
        if (k <= 0) return;
        off += (size_t)k;
      }
      return;
    }
  }
  memcpy(g_out + g_out_len, s, n);
  g_out_len += n;
}

void orvex_exit(int status) {
  if (g_sandbox) throw SandboxStop{};
  out_flush();
  fflush(stderr);
  _exit(status);
}

void (*g_fatal_hook)(const char *msg);

void fatal(const char *fmt, ...) {
  if (g_sandbox) throw SandboxStop{};
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
