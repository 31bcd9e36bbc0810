#!/usr/bin/env bash
# Builds the Debian packages from the build tree and checks what each holds,
# what each depends on, and lintian's verdict. Then it installs the core
# packages alone into an empty root with `dpkg --root` and builds a host
# there that sees no GTK or WebKitGTK development files, through CMake and
# pkg-config; and unpacks every package to check the widgets, lxfermo and
# the Python example's import from the packaged files alone.
set -euo pipefail
build=$1
source=$2
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
# shellcheck source=host_checks.sh
. "$source/host_checks.sh"
core=(liblxhotelsfermo1 liblxhotelsfermo-dev)
all=("${core[@]}" liblxhotelsfermo-ui1 liblxhotelsfermo-ui-dev gir1.2-lxhf-1.0 lxfermo)

step "cpack"
(cd "$build" && cpack -G DEB -B "$work/out" >"$work/cpack.log" 2>&1) || { cat "$work/cpack.log"; fail "cpack failed"; }
version=$(sed -n 's/^CMAKE_PROJECT_VERSION:STATIC=//p' "$build/CMakeCache.txt")
multiarch=$(gcc -print-multiarch)
deb() { echo "$work/out/${1}_${version}_$(dpkg --print-architecture).deb"; }
listing() { dpkg-deb -c "$(deb "$1")" >"$work/listing" && cat "$work/listing"; }
holds() { listing "$1" | grep -E "$2" >/dev/null || fail "$1 does not hold $2"; }
lacks() { ! listing "$1" | grep -E "$2" >/dev/null || fail "$1 holds $2"; }

step "what each package holds"
holds liblxhotelsfermo1 '/libLXHotelsFermo\.so\.1\.'
lacks liblxhotelsfermo1 'LXHotelsFermoUI|LXHotelsFermoGObject|\.h$|\.so$|\.typelib$|bin/'
holds liblxhotelsfermo-dev 'include/LXHotelsFermo/LXHotelsFermoSDK\.h$'
holds liblxhotelsfermo-dev '/libLXHotelsFermo\.so -> '
holds liblxhotelsfermo-dev 'pkgconfig/lxhotelsfermo\.pc$'
holds liblxhotelsfermo-dev 'cmake/LXHotelsFermo/LXHotelsFermoConfig\.cmake$'
lacks liblxhotelsfermo-dev 'include/LXHotelsFermo/ui/|include/lxhf/|UITargets|lxhotelsfermo-(ui|gobject)\.pc|\.gir$'
holds liblxhotelsfermo-ui1 '/libLXHotelsFermoUI\.so\.1 '
holds liblxhotelsfermo-ui1 '/libLXHotelsFermoGObject\.so\.1 '
lacks liblxhotelsfermo-ui1 '/libLXHotelsFermo\.so|\.h$|\.so$'
holds liblxhotelsfermo-ui-dev 'include/LXHotelsFermo/ui/LXFermoButtonWrapper\.h$'
holds liblxhotelsfermo-ui-dev 'include/lxhf/lxhf\.h$'
holds liblxhotelsfermo-ui-dev 'share/gir-1\.0/Lxhf-1\.0\.gir$'
holds liblxhotelsfermo-ui-dev 'pkgconfig/lxhotelsfermo-gobject\.pc$'
holds liblxhotelsfermo-ui-dev 'pkgconfig/lxhotelsfermo-ui\.pc$'
holds gir1.2-lxhf-1.0 "/usr/lib/$multiarch/girepository-1\.0/Lxhf-1\.0\.typelib$"
# The Vala bindings are made where vapigen was found.
vapi=false
[ -e "$build/src/gobject/lxhf-1.vapi" ] && vapi=true
if $vapi; then
  holds liblxhotelsfermo-ui-dev 'share/vala/vapi/lxhf-1\.vapi$'
  holds liblxhotelsfermo-ui-dev 'share/vala/vapi/lxhf-1\.deps$'
  holds liblxhotelsfermo-ui-dev 'pkgconfig/lxhf-1\.pc$'
fi
holds lxfermo '/usr/bin/lxfermo$'
for package in "${all[@]}"; do
  holds "$package" "/usr/share/doc/$package/copyright$"
  first=$(dpkg-deb --fsys-tarfile "$(deb "$package")" | tar -xO "./usr/share/doc/$package/copyright" | sed -n 1p)
  [ "$first" = 'Format: https://www.debian.org/doc/packaging-manuals/copyright-format/1.0/' ] ||
    fail "$package's copyright file is not machine-readable"
done

step "dependencies"
# Each library a packaged file needs comes from what its package depends
# on; no runpath; the core packages pull in neither GTK nor WebKitGTK.
python3 "$source/package_deps.py" "$work/out" "${core[@]}"
for pair in liblxhotelsfermo-dev:liblxhotelsfermo1 liblxhotelsfermo-ui1:liblxhotelsfermo1 \
  liblxhotelsfermo-ui-dev:liblxhotelsfermo-dev liblxhotelsfermo-ui-dev:liblxhotelsfermo-ui1 \
  gir1.2-lxhf-1.0:liblxhotelsfermo-ui1; do
  dpkg-deb -f "$(deb "${pair%%:*}")" Depends | grep -q "${pair#*:} (= $version)" ||
    fail "${pair%%:*} does not depend on exactly this version of ${pair#*:}"
done

step "lintian"
debs=()
for package in "${all[@]}"; do debs+=("$(deb "$package")"); done
# Warnings stay visible in the log; an error fails the test.
lintian --fail-on error --tag-display-limit 0 "${debs[@]}" >"$work/lintian" 2>&1 ||
  { cat "$work/lintian" >&2; fail "lintian reports errors"; }
cat "$work/lintian"

step "the core packages alone in an empty root"
root=$work/root
mkdir -p "$root/var/lib/dpkg/info" "$root/var/lib/dpkg/updates"
touch "$root/var/lib/dpkg/status" "$root/var/lib/dpkg/available"
# The root holds no libc or GLib for their Depends to find: the system's
# serve, as a sysroot's would.
dpkg --root="$root" --force-depends --force-script-chrootless -i "$(deb liblxhotelsfermo1)" "$(deb liblxhotelsfermo-dev)" \
  >"$work/dpkg.log" 2>&1 || { cat "$work/dpkg.log"; fail "dpkg could not install the core packages"; }
prefix=$root/usr
libdir=$prefix/lib/$multiarch
[ -e "$libdir/libLXHotelsFermo.so.1" ] || fail "the core library is not in $libdir"
nogtk=$work/pkgconfig-nogtk
pc_dir_without_gtk "$nogtk"
export PKG_CONFIG_LIBDIR=$libdir/pkgconfig:$nogtk PKG_CONFIG_PATH=
! pkg-config --exists gtk4 webkitgtk-6.0 || fail "GTK is still visible"
flags=$(PKG_CONFIG_ALLOW_SYSTEM_CFLAGS=1 PKG_CONFIG_ALLOW_SYSTEM_LIBS=1 pkg-config --cflags --libs lxhotelsfermo)
grep -qw -- "-I/usr/include" <<<"$flags" && grep -qw -- "-L/usr/lib/$multiarch" <<<"$flags" && ! grep -q '\.\.' <<<"$flags" ||
  fail "pkg-config gives '$flags', not plain -I/usr/include and -L/usr/lib/$multiarch"
# The root stands for /: its folders come first, as the compiler's own would.
# shellcheck disable=SC2046
g++ -std=c++20 -I"$prefix/include" "$source/consumer/main.cpp" -o "$work/pc-consumer" -L"$libdir" \
  $(pkg-config --cflags --libs lxhotelsfermo)
LD_LIBRARY_PATH="$libdir" "$work/pc-consumer"
consumer core-only
LD_LIBRARY_PATH="$libdir" "$work/core-only/consumer"
test ! -e "$work/core-only/consumer_ui" || fail "the core packages alone gave a ui target"
unset PKG_CONFIG_LIBDIR PKG_CONFIG_PATH

step "every package unpacked"
full=$work/full
for package in "${all[@]}"; do dpkg-deb -x "$(deb "$package")" "$full"; done
prefix=$full/usr
libdir=$prefix/lib/$multiarch
consumer packaged "-DLXHF_COMPONENTS=core;ui"
LD_LIBRARY_PATH="$libdir" "$work/packaged/consumer"
LD_LIBRARY_PATH="$libdir" "$work/packaged/consumer_ui"
LD_LIBRARY_PATH="$libdir" "$prefix/bin/lxfermo" --help >/dev/null || fail "the unpacked lxfermo does not start"
typelib_loads "$libdir"
if $vapi && command -v valac >/dev/null; then
  # `valac --pkg lxhf-1` finds the vapi, its .deps and, through pkg-config,
  # the headers and library; the unpacked tree stands in for /usr.
  PKG_CONFIG_PATH="$libdir/pkgconfig" LD_LIBRARY_PATH="$libdir" valac --quiet \
    --vapidir "$prefix/share/vala/vapi" --pkg lxhf-1 -X -I"$prefix/include" -X -L"$libdir" \
    -d "$work/vala" -o "$work/vala-offers" "$source/../../examples/vala/offers.vala" ||
    fail "the Vala example does not build against the packages"
  LD_LIBRARY_PATH="$libdir" "$prefix/bin/lxfermo" sim -- "$work/vala-offers" >"$work/vala.out" 2>&1 ||
    { cat "$work/vala.out"; fail "the Vala example built against the packages failed"; }
fi
echo "package test passed"
