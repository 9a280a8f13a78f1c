-- Trees: a small tree of objects built, summed and dropped every round.
local n = tonumber(arg[1]) or 100000

local function build(d, v)
  if d == 0 then return nil end
  return {v = v, l = build(d - 1, v * 2), r = build(d - 1, v * 2 + 1)}
end

local function total(t)
  if t == nil then return 0 end
  return t.v + total(t.l) + total(t.r)
end

local acc = 0
for i = 0, n - 1 do
  acc = (acc + total(build(3, i % 10))) % 1000000007
end
print(acc)
