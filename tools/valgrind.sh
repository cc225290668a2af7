#!/bin/bash
# Runs the Linux tests under valgrind's memcheck, with every block from the C library:
#
#   tools/valgrind.sh [FOLDER]...
#
#   FOLDER  a folder of tests (tree, xml ...); without one all that can be watched
#
# Prints errors and definite leaks of each, fails on any, and leaves the whole reports in
# build/linux/valgrind. Left out are tests that fault on purpose, and those that repeat by the hundred
# thousand what others do some times: they would take an hour and find the same.
# VALGRIND_BIN=DIRECTORY takes the programs there and builds nothing.
set -euo pipefail

root=$(dirname "$(dirname "$(realpath "${BASH_SOURCE[0]}")")")
folders=("$@")
((${#folders[@]})) || folders=(platform runtime text containers attrib tree xml datetime csv log)

# Faults, guard pages, and processes that end by a signal.
left_out=*DeathTest.*:FaultGuard.*:FaultTranslation.*:Translator.*:TopLevelFilter*:StructExcept.crosses*
left_out+=:StructExcept.faultDumps*
left_out+=:StructExcept.uhxDump*:CrashReport.*:LogText.badFormats*
left_out+=:*.formatsAndSurvivesBadArguments
# Long ones.
left_out+=:*Random*:*random*:*.equalsPlainSteps:*Model*.*:*.agreesWithTheModel:csvModel.*:PrintAgainstLibc.*
left_out+=:Strings/*.searchRestarts*:*epth*:Pool.memory*:Codepage.answersAsRecorded:Utf8Kernels.*
left_out+=:*.sameBytesEverywhere:TreeStream.givesBackEveryTree:*Linear*:*LoseNothing*:*loseNothing*:TreeFaults/*

command -v valgrind >/dev/null || { echo "valgrind is missing: run tools/setup.sh valgrind" >&2; exit 2; }
bin=${VALGRIND_BIN:-}
if [[ ! $bin ]]; then
    bin=$root/build/linux/bin
    [[ -f $root/build/linux/build.ninja ]] || cmake --preset linux -S "$root" >/dev/null
    cmake --build "$root/build/linux" --target "${folders[@]/#/test_}" >/dev/null
fi
reports=$root/build/linux/valgrind
mkdir -p "$reports"

export ZTREE_HEAP=system ZTREE_STRESS=2000
failed=0
printf '%-12s %6s %7s %16s %8s\n' folder tests errors 'bytes leaked' seconds
for folder in "${folders[@]}"; do
    report=$reports/$folder.txt output=$reports/$folder.out started=$SECONDS
    (cd "$bin" && valgrind --leak-check=full --errors-for-leak-kinds=definite --error-exitcode=99 \
        --num-callers=20 --suppressions="$root/tools/valgrind.supp" --log-file="$report" "./test_$folder" "--gtest_filter=-$left_out") \
        >"$output" 2>&1 && code=0 || code=$?
    tests=$(sed -n 's/^\[  PASSED  \] \([0-9]*\) test.*/\1/p' "$output")
    errors=$(sed -n 's/.*ERROR SUMMARY: \([0-9,]*\) errors.*/\1/p' "$report" | tail -n 1)
    leaked=$(sed -n 's/.*definitely lost: \([0-9,]*\) bytes.*/\1/p' "$report" | tail -n 1)
    printf '%-12s %6s %7s %16s %8d\n' "$folder" "${tests:-0}" "${errors:-?}" "${leaked:-0}" $((SECONDS - started))
    if ((code != 0)); then
        failed=1
        grep -E '^\[  FAILED  \]' "$output" || true
        sed -n 's/^==[0-9]*== //; 7,40p' "$report"
    fi
done
exit $failed
