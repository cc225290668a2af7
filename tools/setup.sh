#!/bin/bash
# Installs what ztree needs on Debian 12, and only what is missing:
#
#   tools/setup.sh [build|demo|test|package|bench|fuzz|valgrind|lint|doc|all]...
#
#   build   native compiler, CMake, Ninja (the default)
#   demo    build + a large XML file to read
#   test    build + GoogleTest, ccache, the 32-bit Windows compiler and Wine
#   package test + what makes and tries packages
#   bench   build + Google Benchmark and the libraries compared with
#   fuzz    build + clang 14 with libFuzzer
#   valgrind test + valgrind
#   lint    build + clang-format and clang-tidy
#   doc     Doxygen
#
# Packages need root or sudo without a password; otherwise the command to run is
# printed. 32-bit Wine needs neither: its packages are unpacked, not installed,
# into ${ZTREE_CACHE:-~/.cache/ztree}/wine32-root, so that nothing of this
# machine's own libraries is touched. A second run finds all there and ends at once.
set -euo pipefail

die() { echo "setup: $*" >&2; exit 1; }

tools=$(dirname "$(realpath "${BASH_SOURCE[0]}")")
cache=${ZTREE_CACHE:-${XDG_CACHE_HOME:-${HOME:-/root}/.cache}/ztree}
wine=$cache/wine32-root
recipe=1    # raise it when the way Wine is made below changes: old copies are then made anew

# package:probe, where a probe is a command, or a file if it has a slash (* allowed).
inc=/usr/include
build="g++:g++ cmake:cmake ninja-build:ninja"
demo="shared-mime-info:/usr/share/mime/packages/freedesktop.org.xml"
gtest="ccache:ccache libgtest-dev:/usr/src/googletest/CMakeLists.txt"
test="$gtest
    g++-mingw-w64-i686-posix:i686-w64-mingw32-g++-posix"
bench="libbenchmark-dev:$inc/benchmark/benchmark.h
    libpugixml-dev:$inc/pugixml.hpp libtinyxml2-dev:$inc/tinyxml2.h libxml2-dev:$inc/libxml2/libxml/parser.h
    libboost-dev:$inc/boost/version.hpp libfccp-dev:$inc/libfccp/csv.h
    libicu-dev:$inc/unicode/ucnv.h libfmt-dev:$inc/fmt/core.h
    libspdlog-dev:$inc/spdlog/spdlog.h libmuparser-dev:$inc/muParser.h libabsl-dev:$inc/absl/base/config.h
    qtbase5-dev:$inc/*/qt5/QtCore/QString"
fuzz="clang-14:clang-14 libclang-rt-14-dev:/usr/lib/llvm-14/lib/clang/14*/lib/linux/libclang_rt.fuzzer-x86_64.a"
package="dpkg-dev:dpkg-shlibdeps file:file pkgconf:pkgconf unzip:unzip clang-14:clang++-14"
valgrind="valgrind:valgrind"
lint="clang-format:clang-format clang-tidy:clang-tidy"
doc="doxygen:doxygen"

want='' need_wine=''
for group in "${@:-build}"; do
    case $group in
        build) want+=" $build" ;;
        demo) want+=" $build $demo" ;;
        test) want+=" $build $test" need_wine=1 ;;
        package) want+=" $build $test $package" need_wine=1 ;;
        bench) want+=" $build $bench" ;;
        fuzz) want+=" $build $fuzz" ;;
        valgrind) want+=" $build $gtest $valgrind" ;;
        lint) want+=" $build $lint" ;;
        doc) want+=" $doc" ;;
        all) want+=" $build $demo $test $package $bench $fuzz $valgrind $lint $doc" need_wine=1 ;;
        *) die "unknown group '$group'; there are: build demo test package bench fuzz valgrind lint doc all" ;;
    esac
done

# Sets $missing to the packages whose probe fails.
find_missing()
{
    missing=()
    local item probe
    set -f          # a probe's * is for compgen
    for item in $want; do
        probe=${item#*:}
        case $probe in
            */*) compgen -G "$probe" >/dev/null ;;
            *) command -v "$probe" >/dev/null ;;
        esac || [[ " ${missing[*]-} " == *" ${item%%:*} "* ]] || missing+=("${item%%:*}")
    done
    set +f
}

have_wine() { [[ $(cat "$wine/complete" 2>/dev/null) == "$recipe" ]]; }

# Runs a step with its output kept back, and shown only if it fails.
quietly()
{
    "$@" >"$log" 2>&1 </dev/null || { tail -n 25 "$log" >&2; die "failed: $* (whole output: $log)"; }
}

install_packages()
{
    local as_root=() apt=(apt-get -y -q --no-install-recommends -o DPkg::Lock::Timeout=600 install "${missing[@]}")
    command -v apt-get >/dev/null || die "no apt-get here; install by hand: ${missing[*]}"
    if ((EUID != 0)); then
        sudo -n true 2>/dev/null || die "missing, and neither root nor sudo at hand. Run this, then setup again:
  sudo apt-get update && sudo apt-get install -y --no-install-recommends ${missing[*]}"
        as_root=(sudo -n)
    fi
    echo "setup: installing ${missing[*]}"
    # A foreign source that is down does not matter as long as the packages are found.
    "${as_root[@]}" apt-get -q update >"$log" 2>&1 || true
    quietly "${as_root[@]}" env DEBIAN_FRONTEND=noninteractive "${apt[@]}"
}

# apt with the host's sources, proxies and keys, but as if for an empty i386 machine under $1.
apt_i386()
{
    local dir=$1
    shift
    apt-get -y -q --no-install-recommends -o APT::Architecture=i386 -o APT::Architectures=i386 \
        -o APT::Sandbox::User= -o Debug::NoLocking=1 -o Dir::State="$dir" \
        -o Dir::State::status="$dir/status" -o Dir::Cache="$dir" "$@"
}

unpack_all()
{
    local deb zlib=$2/usr/lib/i386-linux-gnu/wine/i386-windows/zlib1.dll
    for deb in "$1"/archives/*.deb; do
        dpkg-deb --fsys-tarfile "$deb" | tar -x -C "$2" --exclude='./usr/share/doc/*' \
            --exclude='./usr/share/locale/*' --exclude='./usr/share/man/*' --exclude='./usr/share/iso-codes/*' ||
            return 1
    done
    # What the packages' own scripts would do, or expect a shell for.
    ln -sf wineserver32 "$2/usr/lib/wine/wineserver"
    cp "$2/usr/i686-w64-mingw32/lib/zlib1.dll" "$zlib" &&
        printf '%s%016d' 'Wine builtin DLL' 0 | tr 0 '\0' | dd of="$zlib" bs=1 seek=64 conv=notrunc
}

# Fills $1 with the Wine files and the template of a Wine prefix.
make_wine()
{
    local root=$1 fetch=$1/fetch prefix=$1/prefix dlls service
    mkdir -p "$fetch"/{lists,archives}/partial "$root"/{mnt,prefix,usr/{src,local,share/zoneinfo,lib/gcc,i686-w64-mingw32}}
    : >"$fetch/status"
    apt_i386 "$fetch" update >"$log" 2>&1 || true
    quietly apt_i386 "$fetch" --download-only install wine32 libc-bin
    quietly unpack_all "$fetch" "$root"
    rm -rf "$fetch"

    # No menus, no dialog after a crash, no window system; and none of the
    # services that cost start-up time and serve devices.
    {
        printf 'REGEDIT4\n\n[HKEY_CURRENT_USER\\Software\\Wine\\DllOverrides]\n'
        printf '"%s"=""\n' winemenubuilder.exe winedbg.exe mscoree mshtml
        printf '\n[HKEY_CURRENT_USER\\Software\\Wine\\WineDbg]\n"ShowCrashDialog"=dword:0\n'
        printf '\n[HKEY_CURRENT_USER\\Software\\Wine\\Drivers]\n"Graphics"="null"\n"Audio"=""\n'
        for service in Eventlog NDIS nsiproxy PlugPlay winebus; do
            printf '\n[HKEY_LOCAL_MACHINE\\System\\CurrentControlSet\\Services\\%s]\n"Start"=dword:4\n' $service
        done
    } >"$prefix/template.reg"
    quietly "$tools/run-win32.sh" --make-prefix "$root"
    [[ -f $prefix/system.reg ]] || die "Wine did not make its prefix (output: $log)"
    mv "$prefix/drive_c/users" "$prefix"

    # The prefix holds copies of Wine's half a gigabyte of DLLs: link them instead.
    dlls=$root/usr/lib/i386-linux-gnu/wine/i386-windows
    (cd "$prefix/drive_c/windows/system32" &&
        comm -12 <(find . -maxdepth 1 -type f -printf '%s %f\n' | sort) \
                 <(find "$dlls" -maxdepth 1 -type f -printf '%s %f\n' | sort) |
        sed "s#^[0-9]* #$dlls/#" | xargs -d '\n' ln -f -t .)
    echo "$recipe" >"$root/complete"
}

install_wine()
{
    local new=$wine.new.$$
    command -v apt-get >/dev/null || die "no apt-get here to fetch 32-bit Wine with"
    echo "setup: unpacking 32-bit Wine into $wine (half a minute)"
    rm -rf "$wine".new.* "$wine".old.*
    trap 'rm -rf "$wine".new.*' EXIT
    make_wine "$new"
    [[ ! -e $wine ]] || mv "$wine" "$wine.old.$$"
    mv "$new" "$wine"
    rm -rf "$wine.old.$$"
}

find_missing
if ((${#missing[@]})) || { [[ $need_wine ]] && ! have_wine; }; then
    mkdir -p "$cache"
    log=$cache/setup.log
    exec 9>"$cache/setup.lock"
    flock -n 9 || { echo "setup: waiting for another setup"; flock 9; }
    find_missing    # the other one may have done it
    ((${#missing[@]} == 0)) || install_packages
    find_missing
    ((${#missing[@]} == 0)) || die "still missing after the installation: ${missing[*]}"
    [[ ! $need_wine ]] || have_wine || install_wine
fi
