#!/usr/bin/env bash
# Builds the reference into build/doc (start at build/doc/html/index.html) and counts what it documents.
set -euo pipefail
cd "$(dirname "$0")/.."
tools/setup.sh doc
export ZTREE_DOC=build/doc
ZTREE_VERSION=$(sed -n 's/^project(ztree VERSION \([0-9.]*\).*/\1/p' CMakeLists.txt)
export ZTREE_VERSION
rm -rf "$ZTREE_DOC"
mkdir -p "$ZTREE_DOC"
doxygen doc/Doxyfile
python3 doc/count.py "$ZTREE_DOC/xml"
echo "reference: $ZTREE_DOC/html/index.html"
