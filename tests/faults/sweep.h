#pragma once
// Runs an operation with its 1st, 2nd, 3rd ... allocation or file call failing: once, and from there on.

#include "platform/hooks.h"
#include "support/twins.h"

#include <gtest/gtest.h>
#include <ztree/runtime.h>
#include <ztree/text.h>

#include <functional>
#include <map>
#include <memory>
#include <string>

namespace faults {

/// An operation said by its result that it could not do its work.
struct Refused {
    unsigned code; ///< 0 for a neutral result: null, an empty text
};
/// Passes a result on unless it is one of the codes for lack of memory.
long want(long result);
inline void must(bool done)
{
    if (!done)
        throw Refused{0};
}
/// Passes a pointer on that is null for lack of memory alone.
template <class T> T* have(T* p)
{
    if (!p)
        throw Refused{0};
    return p;
}

/// Throws what a file operation returned unless it is 0.
inline void done(long result)
{
    if (result != 0)
        throw Refused{static_cast<unsigned>(result)};
}

// --- outcomes as text ---
template <class Ch> std::string shown(const Ch* s, std::size_t n)
{
    std::string text;
    for (const Ch* end = s + n; s != end; ++s) {
        const unsigned c = static_cast<std::make_unsigned_t<Ch>>(*s);
        text += c < 256 ? std::string(1, static_cast<char>(c)) : "&" + std::to_string(c) + ";";
    }
    return text;
}
inline std::string shown(const ZString& s)
{
    return shown(s.getBuffer(), static_cast<std::size_t>(s.length()));
}
inline std::string shown(const ZStringW& s)
{
    return shown(s.getBuffer(), static_cast<std::size_t>(s.length()));
}
template <class Ch> std::string shown(const Ch* s)
{
    return s ? shown(s, std::char_traits<Ch>::length(s)) : "(null)";
}

/// All that a subject holds, where it can say so.
template <class T> auto stateOf(T& subject, int) -> decltype(subject.told())
{
    return subject.told();
}
template <class T> auto stateOf(T& subject, int) -> decltype(shown(subject))
{
    return shown(subject);
}
template <class T> std::string stateOf(T&, long)
{
    return {};
}

/// What an operation works on, and the operation.
class Scene {
public:
    virtual ~Scene() = default;
    /// Does it and tells all that came out; throws Refused or structExcept.
    virtual std::string act() = 0;
    /// Seen with its text; what an act that was refused must not change.
    virtual std::string state() { return {}; }
};
using MakeScene = std::function<std::unique_ptr<Scene>()>;

/// After an act that was refused
enum class Again {
    same, ///< nothing has changed, and the next one gives what it gives on a fresh subject
    any   ///< what was done before the failure stays
};

using Files = std::map<std::string, std::string>; ///< names and contents
/// What a file operation that failed leaves
enum class Left {
    whole, ///< all files as they were before, or as they are after success
    part   ///< anything
};

/// Checked after every failure: the result is right, or the failure was reported by a code for lack of
/// memory; then nothing has changed and the next act works; no block is left behind.
class Sweep : public ::testing::Test {
protected:
    void SetUp() override { platform::Hooks::on(); }
    void TearDown() override
    {
        platform::Hooks::off();
        s_alsoThrown = ztree::errMemory;
    }
    /// The one other code that may be thrown: growing arrays have their own.
    static inline unsigned s_alsoThrown = ztree::errMemory;

    static void sweepHeap(const std::string& name, const MakeScene& make, Again again);
    /// The same with file calls, which fail with nothing, half or all of their bytes moved. Each run begins
    /// with these files in the folder; the operation's code has to be the one of the failing call.
    static void sweepFiles(const std::string& name, const Files& before, const MakeScene& make, Left left);
    static Files filesNow();
    static constexpr const char* folder = "faults.d";
    static std::string at(const char* file) { return std::string(folder) + "/" + file; }

    /// make() gives a unique_ptr to the subject, act(subject) a std::string; told(), or a string's text, is
    /// its state.
    template <class Make, class Act>
    static void sweep(const std::string& name, Make make, Act act, Again again = Again::same)
    {
        struct Own : Scene {
            Own(Make& m, Act& a) : subject(m()), call(a) {}
            std::string act() override { return call(*subject); }
            std::string state() override { return stateOf(*subject, 0); }
            decltype(std::declval<Make&>()()) subject;
            Act& call;
        };
        sweepHeap(
            name, [&make, &act] { return std::make_unique<Own>(make, act); }, again);
    }
    /// The same for a change: run(subject).
    template <class Make, class Run>
    static void sweepChange(const std::string& name, Make make, Run run, Again again = Again::same)
    {
        sweep(
            name, make, [&run](auto& subject) { return run(subject), std::string(); }, again);
    }
    template <class Act>
    static void files(const std::string& name, const Files& before, Act act, Left left = Left::part)
    {
        struct Own : Scene {
            explicit Own(Act& a) : call(a) {}
            std::string act() override { return call(); }
            Act& call;
        };
        sweepFiles(
            name, before, [&act] { return std::make_unique<Own>(act); }, left);
    }
    template <class Act> static void sweep(const std::string& name, Act act)
    {
        const auto none = [] { return std::make_unique<char>(); };
        sweep(name, none, [&act](char) { return std::string(act()); });
    }
};

/// 1 in the ordinary run; the environment's ZTREE_SWEEP sets more, for larger inputs and every single step.
int depth();
/// Step of a loop that looks at every length only then.
inline unsigned stride()
{
    return depth() > 1 ? 1 : 7;
}
long stepBehind(long nth, bool onward);

} // namespace faults
