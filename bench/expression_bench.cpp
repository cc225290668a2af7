// Integer expressions; muParser in the same run. The larger texts show that time grows with the length alone.

#include <ztree/expression.h>
#include <ztree/ext/expression.h>

#include <benchmark/benchmark.h>

#include <string>

#if defined(BENCH_MUPARSER)
#include <muParser.h>
#endif

namespace {

// 0: 5 characters, 1: 45, 2: 0.9 KB
std::string textOf(int which)
{
    const std::string middle = "(12+3)*4-56/7+(89-10)*2-3*(4+5)-6+7*8-(9-1)+2";
    if (which == 0)
        return "1+2*3";
    std::string text = middle;
    for (int i = 1; which == 2 && i < 20; ++i)
        text += "+" + middle;
    return text;
}

void expressionNew(benchmark::State& state)
{
    const std::string text = textOf(static_cast<int>(state.range(0)));
    for (auto _ : state) {
        const expression e(text.c_str(), static_cast<int>(text.size()));
        benchmark::DoNotOptimize(e.eval());
    }
    state.SetBytesProcessed(state.iterations() * static_cast<long>(text.size()));
}
BENCHMARK(expressionNew)->DenseRange(0, 2);

void expressionEval(benchmark::State& state)
{
    const std::string text = textOf(static_cast<int>(state.range(0)));
    const expression e(text.c_str());
    for (auto _ : state)
        benchmark::DoNotOptimize(e.eval());
    state.SetBytesProcessed(state.iterations() * static_cast<long>(text.size()));
}
BENCHMARK(expressionEval)->DenseRange(0, 2);

void expressionChecked(benchmark::State& state)
{
    const std::string text = textOf(static_cast<int>(state.range(0)));
    for (auto _ : state)
        benchmark::DoNotOptimize(ztree::checkedEval(text));
    state.SetBytesProcessed(state.iterations() * static_cast<long>(text.size()));
}
BENCHMARK(expressionChecked)->DenseRange(0, 2);

#if defined(BENCH_MUPARSER)
void expressionMuParser(benchmark::State& state)
{
    const std::string text = textOf(static_cast<int>(state.range(0)));
    for (auto _ : state) {
        mu::Parser parser;
        parser.SetExpr(text);
        benchmark::DoNotOptimize(parser.Eval());
    }
    state.SetBytesProcessed(state.iterations() * static_cast<long>(text.size()));
}
BENCHMARK(expressionMuParser)->DenseRange(0, 2);
#endif

std::string repeat(const char* unit, long n)
{
    std::string text;
    while (n-- > 0)
        text += unit;
    return text;
}

template <class F> void grow(benchmark::State& state, const std::string& text, F run)
{
    for (auto _ : state)
        benchmark::DoNotOptimize(run(text));
    state.SetItemsProcessed(state.iterations() * state.range(0));
}

int plain(const std::string& text)
{
    return expression(text.c_str()).eval();
}
int checked(const std::string& text)
{
    return ztree::checkedEval(text).value;
}

void growChain(benchmark::State& state)
{
    grow(state, repeat("1-", state.range(0)) + "1", plain);
}
void growParens(benchmark::State& state)
{
    grow(state, repeat("(", state.range(0)) + "1" + repeat(")", state.range(0)), plain);
}
void growNested(benchmark::State& state)
{
    grow(state, repeat("(1+", state.range(0)) + "1" + repeat(")", state.range(0)), plain);
}
void growFalling(benchmark::State& state)
{
    grow(state, repeat("(", state.range(0)) + "1" + repeat("+1)", state.range(0)), plain);
}
void growChecked(benchmark::State& state)
{
    grow(state, repeat("(1+", state.range(0)) + "1" + repeat(")", state.range(0)), checked);
}
#define ZTREE_GROWTH(name)                                                                                   \
    BENCHMARK(name)->Arg(250000)->Arg(500000)->Arg(1000000)->Unit(benchmark::kMillisecond)
ZTREE_GROWTH(growChain);
ZTREE_GROWTH(growParens);
ZTREE_GROWTH(growNested);
ZTREE_GROWTH(growFalling);
ZTREE_GROWTH(growChecked);

} // namespace
