#!/usr/bin/env bash
# Installs the packages of a directory into a clean Debian 12, builds hosts
# against them as an integrator would, lets these run, upgrades and removes.
# Needs root, debootstrap and a package mirror; takes minutes.
#
#   packaging/test-packages.sh DIRECTORY [BASE]
#
# BASE is where the clean system is kept for the next time; it is never changed
# by a test, which works on a copy-on-write layer in memory.
set -euo pipefail

if [ "${IN_OWN_WORLD-}" != 1 ]; then
  exec env IN_OWN_WORLD=1 \
    unshare --mount --ipc --pid --fork --kill-child "$0" "$@"
fi

here=$(dirname "$(realpath "$0")")
packages=$(realpath -e "${1:?which directory holds the packages?}")
mount -t tmpfs tmpfs /mnt
base=${2:-/mnt/base}
root=/mnt/root

step() { printf '\n== %s\n' "$1"; }
fail() { echo "FAILED: $1" >&2; exit 1; }
inside() { chroot "$root" /usr/bin/env -i PATH="$PATH" LC_ALL=C.UTF-8 "$@"; }
apt() {
  inside DEBIAN_FRONTEND=noninteractive apt-get -qq -y \
    --no-install-recommends -o Dpkg::Use-Pty=0 "$@" >/mnt/apt.log 2>&1 ||
    { cat /mnt/apt.log >&2; fail "apt-get $*"; }
}

make_base() {
  debootstrap --variant=minbase \
    --include=ca-certificates,cmake,g++,make,pkgconf,procps \
    bookworm "$base" >/mnt/debootstrap.log ||
    { tail /mnt/debootstrap.log >&2; fail "debootstrap"; }
}

enter_clean_system() {
  mkdir -p /mnt/upper /mnt/work "$root"
  mount -t overlay overlay \
    -o "lowerdir=$base,upperdir=/mnt/upper,workdir=/mnt/work" "$root"
  mount -t proc proc "$root/proc"
  mount --rbind /dev "$root/dev"
  mount -t tmpfs -o mode=1777 tmpfs "$root/tmp"
  # From where this machine gets its packages, the clean one does.
  rm -f "$root/etc/apt/sources.list"
  cp -a /etc/apt/. "$root/etc/apt/"
  cp -L /etc/resolv.conf "$root/etc/resolv.conf"
}

install_packages() {
  mkdir -p "$root/$1"
  cp "$packages"/*_"$architecture".deb "$root/$1"
  if [ -n "${2-}" ]; then
    for deb in "$root/$1"/*.deb; do raise_version "$deb"; done
  fi
  # The names as they are inside.
  local debs=("$root/$1"/*.deb)
  apt install "${debs[@]#"$root"}"
  rm -r "${root:?}/$1"
}

# The next release, as the package manager sees it.
raise_version() {
  dpkg-deb -R "$1" /mnt/unpacked
  sed -i -E '/^(Version|Depends):/s/([0-9.]+)-1\b/\1-2/' \
    /mnt/unpacked/DEBIAN/control
  dpkg-deb -b --root-owner-group /mnt/unpacked "$1" >/dev/null
  rm -r /mnt/unpacked
}

check_lock_file() {
  local mode
  mode=$(stat -c %a "$root/tmp/cx_nrbk_drv_file_mutex.lock")
  [ "$mode" = 666 ] || fail "the lock file has mode $mode"
}

build_hosts() {
  cp -r "$here/hosts" "$root/root/"
  # shellcheck disable=SC2016  # expanded inside
  inside sh -ec 'cd /root/hosts
    cc host.c $(pkg-config --cflags --libs mv_fpi) -o pkg_config_host
    cmake -S find_package -B build >/dev/null
    cmake --build build >/dev/null'
}

start_reader() {
  coproc READER { inside mvfp-vreader --auto-press 1 --script -; }
  read -r port <&"${READER[0]}" || fail "no virtual reader"
}

# A host finds driver, reader and prompt window without any environment.
check_host() {
  local log version path
  log=/tmp/fplog_$(inside date +%Y%m%d).log
  : >"$root$log"
  version=$(inside "$1" "$port") || fail "$1 cannot call the reader"
  path=$(sed -n 's/.*采集提示框路径:\[\(.*\)\].*/\1/p' "$root$log")
  inside test -x "$path" || fail "$1 looks for its window at '$path'"
  echo "$1: reader $version, window $path"
  rm "$root$log"
}

check_use() {
  check_host /root/hosts/pkg_config_host
  check_host /root/hosts/build/host
  inside /root/hosts/build/prompt >/dev/null || fail "the prompt program"
  inside mvfp --version
}

check_nothing_left() {
  local left
  left=$(while read -r name; do
    if [ ! -d "$root$name" ] && [ -e "$root$name" ]; then echo "$name"; fi
  done </mnt/installed)
  left+=$(find "$root" -xdev \( -iname '*mv[-_]fpi*' -o -name 'cx_capdlg*' \
    -o -name 'mvfp*' \) -not -path '*/root/hosts/*' -not -path '*/var/cache/*')
  left+=$(find "$root/tmp" -name '*.lock')
  [ -z "$left" ] || fail "left behind: $left"
}

names=(libmv-fpi1 libmv-fpi-dev mv-fpi-tools)
architecture=$(dpkg --print-architecture)

step "A clean system"
[ -e "$base/etc/debian_version" ] || make_base
enter_clean_system
apt update
# Stands for the init system of a real one.
apt install systemd-standalone-tmpfiles

step "Installation"
install_packages new
check_lock_file
inside dpkg -L "${names[@]}" | sort -u >/mnt/installed

step "Use"
build_hosts
start_reader
check_use

step "Upgrade"
install_packages newer raised
inside dpkg-query -W "${names[@]}"
check_lock_file
check_use

step "Removal"
apt purge "${names[@]}"
check_nothing_left

step "All is well"
