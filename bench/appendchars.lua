-- Appending one-character pieces: a text built by s = s .. "x".
local n = tonumber(arg[1]) or 5000

local s = ""
for _ = 1, n do
  s = s .. "x"
end
print(#s)
print(s:sub(1, 10))
