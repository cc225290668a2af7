#!/usr/bin/env bash
# Compares what a library exports with what it has to export on both targets:
#
#   packaging/symbols/check.sh [--complete] libztree.so|ztree.dll
#   packaging/symbols/check.sh --update libztree.so ztree.dll
#
# exported.txt lists what both libraries export, differences.txt what only one of them does, or only one that is built
# with its tests, and why. A name that is gone fails the check, as does one that is not the library's own; with
# --complete, for what is packaged, one that is not listed or is there for tests too.
# --update writes exported.txt anew and shows what then belongs into differences.txt.
#
# Names are written alike for both targets: demangled, in the spelling of Linux, with int for every 32-bit or native
# long. So a line may stand there twice, for the overloads of int and long.
set -euo pipefail
here=$(dirname "$(realpath "${BASH_SOURCE[0]}")")
export LC_ALL=C

linux_names() { nm -D --defined-only "$1" | awk '{print $3}'; }
# The name table of the DLL; operations that pop their own arguments carry @BYTES.
win32_names()
{
    i686-w64-mingw32-objdump -p "$1" | sed -n '/\[Ordinal\/Name Pointer\] Table/,/^$/s/^\t\[.* //p' | sed 's/@[0-9]*$//'
}
# wchar_t and char16_t change places on Windows, where the former is the wide text unit.
win32_spelling='s/wchar_t/ZWC/g; s/char16_t/wchar_t/g; s/ZWC/char16_t/g
    s/\b_(EXCEPTION_POINTERS|EXCEPTION_RECORD|CONTEXT|GUID|SYSTEMTIME)\b/\1/g'
common_spelling='s/__va_list_tag\*/char*/g
    s/std::basic_([io]stream)<char, std::char_traits<char> >/std::\1/g
    s/long long/ZLL/g; s/unsigned long/unsigned int/g; s/\blong\b/int/g; s/ZLL/long long/g'

# What the library exports, one name a line, sorted. Names of types are part of their type information.
names()
{
    local target=linux spelling=
    case $1 in *.dll) target=win32 spelling=$win32_spelling ;; esac
    "${target}_names" "$1" | c++filt | sort -u | sed -E "/^typeinfo name for /d; $spelling; $common_spelling" | sort
}
only() { sed -n "s/^$1: //p" "$here/differences.txt"; }

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
fail() { echo "symbols: $1" >&2; exit 1; }

if [[ ${1:-} == --update ]]; then
    for i in linux win32; do
        names "$2" | comm -23 - <(only tests | sort) >"$work/$i"
        shift
    done
    comm -12 "$work/linux" "$work/win32" >"$here/exported.txt"
    { comm -23 "$work/linux" "$work/win32" | sed 's/^/linux: /'
      comm -13 "$work/linux" "$work/win32" | sed 's/^/win32: /'; } | sort >"$work/different"
    sort "$here/differences.txt" | comm -23 "$work/different" - >"$work/unexplained"
    [[ ! -s $work/unexplained ]] || { cat "$work/unexplained"; fail 'these lines have no reason in differences.txt'; }
    exit
fi

complete=
[[ ${1:-} != --complete ]] || { complete=1; shift; }
case $1 in *.dll) target=win32 ;; *) target=linux ;; esac
names "$1" >"$work/found"
{ cat "$here/exported.txt"; only $target; } | sort >"$work/listed"
comm -13 "$work/found" "$work/listed" >"$work/gone"
comm -23 "$work/found" "$work/listed" >"$work/new"
if [[ ! $complete ]]; then
    comm -23 "$work/new" <(only tests | sort) >"$work/own"
    mv "$work/own" "$work/new"
fi
# Before its arguments a name of our own mentions no other library.
sed 's/(.*//' "$work/new" | grep -E '(std|__gnu_cxx|testing|boost|__cxxabiv1)::|^_' >"$work/foreign" || true

[[ ! -s $work/gone ]] || { cat "$work/gone"; fail 'these names are no longer exported'; }
[[ ! -s $work/foreign ]] || { cat "$work/foreign"; fail "these names are not the library's own"; }
if [[ -s $work/new ]]; then
    cat "$work/new"
    [[ ! $complete ]] || fail 'these names are not public, or not listed yet: packaging/symbols/check.sh --update'
    echo "symbols: $(wc -l <"$work/new") new names, listed by packaging/symbols/check.sh --update" >&2
fi
echo "symbols: $target exports $(wc -l <"$work/found") names, $(only $target | wc -l) of them on this target alone"
