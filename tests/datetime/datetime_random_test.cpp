// Random pictures and texts against the model.

#include "datetime_model.h"
#include "platform/clock.h"

#include <gtest/gtest.h>

namespace {

const Wide english[12] = {ZTEXT("January"),   ZTEXT("February"), ZTEXT("March"),    ZTEXT("April"),
                          ZTEXT("May"),       ZTEXT("June"),     ZTEXT("July"),     ZTEXT("August"),
                          ZTEXT("September"), ZTEXT("October"),  ZTEXT("November"), ZTEXT("December")};
// Up to 16 bytes in UTF-8: longer names are not converted.
const Wide foreign[12] = {ZTEXT("январь"), ZTEXT("Février"), ZTEXT("März"),     ZTEXT("апрель"),
                          ZTEXT("Mai"),    ZTEXT("Июнь"),    ZTEXT("июль"),     ZTEXT("Août"),
                          ZTEXT("九月"),   ZTEXT("Oktober"), ZTEXT("novembre"), ZTEXT("Décembre")};

class RandomText : public ::testing::Test {
protected:
    void SetUp() override
    {
        SYSTEMTIME now{};
        now.wYear = 2023, now.wMonth = 2, now.wDay = 27, now.wHour = 8, now.wMinute = 41, now.wSecond = 17;
        platform::FakeClock::set(now, now);
    }
    void TearDown() override { platform::FakeClock::clear(); }

    // Mostly sensible: runs of letters, now and then a literal.
    std::string picture(const std::string& letters, int most)
    {
        std::string text;
        const int length = 1 + random.below(most);
        while (static_cast<int>(text.size()) < length) {
            if (random.oneIn(5))
                text += random.pick(std::string("-/.: xT7\xFC"));
            else
                text.append(static_cast<std::size_t>(1 + random.below(random.oneIn(8) ? most : 4)),
                            random.pick(letters));
        }
        return text.substr(0, static_cast<std::size_t>(most));
    }
    // Digits, separators, names and rubbish; often what the picture asks for.
    Wide text(const Wide& shown, const Wide& alphabet)
    {
        Wide result = shown;
        if (result.empty() || random.oneIn(3)) {
            result.clear();
            for (int n = 1 + random.below(14); n > 0; --n)
                result +=
                    random.oneIn(3) ? random.pick(alphabet) : static_cast<zwchar>('0' + random.below(10));
        }
        for (int n = random.below(3); n > 0 && !result.empty(); --n) {
            const auto i = static_cast<std::size_t>(random.below(static_cast<int>(result.size())));
            if (random.oneIn(2))
                result[i] = random.pick(alphabet);
            else
                result.resize(std::max<std::size_t>(i, 1));
        }
        return result;
    }
    // A record, or now and then the strict form, which has none.
    void choose(bool time)
    {
        fmt = tagLocalFmt();
        const std::string chosen = time ? picture(random.oneIn(9) ? "HhMmSsx" : "HMS", 10)
                                        : picture(random.oneIn(9) ? "DdMmNnYyx" : "DMNY", 20);
        char* room = time ? fmt.szTimeFmt : fmt.szDateFmt;
        std::memset(room, 0, time ? 10 : 20);
        std::memcpy(room, chosen.data(), chosen.size());
        locale.picture.clear();
        for (char c : chosen)
            locale.picture += static_cast<zwchar>(static_cast<unsigned char>(c));
        const char separator = random.pick(std::string(":.-/ 9\xFC\0", 8));
        (time ? fmt.cTimeSep : fmt.cDateSep) = separator;
        locale.separator = static_cast<unsigned char>(separator);
        const bool other = random.oneIn(2);
        locale.months = other ? foreign : english;
        for (int i = 0; i < 12; ++i)
            fmt.apwMonth[i] = other ? foreign[i].c_str() : nullptr;
        strict = random.oneIn(8);
        if (strict)
            locale = time ? model::Locale{ZTEXT("HHMMSS"), ':', english}
                          : model::Locale{ZTEXT("DDMMYYYY"), '.', english};
        used = strict ? nullptr : &fmt;
    }

    Random random{20120229};
    tagLocalFmt fmt;
    model::Locale locale;
    bool strict = false;
    const tagLocalFmt* used = nullptr;
};

// The units of the record above 127 are one byte in narrow text, so the narrow twin gets low units only.
std::string lowBytes(const Wide& text)
{
    std::string result;
    for (zwchar unit : text)
        result += static_cast<char>(unit & 0xFF);
    return result;
}

TEST_F(RandomText, times)
{
    const model::Clock now = {8, 41, 17};
    const Wide alphabet = ZTEXT(":.-/ T7xäü\u0141\u0130");
    int differences = 0;
    for (int i = 0; i < randomCases && differences < 5; ++i) {
        choose(true);
        // --- packed to text ---
        const unsigned value[3] = {static_cast<unsigned>(random.below(25)),
                                   static_cast<unsigned>(random.below(61)),
                                   static_cast<unsigned>(random.below(61))};
        const unsigned long packed = value[0] * 10000ul + value[1] * 100ul + value[2];
        const bool valid = value[0] < 24 && value[1] < 60 && value[2] < 60;
        const Wide shown = valid && packed ? model::format(locale, "hHmMsS", value, false) : Wide();
        const int length = packed == 0 ? 0 : valid ? static_cast<int>(shown.size()) : -1;
        char narrow[ztree::roomTime];
        zwchar wide[ztree::roomTime];
        bool same = ulongTString(packed, narrow, used) == length &&
                    lowBytes(shown) == std::string(narrow, shown.size());
        same &= ulongTStringW(packed, wide, used) == length && Wide(shown.c_str()) == wide;
        // --- text to packed ---
        Wide input = text(shown, alphabet);
        if (strict) // no wide twin
            for (zwchar& unit : input)
                unit = static_cast<zwchar>(unit & 0xFF);
        Wide low = input;
        for (zwchar& unit : low)
            unit = static_cast<zwchar>(unit & 0xFF);
        low = low.c_str(); // a unit such as U+0100 ends the text
        const model::Parsed parsed = model::parseTime(low, strict, locale, now);
        const bool fits = parsed.a < 24 && parsed.b < 60 && parsed.c < 60;
        const unsigned long expected = low.empty() ? 0
                                       : parsed.consumed < 0 || !fits
                                           ? 999999
                                           : parsed.a * 10000ul + parsed.b * 100ul + parsed.c;
        const int consumed = low.empty() ? 0 : parsed.consumed;
        unsigned long a = 1, b = 1;
        const std::string bytes = lowBytes(low);
        char storage[ztree::roomTimeStorage];
        if (strict) {
            same &= timeUlong(bytes.c_str(), &a) == consumed && a == expected;
        } else {
            same &= tStringUlong(bytes.c_str(), &a, &fmt) == consumed && a == expected;
            same &= tStringWUlong(input.c_str(), &b, &fmt) == consumed && b == expected;
            const std::string stored =
                low.empty() || parsed.consumed < 0
                    ? ""
                    : model::padded(parsed.a, 2) + model::padded(parsed.b, 2) + model::padded(parsed.c, 2);
            same &= tStringTime(bytes.c_str(), storage, &fmt) ==
                        (consumed < 0 ? -1 : static_cast<int>(stored.size())) &&
                    stored == storage;
        }
        if (!same) {
            ++differences;
            ADD_FAILURE() << "case " << i << " picture " << toUtf8(locale.picture) << " separator "
                          << locale.separator << " time " << packed << " text " << toUtf8(input) << " got "
                          << a << ", " << b;
        }
    }
}

TEST_F(RandomText, dates)
{
    const model::Clock now = {27, 2, 2023};
    const Wide alphabet = ZTEXT(".-/ :T7xäüЯяZ\u2003\u00AB九M");
    int differences = 0;
    for (int i = 0; i < randomCases && differences < 5; ++i) {
        choose(false);
        // --- packed to text ---
        unsigned value[3] = {
            static_cast<unsigned>(random.below(32)), static_cast<unsigned>(random.below(14)),
            static_cast<unsigned>(random.oneIn(3) ? random.below(10001) : 1900 + random.below(200))};
        const unsigned long packed = value[2] * 10000ul + value[1] * 100ul + value[0];
        value[2] = model::expand(value[2]);
        const bool valid = model::isDay(value[0], value[1], value[2]) && value[2] < 9999;
        const Wide shown = valid && packed ? model::format(locale, "dDmMnNyY", value, true) : Wide();
        char narrow[ztree::roomDate];
        zwchar wide[ztree::roomDateWide];
        // A separator or literal above 127 is one byte in the narrow text, and two in UTF-8.
        std::string bytes;
        for (zwchar unit : shown)
            bytes += unit == 0xFC ? "\xFC" : toUtf8(Wide(1, unit));
        bool same = ulongDString(packed, narrow, used) == (packed == 0 ? 0
                                                           : valid     ? static_cast<int>(bytes.size())
                                                                       : -1) &&
                    bytes == narrow;
        same &= ulongDStringW(packed, wide, used) == (packed == 0 ? 0
                                                      : valid ? std::min(static_cast<int>(shown.size()), 15)
                                                              : -1) &&
                shown.substr(0, 15) == wide;
        // --- text to packed ---
        const Wide input = text(shown, alphabet);
        const model::Parsed parsed = model::parseDate(input, strict, locale, now);
        const unsigned year = model::expand(parsed.c);
        const unsigned long expected =
            parsed.consumed < 0 || !model::isDay(parsed.a, parsed.b, year) || year > 9998
                ? 99999999
                : year * 10000ul + parsed.b * 100ul + parsed.a;
        unsigned long a = 1, b = 1;
        if (!strict) {
            same &= dStringWUlong(input.c_str(), &b, &fmt) == parsed.consumed && b == expected;
            for (bool four : {false, true}) {
                const std::string stored =
                    parsed.consumed < 0
                        ? ""
                        : model::padded(parsed.a, 2) + model::padded(parsed.b, 2) +
                              (four ? model::padded(year, 4) : model::padded(model::reduce(parsed.c), 2));
                char storage[ztree::roomDateStorage];
                same &= dStringWDate(input.c_str(), storage, four, &fmt) ==
                            (parsed.consumed < 0 ? -1 : static_cast<int>(stored.size())) &&
                        stored == storage;
            }
        }
        // In UTF-8, unless the record's own byte could end up inside a sequence.
        if (locale.separator < 0x80 && locale.picture.find(zwchar(0xFC)) == Wide::npos) {
            const std::string utf8 = toUtf8(input);
            const int consumed =
                parsed.consumed < 0
                    ? -1
                    : static_cast<int>(
                          toUtf8(input.substr(0, static_cast<std::size_t>(parsed.consumed))).size());
            const int got = strict ? dateUlong(utf8.c_str(), &a) : dStringUlong(utf8.c_str(), &a, &fmt);
            same &= got == consumed && a == expected;
        }
        if (!same) {
            ++differences;
            ADD_FAILURE() << "case " << i << " picture " << toUtf8(locale.picture) << " separator "
                          << locale.separator << " date " << packed << " shown " << bytes << " / " << narrow
                          << " text " << toUtf8(input) << " got " << a << ", " << b << " expected "
                          << expected << " consumed " << parsed.consumed;
        }
    }
}

} // namespace
