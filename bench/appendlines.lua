-- A report appended line by line: s = s .. line.
local n = tonumber(arg[1]) or 750

local s = ""
for i = 0, n - 1 do
  s = s .. "line " .. i .. ": item" .. (i % 97) .. " count " .. (i * 7 % 1000)
        .. " total " .. (i * 31) .. "\n"
end
print(#s)
io.write(s:sub(#s - 39), "\n")
