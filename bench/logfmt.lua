-- Log lines: formatted every round, counted and dropped.
local n = tonumber(arg[1]) or 100000

local levels = {"debug", "info", "warn", "error"}
local bytes = 0
local errors = 0
local line
for i = 0, n - 1 do
  local lvl = levels[i % 4 + 1]
  line = string.format("[%s] request %d took %d ms on /api/v%d/items/%d",
                       lvl, i, i * 37 % 1000, i % 3, i % 101)
  bytes = bytes + #line
  if line:sub(1, 7) == "[error]" then errors = errors + 1 end
end
print(bytes)
print(errors)
print(line)
