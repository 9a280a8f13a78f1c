#!/usr/bin/env python3
"""user_install.py SOURCE_DIR BUILD_DIR: what a new user meets first: the command line's
conventions, the manual pages, and an installed orvex running a program that uses the
standard library from another directory, until make uninstall takes it away."""
import os
import re
import subprocess
import sys
import tempfile

failures = []


def check(ok, what):
    if not ok:
        failures.append(what)
        print("FAIL " + what)


def run(argv, **kw):
    return subprocess.run(argv, capture_output=True, text=True, timeout=120, **kw)


def command_line(orvex):
    for args in (["frob"], [], ["run"], ["--bogus"], ["help", "txt", "extra"]):
        p = run([orvex] + args)
        check(p.returncode == 2 and p.stdout == "" and p.stderr.startswith("orvex: "),
              f"usage error {args}: status {p.returncode}, stderr {p.stderr!r}")
    p = run([orvex, "run", "no-such-file.orv"])
    check(p.returncode == 1 and p.stderr == "orvex: cannot open no-such-file.orv\n", f"missing file: {p.stderr!r}")
    p = run([orvex, "--help"])
    check(p.returncode == 0 and all(c in p.stdout for c in ("run", "repl", "help")), "--help lists the commands")
    p = run([orvex, "--version"])
    lines = p.stdout.splitlines()
    check(p.returncode == 0 and re.fullmatch(r"orvex \d+\.\d+\.\d+", lines[0] if lines else "")
          and any(l.startswith("collector:") for l in lines), f"--version: {p.stdout!r}")


def manual_pages(source, orvex):
    pages = [os.path.join(source, "man", p) for p in ("orvex-min.1", "orvex.1", "orvex.7")]
    for page in pages:
        p = run(["groff", "-man", "-ww", "-z", page])
        check(p.returncode == 0 and p.stderr == "", f"{page} renders without warnings: {p.stderr}")
    # The reference names every builtin that help knows.
    reference = open(pages[2]).read().replace("\\-", "-").replace("\\e", "\\")
    names = []
    for family in ("core", "txt", "enc", "trl", "math", "sys", "unsupported"):
        out = run([orvex, "help", family]).stdout
        names += [l.split("(")[0] for l in out.splitlines() if l and not l.startswith(" ")]
    missing = [n for n in names if n + "(" not in reference]
    check(len(names) > 80 and not missing, f"orvex.7 misses builtins: {missing}")


def installed(source, build):
    with tempfile.TemporaryDirectory() as tmp:
        prefix, stage = os.path.join(tmp, "prefix"), os.path.join(tmp, "stage")
        p = run(["make", "-s", "-C", source, f"BUILD={build}", f"PREFIX={prefix}", "install"])
        check(p.returncode == 0, f"make install: {p.stderr}")
        want = ["bin/orvex", "bin/orvex-min", "share/man/man1/orvex.1", "share/man/man1/orvex-min.1",
                "share/man/man7/orvex.7", "share/orvex/lib/stdlib/strs.orv"]
        for f in want:
            check(os.path.isfile(os.path.join(prefix, f)), f"installed {f}")
        # From a directory far from both the source tree and the prefix.
        work = os.path.join(tmp, "work")
        os.mkdir(work)
        with open(os.path.join(work, "hello.orv"), "w") as f:
            f.write('use strs\nprn(title_case("hello, world"), pad_left(7, 3))\n')
        env = {k: v for k, v in os.environ.items() if k != "ORVEX_HOME"}
        p = run([os.path.join(prefix, "bin", "orvex"), "run", "hello.orv"], cwd=work, env=env)
        check(p.stdout == "Hello, World   7\n" and p.returncode == 0, f"installed orvex run: {p.stdout!r} {p.stderr!r}")
        p = run([os.path.join(prefix, "bin", "orvex"), "repl"], cwd=work, env=env, input="use fmt\nfixed(2.5, 2)\n")
        check(p.stdout == "2.50\n", f"installed orvex repl finds the library: {p.stdout!r} {p.stderr!r}")
        # orvex-min keeps its own rule: no home unless ORVEX_HOME says so.
        p = run([os.path.join(prefix, "bin", "orvex-min"), "run", "hello.orv"], cwd=work, env=env)
        check("use: cannot open lib/stdlib/strs.orv" in p.stderr, f"orvex-min has no default home: {p.stderr!r}")
        p = run(["man", "-l", "-Tutf8", os.path.join(prefix, "share/man/man7/orvex.7")])
        check("txt.sub" in p.stdout, "the installed orvex(7) opens with man")
        # DESTDIR stages the same tree under another root.
        p = run(["make", "-s", "-C", source, f"BUILD={build}", "PREFIX=/usr/x", f"DESTDIR={stage}", "install"])
        check(os.path.isfile(os.path.join(stage, "usr/x/bin/orvex")), "DESTDIR install")
        for root, pre in ((prefix, prefix), (stage, "/usr/x")):
            dest = {"DESTDIR": stage} if root == stage else {}
            p = run(["make", "-s", "-C", source, f"PREFIX={pre}", "uninstall"] + [f"{k}={v}" for k, v in dest.items()])
            left = [os.path.join(d, f) for d, _, fs in os.walk(root) for f in fs]
            check(p.returncode == 0 and not left, f"make uninstall leaves {left}")


if __name__ == "__main__":
    source, build = sys.argv[1], sys.argv[2]
    command_line(os.path.join(build, "orvex"))
    manual_pages(source, os.path.join(build, "orvex"))
    installed(source, build)
    sys.exit(1 if failures else 0)
