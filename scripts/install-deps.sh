#!/bin/sh
# Installs the Debian packages that a job needs. Says nothing when they are
# all there; without root it says which are missing and fails.
#
# usage: scripts/install-deps.sh demo|guided-demo|tests|arm64|packages|sql
set -eu

# To build the driver and the tools, and to show them.
DEMO='g++ cmake ninja-build pkg-config libcjson-dev libcli11-dev
  nlohmann-json3-dev libcairo2-dev zlib1g-dev fonts-dejavu-core'

# The prompt window as well.
GUIDED_DEMO="$DEMO qt6-base-dev fonts-noto-cjk procps"

# To build everything, with both compilers, and to test it.
TESTS="$GUIDED_DEMO ccache clang clang-format clang-tidy libclang-rt-14-dev
  cppcheck libgtest-dev libbenchmark-dev xvfb xdotool x11-utils openbox
  imagemagick python3 python3-venv python3-setuptools python3-wheel"

# On top of that, to cross-build for arm64 and to run the result.
ARM64="$TESTS g++-aarch64-linux-gnu qemu-user-static libcjson-dev:arm64
  libgtest-dev:arm64 libcairo2-dev:arm64 zlib1g-dev:arm64"

# On top of that, to build the packages and to try them in a clean system.
PACKAGES="$ARM64 qt6-base-dev:arm64 debootstrap lintian"

# On top of TESTS, the databases that records are kept in.
SQL="$TESTS libsqlite3-dev sqlite3 postgresql-15 postgresql-server-dev-15"

case "${1-}" in
  demo) wanted=$DEMO ;;
  guided-demo) wanted=$GUIDED_DEMO ;;
  tests) wanted=$TESTS ;;
  arm64) wanted=$ARM64 ;;
  packages) wanted=$PACKAGES ;;
  sql) wanted=$SQL ;;
  *) echo "usage: $0 demo|guided-demo|tests|arm64|packages|sql" >&2; exit 2 ;;
esac

native=$(dpkg --print-architecture)

# Of a name without an architecture, this machine's own is wanted.
is_installed() {
  case "$1" in
    *:*) architecture=${1#*:} ;;
    *) architecture=$native ;;
  esac
  dpkg-query -W -f='${Architecture} ${db:Status-Status}\n' "${1%:*}" \
    2>/dev/null | grep -qxE "($architecture|all) installed"
}

missing=
for name in $wanted; do
  is_installed "$name" || missing="$missing $name"
done
[ -n "$missing" ] || exit 0

install="apt-get install --no-install-recommends"
if [ "$(id -u)" -ne 0 ]; then
  echo "These packages are missing:$missing" >&2
  echo "Install them as root: $install$missing" >&2
  exit 1
fi
echo "Installing:$missing"
export DEBIAN_FRONTEND=noninteractive
case "$missing" in *:arm64*) dpkg --add-architecture arm64 ;; esac
apt-get update -qq
# shellcheck disable=SC2086  # the list is meant to be split
$install -y -qq -o Dpkg::Use-Pty=0 $missing >/dev/null
