-- Building a text piece by piece: appends to the same string
n = tonumber(arg[1])
s = ""
p = "Pos. 10, Artikel 4711, 3 Stueck zu 12,50 EUR; "
for i = 1, n do
  s = s .. p
end
result = #s
print(string.format("%.6f", result))
