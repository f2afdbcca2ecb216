-- Number to string
n = tonumber(arg[1])
total = 0
for i = 1, n do
    s = tostring(i)
    total = total + #s
end
result = total
print(string.format("%.6f", result))
