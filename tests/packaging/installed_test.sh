#!/usr/bin/env bash
# installed_test.sh BUILD_TREE: the packages made of that build, unpacked into an empty root, give a
# host all that it needs: to be built with pkg-config or CMake alone, and to run; keltoctl likewise.
set -euo pipefail
here=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
root=$(cd "$here/../.." && pwd)
readonly here root build=$1
export LC_ALL=C.UTF-8
die() { printf 'installed_test: %s\n' "$*" >&2; exit 1; }
same() { # WHAT FOUND WANTED
    [[ $2 == "$3" ]] || die "$1 is
$2
instead of
$3"
}

work=$(mktemp -d)
# shellcheck disable=SC2064  # now: the variable is gone when the trap runs
trap "rm -rf '$work'" EXIT
multiarch=$(dpkg-architecture -qDEB_HOST_MULTIARCH)
readonly lib=usr/lib/$multiarch installed=$work/root

make_packages() { "$root/packaging/make-packages" "$build" "$1" 2>"$1.log" ||
    { cat "$1.log" >&2; die "the packages could not be made"; }; }
# Twice, at another time and by somebody with other habits.
(umask 077 && sleep 1.5 && make_packages "$work/again") &
make_packages "$work/packages"
wait $!
for package in "$work"/packages/*.deb; do
    cmp "$package" "$work/again/${package##*/}" || die "${package##*/} is not made the same twice"
    dpkg-deb -x "$package" "$installed"
done

contents() { dpkg-deb --fsys-tarfile "$work"/packages/"$1"_*.deb | tar tv --numeric-owner |
    awk '$1 !~ /^d/ {print $1, $2, $6 ($7 == "" ? "" : " " $7 " " $8)}' |
    sed "s/$multiarch/ARCH/g" | sort -k 3; }
same "what libkelto1 holds" "$(contents libkelto1)" "$(cat "$here/libkelto1.contents")"
same "what libkelto-dev holds" "$(contents libkelto-dev)" "$(cat "$here/libkelto-dev.contents")"
for line in '-rwxr-xr-x 0/0 ./usr/bin/keltoctl' '-rw-r--r-- 0/0 ./usr/share/man/man1/keltoctl.1.gz' \
    '-rw-r--r-- 0/0 ./usr/share/kelto/schema/keltoctl.schema.json'; do
    contents keltoctl | grep -xF -- "$line" >/dev/null || die "keltoctl's package lacks $line"
done
# It looks into the store as well as through the library: both must know the same format.
version=$(dpkg-parsechangelog -l "$root/packaging/debian/changelog" -S Version)
dpkg-deb -f "$work"/packages/keltoctl_*.deb Depends | grep -F "libkelto1 (= $version)" >/dev/null ||
    die "keltoctl does not need the library of its own version"

binaries=("$installed/$lib/libkelto.so.1" "$installed/usr/bin/keltoctl")
for binary in "${binaries[@]}"; do
    same "the search path inside $binary" "$(readelf -d "$binary" | grep -E 'R(UN)?PATH' || true)" ""
    same "the debug information of $binary" \
        "$(readelf -S "$binary" | grep -E '\.(debug_|symtab|comment)' || true)" ""
    same "the paths of sources that $binary names" "$(strings "$binary" | grep -E '^[/.].*\.[ch]pp$' || true)" ""
done

# From here on as a stranger, who has the installed files and nothing of this tree but the example.
export LD_LIBRARY_PATH=$installed/$lib XDG_DATA_HOME=$work/data XDG_STATE_HOME=$work/state
cp "$installed/usr/share/doc/libkelto-dev/examples/host.c" "$work/host.c"
uses_installed_library() {
    ldd "$1" | grep -F "libkelto.so.1 => $installed/$lib/libkelto.so.1 " >/dev/null ||
        die "$1 does not find the installed library: $(ldd "$1" | grep kelto)"
}
runs_as_expected() {
    local printed wanted
    uses_installed_library "$1"
    rm -rf "$XDG_DATA_HOME"
    printed=$("$1" "$root/samples/library" "Installed") || die "$1 has failed: $printed"
    wanted=$(sed 's/TITLE/Installed/' "$root/examples/expected-first.txt")
    same "what $1 prints" "$printed" "$wanted"
}

flags() { PKG_CONFIG_LIBDIR=$installed/$lib/pkgconfig pkg-config "$@" kelto; }
resolved() { sed -e "s|/lib/$multiarch/pkgconfig/\.\./\.\./\.\./|/|g" -e 's/ *$//'; }
same "the version that pkg-config says" "$(flags --modversion)" "${version%-*}"
# The paths follow the file, whether or not pkg-config is told that this is another root.
for sysroot in "$installed" ""; do
    same "what pkg-config says with the root “$sysroot”" \
        "$(PKG_CONFIG_SYSROOT_DIR=$sysroot flags --cflags --libs | resolved)" \
        "-I$installed/usr/include -L$installed/$lib -lkelto"
done
export PKG_CONFIG_SYSROOT_DIR=$installed
# shellcheck disable=SC2046  # several words on purpose
cc "$work/host.c" -o "$work/by-pkg-config" $(flags --cflags --libs) \
    $(env -u PKG_CONFIG_SYSROOT_DIR pkg-config --cflags --libs glib-2.0)
unset PKG_CONFIG_SYSROOT_DIR
runs_as_expected "$work/by-pkg-config"

configure() { cmake -S "$here/consumer" -B "$work/by-cmake" -G Ninja \
    -DCMAKE_PREFIX_PATH="$installed/usr" -DHOST_SOURCE="$work/host.c" -DWANTED_VERSION="$1" \
    >"$work/log" 2>&1; }
if configure 99; then die "find_package takes version ${version%-*} for 99"; fi
configure "${version%-*}" || { cat "$work/log" >&2; die "find_package does not find Kelto"; }
cmake --build "$work/by-cmake" >"$work/log" || { cat "$work/log" >&2; die "the host is not built"; }
runs_as_expected "$work/by-cmake/host"

keltoctl=$installed/usr/bin/keltoctl
uses_installed_library "$keltoctl"
rm -rf "$XDG_DATA_HOME"
same "keltoctl's version" "$("$keltoctl" --version)" "${version%-*}"
"$keltoctl" import "$root/samples/library" | grep '25 new' >/dev/null || die "keltoctl does not import"
"$keltoctl" tree | grep 'Harbour at dusk' >/dev/null || die "keltoctl does not show what it imported"
echo "installed_test: $(find "$work/packages" -name '*.deb' | wc -l) packages, two hosts and keltoctl"
