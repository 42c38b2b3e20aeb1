#!/usr/bin/env bash
# Installs the Debian packages that building, testing and running plot2d need; with --bench also
# those of the benchmarks (bench/). Idempotent and non-interactive; run as root (or through sudo)
# on a fresh machine.
set -euo pipefail

packages=(
  build-essential cmake ninja-build pkg-config
  # Qwt's pkg-config file requires the Svg and OpenGL modules.
  qtbase5-dev libqt5svg5-dev libqt5opengl5-dev libqwt-qt5-dev
  # Tests measure label geometry: a known font keeps it machine-independent.
  fonts-dejavu-core
  # Reliability suite: sanitizers and libFuzzer come with clang.
  clang libclang-rt-14-dev
  # The docs target (Doxygen over the public headers, warnings as errors).
  doxygen
  # Demo screenshots and checks; the window drive test moves the mouse with xdotool.
  xvfb xdotool
)

case "${1:-}" in
  "") ;;
  # QCustomPlot's package also pulls in Qt 6: kept out of every other build.
  --bench) packages+=(libbenchmark-dev libqcustomplot-dev) ;;
  *)
    echo "usage: $0 [--bench]" >&2
    exit 2
    ;;
esac

missing=()
for p in "${packages[@]}"; do
  dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q "install ok installed" || missing+=("$p")
done

if [ ${#missing[@]} -eq 0 ]; then
  echo "install-deps: all packages present"
  exit 0
fi

SUDO=""
[ "$(id -u)" -eq 0 ] || SUDO="sudo"
export DEBIAN_FRONTEND=noninteractive
$SUDO apt-get update -qq
$SUDO apt-get install -y -qq --no-install-recommends "${missing[@]}"
