-- Temporaries: small vectors and texts made by helper calls every round, dropped.
local n = tonumber(arg[1]) or 100000

local function vadd(a, b) return {a[1] + b[1], a[2] + b[2]} end
local function vscale(a, k) return {a[1] * k, a[2] * k} end

local acc = 0
local key
for i = 0, n - 1 do
  local p = vadd({i % 10, i % 7}, vscale({1, 2}, i % 5))
  key = tostring(p[1]) .. ":" .. tostring(p[2])
  acc = (acc + p[1] * 3 + p[2] + #key) % 1000000007
end
print(acc)
print(key)
