#!/usr/bin/env bash
# Prints what the debugger's views make of a small program and compares: run.sh VIEWS.py PROGRAM EXPECTED.
# Exit code 77 where there is no gdb, or none that may trace a process. When it fails after a change of a class:
# the views keep the order of its fields in LAYOUTS.
set -euo pipefail
command -v gdb >/dev/null || { echo "skipped: no gdb here (package gdb)"; exit 77; }
export LC_ALL=C.UTF-8 ASAN_OPTIONS=detect_leaks=0 # leaks are looked for by what a debugger uses
out=$(gdb -nx -batch -ex "source $1" -ex 'set print address off' -ex 'break look' -ex run -ex 'python
for field in gdb.parse_and_eval("*views").type.fields():
    print(field.name + " = " + gdb.execute("output views->" + field.name, to_string=True))
' -ex kill "$2" 2>&1) || true
if grep -q 'ptrace: Operation not permitted\|Could not trace' <<<"$out"; then
    echo "skipped: no process may be traced here"
    exit 77
fi
diff -u "$3" - <<<"$(sed -n '/^[a-zA-Z]* = /p' <<<"$out")" || { printf '%s\n' "$out"; exit 1; }
