-- A function formatting an amount in German format, called from a loop
n = tonumber(arg[1])
function round(x, digits)
    local p = 10 ^ digits
    return math.floor(x * p + 0.5 + 1e-9) / p
end
function amount(x)
    local s = string.format("%.2f", round(x, 2))
    local int, frac = s:match("^(%d+)%.(%d+)$")
    int = int:reverse():gsub("(%d%d%d)", "%1."):reverse():gsub("^%.", "")
    return int .. "," .. frac .. " EUR"
end
total = 0
for i = 1, n do
    s = amount(i * 1.25)
    total = total + #s
end
result = total
print(string.format("%.6f", result))
