#include "LumCsv.h"

#include <cstring>

namespace
{
// The quoted field that starts at line[i], its quotes removed, appended to the
// scratch; i moves behind its closing quote.
bool TakeQuoted(std::string_view line, size_t& i, std::string& strScratch, std::string& strError)
{
    for (++i; i < line.size(); ++i)
    {
        if (line[i] != '"')
            strScratch += line[i];
        else if (i + 1 < line.size() && line[i + 1] == '"')
            strScratch += line[++i];
        else
        {
            ++i;
            if (i < line.size() && line[i] != ',')
            {
                strError = "text behind the closing quote of a field";
                return false;
            }
            return true;
        }
    }
    strError = "a quoted field does not end on its line";
    return false;
}
} // namespace

bool LumSplitCsvLine(std::string_view line, std::vector<std::string_view>& aFields, std::string& strScratch,
                     std::string& strError)
{
    aFields.clear();
    strScratch.clear();
    // Quoted text is never longer than its line: the views stay valid while it fills.
    strScratch.reserve(line.size());
    size_t i = 0;
    while (true)
    {
        if (i < line.size() && line[i] == '"')
        {
            size_t nStart = strScratch.size();
            if (!TakeQuoted(line, i, strScratch, strError))
                return false;
            aFields.emplace_back(strScratch.data() + nStart, strScratch.size() - nStart);
        }
        else
        {
            size_t nComma = line.find(',', i);
            size_t nEnd = nComma == std::string_view::npos ? line.size() : nComma;
            aFields.push_back(line.substr(i, nEnd - i));
            i = nEnd;
        }
        if (i >= line.size())
            return true;
        ++i; // the comma
    }
}

void LumAppendCsvField(std::string& strOut, std::string_view text)
{
    if (text.find_first_of(",\"\r\n") == std::string_view::npos)
    {
        strOut.append(text.data(), text.size());
        return;
    }
    strOut += '"';
    for (char c : text)
    {
        if (c == '"')
            strOut += '"';
        strOut += c;
    }
    strOut += '"';
}
