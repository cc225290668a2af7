// The binary form of trees that comes back as it was.

#include "platform/work_stack.h"
#include "tree/attrib_batch.h"
#include "tree/tree_core.h"

#include <ztree/ext/tree.h>
#include <ztree/runtime.h>

#include <algorithm>
#include <climits>
#include <cstdio>
#include <istream>
#include <ostream>

namespace {

using ztree::TreeStreamError;
using ztree::detail::throwNoMemory;
using Core = ztree_impl::BranchCore<ztree_impl::NarrowTree>;

constexpr char magic[4] = {'Z', 'T', 'R', '2'};
constexpr std::uint32_t version = 1;
constexpr std::size_t headSize = 16;
constexpr std::size_t tailSize = 4;
enum : unsigned { typeBits = 7, hasName = 8, hasAttribs = 16, hasChildren = 32, knownBits = 63 };
constexpr unsigned char valueSizes[] = {0, 1, 1, 2, 4, 8, 8};

// --- checksum ---

struct CrcTables {
    std::uint32_t of[8][256];
    constexpr CrcTables() : of{}
    {
        for (std::uint32_t i = 0; i < 256; ++i) {
            std::uint32_t c = i;
            for (int bit = 0; bit < 8; ++bit)
                c = c & 1 ? 0xEDB88320u ^ (c >> 1) : c >> 1;
            of[0][i] = c;
        }
        for (int t = 1; t < 8; ++t)
            for (int i = 0; i < 256; ++i)
                of[t][i] = of[0][of[t - 1][i] & 255] ^ (of[t - 1][i] >> 8);
    }
};
constexpr CrcTables crcTables;

std::uint32_t get32(const char* at) noexcept
{
    std::uint32_t v = 0;
    for (int i = 3; i >= 0; --i)
        v = v << 8 | static_cast<unsigned char>(at[i]);
    return v;
}
std::uint64_t get64(const char* at) noexcept
{
    return std::uint64_t{get32(at + 4)} << 32 | get32(at);
}
void put32(char* at, std::uint32_t v) noexcept
{
    for (int i = 0; i < 4; ++i)
        at[i] = static_cast<char>(v >> (8 * i) & 255);
}

// Eight bytes a step: a table for each.
class Crc {
public:
    void add(const char* data, std::size_t n) noexcept
    {
        const auto& t = crcTables.of;
        std::uint32_t c = m_state;
        for (; n >= 8; n -= 8, data += 8) {
            const std::uint32_t a = c ^ get32(data);
            const std::uint32_t b = get32(data + 4);
            c = t[7][a & 255] ^ t[6][a >> 8 & 255] ^ t[5][a >> 16 & 255] ^ t[4][a >> 24] ^ t[3][b & 255] ^
                t[2][b >> 8 & 255] ^ t[1][b >> 16 & 255] ^ t[0][b >> 24];
        }
        for (; n > 0; --n)
            c = t[0][(c ^ static_cast<unsigned char>(*data++)) & 255] ^ (c >> 8);
        m_state = c;
    }
    std::uint32_t value() const noexcept { return ~m_state; }

private:
    std::uint32_t m_state = 0xFFFFFFFFu;
};

// --- writing ---

// The first walk counts, the second writes: the length stands in front, and nothing of the size of the tree
// is kept.
class Counter {
public:
    void put(const char*, std::size_t n) noexcept { m_bytes += n; }
    std::uint64_t bytes() const noexcept { return m_bytes; }

private:
    std::uint64_t m_bytes = 0;
};

class Output {
public:
    explicit Output(std::ostream& out) noexcept : m_out(out) {}
    void put(const char* data, std::size_t n)
    {
        if (n > sizeof m_buffer - m_used) {
            flush();
            if (n > sizeof m_buffer / 2) {
                m_crc.add(data, n);
                m_out.write(data, static_cast<std::streamsize>(n));
                return;
            }
        }
        if (n)
            std::memcpy(m_buffer + m_used, data, n);
        m_used += n;
    }
    void finish()
    {
        flush();
        char tail[tailSize];
        put32(tail, m_crc.value());
        m_out.write(tail, sizeof tail);
    }

private:
    void flush()
    {
        m_crc.add(m_buffer, m_used);
        m_out.write(m_buffer, static_cast<std::streamsize>(m_used));
        m_used = 0;
    }

    std::ostream& m_out;
    Crc m_crc;
    std::size_t m_used = 0;
    char m_buffer[8192];
};

template <class Sink> void putNumber(Sink& sink, std::uint64_t n)
{
    char text[10];
    std::size_t used = 0;
    for (; n > 127; n >>= 7)
        text[used++] = static_cast<char>(n | 128);
    text[used++] = static_cast<char>(n);
    sink.put(text, used);
}

template <class Sink> void putBytes(Sink& sink, const char* data, std::size_t n)
{
    putNumber(sink, n);
    sink.put(data, n);
}

// A code that the older form may have brought in stands for no value.
int typeOf(const Core& branch) noexcept
{
    return branch.type() > 7 ? 0 : branch.type();
}

template <class Sink> void putValue(Sink& sink, const Core& branch)
{
    const int type = typeOf(branch);
    if (type == 7) {
        putBytes(sink, branch.binary(), branch.binary() ? branch.binaryLength() : 0);
        return;
    }
    std::uint64_t bits = 0;
    branch.number(type, &bits);
    if (type == 5) {
        long value = 0;
        branch.number(5, &value);
        bits = static_cast<std::uint64_t>(static_cast<std::int64_t>(value));
    }
    if (type == 6) {
        const char precision = static_cast<char>(branch.precision());
        sink.put(&precision, 1);
    }
    char bytes[8];
    put32(bytes, static_cast<std::uint32_t>(bits));
    put32(bytes + 4, static_cast<std::uint32_t>(bits >> 32));
    sink.put(bytes, valueSizes[type]);
}

template <class Sink> void putBranch(Sink& sink, const Core& branch, int children)
{
    const unsigned head = static_cast<unsigned>(typeOf(branch)) | (branch.name() ? hasName : 0u) |
                          (branch.attribCount() ? hasAttribs : 0u) | (children ? hasChildren : 0u);
    const char byte = static_cast<char>(head);
    sink.put(&byte, 1);
    if (branch.name())
        putBytes(sink, branch.name(), static_cast<std::size_t>(branch.nameLength()));
    putValue(sink, branch);
    if (branch.attribCount())
        putNumber(sink, static_cast<std::uint64_t>(branch.attribCount()));
    for (int i = 0; i < branch.attribCount(); ++i) {
        const ZAttrib& attrib = *branch.attrib(i);
        const std::size_t length = static_cast<std::size_t>(ztree_impl::nameLength(attrib));
        putNumber(sink, attrib.getName() ? length + 1 : 0);
        if (attrib.getName())
            sink.put(attrib.getName(), length);
        putBytes(sink, attrib.getValue(), static_cast<std::size_t>(ztree_impl::valueLength(attrib)));
    }
    if (children)
        putNumber(sink, static_cast<std::uint64_t>(children));
}

// False when a link leads back to a branch around it.
template <class Sink> bool putTree(Sink& sink, const ZTBranch& root)
{
    struct Level {
        const ZTBranch* branch;
        int next;
    };
    platform::WorkStack<Level> way;
    const ZTBranch* next = &root;
    while (next) {
        const Core& branch = *Core::of(next);
        int children = 0;
        for (int i = 0; i < branch.childCount(); ++i)
            children += branch.child(i) != nullptr;
        putBranch(sink, branch, children);
        if (children && !way.push({next, 0}))
            throwNoMemory();
        for (next = nullptr; !way.empty() && !next;) {
            Level& level = way.top();
            if (level.next < Core::of(level.branch)->childCount())
                next = Core::of(level.branch)->child(level.next++);
            else
                way.pop();
        }
        for (std::size_t i = 0; next && Core::of(next)->wasLinked() && i < way.size(); ++i)
            if (way[i].branch == next)
                return false;
    }
    return true;
}

bool save(const ZTBranch* root, std::ostream& out)
{
    Counter counter;
    if (root && !putTree(counter, *root))
        return false;
    char head[headSize];
    std::memcpy(head, magic, sizeof magic);
    put32(head + 4, version);
    put32(head + 8, static_cast<std::uint32_t>(counter.bytes()));
    put32(head + 12, static_cast<std::uint32_t>(counter.bytes() >> 32));
    Output output(out);
    output.put(head, sizeof head);
    if (root)
        putTree(output, *root);
    output.finish();
    return static_cast<bool>(out);
}

// --- reading ---

class Reader {
public:
    Reader(const char* body, std::size_t n, TreeStreamError& error) noexcept
        : m_begin(body), m_at(body), m_end(body + n), m_error(error)
    {
    }
    /// Null with the error set; the caller deletes the tree.
    ZTBranch* tree();

private:
    std::size_t left() const noexcept { return static_cast<std::size_t>(m_end - m_at); }
    bool fail(const char* message) noexcept
    {
        m_error.offset = headSize + static_cast<std::size_t>(m_at - m_begin);
        std::snprintf(m_error.message, sizeof m_error.message, "%s", message);
        return false;
    }
    bool number(std::uint64_t& n) noexcept;
    bool bytes(const char*& data, int& n, const char* what) noexcept;
    bool attribs();
    bool value(Core& branch, int type, const char* data, int n) noexcept;
    ZTBranch* branch(std::uint64_t& children);

    const char* m_begin;
    const char* m_at;
    const char* m_end;
    TreeStreamError& m_error;
    ztree_impl::AttribBatch<ztree_impl::NarrowTree> m_attribs;
};

bool Reader::number(std::uint64_t& n) noexcept
{
    n = 0;
    for (unsigned shift = 0; shift < 63; shift += 7) {
        if (m_at == m_end)
            return fail("the tree ends inside a number");
        const unsigned char byte = static_cast<unsigned char>(*m_at++);
        n |= std::uint64_t{byte & 127u} << shift;
        if (byte < 128)
            return true;
    }
    return fail("a number has too many bytes");
}

bool Reader::bytes(const char*& data, int& n, const char* what) noexcept
{
    const char* const start = m_at;
    std::uint64_t length = 0;
    if (!number(length))
        return false;
    if (length > left() || length > INT_MAX - 64) {
        m_at = start;
        return fail(what);
    }
    data = m_at;
    n = static_cast<int>(length);
    m_at += n;
    return true;
}

bool Reader::attribs()
{
    std::uint64_t count = 0;
    if (!number(count))
        return false;
    if (count == 0 || count > left() / 2)
        return fail("a branch states more attributes than there are bytes for, or none");
    for (; count; --count) {
        std::uint64_t nameLength = 0;
        if (!number(nameLength))
            return false;
        const bool named = nameLength > 0;
        nameLength -= named;
        if (nameLength > left() || nameLength > INT_MAX - 64)
            return fail("the name of an attribute is longer than what is left");
        const char* name = named ? m_at : nullptr;
        m_at += nameLength;
        const char* text = nullptr;
        int length = 0;
        if (!bytes(text, length, "the value of an attribute is longer than what is left"))
            return false;
        m_attribs.add(name, static_cast<int>(nameLength), text, length);
    }
    return true;
}

bool Reader::value(Core& branch, int type, const char* data, int n) noexcept
{
    const std::uint64_t bits = n == 8 ? get64(data) : 0;
    switch (type) {
    case 0:
        return true;
    case 1:
    case 2:
        branch.setNumber(type, data[0]);
        return true;
    case 3:
        branch.setNumber(3, static_cast<std::uint16_t>(static_cast<unsigned char>(data[0]) |
                                                       static_cast<unsigned char>(data[1]) << 8));
        return true;
    case 4:
        branch.setNumber(4, get32(data));
        return true;
    case 5: {
        const long whole = static_cast<long>(static_cast<std::int64_t>(bits));
        if (whole != static_cast<std::int64_t>(bits))
            return fail("a long is too large for this system");
        branch.setNumber(5, whole);
        return true;
    }
    default:
        branch.setNumber(6, bits);
        return true;
    }
}

ZTBranch* Reader::branch(std::uint64_t& children)
{
    children = 0;
    if (m_at == m_end) {
        fail("a branch is missing");
        return nullptr;
    }
    const unsigned head = static_cast<unsigned char>(*m_at);
    if (head & ~knownBits) {
        fail("this begins no branch");
        return nullptr;
    }
    ++m_at;
    const char* name = nullptr;
    int nameLength = 0;
    if (head & hasName) {
        if (!bytes(name, nameLength, "the name of a branch is longer than what is left"))
            return nullptr;
        if (nameLength && std::memchr(name, 0, static_cast<std::size_t>(nameLength))) {
            fail("the name before this holds a zero byte");
            return nullptr;
        }
    }
    const int type = static_cast<int>(head & typeBits);
    const char* data = nullptr;
    int length = 0;
    unsigned char precision = 0;
    if (type == 7) {
        if (!bytes(data, length, "a value is longer than what is left"))
            return nullptr;
    } else {
        length = valueSizes[type];
        if (left() < static_cast<std::size_t>(length) + (type == 6)) {
            fail("the tree ends inside a value");
            return nullptr;
        }
        if (type == 6)
            precision = static_cast<unsigned char>(*m_at++);
        data = m_at;
        m_at += length;
    }
    m_attribs.clear();
    if (head & hasAttribs && !attribs())
        return nullptr;
    if (head & hasChildren) {
        if (!number(children))
            return nullptr;
        if (children == 0 || children > left()) {
            fail("a branch states more children than there are bytes for, or none");
            return nullptr;
        }
    }
    ZTBranch* made = m_attribs.make(head & hasName ? name : nullptr, nameLength, type == 7 ? length : 0);
    Core& core = *Core::of(made);
    try {
        if (type == 7) {
            core.setBytes(data, length);
        } else if (!value(core, type, data, length)) {
            delete made;
            return nullptr;
        }
    } catch (...) {
        delete made;
        throw;
    }
    if (type == 6)
        core.setPrecision(precision);
    return made;
}

ZTBranch* Reader::tree()
{
    struct Level {
        ZTBranch* branch;
        std::uint64_t left;
    };
    platform::WorkStack<Level> way;
    std::uint64_t children = 0;
    ZTBranch* root = branch(children);
    if (!root)
        return nullptr;
    try {
        if (children && !way.push({root, children}))
            throwNoMemory();
        while (!way.empty()) {
            Level& level = way.top();
            if (level.left == 0) {
                way.pop();
                continue;
            }
            --level.left;
            ZTBranch* child = branch(children);
            if (!child) {
                delete root;
                return nullptr;
            }
            try {
                Core::of(level.branch)->adopt(child);
            } catch (...) {
                delete child;
                throw;
            }
            if (children && !way.push({child, children}))
                throwNoMemory();
        }
    } catch (...) {
        delete root;
        throw;
    }
    if (m_at != m_end) {
        fail("bytes are left behind the root");
        delete root;
        return nullptr;
    }
    return root;
}

bool report(TreeStreamError& error, std::size_t offset, const char* message) noexcept
{
    error.offset = offset;
    std::snprintf(error.message, sizeof error.message, "%s", message);
    return false;
}

bool checkHead(const char* data, std::size_t n, std::uint64_t& body, TreeStreamError& error) noexcept
{
    if (n && std::memcmp(data, magic, std::min(n, sizeof magic)) != 0)
        return report(error, 0, "this is no tree: it does not begin with ZTR2");
    if (n < headSize)
        return report(error, n, "the tree ends inside its head");
    if (get32(data + 4) != version)
        return report(error, 4, "the tree is of a version that is not known here");
    body = get64(data + 8);
    return true;
}

// `data` holds body and checksum.
bool readBody(const Crc& headCrc, const char* data, std::size_t body, ZTree& tree, TreeStreamError& error)
{
    Crc crc = headCrc;
    crc.add(data, body);
    if (crc.value() != get32(data + body))
        return report(error, headSize + body, "the checksum is wrong: bytes of the tree were changed");
    ZTBranch* root = nullptr;
    if (body) {
        root = Reader(data, body, error).tree();
        if (!root)
            return false;
    }
    tree.set(root);
    return true;
}

// As many of n bytes as the stream has, in a block that grows with them.
char* readUpTo(std::istream& in, std::uint64_t n, std::size_t& got)
{
    std::size_t room = static_cast<std::size_t>(std::min<std::uint64_t>(n, std::size_t{1} << 16));
    platform::HeapPtr<char> block(platform::allocArray<char>(room));
    if (!block)
        throwNoMemory();
    for (got = 0;;) {
        in.read(block.get() + got, static_cast<std::streamsize>(room - got));
        got += static_cast<std::size_t>(in.gcount());
        if (got < room || got == n)
            return block.release();
        const std::uint64_t more = std::min<std::uint64_t>(n, std::uint64_t{room} * 2);
        if (more > PTRDIFF_MAX)
            throwNoMemory();
        char* grown = static_cast<char*>(platform::heapResize(block.get(), static_cast<std::size_t>(more)));
        if (!grown)
            throwNoMemory();
        block.release();
        block.reset(grown);
        room = static_cast<std::size_t>(more);
    }
}

} // namespace

namespace ztree {

bool saveTree(const ZTBranch& root, std::ostream& out)
{
    return save(&root, out);
}

bool saveTree(const ZTree& tree, std::ostream& out)
{
    return save(tree.root(), out);
}

bool loadTree(const char* data, std::size_t bytes, ZTree& tree, TreeStreamError* error)
{
    TreeStreamError scratch;
    TreeStreamError& fault = error ? *error : scratch;
    fault = TreeStreamError();
    std::uint64_t body = 0;
    if (!checkHead(data, data ? bytes : 0, body, fault))
        return false;
    const std::size_t behind = bytes - headSize;
    if (behind < tailSize || body > behind - tailSize)
        return report(fault, bytes, "the tree ends before the length in its head");
    if (body < behind - tailSize)
        return report(fault, headSize + static_cast<std::size_t>(body) + tailSize, "bytes follow the tree");
    Crc crc;
    crc.add(data, headSize);
    return readBody(crc, data + headSize, static_cast<std::size_t>(body), tree, fault);
}

bool loadTree(std::istream& in, ZTree& tree, TreeStreamError* error)
{
    TreeStreamError scratch;
    TreeStreamError& fault = error ? *error : scratch;
    fault = TreeStreamError();
    char head[headSize] = {};
    in.read(head, sizeof head);
    std::uint64_t body = 0;
    if (!checkHead(head, static_cast<std::size_t>(in.gcount()), body, fault))
        return false;
    std::size_t got = 0;
    const std::uint64_t wanted = body > UINT64_MAX - tailSize ? body : body + tailSize;
    platform::HeapPtr<char> rest(readUpTo(in, wanted, got));
    if (got < wanted)
        return report(fault, headSize + got, "the tree ends before the length in its head");
    Crc crc;
    crc.add(head, headSize);
    return readBody(crc, rest.get(), static_cast<std::size_t>(body), tree, fault);
}

} // namespace ztree
