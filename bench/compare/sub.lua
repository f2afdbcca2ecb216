-- A Sub call with two parameters
n = tonumber(arg[1])
acc = 0
function add(x, y)
    acc = acc + x * y
end
for i = 1, n do
    add(i, 2)
end
result = acc
print(string.format("%.6f", result))
