-- For loop: s = s + i
n = tonumber(arg[1])
s = 0
for i = 1, n do
    s = s + i
end
result = s
print(string.format("%.6f", result))
