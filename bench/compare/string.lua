-- String concatenation and slicing
n = tonumber(arg[1])
t = ""
total = 0
for i = 1, n do
    t = string.sub(t .. "abcdefgh", -40)
    u = string.sub(t, 4, 13) .. string.sub(t, 1, 5)
    total = total + #u
end
result = total
print(string.format("%.6f", result))
