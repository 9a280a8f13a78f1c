-- Module objects: a function of another file returns a fresh object every round.
package.path = (arg[0]:match("(.*/)") or "./") .. "?.lua;" .. package.path
local mod = require("modobjs_mod")
local n = tonumber(arg[1]) or 100000

local acc = 0
local p
for i = 0, n - 1 do
  p = mod.point(i % 50, i % 30)
  acc = (acc + p.x * p.y + #p.label) % 1000000007
end
print(acc)
print(p.label)
