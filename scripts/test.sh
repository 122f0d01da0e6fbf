#!/usr/bin/env bash
# Builds the project and runs its tests; on a fresh Debian machine installs
# first what they need.
#
#   scripts/test.sh            the optimised build
#   scripts/test.sh asan ...   other presets of CMakePresets.json, in turn
set -euo pipefail
cd "$(dirname "$0")/.."

scripts/install-deps.sh tests

presets=("$@")
[ ${#presets[@]} -gt 0 ] || presets=(release)
launcher=$(command -v ccache || true)

# Most of a test's time is the driver's own pauses, so more run side by side
# than there are processors.
jobs=$(($(nproc) * 8))

for preset in "${presets[@]}"; do
  echo "== $preset: build"
  cmake --preset "$preset" -DMV_WERROR=ON \
    ${launcher:+-DCMAKE_CXX_COMPILER_LAUNCHER="$launcher"} >/dev/null
  cmake --build --preset "$preset" -- --quiet
  echo "== $preset: test"
  ctest --preset "$preset" --parallel "$jobs" --progress
done
