# Part of the scripts that try the packages of a directory, "$1", in another
# system: a world of their own, so that nothing they mount is seen outside, that
# system under $root, and the virtual reader in it. They define `inside`, which
# runs a command there. Exit status 77: not allowed here.
# shellcheck shell=bash

if [ "${IN_OWN_WORLD-}" != 1 ]; then
  if ! unshare --mount --ipc --pid --fork mount -t tmpfs tmpfs /mnt; then
    echo "$0: namespaces and mounts are not allowed here" >&2
    exit 77
  fi
  exec env IN_OWN_WORLD=1 \
    unshare --mount --ipc --pid --fork --kill-child "$0" "$@"
fi
mount -t tmpfs tmpfs /mnt

here=$(dirname "$(realpath "$0")")
packages=$(realpath -e "${1:?which directory holds the packages?}")
architecture=$(dpkg-deb -f "$packages"/libmv-fpi1_*.deb Architecture)
root=/mnt/root

fail() { echo "FAILED: $1" >&2; exit 1; }

# Another architecture's programs run under emulation.
emulate_foreign() {
  [ "$architecture" = "$(dpkg --print-architecture)" ] ||
    "$here/../scripts/emulate-arm64.sh"
}

# enter_system BASE: on a layer in memory, so that it stays as it is.
enter_system() {
  mkdir -p /mnt/upper /mnt/work "$root"
  mount -t overlay overlay \
    -o "lowerdir=$1,upperdir=/mnt/upper,workdir=/mnt/work" "$root"
  mkdir -p "$root/proc" "$root/dev" "$root/tmp"
  mount -t proc proc "$root/proc"
  mount --rbind /dev "$root/dev"
  mount -t tmpfs -o mode=1777 tmpfs "$root/tmp"
}

start_reader() {
  coproc READER {
    inside mvfp-vreader --records /usr/share/mv-fpi/fingers.tsv --script -
  }
  read -r port <&"${READER[0]}" || fail "no virtual reader"
}
tell_reader() { echo "$1" >&"${READER[1]}"; }

# enrol_guided SCREEN TEMPLATE: presses when `sees_window`, which the scripts
# define, does; the screen is a setting of the environment.
enrol_guided() {
  local enrolment tries=0
  inside "$1" mvfp enroll --guided --timeout 120 --port "$port" -o "$2" &
  enrolment=$!
  until sees_window; do
    tries=$((tries + 1))
    [ "$tries" -lt 200 ] || fail "no window came up"
    kill -0 "$enrolment" || fail "the enrolment ended before the window"
    sleep 0.5
  done
  tell_reader "press 1"
  wait "$enrolment" || fail "guided enrolment"
}
