#!/usr/bin/env bash
# Runs what the packages of a directory bring in the older system that
# old-runtime.sh fetches: the tools, a capture, a guided enrolment under the
# window with Qt 5. Another architecture's run under emulation. Needs root.
# Exit status 77: not allowed here.
#
#   packaging/test-old-system.sh DIRECTORY
set -euo pipefail

if [ "${IN_OWN_WORLD-}" != 1 ]; then
  if ! unshare --mount --ipc --pid --fork mount -t tmpfs tmpfs /mnt; then
    echo "$0: namespaces and mounts are not allowed here" >&2
    exit 77
  fi
  exec env IN_OWN_WORLD=1 \
    unshare --mount --ipc --pid --fork --kill-child "$0" "$@"
fi

here=$(dirname "$(realpath "$0")")
packages=$(realpath -e "${1:?which directory holds the packages?}")
architecture=$(dpkg-deb -f "$packages"/libmv-fpi1_*.deb Architecture)
base=$("$here/old-runtime.sh" "$architecture")
root=/mnt/root

fail() { echo "FAILED: $1" >&2; exit 1; }
inside() {
  chroot "$root" /usr/bin/env -i PATH=/usr/bin:/bin LC_ALL=C.UTF-8 \
    QT_QPA_PLATFORM=offscreen XDG_RUNTIME_DIR=/tmp "$@"
}

enter_old_system() {
  local name
  mount -t tmpfs tmpfs /mnt
  mkdir -p /mnt/upper /mnt/work "$root"
  mount -t overlay overlay \
    -o "lowerdir=$base,upperdir=/mnt/upper,workdir=/mnt/work" "$root"
  mkdir -p "$root/proc" "$root/dev" "$root/tmp"
  mount -t proc proc "$root/proc"
  mount --rbind /dev "$root/dev"
  mount -t tmpfs -o mode=1777 tmpfs "$root/tmp"
  for name in libmv-fpi1 mv-fpi-tools mv-fpi-prompt-qt5; do
    dpkg-deb -x "$packages/${name}"_*.deb "$root"
  done
}

start_reader() {
  coproc READER {
    inside mvfp-vreader --records /usr/share/mv-fpi/fingers.tsv --script -
  }
  read -r port <&"${READER[0]}" || fail "no virtual reader"
}
tell_reader() { echo "$1" >&"${READER[1]}"; }

# Only a window that runs is found by its name.
check_guided_enrolment() {
  local enrolment window tries=0
  inside mvfp enroll --guided --timeout 120 --port "$port" -o /tmp/template &
  enrolment=$!
  until window=$(inside pgrep -x cx_capdlg) &&
    grep -q libQt5Widgets "$root/proc/$window/maps"; do
    tries=$((tries + 1))
    [ "$tries" -lt 200 ] || fail "no window came up"
    kill -0 "$enrolment" || fail "the enrolment ended before the window"
    sleep 0.5
  done
  tell_reader "press 1"
  wait "$enrolment" || fail "guided enrolment"
  inside mvfp match /tmp/template /tmp/feature
}

check_gallery_and_picture() {
  local library said
  inside mvfp gallery add --gallery /tmp/gallery --id anna --finger left \
    /tmp/template || fail "a gallery"
  inside mvfp inspect /tmp/template --picture /tmp/picture.svg >/dev/null ||
    fail "a picture"
  # Without the libraries that these need, the tool says so and lives.
  rm "$root"/usr/lib/*/lib{sqlite3,cairo}.so.*
  for library in libsqlite3-0 libcairo2; do
    case "$library" in
      *sqlite*) set -- gallery list --gallery /tmp/gallery ;;
      *) set -- inspect /tmp/template --picture /tmp/picture.png ;;
    esac
    said=$(inside mvfp "$@" 2>&1) && fail "mvfp $1 works without $library"
    grep "install $library" <<<"$said" || fail "mvfp $1 says: $said"
  done
}

[ "$architecture" = "$(dpkg --print-architecture)" ] ||
  "$here/../scripts/emulate-arm64.sh"
enter_old_system
echo "== An older system ($architecture):" \
  "$(inside sh -c 'ls /lib/*-linux-gnu/libc-*.so')"
inside mvfp --version
start_reader
tell_reader "press 1"
inside mvfp capture --port "$port" -o /tmp/feature || fail "a capture"
tell_reader lift
check_guided_enrolment
check_gallery_and_picture
echo "== All is well"
