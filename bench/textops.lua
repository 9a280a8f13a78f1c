-- Text operations over generated text: join, split, replace, slice and search.
local n = tonumber(arg[1]) or 20000

local seed = 42
local function next_rand(m)
  seed = seed * 16807 % 2147483647
  return seed % m
end

-- plain-text helpers with the same meaning as the Orvex builtins
local function idx(s, needle)
  local p = string.find(s, needle, 1, true)
  if p then return p - 1 end
  return -1
end

local function sub(s, a, b)
  return string.sub(s, a + 1, b)
end

local function spl(s, sep)
  local out = {}
  local start = 1
  while true do
    local p, q = string.find(s, sep, start, true)
    if not p then break end
    out[#out + 1] = string.sub(s, start, p - 1)
    start = q + 1
  end
  out[#out + 1] = string.sub(s, start)
  return out
end

local function rep(s, old, new)
  local out = {}
  local start = 1
  while true do
    local p, q = string.find(s, old, start, true)
    if not p then break end
    out[#out + 1] = string.sub(s, start, p - 1)
    out[#out + 1] = new
    start = q + 1
  end
  out[#out + 1] = string.sub(s, start)
  return table.concat(out)
end

-- n words of 12 per line
local lines = {}
local line = {}
for _ = 1, n do
  line[#line + 1] = "w" .. next_rand(300)
  if #line == 12 then
    lines[#lines + 1] = table.concat(line, " ")
    line = {}
  end
end
lines[#lines + 1] = table.concat(line, " ")
local doc = table.concat(lines, "\n")
print(#doc)

local words, found, acc = 0, 0, 0
for _, ln in ipairs(spl(doc, "\n")) do
  local ws = spl(ln, " ")
  words = words + #ws
  local p = idx(ln, "w7")
  if p >= 0 then
    found = found + 1
    local tail = sub(ln, p, p + 6)
    acc = (acc + p * 31 + #tail) % 1000003
  end
  local q = idx(ln, " w29 ")
  if q >= 0 then acc = (acc + q) % 1000003 end
  local head = sub(ln, 0, 8)
  acc = (acc + #rep(head, "w", "wx")) % 1000003
end
print(words)
print(found)
print(acc)

local r = rep(doc, "w1", "<one>")
r = rep(r, " ", "")
print(#r)
print(#spl(r, "<one>"))
print(sub(r, 10, 30))
