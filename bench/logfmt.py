# Log lines: formatted every round, counted and dropped.
import sys

n = int(sys.argv[1]) if len(sys.argv) > 1 else 100000


def main():
    levels = ["debug", "info", "warn", "error"]
    nbytes = 0
    errors = 0
    line = ""
    for i in range(n):
        lvl = levels[i % 4]
        line = f"[{lvl}] request {i} took {i * 37 % 1000} ms on /api/v{i % 3}/items/{i % 101}"
        nbytes += len(line)
        if line.startswith("[error]"):
            errors += 1
    print(nbytes)
    print(errors)
    print(line)


main()
