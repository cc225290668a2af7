// Every operation whose input may have any length: its time at n and at 2n. A ratio above 2.3 is tried again,
// once more in the end; one that stays, and is no leap of the caches, makes the exit code 1.
//   ztree_growth [WORD...]     only cases whose names hold one of the words

#include "growth.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <malloc.h>
#include <map>
#include <unistd.h>

namespace growth {

std::string repeated(int n, std::string_view pattern)
{
    // A case asks for the same few texts again and again.
    static std::map<std::pair<std::string, int>, std::string> made;
    if (made.size() > 24)
        made.clear();
    std::string& out = made[{std::string(pattern), n}];
    if (!out.empty())
        return out;
    for (int i = 0; i < n; ++i) {
        for (const char c : pattern) {
            if (c == '`')
                out += std::to_string(i);
            else
                out += c;
        }
    }
    return out;
}

std::vector<int> shuffled(int n)
{
    std::vector<int> out(n);
    unsigned state = 1;
    for (int i = 0; i < n; ++i) {
        state = state * 1664525 + 1013904223;
        out[i] = i;
        std::swap(out[i], out[(state >> 4) % static_cast<unsigned>(i + 1)]);
    }
    return out;
}

} // namespace growth

namespace {

using namespace growth;

constexpr double limit = 2.3;
constexpr int doublings = 3;
constexpr int furthest = 8'000'000;
constexpr double memorySpeed =
    2e-9;                      ///< seconds an item; whatever takes less copies or scans, as fast as memory is
constexpr double patience = 2; ///< seconds that a run may take beside those of the table

double least(const Case& c, int n, double effort)
{
    double best = c.run(n);
    double spent = best;
    for (int i = 1; spent < effort && i < 40; ++i) {
        const double t = c.run(n);
        best = std::min(best, t);
        spent += t;
    }
    return best;
}

struct Result {
    double ratio[doublings] = {}; ///< t(2n) / t(n), of the least times of all rounds
    double times[doublings + 1] = {};
    std::string note;
    bool bad = false;

    double worst() const { return *std::max_element(ratio, ratio + doublings); }
    double seconds() const { return times[doublings]; } ///< at the largest size
};

// Whether the case takes so long already at a small size that the rest need not be waited for.
bool isHopeless(const Case& c, Result& result)
{
    double before = 0;
    for (int n = c.most >> 7; n < c.most >> 3; n *= 2) {
        const double t = c.run(n);
        if (t > patience) {
            result.ratio[0] = t / before;
            result.note = "given up at " + std::to_string(n);
            return true;
        }
        before = t;
    }
    return false;
}

// The sizes take turns, so that a slow moment of the machine meets them alike.
void measure(const Case& c, int rounds, double effort, Result& result)
{
    for (int r = 0; r < rounds; ++r) {
        for (int i = 0; i <= doublings; ++i) {
            const double t = least(c, c.most >> (doublings - i), effort);
            double& time = result.times[i];
            time = time == 0 ? t : std::min(time, t);
        }
    }
    for (int i = 0; i < doublings; ++i)
        result.ratio[i] = result.times[i + 1] / result.times[i];
}

// Where data outgrow a cache the time leaps and then doubles again; a time that grows faster than its input
// goes on doing so. So two doublings in a row, somewhere behind the last one above the limit, must not be
// above it together. Together, since tables that double make the odd ones dearer.
bool isLeapOfCaches(const Case& c, Result& result)
{
    if (c.most < 1'000'000)
        return false;
    const int first = c.most >> doublings;
    std::size_t leap = doublings; // the size behind it
    while (result.ratio[leap - 1] <= limit)
        --leap;
    std::vector<double> times(result.times, result.times + doublings + 1);
    double ratio = 0;
    for (; times[leap] < 2 * patience && (first << (leap + 2)) <= furthest; ++leap) {
        c.run(first << (leap + 2)); // what touches memory first pays for a virtual machine's host
        for (int round = 0; round < 4; ++round) {
            for (std::size_t i = leap; i <= leap + 2; ++i) {
                const double t = least(c, first << i, 0.1);
                if (i == times.size())
                    times.push_back(t);
                else
                    times[i] = std::min(times[i], t);
            }
            ratio = std::sqrt(times[leap + 2] / times[leap]);
            if (ratio <= limit)
                break;
        }
        char text[64];
        std::snprintf(text, sizeof text, "caches: %.2f from %d to %d", ratio, first << leap,
                      first << (leap + 2));
        result.note = text;
        if (ratio <= limit || times[leap + 2] / (first << (leap + 2)) < memorySpeed)
            return true;
    }
    return false;
}

Result judge(const Case& c)
{
    Result result;
    result.bad = isHopeless(c, result);
    if (result.bad)
        return result;
    const double start = cpuSeconds();
    measure(c, 1, 0.02, result);
    if (cpuSeconds() - start < 1)
        measure(c, 2, 0.02, result);
    for (int again = 0; again < 3 && result.worst() > limit; ++again)
        measure(c, 1, 0.1, result);
    result.bad = result.worst() > limit && !isLeapOfCaches(c, result);
    return result;
}

void print(const Case& c, const Result& r)
{
    std::printf("%-68s %5.2f %5.2f %5.2f %9.3f ms%s%s%s\n", c.name.c_str(), r.ratio[0], r.ratio[1],
                r.ratio[2], r.seconds() * 1e3, r.note.empty() ? "" : "  ", r.note.c_str(),
                r.bad ? "  <<<" : "");
    std::fflush(stdout);
}

bool isWanted(const Case& c, int count, char** words)
{
    return count == 0 || std::any_of(words, words + count,
                                     [&](const char* w) { return c.name.find(w) != std::string::npos; });
}

} // namespace

int main(int argc, char** argv)
{
    // What fetching fresh pages costs is the system's, and comes by leaps: memory is touched once before, for
    // the sake of a virtual machine's host, and the C library keeps its own.
    const std::size_t free = static_cast<std::size_t>(sysconf(_SC_AVPHYS_PAGES)) * sysconf(_SC_PAGESIZE);
    const std::size_t room = std::min(free / 2, std::size_t{8} << 30);
    if (void* memory = std::malloc(room)) {
        std::memset(memory, 1, room);
        keep(*static_cast<char*>(memory));
        std::free(memory);
    }
    mallopt(M_MMAP_MAX, 0);
    mallopt(M_TRIM_THRESHOLD, -1);
    Cases cases;
    addText(cases);
    addContainers(cases);
    addTrees(cases);
    addXml(cases);
    addFiles(cases);

    std::printf("%-68s  t(2n) / t(n) up to n = 500,000; t(1,000,000)\n", "");
    std::vector<std::pair<const Case*, Result>> bad;
    int count = 0, leaps = 0;
    for (const Case& c : cases.all()) {
        if (!isWanted(c, argc - 1, argv + 1))
            continue;
        Result r;
        try {
            r = judge(c);
        } catch (const std::exception& e) {
            r.note = std::string("not what is to be measured: ") + e.what();
            r.bad = true;
        }
        print(c, r);
        ++count;
        leaps += !r.bad && !r.note.empty();
        if (r.bad)
            bad.emplace_back(&c, r);
    }
    // A bad moment of the machine does not come twice: what could be measured is measured again in the end.
    for (auto& [c, r] : bad) {
        if (r.seconds() > 0) {
            r = judge(*c);
            print(*c, r);
        }
    }
    const auto first = std::remove_if(bad.begin(), bad.end(), [](const auto& b) { return !b.second.bad; });
    leaps += static_cast<int>(bad.end() - first);
    bad.erase(first, bad.end());
    std::printf("\n%d operations; %d with one doubling above %.1f, %d that stay above it\n", count, leaps,
                limit, static_cast<int>(bad.size()));
    for (const auto& [c, r] : bad)
        print(*c, r);
    return bad.empty() && count ? 0 : 1;
}
