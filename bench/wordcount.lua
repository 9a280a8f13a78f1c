-- Tables as string-keyed maps: word counts over many distinct keys.
local n = tonumber(arg[1]) or 50000

local seed = 12345
local function next_rand(m)
  seed = seed * 16807 % 2147483647
  return seed % m
end

local syll = {"ka", "lo", "mi", "ren", "to", "vu", "sha", "pe", "qi", "zor"}

-- words of one to three syllables plus a number: many keys, a few frequent ones
local function make_word()
  local w = syll[next_rand(10) + 1]
  local k = next_rand(3)
  while k > 0 do
    w = w .. syll[next_rand(10) + 1]
    k = k - 1
  end
  local m = next_rand(4) == 0 and 5 or 2000
  return w .. next_rand(m)
end

-- Lua tables have no key order, so first-seen order is kept beside the map
local counts, keys = {}, {}
for _ = 1, n do
  local w = make_word()
  local c = counts[w]
  if c == nil then
    keys[#keys + 1] = w
    counts[w] = 1
  else
    counts[w] = c + 1
  end
end

print(#keys)
local best, bestn, sig = "", 0, 0
for pos, k in ipairs(keys) do
  local c = counts[k]
  if c > bestn then
    best = k
    bestn = c
  end
  sig = (sig + c * pos + #k) % 1000000007
end
print(best .. " " .. bestn)
print(sig)

-- second pass: merge counts by first syllable into a small map
local groups, gkeys = {}, {}
for _, k in ipairs(keys) do
  local g = string.sub(k, 1, 2)
  if groups[g] == nil then
    gkeys[#gkeys + 1] = g
    groups[g] = 0
  end
  groups[g] = groups[g] + counts[k]
end
for _, g in ipairs(gkeys) do
  print(g .. " " .. groups[g])
end
