#!/usr/bin/env bash
# Every installed header compiles alone, twice in one file and without a warning, as C++17 and C++20; two files that
# include the same one link.
#
#   headers.sh INCLUDE_DIR WORK_DIR COMPILER...
set -euo pipefail
include=$1 work=$2
shift 2
flags=(-Wall -Wextra -Wpedantic -Wconversion -Wshadow -Werror -O0 -c "-I$include")
mkdir -p "$work"
cache=$(command -v ccache || true)

# The including files are kept as long as they stay the same: what was compiled before then comes from the cache.
list=()
while read -r header; do
    name=$work/${header//\//_}.cpp
    text="#include <$header>"$'\n'"#include <$header>"
    [[ $(cat "$name" 2>/dev/null) == "$text" ]] || echo "$text" >"$name"
    list+=("$name")
done < <(cd "$include" && find ztree -name '*.h' | LC_ALL=C sort)
((${#list[@]})) || { echo "headers: none in $include" >&2; exit 1; }

for compiler in "$@"; do
    for standard in 17 20; do
        out=$work/$(basename "$compiler")-$standard
        mkdir -p "$out"
        printf '%s\0' "${list[@]}" | xargs -0 -P 2 -I{} sh -c \
            'out=$1 source=$2; shift 2; exec "$@" "$source" -o "$out/$(basename "$source").o"' \
            - "$out" {} $cache "$compiler" -std=c++$standard "${flags[@]}"
        "$compiler" -nostdlib -r "$out"/*.o -o "$out.o" || { echo "headers: not to be included twice" >&2; exit 1; }
        rm "$out.o"
        echo "headers: ${#list[@]} compile with $compiler as C++$standard"
    done
done
