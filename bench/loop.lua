-- Tight while loops: modular sums, integer division and Euclid's gcd.
local n = tonumber(arg[1]) or 1000000

local s = 0
local i = 0
while i < n do
  s = (s + i * i % 7 + i // 3) % 1000003
  i = i + 1
end
print(s)

-- gcd of every a below n / 10 with a fixed prime, and a digit-sum loop
local g = 0
local d = 0
local a = 1
local m = n // 10
while a < m do
  local x = a * 31 + 7
  local y = 7919
  while y > 0 do
    local t = x % y
    x = y
    y = t
  end
  g = g + x
  local k = a
  while k > 0 do
    d = d + k % 10
    k = k // 10
  end
  a = a + 1
end
print(g)
print(d)
