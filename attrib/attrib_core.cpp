#include "attrib/attrib_core.h"

#include "attrib/stream_io.h"
#include "platform/codepage.h"
#include "text/string_core.h"

#include <ztree/runtime.h>

#include <algorithm>
#include <cstring>
#include <istream>
#include <ostream>
#include <string>

namespace ztree_impl {

int foldUnit(zwchar c) noexcept
{
    const unsigned u = static_cast<std::uint16_t>(c);
    if (u < 128)
        return static_cast<int>(u - 'A' < 26u ? u | 0x20 : u);
    const unsigned lower = static_cast<std::uint16_t>(platform::lowerUnit(c));
    return static_cast<int>(lower < 128 ? u : lower);
}

namespace {

int fold(char c) noexcept
{
    const unsigned char u = static_cast<unsigned char>(c);
    return u - 0x41u < 26u ? u | 0x20 : u;
}
int fold(zwchar c) noexcept
{
    return foldUnit(c);
}

template <class Ch> int compareFolded(const Ch* a, const Ch* b) noexcept
{
    for (;; ++a, ++b) {
        if (*a == *b) {
            if (!*a)
                return 0;
            continue;
        }
        const int difference = fold(*a) - fold(*b);
        if (difference || !*a)
            return difference;
    }
}
template <class Ch> int compareFolded(const Ch* a, int na, const Ch* b, int nb) noexcept
{
    for (int i = 0; i < na && i < nb; ++i)
        if (a[i] != b[i])
            if (const int difference = fold(a[i]) - fold(b[i]))
                return difference;
    return na - nb;
}

} // namespace

int compareNames(const char* a, const char* b) noexcept
{
    return compareFolded(a, b);
}
int compareNames(const zwchar* a, const zwchar* b) noexcept
{
    return compareFolded(a, b);
}
int compareNames(const char* a, int na, const char* b, int nb) noexcept
{
    return compareFolded(a, na, b, nb);
}
int compareNames(const zwchar* a, int na, const zwchar* b, int nb) noexcept
{
    return compareFolded(a, na, b, nb);
}
bool equalNames(const char* a, int na, const char* b, int nb) noexcept
{
    return equalFolded(a, na, b, nb);
}
bool equalNames(const zwchar* a, int na, const zwchar* b, int nb) noexcept
{
    return equalFolded(a, na, b, nb);
}

template <class Kind> void AttribCore<Kind>::take(Text& field, Ch* text, int length) noexcept
{
    drop(field);
    field.text = text;
    field.length = length;
}

template <class Kind> void AttribCore<Kind>::dispose(Impl* impl) noexcept
{
    if (!impl)
        return;
    drop(impl->name);
    drop(impl->value);
    if (!impl->inBlock)
        delete impl;
}

template <class Kind> typename Kind::Impl* AttribCore<Kind>::need(Impl*& impl)
{
    if (!impl)
        impl = new Impl;
    if (!impl)
        throw structExcept(ztree::errMemory);
    return impl;
}

template <class Kind> typename Kind::Impl* AttribCore<Kind>::make(const Ch* name, const Ch* value)
{
    Impl* impl = nullptr;
    try {
        setField(impl, &AttribFields<Ch>::name, name);
        if (value)
            setField(impl, &AttribFields<Ch>::value, value);
    } catch (...) {
        dispose(impl);
        throw;
    }
    return impl;
}

template <class Kind> typename Kind::Impl* AttribCore<Kind>::copy(const Impl& from)
{
    Impl* impl = nullptr;
    try {
        assign(impl, &from);
    } catch (...) {
        dispose(impl);
        throw;
    }
    return impl;
}

template <class Kind>
typename Kind::Attrib* AttribCore<Kind>::makeInBlock(const Ch* name, int nameLength, const Ch* value,
                                                     int valueLength)
{
    const bool empty = !name && valueLength < 1; // holds nothing, not even an implementation object
    void* block = platform::heapAlloc(empty ? sizeof(Attrib)
                                            : placeBytes + textUnits(nameLength, valueLength) * sizeof(Ch));
    if (!block)
        throw structExcept(ztree::errMemory);
    if (empty)
        return ::new (block) Attrib(static_cast<Impl*>(nullptr));
    Ch* text = reinterpret_cast<Ch*>(static_cast<char*>(block) + placeBytes);
    return emplace(block, text, name, nameLength, value, valueLength);
}

template <class Kind> void AttribCore<Kind>::assign(Impl*& to, const Impl* from)
{
    if (to == from)
        return;
    if (to)
        to->changes();
    if (!from) {
        drop(to->name);
        drop(to->value);
        return;
    }
    platform::HeapPtr<Ch> name(from->name.text ? duplicate(from->name.text, from->name.length) : nullptr);
    platform::HeapPtr<Ch> value(from->value.text ? duplicate(from->value.text, from->value.length) : nullptr);
    need(to)->tellOwner();
    take(to->name, name.release(), from->name.length);
    take(to->value, value.release(), from->value.length);
}

template <class Kind>
void AttribCore<Kind>::setField(Impl*& impl, Text AttribFields<Ch>::*field, const Ch* text)
{
    if (!text) {
        if (impl) {
            impl->changes();
            drop(impl->*field);
        }
        return;
    }
    if (impl && text == (impl->*field).text)
        return;
    if (impl)
        impl->changes();
    const int length = textLength(text);
    if (length == 0) {
        drop(need(impl)->*field);
        return;
    }
    if (impl && length <= (impl->*field).length) {
        // The room of the longer text serves; the new one may be a part of it.
        Text& target = impl->*field;
        std::char_traits<Ch>::move(target.text, text, static_cast<std::size_t>(length));
        target.text[length] = 0;
        target.length = length;
        return;
    }
    platform::HeapPtr<Ch> copy(duplicate(text, length));
    Text& target = need(impl)->*field;
    impl->tellOwner();
    take(target, copy.release(), length);
}

template <class Kind> int AttribCore<Kind>::compare(const Attrib* a, const Attrib* b) noexcept
{
    if (a == b)
        return 0;
    const Impl* left = of(*a);
    const Impl* right = b ? of(*b) : nullptr;
    if (left && right) {
        static const Ch none = 0;
        return compareNames(left->name.text ? left->name.text : &none,
                            right->name.text ? right->name.text : &none);
    }
    return left ? 1 : -1;
}

// --- binary form ---

template <class Kind> int AttribCore<Kind>::save(const Impl* impl, std::ostream& out)
{
    const Text none;
    const Text& name = impl ? impl->name : none;
    const Text& value = impl ? impl->value : none;
    auto write = [&out](const Text& field) {
        writeLength(out, static_cast<std::uint32_t>(field.length));
        if (field.length)
            out.write(reinterpret_cast<const char*>(field.text),
                      static_cast<std::streamsize>(static_cast<std::size_t>(field.length) * sizeof(Ch)));
    };
    write(name);
    write(value);
    // Kept: the wide value takes twice its size.
    static const char zeros[256] = {};
    std::size_t more = static_cast<std::size_t>(value.length) * (Kind::saveFactor - sizeof(Ch));
    for (; more > 0; more -= std::min(more, sizeof zeros))
        out.write(zeros, static_cast<std::streamsize>(std::min(more, sizeof zeros)));
    return 0;
}

template <class Kind> typename Kind::Char* AttribCore<Kind>::readField(std::istream& in, int& length)
{
    std::uint32_t stated = 0;
    std::uint32_t got = 0;
    platform::HeapPtr<char> bytes;
    if (readLength(in, stated))
        bytes.reset(readBlock(in, std::uint64_t{stated} * sizeof(Ch), sizeof(Ch), got));
    length = static_cast<int>(got / sizeof(Ch));
    if (length == 0)
        return nullptr;
    Ch* text = reinterpret_cast<Ch*>(bytes.release());
    text[length] = 0;
    return text;
}

template <class Kind> int AttribCore<Kind>::load(Impl*& impl, std::istream& in)
{
    int nameLength = 0;
    int valueLength = 0;
    platform::HeapPtr<Ch> name(readField(in, nameLength));
    platform::HeapPtr<Ch> value(readField(in, valueLength));
    if (!impl && !name && !value)
        return 0;
    need(impl);
    impl->changes();
    impl->tellOwner();
    take(impl->name, name.release(), nameLength);
    take(impl->value, value.release(), valueLength);
    return 0;
}

template struct AttribCore<NarrowAttrib>;
template struct AttribCore<WideAttrib>;

namespace {
template <class Kind> struct Lengths {
    static int name(const typename Kind::Attrib& a) noexcept
    {
        const auto* impl = AttribCore<Kind>::of(a);
        return impl ? impl->name.length : 0;
    }
    static int value(const typename Kind::Attrib& a) noexcept
    {
        const auto* impl = AttribCore<Kind>::of(a);
        return impl ? impl->value.length : 0;
    }
};
} // namespace

ZAttrib* newAttrib(const char* name, int nameLength, const char* value, int valueLength)
{
    return AttribCore<NarrowAttrib>::makeInBlock(name, nameLength, value, valueLength);
}
ZAttribW* newAttrib(const zwchar* name, int nameLength, const zwchar* value, int valueLength)
{
    return AttribCore<WideAttrib>::makeInBlock(name, nameLength, value, valueLength);
}
int nameLength(const ZAttrib& attrib) noexcept
{
    return Lengths<NarrowAttrib>::name(attrib);
}
int nameLength(const ZAttribW& attrib) noexcept
{
    return Lengths<WideAttrib>::name(attrib);
}
int valueLength(const ZAttrib& attrib) noexcept
{
    return Lengths<NarrowAttrib>::value(attrib);
}
int valueLength(const ZAttribW& attrib) noexcept
{
    return Lengths<WideAttrib>::value(attrib);
}

} // namespace ztree_impl
