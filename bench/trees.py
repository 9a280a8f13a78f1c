# Trees: a small tree of objects built, summed and dropped every round.
import sys

n = int(sys.argv[1]) if len(sys.argv) > 1 else 100000


def build(d, v):
    if d == 0:
        return None
    return {"v": v, "l": build(d - 1, v * 2), "r": build(d - 1, v * 2 + 1)}


def total(t):
    if t is None:
        return 0
    return t["v"] + total(t["l"]) + total(t["r"])


def main():
    acc = 0
    for i in range(n):
        acc = (acc + total(build(3, i % 10))) % 1000000007
    print(acc)


main()
