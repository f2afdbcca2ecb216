-- 400,000 array elements, half numbers and half short strings, held at once
n = tonumber(arg[1])
v = {}
s = {}
for i = 1, n // 2 do
    v[i] = i * 1.5
    s[i] = "item" .. i
end
result = (v[n // 2] or 0) + #(s[n // 2] or "")
print(string.format("%.6f", result))
