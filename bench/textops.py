# Text operations over generated text: join, split, replace, slice and search.
import sys

n = int(sys.argv[1]) if len(sys.argv) > 1 else 20000

seed = 42


def next_rand(m):
    global seed
    seed = seed * 16807 % 2147483647
    return seed % m


def main():
    # n words of 12 per line
    lines = []
    line = []
    for _ in range(n):
        line.append("w" + str(next_rand(300)))
        if len(line) == 12:
            lines.append(" ".join(line))
            line = []
    lines.append(" ".join(line))
    doc = "\n".join(lines)
    print(len(doc))

    words = found = acc = 0
    for ln in doc.split("\n"):
        ws = ln.split(" ")
        words += len(ws)
        p = ln.find("w7")
        if p >= 0:
            found += 1
            tail = ln[p:p + 6]
            acc = (acc + p * 31 + len(tail)) % 1000003
        q = ln.find(" w29 ")
        if q >= 0:
            acc = (acc + q) % 1000003
        head = ln[0:8]
        acc = (acc + len(head.replace("w", "wx"))) % 1000003
    print(words)
    print(found)
    print(acc)

    rep = doc.replace("w1", "<one>")
    rep = rep.replace(" ", "")
    print(len(rep))
    print(len(rep.split("<one>")))
    print(rep[10:30])


main()
