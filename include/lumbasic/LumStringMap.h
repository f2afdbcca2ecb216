// A hash map from byte-string keys to values, for the variable store and the
// procedure table. Lookups take a string_view, so callers can look up a key they
// composed on the stack without allocating. Iteration follows insertion order,
// which stays stable while the map is unchanged. No single entry is ever removed.
//
// A store may hold hundreds of thousands of array elements, so an entry is small:
// its key's bytes live in blocks of the map's own, and entries live in blocks too,
// which never move, so growing the map copies nothing but its index.
//
// The keys of elements, NAME:INDEX with the index in decimal, are not hashed whole:
// they are found by their name and then by their index in pages of consecutive
// indices. A loop over an array then walks memory in order instead of jumping
// through a table the size of the array. An element has no entry at all: its value
// sits in its page, and its key is made from the page's name and index when an
// iteration asks for it.
#pragma once

#include <lumbasic/LumExport.h>
#include <lumbasic/LumLargeBlock.h>

#include <algorithm>
#include <atomic>
#include <cstdint>
#include <cstring>
#include <memory>
#include <mutex>
#include <new>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>
#include <vector>

template <class T> class CLumStringMap;

// A key of the map: its bytes, zero-terminated, in the map's own blocks.
class LUM_API CLumKey
{
    template <class T> friend class CLumStringMap;

public:
    CLumKey() = default;
    CLumKey(const char* psz, uint32_t nLength) : m_psz(psz), m_nLength(nLength) {}

    const char* c_str() const noexcept { return m_psz; }
    const char* data() const noexcept { return m_psz; }
    size_t size() const noexcept { return m_nLength; }
    bool empty() const noexcept { return m_nLength == 0; }
    operator std::string_view() const noexcept { return std::string_view(m_psz, m_nLength); }
    std::string str() const { return std::string(m_psz, m_nLength); }
    friend bool operator==(const CLumKey& a, std::string_view b) noexcept { return std::string_view(a) == b; }

private:
    const char* m_psz = "";
    uint32_t m_nLength = 0;
    // The map's hash of the key, which fits where the key would leave padding.
    uint32_t m_nHash = 0;
};

// Where a map found the elements of a name last: the number of the name and the page
// of the last index, which stay valid for as long as the map does.
struct LUM_API CLumElementCache
{
    const void* m_pMap = nullptr;
    uint64_t m_nMapSerial = 0;
    uint32_t m_nName = ~uint32_t(0);
    uint64_t m_nPageKey = ~uint64_t(0);
    void* m_pPage = nullptr;
};

template <class T> class LUM_API CLumStringMap
{
public:
    // What an iteration gives: the key, and the value where the map holds it, which is
    // where Find finds it.
    template <class V> struct BasicEntry
    {
        CLumKey m_strKey;
        V& m_value;
    };
    using Entry = BasicEntry<T>;
    using ConstEntry = BasicEntry<const T>;

    CLumStringMap() = default;
    ~CLumStringMap()
    {
        DestroyKeyed();
        FreePages();
    }
    CLumStringMap(const CLumStringMap&) = delete;
    CLumStringMap& operator=(const CLumStringMap&) = delete;

    static uint32_t Hash(std::string_view key) noexcept
    {
        uint32_t h = 2166136261u;
        for (unsigned char c : key)
            h = (h ^ c) * 16777619u;
        return h;
    }

    T* Find(std::string_view key) noexcept
    {
        std::string_view name;
        uint32_t nIndex;
        if (SplitElement(key, name, nIndex))
            return FindElement(name, nIndex);
        uint32_t n = FindSlot(m_aSlots, key, Hash(key), m_aBlocks);
        return n == EMPTY ? nullptr : &Keyed(n).m_value;
    }
    // The element NAME:INDEX, for an index below MAX_ELEMENT_INDEX, without composing
    // its key.
    T* FindElement(std::string_view name, uint32_t nIndex) noexcept
    {
        uint32_t nName = FindName(name, Hash(name));
        if (nName == EMPTY)
            return nullptr;
        uint32_t nPage = FindPage(PageKey(nName, nIndex));
        return nPage == EMPTY ? nullptr : Page(nPage).Find(nIndex);
    }
    const T* Find(std::string_view key) const noexcept { return const_cast<CLumStringMap*>(this)->Find(key); }
    const T* FindElement(std::string_view name, uint32_t nIndex) const noexcept
    {
        return const_cast<CLumStringMap*>(this)->FindElement(name, nIndex);
    }

    // Inserts a key that is not in the map yet.
    T& Insert(std::string_view key, T value)
    {
        // Everything that may fail to allocate comes first, so a failure leaves the
        // map as it was.
        std::string_view name;
        uint32_t nIndex = 0;
        if (SplitElement(key, name, nIndex))
            return AddElement(Page(ObtainPage(ObtainName(name), nIndex)), nIndex) = std::move(value);
        if (m_nKeyed >= MAX_KEYED)
            throw std::bad_alloc();
        uint32_t nHash = Hash(key);
        // At most four slots in five in use: probes stay short.
        if ((m_nKeyed + 1) * 5 > m_aSlots.size() * 4)
            Grow();
        ReserveOrder();
        if (m_nKeyed % BLOCK_ENTRIES == 0 && m_nKeyed / BLOCK_ENTRIES == m_aBlocks.size())
        {
            m_aBlocks.reserve(m_aBlocks.size() + 1);
            m_aBlocks.emplace_back(static_cast<SKeyed*>(::operator new(sizeof(SKeyed) * BLOCK_ENTRIES)));
        }
        CLumKey cKey = StoreKey(key);
        cKey.m_nHash = nHash;
        uint32_t n = m_nKeyed;
        SKeyed& e =
            *new (m_aBlocks[n / BLOCK_ENTRIES].get() + n % BLOCK_ENTRIES) SKeyed{cKey, std::move(value)};
        ++m_nKeyed;
        Place(m_aSlots, n, nHash);
        AppendOrder(n);
        m_nRunPlace = EMPTY;
        return e.m_value;
    }

    // FindElement, helped by where the name's elements were found before.
    T* FindElement(std::string_view name, uint32_t nIndex, CLumElementCache& cache) noexcept
    {
        uint32_t nName = CachedName(name, cache);
        if (nName == EMPTY)
            return nullptr;
        if (nName == m_nLastName && nIndex == m_nLastIndex)
            return m_pLastElement;
        SPage* pPage = CachedPage(nName, nIndex, cache);
        return pPage == nullptr ? nullptr : pPage->Find(nIndex);
    }

    // The element NAME:INDEX; where it is missing, inserted with a null value under that
    // key, with `fInserted` set.
    T& ObtainElement(std::string_view name, uint32_t nIndex, bool& fInserted, CLumElementCache& cache)
    {
        uint32_t nName = CachedName(name, cache);
        SPage* pPage = nullptr;
        if (nName != EMPTY)
        {
            if (nName == m_nLastName && nIndex == m_nLastIndex)
                return *m_pLastElement;
            pPage = CachedPage(nName, nIndex, cache);
            if (pPage != nullptr)
                if (T* pValue = pPage->Find(nIndex))
                    return *Remember(nName, nIndex, pValue);
        }
        if (nName == EMPTY)
            nName = AddName(name, Hash(name));
        if (pPage == nullptr)
            pPage = &Page(AddPage(PageKey(nName, nIndex)));
        T& value = AddElement(*pPage, nIndex);
        fInserted = true;
        return *Remember(nName, nIndex, &value);
    }

    // Takes back the newest entry, an element that ObtainElement made: a run that undoes
    // its work leaves the map as it found it, in content and order. `fnTaken` sees the
    // value before it becomes T() again, as a slot not in use is; false, and nothing
    // done, where the newest entry is no element. The element's page stays, empty, with
    // the caches that know it.
    template <class F> bool TakeBackNewestElement(F&& fnTaken) noexcept
    {
        if (m_nCount == 0 || Order(m_nOrderWords - 1) < RUN)
            return false;
        uint32_t& nLast = OrderWord(m_nOrderWords - 1);
        uint32_t nPlace;
        if (nLast >= ELEMENT)
        {
            nPlace = nLast & ~ELEMENT;
            --m_nOrderWords;
        }
        else
        {
            nPlace = (Order(m_nOrderWords - 2) & ~ELEMENT) + (nLast - RUN);
            if (--nLast == RUN)
                --m_nOrderWords;
        }
        m_nRunPlace = NextRunPlace();
        SPage& page = Page(nPlace / PAGE_ENTRIES);
        uint32_t nSlot = nPlace % PAGE_ENTRIES;
        page.m_nPresent &= ~(1u << nSlot);
        --m_nCount;
        m_nLastName = EMPTY;
        std::lock_guard<std::mutex> lock(m_cKeyLock);
        if (m_aGivenKeys.size() > m_nCount)
            m_aGivenKeys.resize(m_nCount);
        fnTaken(page.m_aValue[nSlot]);
        page.m_aValue[nSlot] = T();
        return true;
    }

    size_t GetCount() const noexcept { return m_nCount; }
    bool IsEmpty() const noexcept { return m_nCount == 0; }
    void RemoveAll() noexcept
    {
        DestroyKeyed();
        m_aBlocks.clear();
        FreePages();
        m_aSlots.clear();
        m_aKeyBlocks.clear();
        m_aOrderBlocks.clear();
        Reset();
    }

    // Empties the map as RemoveAll does, but keeps its first blocks of entries, of their
    // order and of keys, and a small index for the entries to come: a map emptied and
    // filled again for each of many runs allocates nothing after the first.
    void Reset() noexcept
    {
        DestroyKeyed();
        if (m_aBlocks.size() > 1)
            m_aBlocks.resize(1);
        if (m_aOrderBlocks.size() > 1)
            m_aOrderBlocks.resize(1);
        // The first key block is kept when it is the one keys are taken from.
        bool fKeepKeys =
            m_aKeyBlocks.size() == 1 && m_pKeyFree + m_nKeyFree == m_aKeyBlocks[0].get() + KEY_BLOCK;
        if (fKeepKeys)
        {
            m_pKeyFree = m_aKeyBlocks[0].get();
            m_nKeyFree = KEY_BLOCK;
        }
        else
        {
            m_aKeyBlocks.clear();
            m_pKeyFree = nullptr;
            m_nKeyFree = 0;
        }
        std::vector<const char*>().swap(m_aGivenKeys);
        if (m_aSlots.size() > 256)
            m_aSlots.clear();
        std::fill(m_aSlots.begin(), m_aSlots.end(), EMPTY);
        m_nCount = 0;
        m_nOrderWords = 0;
        m_nRunPlace = EMPTY;
        m_nKeyed = 0;
        m_aNames.clear();
        m_aNameSlots.clear();
        FreePages();
        m_aPageSlots.clear();
        m_aNamePages.clear();
        m_nPages = 0;
        m_nHashedPages = 0;
        m_nLastName = EMPTY;
        m_nSerial = NewSerial();
    }

    // Gives each entry, in insertion order, as an Entry made on the spot: hold it while
    // the map is unchanged, not the iterator's own.
    template <class E, class Map> class Iterator
    {
    public:
        Iterator(Map* pMap, size_t n) : m_pMap(pMap), m_n(n) {}
        // May allocate the bytes of an element's key, and so throw std::bad_alloc.
        E operator*() const { return m_pMap->template EntryAt<E>(m_n, m_nWord, m_nStep); }
        struct Arrow
        {
            E m_entry;
            const E* operator->() const noexcept { return &m_entry; }
        };
        Arrow operator->() const { return Arrow{**this}; }
        Iterator& operator++()
        {
            ++m_n;
            // The next entry is the next step of a run, or else the next word's.
            if (m_nWord + 1 < m_pMap->m_nOrderWords)
            {
                uint32_t nNext = m_pMap->Order(m_nWord + 1);
                if (nNext >= RUN && nNext < ELEMENT)
                {
                    if (++m_nStep <= nNext - RUN)
                        return *this;
                    ++m_nWord;
                }
            }
            ++m_nWord;
            m_nStep = 0;
            return *this;
        }
        bool operator!=(const Iterator& r) const { return m_n != r.m_n; }
        bool operator==(const Iterator& r) const { return m_n == r.m_n; }

    private:
        Map* m_pMap;
        size_t m_n;
        // The word of the order the entry is at, and its step in the word's run.
        size_t m_nWord = 0;
        uint32_t m_nStep = 0;
    };
    using iterator = Iterator<Entry, CLumStringMap>;
    using const_iterator = Iterator<ConstEntry, const CLumStringMap>;

    // Each value, in no particular order and without the keys: no element's key gets
    // its bytes.
    template <class F> void ForEachValue(F&& f) noexcept(noexcept(f(std::declval<T&>())))
    {
        for (uint32_t n = 0; n < m_nKeyed; ++n)
            f(Keyed(n).m_value);
        for (uint32_t n = 0; n < m_nPages; ++n)
        {
            SPage& page = Page(n);
            for (uint32_t nPresent = page.m_nPresent; nPresent != 0; nPresent &= nPresent - 1)
                f(page.m_aValue[__builtin_ctz(nPresent)]);
        }
    }

    iterator begin() { return iterator(this, 0); }
    iterator end() { return iterator(this, m_nCount); }
    const_iterator begin() const { return const_iterator(this, 0); }
    const_iterator end() const { return const_iterator(this, m_nCount); }

    static constexpr uint32_t MAX_ELEMENT_INDEX = 1000000000;

    // Whether a key is an element's: a name, ':' and an index of at most nine
    // digits in the one way an index is written (no sign, no leading zero).
    static bool SplitElement(std::string_view key, std::string_view& name, uint32_t& nIndex) noexcept
    {
        size_t n = key.size();
        size_t i = n;
        while (i > 0 && n - i < 9 && key[i - 1] >= '0' && key[i - 1] <= '9')
            --i;
        if (i == n || i < 2 || key[i - 1] != ':' || (key[i] == '0' && n - i > 1))
            return false;
        uint32_t nValue = 0;
        for (size_t j = i; j < n; ++j)
            nValue = nValue * 10 + static_cast<uint32_t>(key[j] - '0');
        name = key.substr(0, i - 1);
        nIndex = nValue;
        return true;
    }

private:
    static constexpr uint32_t EMPTY = ~uint32_t(0);
    static constexpr size_t BLOCK_ENTRIES = 1024;
    static constexpr size_t KEY_BLOCK = 16384;
    static constexpr uint32_t PAGE_ENTRIES = 8;
    static constexpr size_t BLOCK_PAGES = 128;
    static constexpr size_t ORDER_BLOCK = 4096;
    static constexpr uint64_t NO_PAGE = ~uint64_t(0);
    // An entry of the order is an element's place (its page's number times the page
    // size, plus its slot) with this bit, or else the number of an entry with a key.
    static constexpr uint32_t ELEMENT = 0x80000000u;
    // A word from RUN up to ELEMENT follows an element's: so many elements more, at the
    // places after its place, came right after it. An array filled in order costs the
    // order next to nothing.
    static constexpr uint32_t RUN = 0x40000000u;
    static constexpr uint32_t MAX_PAGES = ELEMENT / PAGE_ENTRIES;
    static constexpr uint32_t MAX_KEYED = RUN;

    // A key that is no element's, with its value.
    struct SKeyed
    {
        CLumKey m_strKey;
        T m_value;
    };
    struct SRawDelete
    {
        void operator()(SKeyed* p) const noexcept { ::operator delete(p); }
    };

    // Eight consecutive indices of one name: their values, with a bit for each that
    // is in the map. An element has no entry of its own: its key is made from the
    // page's name and index when an iteration asks for it.
    struct SPage
    {
        T m_aValue[PAGE_ENTRIES]{};
        uint64_t m_nKey = NO_PAGE;
        uint32_t m_nPresent = 0;
        // The page's own number, where the key would leave padding.
        uint32_t m_nNumber = 0;

        T* Find(uint32_t nIndex) noexcept
        {
            uint32_t n = nIndex % PAGE_ENTRIES;
            return (m_nPresent >> n) & 1 ? &m_aValue[n] : nullptr;
        }
    };

    struct PageSlot
    {
        uint64_t m_nKey;
        uint32_t m_nPage;
    };

    SKeyed& Keyed(uint32_t n) { return m_aBlocks[n / BLOCK_ENTRIES].get()[n % BLOCK_ENTRIES]; }
    const SKeyed& Keyed(uint32_t n) const { return m_aBlocks[n / BLOCK_ENTRIES].get()[n % BLOCK_ENTRIES]; }
    SPage& Page(uint32_t n) noexcept { return m_aPageBlocks[n / BLOCK_PAGES][n % BLOCK_PAGES]; }
    const SPage& Page(uint32_t n) const noexcept { return m_aPageBlocks[n / BLOCK_PAGES][n % BLOCK_PAGES]; }
    uint32_t Order(size_t w) const noexcept { return m_aOrderBlocks[w / ORDER_BLOCK][w % ORDER_BLOCK]; }
    uint32_t& OrderWord(size_t w) noexcept { return m_aOrderBlocks[w / ORDER_BLOCK][w % ORDER_BLOCK]; }

    // A block that a vector of blocks takes over; a failure leaves both as they were.
    template <class Block> static void AddBlock(std::vector<std::unique_ptr<Block[]>>& aBlocks, size_t nSize)
    {
        std::unique_ptr<Block[]> pBlock(new Block[nSize]);
        aBlocks.push_back(std::move(pBlock));
    }

    // Room for one more entry of the order, made before anything else changes.
    void ReserveOrder()
    {
        if (m_nCount == EMPTY)
            throw std::bad_alloc();
        if (m_nOrderWords % ORDER_BLOCK == 0 && m_nOrderWords / ORDER_BLOCK == m_aOrderBlocks.size())
            AddBlock(m_aOrderBlocks, ORDER_BLOCK);
    }
    void AppendOrder(uint32_t nOrder) noexcept
    {
        OrderWord(m_nOrderWords++) = nOrder;
        ++m_nCount;
    }
    // An element's place into the order: the next step of the newest run where it is.
    void AppendElementOrder(uint32_t nPlace) noexcept
    {
        uint32_t nRunPlace = m_nRunPlace;
        m_nRunPlace = nPlace + 1;
        if (nPlace == nRunPlace)
        {
            uint32_t& nLast = OrderWord(m_nOrderWords - 1);
            if (nLast >= ELEMENT)
            {
                AppendOrder(RUN + 1);
                return;
            }
            if (nLast < ELEMENT - 1)
            {
                ++nLast;
                ++m_nCount;
                return;
            }
        }
        AppendOrder(ELEMENT | nPlace);
    }
    // The place that would continue the newest run, or EMPTY after a key.
    uint32_t NextRunPlace() const noexcept
    {
        if (m_nOrderWords == 0)
            return EMPTY;
        uint32_t nLast = Order(m_nOrderWords - 1);
        if (nLast >= ELEMENT)
            return (nLast & ~ELEMENT) + 1;
        if (nLast >= RUN)
            return (Order(m_nOrderWords - 2) & ~ELEMENT) + (nLast - RUN) + 1;
        return EMPTY;
    }

    // The element of `nIndex` into its page, which the map has, with the value T() that
    // a slot not in use holds.
    T& AddElement(SPage& page, uint32_t nIndex)
    {
        ReserveOrder();
        uint32_t nSlot = nIndex % PAGE_ENTRIES;
        page.m_nPresent |= 1u << nSlot;
        AppendElementOrder(page.m_nNumber * PAGE_ENTRIES + nSlot);
        return page.m_aValue[nSlot];
    }

    // The entry at place `k` of the order. An element's key gets its bytes the first
    // time an iteration asks for it, under a lock: threads listing one map at once
    // get the same bytes.
    template <class E> E EntryAt(size_t k, size_t nWord, uint32_t nStep) const
    {
        auto& map = const_cast<CLumStringMap&>(*this);
        uint32_t nOrder = Order(nWord);
        if ((nOrder & ELEMENT) == 0)
        {
            SKeyed& e = map.Keyed(nOrder);
            return E{e.m_strKey, e.m_value};
        }
        uint32_t nPlace = (nOrder & ~ELEMENT) + nStep;
        SPage& page = map.Page(nPlace / PAGE_ENTRIES);
        uint32_t nIndex = static_cast<uint32_t>(page.m_nKey) * PAGE_ENTRIES + nPlace % PAGE_ENTRIES;
        const CLumKey& name = m_aNames[page.m_nKey >> 32];
        const char* psz;
        {
            std::lock_guard<std::mutex> lock(m_cKeyLock);
            if (m_aGivenKeys.size() <= k)
                m_aGivenKeys.resize(m_nCount, nullptr);
            if (m_aGivenKeys[k] == nullptr)
                m_aGivenKeys[k] = StoreElementKey(name, nIndex).m_psz;
            psz = m_aGivenKeys[k];
        }
        return E{CLumKey(psz, static_cast<uint32_t>(name.size() + 1 + Digits(nIndex))),
                 page.m_aValue[nPlace % PAGE_ENTRIES]};
    }

    // Open addressing over entry numbers of `aRecords`, which hold keys and hashes.
    template <class Records>
    static uint32_t FindSlot(const std::vector<uint32_t>& aSlots, std::string_view key, uint32_t nHash,
                             const Records& aRecords) noexcept
    {
        if (aSlots.empty())
            return EMPTY;
        size_t nMask = aSlots.size() - 1;
        for (size_t i = Spread(nHash) & nMask;; i = (i + 1) & nMask)
        {
            uint32_t n = aSlots[i];
            if (n == EMPTY)
                return EMPTY;
            const CLumKey& k = KeyOf(aRecords, n);
            if (k.m_nHash == nHash && k.size() == key.size() &&
                std::char_traits<char>::compare(k.data(), key.data(), key.size()) == 0)
                return n;
        }
    }
    static const CLumKey& KeyOf(const std::vector<std::unique_ptr<SKeyed, SRawDelete>>& aBlocks, uint32_t n)
    {
        return aBlocks[n / BLOCK_ENTRIES].get()[n % BLOCK_ENTRIES].m_strKey;
    }
    static const CLumKey& KeyOf(const std::vector<CLumKey>& aNames, uint32_t n) { return aNames[n]; }

    // The slot a hash starts at: FNV-1a leaves its low bits poorly mixed.
    static size_t Spread(uint32_t nHash) noexcept
    {
        uint32_t h = nHash;
        h ^= h >> 16;
        h *= 0x85ebca6bu;
        h ^= h >> 13;
        return h;
    }

    static void Place(std::vector<uint32_t>& aSlots, uint32_t nEntry, uint32_t nHash) noexcept
    {
        size_t nMask = aSlots.size() - 1;
        size_t i = Spread(nHash) & nMask;
        while (aSlots[i] != EMPTY)
            i = (i + 1) & nMask;
        aSlots[i] = nEntry;
    }

    void Grow()
    {
        std::vector<uint32_t> aSlots(m_aSlots.empty() ? 32 : m_aSlots.size() * 2, EMPTY);
        for (uint32_t n = 0; n < m_nKeyed; ++n)
            Place(aSlots, n, Keyed(n).m_strKey.m_nHash);
        m_aSlots.swap(aSlots);
    }

    CLumKey StoreKey(std::string_view key)
    {
        char* p = ReserveKey(key.size() + 1);
        if (!key.empty())
            memcpy(p, key.data(), key.size());
        p[key.size()] = '\0';
        return CLumKey(p, static_cast<uint32_t>(key.size()));
    }

    static size_t Digits(uint32_t nIndex) noexcept
    {
        size_t nDigits = 1;
        for (uint64_t nBound = 10; nDigits < 10 && nIndex >= nBound; nBound *= 10)
            ++nDigits;
        return nDigits;
    }

    // NAME:INDEX written straight into the key blocks.
    CLumKey StoreElementKey(std::string_view name, uint32_t nIndex) const
    {
        // Every element made formats its index: two digits at a time, from the end.
        static const char* const pszPairs = "00010203040506070809101112131415161718192021222324"
                                            "25262728293031323334353637383940414243444546474849"
                                            "50515253545556575859606162636465666768697071727374"
                                            "75767778798081828384858687888990919293949596979899";
        size_t nLength = name.size() + 1 + Digits(nIndex);
        char* p = ReserveKey(nLength + 1);
        CopyName(p, name);
        p[name.size()] = ':';
        char* q = p + nLength;
        *q = '\0';
        for (; nIndex >= 100; nIndex /= 100)
        {
            q -= 2;
            memcpy(q, pszPairs + 2 * (nIndex % 100), 2);
        }
        if (nIndex >= 10)
            memcpy(q - 2, pszPairs + 2 * nIndex, 2);
        else
            q[-1] = static_cast<char>('0' + nIndex);
        return CLumKey(p, static_cast<uint32_t>(nLength));
    }

    // The name of an array, nearly always a few bytes, copied without a call: two
    // overlapping moves read nothing beyond the name.
    static void CopyName(char* p, std::string_view name) noexcept
    {
        const char* s = name.data();
        size_t n = name.size();
        if (n >= 4 && n <= 8)
        {
            memcpy(p, s, 4);
            memcpy(p + n - 4, s + n - 4, 4);
        }
        else if (n >= 1 && n < 4)
        {
            p[0] = s[0];
            p[n / 2] = s[n / 2];
            p[n - 1] = s[n - 1];
        }
        else
            memcpy(p, s, n);
    }

    // Room for a key of `nNeed` bytes with its terminator.
    char* ReserveKey(size_t nNeed) const
    {
        char* p;
        if (nNeed > KEY_BLOCK / 4)
        {
            // A long key gets a block of its own, and the current one stays in use.
            m_aKeyBlocks.emplace_back(new char[nNeed]);
            p = m_aKeyBlocks.back().get();
        }
        else
        {
            if (nNeed > m_nKeyFree)
            {
                m_aKeyBlocks.emplace_back(new char[KEY_BLOCK]);
                m_pKeyFree = m_aKeyBlocks.back().get();
                m_nKeyFree = KEY_BLOCK;
            }
            p = m_pKeyFree;
            m_pKeyFree += nNeed;
            m_nKeyFree -= nNeed;
        }
        return p;
    }

    // The element obtained last, which a read right after its write (`a(i) = ...`, then
    // `a(i)`) finds again without its page. Entries never move while the map is not
    // emptied. Only obtaining sets it: finding leaves the map as it is.
    T* Remember(uint32_t nName, uint32_t nIndex, T* pValue) noexcept
    {
        m_nLastName = nName;
        m_nLastIndex = nIndex;
        m_pLastElement = pValue;
        return pValue;
    }

    // A cache names this map while it was made by it since the map was last emptied.
    uint32_t CachedName(std::string_view name, CLumElementCache& cache) noexcept
    {
        if (cache.m_pMap == this && cache.m_nMapSerial == m_nSerial)
            return cache.m_nName;
        uint32_t nName = FindName(name, Hash(name));
        if (nName != EMPTY)
            cache = CLumElementCache{this, m_nSerial, nName, ~uint64_t(0), nullptr};
        return nName;
    }
    SPage* CachedPage(uint32_t nName, uint32_t nIndex, CLumElementCache& cache) noexcept
    {
        uint64_t nKey = PageKey(nName, nIndex);
        if (cache.m_nPageKey == nKey)
            return static_cast<SPage*>(cache.m_pPage);
        uint32_t nPage = FindPage(nKey);
        if (nPage == EMPTY)
            return nullptr;
        cache.m_nPageKey = nKey;
        cache.m_pPage = &Page(nPage);
        return static_cast<SPage*>(cache.m_pPage);
    }

    // The names of arrays, each with a number for the keys of its pages.
    uint32_t FindName(std::string_view name, uint32_t nHash) const noexcept
    {
        return FindSlot(m_aNameSlots, name, nHash, m_aNames);
    }
    uint32_t ObtainName(std::string_view name)
    {
        uint32_t nHash = Hash(name);
        uint32_t n = FindName(name, nHash);
        return n != EMPTY ? n : AddName(name, nHash);
    }
    uint32_t AddName(std::string_view name, uint32_t nHash)
    {
        if ((m_aNames.size() + 1) * 2 > m_aNameSlots.size())
        {
            std::vector<uint32_t> aSlots(m_aNameSlots.empty() ? 16 : m_aNameSlots.size() * 2, EMPTY);
            for (uint32_t i = 0; i < m_aNames.size(); ++i)
                Place(aSlots, i, m_aNames[i].m_nHash);
            m_aNameSlots.swap(aSlots);
        }
        m_aNames.reserve(m_aNames.size() + 1);
        m_aNamePages.reserve(m_aNames.size() + 1);
        CLumKey cName = StoreKey(name);
        cName.m_nHash = nHash;
        uint32_t n = static_cast<uint32_t>(m_aNames.size());
        m_aNames.push_back(cName);
        m_aNamePages.emplace_back();
        Place(m_aNameSlots, n, nHash);
        return n;
    }

    // Pages in blocks of their own up to about 1 MiB of them, then in blocks cut from
    // large ones on huge pages: a page fault for every 4 KiB of a million elements'
    // pages cost a run as much as the elements' stores. A smaller map keeps small
    // blocks, as a huge page is resident whole once touched.
    static constexpr size_t SMALL_PAGE_BLOCKS = (size_t(1) << 20) / (sizeof(SPage) * BLOCK_PAGES);
    void AddPageBlock()
    {
        constexpr size_t nBytes = sizeof(SPage) * BLOCK_PAGES;
        static_assert(nBytes <= LUM_LARGE_BLOCK, "a large block holds a block of pages");
        m_aPageBlocks.reserve(m_aPageBlocks.size() + 1);
        void* p;
        if (m_aPageBlocks.size() < SMALL_PAGE_BLOCKS)
            p = ::operator new(nBytes);
        else
        {
            if (m_nChunkLeft < nBytes)
            {
                m_aPageChunks.reserve(m_aPageChunks.size() + 1);
                m_pChunkFree = static_cast<char*>(LumLargeBlockAlloc());
                m_aPageChunks.push_back(m_pChunkFree);
                m_nChunkLeft = LUM_LARGE_BLOCK;
            }
            p = m_pChunkFree;
            m_pChunkFree += nBytes;
            m_nChunkLeft -= nBytes;
        }
        static_assert(std::is_nothrow_default_constructible<SPage>::value, "pages are made without failing");
        SPage* pPages = static_cast<SPage*>(p);
        std::uninitialized_default_construct_n(pPages, BLOCK_PAGES);
        m_aPageBlocks.push_back(pPages);
    }
    void FreePages() noexcept
    {
        for (size_t n = 0; n < m_aPageBlocks.size(); ++n)
        {
            std::destroy_n(m_aPageBlocks[n], BLOCK_PAGES);
            if (n < SMALL_PAGE_BLOCKS)
                ::operator delete(m_aPageBlocks[n]);
        }
        for (void* p : m_aPageChunks)
            LumLargeBlockFree(p);
        m_aPageBlocks.clear();
        m_aPageChunks.clear();
        m_pChunkFree = nullptr;
        m_nChunkLeft = 0;
    }

    // The pages, found by the array's number and the index divided by the page size.
    static uint64_t PageKey(uint32_t nName, uint32_t nIndex) noexcept
    {
        return (uint64_t(nName) << 32) | (nIndex / PAGE_ENTRIES);
    }
    static size_t SpreadPage(uint64_t nKey) noexcept
    {
        nKey ^= nKey >> 31;
        nKey *= 0x9E3779B97F4A7C15ull;
        return static_cast<size_t>(nKey ^ (nKey >> 29));
    }
    uint32_t FindPage(uint64_t nKey) const noexcept
    {
        const SNamePages& pages = m_aNamePages[nKey >> 32];
        uint32_t nAt = static_cast<uint32_t>(nKey);
        if (nAt < pages.m_aDense.size() && pages.m_aDense[nAt] != EMPTY)
            return pages.m_aDense[nAt];
        if (m_aPageSlots.empty())
            return EMPTY;
        size_t nMask = m_aPageSlots.size() - 1;
        for (size_t i = SpreadPage(nKey) & nMask;; i = (i + 1) & nMask)
        {
            const PageSlot& slot = m_aPageSlots[i];
            if (slot.m_nKey == nKey)
                return slot.m_nPage;
            if (slot.m_nKey == NO_PAGE)
                return EMPTY;
        }
    }
    static void PlacePage(std::vector<PageSlot>& aSlots, uint64_t nKey, uint32_t nPage) noexcept
    {
        size_t nMask = aSlots.size() - 1;
        size_t i = SpreadPage(nKey) & nMask;
        while (aSlots[i].m_nKey != NO_PAGE)
            i = (i + 1) & nMask;
        aSlots[i] = PageSlot{nKey, nPage};
    }
    uint32_t ObtainPage(uint32_t nName, uint32_t nIndex)
    {
        uint64_t nKey = PageKey(nName, nIndex);
        uint32_t n = FindPage(nKey);
        return n != EMPTY ? n : AddPage(nKey);
    }
    uint32_t AddPage(uint64_t nKey)
    {
        // Everything that may fail to allocate comes first, so a failure leaves the
        // map as it was.
        if (m_nPages >= MAX_PAGES)
            throw std::bad_alloc();
        SNamePages& pages = m_aNamePages[nKey >> 32];
        uint32_t nAt = static_cast<uint32_t>(nKey);
        // Near the pages the name has, a page is found by its place in the name's
        // table; far from them (an index of millions in a small array), by its hash.
        bool fDense = nAt < 2 * (size_t(pages.m_nPages) + 32);
        if (fDense && nAt >= pages.m_aDense.size())
            pages.m_aDense.resize(std::max<size_t>(nAt + 1, 2 * pages.m_aDense.size()), EMPTY);
        if (!fDense && (m_nHashedPages + 1) * 4 > m_aPageSlots.size() * 3)
        {
            std::vector<PageSlot> aSlots(m_aPageSlots.empty() ? 16 : m_aPageSlots.size() * 2,
                                         PageSlot{NO_PAGE, 0});
            for (const PageSlot& slot : m_aPageSlots)
                if (slot.m_nKey != NO_PAGE)
                    PlacePage(aSlots, slot.m_nKey, slot.m_nPage);
            m_aPageSlots.swap(aSlots);
        }
        if (m_nPages % BLOCK_PAGES == 0 && m_nPages / BLOCK_PAGES == m_aPageBlocks.size())
            AddPageBlock();
        uint32_t n = m_nPages++;
        Page(n).m_nKey = nKey;
        Page(n).m_nNumber = n;
        ++pages.m_nPages;
        if (fDense)
            pages.m_aDense[nAt] = n;
        else
        {
            PlacePage(m_aPageSlots, nKey, n);
            ++m_nHashedPages;
        }
        return n;
    }

    // The entries with keys, the keys that are no element's.
    // In blocks of raw memory: an entry is made when it is inserted, so that a store of
    // a few variables touches the memory of a few.
    std::vector<std::unique_ptr<SKeyed, SRawDelete>> m_aBlocks;
    void DestroyKeyed() noexcept
    {
        for (uint32_t n = 0; n < m_nKeyed; ++n)
            Keyed(n).~SKeyed();
        m_nKeyed = 0;
    }
    // Their numbers by their hash.
    std::vector<uint32_t> m_aSlots;
    // What was inserted, in its order: an entry's number, an element's place or a run
    // of places after an element's; m_nRunPlace continues the newest run.
    std::vector<std::unique_ptr<uint32_t[]>> m_aOrderBlocks;
    uint32_t m_nOrderWords = 0;
    uint32_t m_nRunPlace = EMPTY;
    // The keys' bytes: an iteration of a map it may not change gives an element's.
    mutable std::vector<std::unique_ptr<char[]>> m_aKeyBlocks;
    // The bytes given to elements' keys, by their place in the order, under the lock.
    mutable std::vector<const char*> m_aGivenKeys;
    mutable std::mutex m_cKeyLock;
    uint32_t m_nCount = 0;
    uint32_t m_nKeyed = 0;
    mutable char* m_pKeyFree = nullptr;
    mutable size_t m_nKeyFree = 0;
    std::vector<CLumKey> m_aNames;
    std::vector<uint32_t> m_aNameSlots;
    // Blocks of BLOCK_PAGES pages: the first SMALL_PAGE_BLOCKS each of its own, the rest
    // cut from the large blocks of m_aPageChunks.
    std::vector<SPage*> m_aPageBlocks;
    std::vector<void*> m_aPageChunks;
    char* m_pChunkFree = nullptr;
    size_t m_nChunkLeft = 0;
    std::vector<PageSlot> m_aPageSlots;
    // The pages of each name, by the name's number: those near its others in a table
    // by the index divided by the page size, the rest in m_aPageSlots.
    struct SNamePages
    {
        std::vector<uint32_t> m_aDense;
        uint32_t m_nPages = 0;
    };
    std::vector<SNamePages> m_aNamePages;
    uint32_t m_nPages = 0;
    uint32_t m_nHashedPages = 0;
    uint32_t m_nLastName = EMPTY;
    uint32_t m_nLastIndex = 0;
    T* m_pLastElement = nullptr;
    // Names this map's contents for caches: unique among all maps, renewed when the
    // map is emptied.
    uint64_t m_nSerial = NewSerial();

    static uint64_t NewSerial() noexcept
    {
        static std::atomic<uint64_t> s_nSerial{0};
        return ++s_nSerial;
    }
};
