#!/bin/sh
# Installs the Debian packages that a job needs. Says nothing when they are
# all there; without root it says which are missing and fails.
#
# usage: scripts/install-deps.sh demo|guided-demo|tests
set -eu

# To build the driver and the tools, and to show them.
DEMO='g++ cmake ninja-build pkg-config libcjson-dev libcli11-dev
  nlohmann-json3-dev libcairo2-dev zlib1g-dev fonts-dejavu-core'

# The prompt window as well.
GUIDED_DEMO="$DEMO qt6-base-dev fonts-noto-cjk procps"

# To build everything, with both compilers, and to test it.
TESTS="$GUIDED_DEMO ccache clang clang-format clang-tidy libclang-rt-14-dev
  cppcheck libgtest-dev libbenchmark-dev xvfb xdotool x11-utils openbox
  imagemagick"

case "${1-}" in
  demo) wanted=$DEMO ;;
  guided-demo) wanted=$GUIDED_DEMO ;;
  tests) wanted=$TESTS ;;
  *) echo "usage: $0 demo|guided-demo|tests" >&2; exit 2 ;;
esac

# One line for each architecture that the package is there for.
is_installed() {
  dpkg-query -W -f='${db:Status-Status}\n' "$1" 2>/dev/null |
    grep -qx installed
}

missing=
for package in $wanted; do
  is_installed "$package" || missing="$missing $package"
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
apt-get update -qq
# shellcheck disable=SC2086  # the list is meant to be split
$install -y -qq -o Dpkg::Use-Pty=0 $missing >/dev/null
