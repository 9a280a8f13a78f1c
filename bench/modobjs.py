# Module objects: a function of another file returns a fresh object every round.
import sys

from modobjs_mod import point

n = int(sys.argv[1]) if len(sys.argv) > 1 else 100000


def main():
    acc = 0
    p = None
    for i in range(n):
        p = point(i % 50, i % 30)
        acc = (acc + p["x"] * p["y"] + len(p["label"])) % 1000000007
    print(acc)
    print(p["label"])


main()
