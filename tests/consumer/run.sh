#!/usr/bin/env bash
# Uses the library as others do, from what is installed and not from the build tree:
#
#   tests/consumer/run.sh [linux|win32]...
#
#   linux   find_package, pkg-config, the compiler line of the README; the debs, installed by dpkg; from the sources
#   win32   the same from the zip, in a folder with a blank in its name, and from the sources, run under Wine
#
# Expects the trees of the presets to be built and build/packages to be filled (packaging/make.sh), as ./test.sh
# packages does.
set -euo pipefail
cd "$(dirname "$0")/../.."
project=$PWD app=$PWD/tests/consumer/app
export LC_ALL=C CCACHE_BASEDIR=$project
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
log=$work/log

# step NAME FUNCTION: runs it in a folder of its own; its last output has to be that of the consumer.
step()
{
    local started=$SECONDS result
    mkdir -p "$work/$2"
    set +e # in an "if" the step would not end at its first failure
    (set -e; cd "$work/$2"; "$2") >"$log" 2>&1
    result=$?
    set -e
    ((result == 0)) || { cat "$log"; echo "consumer: FAILED: $1" >&2; exit 1; }
    echo "consumer: $1: good ($((SECONDS - started)) s)"
}
# check COMMAND...: what the consumer prints.
check()
{
    local printed
    printed=$("$@" | tr -d '\r') || { echo "$1 ended with $?: $printed"; return 1; }
    [[ $printed == '<order><item>bread</item></order>'$'\n''caught 0x8007000E' ]] || { echo "printed: $printed"; return 1; }
}
build() { cmake -G Ninja -S "$app" -B . "$@" && cmake --build . -j 2; }
no_path_of_ours() { if grep -rl -e "$project" -e "$work" "$1"; then echo 'a path of this machine stays in it'; return 1; fi; }
# The README's line for a plain compiler, with the words that stand for the reader's own.
readme_line() { sed -n "s/^    \($1 .*-lztree.*\)/\1/p" "$project/README.md"; }

# --- Linux ---
installed()
{
    cmake --install "$project/build/linux" --prefix "$work/first/ztree"
    mkdir "$work/a blank"
    mv "$work/first/ztree" "$work/a blank/ztree" # all of it can be moved
    prefix="$work/a blank/ztree"
    [[ $("$prefix/bin/ztree" --version) == "ztree "* ]]
    no_path_of_ours "$prefix"
    [[ -s $prefix/share/man/man1/ztree.1 ]]
    bash -n "$prefix/share/bash-completion/completions/ztree"
}
package()
{
    build -DCMAKE_PREFIX_PATH="$prefix"
    check ./consumer
}
pkg()
{
    export PKG_CONFIG_PATH="$prefix/lib/pkgconfig"
    pkg-config --exact-version=2.0.0 ztree
    [[ $(pkg-config --variable=faults_cflags ztree) == -fnon-call-exceptions ]]
    eval "g++ '$app/consumer.cpp' $(pkg-config --cflags --libs ztree) -o consumer"
    LD_LIBRARY_PATH="$prefix/lib" check ./consumer
}
plain()
{
    local line
    line=$(readme_line g++)
    [[ $line ]]
    cp "$app/consumer.cpp" app.cpp
    ZTREE=$prefix eval "$line"
    check ./app
}
# From the sources; further arguments are CMake's.
from_sources()
{
    local launcher=()
    command -v ccache && launcher=(-DCMAKE_CXX_COMPILER_LAUNCHER=ccache)
    build -DZTREE_SOURCE="$project" "${launcher[@]}" "$@"
}
fetched()
{
    from_sources
    check ./consumer
}
subdirectory()
{
    from_sources -DZTREE_SUBDIRECTORY=ON
    check ./consumer
}
# A copy of this machine's root that lives in memory, with the current folder in it; runs its arguments there.
in_copy()
{
    unshare --mount --pid --fork --kill-child bash -ec '
        mount -t tmpfs ztree /mnt
        mkdir /mnt/upper /mnt/work /mnt/root
        mount -t overlay -o lowerdir=/,upperdir=/mnt/upper,workdir=/mnt/work ztree /mnt/root
        mkdir -p "/mnt/root$PWD"
        for dir in /proc /dev "$PWD"; do
            mount --rbind "$dir" "/mnt/root$dir"
        done
        exec unshare --root=/mnt/root --wd="$PWD" "$@"' - "$@"
}
# Installs, uses and removes the debs.
debs()
{
    cp "$project"/build/packages/*.deb "$app/consumer.cpp" .
    in_copy sh -ec '
        dpkg -i ./*.deb
        ztree --version
        g++ consumer.cpp $(pkg-config --cflags --libs ztree) -o consumer
        ./consumer >printed
        dpkg -r ztree-tools libztree-dev libztree1
        test ! -e /usr/include/ztree
        if ./consumer; then exit 1; fi'
    check cat printed
}
# Not even a warning, where Debian's checker is installed.
checked_debs() { lintian --allow-root --fail-on error,warning "$project"/build/packages/*.deb; }
# Unpacked only, so the loader has to be told.
unpacked_debs()
{
    for deb in "$project"/build/packages/*.deb; do
        dpkg-deb -x "$deb" root
    done
    local libraries=("$PWD"/root/usr/lib/*/)
    export LD_LIBRARY_PATH=${libraries[0]}
    root/usr/bin/ztree --version
    build -DCMAKE_PREFIX_PATH="$PWD/root/usr"
    check ./consumer
    [[ $(readelf -d root/usr/bin/ztree) != *RUNPATH* ]]
}

# --- 32-bit Windows ---
zip= win32=-DCMAKE_TOOLCHAIN_FILE=$project/cmake/toolchain-win32.cmake
wine() { "$project/tools/run-win32.sh" "$@"; }
unpacked()
{
    mkdir -p "$work/my programs"
    unzip -q "$project"/build/packages/ztree-*-win32.zip -d "$work/my programs"
    zip=$(echo "$work/my programs"/ztree-*-win32)
    no_path_of_ours "$zip"
    # All that the programs need lies beside them, or is Windows' own.
    local file name
    for file in "$zip"/bin/*; do
        i686-w64-mingw32-objdump -p "$file" | sed -n 's/^\tDLL Name: //p' | while read -r name; do
            case ${name,,} in
                kernel32.dll | msvcrt.dll | user32.dll | advapi32.dll | ole32.dll | oleaut32.dll | dbghelp.dll) ;;
                *) [[ -f $zip/bin/$name ]] || { echo "$file needs $name"; exit 1; } ;;
            esac
        done
    done
    wine "$zip/bin/ztree.exe" --version
}
win32_package()
{
    build "$win32" -Dztree_DIR="$zip/lib/cmake/ztree"
    cp consumer.exe "$zip/bin"
    check wine "$zip/bin/consumer.exe"
}
win32_plain()
{
    local line
    line=$(readme_line i686-w64-mingw32-g++-posix)
    [[ $line ]]
    cp "$app/consumer.cpp" app.cpp
    ZTREE=$zip eval "$line"
    cp app.exe "$zip/bin"
    check wine "$zip/bin/app.exe"
}
win32_pkg()
{
    # Nothing but the zip's own file: the machine's libraries are for another target.
    export PKG_CONFIG_LIBDIR="$zip/lib/pkgconfig" PKG_CONFIG_PATH=
    pkg-config --exact-version=2.0.0 ztree
    [[ $(pkg-config --variable=prefix ztree) == */ztree-*-win32/* ]]
    eval "i686-w64-mingw32-g++-posix -std=c++17 $(pkg-config --variable=faults_cflags ztree)" \
        "'$app/consumer.cpp' $(pkg-config --cflags --libs ztree) -o pkg.exe"
    cp pkg.exe "$zip/bin"
    check wine "$zip/bin/pkg.exe"
}
# The library's DLL is put beside the program by the program's own build.
win32_fetched()
{
    from_sources "$win32"
    check wine "$PWD/consumer.exe"
}
win32_subdirectory()
{
    from_sources "$win32" -DZTREE_SUBDIRECTORY=ON
    check wine "$PWD/consumer.exe"
}

[[ $# -gt 0 ]] || set -- linux win32
for target; do
    case $target in
        linux)
            step 'installed and moved' installed
            prefix="$work/a blank/ztree"
            step 'find_package' package
            step 'pkg-config' pkg
            step 'plain compiler line' plain
            step 'debs, unpacked' unpacked_debs
            if command -v lintian >/dev/null; then
                step 'debs, lintian' checked_debs
            fi
            if (cd "$work" && in_copy true) 2>/dev/null; then
                step 'debs, installed by dpkg' debs
            else
                echo 'consumer: debs, installed by dpkg: left out, it takes root and overlay mounts'
            fi
            step 'FetchContent' fetched
            step 'add_subdirectory' subdirectory
            ;;
        win32)
            step 'zip, tool' unpacked
            zip=$(echo "$work/my programs"/ztree-*-win32)
            step 'zip, find_package' win32_package
            step 'zip, pkg-config' win32_pkg
            step 'zip, plain compiler line' win32_plain
            step 'FetchContent for Windows' win32_fetched
            step 'add_subdirectory for Windows' win32_subdirectory
            ;;
        *) echo "usage: tests/consumer/run.sh [linux|win32]..." >&2; exit 2 ;;
    esac
done
