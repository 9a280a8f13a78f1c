# Recursive calls: naive Fibonacci plus the Takeuchi function.
import sys

n = int(sys.argv[1]) if len(sys.argv) > 1 else 32


def fib(k):
    if k < 2:
        return k
    return fib(k - 1) + fib(k - 2)


def tak(x, y, z):
    if y < x:
        return tak(tak(x - 1, y, z), tak(y - 1, z, x), tak(z - 1, x, y))
    return z


print(fib(n))
print(tak(n // 2 + 2, n // 3 + 2, n // 6))
