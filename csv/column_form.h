#pragma once
// Quoting and escaping of a value that was just appended to a line.

#include "attrib/delimiters.h"
#include "csv/text_out.h"

#include <ztree/csv.h>

namespace ztree_impl {

/// How lines are written.
struct LineStyle {
    zwchar separator = ';';
    unsigned dialect = 0;
    bool quotes = false;
    unsigned escape = 0;
    bool trailing = false;
    unsigned lineEnd = 0;
};

template <class Ch> class ColumnForm {
public:
    void set(const LineStyle& style) noexcept
    {
        m_style = style;
        m_separator = static_cast<Ch>(style.separator);
        Ch list[8] = {};
        int n = 0;
        if (style.dialect) {
            for (const char c : {'"', '\r', '\n'})
                list[n++] = static_cast<Ch>(c);
        } else if (style.escape == 1) {
            list[n++] = '\\';
        } else if (style.escape == 2) {
            list[n++] = '%';
            if (m_separator != ';')
                list[n++] = ';';
            list[n++] = '\r';
            list[n++] = '\n';
        }
        list[n++] = m_separator;
        if (style.dialect == 0 && style.quotes)
            list[n] = '"';
        m_special = FewDelimiters<Ch>(list);
    }

    /// What a column starts with. Returns where its value starts.
    std::size_t begin(GrowingText<Ch>& out) const noexcept
    {
        if (m_style.dialect == 0 && m_style.quotes)
            out.unit('"');
        return out.length();
    }
    /// The value was appended from `value` on; `only` tells that the record has no other column.
    void end(GrowingText<Ch>& out, std::size_t value, bool only)
    {
        if (m_style.dialect) {
            quoteRecord(out, value, only);
        } else {
            if (m_style.escape == 1 || m_style.escape == 2)
                escape(out, value);
            if (m_style.quotes)
                out.unit('"');
        }
        out.unit(m_separator);
    }
    /// A column without a value, not even quotes.
    void none(GrowingText<Ch>& out, std::size_t value, bool only)
    {
        if (m_style.dialect) {
            end(out, value, only);
        } else {
            out.cut(value - (m_style.quotes ? 1 : 0));
            out.unit(m_separator);
        }
    }
    void endLine(GrowingText<Ch>& out) const noexcept
    {
        if ((m_style.dialect || !m_style.trailing) && out.length() > 0)
            out.cut(out.length() - 1);
        static const char* const ends[] = {"\r\n", "\n", "\r"};
        if (m_style.lineEnd < 3)
            out.ascii(ends[m_style.lineEnd], m_style.lineEnd == 0 ? 2 : 1);
    }

private:
    // Takes the value out of the line, to be written anew. False without memory.
    bool takeBack(GrowingText<Ch>& out, std::size_t value) noexcept
    {
        m_value.clear();
        m_value.units(out.text() + value, out.length() - value);
        out.fail(m_value.failed());
        out.cut(value);
        return !m_value.failed();
    }

    void escape(GrowingText<Ch>& out, std::size_t value)
    {
        static constexpr char digits[] = "0123456789ABCDEF";
        if (!out.has(m_special, value) || !takeBack(out, value))
            return;
        const Ch* at = m_value.text();
        const Ch* const end = at + m_value.length();
        for (;;) {
            const Ch* split = m_special.find(at, end);
            out.units(at, static_cast<std::size_t>(split - at));
            if (split == end)
                return;
            const auto c = static_cast<unsigned>(static_cast<std::make_unsigned_t<Ch>>(*split));
            if (m_style.escape == 1) {
                out.unit('\\');
                out.unit(*split);
            } else {
                out.unit('%');
                for (int shift = c > 0xFFF ? 12 : c > 0xFF ? 8 : 4; shift >= 0; shift -= 4)
                    out.unit(static_cast<Ch>(digits[c >> shift & 15]));
            }
            at = split + 1;
        }
    }

    // An only column that is empty would be an empty line, which readers pass over.
    void quoteRecord(GrowingText<Ch>& out, std::size_t value, bool only)
    {
        const bool always = m_style.dialect == varnik::ztree::csvDialectRfcQuoted;
        if (!always && !(only && out.length() == value) && !out.has(m_special, value))
            return;
        if (!takeBack(out, value))
            return;
        out.unit('"');
        const Ch* at = m_value.text();
        const Ch* const end = at + m_value.length();
        while (at != end) {
            const Ch* quote = std::find(at, end, Ch('"'));
            const Ch* upTo = quote == end ? end : quote + 1;
            out.units(at, static_cast<std::size_t>(upTo - at));
            if (quote != end)
                out.unit('"');
            at = upTo;
        }
        out.unit('"');
    }

    LineStyle m_style;
    Ch m_separator = ';';
    FewDelimiters<Ch> m_special; // what cannot stand in a value as it is
    GrowingText<Ch> m_value;
};

} // namespace ztree_impl
