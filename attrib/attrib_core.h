#pragma once
// The one body behind ZAttrib and ZAttribW, and what other parts of the library make attributes with.

#include "attrib/name_hash.h"
#include "platform/heap.h"

#include <ztree/attributes.h>

#include <atomic>
#include <cstring>
#include <iosfwd>

namespace ztree_impl {

/// _stricmp and its wide twin: bytes fold by ASCII case, units by the wide case mapping (never from a unit
/// above 127 to one below: words of ASCII are folded without it).
int compareNames(const char* a, const char* b) noexcept;
int compareNames(const zwchar* a, const zwchar* b) noexcept;
int compareNames(const char* a, int na, const char* b, int nb) noexcept;
int compareNames(const zwchar* a, int na, const zwchar* b, int nb) noexcept;
bool equalNames(const char* a, int na, const char* b, int nb) noexcept;
bool equalNames(const zwchar* a, int na, const zwchar* b, int nb) noexcept;

/// A new attribute in one block with its texts; the caller deletes it. Lengths in units; name and value may
/// be null with length 0. Throws structExcept 0x84201001.
ZAttrib* newAttrib(const char* name, int nameLength, const char* value, int valueLength);
ZAttribW* newAttrib(const zwchar* name, int nameLength, const zwchar* value, int valueLength);
/// Lengths in units, 0 where there is no text.
int nameLength(const ZAttrib& attrib) noexcept;
int nameLength(const ZAttribW& attrib) noexcept;
int valueLength(const ZAttrib& attrib) noexcept;
int valueLength(const ZAttribW& attrib) noexcept;

/// memcpy of texts that are short as a rule.
inline void copyText(void* to, const void* from, std::size_t n) noexcept
{
    char* t = static_cast<char*>(to);
    const char* f = static_cast<const char*>(from);
    if (n > 32) {
        std::memcpy(t, f, n);
    } else if (n >= 8) {
        for (std::size_t i = 0; i + 8 < n; i += 8)
            std::memcpy(t + i, f + i, 8);
        std::memcpy(t + n - 8, f + n - 8, 8);
    } else if (n >= 4) {
        std::uint32_t first, last;
        std::memcpy(&first, f, 4);
        std::memcpy(&last, f + n - 4, 4);
        std::memcpy(t, &first, 4);
        std::memcpy(t + n - 4, &last, 4);
    } else if (n) {
        t[0] = f[0];
        t[n / 2] = f[n / 2];
        t[n - 1] = f[n - 1];
    }
}

/// A text field: null when empty. Its room may belong to the attribute's own block.
template <class Ch> struct AttribText {
    Ch* text = nullptr;
    int length = 0;
    bool inBlock = false;
};
template <class Ch> struct AttribFields : platform::HeapObject {
    AttribText<Ch> name;
    AttribText<Ch> value;
    bool inBlock = false; // shares a block with the public object
    // Bytes from a flag of whoever owns the block up to here, 0 for no flag: set once a text has a block of
    // its own.
    std::uint32_t ownerFlag = 0;
    // Changes of texts that somebody goes by without being told. Each watcher has a number of its own, as
    // long as there are no more than that; then some share one, and take each other's changes for theirs.
    static constexpr std::uint16_t watchers = 4096;
    static std::atomic<std::uint32_t> watchedChanges[watchers];
    std::uint16_t watcher = 0; // 0: nobody
    /// Before a text changes.
    void changes() noexcept
    {
        if (watcher)
            watchedChanges[watcher].fetch_add(1, std::memory_order_release);
    }
    void tellOwner() noexcept
    {
        if (ownerFlag)
            *reinterpret_cast<std::uint8_t*>(reinterpret_cast<std::uintptr_t>(this) - ownerFlag) = 1;
    }
};

template <class Ch> inline std::atomic<std::uint32_t> AttribFields<Ch>::watchedChanges[watchers];

struct NarrowAttrib {
    using Char = char;
    using Attrib = ZAttrib;
    using Impl = mZAttrib;
    static constexpr int saveFactor = 1; // bytes a unit of the value in the stream
};
struct WideAttrib {
    using Char = zwchar;
    using Attrib = ZAttribW;
    using Impl = mZAttribW;
    static constexpr int saveFactor = 4; // twice the size of a unit; readers of old streams expect it
};

} // namespace ztree_impl

class mZAttrib final : public ztree_impl::AttribFields<char> {};
class mZAttribW final : public ztree_impl::AttribFields<zwchar> {};

namespace ztree_impl {

template <class Kind> struct AttribCore {
    using Ch = typename Kind::Char;
    using Attrib = typename Kind::Attrib;
    using Impl = typename Kind::Impl;
    using Text = AttribText<Ch>;

    static Impl* make(const Ch* name, const Ch* value);
    static Impl* copy(const Impl& from);
    static Attrib* makeInBlock(const Ch* name, int nameLength, const Ch* value, int valueLength);
    /// Room for an attribute without its texts.
    static constexpr std::size_t placeBytes = sizeof(Attrib) + sizeof(Impl);
    /// Units that its texts need.
    static constexpr std::size_t textUnits(int nameLength, int valueLength) noexcept
    {
        return (nameLength > 0 ? static_cast<std::size_t>(nameLength) + 1 : 0) +
               (valueLength > 0 ? static_cast<std::size_t>(valueLength) + 1 : 0);
    }
    /// An attribute at `place`, its texts at `text`, which rises. The owner of the memory ends it by
    /// release().
    /// `flag` is a byte in the same block in front of it, or null.
    static Attrib* emplace(void* place, Ch*& text, const Ch* name, int nameLength, const Ch* value,
                           int valueLength, const std::uint8_t* flag = nullptr) noexcept
    {
        static_assert(sizeof(Attrib) % alignof(Impl) == 0, "the implementation follows the public object");
        Impl* impl = ::new (static_cast<char*>(place) + sizeof(Attrib)) Impl;
        impl->inBlock = true;
        if (flag)
            impl->ownerFlag = static_cast<std::uint32_t>(reinterpret_cast<const std::uint8_t*>(impl) - flag);
        auto put = [&text](Text& field, const Ch* from, int length) {
            if (length < 1)
                return;
            copyText(text, from, static_cast<std::size_t>(length) * sizeof(Ch));
            text[length] = 0;
            field.text = text;
            field.length = length;
            field.inBlock = true;
            text += length + 1;
        };
        put(impl->name, name, nameLength);
        put(impl->value, value, valueLength);
        return ::new (place) Attrib(impl);
    }
    /// What the destructor does, for an attribute that emplace() made.
    static void release(Attrib* attrib) noexcept
    {
        drop(attrib->m_pImpl->name);
        drop(attrib->m_pImpl->value);
    }
    static const Impl* of(const Attrib& attrib) noexcept { return attrib.m_pImpl; }
    static void dispose(Impl* impl) noexcept;
    /// From now on changes of its texts count in watchedChanges[watcher].
    static void watch(const Attrib& attrib, std::uint16_t watcher) noexcept
    {
        if (attrib.m_pImpl)
            attrib.m_pImpl->watcher = watcher;
    }
    static void assign(Impl*& to, const Impl* from);
    static void setField(Impl*& impl, Text AttribFields<Ch>::*field, const Ch* text);
    static int compare(const Attrib* a, const Attrib* b) noexcept;
    static int save(const Impl* impl, std::ostream& out);
    static int load(Impl*& impl, std::istream& in);

private:
    static Impl* need(Impl*& impl);
    static void drop(Text& field) noexcept
    {
        if (!field.inBlock)
            platform::heapFree(field.text);
        field = Text();
    }
    static void take(Text& field, Ch* text, int length) noexcept;
    static Ch* readField(std::istream& in, int& length);
};

extern template struct AttribCore<NarrowAttrib>;
extern template struct AttribCore<WideAttrib>;

} // namespace ztree_impl
