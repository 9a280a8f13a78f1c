// Host system builtins (__sys_*): files, directories, standard streams,
// environment, process id, clock and exit. Only the three file writers and
// readers raise errors; every other host failure answers quietly.
#include <dirent.h>
#include <sys/stat.h>
#include <sys/time.h>
#include <unistd.h>

#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>

#include "builtins.h"

Val *g_argv_val;

static bool is_str(Val *v) { return v->type == V_STR; }

// 1 when all len bytes reached the file. Writes are buffered, so a full disk
// or a file that refuses data often shows only when closing.
static int write_file(const char *path, const char *mode, const char *data, size_t len) {
  FILE *f = fopen(path, mode);
  if (!f) return 0;
  bool written = fwrite(data, 1, len, f) == len;
  bool closed = fclose(f) == 0;
  return written && closed;
}

static Val *b_read_file(Val **args, int) {
  if (!is_str(args[0])) return val_str_n("", 0);
  char *data = read_file(text_cstr(args[0]));
  if (!data) orvex_throw("__sys_read_file: cannot open file");
  Val *v = val_str(data);  // ends at the first zero byte
  xfree(data);
  return v;
}

static Val *b_file_exists(Val **args, int nargs) {
  struct stat st;
  if (nargs < 1 || !is_str(args[0])) return g_false;
  return val_bool(stat(text_cstr(args[0]), &st) == 0);
}

static Val *b_write_file(Val **args, int) {
  if (!is_str(args[0]) || !is_str(args[1])) return g_nil;
  if (!write_file(text_cstr(args[0]), "wb", args[1]->s, (size_t)args[1]->len)) orvex_throw("__sys_write_file: failed");
  return g_nil;
}

static Val *b_append_file(Val **args, int) {
  if (!is_str(args[0]) || !is_str(args[1])) return g_nil;
  if (!write_file(text_cstr(args[0]), "ab", args[1]->s, (size_t)args[1]->len)) orvex_throw("__sys_append_file: failed");
  return g_nil;
}

// Entries in readdir's order, "." and ".." included.
static Val *b_read_dir(Val **args, int) {
  Val *r = val_lst();
  if (!is_str(args[0])) return r;
  DIR *d = opendir(text_cstr(args[0]));
  if (!d) return r;
  while (struct dirent *e = readdir(d)) lst_push(r, val_str(e->d_name));
  closedir(d);
  return r;
}

static Val *b_stat(Val **args, int) {
  struct stat st;
  if (!is_str(args[0]) || stat(text_cstr(args[0]), &st) != 0) return g_nil;
  Val *o = val_obj();
  obj_set(o, "size", val_num((double)st.st_size));
  obj_set(o, "mtime", val_num((double)st.st_mtime));
  obj_set(o, "is_dir", val_bool(S_ISDIR(st.st_mode)));
  return o;
}

static Val *b_is_dir(Val **args, int) {
  struct stat st;
  if (!is_str(args[0])) return g_false;
  return val_bool(stat(text_cstr(args[0]), &st) == 0 && S_ISDIR(st.st_mode));
}

static Val *b_mkdir(Val **args, int) {
  if (is_str(args[0])) mkdir(text_cstr(args[0]), 0755);  // failures are ignored
  return g_nil;
}

static Val *b_remove(Val **args, int) {
  if (is_str(args[0])) remove(text_cstr(args[0]));  // failures are ignored
  return g_nil;
}

static Val *b_realpath(Val **args, int) {
  char buf[PATH_MAX];  // what realpath may write
  if (!is_str(args[0]) || !realpath(text_cstr(args[0]), buf)) return g_nil;
  return val_str(buf);
}

static Val *b_write_stdout(Val **args, int) {
  StrBuf b;
  sb_init(&b);
  render_into(&b, args[0]);
  out_write(b.p, b.len);
  sb_free(&b);
  return g_nil;
}

// One line of at most LINE_PIECE_MAX bytes; longer lines come back in
// pieces. Only a final newline is dropped, so a carriage return before it stays.
static const int LINE_PIECE_MAX = 4095;
static Val *b_read_line(Val **, int) {
  char buf[LINE_PIECE_MAX + 1];
  out_flush();  // a prompt written just before must be visible
  if (!fgets(buf, sizeof buf, stdin)) return val_str_n("", 0);
  size_t n = strlen(buf);
  if (n > 0 && buf[n - 1] == '\n') buf[--n] = 0;
  return val_str_n(buf, (int)n);
}

static Val *b_args(Val **, int) { return g_argv_val ? g_argv_val : val_lst(); }

static Val *b_getenv(Val **args, int) {
  if (!is_str(args[0])) return g_nil;
  const char *v = getenv(text_cstr(args[0]));
  return v ? val_str(v) : g_nil;
}

// Not an error: try cannot stop it. The host keeps the low 8 bits.
static Val *b_exit(Val **args, int) {
  orvex_exit(args[0]->type == V_NUM ? num_to_i32(args[0]->n) : 0);
}

static Val *b_getcwd(Val **, int) {
  char buf[PATH_MAX];
  return val_str(getcwd(buf, sizeof buf) ? buf : "");
}

static Val *b_getpid(Val **, int) { return val_num((double)getpid()); }

// Milliseconds since the epoch, keeping the fraction.
static double sys_time_ms() {
  struct timeval tv;
  gettimeofday(&tv, nullptr);
  return (double)tv.tv_sec * 1000.0 + (double)tv.tv_usec / 1000.0;
}

static Val *b_time_ms(Val **, int) { return val_num(sys_time_ms()); }

// A signal cuts the sleep short; sleep again for what is left.
static Val *b_sleep_ms(Val **args, int) {
  if (args[0]->type != V_NUM) return g_nil;
  int64_t m = num_to_i64(args[0]->n);
  if (m < 0) m = 0;
  struct timespec req = {(time_t)(m / 1000), (long)(m % 1000) * 1000000L}, rem;
  while (nanosleep(&req, &rem) != 0 && errno == EINTR) req = rem;
  return g_nil;
}

const BuiltinRow host_builtins[] = {
    {"__sys_read_file", 1, 1, b_read_file},
    {"__io_file_exists", 0, -1, b_file_exists},
    {"__sys_file_exists", 0, -1, b_file_exists},
    {"__sys_write_file", 2, 2, b_write_file},
    {"__sys_append_file", 2, 2, b_append_file},
    {"__sys_read_dir", 1, 1, b_read_dir},
    {"__sys_stat", 1, 1, b_stat},
    {"__sys_is_dir", 1, 1, b_is_dir},
    {"__sys_mkdir", 1, 1, b_mkdir},
    {"__sys_remove", 1, 1, b_remove},
    {"__sys_realpath", 1, 1, b_realpath},
    {"__sys_write_stdout", 1, -1, b_write_stdout},
    {"__sys_read_line", 0, 0, b_read_line},
    {"__sys_args", 0, -1, b_args},
    {"__sys_getenv", 1, 1, b_getenv},
    {"__sys_exit", 1, -1, b_exit},
    {"__sys_getcwd", 0, -1, b_getcwd},
    {"__sys_getpid", 0, -1, b_getpid},
    {"__sys_time_ms", 0, -1, b_time_ms},
    {"__sys_sleep_ms", 1, 1, b_sleep_ms},
    {nullptr, 0, 0, nullptr},
};
