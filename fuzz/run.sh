#!/bin/bash
# Builds the fuzz targets and runs them one after the other:
#
#   fuzz/run.sh SECONDS|EXECUTIONS [NAME]...
#
#   30s, 10m    each target for so long
#   200000      each target for so many executions
#   NAME        xml, csv ...; without a name all of them
#
# Every target starts from fuzz/corpus/NAME and from what earlier runs found, which is kept with logs and
# findings in build/fuzz/run. Prints a table; the exit code is 1 when there was a finding or a target could
# not run.
# MAX_LEN=n sets the largest input (else 64 to 256 bytes, which find the most in the same time).
set -euo pipefail

root=$(realpath "$(dirname "${BASH_SOURCE[0]}")/..")
case ${1-} in
    [1-9]*s) limit=-max_total_time=${1%s} ;;
    [1-9]*m) limit=-max_total_time=$((${1%m} * 60)) ;;
    [1-9]*) limit=-runs=$1 ;;
    *) sed -n '2,/^set/{/^set/!s/^# \{0,1\}//p}' "$0"; exit 2 ;;
esac
shift
names=("$@")
((${#names[@]})) || names=($(cd "$root/fuzz" && ls ./*_fuzz.cpp | sed 's#^\./##; s#_fuzz.cpp$##'))

run=$root/build/fuzz/run
mkdir -p "$run/bin" "$run/findings"
[[ -f $root/build/fuzz/build.ninja ]] || cmake --preset fuzz -S "$root" >/dev/null
cmake --build "$root/build/fuzz" --target "${names[@]/%/_fuzz}" >"$run/build.log" 2>&1 ||
    { grep -E "error:|FAILED" "$run/build.log" >&2; exit 2; }
# The copies stay as they are when somebody builds meanwhile.
for name in "${names[@]}"; do
    cp -f "$root/build/fuzz/fuzz/${name}_fuzz" "$run/bin/"
done

figure() { sed -n "s/^stat::$1: *//p" "$2"; }

printf '%-12s %12s %9s %13s %9s\n' target executions "exec/s" "new features" findings
total=0 found=0 broken=0
for name in "${names[@]}"; do
    case $name in
        csv | datetime | tree | xml) length=256 ;;
        *) length=64 ;;
    esac
    args=(-max_len="${MAX_LEN:-$length}" "$limit" -timeout=30 -reload=0 -print_funcs=0 -entropic=0 -print_final_stats=1)
    [[ ! -f $root/fuzz/$name.dict ]] || args+=(-dict="$root/fuzz/$name.dict")
    before=$(find "$run/findings" -name "$name-*" | wc -l)
    log=$run/$name.log
    mkdir -p "$run/corpus/$name"
    code=0
    "$run/bin/${name}_fuzz" "${args[@]}" -artifact_prefix="$run/findings/$name-" \
        "$run/corpus/$name" "$root/fuzz/corpus/$name" >"$log" 2>&1 || code=$?
    count=$(figure number_of_executed_units "$log")
    : "${count:=$(grep -aoE '^#[0-9]+' "$log" | tail -n 1 | tr -d '#')}"
    features=$(grep -aoE ' ft: [0-9]+' "$log" | sed -n '1s/ ft: //p;$s/ ft: //p' | tr '\n' ' ')
    read -r first last <<<"${features:-0 0}"
    now=$(($(find "$run/findings" -name "$name-*" | wc -l) - before))
    printf '%-12s %12d %9d %13d %9d\n' "$name" "${count:-0}" "$(figure average_exec_per_sec "$log")" \
        $((${last:-0} - ${first:-0})) "$now"
    ((now == 0)) || grep -aE '^(==[0-9]+==ERROR|SUMMARY)|Test unit written' "$log" || true
    if ((code != 0 && now == 0)); then # it could not do its work: a bad dictionary, no memory
        tail -n 3 "$log"
        broken=1
    fi
    total=$((total + ${count:-0})) found=$((found + now))
done
printf '%-12s %12d %33d\n' all "$total" "$found"
((found == 0 && broken == 0))
