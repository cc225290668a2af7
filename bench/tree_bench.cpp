// Trees of 1,000,000 nodes beside the usual libraries: build, walk, free, memory of a node; a child by name
// among 1,000. Times are of this thread alone.

#include "resident.h"
#include "xml_peers.h"

#include <benchmark/benchmark.h>

#include <cstdio>
#include <ctime>
#include <malloc.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

using namespace peers;

constexpr int groups = 1000;
constexpr int groupSize = 999;
constexpr double nodes = 1.0 + groups + 1.0 * groups * groupSize;

double threadSeconds()
{
    timespec t{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &t);
    return static_cast<double>(t.tv_sec) + static_cast<double>(t.tv_nsec) * 1e-9;
}

double heapBytes()
{
    const struct mallinfo2 info = mallinfo2();
    return static_cast<double>(info.uordblks + info.hblkhd);
}

// Runs the iterations with the time that `act(library)` takes on a fresh library after `before(library)`.
template <class Library, class Before, class Act>
void timed(benchmark::State& state, double items, Before before, Act act)
{
    double total = 0;
    for (auto _ : state) {
        Library library;
        before(library);
        const double start = threadSeconds();
        act(library);
        const double took = threadSeconds() - start;
        state.SetIterationTime(took);
        total += took;
    }
    state.counters["ns/node"] = total * 1e9 / (items * static_cast<double>(state.iterations()));
}

// One step a node: the first bytes of its name and text.
struct Step {
    static constexpr bool attributes = false;
    std::size_t count = 0;
    unsigned sum = 0;
    void element(const char* s)
    {
        ++count;
        sum += static_cast<unsigned char>(*s);
    }
    void text(const char* s) { sum += static_cast<unsigned char>(*s); }
    void attribute(const char*) {}
};

template <class Library> void build(benchmark::State& state, bool attribute)
{
    {
        Ztree own;
        own.build(10, 10, attribute);
        Library library;
        library.build(10, 10, attribute);
        if (!contentOf(library).equals(contentOf(own))) {
            state.SkipWithError("the library builds something else");
            return;
        }
    }
    {
        Library first; // whoever touches memory first pays for the system, and for a virtual machine's host
        first.build(groups, groupSize, attribute);
    }
    timed<Library>(
        state, nodes, [](Library&) {}, [=](Library& l) { l.build(groups, groupSize, attribute); });
}

// In a process of its own, where nothing is kept from other runs. "bytes" counts the memory however it was
// taken, "heap" what the C heap gave.
template <class Library> void memory(benchmark::State& state)
{
    for (auto _ : state) {
        int ends[2];
        if (pipe(ends) != 0)
            return;
        const pid_t child = fork();
        if (child == 0) {
            malloc_trim(0);
            const double before[2] = {residentBytes(), heapBytes()};
            Library library;
            library.build(groups, groupSize, true);
            const double grown[2] = {residentBytes() - before[0], heapBytes() - before[1]};
            const bool told = ::write(ends[1], grown, sizeof grown) == sizeof grown;
            _exit(told ? 0 : 1);
        }
        close(ends[1]);
        double grown[2] = {};
        if (child < 0 || read(ends[0], grown, sizeof grown) != sizeof grown)
            state.SkipWithError("no figures");
        close(ends[0]);
        waitpid(child, nullptr, 0);
        state.counters["bytes/node"] = grown[0] / nodes;
        state.counters["heap/node"] = grown[1] / nodes;
    }
}

template <class Library> void freeAll(benchmark::State& state, bool attribute)
{
    timed<Library>(
        state, nodes, [=](Library& l) { l.build(groups, groupSize, attribute); },
        [](Library& l) { l.clear(); });
}

template <class Library> void walk(benchmark::State& state)
{
    Library library;
    library.build(groups, groupSize, true);
    double total = 0;
    for (auto _ : state) {
        Step step;
        const double start = threadSeconds();
        library.each(step);
        const double took = threadSeconds() - start;
        state.SetIterationTime(took);
        total += took;
        benchmark::DoNotOptimize(step.sum);
        if (static_cast<double>(step.count) != nodes) {
            state.SkipWithError("nodes are missing");
            return;
        }
    }
    state.counters["ns/node"] = total * 1e9 / (nodes * static_cast<double>(state.iterations()));
}

const std::vector<std::string>& names()
{
    static const std::vector<std::string> all = [] {
        std::vector<std::string> made;
        for (int i = 0; i < 1000; ++i)
            made.push_back("property" + std::to_string(i));
        return made;
    }();
    return all;
}

template <class Library> void childByName(benchmark::State& state)
{
    Library library;
    library.buildNamed(names());
    std::size_t next = 0;
    for (auto _ : state) {
        const void* found = library.find(names()[next].c_str());
        if (!found) {
            state.SkipWithError("a child is missing");
            return;
        }
        benchmark::DoNotOptimize(found);
        next = (next + 719) % names().size();
    }
}

// Every child once in a tree that was not searched before.
template <class Library> void childByNameFirst(benchmark::State& state)
{
    timed<Library>(
        state, static_cast<double>(names().size()), [](Library& l) { l.buildNamed(names()); },
        [](Library& l) {
            for (std::size_t i = 0; i < names().size(); ++i)
                benchmark::DoNotOptimize(l.find(names()[i * 719 % names().size()].c_str()));
        });
}

// A single search.
template <class Library> void childByNameOnce(benchmark::State& state)
{
    timed<Library>(
        state, 1, [](Library& l) { l.buildNamed(names()); },
        [](Library& l) { benchmark::DoNotOptimize(l.find(names()[500].c_str())); });
}

benchmark::internal::Benchmark* million(benchmark::internal::Benchmark* b)
{
    return b->UseManualTime()->Iterations(3)->Unit(benchmark::kMillisecond);
}

template <class Library> void addBuild(Library*)
{
    const std::string name = Library::name;
    for (bool attribute : {false, true}) {
        const std::string tail = "/" + name + (attribute ? "/attribute" : "/bare");
        million(benchmark::RegisterBenchmark(("treeBuild" + tail).c_str(), build<Library>, attribute));
        million(benchmark::RegisterBenchmark(("treeFree" + tail).c_str(), freeAll<Library>, attribute));
    }
}

template <class Library> void addWalk(Library*)
{
    million(benchmark::RegisterBenchmark((std::string("treeWalk/") + Library::name).c_str(), walk<Library>));
}

const bool registered = [] {
    // First, while the lists of the allocators are still empty.
    forEachPeer([](auto* library) {
        using Library = std::remove_pointer_t<decltype(library)>;
        benchmark::RegisterBenchmark((std::string("treeMemory/") + Library::name).c_str(), memory<Library>)
            ->Iterations(1);
    });
    forEachPeer([](auto* library) {
        using Library = std::remove_pointer_t<decltype(library)>;
        const std::string name = Library::name;
        addBuild(library);
        addWalk(library);
        benchmark::RegisterBenchmark(("treeChildByName/" + name).c_str(), childByName<Library>);
        for (auto& entry : {std::make_pair("treeChildByNameFirst/", childByNameFirst<Library>),
                            std::make_pair("treeChildByNameOnce/", childByNameOnce<Library>)})
            benchmark::RegisterBenchmark((entry.first + name).c_str(), entry.second)->UseManualTime();
    });
    addBuild(static_cast<ZtreeAdd*>(nullptr));
    addWalk(static_cast<ZtreeCursor*>(nullptr));
    return true;
}();

} // namespace
