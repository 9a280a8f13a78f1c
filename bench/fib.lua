-- Recursive calls: naive Fibonacci plus the Takeuchi function.
local n = tonumber(arg[1]) or 32

local function fib(k)
  if k < 2 then return k end
  return fib(k - 1) + fib(k - 2)
end

local function tak(x, y, z)
  if y < x then
    return tak(tak(x - 1, y, z), tak(y - 1, z, x), tak(z - 1, x, y))
  end
  return z
end

print(fib(n))
print(tak(n // 2 + 2, n // 3 + 2, n // 6))
