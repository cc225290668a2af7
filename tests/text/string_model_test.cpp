// Random operations on both strings against a plain model of them, which says for every operation what
// happens to text, capacity, sharing and tag, without any of the shortcuts that the strings take.

#include "string_support.h"
#include "support/random.h"

#include <algorithm>

namespace {

template <class S> class Model {
public:
    using Ch = Unit<S>;
    using Block = std::vector<Ch>; // capacity + 1 units

    Text<S> text() const { return Text<S>(now(), now() + m_length); }
    unsigned tag() const { return m_tag; }
    const Ch* now() const { return m_block ? m_block->data() : m_inline.data(); }
    int length() const { return m_length; }

    void reset()
    {
        if (m_capacity)
            *this = Model(m_growth, m_tag);
    }
    void share(const Model& from)
    {
        if (this == &from || (m_block && m_block == from.m_block))
            return;
        const int growth = m_growth;
        *this = from;
        m_growth = growth;
    }
    void reserve(int n)
    {
        if (n <= 16) {
            m_length = std::min(n, m_length);
            if (m_block)
                std::copy_n(m_block->begin(), m_length, m_inline.begin());
            m_block.reset();
            m_inline[static_cast<std::size_t>(m_length)] = 0;
            m_capacity = 16;
            return;
        }
        int target = n;
        if (n > m_capacity) {
            if (n - m_capacity < m_growth)
                target = m_capacity + m_growth;
        } else if (n >= m_length - m_growth && m_block && m_block.use_count() == 1) {
            return;
        }
        if (m_block && m_block.use_count() == 1 && target < m_capacity)
            return;
        auto block = std::make_shared<Block>(static_cast<std::size_t>(target) + 1);
        m_length = std::min(m_length, target);
        std::copy_n(now(), m_length, block->begin());
        m_block = block;
        m_capacity = target;
    }
    void set(Text<S> t, unsigned tag)
    {
        if (t.empty())
            return reset();
        reserve(static_cast<int>(t.size()));
        write(0, t);
        m_tag = tag;
    }
    void setOwnPart(int start, unsigned tag)
    {
        if (start == 0)
            return;
        const Text<S> part = text().substr(static_cast<std::size_t>(start));
        if (m_block)
            *this = Model(m_growth, m_tag);
        set(part, tag);
    }
    void append(const Text<S>& t)
    {
        if (t.empty())
            return;
        reserve(m_length + static_cast<int>(t.size()));
        write(m_length, t);
    }
    void setAt(int i, Ch c)
    {
        if (i < 0 || i >= m_length)
            return;
        reserve(m_length);
        data()[i] = c;
    }
    int edit(bool drop, const Text<S>& set, Ch c)
    {
        if (set.empty())
            return 0;
        reserve(m_length);
        Text<S> left;
        int hits = 0;
        for (Ch unit : text()) {
            const bool hit = unit == 0 || set.find(unit) != set.npos;
            hits += hit;
            if (!hit || !drop)
                left += hit ? c : unit;
        }
        write(0, left);
        return hits;
    }
    int trim(const Text<S>& set, int flags)
    {
        const Text<S> t = text();
        if (t.empty())
            return 0;
        const auto in = [&](Ch c) { return set.find(c) != set.npos; };
        int first = 0, last = m_length - 1;
        const auto at = [&](int i) { return t[static_cast<std::size_t>(i)]; };
        if (!(flags & 4)) {
            while ((flags & 1) && first < m_length && in(at(first)))
                ++first;
            while ((flags & 2) && last >= first && in(at(last)))
                --last;
        } else if ((flags & 1) && in(at(0))) {
            const Ch closing = (set + Ch{})[set.find(at(0)) + (flags & 8 ? 1 : 0)];
            if (!(flags & 2) || at(last) == closing) {
                first = 1;
                last -= (flags & 2) ? 1 : 0;
            }
        } else if (in(at(last))) {
            --last;
        }
        if (first > last) {
            reset();
        } else {
            Model part(16, m_tag);
            part.set(t.substr(static_cast<std::size_t>(first), static_cast<std::size_t>(last + 1 - first)),
                     m_tag);
            share(part);
        }
        return static_cast<int>(t.size()) - m_length;
    }
    void expand(int n, Ch c)
    {
        reserve(n);
        if (n > m_length)
            write(m_length, Text<S>(static_cast<std::size_t>(n - m_length), c));
    }
    void truncate(int start, int count)
    {
        if (start >= m_length)
            return reset();
        if (count >= m_length)
            return;
        reserve(m_length);
        if (count < 0 || start + count > m_length)
            count = m_length - start;
        write(0, text().substr(static_cast<std::size_t>(start), static_cast<std::size_t>(count)));
    }
    void upper()
    {
        if (m_length == 0)
            return;
        reserve(m_length);
        for (int i = 0; i < m_length; ++i)
            data()[i] = static_cast<Ch>(data()[i] >= 'a' && data()[i] <= 'z' ? data()[i] - 32 : data()[i]);
    }
    void setGrowth(int step) { m_growth = step; }
    void setTag(unsigned tag) { m_tag = tag; }

    explicit Model(int growth = 16, unsigned tag = 65001) : m_growth(growth), m_tag(tag) {}

private:
    Ch* data() { return m_block ? m_block->data() : m_inline.data(); }
    void write(int at, const Text<S>& t)
    {
        std::copy(t.begin(), t.end(), data() + at);
        m_length = at + static_cast<int>(t.size());
        data()[m_length] = 0;
    }

    std::shared_ptr<Block> m_block;
    std::vector<Ch> m_inline = std::vector<Ch>(17);
    int m_capacity = 0, m_length = 0, m_growth;
    unsigned m_tag;
};

unsigned tagOf(const ZString& s, unsigned)
{
    return s.getCodepage();
}
unsigned tagOf(const ZStringW&, unsigned expected)
{
    return expected;
}
void setTag(ZString& s, unsigned tag)
{
    s.setCodepage(tag);
}
void setTag(ZStringW&, unsigned) {}
void setWithTag(ZString& s, const std::string& t, unsigned tag)
{
    s.set(t.data(), static_cast<int>(t.size()), tag);
}
void setWithTag(ZStringW& s, const std::basic_string<zwchar>& t, unsigned)
{
    put(s, t);
}

template <class S> class StringModel : public HeapTest {
};
TYPED_TEST_SUITE(StringModel, BothStrings);

} // namespace

TYPED_TEST(StringModel, randomOperations)
{
    using S = TypeParam;
    constexpr int strings = 5, operations = 100000;
    S real[strings];
    Model<S> model[strings];
    for (S& s : real)
        s.setGrowth(16); // so that all have state of their own
    Dice dice(20240229);
    const auto below = [&dice](int n) { return dice.below(n); };
    // Letters, a zero, and units above ASCII that have no case.
    const Text<S> above = {static_cast<Unit<S>>(0xA7),
                           static_cast<Unit<S>>(sizeof(Unit<S>) == 1 ? 0x80 : 0x20AC)};
    const Text<S> letters = lit<S>("abc()\" \tXY") + above, rare = letters + Unit<S>{};
    const auto any = [&](int longest) { return dice.text(below(3) ? letters : rare, longest); };
    const Text<S> sets[] = {lit<S>("\n\t "), lit<S>("()"), lit<S>("\""), lit<S>("abc"),
                            letters,         Text<S>(),    above};

    for (int op = 0; op < operations; ++op) {
        const int i = below(strings), j = below(strings);
        S& s = real[i];
        Model<S>& m = model[i];
        const unsigned tag = below(2) ? 1252 : 65001;
        const Text<S>& set = sets[below(7)];
        const int n = below(70), k = below(80) - 5;
        const int what = below(19);
        switch (what) {
        case 0: {
            const Text<S> t = any(60);
            setWithTag(s, t, tag);
            m.set(t, tag);
            break;
        }
        case 1:
        case 2:
            s = real[j];
            m.share(model[j]);
            break;
        case 3: {
            const Text<S> t = any(below(4) ? 10 : 60);
            s.append(t.data(), static_cast<int>(t.size()));
            m.append(t);
            break;
        }
        case 4:
            s += Unit<S>('c');
            m.append(lit<S>("c"));
            break;
        case 5:
            s += real[j];
            m.append(model[j].text());
            break;
        case 6: {
            const int start = below(m.length() + 1);
            s.append(s.getBuffer() + (s.getBuffer() ? start : 0), m.length() - start);
            m.append(m.text().substr(static_cast<std::size_t>(start)));
            break;
        }
        case 7:
            if (m.length() && m.text().find(Unit<S>{}) == Text<S>::npos) {
                const int start = below(m.length());
                s = s.getBuffer() + start;
                m.setOwnPart(start, m.tag());
            }
            break;
        case 8:
            s.setAt(k, 'Z');
            m.setAt(k, 'Z');
            break;
        case 9: {
            const int from = std::min(k < 0 ? 0 : k, m.length());
            s = s.substring(k, n);
            Model<S> part;
            const int end = std::min(n, m.length());
            if (from < end) {
                part.set(
                    m.text().substr(static_cast<std::size_t>(from), static_cast<std::size_t>(end - from)),
                    m.tag());
                m.share(part);
            } else {
                m.reset();
            }
            break;
        }
        case 10:
        case 11: {
            const int flags = below(16);
            ASSERT_EQ(s.trim(set.c_str(), flags), m.trim(set, flags));
            break;
        }
        case 12:
            ASSERT_EQ(s.remove(set.c_str()), m.edit(true, set, 0));
            break;
        case 13:
            ASSERT_EQ(s.exchange(set.c_str(), '.'), m.edit(false, set, '.'));
            break;
        case 14:
            s.expand(n, '+');
            m.expand(n, '+');
            break;
        case 15:
            s.truncate(n / 2, k);
            m.truncate(n / 2, k);
            break;
        case 16:
            s.toupper();
            m.upper();
            break;
        case 17:
            if (below(3) == 0) {
                s.clear();
                m.reset();
            } else if (below(2)) {
                s.setGrowth(n);
                m.setGrowth(n);
            } else {
                setTag(s, tag);
                m.setTag(tag);
            }
            break;
        default:
            s = k;
            m.set(lit<S>(std::to_string(k)), 0);
            break;
        }
        for (int all = 0; all < strings; ++all) {
            ASSERT_EQ(text(real[all]), model[all].text())
                << "string " << all << " after operation " << op << ": " << what;
            ASSERT_EQ(tagOf(real[all], model[all].tag()), model[all].tag())
                << "operation " << op << ": " << what;
        }
    }
}
