-- Fresh keys: a small object keyed by texts made that round, then dropped.
local n = tonumber(arg[1]) or 100000

local total = 0
local o
for i = 0, n - 1 do
  o = {}
  o["user" .. i] = i
  o["mail" .. (i % 1000)] = 1
  local count = 0
  for _ in pairs(o) do count = count + 1 end
  total = (total + count + o["user" .. i]) % 1000000007
end
print(total)
print("[user" .. (n - 1) .. ", mail" .. ((n - 1) % 1000) .. "]")
