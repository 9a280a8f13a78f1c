# List index reads and writes: the sieve of Eratosthenes, run a few times.
import sys

n = int(sys.argv[1]) if len(sys.argv) > 1 else 300000


def sieve(lim):
    flags = []
    i = 0
    while i <= lim:
        flags.append(True)
        i += 1
    count = 0
    total = 0
    i = 2
    while i <= lim:
        if flags[i]:
            count += 1
            total += i
            j = i * i
            while j <= lim:
                flags[j] = False
                j += i
        i += 1
    return [count, total]


r = None
rounds = 0
while rounds < 4:
    r = sieve(n - rounds)
    rounds += 1
print(r[0])
print(r[1])
