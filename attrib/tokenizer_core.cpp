#include "attrib/tokenizer_core.h"

#include "text/string_core.h"

#include <ztree/runtime.h>

#include <algorithm>
#include <cstring>
#include <utility>

namespace ztree_impl {

void throwMemory()
{
    throw structExcept(ztree::errMemory);
}

namespace {
// Sets a string, whatever its width, to n units.
void put(ZString& to, const char* s, int n)
{
    to.set(s, n, 65001);
}
void put(ZStringW& to, const zwchar* s, int n)
{
    to.set(s, n);
}
} // namespace

template <class Kind> void TokenizerCore<Kind>::init(const Ch* text, int length, const Ch* seps, int mode)
{
    // The copies stand before anything changes; text may be the old one.
    String newSeps(seps ? seps : Kind::seps());
    String newText;
    const int n = !text ? 0 : length < 0 ? textLength(text) : length;
    Ch split = 0;
    if (n) {
        int first = 0;
        int last = n;
        if (!(mode & exact)) {
            const CharSet<Ch> set(orEmpty(newSeps));
            if (set.has(text[0]))
                split = text[0];
            while (first < last && set.has(text[first]))
                ++first;
            while (first < last && set.has(text[last - 1]))
                --last;
        }
        if (first < last) // a string set to nothing would look at what stands there
            put(newText, text + first, last - first);
    }
    m_seps = std::move(newSeps);
    m_sepSet = FewDelimiters<Ch>(orEmpty(m_seps));
    setText(std::move(newText), 0);
    m_split = split;
    setMode(mode);
}

template <class Kind> void TokenizerCore<Kind>::assign(const TokenizerCore& other)
{
    String text(other.m_text);
    String seps(other.m_seps);
    m_seps = std::move(seps);
    m_sepSet = other.m_sepSet;
    setText(std::move(text), static_cast<int>(other.m_at - other.m_text.getBuffer()));
    setMode(other.m_mode);
    m_split = other.m_split;
}

template <class Kind> void TokenizerCore<Kind>::setSeps(const Ch* seps)
{
    String fresh(seps ? seps : Kind::seps());
    m_seps = std::move(fresh);
    m_sepSet = FewDelimiters<Ch>(orEmpty(m_seps));
    noteQuick();
}

template <class Kind> void TokenizerCore<Kind>::setText(String&& text, int position) noexcept
{
    m_text = std::move(text);
    const Ch* begin = m_text.getBuffer(); // null when empty
    moveTo(begin + position);
    m_end = begin + m_text.length();
}

namespace {
template <class Set, class Ch> inline const Ch* pass(const Set& set, const Ch* p, const Ch* end) noexcept
{
    while (p < end && set.has(*p))
        ++p;
    return p;
}
} // namespace

template <class Kind> int TokenizerCore<Kind>::skip(const Ch* chars) noexcept
{
    if (!chars)
        return 0;
    const Ch* from = m_at;
    const FewDelimiters<Ch> few(chars);
    moveTo(few.count() <= few.most ? pass(few, from, m_end)
                                   : pass(ManyDelimiters<Ch>(chars, false), from, m_end));
    return static_cast<int>(m_at - from);
}

template <class Kind> const typename Kind::Char* TokenizerCore<Kind>::passSeps(const Ch* p) const noexcept
{
    return m_sepSet.count() <= m_sepSet.most ? pass(m_sepSet, p, m_end)
                                             : pass(ManyDelimiters<Ch>(orEmpty(m_seps), false), p, m_end);
}

// The first `clear` units are known to be no delimiters, which are not given then.
template <class Kind>
template <class Set>
[[gnu::always_inline]] inline typename TokenizerCore<Kind>::Piece
TokenizerCore<Kind>::cutBy(const Set& set, bool given, int mode, int clear) const noexcept
{
    const Ch* end = m_end;
    const Ch* begin = m_at;
    if (given && !(mode & exact))
        begin = pass(set, begin, end);
    int run = 0;
    const Ch* stop = set.find(begin + clear, end, run);
    if constexpr (Kind::strictLines) {
        auto endsHere = [end, mode](const Ch* p) {
            if (*p == '\r')
                return p + 1 < end && p[1] == '\n';
            return *p != '\n' || !(mode & joinLineEnd);
        };
        while (stop < end && !endsHere(stop))
            stop = set.find(stop + 1, end, run);
    }
    Piece piece = {begin, stop, end, 0};
    if (stop == end)
        return piece;
    piece.split = *stop;
    const bool joined = (mode & joinLineEnd) && *stop == '\r' && stop + 1 < end && stop[1] == '\n';
    if (joined)
        piece.split = '\n';
    if (mode & exact) {
        piece.next = stop + 1 + joined;
    } else {
        // The LF of a pair is passed only when it is a delimiter.
        piece.next = run ? stop + run : pass(set, stop + 1, end);
        if (given)
            piece.next = passSeps(piece.next);
    }
    return piece;
}

template <class Kind>
typename TokenizerCore<Kind>::Piece TokenizerCore<Kind>::cutByOthers(const Ch* delims,
                                                                     int mode) const noexcept
{
    const bool given = delims != nullptr;
    const bool withZero = Kind::strictLines && (mode & exact) && (mode & nulDelimits);
    if (!given)
        delims = orEmpty(m_seps);
    const FewDelimiters<Ch> few(delims, withZero);
    if (few.count() <= few.most)
        return cutBy(few, given, mode);
    return cutBy(ManyDelimiters<Ch>(delims, withZero), given, mode);
}

template <class Kind>
inline typename TokenizerCore<Kind>::Piece TokenizerCore<Kind>::cut(const Ch* delims, int mode) const noexcept
{
    if (mode < 0)
        mode = m_mode;
    const bool withZero = Kind::strictLines && (mode & nulDelimits);
    if (!delims && !withZero && m_sepSet.count() <= m_sepSet.most)
        return cutBy(m_sepSet, false, mode);
    return cutByOthers(delims, mode);
}

template <class Kind> typename TokenizerCore<Kind>::Piece TokenizerCore<Kind>::chunk(int size) const noexcept
{
    const Ch* stop = m_at + std::clamp(size, 0, static_cast<int>(m_end - m_at));
    return {m_at, stop, stop, 0};
}

template <class Kind> void TokenizerCore<Kind>::makeTokenRoom(int length)
{
    const std::size_t room = std::max<std::size_t>(static_cast<std::size_t>(length) + 1, 32);
    Ch* fresh = platform::allocArray<Ch>(room);
    if (!fresh)
        throwMemory();
    platform::heapFree(m_token);
    m_token = fresh;
    m_tokenRoom = static_cast<int>(room - 1);
    noteQuick();
}

template <class Kind> const typename Kind::Char* TokenizerCore<Kind>::nextBehindMarks()
{
    if (m_at >= m_quickEnd)
        return nextOfAny(nullptr, -1);
    m_hits = m_sepSet.hitsUpTo(m_at, m_end);
    m_hitsOf = m_at;
    if (takeMarked())
        return m_token;
    constexpr std::ptrdiff_t seen = 8 * sizeof m_hits / sizeof(Ch);
    const int clear = m_hits ? 0 : static_cast<int>(std::min(seen, m_end - m_at));
    return keep(cutBy(m_sepSet, false, m_mode, clear));
}

template <class Kind> const typename Kind::Char* TokenizerCore<Kind>::nextOfAny(const Ch* delims, int mode)
{
    return keep(cut(delims, mode));
}

template <class Kind> const typename Kind::Char* TokenizerCore<Kind>::keep(const Piece& piece)
{
    if (!piece.text) {
        accept(piece);
        return nullptr;
    }
    const int length = piece.length();
    if (length > m_tokenRoom || !m_token)
        makeTokenRoom(length);
    // Most tokens are short: 16 bytes at once, where the text has them.
    constexpr int block = 16 / sizeof(Ch);
    if (length <= block && m_end - piece.text >= block)
        std::memcpy(m_token, piece.text, 16);
    else
        std::memcpy(m_token, piece.text, static_cast<std::size_t>(length) * sizeof(Ch));
    m_token[length] = 0;
    accept(piece);
    return m_token;
}

template class TokenizerCore<NarrowTokens>;
template class TokenizerCore<ExactTokens>;
template class TokenizerCore<WideTokens>;

} // namespace ztree_impl
