// Help entries for every builtin, by family: call form, result, and the
// answer for arguments of the wrong kind.
#include <cstring>

#include "builtins.h"

const char *const builtin_families[] = {"core", "txt", "enc", "trl", "math", "sys", "unsupported", nullptr};

const BuiltinDoc builtin_docs[] = {
    // core
    {"core", "prn([v, ...])", "nil; writes the values' renderings to standard output, one blank between them, then a newline", nullptr},
    {"core", "len(v)", "num: element count of a list, key count of an object, byte length of a text", "0"},
    {"core", "str(v)", "str: v rendered as prn prints it", nullptr},
    {"core", "int(v)", "num: a text parsed as a base-10 integer (\"42abc\" gives 42, no digits give 0); a number truncated toward zero", "0"},
    {"core", "flt(v)", "num: a text parsed as a decimal, exponent or hexadecimal number (nothing parsable gives 0); a number unchanged", "0"},
    {"core", "typ(v)", "str: \"nil\", \"bool\", \"num\", \"str\", \"lst\", \"obj\" or \"fn\"", nullptr},
    {"core", "ofld(obj, key)", "the field's value; raises \"ofld: key not found\" when it is absent or nil", "obj not an object or key not a text: nil, no error"},
    {"core", "oset(obj, key, v)", "obj itself, with the field set (added at the end or replaced)", "obj not an object or key not a text: the first argument, unchanged"},
    {"core", "okeys(obj)", "lst: the keys as texts, in the object's order", "a new empty list"},
    {"core", "push(lst, v)", "lst itself, with v appended in place", "lst not a list: the first argument, nothing appended"},
    {"core", "err(v, ...)", "raises an error whose message is v rendered; try catches it", nullptr},
    {"core", "asr(cond [, msg, ...])", "nil when cond is true; else raises msg rendered, or \"assertion failed\"", nullptr},
    {"core", "try([f, ...])", "obj {val, err}: calls f with no arguments; val is its result and err nil, or val nil and err the message of an error raised inside", "f missing or not a function: {val: the argument, err: nil}, nothing called"},
    {"core", "try_call([f, ...])", "the same as try", "as try"},
    {"core", "prcom(lib_root)", "nil; runs lib_root/backend/compile_pipeline.orv in the global scope (ends the program when it is missing)", "raises \"prcom: expected string lib_root\""},
    // txt
    {"txt", "txt.sub(s, start [, end, ...])", "str: the bytes of s from start up to end (default: the end of s); start below 0 counts as 0, end past s as its length; \"\" when end <= start", "s not a text or start not a number: \"\"; end not a number: the end of s"},
    {"txt", "txt.pfx(s, p)", "bool: s begins with p (an empty p: tru)", "fls"},
    {"txt", "txt.sfx(s, x)", "bool: s ends with x (an empty x: tru)", "fls"},
    {"txt", "txt.has(s, n)", "bool: n occurs in s (an empty n: tru)", "fls"},
    {"txt", "txt.idx(s, n)", "num: byte offset of the first n in s, -1 when there is none (an empty n: 0)", "-1"},
    {"txt", "txt.up(s)", "str: s with the ASCII letters in upper case", "\"\""},
    {"txt", "txt.lo(s)", "str: s with the ASCII letters in lower case", "\"\""},
    {"txt", "txt.at(s, i)", "str: byte i of s, a negative i counting from the end; \"\" outside s", "\"\""},
    {"txt", "txt.jn(xs, sep)", "str: the elements of xs rendered and joined by sep (sep not a text counts as \"\")", "xs not a list: \"\""},
    {"txt", "txt.spl(s, sep)", "lst: the pieces of s between the occurrences of sep, always one more than there are; an empty sep gives the single bytes", "a new empty list"},
    {"txt", "txt.trm(s)", "str: s without leading and trailing white space", "\"\""},
    {"txt", "txt.rep(s, old, new)", "str: s with every occurrence of old replaced by new, left to right, not overlapping; an empty old gives s itself", "the first argument itself"},
    {"txt", "txtord(s)", "num: the first byte of s (0 to 255), 0 for \"\"", "0"},
    {"txt", "txtchr(n)", "str: the one byte n (0 to 255; 0 gives \"\"); \"\" for any other n", "\"\""},
    {"txt", "txtsub(s, start [, end, ...])", "the same as txt.sub", "as txt.sub"},
    // enc
    {"enc", "enc.chr([v, ...])", "v a number: as txtchr (a one-byte text); v a text: as txtord (a number)", "no argument or another kind: \"\""},
    {"enc", "encbytev([v, ...])", "the same as enc.chr", "as enc.chr"},
    {"enc", "enc.u8tbl(...)", "lst: 256 texts, entry b the one byte b (entry 0 is \"\")", nullptr},
    {"enc", "enc.u8ord(s)", "num: the first byte of s, as txtord", "0"},
    // trl
    {"trl", "trl.cat(a, b)", "lst: a new list of the elements of a, then those of b", "a side that is not a list adds nothing"},
    {"trl", "trl.but(xs)", "lst: all elements of xs but the last", "a new empty list"},
    {"trl", "trl.map(xs, f)", "lst: f(x) for each element x, in order (elements f appends are visited too)", "xs not a list or f not a function: a new empty list"},
    {"trl", "trl.fil(xs, f)", "lst: the elements x for which f(x) is true, in order", "xs not a list or f not a function: a new empty list"},
    {"trl", "trl.red(xs, init, f)", "the fold from the left: acc starts at init and becomes f(acc, x) for each element x", "xs not a list or f not a function: init"},
    {"trl", "trl.rev(xs)", "lst: the elements of xs in reverse order", "a new empty list"},
    {"trl", "trl.lst(v)", "v itself when it is a list, else a new list holding v", nullptr},
    // math
    {"math", "flo(x)", "num: the largest whole number not above x", "0"},
    {"math", "cel(x)", "num: the smallest whole number not below x", "0"},
    {"math", "abs(x)", "num: the absolute value of x", "0"},
    {"math", "sqr(x)", "num: the square root of x (not its square); NaN below 0", "0"},
    {"math", "pow(x, y)", "num: x raised to the power y", "a non-number counts as 0"},
    {"math", "log(x)", "num: the natural logarithm of x (-inf for 0, NaN below 0)", "0"},
    {"math", "max(a, b)", "num: a when a > b, else b", "a non-number counts as 0"},
    {"math", "min(a, b)", "num: a when a < b, else b", "a non-number counts as 0"},
    // sys
    {"sys", "__sys_read_file(path)", "str: the whole file (up to its first zero byte); raises \"__sys_read_file: cannot open file\"", "\"\""},
    {"sys", "__io_file_exists([path, ...])", "bool: something exists at path", "fls"},
    {"sys", "__sys_file_exists([path, ...])", "the same as __io_file_exists", "fls"},
    {"sys", "__sys_write_file(path, data)", "nil; writes data to path, replacing it; raises \"__sys_write_file: failed\"", "nil, nothing written"},
    {"sys", "__sys_append_file(path, data)", "nil; appends data to path, creating it; raises \"__sys_append_file: failed\" when it cannot be opened", "nil, nothing written"},
    {"sys", "__sys_read_dir(path)", "lst: the entry names, \".\" and \"..\" included, unsorted; empty when path cannot be read", "a new empty list"},
    {"sys", "__sys_stat(path)", "obj {size, mtime, is_dir}, or nil when path does not exist", "nil"},
    {"sys", "__sys_is_dir(path)", "bool: path is a directory", "fls"},
    {"sys", "__sys_mkdir(path)", "nil; makes one directory (mode 0755), ignoring failure", "nil"},
    {"sys", "__sys_remove(path)", "nil; removes a file or an empty directory, ignoring failure", "nil"},
    {"sys", "__sys_realpath(path)", "str: the absolute path with links, \".\" and \"..\" resolved; nil when that fails", "nil"},
    {"sys", "__sys_write_stdout(v, ...)", "nil; writes v rendered to standard output, with no newline", nullptr},
    {"sys", "__sys_read_line()", "str: the next line of standard input without its newline; \"\" at the end", nullptr},
    {"sys", "__sys_args(...)", "lst: under run, every command-line word (program, \"run\", file, arguments); else empty", nullptr},
    {"sys", "__sys_getenv(name)", "str: the environment variable's value, nil when unset", "nil"},
    {"sys", "__sys_exit(code, ...)", "never returns: ends the process with status code (low 8 bits); try does not stop it", "status 0"},
    {"sys", "__sys_getcwd(...)", "str: the working directory", nullptr},
    {"sys", "__sys_getpid(...)", "num: the process id", nullptr},
    {"sys", "__sys_time_ms(...)", "num: milliseconds since 1970, with a fraction", nullptr},
    {"sys", "__sys_sleep_ms(ms)", "nil; sleeps ms milliseconds (below 0: not at all)", "nil, no sleep"},
    {"sys", "__mem_gc_proc_run(...)", "nil; does nothing", nullptr},
    {"sys", "__mem_gc_proc_stats(...)", "nil; does nothing", nullptr},
    {"sys", "__mem_gc_proc_tune(...)", "nil; does nothing", nullptr},
    // unsupported: accepted so that code calling them runs on
    {"unsupported", "__sys_spawn(...)", "obj {err: \"spawn: not supported in seed\"}; starts nothing", nullptr},
    {"unsupported", "__sys_wait(...)", "nil", nullptr},
    {"unsupported", "__sys_chan_new(...)", "nil", nullptr},
    {"unsupported", "__sys_chan_send(...)", "nil", nullptr},
    {"unsupported", "__sys_chan_recv(...)", "obj {err: \"chan: not supported in seed\"}", nullptr},
    {"unsupported", "__sys_chan_close(...)", "nil", nullptr},
    {"unsupported", "hy_assert(...)", "the first argument unchanged (nil without one); checks nothing", nullptr},
    {"unsupported", "hy_rt_check(...)", "the first argument unchanged (nil without one)", nullptr},
    {"unsupported", "hy_sch_merge_defaults(...)", "the first argument unchanged (nil without one)", nullptr},
    {"unsupported", "hy_schema_fd_opt(...)", "the first argument unchanged (nil without one)", nullptr},
    {"unsupported", "hy_rt_match(...)", "the first argument unchanged (nil without one)", nullptr},
    {"unsupported", "obs_eng_trc_enter(...)", "nil", nullptr},
    {"unsupported", "obs_eng_trc_finish(...)", "nil", nullptr},
    {nullptr, nullptr, nullptr, nullptr},
};

void doc_name(const BuiltinDoc *d, char *out, size_t sz) {
  size_t n = strcspn(d->sig, "(");
  if (n >= sz) n = sz - 1;
  memcpy(out, d->sig, n);
  out[n] = 0;
}

const BuiltinDoc *builtin_doc(const char *name) {
  size_t n = strlen(name);
  for (const BuiltinDoc *d = builtin_docs; d->sig; d++)
    if (strncmp(d->sig, name, n) == 0 && d->sig[n] == '(') return d;
  return nullptr;
}
