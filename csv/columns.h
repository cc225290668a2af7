#pragma once
// Cutting a line into columns, in place: a column's text is never longer than what stands for it.

#include "attrib/delimiters.h"
#include "csv/text_out.h"

#include <string>

namespace ztree_impl {

template <class Ch> struct Column {
    Ch* text;
    Ch* end;

    std::size_t length() const noexcept { return static_cast<std::size_t>(end - text); }
};

template <class Ch> constexpr bool isLineEnd(Ch c) noexcept
{
    return c == '\r' || c == '\n';
}

/// The value of an upper-case hexadecimal digit, or -1.
template <class Ch> constexpr int escapeDigit(Ch c) noexcept
{
    return c >= '0' && c <= '9' ? c - '0' : c >= 'A' && c <= 'F' ? c - 'A' + 10 : -1;
}

// --- lines: quotes flip, escapes by backslash or percent sign ---

template <class Ch> struct LineRules {
    FewDelimiters<Ch> splits; // what ends a piece of a column: the separator, the quote, the escape
    Ch separator = 0;
    bool separatorIsMark = false; // it is a quote or escape first of all, and ends nothing
    unsigned page = 0;            // of narrow text

    void set(Ch newSeparator, bool quotes, unsigned escape) noexcept
    {
        Ch list[4] = {newSeparator};
        int n = 1;
        if (quotes)
            list[n++] = '"';
        if (escape == 1)
            list[n++] = '\\';
        else if (escape == 2)
            list[n++] = '%';
        splits = FewDelimiters<Ch>(list);
        separator = newSeparator;
        separatorIsMark = separator == '"' || separator == '\\' || separator == '%';
    }
};

// Three units "%XX" become the character. Returns the end.
inline zwchar* putCode(zwchar* out, int code, unsigned) noexcept
{
    *out = static_cast<zwchar>(code);
    return out + 1;
}
inline char* putCode(char* out, int code, unsigned page) noexcept
{
    char bytes[3];
    const auto unit = static_cast<zwchar>(code);
    int n = 1;
    if (code < 0x80)
        bytes[0] = static_cast<char>(code);
    else
        n = platform::toNarrow(page, &unit, 1, bytes, sizeof bytes);
    std::copy_n(bytes, n, out);
    return out + n;
}

/// The next column from `at`, which moves behind its separator; at != end.
template <class Ch> Column<Ch> cutColumn(Ch*& at, Ch* end, const LineRules<Ch>& rules) noexcept
{
    const auto next = [&](Ch* from) { return const_cast<Ch*>(rules.splits.find(from, end)); };
    Ch* split = next(at);
    Column<Ch> column = {at, split};
    if (split == end || (*split == rules.separator && !rules.separatorIsMark)) {
        at = split == end ? end : split + 1;
        return column;
    }
    Ch* out = at;
    Ch* piece = at;
    bool inQuotes = false;
    for (Ch previous = 0;;) { // the split character in front of the piece, where it has a meaning
        Ch current = split == end ? Ch(0) : *split;
        bool doubled = false;
        if (previous == '"') {
            if (current != rules.separator && current != 0 && out != column.text) {
                doubled = piece == split && current == '"';
                *out++ = '"';
                inQuotes = !inQuotes;
            }
        } else if (previous == '%') {
            if (piece == split) {
                *out++ = '%';
                previous = 0;
            } else if (const int high = escapeDigit(*piece); high >= 0) {
                ++piece;
                if (const int low = piece == split ? -1 : escapeDigit(*piece); low >= 0) {
                    out = putCode(out, high << 4 | low, rules.page);
                    ++piece;
                }
            }
        } else if (previous == '\\') {
            if (piece == split && current != 0) {
                *out++ = current;
                current = 0;
            } else {
                *out++ = '\\';
                previous = 0;
            }
        }
        while (piece != split)
            *out++ = *piece++;
        bool done = false;
        if (current == '"') {
            if (doubled) // the pair is one quote and closes nothing
                current = 0;
            else
                inQuotes = !inQuotes;
        } else if (current != '%' && current != '\\') {
            if (previous == '\\' && current == 0 && split != end) {
                // an escaped split character
            } else if (current == rules.separator && current != 0 && inQuotes) {
                *out++ = current;
            } else {
                done = true;
            }
        }
        at = split == end ? end : split + 1;
        if (done || at == end)
            break;
        previous = current;
        piece = at;
        split = next(at);
    }
    column.end = out;
    return column;
}

// --- records as RFC 4180 has them ---

enum class Ending : unsigned char { separator, line, data };

enum class QuoteFault : unsigned char { none, stray, textBehind, unclosed };

template <class Ch> struct RecordRules {
    FewDelimiters<Ch> ends; // separator, line ends and the quote
    Ch separator = 0;

    void set(Ch newSeparator) noexcept
    {
        const Ch list[] = {newSeparator, '\r', '\n', '"', 0};
        ends = FewDelimiters<Ch>(list);
        separator = newSeparator;
    }
};

/// A column as it stands in the data.
template <class Ch> struct RawColumn {
    Ch* text; // behind an opening quote
    Ch* end;
    bool pairs; // holds quotes that unquote() has to look at
    QuoteFault fault;
    Ending ending;
};

template <class Ch> Ch* findQuote(Ch* p, Ch* end) noexcept
{
    const Ch* found = std::char_traits<Ch>::find(p, static_cast<std::size_t>(end - p), Ch('"'));
    return found ? const_cast<Ch*>(found) : end;
}

/// From p, inside quotes, to behind the closing quote; false when the data ends before it.
template <class Ch>
bool passQuotes(Ch*& p, Ch* end, RawColumn<Ch>& column, const RecordRules<Ch>& rules) noexcept
{
    for (;;) {
        p = findQuote(p, end);
        if (p == end) {
            column.fault = QuoteFault::unclosed;
            return false;
        }
        if (p + 1 == end || p[1] != '"')
            break;
        column.pairs = true;
        p += 2;
    }
    column.end = p++;
    if (p != end && *p != rules.separator && !isLineEnd(*p)) {
        column.fault = QuoteFault::textBehind;
        column.pairs = true;
    }
    return true;
}

/// From p, outside of quotes, to what ends the column that began at `at`, which moves behind it.
template <class Ch>
void passText(Ch*& at, Ch* p, Ch* end, RawColumn<Ch>& column, const RecordRules<Ch>& rules) noexcept
{
    for (;; ++p) {
        p = const_cast<Ch*>(rules.ends.find(p, end));
        if (p == end || *p == rules.separator || isLineEnd(*p))
            break;
        if (column.fault == QuoteFault::none)
            column.fault = QuoteFault::stray;
    }
    if (column.text == at || column.fault == QuoteFault::textBehind)
        column.end = p;
    at = p;
    if (p != end) {
        column.ending = isLineEnd(*p) ? Ending::line : Ending::separator;
        ++at;
    }
}

/// Finds the end of the column at `at`, which moves behind what ended it (behind the CR of a CR LF).
template <class Ch> RawColumn<Ch> findColumn(Ch*& at, Ch* end, const RecordRules<Ch>& rules) noexcept
{
    RawColumn<Ch> column = {at, end, false, QuoteFault::none, Ending::data};
    Ch* p = at;
    if (p != end && *p == '"' && rules.separator != '"') {
        column.text = ++p;
        if (!passQuotes(p, end, column, rules)) {
            at = end;
            return column;
        }
    }
    passText(at, p, end, column, rules);
    return column;
}

/// The same for a column of which findColumn() or findMore() said `column` when the data ended at `seen`,
/// behind `at`; now there is more.
template <class Ch>
RawColumn<Ch> findMore(Ch*& at, Ch* seen, Ch* end, const RecordRules<Ch>& rules,
                       RawColumn<Ch> column) noexcept
{
    const bool isOpen = column.fault == QuoteFault::unclosed;
    Ch* p = seen;
    if (isOpen || (column.text != at && column.fault == QuoteFault::none)) {
        if (isOpen)
            column.fault = QuoteFault::none;
        else
            p = column.end; // a quote was the last of the data: it closes, or is one of a pair
        column.end = end;
        if (!passQuotes(p, end, column, rules)) {
            at = end;
            return column;
        }
    }
    passText(at, p, end, column, rules);
    return column;
}

/// The text of a column with pairs: each is one quote, the closing quote is dropped.
template <class Ch> Column<Ch> unquote(const RawColumn<Ch>& raw) noexcept
{
    Ch* out = raw.text;
    bool open = true;
    for (Ch* p = raw.text; p != raw.end; ++p) {
        if (open && *p == '"') {
            if (p + 1 != raw.end && p[1] == '"') {
                ++p;
            } else {
                open = false;
                continue;
            }
        }
        *out++ = *p;
    }
    return {raw.text, out};
}

} // namespace ztree_impl
