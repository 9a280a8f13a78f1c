# Tight while loops: modular sums, integer division and Euclid's gcd.
import sys

n = int(sys.argv[1]) if len(sys.argv) > 1 else 1000000


def main():
    s = 0
    i = 0
    while i < n:
        s = (s + i * i % 7 + i // 3) % 1000003
        i += 1
    print(s)

    # gcd of every a below n / 10 with a fixed prime, and a digit-sum loop
    g = 0
    d = 0
    a = 1
    m = n // 10
    while a < m:
        x = a * 31 + 7
        y = 7919
        while y > 0:
            t = x % y
            x = y
            y = t
        g += x
        k = a
        while k > 0:
            d += k % 10
            k = k // 10
        a += 1
    print(g)
    print(d)


main()
