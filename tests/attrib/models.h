#pragma once
// What tokenizers and attribute lists do, written out step by step without any thought of speed: the measure
// for random calls in the tests and in the fuzz target.

#include "tests/support/plain_sort.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

template <class Ch> using Text = std::basic_string<Ch>;

/// Readable, for comparing and for messages; units above ASCII by their number.
template <class Ch> std::string shown(const Text<Ch>& s)
{
    std::string out;
    for (const Ch c : s) {
        const unsigned u = sizeof(Ch) == 1 ? static_cast<unsigned char>(c) : static_cast<std::uint16_t>(c);
        out += u >= 32 && u < 127 ? std::string(1, static_cast<char>(u)) : "<" + std::to_string(u) + ">";
    }
    return out;
}
template <class Ch> std::string shown(const Ch* s)
{
    return s ? shown(Text<Ch>(s)) : "(null)";
}

template <class Ch> struct TokenizerModel {
    using T = Text<Ch>;
    using Maybe = std::optional<T>;

    bool strict = false; // ZTokenizerEx
    T text, seps;
    std::size_t position = 0;
    int mode = 0;
    Ch lastSplit = 0;

    static T defaults() { return T{' ', '\t', '\r', '\n'}; }
    static bool in(const T& set, Ch c) { return c != 0 && set.find(c) != T::npos; }

    void init(const T& newText, const Maybe& newSeps, int newMode)
    {
        text = newText;
        seps = newSeps.value_or(defaults());
        position = 0;
        lastSplit = 0;
        mode = newMode;
        if (mode & 1)
            return;
        if (!text.empty() && in(seps, text[0]))
            lastSplit = text[0];
        while (!text.empty() && in(seps, text.front()))
            text.erase(0, 1);
        while (!text.empty() && in(seps, text.back()))
            text.pop_back();
    }
    bool hasMore() const { return !seps.empty() && position < text.size(); }
    int skip(const T& chars)
    {
        int n = 0;
        for (; position < text.size() && in(chars, text[position]); ++position)
            ++n;
        return n;
    }
    bool ends(std::size_t i, const T& set, int m) const
    {
        const Ch c = text[i];
        if (strict && c == 0)
            return (m & 1) && (m & 8);
        if (!in(set, c))
            return false;
        if (strict && c == '\r')
            return i + 1 < text.size() && text[i + 1] == '\n';
        return !(strict && (m & 2) && c == '\n');
    }
    Maybe next(const Maybe& delims, int m)
    {
        if (text.empty()) {
            position = 0;
            lastSplit = 0;
            return std::nullopt;
        }
        if (m < 0)
            m = mode;
        const T set = delims.value_or(seps);
        if (delims && !(m & 1))
            skip(set);
        std::size_t end = position;
        while (end < text.size() && !ends(end, set, m))
            ++end;
        const T token = text.substr(position, end - position);
        lastSplit = end < text.size() ? text[end] : Ch{};
        if ((m & 2) && lastSplit == '\r' && end + 1 < text.size() && text[end + 1] == '\n') {
            lastSplit = '\n';
            ++end;
        }
        position = end;
        if (m & 1) {
            if (position < text.size())
                ++position;
            return token;
        }
        skip(set);
        if (delims)
            skip(seps);
        return token;
    }
    T chunk(int size)
    {
        const T piece = text.substr(position, size < 0 ? 0 : static_cast<std::size_t>(size));
        position += piece.size();
        lastSplit = 0;
        return piece;
    }
};

/// A list and its lookups, likewise.
template <class Ch> struct ListModel {
    using T = Text<Ch>;
    struct Item {
        bool made = false; // has stored something
        T name, value;
    };
    using Ref = std::shared_ptr<Item>;
    std::vector<Ref> items;
    bool sorted = false;

    static int fold(Ch c)
    {
        const int u = sizeof(Ch) == 1 ? static_cast<unsigned char>(c) : static_cast<std::uint16_t>(c);
        if (u >= 'A' && u <= 'Z')
            return u + 32;
        if (sizeof(Ch) > 1 && (u == 0xC9 || u == 0x410))
            return u + 32;
        return u;
    }
    static int rank(const T& name)
    {
        const Ch first = name.empty() ? Ch{} : name[0];
        return sizeof(Ch) == 1 ? static_cast<unsigned char>(first) | 0x20 : fold(first);
    }
    static int compare(const T& a, const T& b)
    {
        for (std::size_t i = 0; i < a.size() && i < b.size(); ++i)
            if (fold(a[i]) != fold(b[i]))
                return fold(a[i]) - fold(b[i]);
        return a.size() == b.size() ? 0 : a.size() < b.size() ? -1 : 1;
    }
    static int compare(const Ref& a, const Ref& b)
    {
        if (a == b)
            return 0;
        if (a->made && b->made)
            return compare(a->name, b->name);
        return a->made ? 1 : -1;
    }
    int find(const T& name) const
    {
        const int bound = sorted ? rank(name) : sizeof(Ch) == 1 ? 127 : 32767;
        for (std::size_t i = 0; i < items.size(); ++i) {
            if (compare(items[i]->name, name) == 0)
                return static_cast<int>(i);
            if (rank(items[i]->name) > bound)
                return -1;
        }
        return -1;
    }
    void append(const T& name, const T& value, bool made)
    {
        items.push_back(std::make_shared<Item>(made ? Item{true, name, value} : Item{}));
    }
    void set(const T& name, const std::optional<T>& value)
    {
        const int i = find(name);
        if (i >= 0) {
            at(i)->value = value.value_or(T());
            at(i)->made |= value.has_value();
        } else {
            append(name, value.value_or(T()), true);
            sorted = false;
        }
    }
    Ref& at(int i) { return items[static_cast<std::size_t>(i)]; }
    void sort()
    {
        if (!sorted && items.size() == 2 && compare(at(0), at(1)) >= 1)
            std::swap(at(0), at(1));
        else if (!sorted && items.size() > 2)
            plainSort(items, 0, static_cast<int>(items.size()) - 1,
                      [](const Ref& a, const Ref& b) { return compare(a, b); });
        sorted = true;
    }
    int parse(const T& text)
    {
        items.clear();
        TokenizerModel<Ch> t;
        const T space = {' ', '\r', '\n', '\t'};
        t.init(text, space, 0);
        while (t.hasMore()) {
            T name = *t.next(T{'='}, -1), value;
            const T blanks = {'\n', '\t', ' '};
            name.erase(0, std::min(name.find_first_not_of(blanks), name.size()));
            name.erase(name.find_last_not_of(blanks) + 1);
            t.skip(space);
            if (t.hasMore()) {
                if (const int quotes = t.skip(T{'"'})) {
                    if (quotes == 1)
                        value = *t.next(T{'"'}, -1);
                } else if (const int apostrophes = t.skip(T{'\''})) {
                    if (apostrophes == 1)
                        value = *t.next(T{'\''}, -1);
                } else {
                    value = *t.next(T{'"', '\r', '\n', '\t', ' '}, -1);
                }
            }
            append(name, value, !name.empty());
        }
        return static_cast<int>(items.size());
    }
    template <class L> bool equals(const L& list) const
    {
        if (list.size() != static_cast<int>(items.size()))
            return false;
        int i = 0;
        for (const Ref& e : items) {
            const Ch* name = list.nameAt(i);
            if ((name ? e->name != name : !e->name.empty()) || e->value != list.dataAt(i++))
                return false;
        }
        return true;
    }
};
