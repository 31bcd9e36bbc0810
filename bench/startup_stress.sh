#!/usr/bin/env bash
# Starts the engine in fresh `lxfermo host` processes, many at once, against
# the local service, and fails on any start that does not publish its first
# answer within 10 s (printing its threads' stacks when gdb is there).
# usage: bench/startup_stress.sh [STARTS (2000)] [AT_ONCE (10)] [BUILD_DIR (build)]
set -euo pipefail
cd "$(dirname "$0")/.."
starts=${1:-2000} parallel=${2:-10} build=${3:-build}
test -x "$build/tests/tools/lxhf_tools_tests" || { echo "build first: ./dev build" >&2; exit 2; }
begin=$(date +%s)
LXHF_STARTS=$starts LXHF_STARTS_PARALLEL=$parallel \
  "$build/tests/tools/lxhf_tools_tests" --gtest_filter='StartupStress.*' --gtest_brief=1
echo "startup stress: $starts starts, $parallel at once, all published, in $(( $(date +%s) - begin )) s"
