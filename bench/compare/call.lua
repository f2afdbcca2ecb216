-- Recursive user function, per call: depth(100) makes 101 calls
n = tonumber(arg[1])
function depth(k)
    if k > 0 then
        return depth(k - 1) + 1
    else
        return 0
    end
end
total = 0
for i = 1, n // 101 do
    total = total + depth(100)
end
result = total
print(string.format("%.6f", result))
