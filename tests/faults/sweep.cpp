#include "faults/sweep.h"

#include "faults/calls.h"
#include "faults/process.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>

namespace faults {

using platform::Hooks;
using platform::Site;

namespace {

struct Figures {
    long scenes = 0;
    long runs = 0;  // with a failure
    long calls = 0; // that failed
};
Figures s_heap, s_files, s_system;

// Prints what was done behind the last test.
class Report : public ::testing::Environment {
public:
    void SetUp() override { Hooks::setWitness(&Places::note); }
    void TearDown() override
    {
        Hooks::setWitness(nullptr);
        std::printf("heap: %ld scenes, %ld runs with a failure, %ld failed calls, %zu places\n",
                    s_heap.scenes, s_heap.runs, s_heap.calls, Places::count());
        std::printf("files: %ld scenes, %ld runs with a failure, %ld failed calls\n", s_files.scenes,
                    s_files.runs, s_files.calls);
        std::printf("system: %ld runs with a failure, %ld failed calls\n", s_system.runs, s_system.calls);
        if (const char* path = std::getenv("ZTREE_PLACES"))
            Places::write(path);
    }
};
const auto* const s_report = ::testing::AddGlobalTestEnvironment(new Report);

bool isMemoryCode(long code)
{
    const auto c = static_cast<unsigned>(code);
    return c == ztree::errMemory || c == ztree::errOutOfMemory || c == 14 || c == 8 || c == 0x80070008;
}

struct Outcome {
    bool refused = false;
    bool thrown = false;
    unsigned code = 0;
    std::string text;
};
// Long texts from a little before where they begin to differ.
void expectSame(const std::string& text, const std::string& expected)
{
    if (text == expected)
        return;
    std::size_t from = 0;
    while (from < text.size() && from < expected.size() && text[from] == expected[from])
        ++from;
    from -= std::min<std::size_t>(from, 40);
    ADD_FAILURE() << "instead of \"" << expected.substr(from, 200) << "\": \"" << text.substr(from, 200)
                  << "\"";
}

Outcome outcomeOf(Scene& scene, long* failed = nullptr)
{
    Outcome out;
    try {
        out.text = scene.act();
    } catch (const Refused& r) {
        out.refused = true;
        out.code = r.code;
    } catch (const structExcept& e) {
        out.refused = out.thrown = true;
        out.code = e.getCode();
    }
    if (failed)
        *failed = Hooks::failed(Site::heap);
    Hooks::failAt(Site::heap, 0);
    if (!out.refused)
        out.text += scene.state();
    return out;
}

} // namespace

// The first calls one by one; in the ordinary run only some of those far behind.
long stepBehind(long nth, bool onward)
{
    return depth() > 1 ? 1 : onward && nth > 20 ? 11 : nth > 60 ? 3 : 1;
}

int depth()
{
    static const int n = std::getenv("ZTREE_SWEEP") ? std::max(std::atoi(std::getenv("ZTREE_SWEEP")), 1) : 1;
    return n;
}

long want(long result)
{
    if (isMemoryCode(result))
        throw Refused{static_cast<unsigned>(result)};
    return result;
}

void Sweep::sweepHeap(const std::string& name, const MakeScene& make, Again again)
{
    SCOPED_TRACE(name);
    ++s_heap.scenes;
    const std::string held = make()->state(), expected = outcomeOf(*make()).text;
    for (const bool onward : {false, true}) {
        for (long nth = 1;; nth += stepBehind(nth, onward)) {
            SCOPED_TRACE(testing::Message() << "allocation " << nth << (onward ? " and all behind it" : ""));
            const long before = Hooks::liveBlocks();
            auto scene = make();
            Hooks::failAt(Site::heap, nth, onward);
            long failed = 0;
            const Outcome out = outcomeOf(*scene, &failed);
            s_heap.runs += failed > 0;
            s_heap.calls += failed;
            if (!out.refused) {
                expectSame(out.text, expected);
            } else {
                ASSERT_GT(failed, 0) << std::hex << out.code;
                ASSERT_TRUE(out.code == 0 || isMemoryCode(out.code)) << std::hex << out.code;
                ASSERT_TRUE(!out.thrown || out.code == ztree::errMemory || out.code == s_alsoThrown)
                    << std::hex << out.code;
                if (again == Again::same)
                    expectSame(scene->state(), held);
                const Outcome second = outcomeOf(*scene);
                ASSERT_FALSE(second.refused) << std::hex << second.code;
                if (again == Again::same)
                    expectSame(second.text, expected);
            }
            scene.reset();
            ASSERT_EQ(Hooks::liveBlocks(), before) << "blocks leaked";
            if (failed == 0 || HasFailure())
                break;
        }
    }
}

// --- files ---

namespace {

namespace fs = std::filesystem;

void place(const Files& files, const char* folder)
{
    fs::create_directory(folder);
    for (const auto& entry : fs::directory_iterator(folder))
        fs::remove_all(entry.path());
    for (const auto& [name, content] : files) {
        const fs::path path = fs::path(folder) / name;
        fs::create_directories(path.parent_path());
        std::ofstream(path, std::ios::binary) << content;
    }
}

using How = SystemCalls::How;
struct Way {
    const char* name;
    bool onward;
    unsigned code; // that the operation reports; 0: it does its work all the same; anyCode
    bool half;
    bool isSystem;
    How how;
    int error;
};
constexpr unsigned anyCode = ~0u - 1;
// With a code, moving nothing or half; a read that ends early without one; then the system's own calls.
const Way fileWays[] = {
    {"fails", false, 112, false, false, How::fail, 0},
    {"and all behind it fail", true, 112, false, false, How::fail, 0},
    {"fails half done", false, 1117, true, false, How::fail, 0},
    {"and all behind it fail half done", true, 112, true, false, How::fail, 0},
    {"ends early", false, Hooks::endsEarly, true, false, How::fail, 0},
    {"of the system fails", false, anyCode, false, true, How::fail, ENOSPC},
    {"of the system and all behind it fail", true, anyCode, false, true, How::fail, EIO},
    {"of the system is interrupted", false, 0, false, true, How::interrupt, 0},
    {"of the system moves a half", false, 0, false, true, How::part, 0},
    {"of the system and all behind it move a half", true, 0, false, true, How::part, 0},
};

void arm(const Way& way, long nth)
{
    if (way.isSystem) {
        SystemCalls::failAt(nth, way.onward, way.how, way.error);
        return;
    }
    Hooks::failHalfway(way.half);
    Hooks::failAt(Site::file, nth, way.onward, way.code);
}
long disarm(const Way& way)
{
    const long failed = way.isSystem ? SystemCalls::stop() : Hooks::failed(Site::file);
    Hooks::failAt(Site::file, 0);
    return failed;
}

} // namespace

Files Sweep::filesNow()
{
    const SystemCalls::Pause pause;
    Files all;
    for (const auto& entry : fs::recursive_directory_iterator(folder))
        if (entry.is_regular_file()) {
            std::ifstream in(entry.path(), std::ios::binary);
            all[fs::relative(entry.path(), folder).string()] = {std::istreambuf_iterator<char>(in), {}};
        }
    return all;
}

void Sweep::sweepFiles(const std::string& name, const Files& before, const MakeScene& make, Left left)
{
    SCOPED_TRACE(name);
    ++s_files.scenes;
    place(before, folder);
    const std::string expected = make()->act();
    const Files after = filesNow();
    for (const Way& way : fileWays)
        for (long nth = 1; !way.isSystem || SystemCalls::available(); ++nth) {
            SCOPED_TRACE(testing::Message() << "file call " << nth << " " << way.name);
            place(before, folder);
            const long blocks = Hooks::liveBlocks();
            const long handles = openHandles();
            auto scene = make();
            arm(way, nth);
            const Outcome out = outcomeOf(*scene);
            const long failed = disarm(way);
            Figures& figures = way.isSystem ? s_system : s_files;
            figures.runs += failed > 0;
            figures.calls += failed;
            if (out.refused) {
                ASSERT_GT(failed, 0) << std::hex << out.code;
                ASSERT_TRUE(way.code >= anyCode ||
                            (way.code && (out.code == 0 || (out.code & 0xFFFF) == way.code)))
                    << std::hex << out.code;
                if (left == Left::whole) {
                    Files now = filesNow();
                    for (auto it = now.begin(); way.onward && it != now.end();) {
                        // What is to be removed stays when nothing can be removed.
                        const bool known = before.count(it->first) || after.count(it->first);
                        it = known ? std::next(it) : now.erase(it);
                    }
                    ASSERT_TRUE(now == before || now == after);
                }
                ASSERT_FALSE(outcomeOf(*scene).refused) << "the next one fails too";
            } else if (way.code != Hooks::endsEarly) { // such a file holds anything
                expectSame(out.text, expected);
            }
            scene.reset();
            ASSERT_EQ(Hooks::liveBlocks(), blocks) << "blocks leaked";
            ASSERT_EQ(openHandles(), handles) << "files left open";
            if (failed == 0 || HasFailure())
                break;
        }
    fs::remove_all(folder);
}

} // namespace faults
