#!/usr/bin/env bash
# Makes docs/images/demo.png and docs/images/purchase.png from the demo as it
# is: `lxfermo demo` under Xvfb saves its window once every room has settled,
# then presses the first available room and saves the purchase page over it.
# usage: docs/images/make-demo-png.sh [BUILD_DIR (build)]
set -euo pipefail
cd "$(dirname "$0")/../.."
build=${1:-build}
cmake --build "$build" --target lxfermo -j "${JOBS:-2}" >/dev/null
GTK_A11Y=none GSK_RENDERER=cairo xvfb-run -a -s "-screen 0 1280x1024x24" "$build/tools/lxfermo/lxfermo" demo \
  --screenshot docs/images/demo.png --screenshot-page docs/images/purchase.png >/dev/null
echo "docs/images/demo.png and docs/images/purchase.png made"
