#!/usr/bin/env bash
# Builds the Debian packages and checks them; installs first what that takes.
#
#   packaging/build.sh amd64|arm64 [CMAKE_OPTION ...]
#
# They come into build/packages-<architecture>.
#
# Driver, matcher, tools and a window with Qt 5 are made with an older system's
# runtime (old-runtime.sh), and must run on hosts with glibc 2.28 and Qt 5.12;
# the window with Qt 6 and the databases' modules are for this machine's Debian.
set -euo pipefail
cd "$(dirname "$0")/.."
readonly oldest_glibc=2.28 oldest_qt=5.12

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

check_needs() {
  tests/release/check_needs.sh "$build/out/$1" "$machine" readelf \
    "$oldest_glibc" "${@:2}"
}
for file in libmv_fpi.so libmv_match.so mvfp mvfp-vreader; do
  check_needs "$file"
done
check_needs qt5/cx_capdlg libQt5{Core,Gui,Widgets}.so.5 libstdc++.so.6 \
  libgcc_s.so.1
# Each symbol of Qt is as old as Debian's list of them says.
newest=$(readelf --dyn-syms -W "$build/out/qt5/cx_capdlg" |
  sed -n 's/.* UND \(.*@Qt_5[^ ]*\).*/\1/p' |
  awk 'NR == FNR { since[$1] = $2; next }
    { print $1 in since ? since[$1] : "99 " $1 }' "$runtime/symbols" - |
  sort -V | tail -n 1)
echo "oldest Qt: $newest"
[ "$oldest_qt" = "$(printf '%s\n' "$oldest_qt" "${newest:-99}" |
  sort -V | tail -n 1)" ] || { echo "$0: needs a Qt too new" >&2; exit 1; }
rm -f "$build"/*.deb
(cd "$build" && cpack -G DEB >cpack.log 2>&1) ||
  { cat "$build/cpack.log"; exit 1; }
# Closing bugs is for those that enter Debian's own archive.
lintian --allow-root --fail-on error,warning \
  --suppress-tags initial-upload-closes-no-bugs "$build"/*.deb
ls "$build"/*.deb
