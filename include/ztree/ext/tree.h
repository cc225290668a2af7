#pragma once
/// @file ext/tree.h
/// Modern layer for trees: loops, deep copies, paths, and a binary form that comes back as it was.
///
/// Additive: nothing here touches a tree's cursor or a branch's memo unless it says so.
/// Threads: as for ZTBranch: any number of threads may read one tree while none changes it. A Path may be
///     applied by several threads at once.
/// Failure: structExcept 0x84201001 when memory is short; what was to be changed is then as it was, but for a
///     branch whose new text found no memory: it has an empty one, as after ZTBranch::setValue.

#include <ztree/ext/attrib.h>
#include <ztree/tree.h>

#include <cstddef>
#include <iosfwd>
#include <iterator>
#include <limits>
#include <optional>
#include <string>
#include <string_view>
#include <type_traits>
#include <vector>

namespace ztree {

namespace detail {
[[noreturn]] ZTREE_API void throwNoMemory();
/// Whether some branch links this one, or did, whatever its flags say since an assignment.
ZTREE_API bool wasLinked(const ZTBranch& branch) noexcept;
ZTREE_API bool wasLinked(const ZTBranchW& branch) noexcept;

/// The way from a branch down to the one a walk stands on; some levels need no heap.
template <class Branch> class BranchWay {
public:
    struct Level {
        const Branch* branch;
        int next; ///< child to visit
    };
    BranchWay() noexcept = default;
    BranchWay(const BranchWay&) = delete;
    BranchWay& operator=(const BranchWay&) = delete;
    ~BranchWay()
    {
        if (m_levels != m_inline)
            platform::heapFree(m_levels);
    }
    bool empty() const noexcept { return m_count == 0; }
    std::size_t size() const noexcept { return m_count; }
    Level& top() noexcept { return m_levels[m_count - 1]; }
    const Level& operator[](std::size_t i) const noexcept { return m_levels[i]; }
    void pop() noexcept { --m_count; }
    void clear() noexcept { m_count = 0; }
    void push(const Branch* branch)
    {
        if (m_count == m_room)
            grow();
        m_levels[m_count++] = {branch, 0};
    }

private:
    void grow()
    {
        Level* fresh = static_cast<Level*>(platform::heapAlloc(2 * m_room * sizeof(Level)));
        if (!fresh)
            throwNoMemory();
        for (std::size_t i = 0; i < m_count; ++i)
            fresh[i] = m_levels[i];
        if (m_levels != m_inline)
            platform::heapFree(m_levels);
        m_levels = fresh;
        m_room *= 2;
    }

    Level m_inline[24];
    Level* m_levels = m_inline;
    std::size_t m_count = 0;
    std::size_t m_room = 24;
};

template <class Branch>
using UnitOf = std::remove_cv_t<std::remove_pointer_t<decltype(std::declval<const Branch&>().getName())>>;
} // namespace detail

// --- loops ---

/// The children of a branch in order: for (ZTBranch* child : ztree::children(branch)). Empty places of the
/// child list are left out. The branch must outlive the loop; children may change in it, their list not.
template <class Branch> class Children {
public:
    /// Over the children of this branch.
    explicit Children(const Branch& branch) noexcept : m_branch(&branch) {}

    class iterator {
    public:
        using iterator_category = std::input_iterator_tag;
        using value_type = Branch*;
        using difference_type = std::ptrdiff_t;
        using pointer = void;
        using reference = Branch*;

        iterator(const Branch* branch, int at, int count) : m_branch(branch), m_at(at), m_count(count)
        {
            settle();
        }
        Branch* operator*() const noexcept { return m_child; }
        iterator& operator++()
        {
            ++m_at;
            settle();
            return *this;
        }
        iterator operator++(int)
        {
            iterator old = *this;
            ++*this;
            return old;
        }
        /// Index of the child in its branch.
        int index() const noexcept { return m_at; }
        bool operator==(const iterator& other) const noexcept { return m_at == other.m_at; }
        bool operator!=(const iterator& other) const noexcept { return m_at != other.m_at; }

    private:
        void settle()
        {
            for (m_child = nullptr; m_at < m_count; ++m_at) {
                m_child = m_branch->getChild(m_at);
                if (m_child)
                    break;
            }
        }
        const Branch* m_branch;
        Branch* m_child = nullptr;
        int m_at;
        int m_count;
    };
    iterator begin() const { return iterator(m_branch, 0, m_branch->getChildCount()); }
    iterator end() const
    {
        const int count = m_branch->getChildCount();
        return iterator(m_branch, count, count);
    }

private:
    const Branch* m_branch;
};
inline Children<ZTBranch> children(const ZTBranch& branch) noexcept
{
    return Children<ZTBranch>(branch);
}
inline Children<ZTBranchW> children(const ZTBranchW& branch) noexcept
{
    return Children<ZTBranchW>(branch);
}

/// The attributes of a branch in order as views: for (auto [name, value] : ztree::attribs(branch)). The
/// branch must outlive the loop, its attributes must not change in it.
template <class Branch> class BranchAttribs {
public:
    /// The unit of the texts.
    using Ch = detail::UnitOf<Branch>;

    /// Over the attributes of this branch.
    explicit BranchAttribs(const Branch& branch) noexcept : m_branch(&branch) {}
    int size() const { return m_branch->getAttribCount(); }

    class iterator {
    public:
        using iterator_category = std::input_iterator_tag;
        using value_type = AttribView<Ch>;
        using difference_type = std::ptrdiff_t;
        using pointer = void;
        using reference = AttribView<Ch>;

        iterator(const Branch* branch, int at) noexcept : m_branch(branch), m_at(at) {}
        AttribView<Ch> operator*() const
        {
            using View = std::basic_string_view<Ch>;
            const auto* attrib = m_branch->getAttrib(m_at);
            return {attrib->getName() ? View(attrib->getName()) : View(), View(attrib->getValue())};
        }
        iterator& operator++() noexcept
        {
            ++m_at;
            return *this;
        }
        iterator operator++(int) noexcept { return iterator(m_branch, m_at++); }
        bool operator==(const iterator& other) const noexcept { return m_at == other.m_at; }
        bool operator!=(const iterator& other) const noexcept { return m_at != other.m_at; }

    private:
        const Branch* m_branch;
        int m_at;
    };
    iterator begin() const noexcept { return iterator(m_branch, 0); }
    iterator end() const { return iterator(m_branch, size()); }

private:
    const Branch* m_branch;
};
/// The attributes of a branch, to loop over.
inline BranchAttribs<ZTBranch> attribs(const ZTBranch& branch) noexcept
{
    return BranchAttribs<ZTBranch>(branch);
}
inline BranchAttribs<ZTBranchW> attribs(const ZTBranchW& branch) noexcept
{
    return BranchAttribs<ZTBranchW>(branch);
}

/// All below a branch in document order, parents before children:
///
///     auto all = ztree::descendants(branch);
///     for (ZTBranch* b : all)
///         print(all.depth(), b->getName());
///
/// Any depth, without recursion. A link that leads back to a branch on the way down is given, what is below
/// it is not. Each begin() starts anew and ends the loop before. The tree's shape must not change in the
/// loop.
template <class Branch> class Descendants {
public:
    /// Over all below this branch.
    explicit Descendants(const Branch& branch) noexcept : m_top(&branch) {}

    /// Levels below the branch of the walk: 1 for its children.
    std::size_t depth() const noexcept { return m_way.size(); }
    /// Leaves out what is below the branch now visited.
    void skip() noexcept { m_enter = false; }

    class iterator {
    public:
        using iterator_category = std::input_iterator_tag;
        using value_type = Branch*;
        using difference_type = std::ptrdiff_t;
        using pointer = void;
        using reference = Branch*;

        explicit iterator(Descendants* walk) noexcept : m_walk(walk) {}
        Branch* operator*() const noexcept { return m_walk->m_current; }
        iterator& operator++()
        {
            if (!m_walk->advance())
                m_walk = nullptr;
            return *this;
        }
        void operator++(int) { ++*this; }
        std::size_t depth() const noexcept { return m_walk->depth(); }
        bool operator==(const iterator& other) const noexcept { return m_walk == other.m_walk; }
        bool operator!=(const iterator& other) const noexcept { return m_walk != other.m_walk; }

    private:
        Descendants* m_walk;
    };
    iterator begin()
    {
        m_way.clear();
        m_way.push(m_top);
        m_enter = false;
        return iterator(advance() ? this : nullptr);
    }
    iterator end() noexcept { return iterator(nullptr); }

private:
    bool advance()
    {
        if (m_enter && m_current->getChildCount() && !closesRing())
            m_way.push(m_current);
        m_enter = true;
        for (; !m_way.empty(); m_way.pop()) {
            auto& level = m_way.top();
            const int count = level.branch->getChildCount();
            while (level.next < count) {
                m_current = level.branch->getChild(level.next++);
                if (m_current)
                    return true;
            }
        }
        return false;
    }
    bool closesRing() const noexcept
    {
        if (detail::wasLinked(*m_current))
            for (std::size_t i = 0; i < m_way.size(); ++i)
                if (m_way[i].branch == m_current)
                    return true;
        return false;
    }

    const Branch* m_top;
    Branch* m_current = nullptr;
    bool m_enter = false; // what is below the current branch comes next
    detail::BranchWay<Branch> m_way;
};
inline Descendants<ZTBranch> descendants(const ZTBranch& branch) noexcept
{
    return Descendants<ZTBranch>(branch);
}
inline Descendants<ZTBranchW> descendants(const ZTBranchW& branch) noexcept
{
    return Descendants<ZTBranchW>(branch);
}

// --- whole trees ---

/// A copy of the branch with all below it: names, values with their precision, attributes in order. The
/// caller owns it. Linked children are copied like own ones; a link that leads back to a branch around it
/// is copied without what is below. Any depth.
ZTREE_API ZTBranch* copyTree(const ZTBranch& from);
ZTREE_API ZTBranchW* copyTree(const ZTBranchW& from);
/// Replaces `to` by a copy of `from`; the cursor of `to` stands on its root. A tree copied to itself stays.
ZTREE_API void copyTree(const ZTree& from, ZTree& to);
ZTREE_API void copyTree(const ZTreeW& from, ZTreeW& to);
/// Replaces `to` by what `from` holds, cursor included; `from` is empty then. A tree moved to itself stays.
ZTREE_API void moveTree(ZTree& from, ZTree& to) noexcept;
ZTREE_API void moveTree(ZTreeW& from, ZTreeW& to) noexcept;

// --- paths ---

/// Why a path is none, or why set() could not do what it says.
struct PathError {
    int column = 0;         ///< where in the path, in bytes from 1; 0: no error
    char message[128] = {}; ///< a sentence in English
    explicit operator bool() const { return column != 0; }
};

/// A path through a tree, parsed once and applied often: "Order/Item(3)/Price", "//Item[@id='7']/@unit".
///
/// Steps stand between "/":
///
/// | step       | names                                                                                   |
/// |------------|-----------------------------------------------------------------------------------------|
/// | name       | the children that a lookup by that name finds: case ignored, "Item(3)" by the suffix    |
/// | 'name'     | the same in quotes (' or "), for names with / [ ] or * in them                          |
/// | `*`        | every child                                                                             |
/// | `.`  `..`  | the branch itself, its parent                                                           |
/// | @name  @*  | an attribute, every attribute; only as the last step                                    |
///
/// "//" instead of "/" before a step means at any depth below. A path that begins with "/" begins above the
/// root of the tree, so that its first step names the root; any other begins at the branch it is applied to.
///
/// Conditions follow a name or `*` and hold in their order:
///
/// | condition          | true for                                                                       |
/// |--------------------|--------------------------------------------------------------------------------|
/// | [n]                | the n-th, from 1, below one parent of those for which all before it hold       |
/// | [@a]  [@a='v']     | branches with the attribute; whose value is v                                  |
/// | [name]  [name='v'] | branches with such a child; with such a child whose text is v                  |
/// | [.='v']            | branches whose own text is v                                                   |
///
/// [n] stands once in a step at the most; what follows it is asked of the n-th alone.
/// Values stand in quotes (' or ") and compare byte by byte. `..` goes by the parent that a branch knows:
/// one put in with setChild() knows none until setParent().
///
/// No heap for paths up to some 300 bytes and 8 steps. Neither copied nor moved.
class ZTREE_API Path {
public:
    /// Parses; ok() says whether that worked.
    explicit Path(std::string_view text) { parse(text.data(), text.size()); }
    Path(const Path&) = delete;
    Path& operator=(const Path&) = delete;
    ~Path();
    /// A path that is not ok finds nothing.
    bool ok() const noexcept { return m_error.column == 0; }
    /// What is wrong with the path.
    const PathError& error() const noexcept { return m_error; }
    /// Whether it ends in an attribute.
    bool namesAttrib() const noexcept;

    struct Body; ///< the library's

private:
    friend struct Body;
    void parse(const char* text, std::size_t n);
    static constexpr std::size_t inlineBytes = 1536;

    Body* m_body = nullptr;
    PathError m_error;
    alignas(8) unsigned char m_inline[inlineBytes];
};

/// What a path names: a branch, or an attribute of it.
struct PathMatch {
    ZTBranch* branch = nullptr; ///< null without a match
    ZAttrib* attrib = nullptr;  ///< null where the path ends in a branch
    explicit operator bool() const { return branch != nullptr; }
};

/// Where a path is applied: at a branch, or at the root of a tree.
class PathStart {
public:
    /// At a branch, or at the root of a tree.
    PathStart(const ZTBranch& branch) noexcept : m_branch(&branch) {}
    PathStart(const ZTree& tree) : m_branch(tree.root()), m_root(m_branch) {}
    /// Where the path begins; null for an empty tree.
    const ZTBranch* branch() const noexcept { return m_branch; }
    /// The root, where it is known.
    const ZTBranch* root() const noexcept { return m_root; }

private:
    const ZTBranch* m_branch;
    const ZTBranch* m_root = nullptr;
};
/// The same for what changes the tree.
class PathTarget : public PathStart {
public:
    /// At a branch, or at a tree, whose root may be made.
    PathTarget(ZTBranch& branch) noexcept : PathStart(branch) {}
    PathTarget(ZTree& tree) : PathStart(tree), m_tree(&tree) {}
    /// The tree, where it is known.
    ZTree* tree() const noexcept { return m_tree; }

private:
    ZTree* m_tree = nullptr;
};

/// The first match; null branch when there is none or the path is bad.
ZTREE_API PathMatch findMatch(const PathStart& from, const Path& path);
inline PathMatch findMatch(const PathStart& from, std::string_view path)
{
    return findMatch(from, Path(path));
}
/// The branch of the first match, or null. A step that is a plain name is found in constant time.
inline ZTBranch* find(const PathStart& from, const Path& path)
{
    return findMatch(from, path).branch;
}
inline ZTBranch* find(const PathStart& from, std::string_view path)
{
    return findMatch(from, Path(path)).branch;
}

namespace detail {
ZTREE_API bool forEachMatch(const PathStart& from, const Path& path,
                            bool (*visit)(void* context, const PathMatch& match), void* context);
} // namespace detail

/// Calls visit(const PathMatch&) for every match: the matches of a step in document order, each followed
/// through the further steps at once. None is given twice. visit may return false to stop, or nothing; it
/// may change values and attributes, not the tree's shape. True when all matches were visited; false when
/// stopped, or when the path is bad.
template <class Visit, class = std::enable_if_t<std::is_invocable_v<Visit&, const PathMatch&>>>
bool findAll(const PathStart& from, const Path& path, Visit&& visit)
{
    using Plain = std::remove_reference_t<Visit>;
    const auto call = [](void* context, const PathMatch& match) -> bool {
        Plain& function = **static_cast<Plain**>(context);
        if constexpr (std::is_void_v<std::invoke_result_t<Plain&, const PathMatch&>>) {
            function(match);
            return true;
        } else {
            return static_cast<bool>(function(match));
        }
    };
    Plain* function = &visit;
    return detail::forEachMatch(from, path, call, &function);
}
template <class Visit, class = std::enable_if_t<std::is_invocable_v<Visit&, const PathMatch&>>>
bool findAll(const PathStart& from, std::string_view path, Visit&& visit)
{
    return findAll(from, Path(path), visit);
}
/// All matches at once.
inline std::vector<PathMatch> findAll(const PathStart& from, const Path& path)
{
    std::vector<PathMatch> all;
    findAll(from, path, [&all](const PathMatch& match) { all.push_back(match); });
    return all;
}
inline std::vector<PathMatch> findAll(const PathStart& from, std::string_view path)
{
    return findAll(from, Path(path));
}

// --- values ---

namespace detail {
constexpr std::size_t numberRoom = 600;
/// The text of a match; of a number it is printed into room (numberRoom bytes).
ZTREE_API std::string_view textOf(const PathMatch& match, char* room);
/// The stored text itself; false for a number.
ZTREE_API bool storedText(const PathMatch& match, std::string_view& text);
ZTREE_API bool toInteger(const PathMatch& match, long long least, long long most, long long& value);
ZTREE_API bool toDouble(const PathMatch& match, double& value);
ZTREE_API bool toBool(const PathMatch& match, bool& value);
} // namespace detail

/// The value of a branch as text: numbers as ZTBranch::toString prints them (decimal comma), bytes as they
/// are, "" for no value. Nothing is kept in the branch.
inline std::string text(const ZTBranch& branch)
{
    char room[detail::numberRoom];
    return std::string(detail::textOf({const_cast<ZTBranch*>(&branch), nullptr}, room));
}
/// The text of a match: of the attribute, or else of the branch.
inline std::string text(const PathMatch& match)
{
    char room[detail::numberRoom];
    return match ? std::string(detail::textOf(match, room)) : std::string();
}

/// The value of the first match as a T, or nothing.
///   integers          a stored number or a text that is one (decimal, all of it, "-" allowed) and fits T;
///                     a double only without a fraction
///   double            any number; a text with "." or "," before the decimals
///   bool              a number: not 0; a text: true, false, 1, 0, case ignored
///   std::string       text(); "" for a branch without a value
///   std::string_view  the stored text of a branch or an attribute, valid until it changes; no number
template <class T> std::optional<T> get(const PathStart& from, const Path& path)
{
    const PathMatch match = findMatch(from, path);
    if (!match)
        return std::nullopt;
    if constexpr (std::is_same_v<T, std::string>) {
        return text(match);
    } else if constexpr (std::is_same_v<T, std::string_view>) {
        std::string_view stored;
        return detail::storedText(match, stored) ? std::optional<T>(stored) : std::nullopt;
    } else if constexpr (std::is_same_v<T, bool>) {
        bool value = false;
        return detail::toBool(match, value) ? std::optional<T>(value) : std::nullopt;
    } else if constexpr (std::is_same_v<T, double>) {
        double value = 0;
        return detail::toDouble(match, value) ? std::optional<T>(value) : std::nullopt;
    } else {
        static_assert(std::is_integral_v<T> && (std::is_signed_v<T> || sizeof(T) < sizeof(long long)),
                      "get<T>: an integer, double, bool, std::string or std::string_view");
        long long value = 0;
        return detail::toInteger(match, std::numeric_limits<T>::min(), std::numeric_limits<T>::max(), value)
                   ? std::optional<T>(static_cast<T>(value))
                   : std::nullopt;
    }
}
template <class T> std::optional<T> get(const PathStart& from, std::string_view path)
{
    return get<T>(from, Path(path));
}
/// The same with what to answer when there is no such value.
template <class T> T get(const PathStart& from, const Path& path, const std::common_type_t<T>& fallback)
{
    return get<T>(from, path).value_or(fallback);
}
template <class T> T get(const PathStart& from, std::string_view path, const std::common_type_t<T>& fallback)
{
    return get<T>(from, Path(path)).value_or(fallback);
}

/// What set() stores: text (type 7), int (type 4), long (type 5) or double (type 6). Views the text.
class PathValue {
public:
    PathValue(std::string_view text) noexcept : m_text(text) {}
    PathValue(const char* text) : m_text(text ? text : "") {}
    PathValue(const std::string& text) noexcept : m_text(text) {}
    PathValue(int value) noexcept : m_type(4), m_integer(value) {}
    PathValue(long value) noexcept : m_type(5), m_integer(value) {}
    /// Stored as a long; where that has 32 bits, set() refuses what does not fit.
    PathValue(long long value) noexcept : m_type(5), m_integer(value) {}
    PathValue(unsigned value) noexcept : m_type(5), m_integer(value) {}
    /// decimals: printed with the value, 0 to 255; below 0 as many as tell it from any other double.
    PathValue(double value, int decimals = -1) noexcept : m_type(6), m_decimals(decimals), m_double(value) {}

    /// Type code of the branch, 4 to 7.
    int type() const noexcept { return m_type; }
    /// The text of type 7.
    std::string_view text() const noexcept { return m_text; }
    /// The number of types 4 and 5.
    long long integer() const noexcept { return m_integer; }
    /// The number of type 6.
    double real() const noexcept { return m_double; }
    /// Printed with it; below 0 as many as needed.
    int decimals() const noexcept { return m_decimals; }

private:
    int m_type = 7;
    int m_decimals = 0;
    long long m_integer = 0;
    double m_double = 0;
    std::string_view m_text;
};

/// Gives the first match the value. Without a match the longest part of the path that has one is looked for,
/// and what is missing below it is made: names (with their suffix), [@a='v'] as attributes, [n] where it is
/// the next one, a last @a, the root of an empty tree. Nothing else can be made.
/// False, and nothing changed, when the path is bad or cannot be made; *error says why.
ZTREE_API bool set(const PathTarget& target, const Path& path, const PathValue& value,
                   PathError* error = nullptr);
inline bool set(const PathTarget& target, std::string_view path, const PathValue& value,
                PathError* error = nullptr)
{
    return set(target, Path(path), value, error);
}

/// Removes all that the path names and returns how many: attributes, or branches with all below them (linked
/// ones are only taken out). The root goes only where the target is a tree. References to what is removed
/// end with it, the target included; the cursor of a target tree that lost branches stands on its root.
ZTREE_API int remove(const PathTarget& target, const Path& path);
inline int remove(const PathTarget& target, std::string_view path)
{
    return remove(target, Path(path));
}

// --- binary form ---

/// Where and why a binary tree could not be read.
struct TreeStreamError {
    std::size_t offset = 0; ///< bytes from the start
    char message[128] = {}; ///< a sentence in English; "" for no error
    explicit operator bool() const { return message[0] != 0; }
};

/// Writes a tree so that loadTree gives it back: every depth, every value type, attributes in order. Linked
/// children are written like own ones; memos and link flags are not. An empty tree can be written too.
/// False when the stream fails, or when a link leads back to a branch around it.
///
/// Bytes, integers little-endian, N a number in groups of 7 bits, lowest first, bit 7 set on all but the
/// last:
///
///     "ZTR2"  u32 version 1  u64 length of the body  body  u32 CRC-32 (IEEE 802.3) of all before
///     body    nothing for an empty tree, else the root
///     branch  u8 head: bits 0-2 value type, 8 has a name, 16 has attributes, 32 has children
///             name: N length, bytes     value: by its type     N attributes     N children, each a branch
///     value   1, 1, 2, 4, 8 bytes for types 1 to 5; u8 precision and 8 bytes for 6; N length, bytes for 7
///     attribute   N name length + 1 (0: no name), bytes, N value length, bytes
ZTREE_API bool saveTree(const ZTBranch& root, std::ostream& out);
ZTREE_API bool saveTree(const ZTree& tree, std::ostream& out);

/// Replaces tree by what saveTree wrote, cursor on the root. False and an untouched tree when the bytes are
/// not such a tree to the last bit. Lengths are checked against the bytes there are before memory is taken. A
/// type 5 number that the system's long cannot hold is an error.
///   data, bytes  the whole of it, nothing behind
ZTREE_API bool loadTree(const char* data, std::size_t bytes, ZTree& tree, TreeStreamError* error = nullptr);
/// The same from a stream, which is left behind the last byte of the tree.
ZTREE_API bool loadTree(std::istream& in, ZTree& tree, TreeStreamError* error = nullptr);

} // namespace ztree
