-- A For loop inside a function, per pass: the last call makes n passes
n = tonumber(arg[1])
function total(k)
    s = 0
    for i = 1, k do
        s = s + i
    end
    return s
end
for j = 1, 3 do
    if j < 3 then k = 3 else k = n end
    s = total(k)
end
result = s
print(string.format("%.6f", result))
