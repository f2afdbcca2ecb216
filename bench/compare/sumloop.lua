-- A function that sums in a for loop: total(10) makes ten passes, per pass
n = tonumber(arg[1])
function total(k)
    t = 0
    for i = 1, k do
        t = t + i * 1.5
    end
    return t
end
s = 0
for j = 1, n // 10 do
    s = s + total(10)
end
result = s
print(string.format("%.6f", result))
