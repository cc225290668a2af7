// Amounts in words against a model that works on UTF-8 and recursion, and what callers rely on.

#include "support.h"

#include <gtest/gtest.h>
#include <ztree/text.h>

#include <cmath>
#include <vector>

namespace {

using Text = std::string;
using Words = std::vector<Text>;

Words split(const Text& joined)
{
    Words words(1);
    for (char c : joined)
        if (c == '|')
            words.emplace_back();
        else
            words.back() += c;
    return words;
}

struct Language {
    const char* code;
    virtual ~Language() = default;
    virtual Text group(unsigned n, int g) const = 0; // n > 0
    virtual Text fraction(unsigned n) const { return n ? group(n, 1) : Text(); }
    virtual Text main(const Words& names, unsigned long long cents) const = 0;
    virtual Text part(const Words& names, unsigned n) const = 0;
    const char* zero;
    const char* between;      // groups and names
    std::vector<Words> names; // RUB USD EUR KZT
};

struct EnglishModel : Language {
    EnglishModel()
    {
        code = "EN", zero = "no", between = " ";
        names = {split("Ruble|Rubles|Kopek|Kopeks"), split("US Dollar|US Dollars|Cent|Cent"),
                 split("Euro|Euro|Cent|Cent"), split("Tenge|Tenge|Tiyn|Tiyn")};
    }
    static Text below1000(unsigned n)
    {
        static const Words small =
            split("|one|two|three|four|five|six|seven|eight|nine|ten|eleven|twelve|thirteen|fourteen|"
                  "fifteen|sixteen|seventeen|eighteen|nineteen");
        static const Words tens = split("||twenty|thirty|fourty|fifty|sixty|seventy|eighty|ninety");
        if (n >= 100)
            return small[n / 100] + Text(" hundred") + (n % 100 ? " " + below1000(n % 100) : "");
        if (n >= 20)
            return tens[n / 10] + (n % 10 ? Text("-") + small[n % 10] : "");
        return small[n];
    }
    Text group(unsigned n, int g) const override
    {
        static const Words scale = split("|| thousand| million| billion| trillion| quatrillion");
        return below1000(n) + scale[static_cast<std::size_t>(g)] + (g > 2 && n > 1 ? "s" : "");
    }
    Text main(const Words& n, unsigned long long cents) const override
    {
        return n[cents >= 200 || cents == 0];
    }
    Text part(const Words& n, unsigned f) const override { return n[f == 1 ? 2 : 3]; }
};

struct GermanModel : EnglishModel {
    GermanModel()
    {
        code = "de", zero = "null";
        names = {split("Rubel|Rubel|Kopeke|Kopeken"), split("US Dollar|US Dollar|Cent|Cent"),
                 split("Euro|Euro|Cent|Cent"), split("Tenge|Tenge|Tiyn|Tiyn")};
    }
    static Text below1000(unsigned n)
    {
        static const Words small =
            split("|ein|zwei|drei|vier|fünf|sechs|sieben|acht|neun|zehn|elf|zwölf|dreizehn|vierzehn|"
                  "fünfzehn|sechzehn|siebzehn|achtzehn|neunzehn");
        static const Words tens = split("||zwanzig|dreißig|vierzig|fünfzig|sechzig|siebzig|achtzig|neunzig");
        if (n >= 100)
            return small[n / 100] + Text("hundert") + below1000(n % 100);
        if (n >= 20)
            return (n % 10 ? small[n % 10] + Text("und") : "") + tens[n / 10];
        return small[n];
    }
    Text group(unsigned n, int g) const override
    {
        static const Words one = split("||| Million| Milliarde| Billion| Billiarde");
        static const Words many = split("||| Millionen| Milliarden| Billionen| Billiarden");
        if (g < 3)
            return below1000(n) + (g == 2 ? "tausend" : "");
        const auto i = static_cast<std::size_t>(g);
        return n == 1 ? Text("eine") + one[i] : below1000(n) + (n % 100 == 1 ? "s" : "") + many[i];
    }
};

struct RussianModel : Language {
    RussianModel()
    {
        code = "Ru", zero = "ноль ", between = "";
        names = {split("рубль|рубля|рублей|копейка|копейки|копеек"),
                 split("доллар США|доллара США|долларов США|цент|цента|центов"),
                 split("евро|евро|евро|цент|цента|центов"), split("теңге|теңге|теңге|тиын|тиын|тиын")};
    }
    static Text words(unsigned n, bool feminine)
    {
        static const Words small =
            split("|один|два|три|четыре|пять|шесть|семь|восемь|девять|десять|одиннадцать|двенадцать|"
                  "тринадцать|четырнадцать|пятнадцать|шестнадцать|семнадцать|восемнадцать|девятнадцать");
        static const Words tens =
            split("||двадцать|тридцать|сорок|пятьдесят|шестьдесят|семьдесят|восемьдесят|девяносто");
        static const Words hundreds =
            split("|сто|двести|триста|четыреста|пятьсот|шестьсот|семьсот|восемьсот|девятьсот");
        if (n == 0)
            return "";
        if (n >= 100)
            return hundreds[n / 100] + Text(" ") + words(n % 100, feminine);
        if (n >= 20)
            return tens[n / 10] + Text(" ") + words(n % 10, feminine);
        return (feminine && n == 1 ? "одна" : feminine && n == 2 ? "две" : Text(small[n])) + " ";
    }
    static int form(unsigned n, bool endings) // endings: group words look at 11 to 19 whatever the hundred
    {
        const unsigned teens = endings ? n % 100 : n;
        if ((teens >= 10 && teens < 20) || n % 10 == 0 || n % 10 > 4)
            return 2;
        return n % 10 == 1 ? 0 : 1;
    }
    Text group(unsigned n, int g) const override
    {
        static const char* const forms[][3] = {{"тысяча ", "тысячи ", "тысяч "},
                                               {"миллион ", "миллиона ", "миллионов "},
                                               {"миллиард ", "миллиарда ", "миллиардов "},
                                               {"триллион ", "триллиона ", "триллионов "},
                                               {"квадрилион ", "квадрилиона ", "квадрилионов "}};
        return words(n, g == 2) + (g > 1 ? forms[g - 2][form(n, true)] : "");
    }
    Text fraction(unsigned n) const override { return words(n, true); }
    Text main(const Words& n, unsigned long long cents) const override
    {
        return n[static_cast<std::size_t>(form(static_cast<unsigned>(cents / 100 % 1000), false))];
    }
    Text part(const Words& n, unsigned f) const override
    {
        return n[static_cast<std::size_t>(3 + form(f, false))];
    }
};

Text spell(const Language& language, unsigned long long cents, int currency, const Text& code, bool digits)
{
    const Words* names = currency < 0 ? nullptr : &language.names[static_cast<std::size_t>(currency)];
    if (cents == 0)
        return language.zero + Text(language.between) + (names ? language.main(*names, 0) : code);
    Text text;
    int g = 1;
    for (unsigned long long rest = cents / 100; rest; rest /= 1000, ++g)
        if (rest % 1000) {
            const Text group = language.group(static_cast<unsigned>(rest % 1000), g);
            text = text.empty() ? group : group + language.between + text;
        }
    const auto f = static_cast<unsigned>(cents % 100);
    if (cents >= 100)
        text += language.between + (names ? Text(language.main(*names, cents)) : code);
    const bool russian = !*language.between;
    Text fraction = digits ? std::to_string(f + 100).substr(1) + (russian ? " " : "") : language.fraction(f);
    if (fraction.empty() && names)
        fraction = language.zero;
    if (!fraction.empty()) {
        text += (cents >= 100 ? " " : "") + fraction;
        if (names)
            text += language.between + Text(language.part(*names, f));
    }
    while (russian && !names && text.back() == ' ')
        text.pop_back();
    return text;
}

Text inWords(double value, const char* currency, const char* language, unsigned flags = 0)
{
    ZStringW text;
    EXPECT_EQ(doubleAmountInWords(value, currency, language, flags, text), 0);
    return text.length() ? toUtf8(text.getBuffer()) : Text();
}

TEST(Words, randomAmountsInEveryLanguage)
{
    static const char* const codes[] = {"RUB", "usd", "EurO", "KZT", "CHF"};
    const EnglishModel english;
    const GermanModel german;
    const RussianModel russian;
    const Language* languages[] = {&english, &german, &russian};
    Random random(17);
    int differences = 0;
    for (int i = 0; i < randomCases / 5 && differences < 5; ++i) {
        // Up to 15 digits, in which a double holds its hundredths; zeros are frequent in amounts.
        unsigned long long cents = 0;
        for (int n = random.below(16); n > 0; --n)
            cents = cents * 10 + (random.oneIn(3) ? 0 : static_cast<unsigned>(random.below(10)));
        const double value = static_cast<double>(cents) / 100;
        const int currency = random.below(5);
        const bool digits = random.oneIn(4);
        for (const Language* language : languages) {
            const Text expected = spell(*language, cents, currency == 4 ? -1 : currency, "CHF", digits);
            const Text text =
                inWords(random.oneIn(2) ? value : -value, codes[currency], language->code, digits);
            if (text != expected) {
                ++differences;
                ADD_FAILURE() << cents << "\n" << text << "|\n" << expected << "|";
            }
        }
    }
}

TEST(Words, plainWording)
{
    EXPECT_EQ(inWords(2000000, "USD", "fr"), "two millions US Dollars no Cent");
    EXPECT_EQ(inWords(-40.1, "RUB", "en", ztree::wordsCapital), "Fourty Rubles ten Kopeks")
        << "no minus word";
    EXPECT_EQ(inWords(111, "RUB", "ru", 3), "Сто одиннадцать рубль 00 копеек")
        << "the form of the last digit";
    EXPECT_EQ(inWords(1.01, "USD", "ru"), "один доллар США одна цент");
    EXPECT_EQ(inWords(3e15, "", "en"), "three quatrillions ");
    EXPECT_EQ(inWords(1e-8, "EUR", "en"), "");
    EXPECT_EQ(inWords(-1e-8, "EUR", "en"), "");
    EXPECT_EQ(inWords(5e15, "EUR", "en"), "") << "too large";
    const Text endless(3000, 'x');
    amtEnglish english;
    ZString text;
    EXPECT_EQ(english.getTextA(7, endless.c_str(), text), 6 + 3000);
    EXPECT_EQ(text.getBuffer(), "Seven " + endless);
}

TEST(Words, modernWording)
{
    using ztree::wordsModern;
    EXPECT_EQ(inWords(-40.1, "RUB", "en", wordsModern), "minus forty Rubles ten Kopeks");
    EXPECT_EQ(inWords(2000000, "USD", "en", wordsModern), "two million US Dollars no Cent");
    EXPECT_EQ(inWords(2e15, "EUR", "en", wordsModern), "two quadrillion Euro no Cent");
    EXPECT_EQ(inWords(1999999.999, "EUR", "en", wordsModern), "two million Euro no Cent");
    EXPECT_EQ(inWords(1000005, "EUR", "de", wordsModern), "eine Million fünf Euro null Cent");
    EXPECT_EQ(inWords(7001234, "EUR", "de", wordsModern | 2),
              "Sieben Millionen eintausendzweihundertvierunddreißig Euro null Cent");
    EXPECT_EQ(inWords(-111.12, "RUB", "ru", wordsModern | 2),
              "Минус сто одиннадцать рублей двенадцать копеек");
    EXPECT_EQ(inWords(1.01, "USD", "ru", wordsModern), "один доллар США один цент");
    EXPECT_EQ(inWords(3e18, "RUB", "ru", wordsModern), "три квинтиллиона рублей ноль копеек");
    EXPECT_EQ(inWords(3, "", "en", wordsModern), "three");
}

TEST(Words, shellsAndBuffers)
{
    struct Probe : amtRussian {
        static void forms()
        {
            EXPECT_EQ(mode(11), 2);
            EXPECT_EQ(mode(111), 0);
            EXPECT_EQ(mode(112), 1);
            EXPECT_EQ(mode(20), 2);
            EXPECT_EQ(Wide(endWord(2, false)), ZTEXT("е"));
            EXPECT_EQ(Wide(endGroup(2, 1, false)), ZTEXT("а"));
            EXPECT_EQ(Wide(s_apwMillions[6]), ZTEXT("квадрилион"));
        }
        int group(unsigned short n, unsigned char g, ZStringW& out) { return numToString(n, g, out); }
    } probe;
    Probe::forms();
    ZStringW text;
    EXPECT_EQ(probe.group(2, 255, text), 4);
    EXPECT_EQ(Wide(text.getBuffer()), ZTEXT("две "));
    EXPECT_EQ(probe.group(0, 3, text), 0);
    EXPECT_EQ(probe.group(1000, 3, text), 0);

    amtGerman german;
    amountInWords& any = german;
    const zwchar* euro = ZTEXT("eur");
    EXPECT_EQ(german.getText(1.0, asShort(euro), text), 18);
    EXPECT_EQ(Wide(text.getBuffer()), ZTEXT("Ein Euro null Cent"));
    EXPECT_EQ(any.getTextEx(5.0, asShort(euro), 0, text), 19);
    ZString narrow;
    EXPECT_EQ(any.getTextExA(5.0, "eur", 1, narrow), 17);
    EXPECT_STREQ(narrow.getBuffer(), "fünf Euro 00 Cent");

    const int invalid = static_cast<int>(0x80070057u);
    zwchar buffer[8];
    EXPECT_EQ(doubleAmountInWords(1, nullptr, "en", 0, text), invalid);
    EXPECT_EQ(doubleAmountInWords(1, "EUR", nullptr, 0, text), invalid);
    EXPECT_EQ(doubleAmountInWords(1, "EUR", "en", 0, static_cast<zwchar*>(nullptr), 8), invalid);
    EXPECT_EQ(doubleAmountInWords(1, "EUR", "en", 0, buffer, 0), invalid);
    buffer[0] = 'x';
    EXPECT_EQ(doubleAmountInWords(1, "EUR", nullptr, 0, buffer, 8), invalid);
    EXPECT_EQ(buffer[0], 0);
    EXPECT_EQ(doubleAmountInWords(1, "EUR", "en", 0, asShort(buffer), 8), 0);
    EXPECT_EQ(Wide(buffer, 8), Wide(ZTEXT("one Eur\0"), 8));
    EXPECT_EQ(doubleAmountInWords(1e-8, "EUR", "en", 0, buffer, 8), 0);
    EXPECT_EQ(Wide(buffer, 8), Wide(8, zwchar(0)));
}

// A language of one's own needs getText alone.
TEST(Words, baseIgnoresFlags)
{
    struct Own : amountInWords {
        using amountInWords::getText;
        int getText(double, const zwchar* currency, ZStringW& out) override
        {
            out = currency;
            return out.length();
        }
    } own;
    ZStringW text;
    EXPECT_EQ(own.getTextEx(1, ZTEXT("abc"), 3, text), 3);
    ZString narrow;
    EXPECT_EQ(own.getTextExA(1, "\xD1\x8F", 3, narrow), 1);
    EXPECT_STREQ(narrow.getBuffer(), "\xD1\x8F");
}

} // namespace
