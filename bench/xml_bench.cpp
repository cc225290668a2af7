// XML text to tree and back beside the usual libraries: the shared MIME database, the language codes, and a
// document of records of 50 MB. Reading counts the freeing of the tree too.

#include "xml_peers.h"

#include <benchmark/benchmark.h>

#include <fstream>
#include <iterator>

namespace {

using namespace peers;

// --- documents ---

std::string fileText(const char* path)
{
    std::ifstream in(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(in), {});
}

const std::string& mime()
{
    static const std::string text = fileText("/usr/share/mime/packages/freedesktop.org.xml");
    return text;
}

const std::string& languages()
{
    static const std::string text = fileText("/usr/share/xml/iso-codes/iso_639-3.xml");
    return text;
}

const std::string& records()
{
    static const std::string text = [] {
        constexpr std::size_t bytes = 50'000'000;
        std::string out = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<records>\n";
        out.reserve(bytes + 1000);
        for (int i = 0; out.size() < bytes; ++i) {
            const std::string n = std::to_string(i);
            out += "  <record id=\"" + n + "\" kind=\"" + (i % 3 ? "order" : "offer") +
                   "\">\n    <customer>Company " + std::to_string(i % 977) +
                   " &amp; Sons</customer>\n    <street>Lange Stra\xC3\x9F"
                   "e " +
                   n + "</street>\n    <amount currency=\"EUR\">" + n +
                   ".50</amount>\n    <lines>\n      <line article=\"" + std::to_string(i * 7 % 10007) +
                   "\" count=\"2\"/>\n      <line article=\"" + std::to_string(i % 4099) +
                   "\" count=\"12\"/>\n    </lines>\n    <note>Deliver before noon, ring twice; the gate "
                   "closes at "
                   "six.</note>\n  </record>\n";
        }
        return out + "</records>\n";
    }();
    return text;
}

// The document without what the small reader does not know: comments and the list in the DOCTYPE.
const std::string& plain(const std::string& text)
{
    static std::vector<std::pair<const std::string*, std::string>> known;
    for (const auto& entry : known)
        if (entry.first == &text)
            return entry.second;
    Ztree tree;
    tree.parse(text);
    known.reserve(8);
    known.emplace_back(&text, tree.text());
    return known.back().second;
}

// --- benchmarks ---

using Document = const std::string& (*)();

template <class Library> const std::string& textFor(Document document)
{
    return std::is_same<Library, Small>::value ? plain(document()) : document();
}

template <class Library> bool prepare(benchmark::State& state, Library& library, Document document)
{
    const std::string& text = textFor<Library>(document);
    Ztree own;
    if (document().empty() || !own.parse(document())) {
        state.SkipWithError("the document is not there");
        return false;
    }
    Content wanted = contentOf(own);
    Content found;
    if (library.parse(text))
        library.each(found);
    if (std::is_same<Library, Small>::value) // it leaves character references as they are
        found.textBytes = wanted.textBytes, found.valueBytes = wanted.valueBytes;
    if (!found.equals(wanted)) {
        state.SkipWithError("the library reads something else");
        return false;
    }
    return true;
}

template <class Library> void parse(benchmark::State& state, Document document)
{
    {
        Library library;
        if (!prepare(state, library, document))
            return;
    }
    const std::string& text = textFor<Library>(document);
    for (auto _ : state) {
        Library library;
        benchmark::DoNotOptimize(library.parse(text));
    }
    state.SetBytesProcessed(static_cast<std::int64_t>(text.size()) * state.iterations());
}

template <class Library> void write(benchmark::State& state, Document document)
{
    Library library;
    if (!prepare(state, library, document))
        return;
    std::size_t bytes = 0;
    for (auto _ : state)
        benchmark::DoNotOptimize(bytes = library.write());
    state.SetBytesProcessed(static_cast<std::int64_t>(bytes) * state.iterations());
}

const bool registered = [] {
    struct Entry {
        const char* name;
        Document document;
        int iterations; // 0: by time
    };
    for (const Entry& e :
         {Entry{"mime", mime, 0}, Entry{"languages", languages, 0}, Entry{"records50MB", records, 3}}) {
        auto add = [&e](auto* library) {
            using Library = std::remove_pointer_t<decltype(library)>;
            const std::string tail = std::string("/") + Library::name + "/" + e.name;
            benchmark::internal::Benchmark* both[] = {
                benchmark::RegisterBenchmark(("xmlParse" + tail).c_str(), parse<Library>, e.document),
                benchmark::RegisterBenchmark(("xmlWrite" + tail).c_str(), write<Library>, e.document)};
            for (benchmark::internal::Benchmark* b : both) {
                b->Unit(benchmark::kMillisecond);
                if (e.iterations)
                    b->Iterations(e.iterations);
            }
        };
        forEachPeer(add);
        add(static_cast<Small*>(nullptr));
    }
    return true;
}();

} // namespace
