// Reading whole files: program texts, modules and __sys_read_file.
#include <cstdio>
#include <sys/stat.h>

#include "runtime.h"

// Texts are indexed by a 32-bit cursor, so a file must stay below 2 GiB.
static const size_t SOURCE_MAX = 0x7ffffffe;
// First room for a file of unknown size (a pipe, /dev/stdin); doubled as needed.
static const size_t STREAM_ROOM = 4096;

// Reads to the end rather than trusting a size, so pipes and /dev/stdin work.
char *read_file(const char *path) {
  if (g_host_inert) return nullptr;
  FILE *f = fopen(path, "rb");
  if (!f) return nullptr;
  struct stat st;
  if (fstat(fileno(f), &st) != 0 || S_ISDIR(st.st_mode)) {
    fclose(f);
    return nullptr;
  }
  size_t cap = S_ISREG(st.st_mode) && (size_t)st.st_size < SOURCE_MAX ? (size_t)st.st_size + 1 : STREAM_ROOM;
  size_t len = 0;
  char *buf = (char *)xmalloc(cap);
  for (;;) {
    if (len + 1 >= cap) {
      if (cap > SOURCE_MAX) break;
      cap *= 2;
      buf = (char *)xrealloc(buf, cap);
    }
    size_t k = fread(buf + len, 1, cap - 1 - len, f);
    len += k;
    if (k == 0) break;
  }
  bool ok = !ferror(f) && len <= SOURCE_MAX;
  fclose(f);
  if (!ok) {
    xfree(buf);
    return nullptr;
  }
  buf[len] = 0;
  return buf;
}
