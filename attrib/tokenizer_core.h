#pragma once
// The one body behind the three tokenizers.

#include "attrib/delimiters.h"
#include "platform/heap.h"

#include <ztree/tokenizer.h>

#include <cstddef>
#include <cstring>

namespace ztree_impl {

struct NarrowTokens {
    using Char = char;
    using String = ZString;
    static constexpr bool strictLines = false;
    static const char* seps() { return " \t\r\n"; }
};
/// Texts of explicit length: a lone line-end character never ends a token, and NUL may count as a delimiter.
struct ExactTokens : NarrowTokens {
    static constexpr bool strictLines = true;
};
struct WideTokens {
    using Char = zwchar;
    using String = ZStringW;
    static constexpr bool strictLines = false;
    static const zwchar* seps() { return ZTEXT(" \t\r\n"); }
};

template <class Kind> class TokenizerCore : public platform::HeapObject {
public:
    using Ch = typename Kind::Char;
    using String = typename Kind::String;
    enum : int { exact = 1, joinLineEnd = 2, nulDelimits = 8 };

    TokenizerCore() = default;
    TokenizerCore(const TokenizerCore&) = delete;
    TokenizerCore& operator=(const TokenizerCore&) = delete;

    ~TokenizerCore() { platform::heapFree(m_token); }

    void init(const Ch* text, int length, const Ch* seps, int mode);
    void assign(const TokenizerCore& other);
    const String& text() const noexcept { return m_text; }
    void setSeps(const Ch* seps);
    const Ch* seps() const noexcept { return orEmpty(m_seps); }
    void setMode(int mode) noexcept
    {
        m_mode = mode;
        noteQuick();
    }
    int mode() const noexcept { return m_mode; }
    bool hasMore() const noexcept { return m_at < m_end && m_sepSet.count() > 0; }
    int skip(const Ch* chars) noexcept;
    Ch lastSplit() const noexcept { return m_split; }

    /// A piece of the text, and where the tokenizer stands once the piece is handed out: copying it may fail.
    struct Piece {
        const Ch* text;
        const Ch* end;
        const Ch* next;
        Ch split;

        int length() const noexcept { return static_cast<int>(end - text); }
    };
    /// The next token. All pointers are null for an empty text.
    Piece cut(const Ch* delims, int mode) const noexcept;
    /// The next `size` units, as far as there are any.
    Piece chunk(int size) const noexcept;
    void accept(const Piece& piece) noexcept
    {
        moveTo(piece.next);
        m_split = piece.split;
    }
    /// Cuts, keeps the token and returns it; null for an empty text.
    const Ch* next(const Ch* delims, int mode)
    {
        if (Kind::strictLines || delims || mode >= 0)
            return nextOfAny(delims, mode);
        return takeMarked() ? m_token : nextBehindMarks();
    }

private:
    static const Ch* orEmpty(const String& s) noexcept
    {
        static const Ch none = 0;
        return s.length() ? static_cast<const Ch*>(s.getBuffer()) : &none;
    }
    void setText(String&& text, int position) noexcept;
    template <class Set> Piece cutBy(const Set& set, bool given, int mode, int clear = 0) const noexcept;
    [[gnu::noinline]] Piece cutByOthers(const Ch* delims, int mode) const noexcept;
    const Ch* passSeps(const Ch* p) const noexcept;
    [[gnu::noinline]] const Ch* nextOfAny(const Ch* delims, int mode);
    const Ch* keep(const Piece& piece);
    void makeTokenRoom(int length);
    void moveTo(const Ch* p) noexcept
    {
        m_at = p;
        m_hits = 0;
    }
    static int firstUnit(std::size_t hits) noexcept
    {
        const int byte =
            sizeof hits == 8 ? __builtin_ctzll(hits) : __builtin_ctz(static_cast<unsigned>(hits));
        return byte / static_cast<int>(sizeof(Ch));
    }
    /// The usual token, among few kinds of delimiters: true when m_hits knows where it ends and the next one
    /// begins.
    bool takeMarked() noexcept
    {
        constexpr int block = FewDelimiters<Ch>::lanes;
        const std::size_t hits = m_hits;
        const std::size_t behind = hits + (hits & (0 - hits)); // the carry ends behind the first run
        if (behind == 0)
            return false;
        const Ch* const end = m_hitsOf + firstUnit(hits);
        const int length = static_cast<int>(end - m_at);
        if (length > m_tokenRoom || m_at >= m_quickEnd)
            return false;
        std::memcpy(m_token, m_at, 16);
        if (length > block)
            std::memcpy(m_token, m_at, static_cast<std::size_t>(length) * sizeof(Ch));
        m_token[length] = 0;
        m_split = *end;
        m_at = m_hitsOf + firstUnit(behind);
        m_hits = hits & behind;
        return true;
    }
    [[gnu::noinline]] const Ch* nextBehindMarks();
    void noteQuick() noexcept
    {
        constexpr int block = FewDelimiters<Ch>::lanes;
        const bool quick = m_mode == 0 && m_sepSet.count() > 0 && m_sepSet.count() <= 4 &&
                           m_tokenRoom > block && m_end - m_at >= block;
        m_quickEnd = quick ? m_end - block + 1 : nullptr;
        m_hits = 0;
    }

    // The text is never changed while it is held, so that its parts stay where they are.
    const Ch* m_at = nullptr; // the next unread unit
    const Ch* m_end = nullptr;
    const Ch* m_quickEnd = nullptr; // separators of tokens that begin before it may be marked
    std::size_t m_hits = 0;         // the marks from m_at on, as FewDelimiters::hitsUpTo(m_hitsOf) makes them
    const Ch* m_hitsOf = nullptr;
    Ch* m_token = nullptr;
    int m_tokenRoom = 0;
    int m_mode = 0;
    Ch m_split = 0;
    FewDelimiters<Ch> m_sepSet; // of m_seps
    String m_text;
    String m_seps;
};

extern template class TokenizerCore<NarrowTokens>;
extern template class TokenizerCore<ExactTokens>;
extern template class TokenizerCore<WideTokens>;

} // namespace ztree_impl

class mZTokenizer final : public ztree_impl::TokenizerCore<ztree_impl::NarrowTokens> {};
class mZTokenizerEx final : public ztree_impl::TokenizerCore<ztree_impl::ExactTokens> {};
class mZTokenizerW final : public ztree_impl::TokenizerCore<ztree_impl::WideTokens> {};

namespace ztree_impl {

[[noreturn]] void throwMemory();

/// The implementation object for a constructor, filled by fill(*impl). Throws structExcept 0x84201001.
template <class Impl, class Fill> Impl* makeTokenizer(Fill fill)
{
    Impl* impl = new Impl;
    if (!impl)
        throwMemory();
    try {
        fill(*impl);
    } catch (...) {
        delete impl;
        throw;
    }
    return impl;
}

} // namespace ztree_impl
