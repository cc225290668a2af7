// Failing allocations and threads.

#include "string_support.h"

#include <iostream>
#include <thread>
#include <vector>

namespace {

template <class S> class StringMemory : public HeapTest {
};
TYPED_TEST_SUITE(StringMemory, BothStrings);

const std::string sample = "a text that is too long to be kept inline";

// A string that shares its block with another, so that every edit has to allocate.
template <class S> struct Shared {
    S other = make<S>(sample), subject = other, bare;
};

} // namespace

TYPED_TEST(StringMemory, failedAllocationLeavesTheString)
{
    using S = TypeParam;
    using Sh = Shared<S>;
    const Text<S> extra = lit<S>(std::string(100, 'x'));
    const Text<S> set = lit<S>("xa");
    const std::string utf8(3000, 'u');
    const std::vector<std::function<void(Sh&)>> operations = {
        [&](Sh& s) { put(s.subject, extra); },
        [&](Sh& s) { put(s.bare, extra); },
        [&](Sh& s) { s.subject = extra.c_str(); },
        [&](Sh& s) { s.bare = extra.c_str(); },
        [&](Sh& s) { s.subject = s.subject.getBuffer() + 3; },
        [&](Sh& s) { s.bare = s.subject; },
        [&](Sh& s) { s.bare = 12345; },
        [&](Sh& s) { s.bare = Unit<S>('x'); },
        [&](Sh& s) { s.subject += s.other; },
        [&](Sh& s) { s.subject += extra.c_str(); },
        [&](Sh& s) { s.subject += 12345; },
        [&](Sh& s) { s.subject += Unit<S>('x'); },
        [&](Sh& s) { s.bare += Unit<S>('x'); },
        [&](Sh& s) { s.bare.append(extra.data(), 90); },
        [&](Sh& s) { s.subject.setAt(1, 'x'); },
        [&](Sh& s) { s.subject.trim(set.c_str(), 3); },
        [&](Sh& s) { s.subject.remove(set.c_str()); },
        [&](Sh& s) { s.subject.exchange(set.c_str(), 'y'); },
        [&](Sh& s) { s.subject.expand(100, 'x'); },
        [&](Sh& s) { s.bare.expand(100, 'x'); },
        [&](Sh& s) { s.subject.truncate(2, 30); },
        [&](Sh& s) { s.subject.toupper(); },
        [&](Sh& s) { s.subject.tolower(); },
        [&](Sh& s) { s.bare.setGrowth(5); },
        [&](Sh& s) { EXPECT_EQ(s.subject.substring(1, 30).length(), 29); },
        [&](Sh& s) { EXPECT_EQ((s.subject + extra.c_str() + s.other + 1 + Unit<S>('c')).length(), 184); },
        [&](Sh& s) { EXPECT_EQ((extra.c_str() + s.subject).length() + (1 + s.subject).length(), 183); },
        [&](Sh& s) { EXPECT_EQ(S(s.subject).length() + S(extra.c_str()).length() + S(5).length(), 142); },
        [&](Sh& s) {
            if constexpr (std::is_same_v<S, ZString>) {
                s.subject.convertTo(1252);
            } else {
                s.subject.convertFrom(65001, utf8.data(), 3000);
            }
        },
        [&](Sh& s) {
            const std::basic_string<zwchar> wide(3000, 'w');
            char* copy = nullptr;
            if constexpr (std::is_same_v<S, ZString>) {
                s.subject.set(wide.data(), 3000, 65001);
            } else {
                ZStringW w(wide.data(), 3000);
                EXPECT_EQ(w.convertTo(65001, &copy, nullptr), 0);
            }
            ZString::freeDup(copy);
        },
        [&](Sh& s) {
            if constexpr (std::is_same_v<S, ZString>) {
                s.bare.setCodepage(1252);
                ZString::freeDup(ZString::strDup(utf8.c_str(), 65001));
            } else {
                s.subject.append(utf8.data(), 3000);
            }
        },
        [&](Sh&) {
            if constexpr (std::is_same_v<S, ZString>) {
                ZString::freeDup(ZString::strDup(utf8.c_str(), 1252));
            } else {
                EXPECT_EQ(ZStringW(std::basic_string<zwcharOther>(3000, 'x').c_str()).length(), 3000);
            }
        },
    };
    long injected = 0;
    for (std::size_t i = 0; i < operations.size(); ++i) {
        SCOPED_TRACE("operation " + std::to_string(i));
        const long failures = this->sweep([] { return std::make_unique<Sh>(); }, operations[i],
                                          [](Sh& s) {
                                              EXPECT_EQ(text(s.subject), lit<S>(sample));
                                              EXPECT_EQ(text(s.other), lit<S>(sample));
                                              EXPECT_EQ(s.bare.getBuffer(), nullptr);
                                              s.bare = s.subject; // all are usable
                                          });
        EXPECT_GT(failures, 0);
        injected += failures;
    }
    std::cout << "failing allocations injected: " << injected << std::endl;
}

TYPED_TEST(StringMemory, threadsShareCopies)
{
    using S = TypeParam;
    const S common = make<S>(sample);
    const auto work = [&common](int id) {
        S last;
        for (int i = 0; i < 5000; ++i) {
            S copy(common);
            last = copy;
            if (i % 3 == id % 3) {
                copy.setAt(0, static_cast<Unit<S>>('0' + id));
                ASSERT_EQ(copy[0], static_cast<Unit<S>>('0' + id));
                copy += copy;
            }
            ASSERT_EQ(last[0], 'a');
        }
        EXPECT_EQ(text(last), lit<S>(sample));
    };
    std::vector<std::thread> threads;
    threads.reserve(4);
    for (int id = 0; id < 4; ++id)
        threads.emplace_back(work, id);
    for (std::thread& t : threads)
        t.join();
    EXPECT_EQ(text(common), lit<S>(sample));
    // The last two holders race to write: one of them may keep the block.
    for (int round = 0; round < 100; ++round) {
        S a = make<S>(sample), b(a);
        std::thread other([&b] { b.setAt(0, 'B'); });
        a.setAt(0, 'A');
        other.join();
        ASSERT_EQ(a[0], 'A');
        ASSERT_EQ(b[0], 'B');
    }
}
