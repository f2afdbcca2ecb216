-- While loop of three statements
n = tonumber(arg[1])
i = 0
a = 0
b = 0
while i < n do
    a = a + 2
    b = b + a
    i = i + 1
end
result = b
print(string.format("%.6f", result))
