// Families only the full runtime provides: accepted by name, answering a
// fixed harmless value without doing any work.
#include "builtins.h"

static Val *err_object(const char *msg) {
  Val *o = val_obj();
  obj_set(o, "err", val_str(msg));
  return o;
}

static Val *b_spawn(Val **, int) { return err_object("spawn: not supported in seed"); }
static Val *b_chan_recv(Val **, int) { return err_object("chan: not supported in seed"); }
static Val *b_first_arg(Val **args, int nargs) { return nargs ? args[0] : g_nil; }

// Matched against as many leading bytes as each has, so a name equal to a
// prefix matches too.
const char *const unsupported_prefixes[] = {
    "__http_", "__net_",    "__sys_tcp_", "__sys_udp_", "__cry_",  "__buf_",
    "__anon_", "__obs_",    "__adb_",     "__frida_",   "__c2_",   "__arn_",
    "__native_", "__acme_", "__rex_",     "__mmap_",    nullptr,
};

const BuiltinRow unsupported_builtins[] = {
    {"__sys_spawn", 0, -1, b_spawn},
    {"__sys_wait", 0, -1, builtin_nil},
    {"__sys_chan_new", 0, -1, builtin_nil},
    {"__sys_chan_send", 0, -1, builtin_nil},
    {"__sys_chan_recv", 0, -1, b_chan_recv},
    {"__sys_chan_close", 0, -1, builtin_nil},
    {"hy_assert", 0, -1, b_first_arg},
    {"hy_rt_check", 0, -1, b_first_arg},
    {"hy_sch_merge_defaults", 0, -1, b_first_arg},
    {"hy_schema_fd_opt", 0, -1, b_first_arg},
    {"hy_rt_match", 0, -1, b_first_arg},
    {"obs_eng_trc_enter", 0, -1, builtin_nil},
    {"obs_eng_trc_finish", 0, -1, builtin_nil},
    {"__mem_gc_proc_run", 0, -1, builtin_nil},
    {"__mem_gc_proc_stats", 0, -1, builtin_nil},
    {"__mem_gc_proc_tune", 0, -1, builtin_nil},
    {nullptr, 0, 0, nullptr},
};
