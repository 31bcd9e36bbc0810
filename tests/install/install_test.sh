#!/usr/bin/env bash
# Installs the build into a temporary prefix, then builds and runs a host
# program against it twice: through find_package and through pkg-config.
set -euo pipefail
build=$1
source=$2
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

cmake --install "$build" --prefix "$work/prefix" >/dev/null
test ! -e "$work/prefix/include/LXHotelsFermo/core" || { echo "private headers were installed"; exit 1; }
ls "$work"/prefix/lib*/libLXHotelsFermo.so.1 >/dev/null

cmake -S "$source/consumer" -B "$work/cmake-build" -DCMAKE_PREFIX_PATH="$work/prefix" >/dev/null
cmake --build "$work/cmake-build" >/dev/null
libdir=$(dirname "$(ls "$work"/prefix/lib*/libLXHotelsFermo.so.1 | head -n1)")
LD_LIBRARY_PATH="$libdir" "$work/cmake-build/consumer"
if [ -e "$work/cmake-build/consumer_ui" ]; then
  LD_LIBRARY_PATH="$libdir" "$work/cmake-build/consumer_ui"
fi

export PKG_CONFIG_PATH="$libdir/pkgconfig"
# shellcheck disable=SC2046
g++ -std=c++20 "$source/consumer/main.cpp" -o "$work/pc-consumer" $(pkg-config --cflags --libs lxhotelsfermo)
LD_LIBRARY_PATH="$libdir" "$work/pc-consumer"
if [ -e "$libdir/pkgconfig/lxhotelsfermo-ui.pc" ]; then
  # shellcheck disable=SC2046
  g++ -std=c++20 "$source/consumer/ui_main.cpp" -o "$work/pc-consumer-ui" $(pkg-config --cflags --libs lxhotelsfermo-ui)
  LD_LIBRARY_PATH="$libdir" "$work/pc-consumer-ui"
fi
echo "install test passed"
