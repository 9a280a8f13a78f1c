# spectral-norm: nested float loops over lists, with a function per matrix entry.
import math
import sys

n = int(sys.argv[1]) if len(sys.argv) > 1 else 100


def a(i, j):
    return 1.0 / ((i + j) * (i + j + 1) / 2 + i + 1)


# out = A * v
def mul_av(v, out):
    for i in range(n):
        s = 0
        for j in range(n):
            s = s + a(i, j) * v[j]
        out[i] = s


# out = transpose(A) * v
def mul_atv(v, out):
    for i in range(n):
        s = 0
        for j in range(n):
            s = s + a(j, i) * v[j]
        out[i] = s


def mul_atav(v, out, tmp):
    mul_av(v, tmp)
    mul_atv(tmp, out)


u = [1] * n
v = [0] * n
tmp = [0] * n
for _ in range(10):
    mul_atav(u, v, tmp)
    mul_atav(v, u, tmp)
vbv = vv = 0
for i in range(n):
    vbv = vbv + u[i] * v[i]
    vv = vv + v[i] * v[i]
print(math.floor(math.sqrt(vbv / vv) * 1000000000))
