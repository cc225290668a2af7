#!/usr/bin/env bash
# Which lines and branches of the library the tests reach, on Linux: a table by folder, then the lines that none
# reaches. Fails when they reach less than 95 % of the lines.
#   tools/coverage.sh              builds, tests, reports; details stay in build/coverage/coverage.html
#   tools/coverage.sh --report     of the last run
# Processes that the tests let crash leave no counts: what only these execute is listed here as not reached.
set -euo pipefail
cd "$(dirname "$0")/.."
tools/setup.sh test coverage
build=build/coverage
mkdir -p build
if [[ ${1-} != --report ]]; then
    cmake --preset coverage >build/coverage.log 2>&1 || { cat build/coverage.log; exit 1; }
    cmake --build --preset coverage -j "${ZTREE_JOBS:-$(nproc)}" -- --quiet
    find "$build" -name '*.gcda' -delete
    ctest --preset coverage -E '^(headers|symbols|reference|debug_views)$'  # they run nothing of the library
fi

filters=()
for folder in platform runtime text containers attrib tree xml datetime csv log tool include; do
    filters+=(--filter "$folder/")
done
gcovr --root . --object-directory "$build" "${filters[@]}" --exclude-throw-branches --exclude-unreachable-branches \
    --exclude '.*_table' --merge-mode-functions=merge-use-line-min --gcov-ignore-parse-errors \
    --json "$build/coverage.json" --html-details "$build/coverage.html" "$build" 2>"$build/gcovr.log" ||
    { cat "$build/gcovr.log"; exit 1; }
exec python3 tools/coverage_table.py "$build/coverage.json" 95
