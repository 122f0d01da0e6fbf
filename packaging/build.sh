#!/usr/bin/env bash
# Builds the Debian packages and checks them; installs first what that takes.
#
#   packaging/build.sh amd64|arm64 [CMAKE_OPTION ...]
#
# They come into build/packages-<architecture>.
#
# Driver and matcher are made with an older system's runtime (old-runtime.sh), and must
# load on hosts with glibc 2.28; tools and window are for this machine's Debian.
set -euo pipefail
cd "$(dirname "$0")/.."
readonly oldest_glibc=2.28

case "${1-}" in
  amd64)
    preset=release triplet=x86_64-linux-gnu
    machine="Advanced Micro Devices X86-64"
    ;;
  arm64) preset=arm64 triplet=aarch64-linux-gnu machine=AArch64 ;;
  *) echo "usage: $0 amd64|arm64 [CMAKE_OPTION ...]" >&2; exit 2 ;;
esac
scripts/install-deps.sh packages
build=build/packages-$1
runtime=$(packaging/old-runtime.sh "$1")
postgresql=$(packaging/postgresql-headers.sh "$1")
shift

cmake --preset "$preset" -B "$build" -DMV_BUILD_TESTS=OFF \
  -DMV_BUILD_BENCH=OFF -DMV_BUILD_PROMPT=ON -DMV_BUILD_WEB=ON \
  -DMV_OLD_RUNTIME="$runtime" \
  -DMV_POSTGRESQL_INCLUDE="$postgresql" \
  -DCMAKE_INSTALL_PREFIX=/usr -DCMAKE_INSTALL_LIBDIR="lib/$triplet" \
  "$@" >/dev/null
cmake --build "$build" -- --quiet
for library in mv_fpi mv_match; do
  tests/release/check_library.sh "$build/out/lib$library.so" "$machine" \
    readelf "$oldest_glibc"
done
rm -f "$build"/*.deb
(cd "$build" && cpack -G DEB >cpack.log 2>&1) ||
  { cat "$build/cpack.log"; exit 1; }
# Closing bugs is for those that enter Debian's own archive.
lintian --allow-root --fail-on error,warning \
  --suppress-tags initial-upload-closes-no-bugs "$build"/*.deb
ls "$build"/*.deb
