#!/bin/bash
# Runs a 32-bit Windows program in the Wine that `tools/setup.sh test` made:
#
#   tools/run-win32.sh PROGRAM.exe [ARGUMENT...]
#
# Standard streams, environment, current directory and exit code are the
# program's; the host's files keep their paths (drive Z: is /). DLLs are found
# beside the program and in the compiler's runtime folders; WINEPATH adds more.
#
# Every run has a registry, a C: drive and processes of its own, made from a
# template and gone afterwards: runs neither see nor disturb each other, and
# whatever ends this script ends all that it started. It needs root or
# unprivileged user namespaces. ZTREE_CACHE is the folder setup.sh installed to.
set -euo pipefail

die() { echo "run-win32: $*" >&2; exit 125; }

# --- first stage: enter mount and process namespaces of our own ---
if [[ ${1:-} != --inside ]]; then
    if [[ ${1:-} != --make-prefix ]]; then      # that one is for setup.sh
        [[ $# -ge 1 ]] || die "usage: run-win32.sh PROGRAM.exe [ARGUMENT...]"
        [[ -f $1 ]] || die "no such program: $1"
        wine=${ZTREE_CACHE:-${XDG_CACHE_HOME:-${HOME:-/root}/.cache}/ztree}/wine32-root
        [[ -e $wine/complete ]] || die "no 32-bit Wine in $wine; run: tools/setup.sh test"
        set -- "$wine" "$(realpath "$1")" "${@:2}"     # Wine finds no ./PROGRAM.exe
    fi
    isolate=(unshare --mount --pid --fork --kill-child)
    ((EUID == 0)) || isolate+=(--map-root-user)
    "${isolate[@]}" true || die "namespaces are not allowed here; run as root, or allow unprivileged" \
        "user namespaces (in a container: --privileged, or --cap-add SYS_ADMIN and no seccomp filter)"
    isolate+=("$BASH" "$(realpath "${BASH_SOURCE[0]}")" --inside "$@")
    [[ -t 1 || -t 2 ]] || exec "${isolate[@]}"
    # On a terminal Wine would redraw every character as a console: hide it.
    "${isolate[@]}" 2> >(exec cat >&2) | cat && exit 0 || exit $?
fi

# --- second stage: the first process of the new namespaces; all others end with it ---
shift
trap 'exit 143' TERM
trap 'exit 130' INT HUP
make_prefix=
[[ $1 != --make-prefix ]] || { make_prefix=1; shift; }
wine=$1
shift

# The new root is the host's, but for the folders that hold system libraries.
root=$wine/mnt
mount -t tmpfs -o mode=755 ztree "$root"
for entry in /* /.[!.]*; do
    name=${entry#/}
    case $name in usr | lib* | bin | sbin | boot | proc | run | lost+found) continue ;; esac
    if [[ -L $entry ]]; then
        cp -P "$entry" "$root/$name"
    elif [[ -d $entry ]]; then
        mkdir "$root/$name"
        mount --rbind "$entry" "$root/$name" || die "cannot bind $entry"
    fi
done
mkdir -p "$root"/{usr,lib,proc,run/user/0,wine}
chmod 700 "$root/run/user/0"    # wineserver puts its socket there
mount --bind "$wine/usr" "$root/usr"
mount --bind "$wine/lib" "$root/lib"
for dir in /usr/src /usr/local /usr/share/zoneinfo /usr/lib/gcc /usr/i686-w64-mingw32; do
    [[ ! -d $dir ]] || mount --bind "$dir" "$root$dir"
done
mount -t proc proc "$root/proc" || die "cannot mount /proc (in a container: --security-opt systempaths=unconfined)"

export WINEPREFIX=/wine WINEDEBUG=${WINEDEBUG:--all}
export LC_ALL=C.UTF-8 USER=ztree        # the same code pages and folder names on every machine
unset WINEARCH WINELOADER WINESERVER
inside() { unshare --root="$root" --wd="$PWD" "$@"; }     # chroot(1) would lose the current directory
loader=/usr/lib/wine/wine

if [[ $make_prefix ]]; then
    mount --bind "$wine/prefix" "$root/wine"
    WINEDLLOVERRIDES='mscoree,mshtml,winemenubuilder.exe=' inside "$loader" wineboot --init
    inside "$loader" regedit /S "Z:$wine/prefix/template.reg"
    inside /usr/lib/wine/wineserver32 -w
    exit
fi

cp -R "$wine"/prefix/{*.reg,.update-timestamp,users,dosdevices} "$root/wine"
mkdir "$root"/wine/drive_c
mv "$root"/wine/users "$root"/wine/drive_c
for dir in windows 'Program Files' ProgramData; do
    mkdir "$root/wine/drive_c/$dir"
    mount --bind -o ro "$wine/prefix/drive_c/$dir" "$root/wine/drive_c/$dir"
done
for dir in /usr/lib/gcc/i686-w64-mingw32/*-posix /usr/i686-w64-mingw32/lib; do
    WINEPATH=${WINEPATH:+$WINEPATH;}Z:$dir
done
export WINEPATH

# In the background, so that a signal ends the wait; bash would take stdin away from it.
inside "$loader" "$@" <&0 &
wait $! && exit 0 || exit $?
