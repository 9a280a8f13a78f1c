# Dicts as string-keyed maps: word counts over many distinct keys.
import sys

n = int(sys.argv[1]) if len(sys.argv) > 1 else 50000

seed = 12345


def next_rand(m):
    global seed
    seed = seed * 16807 % 2147483647
    return seed % m


syll = ["ka", "lo", "mi", "ren", "to", "vu", "sha", "pe", "qi", "zor"]


# words of one to three syllables plus a number: many keys, a few frequent ones
def make_word():
    w = syll[next_rand(10)]
    k = next_rand(3)
    while k > 0:
        w = w + syll[next_rand(10)]
        k -= 1
    m = 5 if next_rand(4) == 0 else 2000
    return w + str(next_rand(m))


def main():
    counts = {}
    for _ in range(n):
        w = make_word()
        c = counts.get(w)
        counts[w] = 1 if c is None else c + 1

    keys = list(counts)
    print(len(keys))
    best, bestn, sig = "", 0, 0
    for pos, k in enumerate(keys, 1):
        c = counts[k]
        if c > bestn:
            best = k
            bestn = c
        sig = (sig + c * pos + len(k)) % 1000000007
    print("%s %d" % (best, bestn))
    print(sig)

    # second pass: merge counts by first syllable into a small map
    groups = {}
    for k in keys:
        g = k[0:2]
        groups[g] = groups.get(g, 0) + counts[k]
    for g in groups:
        print("%s %d" % (g, groups[g]))


main()
