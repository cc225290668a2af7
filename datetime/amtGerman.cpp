#include "datetime/words.h"

namespace ztree {
namespace {

struct German : TwoForms {
    static constexpr Word null = ZTEXT("null");
    static constexpr Word minus = ZTEXT("minus ");
    static constexpr Word capitalMinus = ZTEXT("Minus ");
    static constexpr Word hundred = ZTEXT("hundert");
    static constexpr Word and_ = ZTEXT("und");
    static constexpr Word ones[20] = {
        ZTEXT(""),           ZTEXT("ein"),       ZTEXT("zwei"),     ZTEXT("drei"),
        ZTEXT("vier"),       ZTEXT("f\u00fcnf"), ZTEXT("sechs"),    ZTEXT("sieben"),
        ZTEXT("acht"),       ZTEXT("neun"),      ZTEXT("zehn"),     ZTEXT("elf"),
        ZTEXT("zw\u00f6lf"), ZTEXT("dreizehn"),  ZTEXT("vierzehn"), ZTEXT("f\u00fcnfzehn"),
        ZTEXT("sechzehn"),   ZTEXT("siebzehn"),  ZTEXT("achtzehn"), ZTEXT("neunzehn")};
    static constexpr Word tenths[10] = {ZTEXT(""),        ZTEXT(""),
                                        ZTEXT("zwanzig"), ZTEXT("drei\u00dfig"),
                                        ZTEXT("vierzig"), ZTEXT("f\u00fcnfzig"),
                                        ZTEXT("sechzig"), ZTEXT("siebzig"),
                                        ZTEXT("achtzig"), ZTEXT("neunzig")};
    static constexpr Word millions[8] = {ZTEXT(""),           ZTEXT(""),           ZTEXT("tausend"),
                                         ZTEXT(" Million"),   ZTEXT(" Milliarde"), ZTEXT(" Billion"),
                                         ZTEXT(" Billiarde"), ZTEXT(" Trillion")};
    static constexpr Word rubel[4] = {ZTEXT("Rubel"), ZTEXT("Rubel"), ZTEXT("Kopeke"), ZTEXT("Kopeken")};
    static constexpr Word usDollar[4] = {ZTEXT("US Dollar"), ZTEXT("US Dollar"), ZTEXT("Cent"),
                                         ZTEXT("Cent")};
    static constexpr Word euro[4] = {ZTEXT("Euro"), ZTEXT("Euro"), ZTEXT("Cent"), ZTEXT("Cent")};
    static constexpr Word tenge[4] = {ZTEXT("Tenge"), ZTEXT("Tenge"), ZTEXT("Tiyn"), ZTEXT("Tiyn")};
    static constexpr const Word* currencies[4] = {rubel, usDollar, euro, tenge};

    // A number below a million is one word.
    static bool isApart(unsigned above, unsigned, Wording wording)
    {
        return wording == Wording::plain || above > 2;
    }

    static void group(WordsWriter& text, unsigned n, unsigned g, Wording)
    {
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
        }
        text.word(ones[u]);
        if (t != 0) {
            if (u != 0)
                text.word(and_);
            text.word(tenths[t]);
        }
        if (g < 2 || g > 7)
            return;
        if (g > 2) {
            if (n == 1)
                text.unit('e');
            else if (u == 1 && t == 0)
                text.unit('s');
        }
        text.word(millions[g]);
        if (g > 2 && n > 1) {
            if (g % 2 != 0)
                text.unit('e');
            text.unit('n');
        }
    }
};

} // namespace
} // namespace ztree

using namespace ztree;

const zwchar* const amtGerman::s_pwNull = German::null.text;
const zwchar* const amtGerman::s_pwMinus = German::capitalMinus.text;
const zwchar* const amtGerman::s_pwHundred = German::hundred.text;
const zwchar* const amtGerman::s_pwAnd = German::and_.text;
const zwchar* const amtGerman::s_apwWordlist[20] = {
    German::ones[0].text,  German::ones[1].text,  German::ones[2].text,  German::ones[3].text,
    German::ones[4].text,  German::ones[5].text,  German::ones[6].text,  German::ones[7].text,
    German::ones[8].text,  German::ones[9].text,  German::ones[10].text, German::ones[11].text,
    German::ones[12].text, German::ones[13].text, German::ones[14].text, German::ones[15].text,
    German::ones[16].text, German::ones[17].text, German::ones[18].text, German::ones[19].text};
const zwchar* const amtGerman::s_apwTenth[10] = {
    German::tenths[0].text, German::tenths[1].text, German::tenths[2].text, German::tenths[3].text,
    German::tenths[4].text, German::tenths[5].text, German::tenths[6].text, German::tenths[7].text,
    German::tenths[8].text, German::tenths[9].text};
const zwchar* const amtGerman::s_apwMillions[8] = {
    German::millions[0].text, German::millions[1].text, German::millions[2].text, German::millions[3].text,
    German::millions[4].text, German::millions[5].text, German::millions[6].text, German::millions[7].text};
const zwchar* const amtGerman::s_apwRubel[4] = {German::rubel[0].text, German::rubel[1].text,
                                                German::rubel[2].text, German::rubel[3].text};
const zwchar* const amtGerman::s_apwUsDollar[4] = {German::usDollar[0].text, German::usDollar[1].text,
                                                   German::usDollar[2].text, German::usDollar[3].text};
const zwchar* const amtGerman::s_apwEuro[4] = {German::euro[0].text, German::euro[1].text,
                                               German::euro[2].text, German::euro[3].text};
const zwchar* const amtGerman::s_apwTenge[4] = {German::tenge[0].text, German::tenge[1].text,
                                                German::tenge[2].text, German::tenge[3].text};

int amtGerman::getText(double value, const zwchar* currency, ZStringW& out)
{
    return getTextEx(value, currency, wordsCapital, out);
}

int amtGerman::getTextEx(double value, const zwchar* currency, unsigned int flags, ZStringW& out)
{
    return spell<German>(value, currency, flags, out);
}

int amtGerman::numToString(unsigned short number, unsigned char group, ZStringW& out)
{
    return spellGroup<German>(number, group, out);
}
