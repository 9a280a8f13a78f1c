# Temporaries: small vectors and texts made by helper calls every round, dropped.
import sys

n = int(sys.argv[1]) if len(sys.argv) > 1 else 100000


def vadd(a, b):
    return [a[0] + b[0], a[1] + b[1]]


def vscale(a, k):
    return [a[0] * k, a[1] * k]


def main():
    acc = 0
    key = ""
    for i in range(n):
        p = vadd([i % 10, i % 7], vscale([1, 2], i % 5))
        key = str(p[0]) + ":" + str(p[1])
        acc = (acc + p[0] * 3 + p[1] + len(key)) % 1000000007
    print(acc)
    print(key)


main()
