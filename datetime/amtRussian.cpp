#include "datetime/words.h"

namespace ztree {
namespace {

// What a unit's name goes by. Kept: plainly only 10 to 19 count as teens, so that 111 takes the form of 1;
// printed forms show it so.
int formOf(unsigned number, Wording wording)
{
    const unsigned r = number % 10;
    const unsigned q = wording == Wording::modern ? number / 10 % 10 : number / 10;
    if (r == 0 || r >= 5 || q == 1)
        return 2;
    return r == 1 ? 0 : 1;
}

const zwchar* wordEnding(unsigned units, bool masculine)
{
    if (units == 1)
        return masculine ? ZTEXT("ин") : ZTEXT("на");
    if (units == 2)
        return masculine ? ZTEXT("а") : ZTEXT("е");
    return ZTEXT("");
}

const zwchar* groupEnding(unsigned group, unsigned units)
{
    const bool few = units >= 2 && units <= 4;
    if (group > 2)
        return units == 1 ? ZTEXT("") : few ? ZTEXT("а") : ZTEXT("ов");
    if (group == 2)
        return units == 1 ? ZTEXT("а") : few ? ZTEXT("и") : ZTEXT("");
    return ZTEXT("");
}

struct Russian {
    static constexpr Word null = ZTEXT("ноль ");
    static constexpr Word minus = ZTEXT("минус ");
    static constexpr Word bareMinus = ZTEXT("минус");
    static constexpr Word ones[20] = {ZTEXT(""),
                                      ZTEXT("од"),
                                      ZTEXT("дв"),
                                      ZTEXT("три"),
                                      ZTEXT("четыре"),
                                      ZTEXT("пять"),
                                      ZTEXT("шесть"),
                                      ZTEXT("семь"),
                                      ZTEXT("восемь"),
                                      ZTEXT("девять"),
                                      ZTEXT("десять"),
                                      ZTEXT("одиннадцать"),
                                      ZTEXT("двенадцать"),
                                      ZTEXT("тринадцать"),
                                      ZTEXT("четырнадцать"),
                                      ZTEXT("пятнадцать"),
                                      ZTEXT("шестнадцать"),
                                      ZTEXT("семнадцать"),
                                      ZTEXT("восемнадцать"),
                                      ZTEXT("девятнадцать")};
    static constexpr Word tenths[10] = {ZTEXT(""),           ZTEXT(""),          ZTEXT("двадцать"),
                                        ZTEXT("тридцать"),   ZTEXT("сорок"),     ZTEXT("пятьдесят"),
                                        ZTEXT("шестьдесят"), ZTEXT("семьдесят"), ZTEXT("восемьдесят"),
                                        ZTEXT("девяносто")};
    static constexpr Word hundreds[10] = {
        ZTEXT(""),        ZTEXT("сто"),      ZTEXT("двести"),  ZTEXT("триста"),    ZTEXT("четыреста"),
        ZTEXT("пятьсот"), ZTEXT("шестьсот"), ZTEXT("семьсот"), ZTEXT("восемьсот"), ZTEXT("девятьсот")};
    // Kept: the last two spellings are what printed forms and their checks expect.
    static constexpr Word millions[8] = {ZTEXT(""),           ZTEXT(""),          ZTEXT("тысяч"),
                                         ZTEXT("миллион"),    ZTEXT("миллиард"),  ZTEXT("триллион"),
                                         ZTEXT("квадрилион"), ZTEXT("квинтилион")};
    static constexpr Word modernMillions[2] = {ZTEXT("квадриллион"), ZTEXT("квинтиллион")};
    static constexpr Word rubel[6] = {ZTEXT("рубль"),   ZTEXT("рубля"),   ZTEXT("рублей"),
                                      ZTEXT("копейка"), ZTEXT("копейки"), ZTEXT("копеек")};
    static constexpr Word usDollar[6] = {ZTEXT("доллар США"), ZTEXT("доллара США"), ZTEXT("долларов США"),
                                         ZTEXT("цент"),       ZTEXT("цента"),       ZTEXT("центов")};
    static constexpr Word euro[6] = {ZTEXT("евро"), ZTEXT("евро"),  ZTEXT("евро"),
                                     ZTEXT("цент"), ZTEXT("цента"), ZTEXT("центов")};
    static constexpr Word tenge[6] = {ZTEXT("теңге"), ZTEXT("теңге"), ZTEXT("теңге"),
                                      ZTEXT("тиын"),  ZTEXT("тиын"),  ZTEXT("тиын")};
    static constexpr const Word* currencies[4] = {rubel, usDollar, euro, tenge};
    static constexpr bool trimmed = true;

    // Kept: plainly every fraction is feminine as kopeks are, also "одна цент"; printed forms show it so.
    static constexpr unsigned fractionGroup(int index, Wording wording)
    {
        return wording == Wording::modern && index > 0 ? 1 : 255;
    }

    static bool isApart(unsigned, unsigned, Wording) { return false; } // a group ends with its blank

    static void nameTotal(WordsWriter& text, const UnitNames& names, const Amount& amount, Wording wording)
    {
        if (names.words)
            text.word(names.words[formOf(amount.units(), wording)]);
        else
            text.text(names.text);
    }
    static void namePart(WordsWriter& text, const Word* words, unsigned fraction, Wording wording)
    {
        text.word(words[3 + formOf(fraction, wording)]);
    }
    static void afterDigits(WordsWriter& text) { text.blank(); }

    static void group(WordsWriter& text, unsigned n, unsigned g, Wording wording)
    {
        const bool masculine = g != 2 && g < 255;
        const unsigned h = n / 100;
        unsigned t = n / 10 % 10;
        unsigned u = n % 10;
        if (t == 1) {
            u += 10;
            t = 0;
        }
        if (h != 0) {
            text.word(hundreds[h]);
            text.blank();
        }
        if (t != 0) {
            text.word(tenths[t]);
            text.blank();
        }
        if (u != 0) {
            text.word(ones[u]);
            text.text(wordEnding(u, masculine));
            text.blank();
        }
        if (g >= 2 && g <= 7) {
            text.word(wording == Wording::modern && g >= 6 ? modernMillions[g - 6] : millions[g]);
            text.text(groupEnding(g, u));
            text.blank();
        }
    }
};

} // namespace
} // namespace ztree

using namespace ztree;

const zwchar* const amtRussian::s_pwNull = Russian::null.text;
const zwchar* const amtRussian::s_pwMinus = Russian::bareMinus.text;
const zwchar* const amtRussian::s_apwWordlist[20] = {
    Russian::ones[0].text,  Russian::ones[1].text,  Russian::ones[2].text,  Russian::ones[3].text,
    Russian::ones[4].text,  Russian::ones[5].text,  Russian::ones[6].text,  Russian::ones[7].text,
    Russian::ones[8].text,  Russian::ones[9].text,  Russian::ones[10].text, Russian::ones[11].text,
    Russian::ones[12].text, Russian::ones[13].text, Russian::ones[14].text, Russian::ones[15].text,
    Russian::ones[16].text, Russian::ones[17].text, Russian::ones[18].text, Russian::ones[19].text};
const zwchar* const amtRussian::s_apwTenth[10] = {
    Russian::tenths[0].text, Russian::tenths[1].text, Russian::tenths[2].text, Russian::tenths[3].text,
    Russian::tenths[4].text, Russian::tenths[5].text, Russian::tenths[6].text, Russian::tenths[7].text,
    Russian::tenths[8].text, Russian::tenths[9].text};
const zwchar* const amtRussian::s_apwHundreds[10] = {Russian::hundreds[0].text, Russian::hundreds[1].text,
                                                     Russian::hundreds[2].text, Russian::hundreds[3].text,
                                                     Russian::hundreds[4].text, Russian::hundreds[5].text,
                                                     Russian::hundreds[6].text, Russian::hundreds[7].text,
                                                     Russian::hundreds[8].text, Russian::hundreds[9].text};
const zwchar* const amtRussian::s_apwMillions[8] = {Russian::millions[0].text, Russian::millions[1].text,
                                                    Russian::millions[2].text, Russian::millions[3].text,
                                                    Russian::millions[4].text, Russian::millions[5].text,
                                                    Russian::millions[6].text, Russian::millions[7].text};
const zwchar* const amtRussian::s_apwRubel[6] = {Russian::rubel[0].text, Russian::rubel[1].text,
                                                 Russian::rubel[2].text, Russian::rubel[3].text,
                                                 Russian::rubel[4].text, Russian::rubel[5].text};
const zwchar* const amtRussian::s_apwUsDollar[6] = {Russian::usDollar[0].text, Russian::usDollar[1].text,
                                                    Russian::usDollar[2].text, Russian::usDollar[3].text,
                                                    Russian::usDollar[4].text, Russian::usDollar[5].text};
const zwchar* const amtRussian::s_apwEuro[6] = {Russian::euro[0].text, Russian::euro[1].text,
                                                Russian::euro[2].text, Russian::euro[3].text,
                                                Russian::euro[4].text, Russian::euro[5].text};
const zwchar* const amtRussian::s_apwTenge[6] = {Russian::tenge[0].text, Russian::tenge[1].text,
                                                 Russian::tenge[2].text, Russian::tenge[3].text,
                                                 Russian::tenge[4].text, Russian::tenge[5].text};

int amtRussian::getText(double value, const zwchar* currency, ZStringW& out)
{
    return getTextEx(value, currency, wordsCapital, out);
}

int amtRussian::getTextEx(double value, const zwchar* currency, unsigned int flags, ZStringW& out)
{
    return spell<Russian>(value, currency, flags, out);
}

int amtRussian::numToString(unsigned short number, unsigned char group, ZStringW& out)
{
    return spellGroup<Russian>(number, group, out);
}

const zwchar* amtRussian::endWord(unsigned int units, bool masculine) noexcept
{
    return wordEnding(units, masculine);
}

const zwchar* amtRussian::endGroup(unsigned int group, unsigned int units, bool) noexcept
{
    return groupEnding(group, units);
}

int amtRussian::mode(unsigned int number) noexcept
{
    return formOf(number, Wording::plain);
}
