#!/usr/bin/env bash
# Installs the packages of a directory into a clean Debian 12, builds hosts
# against them as an integrator would, lets these run, upgrades and removes.
# Needs root, debootstrap and a package mirror; another architecture's packages
# are tried under emulation. Exit status 77: not allowed here.
#
#   packaging/test-packages.sh DIRECTORY
#
# The clean system and what it downloads are kept in the user's cache. The first
# run, which makes it, takes minutes. No test changes it: each works on a
# copy-on-write layer in memory.
set -euo pipefail

# shellcheck source=packaging/world.sh
source "$(dirname "$0")/world.sh"
cache=${XDG_CACHE_HOME:-$HOME/.cache}/mv-fpi
base=$cache/clean-bookworm-$architecture
downloads=$cache/downloads-bookworm-$architecture
names=(libmv-fpi1 libmv-match1 libmv-fpi-dev mv-fpi-prompt mv-fpi-tools
  mv-fpi-web mv-fpi-doc python3-mv-fpi libsqlite3-mod-mv-fpi
  postgresql-15-mv-fpi)

step() { printf '\n== %s\n' "$1"; }
# shellcheck source=packaging/test-sql.sh
source "$here/test-sql.sh"
inside() { chroot "$root" /usr/bin/env -i PATH="$PATH" LC_ALL=C.UTF-8 "$@"; }
apt() {
  inside DEBIAN_FRONTEND=noninteractive apt-get -qq -y \
    --no-install-recommends -o Dpkg::Use-Pty=0 -o APT::Sandbox::User=root \
    "$@" >/mnt/apt.log 2>&1 || { cat /mnt/apt.log >&2; fail "apt-get $*"; }
}

make_base() {
  rm -rf "$base.part"
  mkdir -p "$cache"
  debootstrap --arch="$architecture" --variant=minbase \
    --include=ca-certificates,cmake,g++,make,pkgconf,procps \
    bookworm "$base.part" "$("$here/mirror.sh")" >/mnt/debootstrap.log ||
    { tail /mnt/debootstrap.log >&2; fail "debootstrap"; }
  mv "$base.part" "$base"
}

enter_clean_system() {
  mkdir -p "$downloads/archives/partial" "$downloads/lists/partial"
  enter_system "$base"
  mount --bind "$downloads/archives" "$root/var/cache/apt/archives"
  mount --bind "$downloads/lists" "$root/var/lib/apt/lists"
  cp -L /etc/resolv.conf "$root/etc/resolv.conf"
}

# install_packages DIRECTORY [raised]: all of them, from there.
install_packages() {
  mkdir -p "$root/$1"
  cp "$packages"/*.deb "$root/$1"
  # The other window takes the place of the one that is tried here.
  rm "$root/$1"/mv-fpi-prompt-qt5_*.deb
  if [ -n "${2-}" ]; then
    for deb in "$root/$1"/*.deb; do raise_version "$deb"; done
  fi
  # The names as they are inside.
  local debs=("$root/$1"/*.deb)
  apt install "${debs[@]#"$root"}"
  rm -r "${root:?}/$1"
}

# What a terminal without a screen gets.
install_driver_alone() {
  cp "$packages"/libmv-fpi1_*.deb "$root/root/driver.deb"
  apt install /root/driver.deb
  rm "$root/root/driver.deb"
  if inside dpkg-query -W 'libqt*' 2>/dev/null; then
    fail "the driver brought Qt along"
  fi
}

# The next release, as the package manager sees it.
raise_version() {
  local version
  version=$(dpkg-deb -f "$1" Version)
  dpkg-deb -R "$1" /mnt/unpacked
  sed -i -E "/^(Version|Depends):/s/${version//./\\.}\b/${version%-1}-2/g" \
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
  cp -r "$root/usr/share/doc/mv-fpi-doc/examples" "$root/root/hosts"
  # shellcheck disable=SC2016  # expanded inside
  inside sh -ec 'cd /root/hosts
    cc host.c $(pkg-config --cflags --libs mv_fpi) -o pkg_config_host
    cmake -S find_package -B build >/dev/null
    cmake --build build >/dev/null'
}

start_screen() {
  exec {number}< <(exec Xvfb -displayfd 1 -ac -screen 0 800x600x24 2>/dev/null)
  read -r display <&"$number" || fail "no X server"
}

sees_window() { DISPLAY=:$display xwininfo -root -tree | grep -q cx_capdlg; }

# The window is on the screen before a finger is, and gone after the last press.
check_guided_enrolment() {
  enrol_guided DISPLAY=":$display" /root/guided.template
  if inside pgrep -x cx_capdlg; then fail "the window stayed"; fi
  inside mvfp capture --port "$port" -o /root/door.feature
  inside mvfp match /root/guided.template /root/door.feature
  tell_reader lift
}

check_python() {
  inside python3 -W error -c '
import mv_fpi, pathlib, sys
from importlib import metadata
driver = mv_fpi.Driver()
print(mv_fpi.__name__, metadata.version("mv_fpi"), driver.version(sys.argv[1]))
template = pathlib.Path("/root/guided.template").read_text().strip()
assert driver.matches(template, template, level=5)
' "$port" || fail "the Python module"
}

# A reader on an adapter that modem probers like to open.
check_udev_rules() {
  local usb=$root/sys/devices/usb1/1-1 event
  mount -t tmpfs tmpfs "$root/sys"
  # What the rules make of it must not reach this machine.
  mount -t tmpfs tmpfs "$root/dev"
  mknod -m 666 "$root/dev/null" c 1 3
  mkdir -p "$usb/tty/ttyUSB99" "$root/sys/bus/usb" "$root/sys/class/tty"
  echo 1a86 >"$usb/idVendor"
  echo DEVTYPE=usb_device >"$usb/uevent"
  echo 'SUBSYSTEM=="tty", ATTRS{idVendor}=="1a86", SYMLINK+="COM99"' \
    >"$root/etc/udev/rules.d/71-mv-fpi-com99.rules"
  printf '%s\n' MAJOR=188 MINOR=99 DEVNAME=ttyUSB99 >"$usb/tty/ttyUSB99/uevent"
  ln -s ../../../bus/usb "$usb/subsystem"
  ln -s ../../../../../class/tty "$usb/tty/ttyUSB99/subsystem"
  event=$(inside SYSTEMD_DEVICE_VERIFY_SYSFS=0 udevadm test --action=add \
    /sys/devices/usb1/1-1/tty/ttyUSB99 2>&1)
  rm "$root/etc/udev/rules.d/71-mv-fpi-com99.rules"
  umount "$root/sys" "$root/dev"
  for effect in "GROUP $(inside getent group dialout | cut -d : -f 3)" \
    "MODE 0660" ID_MM_PORT_IGNORE=1 ID_MM_DEVICE_IGNORE=1; do
    grep -q "\(72-mv-fpi.rules:[0-9]* \|^\)$effect" <<<"$event" ||
      fail "the udev rules do not give '$effect': $(grep mv-fpi <<<"$event")"
  done
  if grep "72-mv-fpi.rules.*\(Invalid\|Unknown\|Failed\)" <<<"$event"; then
    fail "the udev rules are at fault"
  fi
  echo "udev: dialout, 0660, left alone by modem probers"
}

# Every exported function has its page; that they are clean, lintian has seen.
check_manual() {
  local function program
  while read -r function; do
    [ -e "$root/usr/share/man/man3/$function.3.gz" ] ||
      fail "no manual page for $function"
  done < <(grep -E '^(FG|DEV|cx_dlg)_' "$here/../tests/release/mv_fpi.exports")
  for program in mvfp mvfp-vreader mvfp-web; do
    inside bash -n "/usr/share/bash-completion/completions/$program"
  done
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
  inside mvfp doctor --ask --port "$port" || fail "the doctor finds a fault"
  check_guided_enrolment
  check_python
  check_web
}

# As it is installed it serves nobody, and says so.
check_web() {
  # shellcheck disable=SC2016  # expanded inside
  inside bash -ec 'mvfp-web 2>/tmp/web.log &
    until grep -q "0 allowed origins" /tmp/web.log; do
      kill -0 $!
      sleep 0.1
    done
    exec 3<>/dev/tcp/127.0.0.1/47653
    printf "%s\r\n" "GET / HTTP/1.1" "Host: 127.0.0.1:47653" \
      "Origin: https://bank.example" "Upgrade: websocket" \
      "Sec-WebSocket-Version: 13" "Sec-WebSocket-Key: AA==" "" >&3
    head -1 <&3 | grep " 403 "
    kill $!
    wait $!' || fail "mvfp-web"
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

step "A clean system ($architecture)"
"$here/../scripts/install-deps.sh" packages
emulate_foreign
[ -d "$base" ] || make_base
enter_clean_system
apt update
# The first stands for the init system of a real one.
apt install systemd-standalone-tmpfiles udev

step "Installation"
install_driver_alone
install_databases
install_packages new
check_lock_file
check_manual
check_udev_rules
inside dpkg -L "${names[@]}" | sort -u >/mnt/installed

step "Use"
build_hosts
start_reader
start_screen
check_use
check_databases

step "Upgrade"
install_packages newer raised
inside dpkg-query -W "${names[@]}"
check_lock_file
check_use
check_databases

step "Removal"
apt purge "${names[@]}"
check_nothing_left

step "All is well"
