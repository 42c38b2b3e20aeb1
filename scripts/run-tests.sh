#!/usr/bin/env bash
# Builds plot2d and runs its whole test suite. Extra stages (sanitizers, fuzzers) run when their
# script exists, unless PLOT2D_QUICK=1.
set -euo pipefail
cd "$(dirname "$0")/.."

jobs=${PLOT2D_JOBS:-$(nproc)}
build=${PLOT2D_BUILD_DIR:-build}

# CI builds warning-free or not at all; a developer's build only reports warnings.
werror=OFF
[ "${CI:-}" = true ] && werror=ON

cmake -S . -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo -DPLOT2D_WERROR="$werror"
cmake --build "$build" -j"$jobs"
ctest --test-dir "$build" --output-on-failure -j"$jobs"
# The API reference fails on any undocumented public member.
cmake --build "$build" --target docs

if [ "${PLOT2D_QUICK:-0}" != 1 ] && [ -x scripts/run-reliability.sh ]; then
  scripts/run-reliability.sh
fi
