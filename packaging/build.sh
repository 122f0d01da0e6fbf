#!/usr/bin/env bash
# Builds the Debian packages and checks them.
#
#   packaging/build.sh amd64|arm64    into build/packages-<architecture>
#
# Without Qt for the architecture there is no prompt window in the package, and
# guided enrolment goes on without one.
set -euo pipefail
cd "$(dirname "$0")/.."

case "${1-}" in
  amd64) preset=release triplet=x86_64-linux-gnu ;;
  arm64) preset=arm64 triplet=aarch64-linux-gnu ;;
  *) echo "usage: $0 amd64|arm64" >&2; exit 2 ;;
esac
build=build/packages-$1

cmake --preset "$preset" -B "$build" -DMV_BUILD_TESTS=OFF \
  -DMV_BUILD_BENCH=OFF -DCMAKE_INSTALL_PREFIX=/usr \
  -DCMAKE_INSTALL_LIBDIR="lib/$triplet" >/dev/null
cmake --build "$build" -- --quiet
rm -f "$build"/*.deb
(cd "$build" && cpack -G DEB >cpack.log) || { cat "$build/cpack.log"; exit 1; }
lintian --allow-root --fail-on error "$build"/*.deb
ls "$build"/*.deb
