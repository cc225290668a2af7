#!/usr/bin/env bash
# Which lines and branches of the library the tests reach, on Linux: a table by folder, then the lines that none
# reaches. Fails when they reach less than 95 % of the lines.
#   tools/coverage.sh              builds, tests, reports; ten minutes
#   tools/coverage.sh --report     of the last run
# A process that a test lets crash leaves no counts: what only such a process does is listed as not reached.
set -euo pipefail
cd "$(dirname "$0")/.."
build=build/coverage
if [[ ${1-} != --report ]]; then
    tools/setup.sh test
    mkdir -p build
    cmake --preset coverage >build/coverage.log 2>&1 || { cat build/coverage.log; exit 1; }
    cmake --build --preset coverage -j "${ZTREE_JOBS:-$(nproc)}" -- --quiet
    find "$build" -name '*.gcda' -delete
    ctest --preset coverage -E '^(headers|symbols|reference|debug_views)$'    # these run nothing of the library
fi
exec python3 tools/coverage_table.py "$build" 95
