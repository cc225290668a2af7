#pragma once
/// @file attributes.h
/// Name/value attributes and lists of them.

#include <ztree/containers.h>
#include <ztree/text.h>
#include <ztree/types.h>
#include <ztree/version.h>

#include <iosfwd>

class mZAttrib;
class mZAttribW;
class mZAttribList;
class mZAttribWList;
namespace ztree_impl {
template <class Kind> struct AttribCore;
template <class Kind> class AttribListCore;
} // namespace ztree_impl

/// A name and a value, both text.
///
/// Ownership: owns its texts. Texts handed out stay valid until the field next changes.
/// Threads: no lock; one attribute belongs to one thread at a time.
/// Failure: what stores text throws structExcept 0x84201001 and leaves the attribute as it was.
///
/// An attribute made without a name holds nothing. A name may be empty, getName() is null then too.
class ZTREE_API ZAttrib : public ZSortObject {
public:
    /// A null name stores nothing, the value included.
    ZAttrib(const char* name = nullptr, const char* value = nullptr);
    ZAttrib(const ZAttrib& other);
    const ZAttrib& operator=(const ZAttrib& other);
    ~ZAttrib() override;
    /// By name ignoring case; below 0 when this attribute sorts first. One that never stored anything
    /// sorts before one that did.
    int compare(const ZSortObject* other) const override;
    virtual unsigned int getLibVersion() const;

    /// Null when there is none.
    const char* getName() const;
    /// "" when there is none, never null.
    const char* getValue() const;
    /// A null text clears the field.
    void setName(const char* name);
    /// The same for the value.
    void setValue(const char* value);

    /// Length of the name (4 bytes, little-endian), its bytes, length of the value, its bytes. Returns 0.
    int save(std::ostream& out) const;
    /// Reads what save() wrote into both fields. In a stream that ends early a field gets what came, which
    /// may be nothing. Returns 0.
    int load(std::istream& in);

    static void* operator new(std::size_t bytes) noexcept { return platform::heapAlloc(bytes); }
    static void* operator new(std::size_t, void* place) noexcept { return place; }
    static void* operator new[](std::size_t bytes) noexcept { return platform::heapAlloc(bytes); }
    static void operator delete(void* block) noexcept { platform::heapFree(block); }
    static void operator delete(void*, void*) noexcept {}
    static void operator delete[](void* block) noexcept { platform::heapFree(block); }

private:
    template <class> friend struct ztree_impl::AttribCore;
    explicit ZAttrib(mZAttrib* impl) noexcept : m_pImpl(impl) {}
    mZAttrib* m_pImpl;
};

/// ZAttrib with UTF-16 texts; names compare by the wide case mapping.
class ZTREE_API ZAttribW : public ZSortObject {
public:
    /// A null name stores nothing, the value included.
    ZAttribW(const zwchar* name = nullptr, const zwchar* value = nullptr);
    ZAttribW(const unsigned short* name, const unsigned short* value = nullptr);
    ZAttribW(const ZAttribW& other);
    const ZAttribW& operator=(const ZAttribW& other);
    ~ZAttribW() override;
    /// By name ignoring case; below 0 when this attribute sorts first. One that never stored anything
    /// sorts before one that did.
    int compare(const ZSortObject* other) const override;
    virtual unsigned int getLibVersion() const;

    /// Null when there is none.
    const zwchar* getName() const;
    /// "" when there is none, never null.
    const zwchar* getValue() const;
    /// A null text clears the field.
    void setName(const zwchar* name);
    void setName(const unsigned short* name);
    /// The same for the value.
    void setValue(const zwchar* value);
    void setValue(const unsigned short* value);

    /// As ZAttrib::save with lengths in units. Kept: a unit of the name takes 2 bytes, one of the value 4
    /// (the second half of the value's bytes is zero), so that load(), which reads 2 for both, does not read
    /// it back.
    int save(std::ostream& out) const;
    int load(std::istream& in);

    static void* operator new(std::size_t bytes) noexcept { return platform::heapAlloc(bytes); }
    static void* operator new(std::size_t, void* place) noexcept { return place; }
    static void* operator new[](std::size_t bytes) noexcept { return platform::heapAlloc(bytes); }
    static void operator delete(void* block) noexcept { platform::heapFree(block); }
    static void operator delete(void*, void*) noexcept {}
    static void operator delete[](void* block) noexcept { platform::heapFree(block); }

private:
    template <class> friend struct ztree_impl::AttribCore;
    explicit ZAttribW(mZAttribW* impl) noexcept : m_pImpl(impl) {}
    mZAttribW* m_pImpl;
};

/// Attributes in order, filled from markup such as `id="7" name='x' flag=on`, found by name ignoring case.
///
/// Ownership: owns its attributes. Kept: copying and assigning share the attributes instead of copying them,
///     and each list deletes those it still holds. Callers who copy a list let go of one side without
///     destroying it, or never copy.
/// Threads: no lock; one list belongs to one thread at a time.
/// Failure: what stores throws structExcept 0x84201001 and leaves the list as it was.
///
/// A lookup takes the first attribute with the name. Kept: in a list that sort() has sorted it ends at the
/// first name whose first byte OR 0x20 is greater than the sought one's (so "_x" hides letters behind it); in
/// any other behind a name that begins with a byte above 127. setData() leaves the mark of a sorted list as
/// it is.
class ZTREE_API ZAttribList : public ZVersion {
public:
    /// Reads text as setData() does.
    ZAttribList(const char* text = nullptr);
    /// The text as UTF-8.
    ZAttribList(const ZStringW& text);
    ZAttribList(const ZAttribList& other);
    const ZAttribList& operator=(const ZAttribList& other);
    ~ZAttribList() override;
    unsigned int getLibVersion() const override;

    /// Replaces the contents by what the text holds and returns the number of attributes. Null changes
    /// nothing and returns 0. A value stands in double quotes, in apostrophes, or ends at white space or a
    /// double quote; nothing is unescaped. A name without "=" reaches to the next "=".
    int setData(const char* text);
    /// Appends, also when the name is there already. A null name does nothing.
    void addAttrib(const char* name, const char* value);
    /// Replaces the value of the first attribute with that name, else appends.
    void setAttrib(const char* name, const char* value);
    /// Deletes the first attribute with that name.
    void removeAttrib(const char* name);
    /// Deletes all attributes.
    void removeAllAttribs();
    /// The value of the first attribute with that name, or null.
    const char* getAttrib(const char* name) const;
    /// Number of attributes.
    int size() const;
    /// Null outside [0, size()).
    const char* nameAt(int index) const;
    /// The value there; null outside [0, size()).
    const char* dataAt(int index) const;
    /// `name="value"`, or the empty text outside [0, size()).
    ZString elementAt(int index);
    /// Sorts by name, unless sorted already. Returns 0.
    int sort() const;

private:
    template <class> friend class ztree_impl::AttribListCore;
    mZAttribList* m_pImpl;
};

/// ZAttribList with UTF-16 texts. A lookup in a sorted list compares first units in lower case; in any other
/// it ends behind a name that begins with a unit above 32767.
class ZTREE_API ZAttribWList : public ZVersion {
public:
    /// Reads text as setData() does.
    ZAttribWList(const zwchar* text = nullptr);
    ZAttribWList(const unsigned short* text);
    ZAttribWList(const ZAttribWList& other);
    const ZAttribWList& operator=(const ZAttribWList& other);
    ~ZAttribWList() override;
    unsigned int getLibVersion() const override;

    /// Replaces the contents by what the text holds and returns the number of attributes. Null changes
    /// nothing and returns 0. A value stands in double quotes, in apostrophes, or ends at white space or a
    /// double quote; nothing is unescaped. A name without "=" reaches to the next "=".
    int setData(const zwchar* text);
    int setData(const unsigned short* text);
    /// Appends, also when the name is there already. A null name does nothing.
    void addAttrib(const zwchar* name, const zwchar* value);
    void addAttrib(const unsigned short* name, const unsigned short* value);
    /// Replaces the value of the first attribute with that name, else appends.
    void setAttrib(const zwchar* name, const zwchar* value);
    void setAttrib(const unsigned short* name, const unsigned short* value);
    /// Deletes the first attribute with that name.
    void removeAttrib(const zwchar* name);
    void removeAttrib(const unsigned short* name);
    void removeAllAttribs();
    /// The value of the first attribute with that name, or null.
    const zwchar* getAttrib(const zwchar* name) const;
    const zwchar* getAttrib(const unsigned short* name) const;
    int size() const;
    /// Null outside [0, size()).
    const zwchar* nameAt(int index) const;
    const zwchar* dataAt(int index) const;
    /// `name="value"`, or the empty text outside [0, size()).
    ZStringW elementAt(int index);
    /// Sorts by name, unless sorted already. Returns 0.
    int sort() const;

private:
    template <class> friend class ztree_impl::AttribListCore;
    mZAttribWList* m_pImpl;
};
