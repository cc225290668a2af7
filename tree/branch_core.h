#pragma once
// The one body behind ZTBranch and ZTBranchW.

#include "attrib/attrib_core.h"
#include "attrib/name_index.h"
#include "platform/heap.h"
#include "tree/ptr_list.h"

#include <ztree/tree.h>

#include <iosfwd>

namespace ztree_impl {

/// All that the twins differ in.
struct NarrowTree {
    using Char = char;
    using Branch = ZTBranch;
    using Impl = mZTBranch;
    using Attrib = ZAttrib;
    using AttribKind = NarrowAttrib;
    using Tree = ZTree;
    static constexpr bool relIgnoresCase = false; // "rel" is an ordinary attribute
    static constexpr int numberRoom = 600;        // any double with 255 decimals
    static const char* relName() { return "Rel"; }
};
struct WideTree {
    using Char = zwchar;
    using Branch = ZTBranchW;
    using Impl = mZTBranchW;
    using Attrib = ZAttribW;
    using AttribKind = WideAttrib;
    using Tree = ZTreeW;
    static constexpr bool relIgnoresCase = true;
    static constexpr int numberRoom = 100;
    static const zwchar* relName() { return ZTEXT("Rel"); }
};

/// A name as lookups take it, split once: base, and what stands in the brackets.
template <class Ch> struct NameQuery {
    explicit NameQuery(const Ch* text) noexcept;
    const Ch* text;
    int length;     // of the whole text
    int baseLength; // below 1 for a suffix that leaves no base
    const Ch* suffix = nullptr;
    int suffixLength = 0;
};

template <class Kind> class BranchCore : public platform::HeapObject {
public:
    using Ch = typename Kind::Char;
    using Branch = typename Kind::Branch;
    using Impl = typename Kind::Impl;
    using Attrib = typename Kind::Attrib;

    explicit BranchCore(Branch* owner) noexcept : m_owner(owner) {}
    ~BranchCore();
    BranchCore(const BranchCore&) = delete;
    BranchCore& operator=(const BranchCore&) = delete;

    /// The implementation of a public object, made by its constructor. Throws 0x84201001.
    static Impl* make(Branch* owner);
    /// The same with a name, and with room for a value of `length` bytes at data (-1: up to the terminator),
    /// in one block unless the name has a suffix.
    static Impl* make(Branch* owner, const Ch* name, int length = 0, const void* data = nullptr);
    /// What the destructor of the public object does with it.
    static void dispose(Impl* impl) noexcept;
    /// Texts of an attribute that a new branch gets.
    struct AttribTexts {
        const Ch* name;
        int nameLength; // above 0
        const Ch* value;
        int valueLength;
    };
    /// A new branch in one block with its implementation, name and attributes; valueRoom bytes are kept for
    /// a binary value up to that length. The name is taken as it is, without a look for a suffix; the texts
    /// of all attributes together are at most `mostAttribUnits`. Throws 0x84201001.
    static Branch* create(const Ch* name, int nameLength, int valueRoom, const AttribTexts* attribs = nullptr,
                          int attribCount = 0);
    static constexpr std::size_t mostAttribUnits = 1u << 24;
    static Impl* of(const Branch* branch) noexcept { return branch->m_pImpl; }

    // --- name ---
    int setName(const Ch* name);
    const Ch* name() const noexcept { return m_name; }
    int nameLength() const noexcept { return m_nameLength; }
    const Ch* fullName() const;
    int equals(const NameQuery<Ch>& query) const noexcept;
    int equals(const Ch* text) const noexcept { return text ? equals(NameQuery<Ch>(text)) : 0; }
    void setParent(Branch* parent) noexcept;
    Branch* parent() const noexcept { return m_bits & (dying | parentHidden) ? nullptr : m_parent; }

    // --- value ---
    int type() const noexcept { return m_type; }
    int flags() const noexcept { return m_flags; }
    /// Whether it may be a link. The flag that callers see says so too, but an assignment takes it away.
    bool wasLinked() const noexcept { return m_bits & wasLinkedBit; }
    template <class T> void setNumber(int type, T value) noexcept
    {
        dropValue();
        std::memcpy(&m_value, &value, sizeof value);
        m_type = static_cast<unsigned char>(type);
    }
    void setPrecision(unsigned char precision) noexcept { m_precision = precision; }
    unsigned char precision() const noexcept { return m_precision; }
    template <class T> int number(int type, T* value) const noexcept
    {
        if (m_type != type)
            return m_type;
        std::memcpy(value, &m_value, sizeof *value);
        return 0;
    }
    void setBytes(const void* data, int length);
    /// Adds bytes to a type 7 value; many times over costs no more than once.
    void appendBytes(const void* data, int length);
    int bytes(void* buffer, int size) const noexcept;
    int valuePtr(const void** value, int* size) const noexcept;
    const Ch* toText(int* length);
    void freeText() noexcept;
    /// Writes the text of a number (types 1 to 6) into room for Kind::numberRoom units; the units written.
    int printNumber(Ch* buffer) const noexcept;
    /// The stored bytes of type 7.
    const char* binary() const noexcept { return m_type == 7 ? m_value.bytes : nullptr; }
    std::uint32_t binaryLength() const noexcept { return m_length; }

    // --- children ---
    int childCount() const noexcept { return m_children.count(); }
    Branch* child(int i) const noexcept { return m_children.at(i); }
    int findChild(const Ch* name) const noexcept;
    int findChild(const NameQuery<Ch>& query) const noexcept;
    int addChild(const Branch& src, Branch** added, bool replace);
    /// Appends a branch made by create() and becomes its parent. Throws 0x84201001, child is still the
    /// caller's.
    void adopt(Branch* child);
    struct Insertion {
        Branch* child;
        int before; // the index of the child it comes to stand in front of
    };
    /// Puts branches made by create() among the children; `before` rises. Throws 0x84201001, they are still
    /// the caller's then.
    void insertChildren(const Insertion* fresh, int n);
    /// The bytes of the value become those of a new first child; the value is gone.
    void valueToChild(const Ch* name, int nameLength);
    int linkChild(const Branch* child, bool replace);
    int setChild(Branch* child, int index);
    void removeChild(int index) noexcept;
    /// Takes the children for which gone(child) is not null out of the list, in one pass, and says there
    /// whether this branch owned the child; deletes none.
    template <class Gone> void takeChildren(Gone gone) noexcept
    {
        int kept = 0;
        for (int i = 0; i < m_children.count(); ++i) {
            Branch* child = m_children.at(i);
            bool* const owned = child ? gone(child) : nullptr;
            if (!owned) {
                m_children.setAt(kept++, child);
                continue;
            }
            const int link = linkIndex(child);
            *owned = link < 0;
            if (*owned)
                of(child)->letGo(m_owner);
            else
                m_extra->links.removeAt(link);
        }
        while (m_children.count() > kept)
            m_children.removeAt(m_children.count() - 1);
        forgetChildren();
    }
    int childValue(int index, const char** value, int* length) const;

    // --- attributes ---
    int attribCount() const noexcept { return m_attribs.count(); }
    Attrib* attrib(int i) const noexcept { return m_attribs.at(i); }
    int findAttrib(const Ch* name) const noexcept;
    int addAttrib(const Attrib& attrib, bool replace);
    /// Appends an attribute made for this branch. Throws 0x84201001, attrib is still the caller's.
    void adoptAttrib(Attrib* attrib);
    void removeAttrib(int index) noexcept;
    int attribValue(int index, const Ch** value, int* length) const noexcept;

    // --- subtrees ---
    void copyNode(const BranchCore& src);
    int addTree(const Branch* src, bool withRoot);
    Branch* searchTree(const Ch* name) const;
    Branch* highestBranch(const Ch* name) const;
    bool scanTree(const Ch* name, const Ch* attribName, bool (*callback)(Branch*, Attrib*, long), long param);
    Branch* findLinkParent(const Branch* b) const;
    void remember(int value) noexcept { m_memo = value; }
    int recall() const noexcept { return m_memo; }
    int save(std::ostream& out) const;
    int load(std::istream& in);

private:
    using AttribOps = AttribCore<typename Kind::AttribKind>;
    /// Children by name, and by name and suffix. The latter trusts "Rel" attributes, which callers may change
    /// without the branch's knowledge: it counts only as long as no such change is known of.
    struct ChildIndex : platform::HeapObject {
        NameIndex byBase;
        NameIndex byRel;
        const std::uint16_t watcher = nextWatcher(); // of the children's "Rel" attributes
        std::uint32_t changes() const noexcept
        {
            return AttribFields<Ch>::watchedChanges[watcher].load(std::memory_order_acquire);
        }
    };
    // What few branches need.
    struct Extra : platform::HeapObject {
        Ch* fullName = nullptr;
        Ch* text = nullptr;
        PtrList<Branch> links;            // the children that are not owned
        ChildIndex* childIndex = nullptr; // made with the 17th child
        ~Extra();
    };
    enum : unsigned char {
        implInBlock = 1,  // the implementation shares a block with the public object
        nameInBlock = 2,  // so does the name
        valueInBlock = 4, // so do the bytes of the value
        held = 8,         // stands among the children of m_parent, whose name index has to hear of a new name
        dying = 16,       // is being deleted from a list of dead branches
        roomyValue = 32,  // the block of the value has room up to the next power of two
        parentHidden = 64,  // m_parent is only who holds it: the caller has set no parent
        wasLinkedBit = 128, // some branch links it, or did
    };
    union Value {
        char c;
        unsigned char uc;
        short s;
        int i;
        long l;
        double d;
        char* bytes;
    };

    Extra& extra() const;
    PtrList<Branch>* links() const noexcept { return m_extra ? &m_extra->links : nullptr; }
    void dropValue() noexcept;
    void dropName() noexcept;
    void dropFullName() noexcept;
    bool isInBlock(const Attrib* attrib) const noexcept
    {
        return reinterpret_cast<std::uintptr_t>(attrib) - reinterpret_cast<std::uintptr_t>(m_owner) <
               m_inBlock;
    }
    /// Whether the branch is one block and nothing else, so that giving the block back is all that its
    /// destructor would do.
    bool isOneBlock() const noexcept
    {
        constexpr unsigned both = implInBlock | nameInBlock;
        return (m_bits & both) == both && (m_type != 7 || m_bits & valueInBlock) && !m_extra &&
               m_children.count() == 0 && !m_children.ownsBlock() && !m_attribs.ownsBlock() &&
               (m_attribs.count() == 0 || (m_inBlock && !m_attribsChanged));
    }
    void dropAttrib(Attrib* attrib) noexcept;
    void nameInBlockAt(Ch* place, const Ch* name, int length) noexcept;
    void valueInBlockAt(void* place, int room) noexcept;
    void forgetChildren() noexcept; // the name index of the children is stale
    void forgetInParent() noexcept; // the one this branch stands in
    class Renaming;
    void childRenamed(const Branch* child, std::uint32_t base, std::uint32_t rel) noexcept;
    void letGo(const Branch* holder) noexcept;
    void wantIndex() noexcept;
    static std::uint16_t nextWatcher() noexcept;
    bool canBeIndexed(const Impl* child) const noexcept;
    static std::uint32_t relHash(std::uint32_t base, const Ch* suffix, int length) noexcept;
    static std::uint32_t baseHash(const Branch* child) noexcept; // of a child that may be null
    static std::uint32_t relHash(const Branch* child) noexcept;
    void indexDropsLast() noexcept;
    static bool isRel(const Ch* name) noexcept;
    void setRel(const Ch* suffix, int length);
    int appendAttrib(const Attrib& attrib);
    void replaceAttrib(const Attrib& from, NameIndex& names);
    void copyAttribs(const BranchCore& src);
    void readValue(std::istream& in);
    bool readNode(std::istream& in, std::uint32_t& children);
    bool readName(std::istream& in, std::uint32_t length);
    bool readAttribs(std::istream& in);
    /// Where the child stands among the links, or -1.
    int linkIndex(const Branch* child) const noexcept
    {
        return m_extra && of(child)->wasLinked() ? m_extra->links.find(child) : -1;
    }
    bool isLinked(const Branch* child) const noexcept { return linkIndex(child) >= 0; }

    std::uint8_t m_type = 0;
    std::uint8_t m_flags = 0;
    std::uint8_t m_precision = 2;
    std::uint8_t m_bits = 0;
    std::uint8_t m_attribsChanged = 0; // the list or a text in it is no longer as create() made it
    std::uint32_t m_inBlock = 0;       // bytes of the block with attributes made by create(), from m_owner on
    std::uint32_t m_length = 0;        // of a type 7 value; kept when another type is stored
    Value m_value{};
    Branch* m_owner;
    Branch* m_parent = nullptr;
    Ch* m_name = nullptr;
    int m_nameLength = 0;
    int m_memo = 0;
    Attrib* m_rel = nullptr; // the attribute "Rel"
    PtrList<Attrib> m_attribs;
    PtrList<Branch> m_children;
    mutable Extra* m_extra = nullptr;
};

extern template class BranchCore<NarrowTree>;
extern template class BranchCore<WideTree>;

} // namespace ztree_impl

class mZTBranch final : public ztree_impl::BranchCore<ztree_impl::NarrowTree> {
    using BranchCore::BranchCore;
};
class mZTBranchW final : public ztree_impl::BranchCore<ztree_impl::WideTree> {
    using BranchCore::BranchCore;
};
