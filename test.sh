#!/usr/bin/env bash
# Builds ztree and runs every test on both targets: Linux natively, 32-bit Windows under Wine.
#   ./test.sh            linux and win32
#   ./test.sh asan       the named presets instead (linux, linux-debug, asan, tsan, win32)
#   ./test.sh packages   makes the packages and uses the library as others do: installed, unpacked, fetched
set -euo pipefail
cd "$(dirname "$0")"
if [ "${1-}" = packages ]; then
    tools/setup.sh package
    mkdir -p build
    cmake --preset linux >build/linux.log 2>&1 || { cat build/linux.log; exit 1; }
    cmake --build --preset linux --target ztree ztree_tool ztree_pages -j "${ZTREE_JOBS:-$(nproc)}" -- --quiet
    packaging/make.sh all
    exec tests/consumer/run.sh linux win32
fi
tools/setup.sh test

presets=("$@")
[ ${#presets[@]} -gt 0 ] || presets=(linux win32)
jobs=${ZTREE_JOBS:-$(nproc)}
failed=()
lines=()
for preset in "${presets[@]}"; do
    printf '\n== %s ==\n' "$preset"
    started=$SECONDS
    mkdir -p build
    cmake --preset "$preset" >"build/$preset.log" 2>&1 || { cat "build/$preset.log"; exit 1; }
    cmake --build --preset "$preset" -j "$jobs" -- --quiet
    results="build/$preset/test-results"
    rm -rf "$results"
    mkdir -p "$results"
    built=$((SECONDS - started))
    # Each program leaves its results there: CTest counts programs, the sum below counts cases. The path is
    # relative to where the programs run: one that begins with "/" is not absolute on Windows.
    GTEST_OUTPUT="xml:../test-results/" ctest --preset "$preset" || failed+=("$preset")
    cases=$({ cat "$results"/*.xml 2>/dev/null || true; } | sed -n 's/^<testsuites tests="\([0-9]*\)".*/\1/p' | awk '{n += $1} END {print n + 0}')
    lines+=("$preset: $cases test cases, built in ${built} s, tested in $((SECONDS - started - built)) s")
done
printf '\n'
printf '%s\n' "${lines[@]}"
if [ ${#failed[@]} -gt 0 ]; then
    printf 'failed: %s\n' "${failed[*]}"
    exit 1
fi
