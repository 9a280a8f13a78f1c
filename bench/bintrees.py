# binary-trees: many short-lived trees of two-element lists.
import sys

n = int(sys.argv[1]) if len(sys.argv) > 1 else 12


def make(d):
    if d == 0:
        return [None, None]
    return [make(d - 1), make(d - 1)]


def check(t):
    if t[0] is None:
        return 1
    return 1 + check(t[0]) + check(t[1])


def main():
    mindepth = 4
    maxdepth = max(mindepth + 2, n)

    stretch = maxdepth + 1
    print("stretch tree of depth %d check: %d" % (stretch, check(make(stretch))))

    longlived = make(maxdepth)

    d = mindepth
    while d <= maxdepth:
        iters = 1
        k = 0
        while k < maxdepth - d + mindepth:
            iters = iters * 2
            k += 1
        total = 0
        i = 0
        while i < iters:
            total += check(make(d))
            i += 1
        print("%d trees of depth %d check: %d" % (iters, d, total))
        d += 2

    print("long lived tree of depth %d check: %d" % (maxdepth, check(longlived)))


main()
