#pragma once
// How the time of an operation grows with its input: a table of cases, each of which measures one run at size
// n.

#include <ztree/attributes.h>
#include <ztree/containers.h>
#include <ztree/text.h>
#include <ztree/tokenizer.h>
#include <ztree/tree.h>
#include <ztree/xml.h>

#include <ctime>
#include <functional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace growth {

/// Seconds that a run of size n took, without what it took to prepare it.
using Run = std::function<double(int n)>;
struct Case {
    std::string name;
    int most; ///< largest size
    Run run;
};
class Cases {
public:
    void group(std::string name) { m_group = std::move(name); }
    void operator()(const std::string& name, Run run, int most = 1'000'000)
    {
        m_all.push_back({m_group + ", " + name, most, std::move(run)});
    }
    const std::vector<Case>& all() const { return m_all; }

private:
    std::string m_group;
    std::vector<Case> m_all;
};
void addText(Cases& add);
void addContainers(Cases& add);
void addTrees(Cases& add);
void addXml(Cases& add);
void addFiles(Cases& add);

/// Of this thread alone, so that a busy machine matters less.
inline double cpuSeconds()
{
    timespec t{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &t);
    return static_cast<double>(t.tv_sec) + static_cast<double>(t.tv_nsec) * 1e-9;
}
template <class F> double once(F f)
{
    const double start = cpuSeconds();
    f();
    return cpuSeconds() - start;
}
/// For what leaves everything as it was: as often as it takes to be longer than the clock's own time.
template <class F> double often(F f)
{
    int rounds = 0;
    double took = 0;
    const double start = cpuSeconds();
    do {
        f();
        ++rounds;
        took = cpuSeconds() - start;
    } while (took < 2e-4);
    return took / rounds;
}
/// The work has to be done, and its result to be what the case is about.
template <class T> void keep(const T& value)
{
    asm volatile("" : : "r"(&value) : "memory");
}
inline void check(bool ok, const char* what)
{
    if (!ok)
        throw std::runtime_error(what);
}

// --- the twins ---
struct Narrow {
    static constexpr const char* suffix = "";
    using Ch = char;
    using String = ZString;
    using Attrib = ZAttrib;
    using List = ZAttribList;
    using Tokenizer = ZTokenizer;
    using Branch = ZTBranch;
    using Tree = ZTree;
    using Tag = ZXmlTag;
    using Reader = ZXmlReader;
    using File = ZXmlFile;
};
struct Wide {
    static constexpr const char* suffix = "W";
    using Ch = zwchar;
    using String = ZStringW;
    using Attrib = ZAttribW;
    using List = ZAttribWList;
    using Tokenizer = ZTokenizerW;
    using Branch = ZTBranchW;
    using Tree = ZTreeW;
    using Tag = ZXmlTagW;
    using Reader = ZXmlReaderW;
    using File = ZXmlFileW;
};

// --- texts ---
template <class Ch> using Text = std::basic_string<Ch>;

/// ASCII as text of either width.
template <class Ch> Text<Ch> text(std::string_view ascii)
{
    return Text<Ch>(ascii.begin(), ascii.end());
}
/// The pattern again and again, n characters.
template <class Ch> Text<Ch> filled(int n, std::string_view pattern = "abc")
{
    Text<Ch> out(n, Ch());
    for (int i = 0; i < n; ++i)
        out[i] = static_cast<Ch>(pattern[i % pattern.size()]);
    return out;
}
/// The pattern n times, with the number of its turn for each '`'.
std::string repeated(int n, std::string_view pattern);
/// n different names.
template <class Ch> std::vector<Text<Ch>> names(int n)
{
    std::vector<Text<Ch>> out;
    out.reserve(n);
    for (int i = 0; i < n; ++i)
        out.push_back(text<Ch>("name" + std::to_string(i)));
    return out;
}
/// 0 to n - 1 in an order without a pattern.
std::vector<int> shuffled(int n);

} // namespace growth
