#!/usr/bin/env python3
"""Runs one Orvex language test and compares it with the expectations in its comments.

A case is a file tests/lang/<area>/<name>.orv, or a folder whose entry is main.orv.
Directives, each on a comment line of the entry file:
  # expect: TEXT        one line of standard output, in order ("# expect:" alone: an empty line)
  # expect-err: TEXT    one line of standard error, in order
  # expect-status: N    exit status (0 when absent)
  # args: A B ...       extra words after the file on the command line
  # cmdline: WORDS      the whole command line after the program name, instead of "run FILE ARGS"
  # program: orvex      run the user-facing program (the runner's third argument) instead
  # env: NAME=VALUE     set a variable (VALUE may use {dir}, the case folder); "# env: NAME" unsets it
  # stdin: TEXT         one line of standard input
  # timeout: SECONDS    default 60
The program runs with the case's folder as working directory and its entry file named
relatively, so paths in messages do not depend on where the checkout lives.
"""
import difflib
import os
import subprocess
import sys


def parse(path):
    spec = {"out": [], "err": [], "status": 0, "args": [], "cmdline": None, "program": None,
            "env": {}, "unset": [], "stdin": [], "timeout": 60}
    with open(path, "rb") as f:
        text = f.read().decode("utf-8", "surrogateescape")
    for line in text.split("\n"):
        line = line.rstrip("\r")
        s = line.lstrip(" \t")
        if not s.startswith("# "):
            continue
        body = s[2:]
        key, sep, val = body.partition(":")
        if not sep or " " in key:
            continue
        if val.startswith(" "):
            val = val[1:]
        if key == "expect":
            spec["out"].append(val)
        elif key == "expect-err":
            spec["err"].append(val)
        elif key == "expect-status":
            spec["status"] = int(val)
        elif key == "args":
            spec["args"] += val.split()
        elif key == "cmdline":
            spec["cmdline"] = val.split()
        elif key == "program":
            spec["program"] = val
        elif key == "env":
            name, eq, value = val.partition("=")
            if eq:
                spec["env"][name] = value
            else:
                spec["unset"].append(name)
        elif key == "stdin":
            spec["stdin"].append(val)
        elif key == "timeout":
            spec["timeout"] = float(val)
    return spec


# AddressSanitizer warns when a program ends from very deep recursion; the
# warning is about the sanitizer, not the program.
ASAN_NOISE = ("WARNING: ASan is ignoring requested __asan_handle_no_return",
              "False positive error reports may follow",
              "For details see https://github.com/google/sanitizers/issues/189")


def lines(data):
    text = data.decode("utf-8", "surrogateescape")
    out = text.split("\n")
    if out and out[-1] == "":
        out.pop()
    return [l for l in out if not any(n in l for n in ASAN_NOISE)]


def main():
    binary, case = os.path.abspath(sys.argv[1]), os.path.abspath(sys.argv[2])
    folder = os.path.dirname(case)
    spec = parse(case)
    if spec["program"] == "orvex":
        binary = os.path.abspath(sys.argv[3])
    env = dict(os.environ)
    env.pop("ORVEX_HOME", None)
    for name in spec["unset"]:
        env.pop(name, None)
    for name, value in spec["env"].items():
        env[name] = value.replace("{dir}", folder)
    if spec["cmdline"] is not None:
        argv = [binary] + spec["cmdline"]
    else:
        argv = [binary, "run", os.path.basename(case)] + spec["args"]
    stdin = "".join(l + "\n" for l in spec["stdin"]).encode()
    try:
        proc = subprocess.run(argv, cwd=folder, env=env, input=stdin, capture_output=True,
                              timeout=spec["timeout"])
    except subprocess.TimeoutExpired:
        print(f"FAIL {case}: timed out after {spec['timeout']} s")
        return 1
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
        print(f"FAIL {case}")
        return 1
    return 0


if __name__ == "__main__":
    sys.exit(main())
