# Closures: a counter object whose methods close over it, and an adder, made every round.
import sys

n = int(sys.argv[1]) if len(sys.argv) > 1 else 100000


def make_counter(start):
    c = {"n": start}

    def add(k):
        c["n"] += k
        return c["n"]

    c["add"] = add
    return c


def adder(k):
    return lambda x: x + k


def main():
    acc = 0
    for i in range(n):
        c = make_counter(i % 100)
        f = adder(i % 7)
        c["add"](f(3))
        acc = (acc + c["add"](1)) % 1000000007
    print(acc)


main()
