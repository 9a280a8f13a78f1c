// The dispatcher: one table from names to rows, with the family prefixes last.
#include <cstring>
#include <string_view>
#include <unordered_map>

#include "builtins.h"

// No name is tested twice and no exact name begins with an unsupported
// prefix, so a hash of exact names followed by the prefix test gives the
// same answer as walking the ordered chain.
static std::unordered_map<std::string_view, const BuiltinRow *> *g_rows;
const BuiltinRow *const builtin_tables[] = {core_builtins, list_math_builtins, text_builtins,
                                            host_builtins, unsupported_builtins, nullptr};

void builtin_each(void (*visit)(const BuiltinRow *row, void *ctx), void *ctx) {
  for (const BuiltinRow *const *table = builtin_tables; *table; table++)
    for (const BuiltinRow *r = *table; r->name; r++) visit(r, ctx);
}

static void rows_init() {
  g_rows = new std::unordered_map<std::string_view, const BuiltinRow *>();
  builtin_each([](const BuiltinRow *r, void *) { g_rows->emplace(r->name, r); }, nullptr);
}

// In inert host mode, host builtins that touch files, the environment, standard
// input, the clock's sleep or the exit status answer nil instead.
static bool inert_row(const BuiltinRow *r) {
  static const char *const harmless[] = {"__sys_write_stdout", "__sys_args", "__sys_getpid",
                                         "__sys_time_ms", "__sys_getcwd", nullptr};
  bool host = false;
  for (const BuiltinRow *h = host_builtins; h->name; h++)
    if (h == r) host = true;
  if (!host) return false;
  for (const char *const *n = harmless; *n; n++)
    if (strcmp(*n, r->name) == 0) return false;
  return true;
}

fnptr builtin_lookup(const char *name, int nargs) {
  if (!g_rows) rows_init();
  auto it = g_rows->find(name);
  if (it != g_rows->end()) {
    const BuiltinRow *r = it->second;
    bool fits = nargs >= r->min_args && (r->max_args < 0 || nargs <= r->max_args);
    if (!fits) return nullptr;
    return g_host_inert && inert_row(r) ? builtin_nil : r->fn;
  }
  for (const char *const *p = unsupported_prefixes; *p; p++)
    if (strncmp(name, *p, strlen(*p)) == 0) return builtin_nil;
  return nullptr;
}

Val *builtin_nil(Val **, int) { return g_nil; }
