#!/usr/bin/env bash
# Builds the Debian packages from the build tree, unpacks them with
# `dpkg-deb -x` as dpkg would lay them out, and checks what each holds and
# that hosts work from the unpacked tree alone: the C++ consumer through
# CMake and pkg-config, the lxfermo command, and the Python example's import.
set -euo pipefail
build=$1
source=$2
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
# shellcheck source=host_checks.sh
. "$source/host_checks.sh"

step "cpack"
(cd "$build" && cpack -G DEB -B "$work/out" >"$work/cpack.log" 2>&1) || { cat "$work/cpack.log"; fail "cpack failed"; }
version=$(sed -n 's/^CMAKE_PROJECT_VERSION:STATIC=//p' "$build/CMakeCache.txt")
deb() { echo "$work/out/${1}_${version}_$(dpkg --print-architecture).deb"; }
listing() { dpkg-deb -c "$(deb "$1")" >"$work/listing" && cat "$work/listing"; }
holds() { listing "$1" | grep -E "$2" >/dev/null || fail "$1 does not hold $2"; }
lacks() { ! listing "$1" | grep -E "$2" >/dev/null || fail "$1 holds $2"; }

step "what each package holds"
holds liblxhotelsfermo1 '/libLXHotelsFermo\.so\.1\.'
holds liblxhotelsfermo1 '/libLXHotelsFermoUI\.so\.1 '
holds liblxhotelsfermo1 '/libLXHotelsFermoGObject\.so\.1 '
lacks liblxhotelsfermo1 '\.h$|\.so$|\.typelib$|bin/'
holds liblxhotelsfermo-dev 'include/LXHotelsFermo/LXHotelsFermoSDK\.h$'
holds liblxhotelsfermo-dev 'include/lxhf/lxhf\.h$'
holds liblxhotelsfermo-dev 'share/gir-1\.0/Lxhf-1\.0\.gir$'
holds liblxhotelsfermo-dev '/libLXHotelsFermo\.so -> '
holds liblxhotelsfermo-dev 'pkgconfig/lxhotelsfermo-gobject\.pc$'
holds gir1.2-lxhf-1.0 '/usr/lib/[^/]+/girepository-1\.0/Lxhf-1\.0\.typelib$'
holds lxfermo '/usr/bin/lxfermo$'
dpkg-deb -f "$(deb liblxhotelsfermo-dev)" Depends | grep -q "liblxhotelsfermo1 (= $version)" ||
  fail "the -dev package does not depend on its exact runtime"
dpkg-deb -f "$(deb gir1.2-lxhf-1.0)" Depends | grep -q "gir1.2-gtk-4.0" || fail "the typelib does not depend on GTK's"

step "unpack"
for package in liblxhotelsfermo1 liblxhotelsfermo-dev gir1.2-lxhf-1.0 lxfermo; do
  dpkg-deb -x "$(deb "$package")" "$work/root"
done
prefix=$work/root/usr
libdir=$(dirname "$(find "$prefix" -name libLXHotelsFermo.so.1)")
[ "$libdir" = "$prefix/lib/$(gcc -print-multiarch)" ] || fail "libraries are in $libdir, not the multiarch folder"

step "a C++ host from the unpacked tree"
consumer packaged
LD_LIBRARY_PATH="$libdir" "$work/packaged/consumer"
# shellcheck disable=SC2046
g++ -std=c++20 "$source/consumer/main.cpp" -o "$work/pc-consumer" \
  $(PKG_CONFIG_PATH="$libdir/pkgconfig" pkg-config --cflags --libs lxhotelsfermo)
LD_LIBRARY_PATH="$libdir" "$work/pc-consumer"
env -u LD_LIBRARY_PATH "$prefix/bin/lxfermo" --help >/dev/null || fail "the unpacked lxfermo does not start"

step "the Python example's import from the unpacked tree"
typelib_loads "$libdir"
echo "package test passed"
