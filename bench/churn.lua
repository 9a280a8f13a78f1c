-- Churn: a small list, an object and a joined text made every round, none kept.
local n = tonumber(arg[1]) or 125000

local total = 0
local s
for i = 0, n - 1 do
  local xs = {i, i + 1, i % 7}
  local o = {id = i, tag = "r" .. (i % 100)}
  s = table.concat(xs, ",")
  total = (total + #s + #o.tag + xs[3]) % 1000000007
end
print(total)
print(s)
