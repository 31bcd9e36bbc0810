#!/usr/bin/env bash
# The Vala example against `lxfermo sim`: it must exit 0 having printed the
# room's purchase address, the action "close" asks for and the version.
# Usage: vala_example_test.sh LXFERMO EXAMPLE MAJOR_VERSION
set -euo pipefail
lxfermo=$1 example=$2 major=$3
out=$(mktemp)
trap 'rm -f "$out"' EXIT
"$lxfermo" sim -- "$example" >"$out" || { cat "$out"; echo "the example failed" >&2; exit 1; }
cat "$out"
expect() { grep -Eq "$1" "$out" || { echo "no line matching: $1" >&2; exit 1; }; }
expect '^Purchase address: https://127\.0\.0\.1:[0-9]+/cloud/hotels/purchase\?token=partner-token&.*offer=.*signed_full_offer'
expect '^Page action: LXHF_PAGE_ACTION_KIND_CANCELLED$'
expect "^Library version: $major\$"
