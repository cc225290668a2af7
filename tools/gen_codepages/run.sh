#!/bin/bash
# Makes the generated tables in platform/ anew: builds gen_codepages for 32-bit Windows and runs it
# under the Wine that `tools/setup.sh test` installed. Takes about a minute.
set -euo pipefail
here=$(dirname "$(realpath "${BASH_SOURCE[0]}")")
root=$(realpath "$here/../..")
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
i686-w64-mingw32-g++-posix -std=c++17 -O2 -Wall -Wextra -static "$here/gen_codepages.cpp" -o "$work/gen.exe"
"$root/tools/run-win32.sh" "$work/gen.exe" "$work"
for file in codepage_tables casemap_tables syserror_messages; do
    cmp -s "$work/${file}_linux.inc" "$root/platform/${file}_linux.inc" || echo "changed: platform/${file}_linux.inc"
    cp "$work/${file}_linux.inc" "$root/platform/${file}_linux.inc"
done
