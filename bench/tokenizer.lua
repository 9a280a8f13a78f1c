-- A tokenizer scanning generated Orvex-like text byte by byte.
local n = tonumber(arg[1]) or 5000

local seed = 7
local function next_rand(m)
  seed = seed * 16807 % 2147483647
  return seed % m
end

local names = {"x", "total", "i", "count", "if", "whl", "ret", "push", "items", "_tmp"}
local opers = {"=", "+", "-", "*", "==", "<=", "!=", "(", ")", "[", "]", ",", ":", ">", "%"}

-- n lines of a few tokens each, some ending in a comment
local pieces = {}
for _ = 1, n do
  local k = next_rand(6) + 2
  while k > 0 do
    local r = next_rand(10)
    if r < 4 then
      local nm = names[next_rand(10) + 1]
      if next_rand(3) > 0 then nm = nm .. next_rand(50) end
      pieces[#pieces + 1] = nm
    elseif r < 6 then
      pieces[#pieces + 1] = tostring(next_rand(100000))
    elseif r < 7 then
      pieces[#pieces + 1] = "\"s" .. next_rand(1000) .. " t\""
    else
      pieces[#pieces + 1] = opers[next_rand(15) + 1]
    end
    k = k - 1
  end
  if next_rand(4) == 0 then pieces[#pieces + 1] = "# note " .. next_rand(99) end
  pieces[#pieces + 1] = "\n"
end
local src = table.concat(pieces, " ")
print(#src)

local function is_name(c)
  return c >= 97 and c <= 122 or c >= 65 and c <= 90 or c == 95 or c >= 48 and c <= 57
end
local keywords = {["if"] = 1, whl = 1, ret = 1, lop = 1}

local function scan(src)
  local nsrc = #src
  local i = 0
  local ids, kws, nums, numsum, strs, strlen, ops, lines, comments, h = 0, 0, 0, 0, 0, 0, 0, 0, 0, 0
  local byte = string.byte
  while i < nsrc do
    local c = byte(src, i + 1)
    if c == 32 then
      i = i + 1
    elseif c == 10 then
      lines = lines + 1
      i = i + 1
    elseif c == 35 then
      while i < nsrc and byte(src, i + 1) ~= 10 do i = i + 1 end
      comments = comments + 1
    elseif c >= 97 and c <= 122 or c >= 65 and c <= 90 or c == 95 then
      local j = i + 1
      while j < nsrc and is_name(byte(src, j + 1)) do j = j + 1 end
      local word = string.sub(src, i + 1, j)
      if keywords[word] ~= nil then kws = kws + 1 end
      ids = ids + 1
      h = (h * 31 + j - i) % 1000003
      i = j
    elseif c >= 48 and c <= 57 then
      local j = i + 1
      while j < nsrc and byte(src, j + 1) >= 48 and byte(src, j + 1) <= 57 do j = j + 1 end
      nums = nums + 1
      numsum = (numsum + tonumber(string.sub(src, i + 1, j))) % 1000000007
      i = j
    elseif c == 34 then
      local j = i + 1
      while j < nsrc and byte(src, j + 1) ~= 34 do j = j + 1 end
      strs = strs + 1
      strlen = strlen + j - i - 1
      i = j + 1
    else
      local d = i + 1 < nsrc and byte(src, i + 2) or 0
      local w = 1
      if d == 61 and (c == 61 or c == 60 or c == 62 or c == 33) then w = 2 end
      ops = ops + 1
      h = (h * 7 + c * w) % 1000003
      i = i + w
    end
  end
  return {ids, kws, nums, numsum, strs, strlen, ops, lines, comments, h}
end

print(table.concat(scan(src), " "))
