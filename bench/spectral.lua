-- spectral-norm: nested float loops over arrays, with a function per matrix entry.
local n = tonumber(arg[1]) or 100

local function a(i, j)
  return 1.0 / ((i + j) * (i + j + 1) / 2 + i + 1)
end

-- out = A * v
local function mul_av(v, out)
  for i = 0, n - 1 do
    local s = 0
    for j = 0, n - 1 do
      s = s + a(i, j) * v[j]
    end
    out[i] = s
  end
end

-- out = transpose(A) * v
local function mul_atv(v, out)
  for i = 0, n - 1 do
    local s = 0
    for j = 0, n - 1 do
      s = s + a(j, i) * v[j]
    end
    out[i] = s
  end
end

local function mul_atav(v, out, tmp)
  mul_av(v, tmp)
  mul_atv(tmp, out)
end

local u, v, tmp = {}, {}, {}
for i = 0, n - 1 do
  u[i] = 1
  v[i] = 0
  tmp[i] = 0
end
for _ = 1, 10 do
  mul_atav(u, v, tmp)
  mul_atav(v, u, tmp)
end
local vbv, vv = 0, 0
for i = 0, n - 1 do
  vbv = vbv + u[i] * v[i]
  vv = vv + v[i] * v[i]
end
print(math.floor(math.sqrt(vbv / vv) * 1000000000))
