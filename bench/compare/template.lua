-- Str$ with a template: German amount format
n = tonumber(arg[1])
local function amount(x)
    local s = string.format("%.2f", x)
    local int, frac = s:match("^(%d+)%.(%d+)$")
    int = int:reverse():gsub("(%d%d%d)", "%1."):reverse():gsub("^%.", "")
    return int .. "," .. frac
end
total = 0
for i = 1, n do
    s = amount(i * 1.25)
    total = total + #s
end
result = total
print(string.format("%.6f", result))
