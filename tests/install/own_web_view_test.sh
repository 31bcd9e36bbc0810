#!/usr/bin/env bash
# Builds the README's own-web-view example against an installed tree and runs
# it against the installed `lxfermo sim`: live offers, then the purchase page
# in the example's own web view, through the public calls only.
set -euo pipefail
build=$1
source=$2
example=$source/../../examples/own-web-view/own_web_view.cpp
readme=$source/../../README.md
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

# The README shows the example's page code word for word.
sed -n '/own-web-view: begin/,/own-web-view: end/p' "$example" | sed '1d;$d' > "$work/excerpt"
python3 - "$readme" "$work/excerpt" <<'PY'
import sys
readme, excerpt = open(sys.argv[1]).read(), open(sys.argv[2]).read()
sys.exit(0 if excerpt.strip() and excerpt in readme else "README.md no longer shows the example's page code as it is")
PY

if [ -z "${DISPLAY:-}" ]; then echo "no display: skipped"; exit 0; fi
cmake --install "$build" --prefix "$work/prefix" >/dev/null
libdir=$(dirname "$(find "$work/prefix" -name libLXHotelsFermo.so.1)")
export PKG_CONFIG_PATH="$libdir/pkgconfig"
# shellcheck disable=SC2046
g++ -std=c++20 "$example" -o "$work/own_web_view" $(pkg-config --cflags --libs lxhotelsfermo gtk4 webkitgtk-6.0)
# The sim hands the example its addresses as an app gets them; it logs each request to stderr.
# shellcheck disable=SC2016
LD_LIBRARY_PATH="$libdir" "$work/prefix/bin/lxfermo" sim --page purchase -- timeout 120 sh -c \
  'exec "$0" "$LXHF_API_BASE" "$LXHF_MICROSITE_BASE" "$LXHF_INTAKE_URL" "$LXHF_CA_FILE"' "$work/own_web_view" \
  > "$work/out" 2> "$work/sim.out" ||
  { echo "the example failed; it printed:"; cat "$work/out"; echo "the service saw:"; cat "$work/sim.out"; exit 1; }
diff <(printf 'offer: loading\noffer: available\nresult: {"purchased":{}}\nresult: {"cancelled":{}}\n') "$work/out"
echo "own web view test passed"
