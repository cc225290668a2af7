#!/usr/bin/env bash
# Measures ztree beside the libraries that Debian packages and says which floors and goals are met.
#   bench/run.sh [--markdown]      some minutes; results stay in build/bench/*.json
set -euo pipefail
cd "$(dirname "$0")/.."
tools/setup.sh bench
mkdir -p build
cmake --preset bench >build/bench.log 2>&1 || { cat build/bench.log; exit 1; }
cmake --build --preset bench --target ztree_bench -j "${ZTREE_JOBS:-$(nproc)}" -- --quiet
run()
{
    build/bench/bench/ztree_bench --benchmark_out_format=json "$@" >/dev/null 2>build/bench/run.log ||
        { cat build/bench/run.log; exit 1; }
}
# Of each row the least time of all runs counts, since what else the machine does only adds to it. Large trees
# and documents take their own number of rounds.
table='^(xml(Parse|Write)/|tree(Build|Free|Walk)/[a-zA-Z0-9]+(/bare|/iter|$)|treeChildByName/|treeMemory/)'
for i in 1 2; do
    run --benchmark_filter="$table" --benchmark_out=build/bench/large$i.json --benchmark_min_time=0.2
done
# Where a process happens to lie in memory moves some rows by half: three of them.
for i in 1 2 3; do
    run --benchmark_filter='-^(tree|xml|grow|parseGrowth|setGrowth|thrown|.*[kK]ernel|sort|twoThreads)' \
        --benchmark_out=build/bench/small$i.json --benchmark_min_time=0.02 --benchmark_repetitions=7 \
        --benchmark_enable_random_interleaving=true
done
# The same in a process with a second thread, where counting and locking cost more.
ZTREE_BENCH_THREAD=1 run --benchmark_filter='^(twoThreads|add<(ZArray|MutexVector|SpinVector)>/1000000|read<|BM_copy<)' \
    --benchmark_out=build/bench/threads.json --benchmark_min_time=0.05 --benchmark_repetitions=5 \
    --benchmark_enable_random_interleaving=true
python3 bench/table.py "$@" build/bench/large[12].json build/bench/small[123].json threads:build/bench/threads.json
