-- List pipelines: map, filter and fold with closures that capture variables.
local n = tonumber(arg[1]) or 20000

local function map(xs, f)
  local out = {}
  for i = 1, #xs do out[i] = f(xs[i]) end
  return out
end

local function fil(xs, f)
  local out = {}
  for i = 1, #xs do
    local x = xs[i]
    if f(x) then out[#out + 1] = x end
  end
  return out
end

local function red(xs, init, f)
  local acc = init
  for i = 1, #xs do acc = f(acc, xs[i]) end
  return acc
end

local function rev(xs)
  local out = {}
  for i = #xs, 1, -1 do out[#out + 1] = xs[i] end
  return out
end

local function cat(a, b)
  local out = {}
  for i = 1, #a do out[#out + 1] = a[i] end
  for i = 1, #b do out[#out + 1] = b[i] end
  return out
end

local function adder(k) return function(x) return x + k end end
local function divisible(d) return function(x) return x % d == 0 end end

local xs = {}
for i = 0, n - 1 do xs[#xs + 1] = i end

local total = 0
for r = 0, 9 do
  local ys = map(xs, function(x) return (x * 7 + r) % 1000 end)
  local zs = fil(map(ys, adder(r)), divisible(3))
  local s = red(zs, 0, function(a, b) return a + b end)
  local m = red(ys, 0, function(a, b) if b > a then return b end return a end)
  total = (total + s * 13 + m + #zs) % 1000000007
end
print(total)

local pairs_ = map(xs, function(x) return {x, x * x % 97} end)
local odd = fil(pairs_, function(p) return p[2] % 2 == 1 end)
print(#odd)
print(red(odd, 0, function(a, p) return (a + p[1] * p[2]) % 1000000007 end))
print(red(rev(cat(xs, xs)), 0, function(a, x) return (a * 3 + x) % 1000003 end))
