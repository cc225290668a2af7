#pragma once
// The one body behind ZString and ZStringW.

#include "platform/single_thread.h"
#include "platform/small_block.h"

#include <ztree/text.h>

#include <climits>
#include <cstring>

[[noreturn]] void throwNoMemory(); // structExcept 0x84201001

/// All that the twins differ in.
template <class Ch> struct StringTraits;
template <> struct StringTraits<char> {
    static constexpr const char* blanks = "\n\t ";
    static void copyTag(ztree::detail::StringFields<char>& to, const ztree::detail::StringFields<char>& from)
    {
        to.m_uCodepage = from.m_uCodepage;
    }
    static void upper(char* s, int n) noexcept;
    static void lower(char* s, int n) noexcept;
    /// Callers rely on an empty prefix starting no narrow string, but every wide one.
    static constexpr bool emptyPrefix = false;
};
template <> struct StringTraits<zwchar> {
    static constexpr const zwchar* blanks = ZTEXT("\n\t ");
    static void copyTag(ztree::detail::StringFields<zwchar>&, const ztree::detail::StringFields<zwchar>&) {}
    static void upper(zwchar* s, int n) noexcept;
    static void lower(zwchar* s, int n) noexcept;
    static constexpr bool emptyPrefix = true;
};

/// Units up to the terminator, 0 for null; structExcept 0x84201001 for more than an int counts.
template <class Ch> int textLength(const Ch* s);

/// Decimal digits of value into out (room for 12), returns how many units.
template <class Ch> int decimalText(int value, Ch* out) noexcept;

/// n units in a block of their own from platform::heapAlloc, with a terminator. Throws structExcept
/// 0x84201001.
template <class Ch> Ch* duplicate(const Ch* text, int n)
{
    Ch* copy = platform::allocArray<Ch>(static_cast<std::size_t>(n) + 1);
    if (!copy)
        throwNoMemory();
    std::memcpy(copy, text, static_cast<std::size_t>(n) * sizeof(Ch));
    copy[n] = 0;
    return copy;
}

/// Text, sharing and editing. Shells check what the text may be; here s is not null and lengths are counted.
template <class Ch> class StringCore : public ztree::detail::StringFields<Ch>, public platform::SmallObject {
public:
    using Traits = StringTraits<Ch>;
    using Fields = ztree::detail::StringFields<Ch>;
    static constexpr int inlineUnits = ztree::detail::stringInline;

    explicit StringCore(const void* owner) noexcept { m_pOwner = owner; }
    /// A copy, sharing the block.
    StringCore(const void* owner, const Fields& src) noexcept : Fields(src)
    {
        m_pOwner = owner;
        m_nGrowth = Fields().m_nGrowth; // the step is not copied
        if (m_pBlock)
            countUp(*m_pBlock);
    }
    ~StringCore() override
    {
        if (m_pBlock)
            release(m_pBlock);
    }
    StringCore(const StringCore&) = delete;
    StringCore& operator=(const StringCore&) = delete;

    const Ch* text() const noexcept { return m_pText ? m_pText : m_achInline; }
    Ch* text() noexcept { return m_pText ? m_pText : m_achInline; }
    int length() const noexcept { return m_nLength; }
    int growth() const noexcept { return m_nGrowth; }

    // --- memory ---
    void reset() noexcept;
    /// Takes the text of src, sharing its block.
    void share(const Fields& src) noexcept;
    /// Room for n units that belong to this object alone. n of at most 16 moves the text inline and cuts it
    /// to n units; so does n below the length when the block is shared. Throws before anything changes.
    void reserve(int n) { reserve(n, true); }
    /// Before an edit in place.
    void unshare() { reserve(m_nLength); }

    // --- setting ---
    /// The text becomes n > 0 units of s, which may lie inside it.
    void assign(const Ch* s, int n);
    /// Bytes in front of the text in a block that take() gets.
    static constexpr std::size_t blockHead = 8;
    static constexpr std::size_t leastTaken = 4096;
    /// The text becomes the n units behind blockHead in a block of at least leastTaken bytes from
    /// platform::heapAlloc, which the string owns from now on; there is room for a terminator.
    void take(void* block, std::size_t bytes, int n) noexcept;
    void append(const Ch* s, int n);
    void append(Ch c)
    {
        const int step = m_nGrowth > 1 ? m_nGrowth : 1;
        if (m_pBlock && m_nLength >= m_nCapacity && m_nLength < INT_MAX - step && ownsBlock() &&
            headOf(m_pBlock)->room >= m_nCapacity + step) {
            m_nCapacity += step; // the block is large enough for one step more
            m_pText[m_nLength] = c;
            setLength(m_nLength + 1);
        } else {
            append(&c, 1);
        }
    }
    /// After the caller wrote n units behind a reserve of at least n.
    void setLength(int n) noexcept
    {
        m_nLength = n;
        text()[n] = 0;
    }

    // --- reading ---
    int indexOf(Ch c, int from) const noexcept;
    int indexOf(const Ch* s, int from) const noexcept;
    int lastIndexOf(Ch c) const noexcept;
    bool startsWith(const Ch* prefix) const noexcept;
    /// Cuts [start, end) to the text; false when nothing is left.
    bool clampRange(int& start, int& end) const noexcept;

    // --- editing ---
    void setAt(int i, Ch c);
    int trim(const Ch* set, int flags);
    int remove(const Ch* set);
    int exchange(const Ch* set, Ch c);
    int expand(int n, Ch c);
    int truncate(int start, int count);
    int setGrowth(int step) noexcept;
    int upper();
    int lower();

protected:
    using Fields::m_achInline;
    using Fields::m_nCapacity;
    using Fields::m_nGrowth;
    using Fields::m_nLength;
    using Fields::m_pBlock;
    using Fields::m_pOwner;
    using Fields::m_pText;

    /// Without `keep` the old text may be dropped.
    void reserve(int n, bool keep);

private:
    using Count = std::atomic<std::int32_t>;
    /// Start of a block. The room is the physical one and may exceed the capacity that the object states,
    /// so that n single appends cost O(n).
    struct BlockHead {
        std::int32_t room; // units behind the head, terminator not counted
        Count count;
    };

    static BlockHead* headOf(Count* block) noexcept
    {
        static_assert(offsetof(BlockHead, count) == 4 && sizeof(BlockHead) == blockHead,
                      "the count stands before the text");
        return reinterpret_cast<BlockHead*>(reinterpret_cast<char*>(block) - offsetof(BlockHead, count));
    }
    static Ch* textOf(BlockHead* head) noexcept { return reinterpret_cast<Ch*>(head + 1); }
    static BlockHead* makeBlock(int room, BlockHead* old = nullptr) noexcept;
    static std::uint64_t blockBytes(int room) noexcept;
    static void freeBlock(Count* block) noexcept;
    static void release(Count* block) noexcept
    {
        // The last holder needs no atomic exchange: nobody else can come to hold the block.
        const std::int32_t holders = block->load(std::memory_order_acquire);
        if (holders != 1 && platform::isSingleThreaded())
            block->store(holders - 1, std::memory_order_relaxed);
        else if (holders == 1 || block->fetch_sub(1, std::memory_order_acq_rel) == 1)
            freeBlock(block);
    }
    static void countUp(Count& holders) noexcept
    {
        if (platform::isSingleThreaded())
            holders.store(holders.load(std::memory_order_relaxed) + 1, std::memory_order_relaxed);
        else
            holders.fetch_add(1, std::memory_order_relaxed);
    }
    void takeFrom(const Fields& src) noexcept
    {
        if (src.m_pBlock) {
            countUp(*src.m_pBlock);
            m_pBlock = src.m_pBlock;
            m_pText = src.m_pText;
        } else {
            std::memcpy(m_achInline, src.m_achInline, sizeof m_achInline);
        }
        m_nCapacity = src.m_nCapacity;
        m_nLength = src.m_nLength;
        Traits::copyTag(*this, src);
    }
    bool ownsBlock() const noexcept { return m_pBlock && m_pBlock->load(std::memory_order_acquire) == 1; }
    void letGo() noexcept;
    void useBlock(BlockHead* head, int capacity) noexcept;
    void moveInline(int n) noexcept;
    void enlarge(int target, bool keep);
    void freshBlock(int target, bool keep, int room);
    int grown(int capacity, int n) const noexcept;
    bool overlaps(const Ch* s, int n) const noexcept;
    void cutTo(int start, int n);
};

extern template class StringCore<char>;
extern template class StringCore<zwchar>;
