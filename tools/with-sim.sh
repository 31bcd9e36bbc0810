#!/usr/bin/env bash
# Runs a command beside `lxfermo sim`, with the service's addresses in
# LXHF_API_BASE, LXHF_MICROSITE_BASE, LXHF_INTAKE_URL and LXHF_CA_FILE and a
# fresh session folder in LXHF_CACHE_DIR; stops the service afterwards.
# usage: with-sim.sh LXFERMO [sim options...] -- COMMAND [arguments...]
set -euo pipefail
usage() { echo "usage: with-sim.sh LXFERMO [sim options...] -- COMMAND [arguments...]" >&2; exit 2; }
[ $# -ge 1 ] || usage
lxfermo=$1
shift
sim_args=()
while [ $# -gt 0 ] && [ "$1" != "--" ]; do sim_args+=("$1"); shift; done
[ $# -ge 2 ] || usage
shift
work=$(mktemp -d)
sim_pid=
stop() {
  if [ -n "$sim_pid" ]; then kill "$sim_pid" 2>/dev/null || true; wait "$sim_pid" 2>/dev/null || true; fi
  rm -rf "$work"
}
trap stop EXIT
"$lxfermo" sim "${sim_args[@]}" >"$work/sim.out" 2>&1 &
sim_pid=$!
for _ in $(seq 300); do
  grep -q "CA file:" "$work/sim.out" && break
  kill -0 "$sim_pid" 2>/dev/null || { cat "$work/sim.out" >&2; exit 1; }
  sleep 0.1
done
grep -q "CA file:" "$work/sim.out" || { cat "$work/sim.out" >&2; echo "with-sim.sh: lxfermo sim did not start" >&2; exit 1; }
value() { awk -v key="$1" 'index($0, key) { print $NF; exit }' "$work/sim.out"; }
LXHF_API_BASE=$(value "API base:")
LXHF_MICROSITE_BASE=$(value "microsite:")
LXHF_INTAKE_URL=$(value "log intake:")
LXHF_CA_FILE=$(value "CA file:")
LXHF_CACHE_DIR=$work/cache
export LXHF_API_BASE LXHF_MICROSITE_BASE LXHF_INTAKE_URL LXHF_CA_FILE LXHF_CACHE_DIR
"$@"
