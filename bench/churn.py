# Churn: a small list, an object and a joined text made every round, none kept.
import sys

n = int(sys.argv[1]) if len(sys.argv) > 1 else 125000


def main():
    total = 0
    s = ""
    for i in range(n):
        xs = [i, i + 1, i % 7]
        o = {"id": i, "tag": "r" + str(i % 100)}
        s = ",".join(str(x) for x in xs)
        total = (total + len(s) + len(o["tag"]) + xs[2]) % 1000000007
    print(total)
    print(s)


main()
