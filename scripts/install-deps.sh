#!/bin/sh
# Installs the Debian packages that a job needs. Says nothing when they are
# all there; without root it says which are missing and fails.
#
# usage: scripts/install-deps.sh demo|guided-demo|tests|arm64|sql|web|web-demo|fuzz|packages|ci
set -eu

# To build the driver and the tools, and to show them.
DEMO='g++ cmake ninja-build pkg-config libcjson-dev libcli11-dev
  nlohmann-json3-dev libcairo2-dev zlib1g-dev libsqlite3-dev libmd-dev
  fonts-dejavu-core'

# The prompt window as well.
WINDOW='qt6-base-dev procps'
CHINESE='fonts-noto-cjk'

# To build everything, and to test it.
TESTS="$DEMO $WINDOW libgtest-dev python3"

# On top of that, to cross-build for arm64 and to run the result.
ARM64='g++-aarch64-linux-gnu qemu-user-static libstdc++6:arm64
  libcjson-dev:arm64 libgtest-dev:arm64 libcairo2-dev:arm64 zlib1g-dev:arm64
  libsqlite3-dev:arm64 libmd-dev:arm64'

# The fuzzers have a compiler of their own.
FUZZ='clang libclang-rt-14-dev cmake ninja-build pkg-config libcjson-dev
  zlib1g-dev'

# On top of TESTS, the databases that records are kept in.
SQL='sqlite3 postgresql-15 postgresql-server-dev-15'

# On top of TESTS, the service for web pages, and a browser to try it in.
WEB='qt6-websockets-dev chromium chromium-driver python3-selenium openssl'

# To build the packages and to try them in a clean system.
PACKAGES="$DEMO $WINDOW $ARM64 qt6-base-dev:arm64
  qt6-websockets-dev qt6-websockets-dev:arm64 python3 dpkg-dev lintian
  debootstrap xvfb x11-utils
  postgresql-server-dev-15"

# What must hold takes more than a test: benchmarks, a real screen, a Python
# package, analysers.
CI="$TESTS $CHINESE $ARM64 $SQL $WEB $FUZZ $PACKAGES ccache clang-format clang-tidy
  cppcheck libbenchmark-dev xdotool python3-venv python3-setuptools
  python3-wheel"

case "${1-}" in
  demo) wanted=$DEMO ;;
  guided-demo) wanted="$DEMO $WINDOW $CHINESE" ;;
  tests) wanted=$TESTS ;;
  arm64) wanted="$TESTS $ARM64" ;;
  fuzz) wanted=$FUZZ ;;
  packages) wanted=$PACKAGES ;;
  web) wanted="$TESTS $CHINESE $WEB" ;;
  web-demo) wanted="$DEMO $WINDOW $CHINESE qt6-websockets-dev python3" ;;
  sql) wanted="$TESTS $SQL" ;;
  ci) wanted=$CI ;;
  *)
    sed -n 's/^# usage: /usage: /p' "$0" >&2
    exit 2
    ;;
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
# shellcheck disable=SC2086  # the list is meant to be split
for name in $(printf '%s\n' $wanted | sort -u); do
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
# shellcheck disable=SC2086
$install -y -qq -o Dpkg::Use-Pty=0 $missing >/dev/null
