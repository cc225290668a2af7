#pragma once
/// @file ext/attrib.h
/// Modern layer for attributes and tokenizers: tokens as views of a text, loops over an attribute list.
///
/// Header only and additive. Nothing here allocates or throws; views are valid as long as what they look at.

#include <ztree/attributes.h>
#include <ztree/tokenizer.h>

#include <cstddef>
#include <cstdint>
#include <iterator>
#include <string_view>
#include <type_traits>
#include <utility>

namespace ztree {

// --- tokens of a text ---
/// What stands between delimiters.
enum class Empty {
    skip, ///< runs of delimiters count as one, no token is empty
    keep  ///< every delimiter ends a token: n delimiters give n + 1 tokens, also in an empty text
};

/// The tokens of a text as views of it: for (std::string_view t : ztree::tokens(line, ",",
/// ztree::Empty::keep)). Text and delimiters may hold zero units; without delimiters the text is one token.
///
/// Ownership: owns nothing; text and delimiters must outlive the loop.
template <class Ch> class Tokens {
public:
    /// A piece of the text.
    using View = std::basic_string_view<Ch>;

    /// Text and delimiters as views.
    Tokens(View text, View delims, Empty empty) noexcept : m_text(text), m_delims(delims), m_empty(empty)
    {
        for (const Ch c : delims)
            if (code(c) < 256)
                m_low[code(c) >> 6] |= std::uint64_t{1} << (code(c) & 63);
    }

    class iterator {
    public:
        using iterator_category = std::forward_iterator_tag;
        using value_type = View;
        using difference_type = std::ptrdiff_t;
        using pointer = const View*;
        using reference = const View&;

        iterator() noexcept = default; ///< the end
        reference operator*() const noexcept { return m_token; }
        pointer operator->() const noexcept { return &m_token; }
        iterator& operator++() noexcept
        {
            advance();
            return *this;
        }
        iterator operator++(int) noexcept
        {
            iterator old = *this;
            advance();
            return old;
        }
        bool operator==(const iterator& other) const noexcept
        {
            return m_from == other.m_from && (!m_from || m_token.data() == other.m_token.data());
        }
        bool operator!=(const iterator& other) const noexcept { return !(*this == other); }

    private:
        friend class Tokens;
        explicit iterator(const Tokens& from) noexcept : m_from(&from) { advance(); }
        void advance() noexcept
        {
            const View text = m_from->m_text;
            if (m_from->m_empty == Empty::skip)
                while (m_next < text.size() && m_from->isDelimiter(text[m_next]))
                    ++m_next;
            if (m_from->m_empty == Empty::skip ? m_next >= text.size() : m_next > text.size()) {
                *this = iterator();
                return;
            }
            std::size_t stop = m_next;
            while (stop < text.size() && !m_from->isDelimiter(text[stop]))
                ++stop;
            m_token = View(text.data() + m_next, stop - m_next);
            m_next = stop + 1;
        }

        const Tokens* m_from = nullptr;
        std::size_t m_next = 0;
        View m_token;
    };
    iterator begin() const noexcept { return iterator(*this); }
    iterator end() const noexcept { return iterator(); }

private:
    static unsigned code(Ch c) noexcept
    {
        return sizeof(Ch) == 1 ? static_cast<unsigned char>(c) : static_cast<std::uint16_t>(c);
    }
    bool isDelimiter(Ch c) const noexcept
    {
        const unsigned u = code(c);
        return u < 256 ? (m_low[u >> 6] >> (u & 63)) & 1 : m_delims.find(c) != View::npos;
    }

    View m_text;
    View m_delims;
    std::uint64_t m_low[4] = {}; // delimiters below 256, a bit each
    Empty m_empty;
};

inline Tokens<char> tokens(std::string_view text, std::string_view delims = " \t\r\n",
                           Empty empty = Empty::skip) noexcept
{
    return {text, delims, empty};
}
inline Tokens<zwchar> tokens(std::basic_string_view<zwchar> text,
                             std::basic_string_view<zwchar> delims = ZTEXT(" \t\r\n"),
                             Empty empty = Empty::skip) noexcept
{
    return {text, delims, empty};
}

// --- attributes of a list ---
/// Name and value of an attribute; empty where there is none.
template <class Ch> struct AttribView {
    /// The name.
    std::basic_string_view<Ch> name;
    /// The value.
    std::basic_string_view<Ch> value;
};

/// The attributes of a list in its order: for (auto [name, value] : ztree::attribs(list)).
///
/// Ownership: owns nothing; the list must outlive the loop and not change in it.
template <class List> class Attribs {
public:
    /// The unit of the texts.
    using Ch = std::remove_cv_t<std::remove_pointer_t<decltype(std::declval<const List&>().nameAt(0))>>;

    /// Over this list.
    explicit Attribs(const List& list) noexcept : m_list(&list) {}
    int size() const { return m_list->size(); }

    class iterator {
    public:
        using iterator_category = std::input_iterator_tag;
        using value_type = AttribView<Ch>;
        using difference_type = std::ptrdiff_t;
        using pointer = void;
        using reference = AttribView<Ch>;

        iterator(const List* list, int at) noexcept : m_list(list), m_at(at) {}
        AttribView<Ch> operator*() const { return {view(m_list->nameAt(m_at)), view(m_list->dataAt(m_at))}; }
        iterator& operator++() noexcept
        {
            ++m_at;
            return *this;
        }
        iterator operator++(int) noexcept { return iterator(m_list, m_at++); }
        bool operator==(const iterator& other) const noexcept { return m_at == other.m_at; }
        bool operator!=(const iterator& other) const noexcept { return m_at != other.m_at; }

    private:
        static std::basic_string_view<Ch> view(const Ch* s)
        {
            return s ? std::basic_string_view<Ch>(s) : std::basic_string_view<Ch>();
        }

        const List* m_list;
        int m_at;
    };
    iterator begin() const { return iterator(m_list, 0); }
    iterator end() const { return iterator(m_list, m_list->size()); }

private:
    const List* m_list;
};

inline Attribs<ZAttribList> attribs(const ZAttribList& list) noexcept
{
    return Attribs<ZAttribList>(list);
}
inline Attribs<ZAttribWList> attribs(const ZAttribWList& list) noexcept
{
    return Attribs<ZAttribWList>(list);
}

} // namespace ztree
