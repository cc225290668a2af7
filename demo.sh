#!/usr/bin/env bash
# Builds ztree and shows its tool on a real file: look around, find a value, change a copy, convert and back.
#   ./demo.sh [FILE.xml]
set -eu
cd "$(dirname "$0")"
tools/setup.sh demo
mkdir -p build
echo "building in build/demo ..."
cmake --preset demo >build/demo.log 2>&1 || { cat build/demo.log; exit 1; }
cmake --build --preset demo --target ztree_tool -j "${ZTREE_JOBS:-$(nproc)}" -- --quiet

PATH=$PWD/build/demo/bin:$PATH
work=build/demo/work
mkdir -p "$work"
file=${1:-/usr/share/mime/packages/freedesktop.org.xml}
if [ $# -eq 0 ]; then
    part="mime-type[@type='application/json']"
    value="$part/comment[@xml:lang='de']"
else
    part='/*'
    value='/*'
fi

run() { printf '\n$ %s\n' "$1"; eval "$1"; }
run "ztree check '$file'"
run "ztree show -p \"$part\" '$file' | head -n 8"
run "ztree get -1 '$file' \"$value\""
run "ztree set '$file' -o $work/changed.xml \"$part/note/@lang=en\" \"$part/note=changed by the demo\""
run "ztree check $work/changed.xml"
run "ztree show -p \"$part/note\" $work/changed.xml"
run "ztree convert '$file' -t xml -o $work/copy.xml"
run "ztree convert '$file' -t bin -o $work/copy.bin"
run "ztree convert $work/copy.bin -t xml -o $work/back.xml"
run "cmp $work/copy.xml $work/back.xml && echo 'the same, byte for byte'"
run "echo '<a><b></a>' | ztree check - || echo \"exit code \$?\""
