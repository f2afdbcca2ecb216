-- A realistic program: invoice lines with quantities, VAT, rounding and a text line
-- in German amount format for each
n = tonumber(arg[1])
function round(x, digits)
    local p = 10 ^ digits
    return math.floor(x * p + 0.5 + 1e-9) / p
end
function amount(x)
    local s = string.format("%.2f", x)
    local int, frac = s:match("^(%d+)%.(%d+)$")
    int = int:reverse():gsub("(%d%d%d)", "%1."):reverse():gsub("^%.", "")
    return int .. "," .. frac
end
function gross_of(net)
    return round(net * 1.19, 2)
end
total = 0
count = 0
for i = 1, n do
    quantity = 1 + i - (i // 5) * 5
    price = 0.5 + (i - (i // 97) * 97) * 0.37
    net = round(quantity * price, 2)
    gross = gross_of(net)
    line = string.sub("Artikel " .. i .. "                    ", 1, 20) .. amount(gross)
    total = total + gross
    count = count + #line
end
result = count + round(total, 0)
print(string.format("%.6f", result))
