# List pipelines: map, filter and fold with closures that capture variables.
import sys
from functools import reduce

n = int(sys.argv[1]) if len(sys.argv) > 1 else 20000


def adder(k):
    return lambda x: x + k


def divisible(d):
    return lambda x: x % d == 0


def main():
    xs = list(range(n))
    total = 0
    for r in range(10):
        ys = list(map(lambda x: (x * 7 + r) % 1000, xs))
        zs = list(filter(divisible(3), map(adder(r), ys)))
        s = reduce(lambda a, b: a + b, zs, 0)
        m = reduce(lambda a, b: b if b > a else a, ys, 0)
        total = (total + s * 13 + m + len(zs)) % 1000000007
    print(total)

    pairs = list(map(lambda x: [x, x * x % 97], xs))
    odd = list(filter(lambda p: p[1] % 2 == 1, pairs))
    print(len(odd))
    print(reduce(lambda a, p: (a + p[0] * p[1]) % 1000000007, odd, 0))
    print(reduce(lambda a, x: (a * 3 + x) % 1000003, reversed(xs + xs), 0))


main()
