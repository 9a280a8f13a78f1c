-- Module of modobjs: a constructor that returns a fresh object on every call.
local M = {}
function M.point(x, y) return {x = x, y = y, label = "(" .. x .. ", " .. y .. ")"} end
return M
