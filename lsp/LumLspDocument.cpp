#include "LumLspDocument.h"

#include "LumLspUri.h"

#include <algorithm>

namespace
{
// The bytes of the UTF-8 character that starts with `c`, and the UTF-16 units it
// takes; a byte that starts none counts as a character of its own.
size_t CharBytes(unsigned char c, size_t& nUnits)
{
    nUnits = 1;
    if (c >= 0xF0 && c < 0xF8)
    {
        nUnits = 2;
        return 4;
    }
    return c >= 0xE0 && c < 0xF0 ? 3 : c >= 0xC0 && c < 0xE0 ? 2 : 1;
}

int64_t Number(const json& value, const char* pszName)
{
    const json& field = value.at(pszName);
    if (!field.is_number())
        throw CLumLspError(LSP_INVALID_PARAMS, std::string("'") + pszName + "' is no number");
    return field.is_number_float() ? static_cast<int64_t>(field.get<double>()) : field.get<int64_t>();
}
} // namespace

CLumLspDocument::CLumLspDocument(std::string strUri, std::string strText, int64_t nVersion)
    : m_strUri(std::move(strUri)), m_strPath(LumPathOfUri(m_strUri)), m_strText(std::move(strText)),
      m_nVersion(nVersion)
{
    IndexLines();
}

void CLumLspDocument::IndexLines()
{
    m_aLineStarts.assign(1, 0);
    for (size_t i = 0; i < m_strText.size(); ++i)
        if (m_strText[i] == '\n')
            m_aLineStarts.push_back(i + 1);
}

std::string_view CLumLspDocument::GetLine(int nLine) const
{
    if (nLine < 0 || nLine >= GetLineCount())
        return {};
    size_t nStart = m_aLineStarts[static_cast<size_t>(nLine)];
    size_t nEnd = static_cast<size_t>(nLine) + 1 < m_aLineStarts.size() ? m_aLineStarts[nLine + 1] - 1
                                                                        : m_strText.size();
    std::string_view line(m_strText.data() + nStart, nEnd - nStart);
    if (!line.empty() && line.back() == '\r')
        line.remove_suffix(1);
    return line;
}

void CLumLspDocument::Change(const json& change, ELumEncoding eEncoding)
{
    const json& text = change.at("text");
    if (!text.is_string())
        throw CLumLspError(LSP_INVALID_PARAMS, "the text of a change is no string");
    if (!change.contains("range"))
        m_strText = text.get<std::string>();
    else
    {
        size_t nStart = Offset(change.at("range").at("start"), eEncoding);
        size_t nEnd = Offset(change.at("range").at("end"), eEncoding);
        if (nEnd < nStart)
            std::swap(nStart, nEnd);
        m_strText.replace(nStart, nEnd - nStart, text.get_ref<const std::string&>());
    }
    IndexLines();
}

size_t CLumLspDocument::Offset(const json& position, ELumEncoding eEncoding) const
{
    int64_t nLine = Number(position, "line");
    int64_t nCharacter = std::max<int64_t>(0, Number(position, "character"));
    if (nLine < 0)
        return 0;
    if (nLine >= GetLineCount())
        return m_strText.size();
    std::string_view line = GetLine(static_cast<int>(nLine));
    size_t nStart = m_aLineStarts[static_cast<size_t>(nLine)];
    if (eEncoding == ELumEncoding::Utf8)
        return nStart + std::min<size_t>(line.size(), static_cast<size_t>(nCharacter));
    size_t nByte = 0;
    for (int64_t nUnit = 0; nByte < line.size() && nUnit < nCharacter;)
    {
        size_t nUnits = 1;
        nByte += CharBytes(static_cast<unsigned char>(line[nByte]), nUnits);
        nUnit += static_cast<int64_t>(nUnits);
    }
    return nStart + std::min(nByte, line.size());
}

SLumPos CLumLspDocument::CompilerPos(const json& position, ELumEncoding eEncoding) const
{
    size_t nOffset = Offset(position, eEncoding);
    auto it = std::upper_bound(m_aLineStarts.begin(), m_aLineStarts.end(), nOffset);
    int nLine = static_cast<int>(it - m_aLineStarts.begin());
    size_t nByte = nOffset - m_aLineStarts[static_cast<size_t>(nLine) - 1];
    if (nLine == 1 && m_strText.compare(0, 3, "\xEF\xBB\xBF") == 0)
        nByte = nByte >= 3 ? nByte - 3 : 0;
    return SLumPos{nLine, static_cast<int>(nByte) + 1};
}

size_t CLumLspDocument::ByteOfColumn(int nLine, int nColumn) const
{
    size_t nByte = nColumn > 0 ? static_cast<size_t>(nColumn) - 1 : 0;
    if (nLine == 1 && m_strText.compare(0, 3, "\xEF\xBB\xBF") == 0)
        nByte += 3;
    return nByte;
}

json CLumLspDocument::Position(SLumPos pos, ELumEncoding eEncoding) const
{
    int nLine = std::clamp(pos.m_nLine - 1, 0, GetLineCount() - 1);
    std::string_view line = GetLine(nLine);
    size_t nByte = std::min(ByteOfColumn(pos.m_nLine, pos.m_nColumn), line.size());
    if (pos.m_nLine - 1 != nLine)
        nByte = pos.m_nLine < 1 ? 0 : line.size();
    return json{{"line", nLine}, {"character", Characters(line, nByte, eEncoding)}};
}

size_t CLumLspDocument::Characters(std::string_view line, size_t nBytes, ELumEncoding eEncoding) const
{
    if (eEncoding == ELumEncoding::Utf8)
        return nBytes;
    size_t nCharacters = 0;
    for (size_t i = 0; i < nBytes;)
    {
        size_t nUnits = 1;
        i += CharBytes(static_cast<unsigned char>(line[i]), nUnits);
        nCharacters += nUnits;
    }
    return nCharacters;
}

json CLumLspDocument::LineRange(int nLine, ELumEncoding eEncoding) const
{
    std::string_view line = GetLine(nLine);
    return json{{"start", {{"line", nLine}, {"character", 0}}},
                {"end", {{"line", nLine}, {"character", Characters(line, line.size(), eEncoding)}}}};
}

json CLumLspDocument::Range(SLumPos start, SLumPos end, ELumEncoding eEncoding) const
{
    if (end.m_nLine == 0 ||
        std::make_pair(end.m_nLine, end.m_nColumn) < std::make_pair(start.m_nLine, start.m_nColumn))
        end = start;
    return json{{"start", Position(start, eEncoding)}, {"end", Position(end, eEncoding)}};
}
