// A name the compiler does not know is most often a slip of the fingers on one it
// knows. This finds the known name nearest to it, so that a message can say which
// one was likely meant.
#pragma once

#include <string>
#include <string_view>

class CLumNearMiss
{
public:
    explicit CLumNearMiss(std::string_view name);
    // Considers one known name. Of two equally near ones the first offered wins, and
    // one that differs only in case wins over every other.
    void Offer(std::string_view candidate);
    // "did you mean 'Discount'?", "names are case-sensitive, did you mean 'Greet'?", or
    // empty when no known name is near enough.
    std::string DidYouMean() const;

private:
    std::string m_strName;
    size_t m_nLimit;
    std::string m_strBest;
    size_t m_nBest;
};
