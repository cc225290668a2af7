#!/bin/bash
# Compares the Linux substitutes for code pages, case mapping and system messages with the system's own
# calls under Wine, case by case, and prints "N cases, 0 differences":
#
#   tools/compare_codepages/run.sh            compare
#   tools/compare_codepages/run.sh --record   write Wine's answers to tests/platform/codepage_hashes.inc
set -euo pipefail
here=$(dirname "$(realpath "${BASH_SOURCE[0]}")")
root=$(realpath "$here/../..")
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
flags=(-std=c++17 -O2 -I "$root" -I "$root/include" -DZTREE_BUILD)
wine="$root/tools/run-win32.sh"

i686-w64-mingw32-g++-posix "${flags[@]}" -DUNICODE=1 -DNOMINMAX -D_WIN32_WINNT=0x0601 -msse2 -mfpmath=sse -static \
    "$here/codepage_cases.cpp" "$root"/platform/{codepage,syserror}_win32.cpp -o "$work/cases.exe" -luser32
if [[ ${1:-} == --record ]]; then
    "$wine" "$work/cases.exe" hashes | tr -d '\r' >"$work/hashes"
    cp "$work/hashes" "$root/tests/platform/codepage_hashes.inc"
    exit
fi
"$wine" "$work/cases.exe" dump "$work/wine"
g++ "${flags[@]}" "$here/codepage_cases.cpp" \
    "$root"/platform/{codepage,casemap,iconv,singlebyte,syserror,utf8,utf8_sse4,utf8_avx512}_linux.cpp -o "$work/cases"
"$work/cases" dump "$work/linux"
differences=0
"$work/cases" compare "$work/wine" "$work/linux" | tee "$work/result" || differences=1
numbers=$(sed -n 's/^case \([0-9]*\) differs$/\1/p' "$work/result" | head -3)
if [[ $numbers ]]; then
    echo "Wine:"
    "$wine" "$work/cases.exe" show $numbers
    echo "Linux:"
    "$work/cases" show $numbers
fi
exit $differences
