// Random definitions, parameters, lines and values against the model.

#include "csv/csv_model.h"
#include "csv/support.h"

#include <cstring>
#include <memory>
#include <random>

namespace {

using csvmodel::Text;

class Dice {
public:
    explicit Dice(unsigned seed) : m_engine(seed) {}
    unsigned below(unsigned n) { return static_cast<unsigned>(m_engine() % n); }
    bool once(unsigned in) { return below(in) == 0; }

private:
    std::mt19937 m_engine;
};

csvmodel::Parameters randomParameters(Dice& dice)
{
    csvmodel::Parameters p;
    static const char16_t separators[] = {';', ';', ',', '\t', '|', '"', '\\', '%', 'A', 0x20AC, 0};
    p.separator = separators[dice.below(dice.once(4) ? 11 : 4)];
    p.quote = dice.once(2);
    p.escape = static_cast<int>(dice.below(4));
    p.lineEnd = static_cast<int>(dice.below(5));
    p.trailing = dice.once(3);
    return p;
}

void apply(csvBuffer& buffer, const csvmodel::Parameters& p)
{
    buffer.setParameter(csvParamSeparator, p.separator);
    buffer.setParameter(csvParamQuote, p.quote);
    buffer.setParameter(csvParamEscape, static_cast<unsigned short>(p.escape));
    buffer.setParameter(csvParamLineEnd, static_cast<unsigned short>(p.lineEnd));
    buffer.setParameter(csvParamTrailingSeparator, p.trailing);
}

Text randomText(Dice& dice, const csvmodel::Parameters& p, unsigned most, bool lineEnds)
{
    static const Text plain = u"ab1F0c%\\\"; ,\u00E4\u20AC";
    Text text;
    for (unsigned n = dice.below(most); n > 0; --n) {
        switch (dice.below(8)) {
        case 0:
            text += p.separator ? p.separator : u';';
            break;
        case 1:
            text += u'"';
            break;
        case 2:
            text += dice.once(2) ? u'\\' : u'%';
            break;
        case 3:
            text += u"0123456789ABCDEFabcdefgG"[dice.below(24)];
            break;
        case 4:
            text += lineEnds && dice.once(3) ? u"\r\n"[dice.below(2)] : u'x';
            break;
        default:
            text += plain[dice.below(static_cast<unsigned>(plain.size()))];
        }
    }
    return text;
}

constexpr int columns = 6;
constexpr int width = 80;

struct Record {
    zwchar text[columns][width];
};

Text textIn(const zwchar* at)
{
    int n = 0;
    while (n < width && at[n])
        ++n;
    return Text(at, at + n);
}

TEST(csvModel, scansLines)
{
    Dice dice(1);
    long scanned = 0;
    for (int round = 0; scanned < 200'000; ++round) {
        const csvmodel::Parameters p = randomParameters(dice);
        csvBuffer buffer;
        apply(buffer, p);
        unsigned short ids[columns];
        bool defined[columns];
        for (int i = 0; i < columns; ++i)
            ids[i] = static_cast<unsigned short>(100 + i);
        buffer.setFieldOrder(ids, columns);
        for (int i = 0; i < columns; ++i) {
            defined[i] = !dice.once(5);
            if (defined[i])
                buffer.addFieldDefinition(
                    csvWideChar(ids[i], static_cast<long>(i * width * sizeof(zwchar)), width, 0));
        }
        Text data;
        for (unsigned n = 1 + dice.below(40); n > 0; --n)
            data += randomText(dice, p, 40, false) + (dice.once(3) ? u"\r\n" : dice.once(2) ? u"\n" : u"\r");
        const std::vector<Text> lines = csvmodel::lines(data);
        const ZStringW wideData(reinterpret_cast<const unsigned short*>(data.c_str()));
        ASSERT_EQ(buffer.setData(wideData.getBuffer()), lines.empty() ? badArgument : 0);
        for (const Text& line : lines) {
            ASSERT_TRUE(buffer.hasMoreLines());
            Record record;
            std::memset(&record, 0, sizeof record);
            ASSERT_EQ(buffer.scanLine(&record), 0);
            const std::vector<Text> expected = csvmodel::columns(line, p);
            for (std::size_t i = 0; i < columns; ++i) {
                Text value = defined[i] && i < expected.size() ? expected[i] : Text();
                value = value.substr(0, value.find(u'\0')); // %00 ends what a field shows
                ASSERT_EQ(textIn(record.text[i]), value)
                    << "round " << round << " line " << scanned << " column " << i;
            }
            ++scanned;
        }
        ASSERT_FALSE(buffer.hasMoreLines());
    }
}

/// A column that may have no value.
class Moody : public csvWideChar {
public:
    Moody(unsigned short id, const zwchar* text, unsigned size, bool fails)
        : csvWideChar(id, text, size, 0), m_fails(fails)
    {
    }
    using csvWideChar::read;
    int read(ZStringW& text) const override { return m_fails ? -1 : csvWideChar::read(text); }
    csvField* clone() const override { return new Moody(*this); }

private:
    bool m_fails;
};

TEST(csvModel, createsLinesAndReadsThemBack)
{
    Dice dice(2);
    long same = 0;
    for (int i = 0; i < 40'000; ++i) {
        const csvmodel::Parameters p = randomParameters(dice);
        csvBuffer buffer;
        apply(buffer, p);
        const unsigned count = 1 + dice.below(columns);
        std::vector<unsigned short> ids;
        std::vector<csvmodel::Value> values(count);
        std::vector<std::basic_string<zwchar>> texts;
        texts.reserve(count);
        for (unsigned c = 0; c < count; ++c)
            ids.push_back(static_cast<unsigned short>(200 + c));
        buffer.setFieldOrder(ids.data(), static_cast<int>(count));
        for (unsigned c = 0; c < count; ++c) {
            values[c].kind = dice.once(8) ? csvmodel::Value::noField : csvmodel::Value::text;
            values[c].value = randomText(dice, p, 20, true);
            texts.emplace_back(values[c].value.begin(), values[c].value.end());
            if (values[c].kind == csvmodel::Value::noField)
                continue;
            const bool fails = dice.once(8);
            const auto size = static_cast<unsigned>(texts[c].size());
            if (fails)
                values[c].kind = csvmodel::Value::failure;
            if (fails || dice.once(2))
                buffer.addFieldDefinition(Moody(ids[c], texts[c].c_str(), size, fails));
            else
                buffer.addFieldDefinition(csvWideChar(ids[c], texts[c].c_str(), size, 0));
        }
        ZString line;
        ASSERT_EQ(buffer.createLine(line, nullptr), 0);
        const Text expected = csvmodel::line(values, p);
        const ZStringW made(line.getBuffer(), line.length(), 65001);
        const zwchar* units = made.getBuffer();
        ASSERT_EQ(Text(units, units + made.length()), expected) << "line " << i;
        // What percent escapes wrote comes back, whatever it was.
        const std::vector<Text> lines = csvmodel::lines(expected);
        if (p.escape != 2 || p.quote || !p.separator || Text(u"\"\\%A").find(p.separator) != Text::npos ||
            p.separator > 127 || lines.empty())
            continue;
        const std::vector<Text> back = csvmodel::columns(lines[0], p);
        for (std::size_t c = 0; c < back.size() && c < count; ++c, ++same) {
            if (values[c].kind == csvmodel::Value::text) {
                ASSERT_EQ(back[c], values[c].value) << "line " << i;
            }
        }
    }
    EXPECT_GT(same, 10'000);
}

} // namespace
