# A tokenizer scanning generated Orvex-like text byte by byte.
import sys

n = int(sys.argv[1]) if len(sys.argv) > 1 else 5000

seed = 7


def next_rand(m):
    global seed
    seed = seed * 16807 % 2147483647
    return seed % m


names = ["x", "total", "i", "count", "if", "whl", "ret", "push", "items", "_tmp"]
opers = ["=", "+", "-", "*", "==", "<=", "!=", "(", ")", "[", "]", ",", ":", ">", "%"]


def generate():
    # n lines of a few tokens each, some ending in a comment
    pieces = []
    for _ in range(n):
        k = next_rand(6) + 2
        while k > 0:
            r = next_rand(10)
            if r < 4:
                nm = names[next_rand(10)]
                if next_rand(3) > 0:
                    nm = nm + str(next_rand(50))
                pieces.append(nm)
            elif r < 6:
                pieces.append(str(next_rand(100000)))
            elif r < 7:
                pieces.append('"s' + str(next_rand(1000)) + ' t"')
            else:
                pieces.append(opers[next_rand(15)])
            k -= 1
        if next_rand(4) == 0:
            pieces.append("# note " + str(next_rand(99)))
        pieces.append("\n")
    return " ".join(pieces)


def is_name(c):
    return 97 <= c <= 122 or 65 <= c <= 90 or c == 95 or 48 <= c <= 57


keywords = {"if", "whl", "ret", "lop"}


def scan(src):
    nsrc = len(src)
    i = 0
    ids = kws = nums = numsum = strs = strlen = ops = lines = comments = h = 0
    while i < nsrc:
        c = ord(src[i])
        if c == 32:
            i += 1
        elif c == 10:
            lines += 1
            i += 1
        elif c == 35:
            while i < nsrc and src[i] != "\n":
                i += 1
            comments += 1
        elif 97 <= c <= 122 or 65 <= c <= 90 or c == 95:
            j = i + 1
            while j < nsrc and is_name(ord(src[j])):
                j += 1
            word = src[i:j]
            if word in keywords:
                kws += 1
            ids += 1
            h = (h * 31 + j - i) % 1000003
            i = j
        elif 48 <= c <= 57:
            j = i + 1
            while j < nsrc and 48 <= ord(src[j]) <= 57:
                j += 1
            nums += 1
            numsum = (numsum + int(src[i:j])) % 1000000007
            i = j
        elif c == 34:
            j = i + 1
            while j < nsrc and src[j] != '"':
                j += 1
            strs += 1
            strlen += j - i - 1
            i = j + 1
        else:
            d = src[i + 1] if i + 1 < nsrc else ""
            w = 1
            if d == "=" and (c == 61 or c == 60 or c == 62 or c == 33):
                w = 2
            ops += 1
            h = (h * 7 + c * w) % 1000003
            i += w
    return [ids, kws, nums, numsum, strs, strlen, ops, lines, comments, h]


src = generate()
print(len(src))
print(" ".join(str(x) for x in scan(src)))
