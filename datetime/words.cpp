#include "datetime/words.h"

#include "datetime/chars.h"
#include "datetime/fixed.h"
#include "platform/codepage.h"

#include <ztree/runtime.h>

#include <algorithm>
#include <utility>

namespace ztree {

void WordsWriter::flush()
{
    m_before.append(m_text, m_length);
    m_length = 0;
}

void WordsWriter::squeeze()
{
    int kept = 0;
    for (int i = 0; i < m_length; ++i)
        if (m_text[i] != ' ' || (kept > 0 && m_text[kept - 1] != ' '))
            m_text[kept++] = m_text[i];
    m_length = kept;
    trimEnd();
}

void WordsWriter::trimEnd()
{
    while (m_length > 0 && m_text[m_length - 1] == ' ')
        --m_length;
    if (m_length == 0 && m_before.length() > 0)
        m_before.trim(ZTEXT(" "), 2);
}

void WordsWriter::capital()
{
    if (m_before.length() > 0)
        m_before.setAt(0, platform::upperUnit(m_before.getAt(0)));
    else if (m_length > 0)
        m_text[0] = platform::upperUnit(m_text[0]);
}

int WordsWriter::finish(ZStringW& out)
{
    if (m_before.length() > 0) {
        flush();
        out = std::move(m_before);
    } else if (m_length > 0) {
        out.set(m_text, m_length);
    } else {
        out.clear();
    }
    return out.length();
}

bool Amount::set(double value, Wording wording)
{
    char digits[40];
    if (wording == Wording::plain) {
        if (doubleAmount(value, digits) < 0)
            return false;
        setDigits(digits);
        return true;
    }
    // doubleAmount goes wrong within half a cent below a full million.
    SmallFixed fixed;
    if (value == 1e-8 || !toSmallFixed(value, 2, fixed))
        return false;
    char* const end = digits + sizeof digits - 1;
    *end = 0;
    char* at = putDigits(fixed.decimals, 2, end);
    for (; fixed.whole > 0; fixed.whole /= 1000000000)
        at = putDigits(static_cast<std::uint32_t>(fixed.whole % 1000000000), 9, at);
    setDigits(at);
    return true;
}

void Amount::setDigits(const char* digits)
{
    while (*digits == '0')
        ++digits;
    int left = static_cast<int>(std::strlen(digits));
    const auto take = [&digits, &left](int end) {
        unsigned n = 0;
        for (; left > end; --left)
            n = n * 10 + unitOf(*digits++) - '0';
        return n;
    };
    count = left / 3; // two of the digits are the fraction, so one more makes a group
    for (int g = count; g > 0; --g)
        groups[g - 1] = static_cast<unsigned short>(take(g * 3 - 1));
    fraction = take(0);
}

int currencyIndex(const zwchar* currency)
{
    static constexpr char codes[4][4] = {"RUB", "USD", "EUR", "KZT"};
    if (!currency)
        return -1;
    for (int i = 0; i < 4; ++i) {
        int same = 0;
        while (same < 3 && (unitOf(currency[same]) & ~0x20u) == unitOf(codes[i][same]))
            ++same;
        if (same == 3 && currency[3] == 0)
            return i;
    }
    return -1;
}

namespace {

bool isLanguage(const char* language, char first, char second)
{
    return (language[0] & ~0x20) == first && (language[1] & ~0x20) == second;
}

} // namespace
} // namespace ztree

using namespace ztree;

amountInWords::~amountInWords() = default;

int amountInWords::getTextEx(double value, const zwchar* currency, unsigned int, ZStringW& out)
{
    return getText(value, currency, out);
}

int amountInWords::getText(double value, const unsigned short* currency, ZStringW& out)
{
    return getText(value, units(currency), out);
}

int amountInWords::getTextEx(double value, const unsigned short* currency, unsigned int flags, ZStringW& out)
{
    return getTextEx(value, units(currency), flags, out);
}

namespace {

// Runs a wide operation between a narrow currency and a narrow result.
template <class Spell> int spellNarrow(const char* currency, ZString& out, Spell spell)
{
    ZStringW wideCurrency;
    ZStringW text;
    if (currency)
        wideCurrency.set(currency, static_cast<int>(std::strlen(currency)), platform::codepageUtf8);
    const int result = spell(wideCurrency.getBuffer(), text);
    out.set(text.getBuffer(), text.length(), platform::codepageUtf8);
    return result;
}

} // namespace

int amountInWords::getTextA(double value, const char* currency, ZString& out)
{
    return spellNarrow(currency, out,
                       [=](const zwchar* wide, ZStringW& text) { return getText(value, wide, text); });
}

int amountInWords::getTextExA(double value, const char* currency, unsigned int flags, ZString& out)
{
    return spellNarrow(currency, out, [=](const zwchar* wide, ZStringW& text) {
        return getTextEx(value, wide, flags, text);
    });
}

int doubleAmountInWords(double value, const char* currency, const char* language, unsigned int flags,
                        ZStringW& out)
{
    if (!currency || !language)
        return static_cast<int>(errInvalidArg);
    zwchar wide[4] = {};
    int length = 0;
    while (length < 3 && currency[length])
        ++length;
    wide[platform::toWide(platform::codepageUtf8, currency, length, wide, 3)] = 0;
    if (isLanguage(language, 'D', 'E'))
        amtGerman().getTextEx(value, wide, flags, out);
    else if (isLanguage(language, 'R', 'U'))
        amtRussian().getTextEx(value, wide, flags, out);
    else
        amtEnglish().getTextEx(value, wide, flags, out);
    return 0;
}

int doubleAmountInWords(double value, const char* currency, const char* language, unsigned int flags,
                        zwchar* buffer, int size)
{
    if (!buffer || size < 1 || !currency)
        return static_cast<int>(errInvalidArg);
    ZStringW text;
    const int result = doubleAmountInWords(value, currency, language, flags, text);
    if (result < 0) {
        *buffer = 0;
        return result;
    }
    copyBounded(text.getBuffer(), text.length(), buffer, size);
    buffer[size - 1] = 0;
    return result;
}

int doubleAmountInWords(double value, const char* currency, const char* language, unsigned int flags,
                        unsigned short* buffer, int size)
{
    return doubleAmountInWords(value, currency, language, flags, units(buffer), size);
}
