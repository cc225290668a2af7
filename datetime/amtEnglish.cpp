#include "datetime/words.h"

namespace ztree {
namespace {

struct English : TwoForms {
    static constexpr Word null = ZTEXT("no");
    static constexpr Word minus = ZTEXT("minus ");
    static constexpr Word capitalMinus = ZTEXT("Minus ");
    static constexpr Word hundred = ZTEXT(" hundred");
    static constexpr Word ones[20] = {
        ZTEXT(""),        ZTEXT("one"),     ZTEXT("two"),       ZTEXT("three"),    ZTEXT("four"),
        ZTEXT("five"),    ZTEXT("six"),     ZTEXT("seven"),     ZTEXT("eight"),    ZTEXT("nine"),
        ZTEXT("ten"),     ZTEXT("eleven"),  ZTEXT("twelve"),    ZTEXT("thirteen"), ZTEXT("fourteen"),
        ZTEXT("fifteen"), ZTEXT("sixteen"), ZTEXT("seventeen"), ZTEXT("eighteen"), ZTEXT("nineteen")};
    // Kept: "fourty" and, below, "quatrillion" are what printed forms and their checks expect.
    static constexpr Word tenths[10] = {ZTEXT(""),       ZTEXT(""),      ZTEXT("twenty"), ZTEXT("thirty"),
                                        ZTEXT("fourty"), ZTEXT("fifty"), ZTEXT("sixty"),  ZTEXT("seventy"),
                                        ZTEXT("eighty"), ZTEXT("ninety")};
    static constexpr Word forty = ZTEXT("forty");
    static constexpr Word millions[8] = {
        ZTEXT(""),         ZTEXT(""),          ZTEXT(" thousand"),    ZTEXT(" million"),
        ZTEXT(" billion"), ZTEXT(" trillion"), ZTEXT(" quatrillion"), ZTEXT(" quintillion")};
    static constexpr Word quadrillion = ZTEXT(" quadrillion");
    static constexpr Word rubel[4] = {ZTEXT("Ruble"), ZTEXT("Rubles"), ZTEXT("Kopek"), ZTEXT("Kopeks")};
    static constexpr Word usDollar[4] = {ZTEXT("US Dollar"), ZTEXT("US Dollars"), ZTEXT("Cent"),
                                         ZTEXT("Cent")};
    static constexpr Word euro[4] = {ZTEXT("Euro"), ZTEXT("Euro"), ZTEXT("Cent"), ZTEXT("Cent")};
    static constexpr Word tenge[4] = {ZTEXT("Tenge"), ZTEXT("Tenge"), ZTEXT("Tiyn"), ZTEXT("Tiyn")};
    static constexpr const Word* currencies[4] = {rubel, usDollar, euro, tenge};

    static bool isApart(unsigned, unsigned, Wording) { return true; }

    static void group(WordsWriter& text, unsigned n, unsigned g, Wording wording)
    {
        const bool modern = wording == Wording::modern;
        const unsigned h = n / 100;
        unsigned t = n / 10 % 10;
        unsigned u = n % 10;
        if (t == 1) {
            u += 10;
            t = 0;
        }
        if (h != 0) {
            text.word(ones[h]);
            text.word(hundred);
            if (t + u != 0)
                text.blank();
        }
        if (t != 0)
            text.word(modern && t == 4 ? forty : tenths[t]);
        if (u != 0) {
            if (t != 0)
                text.unit('-');
            text.word(ones[u]);
        }
        if (g >= 2 && g <= 7) {
            text.word(modern && g == 6 ? quadrillion : millions[g]);
            if (g > 2 && n > 1 && !modern)
                text.unit('s');
        }
    }
};

} // namespace
} // namespace ztree

using namespace ztree;

const zwchar* const amtEnglish::s_pwNull = English::null.text;
const zwchar* const amtEnglish::s_pwMinus = English::capitalMinus.text;
const zwchar* const amtEnglish::s_pwHundred = English::hundred.text;
const zwchar* const amtEnglish::s_apwWordlist[20] = {
    English::ones[0].text,  English::ones[1].text,  English::ones[2].text,  English::ones[3].text,
    English::ones[4].text,  English::ones[5].text,  English::ones[6].text,  English::ones[7].text,
    English::ones[8].text,  English::ones[9].text,  English::ones[10].text, English::ones[11].text,
    English::ones[12].text, English::ones[13].text, English::ones[14].text, English::ones[15].text,
    English::ones[16].text, English::ones[17].text, English::ones[18].text, English::ones[19].text};
const zwchar* const amtEnglish::s_apwTenth[10] = {
    English::tenths[0].text, English::tenths[1].text, English::tenths[2].text, English::tenths[3].text,
    English::tenths[4].text, English::tenths[5].text, English::tenths[6].text, English::tenths[7].text,
    English::tenths[8].text, English::tenths[9].text};
const zwchar* const amtEnglish::s_apwMillions[8] = {English::millions[0].text, English::millions[1].text,
                                                    English::millions[2].text, English::millions[3].text,
                                                    English::millions[4].text, English::millions[5].text,
                                                    English::millions[6].text, English::millions[7].text};
const zwchar* const amtEnglish::s_apwRubel[4] = {English::rubel[0].text, English::rubel[1].text,
                                                 English::rubel[2].text, English::rubel[3].text};
const zwchar* const amtEnglish::s_apwUsDollar[4] = {English::usDollar[0].text, English::usDollar[1].text,
                                                    English::usDollar[2].text, English::usDollar[3].text};
const zwchar* const amtEnglish::s_apwEuro[4] = {English::euro[0].text, English::euro[1].text,
                                                English::euro[2].text, English::euro[3].text};
const zwchar* const amtEnglish::s_apwTenge[4] = {English::tenge[0].text, English::tenge[1].text,
                                                 English::tenge[2].text, English::tenge[3].text};

int amtEnglish::getText(double value, const zwchar* currency, ZStringW& out)
{
    return getTextEx(value, currency, wordsCapital, out);
}

int amtEnglish::getTextEx(double value, const zwchar* currency, unsigned int flags, ZStringW& out)
{
    return spell<English>(value, currency, flags, out);
}

int amtEnglish::numToString(unsigned short number, unsigned char group, ZStringW& out)
{
    return spellGroup<English>(number, group, out);
}
