-- A function that sums an array in a for loop: total(10) reads ten elements, per element
n = tonumber(arg[1])
a = {}
for i = 1, 10 do
    a[i] = i * 1.5
end
function total(k)
    t = 0
    for e = 1, k do
        t = t + a[e]
    end
    return t
end
s = 0
for j = 1, n // 10 do
    s = s + total(10)
end
result = s
print(string.format("%.6f", result))
