// Attribute lists beside XML libraries and a vector of string pairs: text to list with one lookup, growth up
// to 1,000,000 attributes, lookups by name.

#include <benchmark/benchmark.h>
#include <ztree/attributes.h>

#include <cstring>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#if BENCH_PUGIXML
#include <pugixml.hpp>
#endif
#if BENCH_TINYXML2
#include <tinyxml2.h>
#endif

namespace {

const char* const line = R"(id="7" name="pump station" unit="bar" limit="12.5" active="yes" note="")";

void parseList(benchmark::State& state)
{
    for (auto _ : state) {
        ZAttribList list(line);
        benchmark::DoNotOptimize(list.getAttrib("active"));
    }
}
BENCHMARK(parseList);

// The list and its room are used again.
void parseListAgain(benchmark::State& state)
{
    ZAttribList list;
    for (auto _ : state) {
        list.setData(line);
        benchmark::DoNotOptimize(list.getAttrib("active"));
    }
}
BENCHMARK(parseListAgain);

void parseWideList(benchmark::State& state)
{
    const std::basic_string<zwchar> text(line, line + std::strlen(line));
    for (auto _ : state) {
        ZAttribWList list(text.c_str());
        benchmark::DoNotOptimize(list.getAttrib(ZTEXT("active")));
    }
}
BENCHMARK(parseWideList);

void parseVector(benchmark::State& state)
{
    for (auto _ : state) {
        std::vector<std::pair<std::string, std::string>> list;
        for (std::string_view rest = line; !rest.empty();) {
            const std::size_t equals = rest.find("=\"");
            const std::size_t close = rest.find('"', equals + 2);
            list.emplace_back(rest.substr(0, equals), rest.substr(equals + 2, close - equals - 2));
            rest.remove_prefix(std::min(rest.size(), close + 2));
        }
        for (const auto& entry : list)
            if (entry.first == "active")
                benchmark::DoNotOptimize(entry.second.c_str());
    }
}
BENCHMARK(parseVector);

#if BENCH_PUGIXML
void parsePugixml(benchmark::State& state)
{
    const std::string text = std::string("<a ") + line + "/>";
    for (auto _ : state) {
        pugi::xml_document doc;
        doc.load_buffer(text.data(), text.size(), pugi::parse_default, pugi::encoding_utf8);
        benchmark::DoNotOptimize(doc.first_child().attribute("active").value());
    }
}
BENCHMARK(parsePugixml);
#endif
#if BENCH_TINYXML2
void parseTinyxml2(benchmark::State& state)
{
    const std::string text = std::string("<a ") + line + "/>";
    for (auto _ : state) {
        tinyxml2::XMLDocument doc;
        doc.Parse(text.data(), text.size());
        benchmark::DoNotOptimize(doc.RootElement()->Attribute("active"));
    }
}
BENCHMARK(parseTinyxml2);
#endif

std::string name(long i)
{
    return "name" + std::to_string(i);
}

// Linear: the time of an attribute stays.
void parseGrowth(benchmark::State& state)
{
    std::string text;
    for (long i = 0; i < state.range(0); ++i)
        text += name(i) + "=\"value\" ";
    for (auto _ : state)
        benchmark::DoNotOptimize(ZAttribList(text.c_str()).size());
    state.SetItemsProcessed(state.iterations() * state.range(0));
}
BENCHMARK(parseGrowth)->RangeMultiplier(2)->Range(62'500, 1'000'000)->Unit(benchmark::kMillisecond);

void setGrowth(benchmark::State& state)
{
    std::vector<std::string> names;
    for (long i = 0; i < state.range(0); ++i)
        names.push_back(name(i));
    for (auto _ : state) {
        ZAttribList list;
        for (const std::string& n : names)
            list.setAttrib(n.c_str(), "value");
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
}
BENCHMARK(setGrowth)->RangeMultiplier(2)->Range(62'500, 1'000'000)->Unit(benchmark::kMillisecond);

void lookup(benchmark::State& state)
{
    ZAttribList list;
    std::vector<std::string> names;
    for (long i = 0; i < state.range(0); ++i) {
        names.push_back(name(i));
        list.addAttrib(names.back().c_str(), "value");
    }
    std::size_t next = 0;
    for (auto _ : state) {
        benchmark::DoNotOptimize(list.getAttrib(names[next].c_str()));
        next = (next + 7919) % names.size();
    }
}
BENCHMARK(lookup)->Arg(6)->Arg(16)->Arg(17)->Arg(1000);

} // namespace
