# n-body: floating-point arithmetic through object fields.
import math
import sys

n = int(sys.argv[1]) if len(sys.argv) > 1 else 20000

pi = 3.141592653589793
solar = 4 * pi * pi
year = 365.24


class Body:
    __slots__ = ("x", "y", "z", "vx", "vy", "vz", "mass")

    def __init__(self, x, y, z, vx, vy, vz, m):
        self.x, self.y, self.z = x, y, z
        self.vx, self.vy, self.vz = vx * year, vy * year, vz * year
        self.mass = m * solar


bodies = [
    Body(0, 0, 0, 0, 0, 0, 1),
    Body(4.84143144246472090e+00, -1.16032004402742839e+00, -1.03622044471123109e-01, 1.66007664274403694e-03, 7.69901118419740425e-03, -6.90460016972063023e-05, 9.54791938424326609e-04),
    Body(8.34336671824457987e+00, 4.12479856412430479e+00, -4.03523417114321381e-01, -2.76742510726862411e-03, 4.99852801234917238e-03, 2.30417297573763929e-05, 2.85885980666130812e-04),
    Body(1.28943695621391310e+01, -1.51111514016986312e+01, -2.23307578892655734e-01, 2.96460137564761618e-03, 2.37847173959480950e-03, -2.96589568540237556e-05, 4.36624404335156298e-05),
    Body(1.53796971148509165e+01, -2.59193146099879641e+01, 1.79258772950371181e-01, 2.68067772490389322e-03, 1.62824170038242295e-03, -9.51592254519715870e-05, 5.15138902046611451e-05),
]


def offset():
    px = py = pz = 0
    for b in bodies:
        px = px + b.vx * b.mass
        py = py + b.vy * b.mass
        pz = pz + b.vz * b.mass
    s = bodies[0]
    s.vx = 0 - px / solar
    s.vy = 0 - py / solar
    s.vz = 0 - pz / solar


def energy():
    e = 0
    nb = len(bodies)
    for i in range(nb):
        b = bodies[i]
        e = e + 0.5 * b.mass * (b.vx * b.vx + b.vy * b.vy + b.vz * b.vz)
        for j in range(i + 1, nb):
            c = bodies[j]
            dx = b.x - c.x
            dy = b.y - c.y
            dz = b.z - c.z
            e = e - b.mass * c.mass / math.sqrt(dx * dx + dy * dy + dz * dz)
    return e


def advance(dt):
    nb = len(bodies)
    for i in range(nb):
        b = bodies[i]
        for j in range(i + 1, nb):
            c = bodies[j]
            dx = b.x - c.x
            dy = b.y - c.y
            dz = b.z - c.z
            d2 = dx * dx + dy * dy + dz * dz
            mag = dt / (d2 * math.sqrt(d2))
            bm = b.mass * mag
            cm = c.mass * mag
            b.vx = b.vx - dx * cm
            b.vy = b.vy - dy * cm
            b.vz = b.vz - dz * cm
            c.vx = c.vx + dx * bm
            c.vy = c.vy + dy * bm
            c.vz = c.vz + dz * bm
    for b in bodies:
        b.x = b.x + dt * b.vx
        b.y = b.y + dt * b.vy
        b.z = b.z + dt * b.vz


offset()
print(math.floor(energy() * 1000000000))
for _ in range(n):
    advance(0.01)
print(math.floor(energy() * 1000000000))
