-- Array element write and read
n = tonumber(arg[1])
a = {}
s = 0
for i = 1, n do
    a[i] = i * 2
    s = s + a[i]
end
result = s
print(string.format("%.6f", result))
