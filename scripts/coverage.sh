#!/usr/bin/env bash
# Line and branch coverage of src/ over the test suites: a --coverage -O0 build in build-cov/,
# every suite run once (the monkey test at PLOT2D_MONKEY_EVENTS, 2000 by default), then gcovr.
# Prints "lines: N%" and "branches: N%". The install check is left out: it only rebuilds the
# package and a client against it.
set -euo pipefail
cd "$(dirname "$0")/.."

build=${PLOT2D_COVERAGE_DIR:-build-cov}
jobs=${PLOT2D_JOBS:-$(nproc)}

if ! command -v gcovr >/dev/null 2>&1; then
  sudo_cmd=""
  [ "$(id -u)" -eq 0 ] || sudo_cmd=sudo
  $sudo_cmd apt-get install -y gcovr || { $sudo_cmd apt-get update && $sudo_cmd apt-get install -y gcovr; }
fi

launcher=()
command -v ccache >/dev/null 2>&1 && launcher=(-DCMAKE_CXX_COMPILER_LAUNCHER=ccache)
cmake -S . -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=Debug "${launcher[@]}" \
  -DCMAKE_CXX_FLAGS="--coverage -O0" -DCMAKE_EXE_LINKER_FLAGS=--coverage \
  -DCMAKE_SHARED_LINKER_FLAGS=--coverage >/dev/null
cmake --build "$build" -j"$jobs"

find "$build" -name '*.gcda' -delete
PLOT2D_MONKEY_EVENTS=${PLOT2D_MONKEY_EVENTS:-2000} \
  ctest --test-dir "$build" -E '^install_client' -j"$jobs" --output-on-failure

summary=$(gcovr -r . --filter 'src/' --object-directory "$build" --print-summary --txt "$build/coverage.txt")
echo "$summary" | grep -E "^(lines|branches):"
