#!/usr/bin/env python3
"""Runs one Orvex language case (tests/lang/<area>/<name>.orv, or a folder with
main.orv) and compares it with the directives on its comment lines:
  # expect: TEXT / # expect-err: TEXT   one line of stdout / stderr, in order
  # expect-status: N    exit status (default 0)
  # args: A B ...       words after "run FILE";  # cmdline: WORDS replaces "run FILE ARGS"
  # env: NAME=VALUE     ({dir} is the case folder); "# env: NAME" unsets it
  # stdin: TEXT         one line of input;  # timeout: SECONDS (default 60)
  # program: orvex      run the orvex built beside orvex-min
  # stdout: WHERE       full (/dev/full), closed, first-line (a reader that keeps one
                        line, then closes the pipe) or with-stderr (one pipe for both)
  # needs: collector    skipped without the collector;  # vlimit: KB  caps the address space
  # run: WORDS          a further run with these arguments: it keeps the setup above the
                        first "run" line; the expectations after it are its own
The program runs in the case's folder with its entry named relatively, so
messages do not depend on where the checkout lives.
"""
import copy
import resource
import difflib
import functools
import os
import subprocess
import sys


# Checking builds (frequent collection, sanitizers) may ask for more time.
SLOW = float(os.environ.get("ORVEX_TEST_SLOW", "1"))


def parse(path):
    spec = {"out": [], "err": [], "status": 0, "args": [], "cmdline": None,
            "env": {}, "unset": [], "stdin": [], "timeout": 60 * SLOW, "program": None, "stdout": None,
            "vlimit": None, "needs": None}
    runs = [spec]
    with open(path, "rb") as f:
        text = f.read().decode("utf-8", "surrogateescape")
    for line in text.split("\n"):
        s = line.rstrip("\r").lstrip(" \t")
        key, sep, val = s[2:].partition(":")
        if not s.startswith("# ") or not sep or " " in key:
            continue
        val = val[1:] if val.startswith(" ") else val
        if key in ("expect", "expect-err"):
            spec["out" if key == "expect" else "err"].append(val)
        elif key in ("expect-status", "vlimit"):
            spec[key.replace("expect-", "")] = int(val) * (1024 if key == "vlimit" else 1)
        elif key in ("args", "cmdline"):
            spec[key] = (spec[key] if key == "args" else []) + val.split()
        elif key == "env":
            name, eq, value = val.partition("=")
            spec["env"].update({name: value}) if eq else spec["unset"].append(name)
        elif key in ("stdin", "timeout"):
            spec["stdin"].append(val) if key == "stdin" else spec.update(timeout=float(val) * SLOW)
        elif key in ("program", "stdout", "needs"):
            spec[key] = val
        elif key == "run":
            spec = copy.deepcopy(runs[0])
            spec.update(out=[], err=[], status=0, args=val.split())
            runs.append(spec)
    return runs


# AddressSanitizer warns when a program ends from very deep recursion; the
# warning is about the sanitizer, not the program.
ASAN_NOISE = ("WARNING: ASan is ignoring requested __asan_handle_no_return",
              "False positive error reports may follow",
              "For details see https://github.com/google/sanitizers/issues/189")


def lines(data):
    out = data.decode("utf-8", "surrogateescape").removesuffix("\n").split("\n") if data else []
    return [l for l in out if not any(n in l for n in ASAN_NOISE)]


def execute(argv, folder, env, stdin, spec):
    """The finished process (its stdout as the reader saw it), or None on a time-out."""
    where, limit = spec["stdout"], spec["vlimit"]
    kw = dict(cwd=folder, env=env, input=stdin, stderr=subprocess.PIPE, timeout=spec["timeout"])
    try:
        if where == "first-line":
            # The program inherits Python's ignored SIGPIPE: only its own handling
            # of the failed write can end it.
            r, w = os.pipe()
            reader = subprocess.Popen(["head", "-n", "1"], stdin=r, stdout=subprocess.PIPE)
            os.close(r)
            try:
                proc = subprocess.run(argv, stdout=w, restore_signals=False, **kw)
            finally:
                os.close(w)
            proc.stdout = reader.communicate()[0]
        elif where in ("full", "closed"):
            with open("/dev/full", "wb") as full:
                proc = subprocess.run(argv, stdout=full, **kw,
                                      preexec_fn=(lambda: os.close(1)) if where == "closed" else None)
            proc.stdout = b""
        else:
            if where == "with-stderr":
                kw["stderr"] = subprocess.STDOUT
            cap = (lambda: resource.setrlimit(resource.RLIMIT_AS, (limit, limit))) if limit else None
            proc = subprocess.run(argv, stdout=subprocess.PIPE, preexec_fn=cap, **kw)
            proc.stderr = proc.stderr or b""
        return proc
    except subprocess.TimeoutExpired:
        return None


@functools.lru_cache
def address_checked(binary):
    with open(binary, "rb") as f:
        return b"__asan_init" in f.read()


def check(binary, case, spec):
    folder = os.path.dirname(case)
    env = {k: v for k, v in os.environ.items() if k not in spec["unset"] + ["ORVEX_HOME"]}
    env.update({name: value.replace("{dir}", folder) for name, value in spec["env"].items()})
    if spec["program"]:
        binary = os.path.join(os.path.dirname(binary), spec["program"])
    words = spec["cmdline"] if spec["cmdline"] is not None else ["run", os.path.basename(case)] + spec["args"]
    argv = [binary] + words
    label = " ".join([os.path.basename(binary)] + argv[1:])
    if spec["vlimit"] and address_checked(binary):
        print(f"skipped {case} ({label}): address space capped")
        return True
    if spec["stdout"]:
        label += f", stdout {spec['stdout']}"
    stdin = "".join(l + "\n" for l in spec["stdin"]).encode()
    proc = execute(argv, folder, env, stdin, spec)
    if proc is None:
        print(f"FAIL {case} ({label}): timed out after {spec['timeout']} s")
        return False
    ok = True
    for what, want, got in (("stdout", spec["out"], lines(proc.stdout)),
                            ("stderr", spec["err"], lines(proc.stderr))):
        if want != got:
            ok = False
            print(f"--- {what} differs (expected -, actual +)")
            for d in difflib.unified_diff(want, got, "expected", "actual", lineterm="", n=2):
                print(d)
    if proc.returncode != spec["status"]:
        ok = False
        print(f"--- exit status: expected {spec['status']}, actual {proc.returncode}")
    if not ok:
        print(f"FAIL {case} ({label})")
    return ok


def main():
    binary, case = os.path.abspath(sys.argv[1]), os.path.abspath(sys.argv[2])
    specs = parse(case)
    if os.environ.get("ORVEX_TEST_NO_COLLECTOR") and any(spec["needs"] == "collector" for spec in specs):
        print(f"SKIP {case}: it needs the collector")
        return 77
    results = [check(binary, case, spec) for spec in specs]
    return 0 if all(results) else 1

if __name__ == "__main__":
    sys.exit(main())
