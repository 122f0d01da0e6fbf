#!/bin/sh
# in_own_world.sh COMMAND...: runs it in mount, IPC and PID namespaces of its
# own, with an empty /tmp and a /dev that takes new links: the driver's lock
# and a reader's /dev/COM<n> are machine-wide. Ends with 77 when this machine
# gives no namespaces or no pseudo-terminals.
set -eu

if [ "${1-}" != --inside ]; then
  own='--mount --ipc --pid --fork --mount-proc'
  [ "$(id -u)" -eq 0 ] || own="--map-root-user $own"
  # shellcheck disable=SC2086  # the options are meant to be split
  if ! unshare $own true; then
    echo "skipped: this machine gives no private namespaces" >&2
    exit 77
  fi
  # shellcheck disable=SC2086
  exec unshare $own "$0" --inside "$@"
fi
shift

# Built aside, so that a checkout below /tmp can stay in sight.
mount -t tmpfs -o mode=1777 tmpfs /mnt
checkout=$(cd "$(dirname "$0")/../.." && pwd)
case "$checkout" in
  /tmp/*)
    mkdir -p "/mnt/${checkout#/tmp/}"
    mount --bind "$checkout" "/mnt/${checkout#/tmp/}"
    ;;
esac
mount --no-mtab --move /mnt /tmp
# Built aside: what it takes from the old /dev must still be in sight.
mkdir /tmp/dev
mount -t tmpfs -o mode=755 tmpfs /tmp/dev
mkdir /tmp/dev/pts
mount --bind /dev/pts /tmp/dev/pts
touch /tmp/dev/null
mount --bind /dev/null /tmp/dev/null
ln -s pts/ptmx /tmp/dev/ptmx
mount --no-mtab --move /tmp/dev /dev
if ! (: <>/dev/ptmx) 2>/dev/null; then
  echo "skipped: this user may open no pseudo-terminal" >&2
  exit 77
fi

# Not exec: the first process of a PID namespace only reaps.
unset TMPDIR
"$@"
exit
