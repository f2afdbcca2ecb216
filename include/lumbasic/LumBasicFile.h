// The cursor over one program image. A read position is an address, so a run can
// move into the buffer of another image (a procedure of an imported program) on
// the same cursor.
//
// Every read is checked against the bounds of the image the position stands in:
// a damaged image fails with a CLumsException instead of reading outside memory.
// Only an image handed over as a bare pointer, with no length, is trusted unchecked.
#pragma once

#include <lumbasic/LumExport.h>
#include <lumbasic/LumObject.h>

#include <cstdint>
#include <cstring>
#include <memory>
#include <vector>

class CLumReadCache;
class CLumFastForm;
class CLumFilePolicy;

// The bytes of one loaded image, terminator included. When the image is freed the
// range is emptied, so holders of it can tell that it is gone.
struct LUM_API CLumImageRange
{
    const unsigned char* m_pBegin = nullptr;
    const unsigned char* m_pEnd = nullptr;
};

class LUM_API CLumBasicFile : public CLumObject
{
    LUM_DECLARE_RUNTIME(CLumBasicFile)
    friend class CLumFilePolicy;

public:
    // Reads a whole file and puts two zero bytes behind it.
    explicit CLumBasicFile(const char* pszPath);
    // Uses an image in memory without copying; the image stays the caller's and
    // must end in a token 0. Nothing is checked.
    explicit CLumBasicFile(const unsigned char* pData);
    // Uses an image in memory without copying, every read checked against `nLength` bytes.
    CLumBasicFile(const unsigned char* pData, size_t nLength);
    ~CLumBasicFile() override;

    CLumBasicFile(const CLumBasicFile&) = delete;
    CLumBasicFile& operator=(const CLumBasicFile&) = delete;

    unsigned short GetToken()
    {
        Need(2);
        unsigned short w = static_cast<unsigned short>(m_pPosition[0] | (m_pPosition[1] << 8));
        m_pPosition += 2;
        return w;
    }
    unsigned short PeekToken()
    {
        Need(2);
        return static_cast<unsigned short>(m_pPosition[0] | (m_pPosition[1] << 8));
    }
    long GetDWord()
    {
        Need(4);
        uint32_t n = static_cast<uint32_t>(m_pPosition[0]) | (static_cast<uint32_t>(m_pPosition[1]) << 8) |
                     (static_cast<uint32_t>(m_pPosition[2]) << 16) |
                     (static_cast<uint32_t>(m_pPosition[3]) << 24);
        m_pPosition += 4;
        return static_cast<int32_t>(n);
    }
    // The current position, then moves on by n bytes.
    void* GetPtr(int n)
    {
        Need(static_cast<size_t>(n < 0 ? 0 : n));
        unsigned char* p = m_pPosition;
        m_pPosition += n;
        return p;
    }
    // A counted text in place: the length word, then the bytes. Gives the bytes and,
    // in *pnLength, the length word. The text ends with a zero byte within its length
    // (checked), so it can be used as a C string.
    const char* GetCountedText(unsigned* pnLength = nullptr);

    unsigned char* GetPosition() const { return m_pPosition; }
    // Moves the position; leaving the current image looks up the image at the target.
    void SetPosition(unsigned char* p)
    {
        m_pPosition = p;
        if (!InRegion(p))
            FindRegion();
    }
    // Moves the position within the bounds it stands in, as a relative Seek does: a
    // position outside them fails at the next read.
    void MoveTo(unsigned char* p) { m_pPosition = p; }
    // Whether n bytes can be read at `p` within the bounds the position stands in.
    bool CanReadAt(const unsigned char* p, size_t n) const
    {
        uintptr_t nOffset = reinterpret_cast<uintptr_t>(p) - reinterpret_cast<uintptr_t>(m_pLo);
        return nOffset <= m_nRegion && m_nRegion - nOffset >= n;
    }
    unsigned char* GetBasePointer() const { return m_pBase; }
    unsigned int Read(void* p, unsigned int n);
    long Seek(long nOffset, unsigned int nFrom);
    void SetMemoryMode(const unsigned char* p);
    int GetStackDepth() const { return m_nStackDepth; }
    uint32_t GetLength() const { return m_nLength; }
    // The range of this object's own image, or null for an unchecked one.
    std::shared_ptr<const CLumImageRange> GetImage() const { return m_pImage; }
    // What this cursor learnt from what it read (trees, names), made on first use.
    CLumReadCache& GetReadCache();
    // The fast form of the statements this cursor runs, made on first use.
    CLumFastForm& GetFastForm() { return m_pFastForm != nullptr ? *m_pFastForm : MakeFastForm(); }
    // Whether n bytes can be read at the position.
    bool CanRead(size_t n) const { return CanReadAt(m_pPosition, n); }
    // Back to the image's first byte with no saved positions, for another run.
    void Rewind();
    // Drops what the cursor learnt (trees, fast form): after a run that failed half
    // way through learning it.
    void Forget() noexcept;

private:
    struct SavedPosition
    {
        unsigned char* m_pPosition;
        const unsigned char* m_pLo;
        size_t m_nRegion;
    };

    void Need(size_t n)
    {
        if (!CanRead(n))
            Damaged();
    }
    bool InRegion(const unsigned char* p) const
    {
        return reinterpret_cast<uintptr_t>(p) - reinterpret_cast<uintptr_t>(m_pLo) <= m_nRegion;
    }
    // Images beyond this are refused before they are read whole: no program needs one,
    // and a file of any size must not exhaust the host.
    static constexpr size_t MAX_IMAGE_LENGTH = size_t(256) << 20;

    // Copies an image that a host's resolver handed out, as a file's bytes are read.
    explicit CLumBasicFile(const std::vector<uint8_t>& aImage);
    void Adopt(const std::vector<uint8_t>& aContent);
    [[noreturn]] void Damaged() const;
    CLumFastForm& MakeFastForm();
    void FindRegion();
    void Register();

    std::vector<SavedPosition> m_aPositions;
    unsigned char* m_pPosition = nullptr;
    unsigned char* m_pBase = nullptr;
    int m_fOwnBuffer = 0;
    int m_nStackDepth = 0;
    uint32_t m_nLength = 0;

    // Bounds of the image the position stands in.
    const unsigned char* m_pLo = nullptr;
    size_t m_nRegion = 0;
    std::shared_ptr<CLumImageRange> m_pImage;
    CLumReadCache* m_pReadCache = nullptr;
    CLumFastForm* m_pFastForm = nullptr;
};
