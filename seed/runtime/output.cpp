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

void fatal(const char *fmt, ...) {
  if (g_sandbox) throw SandboxStop{};
  out_flush();
  va_list ap;
  va_start(ap, fmt);
  vfprintf(stderr, fmt, ap);
  va_end(ap);
  fputc('\n', stderr);
  orvex_exit(1);
}
