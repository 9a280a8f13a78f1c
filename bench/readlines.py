# File lines: a generated file of 1000 lines read again and again, split into fields.
import os
import sys

n = int(sys.argv[1]) if len(sys.argv) > 1 else 100000


def main():
    path = "/tmp/orvex-bench-lines-%d.csv" % os.getpid()
    with open(path, "w") as out:
        for i in range(1000):
            out.write("%d,item%d,%d,%d\n" % (i, i % 37, i * 7 % 101, i % 13))
    total = 0
    seen = 0
    while seen < n:
        with open(path) as f:
            for ln in f:
                fields = ln.rstrip("\n").split(",")
                total = (total + int(fields[2]) * int(fields[3]) + len(fields[1])) % 1000000007
                seen += 1
    os.remove(path)
    print(seen)
    print(total)


main()
