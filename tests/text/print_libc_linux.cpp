// Against the C library's own printf, and against a page that must not be read. On Linux alone: the C
// library of the other target prints exponents, infinities and ties its own way.

#include "print_random.h"

#include <gtest/gtest.h>
#include <sys/mman.h>
#include <unistd.h>
#include <ztree/print.h>

#include <cstdio>
#include <limits>

TEST(PrintAgainstLibc, sameTextForRandomConversions)
{
    PrintCases cases(20240229);
    int differences = 0;
    char mine[2048];
    char theirs[2048];
    for (int i = 0; i < 300000; ++i) {
        const PrintCase c = cases.next();
        const char* fmt = c.fmt.c_str();
        const int n =
            callWith(c, [&](auto... args) { return sprintfn(mine, sizeof mine, 65001, fmt, args...); });
        const int m =
            callWith(c, [&](auto... args) { return snprintf(theirs, sizeof theirs, fmt, args...); });
        if (n == m && strcmp(mine, theirs) == 0)
            continue;
        // Some releases lose the zeros of %#g when rounding carries into the next power of ten.
        if (c.fmt.find('#') != std::string::npos && (strstr(theirs, ".e+") || strstr(theirs, ".E+")))
            continue;
        ASSERT_LT(++differences, 10);
        ADD_FAILURE() << fmt << ", " << c.star[0] << ", " << c.star[1] << ", " << c.number << ", " << c.value
                      << "\n"
                      << mine << "\n"
                      << theirs;
    }
}

TEST(PrintAgainstLibc, sameTextAtLargePrecisions)
{
    std::string mine(5000, 0);
    std::string theirs(5000, 0);
    const double values[] = {5e-324,    2.2250738585072011e-308, 1.7976931348623157e308, 0.1, 1.0, 0.0, -1e-5,
                             123456.789};
    for (const char* fmt : {"%.500f", "%.1100f", "%.1500F", "%.766e", "%.767E", "%.1200e", "%.1000g",
                            "%#.1300G", "%.60a", "%.0A", "%#.0a", "%.12a", "%01500.1100f", "%-1400.700e"})
        for (const double value : values) {
            const int n = sprintfn(mine.data(), 5000, 0, fmt, value);
            ASSERT_EQ(n, snprintf(theirs.data(), 5000, fmt, value)) << fmt << value;
            ASSERT_STREQ(mine.c_str(), theirs.c_str()) << fmt << value;
        }
}

// The argument ends at a page that cannot be read: one unit too far is a fault, whatever the build.
template <class Ch> class PrintBesideGuardPage : public ::testing::Test {
};
using Widths = ::testing::Types<char, zwchar>;
TYPED_TEST_SUITE(PrintBesideGuardPage, Widths);

TYPED_TEST(PrintBesideGuardPage, readsNoFurtherThanPrecisionAndTerminator)
{
    using Ch = TypeParam;
    const auto page = static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
    void* const pages = mmap(nullptr, 2 * page, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    ASSERT_NE(pages, MAP_FAILED);
    Ch* const end = reinterpret_cast<Ch*>(static_cast<char*>(pages) + page);
    ASSERT_EQ(mprotect(end, page, PROT_NONE), 0);
    char narrow[200];
    zwchar wide[200];
    const bool isWide = sizeof(Ch) == 2;
    for (int n = 0; n < 80; ++n) {
        std::fill(end - n - 1, end, static_cast<Ch>('x'));
        EXPECT_EQ(sprintfn(narrow, 200, 65001, isWide ? "%.*ls" : "%.*hs", n, end - n), n);
        EXPECT_EQ(swprintfn(wide, 200, 0, isWide ? ZTEXT("%*.*ls") : ZTEXT("%*.*hs"), n / 2, n, end - n), n);
        end[-1] = 0;
        const Ch* const terminated = end - n - 1;
        EXPECT_EQ(sprintfn(narrow, 200, 65001, isWide ? "%ls" : "%hs", terminated), n);
        EXPECT_EQ(swprintfn(wide, 200, 0, isWide ? ZTEXT("%*ls") : ZTEXT("%*hs"), n, terminated), n);
    }
    munmap(pages, 2 * page);
}
