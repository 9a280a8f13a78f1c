-- binary-trees: many short-lived trees of two-element tables.
local n = tonumber(arg[1]) or 12

local function make(d)
  if d == 0 then return {false, false} end
  return {make(d - 1), make(d - 1)}
end

local function check(t)
  if not t[1] then return 1 end
  return 1 + check(t[1]) + check(t[2])
end

local mindepth = 4
local maxdepth = math.max(mindepth + 2, n)

local stretch = maxdepth + 1
print("stretch tree of depth " .. stretch .. " check: " .. check(make(stretch)))

local longlived = make(maxdepth)

local d = mindepth
while d <= maxdepth do
  local iters = 1
  local k = 0
  while k < maxdepth - d + mindepth do
    iters = iters * 2
    k = k + 1
  end
  local sum = 0
  local i = 0
  while i < iters do
    sum = sum + check(make(d))
    i = i + 1
  end
  print(iters .. " trees of depth " .. d .. " check: " .. sum)
  d = d + 2
end

print("long lived tree of depth " .. maxdepth .. " check: " .. check(longlived))
