-- fannkuch-redux: permutations and prefix reversals in place.
local n = tonumber(arg[1]) or 9

local function fannkuch(n)
  local perm, perm1, count = {}, {}, {}
  local i = 0
  while i < n do
    perm[i] = 0
    perm1[i] = i
    count[i] = 0
    i = i + 1
  end
  local maxflips, checksum, permcount = 0, 0, 0
  local r = n
  while true do
    while r ~= 1 do
      count[r - 1] = r
      r = r - 1
    end
    i = 0
    while i < n do
      perm[i] = perm1[i]
      i = i + 1
    end
    local flips = 0
    local k = perm[0]
    while k ~= 0 do
      local lo, hi = 0, k
      while lo < hi do
        local t = perm[lo]
        perm[lo] = perm[hi]
        perm[hi] = t
        lo = lo + 1
        hi = hi - 1
      end
      flips = flips + 1
      k = perm[0]
    end
    if flips > maxflips then maxflips = flips end
    if permcount % 2 == 0 then checksum = checksum + flips else checksum = checksum - flips end
    -- next permutation in the order of the counting scheme
    while true do
      if r == n then return checksum, maxflips end
      local perm0 = perm1[0]
      i = 0
      while i < r do
        perm1[i] = perm1[i + 1]
        i = i + 1
      end
      perm1[r] = perm0
      count[r] = count[r] - 1
      if count[r] > 0 then break end
      r = r + 1
    end
    permcount = permcount + 1
  end
end

local checksum, maxflips = fannkuch(n)
print(checksum)
print("Pfannkuchen(" .. n .. ") = " .. maxflips)
