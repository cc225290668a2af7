#!/usr/bin/env bash
# Builds ztree and shows its main job on a real file: XML into a tree, a look around, a changed copy.
#   ./demo.sh [FILE.xml]
set -euo pipefail
cd "$(dirname "$0")"
tools/setup.sh demo
file=${1:-/usr/share/mime/packages/freedesktop.org.xml}
mkdir -p build
cmake --preset demo >build/demo.log 2>&1 || { cat build/demo.log; exit 1; }
cmake --build --preset demo --target first_steps -j "${ZTREE_JOBS:-$(nproc)}" -- --quiet
build/demo/bin/first_steps "$file" build/demo/copy.xml
