// Dates and times as packed numbers, money amounts, and amounts in words as on a cheque.

#include <ztree/ext/datetime.h>
#include <ztree/ext/strings.h>

#include <iostream>

int main()
{
    // A packed date is the number YYYYMMDD. Pictures and separators of the display form come from a record.
    tagLocalFmt german;
    german.cDecimal = ',';
    german.cThousand = '.';
    tagLocalFmt named;
    named.cDateSep = ' ';
    const char picture[] = "DDNNNYYYY"; // day, month by name, year
    for (unsigned i = 0; i < sizeof picture; ++i)
        named.szDateFmt[i] = picture[i];

    unsigned long date = 0;
    initDate(&date, 29, 2, 2012);
    std::cout << date << ", " << ztree::dateString(date, &german) << ", " << ztree::dateString(date, &named)
              << ", " << ztree::isoDate(date) << '\n';
    std::cout << "31 April: " << initDate(&date, 31, 4, 2012) << ' ' << date << '\n';
    dStringUlong("03Jan2020", &date, &named);
    std::cout << "read back: " << date << '\n';

    // Values count days and minutes, so that differences are a subtraction.
    const ZXDate from(1, 3, 2012);
    const ZXDate to(1, 3, 2013);
    const ZTime start(9, 45, 0);
    const ZTime end(17, 5, 0);
    std::cout << to.get() - from.get() << " days, " << end.get() - start.get() << " minutes\n";
    if (const auto moment = ztree::parseIsoDateTime("2012-02-29T13:05:09Z"))
        std::cout << moment->date.year << " at " << moment->time.hour << " hours\n";

    // Amounts: text for people, text for storage, and rounding by what the number looks like.
    double amount = 0;
    aStringDouble("1.234.567,89", &amount, &german);
    char storage[ztree::roomDoubleAmount];
    doubleAmount(amount, storage);
    std::cout << ztree::amountString(amount, true, &german) << ", stored " << storage << '\n';
    std::cout << ztree::roundDecimal(1.005, 2) << " instead of " << doubleFix(1.005) << '\n';

    // In words: English, German, Russian.
    for (const char* language : {"EN", "DE", "RU"})
        std::cout << ztree::amountWords(1234.56, "EUR", language) << '\n';
}
