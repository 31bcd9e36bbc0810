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
sim_pid=
cleanup() {
  [ -n "$sim_pid" ] && kill "$sim_pid" 2>/dev/null || true
  rm -rf "$work"
}
trap cleanup EXIT

# The README shows the example's page code word for word.
sed -n '/own-web-view: begin/,/own-web-view: end/p' "$example" | sed '1d;$d' > "$work/excerpt"
python3 - "$readme" "$work/excerpt" <<'PY'
import sys
readme, excerpt = open(sys.argv[1]).read(), open(sys.argv[2]).read()
sys.exit(0 if excerpt.strip() and excerpt in readme else "README.md no longer shows the example's page code as it is")
PY

if [ -z "${DISPLAY:-}" ]; then echo "no display: skipped"; exit 0; fi
cmake --install "$build" --prefix "$work/prefix" >/dev/null
"$work/prefix/bin/lxfermo" sim --page purchase > "$work/sim.out" 2>&1 &
sim_pid=$!
for _ in $(seq 100); do grep -q "CA file:" "$work/sim.out" && break; sleep 0.1; done
value() { awk -v key="$1" 'index($0, key) { print $NF; exit }' "$work/sim.out"; }

libdir=$(dirname "$(find "$work/prefix" -name libLXHotelsFermo.so.1)")
export PKG_CONFIG_PATH="$libdir/pkgconfig"
# shellcheck disable=SC2046
g++ -std=c++20 "$example" -o "$work/own_web_view" $(pkg-config --cflags --libs lxhotelsfermo gtk4 webkitgtk-6.0)
LD_LIBRARY_PATH="$libdir" timeout 120 "$work/own_web_view" \
  "$(value "API base:")" "$(value "microsite:")" "$(value "log intake:")" "$(value "CA file:")" > "$work/out" ||
  { echo "the example failed; it printed:"; cat "$work/out"; echo "the service saw:"; cat "$work/sim.out"; exit 1; }
diff <(printf 'offer: loading\noffer: available\nresult: {"purchased":{}}\nresult: {"cancelled":{}}\n') "$work/out"
echo "own web view test passed"
