// The map under the store against a plain map: keys of every shape an element key can
// almost have, found whole, by name and index, through a cache, or made on demand.
#include <lumbasic/LumStringMap.h>

#include <gtest/gtest.h>

#include <map>
#include <random>

namespace
{
// Names and indices that make element keys, keys that only look like them (a sign, a
// leading zero, ten digits, no name) and plain names, some ending in digits.
std::string RandomKey(std::mt19937& random, std::map<std::string, uint32_t>& next, std::string& strName,
                      uint32_t& nIndex, bool& fElement)
{
    static const char* const s_apszNames[] = {"a", "b$", "m:3", "@P@x", "n%"};
    static const char* const s_apszOthers[] = {"a:-1", "a:007", "a:1234567890", ":5",
                                               "x1",   "total", "a:",           "a"};
    strName = s_apszNames[random() % 5];
    fElement = random() % 8 != 0;
    if (!fElement)
        return s_apszOthers[random() % 8];
    // Mostly near each other, so that pages fill, or the name's next index, as a loop
    // fills an array; now and then far apart, or a little ahead of the pages a name has,
    // where a page is hashed first and its neighbours later go to the name's table.
    switch (random() % 8)
    {
    case 0:
        nIndex = static_cast<uint32_t>(random() % 999999999);
        break;
    case 1:
        nIndex = static_cast<uint32_t>(random() % 20000);
        break;
    case 2:
    case 3:
        nIndex = next[strName];
        break;
    default:
        nIndex = static_cast<uint32_t>(random() % 300);
    }
    next[strName] = nIndex + 1;
    return strName + ":" + std::to_string(nIndex);
}
} // namespace

TEST(StringMap, FindsWhatAPlainMapFindsInInsertionOrder)
{
    std::mt19937 random(7);
    CLumStringMap<int> map;
    std::map<std::string, int> reference;
    std::vector<std::string> aOrder;
    std::map<std::string, CLumElementCache> caches;
    std::map<std::string, uint32_t> next;
    for (int n = 0; n < 20000; ++n)
    {
        // Now and then the newest elements are taken back, as a run that gives up does.
        for (int nTake = n % 61 == 0 ? n % 4 + 1 : 0; nTake > 0 && !aOrder.empty(); --nTake)
        {
            std::string_view name;
            uint32_t nNewest = 0;
            int nTaken = -1;
            bool fTaken = map.TakeBackNewestElement([&](int n) { nTaken = n; });
            ASSERT_EQ(fTaken, CLumStringMap<int>::SplitElement(aOrder.back(), name, nNewest));
            if (fTaken)
            {
                EXPECT_EQ(nTaken, reference[aOrder.back()]);
                reference.erase(aOrder.back());
                aOrder.pop_back();
            }
        }
        std::string strName;
        uint32_t nIndex = 0;
        bool fElement = false;
        std::string strKey = RandomKey(random, next, strName, nIndex, fElement);
        auto it = reference.find(strKey);
        const int* pFound = map.Find(strKey);
        ASSERT_EQ(pFound != nullptr, it != reference.end()) << strKey;
        if (pFound != nullptr)
        {
            ASSERT_EQ(*pFound, it->second) << strKey;
        }
        if (fElement)
        {
            CLumElementCache& cache = caches[strName];
            const int* pByIndex = map.FindElement(strName, nIndex, cache);
            ASSERT_EQ(pByIndex, pFound) << strKey;
            if (pFound == nullptr && n % 2 == 0)
            {
                bool fInserted = false;
                int& nValue = map.ObtainElement(strName, nIndex, fInserted, cache);
                ASSERT_TRUE(fInserted);
                ASSERT_EQ(nValue, 0) << strKey; // also where an element was taken back
                nValue = n;
                reference[strKey] = n;
                aOrder.push_back(strKey);
            }
        }
        if (pFound == nullptr && reference.count(strKey) == 0)
        {
            map.Insert(strKey, n);
            reference[strKey] = n;
            aOrder.push_back(strKey);
        }
    }
    ASSERT_EQ(map.GetCount(), reference.size());
    // An iteration gives each value where Find finds it, and a second one the same
    // key bytes, which an element's key gets once.
    std::vector<const char*> aKeys;
    for (const auto& entry : map)
    {
        const std::string& strKey = aOrder[aKeys.size()];
        ASSERT_EQ(std::string(entry.m_strKey), strKey);
        EXPECT_EQ(entry.m_value, reference[strKey]);
        EXPECT_EQ(&entry.m_value, map.Find(strKey)) << strKey;
        aKeys.push_back(entry.m_strKey.c_str());
    }
    size_t i = 0;
    for (const auto& entry : map)
        EXPECT_EQ(entry.m_strKey.c_str(), aKeys[i++]);
}
