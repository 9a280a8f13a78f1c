# Fresh keys: a small object keyed by texts made that round, then dropped.
import sys

n = int(sys.argv[1]) if len(sys.argv) > 1 else 100000


def main():
    total = 0
    o = {}
    for i in range(n):
        o = {}
        o["user%d" % i] = i
        o["mail%d" % (i % 1000)] = 1
        total = (total + len(o) + o["user%d" % i]) % 1000000007
    print(total)
    print("[" + ", ".join(o) + "]")


main()
