-- Built-in functions inside a function: amount(i) per pass, with Round(x, 2, 2) of LumBasic
n = tonumber(arg[1])
function round2(x)
    local y = x * 100
    local s = y >= 0 and 1 or -1
    return s * math.floor(math.abs(y) + 0.5 + 0.001) / 100
end
function sgn(x)
    return x < 0 and -1.0 or (x > 0 and 1.0 or 0.0)
end
function amount(k)
    x = (k - math.floor(k / 7) * 7 - 3) * 1.37
    return round2(math.abs(x) * 1.19) * sgn(x)
end
s = 0
for i = 1, n do
    s = s + amount(i)
end
result = s
print(string.format("%.6f", result))
