#!/usr/bin/env bash
# Builds the packages into build/packages:
#
#   packaging/make.sh [linux|win32|all]
#
#   linux   libztree1, libztree-dev and ztree-tools as .deb for this machine
#   win32   ztree-VERSION-win32.zip: DLL, import library, headers, tool, runtime DLLs, licences
#
# They are made only when the library exports exactly what packaging/symbols lists.
set -euo pipefail
cd "$(dirname "$0")/.."

case ${1:-all} in
    linux | win32) targets=$1 ;;
    all) targets='linux win32' ;;
    *) echo "usage: packaging/make.sh [linux|win32|all]" >&2; exit 2 ;;
esac
tools/setup.sh package

umask 022       # what is installed is for everybody
out=$PWD/build/packages
mkdir -p "$out"
for target in $targets; do
    tree=build/package-$target
    options=(-DCMAKE_BUILD_TYPE=Release -DZTREE_PACKAGES=ON -DZTREE_TESTS=OFF -DZTREE_EXAMPLES=OFF)
    if [[ $target == win32 ]]; then
        options+=(-DCMAKE_TOOLCHAIN_FILE=cmake/toolchain-win32.cmake)
        library=$tree/bin/ztree.dll made="ztree-*-win32.zip"
    else
        # A library that is where the loader looks needs no run path.
        options+=(-DCMAKE_INSTALL_PREFIX=/usr -DCMAKE_SKIP_INSTALL_RPATH=ON)
        options+=(-DCMAKE_SHARED_LINKER_FLAGS=-Wl,-z,relro,-z,now -DCMAKE_EXE_LINKER_FLAGS=-Wl,-z,relro,-z,now)
        library=$tree/lib/libztree.so made="*.deb"
    fi
    cmake -G Ninja -B "$tree" "${options[@]}" >"$out/$target.log" 2>&1 || { cat "$out/$target.log"; exit 1; }
    cmake --build "$tree" -j "${ZTREE_JOBS:-$(nproc)}" -- --quiet
    packaging/symbols/check.sh --complete "$library"
    rm -rf "$tree/packages" "${out:?}"/$made
    (cd "$tree" && cpack) >>"$out/$target.log" 2>&1 || { cat "$out/$target.log"; exit 1; }
    mv "$tree/packages"/$made "$out"
done
ls -l "$out" | awk 'NR > 1 && /(deb|zip)$/ {print $5, $9}'
