#!/usr/bin/env bash
# Installs the build into a temporary prefix and checks what a host gets
# from it: the CMake package with and without GTK at hand, the pkg-config
# files, the lxfermo command, and the symbols the libraries export.
set -euo pipefail
build=$1
source=$2
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
prefix=$work/prefix
# shellcheck source=host_checks.sh
. "$source/host_checks.sh"

step "install"
cmake --install "$build" --prefix "$prefix" >/dev/null
test ! -e "$prefix/include/LXHotelsFermo/core" || fail "private headers were installed"
core_lib=$(find "$prefix" -name libLXHotelsFermo.so.1)
libdir=$(dirname "$core_lib")
ui_lib=$libdir/libLXHotelsFermoUI.so.1

step "CMake package, core alone, without GTK's or WebKitGTK's pkg-config files"
# As on a machine without their development packages.
nogtk=$work/pkgconfig-nogtk
pc_dir_without_gtk "$nogtk"
export PKG_CONFIG_LIBDIR=$nogtk PKG_CONFIG_PATH=
consumer core -DLXHF_COMPONENTS=core
"$work/core/consumer"
consumer default-nogtk
test ! -e "$work/default-nogtk/consumer_ui" || fail "the default components took ui without GTK"
if [ -e "$ui_lib" ]; then
  if consumer ui-nogtk "-DLXHF_COMPONENTS=core;ui" >/dev/null; then fail "COMPONENTS ui was found without GTK"; fi
  grep -q "gtk4" "$work/configure.log" || fail "COMPONENTS ui without GTK does not say why"
fi
unset PKG_CONFIG_LIBDIR PKG_CONFIG_PATH

if [ -e "$ui_lib" ]; then
  step "CMake package, core and ui"
  consumer ui "-DLXHF_COMPONENTS=core;ui"
  "$work/ui/consumer"
  "$work/ui/consumer_ui"
fi

step "pkg-config"
# The README's own lines, as they stand there, on a host's app.cpp.
export PKG_CONFIG_PATH="$libdir/pkgconfig"
mkdir "$work/pc" && cp "$source/consumer/main.cpp" "$work/pc/app.cpp"
readme_lines=$(awk '/^```sh$/ { block = ""; inside = 1; next } /^```$/ { if (inside && block ~ /pkg-config/) printf "%s", block; inside = 0; next } inside { block = block $0 "\n" }' "$source/../../README.md")
[ "$(grep -c "pkg-config" <<<"$readme_lines")" = 2 ] || fail "the README's pkg-config lines are not where this test looks"
while IFS= read -r line; do
  [[ $line == *lxhotelsfermo-ui* && ! -e $ui_lib ]] && continue
  (cd "$work/pc" && rm -f a.out && eval "$line" && LD_LIBRARY_PATH="$libdir" ./a.out) || fail "the README's line failed: $line"
done <<<"$readme_lines"

step "a misusing host, built with AddressSanitizer and with ThreadSanitizer"
# Callbacks that call back in, and calls from a second thread: the library
# refuses or defers them, so neither sanitizer finds anything.
for sanitizer in address thread; do
  # shellcheck disable=SC2046
  g++ -std=c++20 -g -fsanitize=$sanitizer "$source/consumer/misuse_main.cpp" -o "$work/misuse-$sanitizer" \
    $(pkg-config --cflags --libs lxhotelsfermo)
  LD_LIBRARY_PATH="$libdir" ASAN_OPTIONS=detect_leaks=0 TSAN_OPTIONS="ignore_noninstrumented_modules=1 halt_on_error=1 exitcode=66" \
    "$work/misuse-$sanitizer" || fail "the misusing host failed under -fsanitize=$sanitizer"
done

if [ -e "$build/tools/lxfermo/lxfermo" ]; then
  step "the installed lxfermo starts"
  env -u LD_LIBRARY_PATH "$prefix/bin/lxfermo" --help >/dev/null || fail "the installed lxfermo does not start"
fi

step "exported symbols: the public API only"
leaked=0
for lib in "$core_lib" "$ui_lib"; do
  [ -e "$lib" ] || continue
  if nm -D --defined-only -C "$lib" | grep -E 'lxhf::|nlohmann' >"$work/leaked"; then
    echo "$(basename "$lib") exports internals:" >&2
    sed 's/^/  /' "$work/leaked" >&2
    leaked=1
  fi
done
gobject_lib=$libdir/libLXHotelsFermoGObject.so.1
if [ -e "$gobject_lib" ] && nm -D --defined-only "$gobject_lib" | awk '$2 ~ /[TDB]/ && $3 !~ /^lxhf_/' | grep .; then
  echo "libLXHotelsFermoGObject.so exports more than lxhf_ calls" >&2
  leaked=1
fi
[ "$leaked" = 0 ] || fail "internal symbols are exported"

if [ -e "$gobject_lib" ]; then
  step "GObject API: a C host, and the typelib from the prefix"
  printf '#include <lxhf/lxhf.h>\nint main(void) { return LXHF_IS_SDK(lxhf_sdk_get_default()) ? 0 : 1; }\n' > "$work/host.c"
  # shellcheck disable=SC2046
  gcc -std=c11 -Wall -Werror "$work/host.c" -o "$work/c-host" $(pkg-config --cflags --libs lxhotelsfermo-gobject)
  LD_LIBRARY_PATH="$libdir" "$work/c-host"
  typelib_loads "$libdir"
fi
echo "install test passed"
