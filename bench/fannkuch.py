# fannkuch-redux: permutations and prefix reversals in place.
import sys

n = int(sys.argv[1]) if len(sys.argv) > 1 else 9


def fannkuch(n):
    perm = [0] * n
    perm1 = list(range(n))
    count = [0] * n
    maxflips = checksum = permcount = 0
    r = n
    while True:
        while r != 1:
            count[r - 1] = r
            r -= 1
        i = 0
        while i < n:
            perm[i] = perm1[i]
            i += 1
        flips = 0
        k = perm[0]
        while k != 0:
            lo, hi = 0, k
            while lo < hi:
                t = perm[lo]
                perm[lo] = perm[hi]
                perm[hi] = t
                lo += 1
                hi -= 1
            flips += 1
            k = perm[0]
        if flips > maxflips:
            maxflips = flips
        if permcount % 2 == 0:
            checksum += flips
        else:
            checksum -= flips
        # next permutation in the order of the counting scheme
        while True:
            if r == n:
                return checksum, maxflips
            perm0 = perm1[0]
            i = 0
            while i < r:
                perm1[i] = perm1[i + 1]
                i += 1
            perm1[r] = perm0
            count[r] -= 1
            if count[r] > 0:
                break
            r += 1
        permcount += 1


checksum, maxflips = fannkuch(n)
print(checksum)
print("Pfannkuchen(%d) = %d" % (n, maxflips))
