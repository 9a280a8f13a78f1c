-- Tables holding closures as methods: counters and shapes, called through fields.
local n = tonumber(arg[1]) or 20000

local function make_counter(start)
  local c = {n = start, hits = 0}
  c.add = function(k)
    c.n = (c.n + k) % 1000003
    c.hits = c.hits + 1
    return c.n
  end
  c.get = function() return c.n end
  return c
end

local function make_rect(w, h)
  local s = {kind = "rect", w = w, h = h}
  s.area = function() return s.w * s.h end
  s.grow = function(d)
    s.w = s.w + d
    s.h = s.h + d
    return s
  end
  return s
end

local function make_tri(b, h)
  local s = {kind = "tri", b = b, h = h}
  s.area = function() return s.b * s.h // 2 end
  s.grow = function(d)
    s.b = s.b + d
    return s
  end
  return s
end

local shapes = {}
for i = 0, 99 do
  if i % 3 == 0 then
    shapes[#shapes + 1] = make_tri(i % 17 + 1, i % 11 + 2)
  else
    shapes[#shapes + 1] = make_rect(i % 13 + 1, i % 7 + 1)
  end
end

local counters = {make_counter(0), make_counter(7), make_counter(11)}
local total = 0
for step = 0, n - 1 do
  local s = shapes[step % 100 + 1]
  local a = s.area()
  local c = counters[step % 3 + 1]
  c.add(a)
  if step % 1000 == 999 then s.grow(1) end
  total = (total + c.get()) % 1000000007
end

print(total)
for _, c in ipairs(counters) do
  print(c.get() .. " after " .. c.hits .. " calls")
end
local tris, area = 0, 0
for _, s in ipairs(shapes) do
  if s.kind == "tri" then tris = tris + 1 end
  area = area + s.area()
end
print(tris .. " triangles, total area " .. area)
