// Pictures, texts and records of any shape: every conversion into a buffer of exactly the room it asks for,
// with the promises that tie the functions to each other.

#include <ztree/datetime.h>
#include <ztree/ext/datetime.h>

#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

namespace {

void require(bool holds)
{
    if (!holds)
        std::abort();
}

// Bytes of the input, zeros when they are used up.
class Source {
public:
    Source(const std::uint8_t* data, std::size_t size) : m_at(data), m_end(data + size) {}
    void fill(void* out, std::size_t n)
    {
        std::memset(out, 0, n);
        const auto k = std::min(n, static_cast<std::size_t>(m_end - m_at));
        if (k)
            std::memcpy(out, m_at, k);
        m_at += k;
    }
    template <class T> T take()
    {
        T value;
        fill(&value, sizeof value);
        return value;
    }
    std::string text(std::size_t most)
    {
        std::string s(take<std::uint8_t>() % most, 0);
        fill(s.data(), s.size());
        return s.c_str();
    }

private:
    const std::uint8_t* m_at;
    const std::uint8_t* m_end;
};

// A block of exactly n units, so that a sanitizer sees the first one behind it.
template <class Ch> class Exact {
public:
    explicit Exact(std::size_t n) : m_block(static_cast<Ch*>(std::malloc(n * sizeof(Ch)))) {}
    Exact(const Exact&) = delete;
    Exact& operator=(const Exact&) = delete;
    ~Exact() { std::free(m_block); }
    operator Ch*() const { return m_block; }

private:
    Ch* m_block;
};

template <class Ch> std::unique_ptr<Exact<Ch>> exactText(const std::basic_string<Ch>& s)
{
    auto block = std::make_unique<Exact<Ch>>(s.size() + 1);
    std::memcpy(static_cast<Ch*>(*block), s.c_str(), (s.size() + 1) * sizeof(Ch));
    return block;
}

template <class Ch> int lengthOf(const Ch* text)
{
    int n = 0;
    while (text[n])
        ++n;
    return n;
}

void dates(Source& in, const tagLocalFmt* fmt, unsigned long packed, const std::string& narrow,
           const zwchar* wide)
{
    const auto text = exactText(narrow);
    Exact<char> shown(ztree::roomDate), storage(ztree::roomDateStorage), name(ztree::roomMonthName);
    Exact<zwchar> shownWide(ztree::roomDateWide);
    const int n = ulongDString(packed, shown, fmt);
    const int w = ulongDStringW(packed, shownWide, fmt);
    require(n == (packed == 0 ? 0 : n < 0 ? -1 : lengthOf<char>(shown)) && (n < 0) == (w < 0) && w < 16);
    unsigned long date = 1, again = 2;
    int consumed = dStringUlong(*text, &date, fmt);
    require(consumed <= static_cast<int>(narrow.size()));
    require(consumed >= 0 || date == 99999999);
    require(date == 99999999 || date == 0 || splitDate(date, nullptr, nullptr, nullptr, true) == 0);
    consumed = dStringWUlong(wide, &again, fmt);
    require(consumed <= lengthOf(wide));
    dStringDate(*text, storage, packed & 1, fmt);
    dStringWDate(wide, storage, packed & 1, fmt);
    dateUlong(*text, &date);
    dateDString(*text, shown, fmt);
    dateDStringW(*text, shownWide, fmt);
    getMonthName(static_cast<unsigned short>(packed % 14), fmt, name);
    const int size = in.take<std::int8_t>();
    Exact<char> bounded(static_cast<std::size_t>(std::max(size, 0)));
    ulongDateEx(packed, bounded, size, packed & 2);
    ZXDate value(packed);
    value.toString(bounded, size, fmt);
    Exact<zwchar> boundedWide(static_cast<std::size_t>(std::max(size, 0)));
    value.toWString(boundedWide, size, fmt);
    const ZXDate number(static_cast<unsigned short>(packed));
    require(number.get() == static_cast<unsigned short>(packed) &&
            ZXDate(number.toMcoDate()).get() == number.get());
    ztree::formatDate(packed, boundedWide, static_cast<std::size_t>(std::max(size, 0)), fmt);
}

void times(Source& in, const tagLocalFmt* fmt, unsigned long packed, const std::string& narrow,
           const zwchar* wide)
{
    const auto text = exactText(narrow);
    Exact<char> shown(ztree::roomTime), storage(ztree::roomTimeStorage);
    Exact<zwchar> shownWide(ztree::roomTime);
    const int n = ulongTString(packed, shown, fmt);
    require(ulongTStringW(packed, shownWide, fmt) == n && n < ztree::roomTime);
    require(lengthOf<char>(shown) == lengthOf<zwchar>(shownWide));
    unsigned long time = 1, again = 2;
    const int consumed = tStringUlong(*text, &time, fmt);
    require(consumed <= static_cast<int>(narrow.size()) + 1);
    require(time == 999999 || splitTime(time, nullptr, nullptr, nullptr) == 0);
    const std::basic_string<zwchar> widened(narrow.begin(), narrow.end());
    require(tStringWUlong(widened.c_str(), &again, fmt) == consumed && again == time);
    tStringWUlong(wide, &again, fmt);
    tStringTime(*text, storage, fmt);
    timeUlong(*text, &time);
    timeTString(*text, shown, fmt);
    const int size = in.take<std::int8_t>();
    Exact<char> bounded(static_cast<std::size_t>(std::max(size, 0)));
    ulongTimeEx(packed, bounded, size);
    ZTime(packed).toString(bounded, size, fmt);
    ztree::formatTime(packed, bounded, static_cast<std::size_t>(std::max(size, 0)), fmt);
}

void amounts(Source& in, const tagLocalFmt* fmt, double value, const std::string& narrow)
{
    const auto text = exactText(narrow);
    const auto flags = in.take<std::uint8_t>();
    const bool group = flags & 1;
    const auto decimals = in.take<char>();
    const int places = std::max<int>(decimals, 0);
    const int length = in.take<std::int8_t>();
    const auto read =
        static_cast<int>(length < 0 ? narrow.size() : std::min<std::size_t>(narrow.size(), length & 127));
    Exact<char> shown(static_cast<std::size_t>(std::max(24, read + read / 3 + std::max(places, 2) + 4)));
    amountAString(*text, shown, length, group, fmt);
    amountAStringEx(*text, shown, length, group, fmt, decimals);
    Exact<char> field(static_cast<std::size_t>(std::max(length, 0)));
    aStringAmount(*text, field, length, fmt);
    aStringAmountEx(*text, field, length, fmt, decimals);
    double parsed = 0;
    amountDouble(*text, length, &parsed);
    aStringDouble(*text, &parsed, fmt);
    aStringDoubleEx(*text, &parsed, fmt, decimals);

    for (double v : {value, parsed}) {
        Exact<char> a(ztree::roomDoubleAmount), b(ztree::roomDoubleAmountEx), c(ztree::roomDoubleText),
            d(ztree::roomDoubleTextEx);
        const int n = doubleAmount(v, a);
        require(n < 0 || n == lengthOf<char>(a));
        doubleAmountEx(v, b, decimals);
        require(doubleAString(v, c, group, fmt) < ztree::roomDoubleText);
        doubleAStringEx(v, d, group, fmt, decimals);
        const double r = doubleFix(v);
        require(!(std::fabs(v) < 1e15) || std::fabs(r - v) <= 0.0051 + std::fabs(v) * 1e-15);
        doubleFixEx(v, decimals);
        const double once = ztree::roundDecimal(v, places % 20);
        require(std::isnan(v) || ztree::roundDecimal(once, places % 20) == once);
        ztree::formatAmount(v, d, 7, group, fmt, decimals);
        ZStringW words;
        const char* const languages[] = {"EN", "DE", "RU"};
        const std::string currency = narrow.substr(0, 4);
        doubleAmountInWords(v, currency.c_str(), languages[flags % 3], flags & 0x80 ? 0x100 | flags : flags,
                            words);
        zwchar buffer[5];
        doubleAmountInWords(v, "RUB", languages[flags % 3], flags, buffer, 5);
        require(buffer[4] == 0);
    }
}

// What an ISO text says is written so that it says it again.
void iso(const std::string& text)
{
    const auto said = ztree::parseIsoDateTime(text);
    if (!said)
        return;
    const auto again =
        ztree::parseIsoDateTime(ztree::isoDateTime(ztree::packDate(said->date), ztree::packTime(said->time)));
    require(again && again->date == said->date && again->time == said->time && !again->offset);
    require(!said->offset || std::abs(*said->offset) < 24 * 60);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    Source in(data, size);
    tagLocalFmt record;
    const auto flags = in.take<std::uint8_t>();
    in.fill(&record.cDecimal, 4);
    if (flags & 1)
        in.fill(record.szTimeFmt, sizeof record.szTimeFmt);
    if (flags & 2)
        in.fill(record.szDateFmt, sizeof record.szDateFmt);
    std::vector<std::basic_string<zwchar>> names(12);
    if (flags & 4)
        for (std::size_t i = 0; i < 12; ++i) {
            names[i].resize(in.take<std::uint8_t>() % 20);
            in.fill(names[i].data(), names[i].size() * sizeof(zwchar));
            record.apwMonth[i] = names[i].c_str();
        }
    const tagLocalFmt* fmt = flags & 8 ? nullptr : &record;
    const auto date = flags & 16 ? in.take<std::uint32_t>() : 19000101 + in.take<std::uint32_t>() % 2000000;
    const auto time = flags & 16 ? in.take<std::uint32_t>() : in.take<std::uint32_t>() % 240000;
    const auto value = in.take<double>();
    const std::string text = in.text(60);
    const std::string bytes = in.text(40);
    std::basic_string<zwchar> wide(bytes.size() / 2, 0);
    std::memcpy(wide.data(), bytes.data(), wide.size() * 2);
    wide = wide.c_str();
    const auto wideText = exactText(wide);
    dates(in, fmt, date, text, *wideText);
    times(in, fmt, time, text, *wideText);
    amounts(in, fmt, value, text);
    iso(text);
    return 0;
}
