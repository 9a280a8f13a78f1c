#!/usr/bin/env python3
"""Plants typical mistakes in a copy of the interpreter, one at a time, and
tells which the language cases catch: tools/plant_faults.py [NAME ...]

The copy in $PLANT_DIR (default /tmp/orvex-plant) is synced and rebuilt
incrementally (orvex-min only: runs of orvex are skipped); $JOBS cases run at
once (default 2). The first failing case catches the fault; last time's
catcher runs first. Status 0 when all are caught.
"""
import concurrent.futures
import glob
import io
import json
import os
import subprocess
import sys
import threading
import time

# Each fault: "NAME FILE" (FILE under seed/), then its text as written ("-"
# lines) and as mistaken ("+" lines); the text occurs once in its file. A
# fault whose text has gone is reported as stale, to be written anew.
FAULT_LIST = r"""
le-as-lt eval/eval_internal.h
-case 'l': return x <= y;
+case 'l': return x < y;
plus-binds-tight frontend/parse_expr.cpp
-case '+': case '-': return 4;
+case '+': case '-': return 5;
index-past-end eval/operands.cpp
-if (i < 0 || i >= len) return g_nil;
+if (i < 0 || i > len) return g_nil;
but-keeps-last builtins/list_math_builtins.cpp
-i < xs->lst->len - 1;
+i < xs->lst->len;
has-reads-past-length builtins/text_builtins.cpp
-strstr(text_cstr(args[0]), text_cstr(args[1]))
+strstr(args[0]->s, text_cstr(args[1]))
sub-start-unclamped builtins/text_builtins.cpp
-  if (a < 0) a = 0;
-  int32_t b = s->len;
+  int32_t b = s->len;
rev-without-guard builtins/list_math_builtins.cpp
-  if (!is_list(xs)) return r;
-  for (int i = xs->lst->len - 1;
+  for (int i = xs->lst->len - 1;
read-keeps-ownership eval/values.cpp
-static Val *id_value(Node *n, Env *env) { return given_away(eval_id(n, env)); }
+static Val *id_value(Node *n, Env *env) { return eval_id(n, env); }
module-copy-keeps-ownership driver/modules.cpp
-env_bind(to, from->keys[i], given_away(from->vals[i]));
+env_bind(to, from->keys[i], from->vals[i]);
lent-owned-though-captured eval/calls.cpp
-args[i]->own = captured ? 0 : lent_prev[i];
+args[i]->own = lent_prev[i];
release-recycles-lent runtime/runtime.h
-if (v->type == V_NUM && v->own == NUM_OWNED) num_recycle(v);
+if (v->type == V_NUM && v->own) num_recycle(v);
store-ignores-owner eval/stores.cpp
-if ((*slot)->type == V_NUM && (*slot)->own == NUM_OWNED) {
+if ((*slot)->type == V_NUM) {
closure-not-captured eval/values.cpp
-  v->fn = f;
-  env->captured = 1;
-  return v;
+  v->fn = f;
+  return v;
field-key-unchecked runtime/runtime.h
-s < (uint32_t)o->len && o->keys[s] == sym
+s < (uint32_t)o->len
slot-past-scope-length eval/eval_internal.h
-n->bind.depth == 0 && slot < (uint32_t)env->len && env->keys[slot] == n->id
+n->bind.depth == 0 && env->keys[slot] == n->id
outer-slot-despite-local eval/eval_internal.h
-if (p && !(env->names & name_bit(n->id)) && slot
+if (p && slot
remembered-scope-unchecked runtime/env.cpp
-if ((s->names & bit) && env_find(s, sym) >= 0) goto search;
+continue;
call-scope-mask-zero eval/calls.cpp
-    scope->names = f->param_names;
+    scope->names = 0;
lent-restored-though-given-away eval/calls.cpp
-if (args[i]->own == NUM_LENT) args[i]->own = captured ? 0 : lent_prev[i];
+args[i]->own = captured ? 0 : lent_prev[i];
variable-read-made-here eval/values.cpp
-return n && (n->type == N_NUM || n->type == N_BIN ||
+return n && (n->type == N_NUM || n->type == N_BIN || n->type == N_ID ||
fast-path-despite-text eval/operands.cpp
-if (__builtin_expect(a != nullptr || b != nullptr, 0)) return bin_apply(n, OP, a, x, b, y, out);
+if (__builtin_expect(a != nullptr && b != nullptr, 0)) return bin_apply(n, OP, a, x, b, y, out);
self-store-assumes-number eval/stores.cpp
-if (!slot || (*slot)->type != V_NUM || fetch<RK>
+if (!slot || fetch<RK>
error-before-output runtime/errors.cpp
-  out_flush();
-  fprintf(stderr, "error: %s\n", msg);
+  fprintf(stderr, "error: %s\n", msg);
small-stack-unlimited driver/stack.cpp
-  set_stack_limit(size);
-  orvex_exit(entry(argc, argv));
+  orvex_exit(entry(argc, argv));
try-depth-kept builtins/core_builtins.cpp
-  } catch (OrvexError &e) {
-    g_try_depth--;
+  } catch (OrvexError &e) {
cycle-by-text-only driver/modules.cpp
-if (same_file || strcmp(f.path, path) == 0)
+if (strcmp(f.path, path) == 0)
append-over-longer-text runtime/value.cpp
-  if (h->used != len) return nullptr;  // other bytes follow a's already
-  if (h->cap - len >= n) {
+  if (h->cap - len >= n) {
keys-unscanned runtime/value.cpp
-o->keys = (const char **)xgrow(o->keys, (size_t)o->len, (size_t)ncap, sizeof(char *), heap, false);
+o->keys = (const char **)xgrow(o->keys, (size_t)o->len, (size_t)ncap, sizeof(char *), heap, true);
tombstone-ends-chain runtime/alloc.cpp
-      if (e->weak) {
+      if (false) {
negative-zero-lost eval/eval_internal.h
-      return r == 0 ? std::copysign(0.0, x) : (double)r;
+      return (double)r;
exit-status-unsaturated builtins/host_builtins.cpp
-num_to_i32(args[0]->n) : 0);
+(int)args[0]->n : 0);
"""


def faults():
    out = []
    for line in FAULT_LIST.strip("\n").split("\n"):
        if line[0] in "-+":
            out[-1][2 if line[0] == "-" else 3].append(line[1:])
        else:
            out.append(line.split() + [[], []])
    return [(name, path, "\n".join(old), "\n".join(new)) for name, path, old, new in out]


ROOT = os.path.dirname(os.path.dirname(os.path.abspath(__file__)))
WORK = os.environ.get("PLANT_DIR", "/tmp/orvex-plant")
SRC, BUILD = os.path.join(WORK, "src"), os.path.join(WORK, "build")
JOBS = int(os.environ.get("JOBS", "2"))
LANG = os.path.join(SRC, "tests", "lang")


def sync():
    """Copies what differs (with a fresh time, for make) and drops what is gone."""
    wanted = {os.path.join(d, f) for top in ("seed", "tests", "examples")
              for d, _, fs in os.walk(os.path.join(ROOT, top)) for f in fs}
    wanted = {os.path.relpath(p, ROOT) for p in wanted} | {"CMakeLists.txt"}
    for rel in wanted:
        data, dst = open(os.path.join(ROOT, rel), "rb").read(), os.path.join(SRC, rel)
        if not os.path.exists(dst) or open(dst, "rb").read() != data:
            os.makedirs(os.path.dirname(dst), exist_ok=True)
            open(dst, "wb").write(data)
    for d, _, fs in os.walk(SRC):
        for f in fs:
            if os.path.relpath(os.path.join(d, f), SRC) not in wanted:
                os.remove(os.path.join(d, f))


def build():
    if not os.path.exists(os.path.join(BUILD, "CMakeCache.txt")):
        subprocess.run(["cmake", "-S", SRC, "-B", BUILD, "-DCMAKE_BUILD_TYPE=Release"],
                       check=True, stdout=subprocess.DEVNULL)
    return subprocess.run(["cmake", "--build", BUILD, "--target", "orvex-min", "-j", str(JOBS)],
                          capture_output=True).returncode == 0


def run_suite(first):
    """The first failing case, or None when every case passes."""
    sys.path.insert(0, os.path.join(SRC, "tests"))
    import run_lang
    binary = os.path.join(BUILD, "orvex-min")
    cases = [p for p in glob.glob(os.path.join(LANG, "**", "*.orv"), recursive=True)
             if os.path.relpath(p, LANG).count(os.sep) == 1 or p.endswith("/main.orv")]
    failed, stop = [], threading.Event()

    def one(case):
        if not stop.is_set() and any(not spec["program"] and not run_lang.check(binary, case, spec)
                                     for spec in run_lang.parse(case)):
            failed.append(case)
            stop.set()

    quiet, sys.stdout = sys.stdout, io.StringIO()  # the runner's diffs
    try:
        with concurrent.futures.ThreadPoolExecutor(JOBS) as pool:
            list(pool.map(one, sorted(cases, key=lambda c: (c != first, "limits" in c, c))))
    finally:
        sys.stdout = quiet
    return failed[0] if failed else None


def plant(fault, caught):
    """'caught', 'missed', 'stale' or 'no build', and the catching case."""
    name, rel, old, new = fault
    path = os.path.join(SRC, "seed", rel)
    text = open(path).read()
    if text.count(old) != 1:
        return "stale", ""
    try:
        open(path, "w").write(text.replace(old, new))
        case = run_suite(caught.get(name)) if build() else "no build"
    finally:
        open(path, "w").write(text)
    if case == "no build":
        return case, ""
    if case:
        caught[name] = case
        return "caught", os.path.relpath(case, LANG)
    return "missed", ""


def main():
    os.makedirs(WORK, exist_ok=True)
    memo = os.path.join(WORK, "caught.json")
    caught = json.load(open(memo)) if os.path.exists(memo) else {}
    chosen = [f for f in faults() if len(sys.argv) < 2 or f[0] in sys.argv[1:]]
    sync()
    if not build() or run_suite(None):
        print("the unchanged tree does not build or pass its language cases")
        return 2
    print(f"{'fault':28} {'file':32} {'result':8} caught by")
    missed = 0
    for fault in chosen:
        t0 = time.time()
        result, case = plant(fault, caught)
        missed += result != "caught"
        print(f"{fault[0]:28} {fault[1]:32} {result:8} {case} ({time.time() - t0:.0f} s)", flush=True)
        json.dump(caught, open(memo, "w"))
    print(f"{len(chosen) - missed} of {len(chosen)} caught")
    return 1 if missed else 0


if __name__ == "__main__":
    sys.exit(main())
