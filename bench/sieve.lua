-- List index reads and writes: the sieve of Eratosthenes, run a few times.
local n = tonumber(arg[1]) or 300000

local function sieve(lim)
  local flags = {}
  local i = 0
  while i <= lim do
    flags[i + 1] = true
    i = i + 1
  end
  local count = 0
  local total = 0
  i = 2
  while i <= lim do
    if flags[i + 1] then
      count = count + 1
      total = total + i
      local j = i * i
      while j <= lim do
        flags[j + 1] = false
        j = j + i
      end
    end
    i = i + 1
  end
  return {count, total}
end

local r
local rounds = 0
while rounds < 4 do
  r = sieve(n - rounds)
  rounds = rounds + 1
end
print(r[1])
print(r[2])
