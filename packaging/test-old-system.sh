#!/usr/bin/env bash
# Runs what the packages of a directory bring in the older system that
# old-runtime.sh fetches: the tools, a capture, a guided enrolment under the
# window with Qt 5. Another architecture's run under emulation. Needs root.
# Exit status 77: not allowed here.
#
#   packaging/test-old-system.sh DIRECTORY
set -euo pipefail

# shellcheck source=packaging/world.sh
source "$(dirname "$0")/world.sh"
base=$("$here/old-runtime.sh" "$architecture")

inside() {
  chroot "$root" /usr/bin/env -i PATH=/usr/bin:/bin LC_ALL=C.UTF-8 \
    XDG_RUNTIME_DIR=/tmp "$@"
}

enter_old_system() {
  local name
  enter_system "$base"
  for name in libmv-fpi1 mv-fpi-tools mv-fpi-prompt-qt5; do
    dpkg-deb -x "$packages/${name}"_*.deb "$root"
  done
}

# Only a window that runs is found by its name.
sees_window() {
  local window
  window=$(inside pgrep -x cx_capdlg) &&
    grep -q libQt5Widgets "$root/proc/$window/maps"
}

check_guided_enrolment() {
  enrol_guided QT_QPA_PLATFORM=offscreen /tmp/template
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

# Not the package with Qt 6, which this system could not install.
check_remedy() {
  rm "$root"/usr/lib/*/cx_capdlg
  grep "install.* ./mv-fpi-prompt-qt5_" < <(inside mvfp doctor --window) ||
    fail "the doctor names no package of the window that fits"
}

emulate_foreign
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
check_remedy
echo "== All is well"
