#!/usr/bin/env bash
# How times grow: each operation whose input may have any length at n and 2n, up to 1,000,000. Prints a table
# and fails when a ratio stays above 2.3.
#   bench/growth.sh [WORD...]      operations whose names hold one of the words; all of them take 25 minutes
set -euo pipefail
cd "$(dirname "$0")/.."
tools/setup.sh bench
mkdir -p build
cmake --preset bench >build/bench.log 2>&1 || { cat build/bench.log; exit 1; }
cmake --build --preset bench --target ztree_growth -j "${ZTREE_JOBS:-$(nproc)}" -- --quiet
# In large pages the C library's memory leaps less often.
export GLIBC_TUNABLES=glibc.malloc.hugetlb=1
exec build/bench/bench/ztree_growth "$@"
