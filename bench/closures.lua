-- Closures: a counter object whose methods close over it, and an adder, made every round.
local n = tonumber(arg[1]) or 100000

local function make_counter(start)
  local c = {n = start}
  c.add = function(k)
    c.n = c.n + k
    return c.n
  end
  return c
end

local function adder(k) return function(x) return x + k end end

local acc = 0
for i = 0, n - 1 do
  local c = make_counter(i % 100)
  local f = adder(i % 7)
  c.add(f(3))
  acc = (acc + c.add(1)) % 1000000007
end
print(acc)
