-- n-body: floating-point arithmetic through table fields.
local n = tonumber(arg[1]) or 20000

local pi = 3.141592653589793
local solar = 4 * pi * pi
local year = 365.24

local function body(x, y, z, vx, vy, vz, m)
  return {x = x, y = y, z = z, vx = vx * year, vy = vy * year, vz = vz * year, mass = m * solar}
end

local bodies = {
  body(0, 0, 0, 0, 0, 0, 1),
  body(4.84143144246472090e+00, -1.16032004402742839e+00, -1.03622044471123109e-01, 1.66007664274403694e-03, 7.69901118419740425e-03, -6.90460016972063023e-05, 9.54791938424326609e-04),
  body(8.34336671824457987e+00, 4.12479856412430479e+00, -4.03523417114321381e-01, -2.76742510726862411e-03, 4.99852801234917238e-03, 2.30417297573763929e-05, 2.85885980666130812e-04),
  body(1.28943695621391310e+01, -1.51111514016986312e+01, -2.23307578892655734e-01, 2.96460137564761618e-03, 2.37847173959480950e-03, -2.96589568540237556e-05, 4.36624404335156298e-05),
  body(1.53796971148509165e+01, -2.59193146099879641e+01, 1.79258772950371181e-01, 2.68067772490389322e-03, 1.62824170038242295e-03, -9.51592254519715870e-05, 5.15138902046611451e-05),
}

local function offset()
  local px, py, pz = 0, 0, 0
  for _, b in ipairs(bodies) do
    px = px + b.vx * b.mass
    py = py + b.vy * b.mass
    pz = pz + b.vz * b.mass
  end
  local s = bodies[1]
  s.vx = 0 - px / solar
  s.vy = 0 - py / solar
  s.vz = 0 - pz / solar
end

local function energy()
  local e = 0
  local nb = #bodies
  for i = 1, nb do
    local b = bodies[i]
    e = e + 0.5 * b.mass * (b.vx * b.vx + b.vy * b.vy + b.vz * b.vz)
    for j = i + 1, nb do
      local c = bodies[j]
      local dx = b.x - c.x
      local dy = b.y - c.y
      local dz = b.z - c.z
      e = e - b.mass * c.mass / math.sqrt(dx * dx + dy * dy + dz * dz)
    end
  end
  return e
end

local function advance(dt)
  local nb = #bodies
  for i = 1, nb do
    local b = bodies[i]
    for j = i + 1, nb do
      local c = bodies[j]
      local dx = b.x - c.x
      local dy = b.y - c.y
      local dz = b.z - c.z
      local d2 = dx * dx + dy * dy + dz * dz
      local mag = dt / (d2 * math.sqrt(d2))
      local bm = b.mass * mag
      local cm = c.mass * mag
      b.vx = b.vx - dx * cm
      b.vy = b.vy - dy * cm
      b.vz = b.vz - dz * cm
      c.vx = c.vx + dx * bm
      c.vy = c.vy + dy * bm
      c.vz = c.vz + dz * bm
    end
  end
  for _, b in ipairs(bodies) do
    b.x = b.x + dt * b.vx
    b.y = b.y + dt * b.vy
    b.z = b.z + dt * b.vz
  end
end

offset()
print(math.floor(energy() * 1000000000))
for _ = 1, n do advance(0.01) end
print(math.floor(energy() * 1000000000))
