#!/bin/sh
# in_own_world.sh COMMAND...: runs it in mount, IPC and PID namespaces of its
# own, with an empty /tmp and a /dev that takes new links: the driver's lock,
# log and shared segment and a reader's /dev/COM<n> are machine-wide. What lies
# below /tmp of the checkout and of $MV_BUILD_DIR stays in sight. Ends with 77
# when this machine gives no namespaces or no pseudo-terminals.
set -eu

if [ "${1-}" != --inside ]; then
  own='--mount --ipc --pid --fork --kill-child --mount-proc'
  [ "$(id -u)" -eq 0 ] || own="--map-root-user $own"
  # shellcheck disable=SC2086  # the options are meant to be split
  unshare $own true || {
    echo "skipped: this machine gives no private namespaces" >&2
    exit 77
  }
  # shellcheck disable=SC2086
  exec unshare $own "$0" --inside "$@"
fi
shift

# Both built aside: what they take from the old ones must still be in sight.
mount -t tmpfs -o mode=1777 tmpfs /mnt
for place in "$(cd "$(dirname "$0")/../.." && pwd)" "${MV_BUILD_DIR-}"; do
  case "$place" in
    /tmp/*)
      mkdir -p "/mnt/${place#/tmp/}"
      mount --bind "$place" "/mnt/${place#/tmp/}"
      ;;
  esac
done
mount --no-mtab --move /mnt /tmp
mkdir /tmp/dev
mount -t tmpfs -o mode=755 tmpfs /tmp/dev
mkdir /tmp/dev/pts
mount --bind /dev/pts /tmp/dev/pts
for device in null full zero random urandom; do
  touch "/tmp/dev/$device"
  mount --bind "/dev/$device" "/tmp/dev/$device"
done
ln -s pts/ptmx /tmp/dev/ptmx
mount --no-mtab --move /tmp/dev /dev
rmdir /tmp/dev
(: <>/dev/ptmx) 2>/dev/null || {
  echo "skipped: this user may open no pseudo-terminal" >&2
  exit 77
}

# Not exec: the first process of a PID namespace only reaps.
unset TMPDIR
MV_OWN_WORLD=1 "$@"
exit
