-- File lines: a generated file of 1000 lines read again and again, split into fields.
local n = tonumber(arg[1]) or 100000

local path = os.tmpname()
local out = assert(io.open(path, "w"))
for i = 0, 999 do
  out:write(i, ",item", i % 37, ",", i * 7 % 101, ",", i % 13, "\n")
end
out:close()

local total = 0
local seen = 0
while seen < n do
  for ln in io.lines(path) do
    local f = {}
    for field in ln:gmatch("[^,]+") do f[#f + 1] = field end
    total = (total + tonumber(f[3]) * tonumber(f[4]) + #f[2]) % 1000000007
    seen = seen + 1
  end
end
os.remove(path)
print(seen)
print(total)
