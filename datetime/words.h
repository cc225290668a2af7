#pragma once
// The common frame of amounts in words. A language is a class of static members:
//   group(text, n, g, wording)   n, 1 to 999, as the g'th group of three digits
//   isApart(above, g, wording)   whether a blank stands between the groups `above` and g
//   nameTotal(text, names, amount, wording), namePart(text, words, fraction, wording)   the units' names
//   afterDigits(text)            behind a fraction in digits
//   fractionGroup(index, wording)   the group that a fraction of that currency is spelled as
//   null, minus, currencies, trimmed

#include <ztree/datetime.h>
#include <ztree/text.h>

#include <cstring>

namespace ztree {

enum class Wording { plain, modern };

// A word of up to 15 units with its length: 32 bytes, so that one is copied whole without a loop.
struct Word {
    zwchar text[15] = {};
    zwchar length = 0;

    constexpr Word() = default;
    template <std::size_t n> constexpr Word(const zwchar (&literal)[n]) : length(n - 1)
    {
        static_assert(n <= 15, "raise Word::text");
        for (std::size_t i = 0; i < n; ++i)
            text[i] = literal[i];
    }
};

// Builds a text in place and hands it to a string at the end.
class WordsWriter {
public:
    void word(const Word& w)
    {
        reserve(roomOfWord);
        std::memcpy(m_text + m_length, w.text, sizeof w.text);
        m_length += w.length;
    }
    void unit(zwchar c)
    {
        reserve(1);
        m_text[m_length++] = c;
    }
    void text(const zwchar* s)
    {
        for (; *s; ++s)
            unit(*s);
    }
    void blank() { unit(' '); }
    bool isEmpty() const { return m_length == 0 && m_before.length() == 0; }
    // No blank at either end and one between words.
    void squeeze();
    void trimEnd();
    void capital();
    // Returns the length.
    int finish(ZStringW& out);

private:
    static constexpr int roomOfWord = 16;
    static constexpr int roomOfText = 1000; // all but an endless currency name fits

    void reserve(int n)
    {
        if (m_length > roomOfText - n)
            flush();
    }
    void flush();

    zwchar m_text[roomOfText];
    int m_length = 0;
    ZStringW m_before{nullptr}; // what did not fit into m_text
};

// The digits of an amount >= 0 in hundredths: groups of three and the fraction.
struct Amount {
    unsigned short groups[9]; // from the units on
    int count;                // groups in use, the last one not 0
    unsigned fraction;        // 0 to 99

    // False for an amount that cannot be spelled.
    bool set(double value, Wording wording);
    bool isZero() const { return count == 0 && fraction == 0; }
    bool isTwoOrMore() const { return count > 1 || (count == 1 && groups[0] >= 2); }
    unsigned units() const { return count > 0 ? groups[0] : 0; }

private:
    void setDigits(const char* digits);
};

// The units' names of one amount: a row of the language's table, or null and the caller's text.
struct UnitNames {
    const Word* words;
    const zwchar* text;
};

// What English and German share: a blank before each name, two forms.
struct TwoForms {
    static void nameTotal(WordsWriter& text, const UnitNames& names, const Amount& amount, Wording)
    {
        text.blank();
        if (names.words)
            text.word(names.words[amount.isZero() || amount.isTwoOrMore()]);
        else
            text.text(names.text);
    }
    static void namePart(WordsWriter& text, const Word* words, unsigned fraction, Wording)
    {
        text.blank();
        text.word(words[fraction == 1 ? 2 : 3]);
    }
    static void afterDigits(WordsWriter&) {}
    static constexpr unsigned fractionGroup(int, Wording) { return 1; }
    static constexpr bool trimmed = false;
};

// Place of a currency in the languages' tables: 0 RUB, 1 USD, 2 EUR, 3 KZT, or -1.
int currencyIndex(const zwchar* currency);

template <class Language> int spell(double value, const zwchar* currency, unsigned int flags, ZStringW& out)
{
    const Wording wording = flags & wordsModern ? Wording::modern : Wording::plain;
    const bool modern = wording == Wording::modern;
    const bool negative = value < 0;
    Amount amount;
    if (!amount.set(negative ? -value : value, wording)) {
        out.clear();
        return -1;
    }
    const int index = currencyIndex(currency);
    const UnitNames names = {index < 0 ? nullptr : Language::currencies[index],
                             currency ? currency : ZTEXT("")};
    WordsWriter text;
    // Kept: the minus word is left out, printed forms carry the sign elsewhere.
    if (modern && negative && !amount.isZero())
        text.word(Language::minus);
    if (amount.isZero()) {
        text.word(Language::null);
        Language::nameTotal(text, names, amount, wording);
    } else {
        unsigned written = 0; // the last group that was
        for (auto g = static_cast<unsigned>(amount.count); g > 0; --g) {
            const unsigned n = amount.groups[g - 1];
            if (n == 0)
                continue;
            if (written != 0 && Language::isApart(written, g, wording))
                text.blank();
            Language::group(text, n, g, wording);
            written = g;
        }
        const bool any = written != 0;
        if (any)
            Language::nameTotal(text, names, amount, wording);
        const bool digits = flags & wordsDigits;
        if (digits || amount.fraction != 0 || names.words) {
            if (any)
                text.blank();
            if (digits) {
                text.unit(static_cast<zwchar>('0' + amount.fraction / 10));
                text.unit(static_cast<zwchar>('0' + amount.fraction % 10));
                Language::afterDigits(text);
            } else if (amount.fraction != 0) {
                Language::group(text, amount.fraction, Language::fractionGroup(index, wording), wording);
            } else {
                text.word(Language::null);
            }
            if (names.words)
                Language::namePart(text, names.words, amount.fraction, wording);
        }
        if (!names.words && Language::trimmed)
            text.trimEnd();
    }
    if (modern)
        text.squeeze();
    if (flags & wordsCapital)
        text.capital();
    return text.finish(out);
}

// The body of the languages' numToString.
template <class Language> int spellGroup(unsigned number, unsigned group, ZStringW& out)
{
    WordsWriter text;
    if (number > 0 && number < 1000)
        Language::group(text, number, group, Wording::plain);
    return text.finish(out);
}

} // namespace ztree
