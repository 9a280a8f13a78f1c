# Dicts holding closures as methods: counters and shapes, called through fields.
import sys

n = int(sys.argv[1]) if len(sys.argv) > 1 else 20000


def make_counter(start):
    c = {"n": start, "hits": 0}

    def add(k):
        c["n"] = (c["n"] + k) % 1000003
        c["hits"] = c["hits"] + 1
        return c["n"]

    c["add"] = add
    c["get"] = lambda: c["n"]
    return c


def make_rect(w, h):
    s = {"kind": "rect", "w": w, "h": h}
    s["area"] = lambda: s["w"] * s["h"]

    def grow(d):
        s["w"] = s["w"] + d
        s["h"] = s["h"] + d
        return s

    s["grow"] = grow
    return s


def make_tri(b, h):
    s = {"kind": "tri", "b": b, "h": h}
    s["area"] = lambda: s["b"] * s["h"] // 2

    def grow(d):
        s["b"] = s["b"] + d
        return s

    s["grow"] = grow
    return s


def main():
    shapes = []
    for i in range(100):
        if i % 3 == 0:
            shapes.append(make_tri(i % 17 + 1, i % 11 + 2))
        else:
            shapes.append(make_rect(i % 13 + 1, i % 7 + 1))

    counters = [make_counter(0), make_counter(7), make_counter(11)]
    total = 0
    for step in range(n):
        s = shapes[step % 100]
        a = s["area"]()
        c = counters[step % 3]
        c["add"](a)
        if step % 1000 == 999:
            s["grow"](1)
        total = (total + c["get"]()) % 1000000007

    print(total)
    for c in counters:
        print("%d after %d calls" % (c["get"](), c["hits"]))
    tris = area = 0
    for s in shapes:
        if s["kind"] == "tri":
            tris += 1
        area += s["area"]()
    print("%d triangles, total area %d" % (tris, area))


main()
