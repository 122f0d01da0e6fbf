#!/bin/sh
# check_library.sh LIBRARY MACHINE READELF [HIGHEST_GLIBC]: the driver is made
# for that machine, needs no libraries but those that every host has, and loads
# on a distribution with that glibc. Prints the oldest glibc that it loads on,
# and what it needs of the newest ones.
set -eu
library=$1 machine=$2 readelf=$3 highest=${4-}
readonly aim=2.28

fail() { echo "$library: $1" >&2; exit 1; }

is_newer() { [ "$1" != "$(printf '%s\n' "$@" | sort -V | head -n 1)" ]; }

found=$("$readelf" -hW "$library" | sed -n 's/^ *Machine: *//p')
[ "$found" = "$machine" ] || fail "made for $found, not for $machine"

needed=$("$readelf" -dW "$library" | sed -n 's/.*(NEEDED).*\[\(.*\)\]/\1/p')
for name in $needed; do
  case "$name" in
    libc.so.6 | libm.so.6 | libdl.so.2 | libpthread.so.0) ;;
    ld-linux-*.so.*) ;;
    libcjson.so.1) ;;
    *) fail "needs $name, which a host may not have" ;;
  esac
done

symbols=$("$readelf" --dyn-syms -W "$library" |
  sed -n 's/.* UND \(.*\)@GLIBC_\([0-9.]*\).*/\2 \1/p')
[ -n "$symbols" ] || fail "no symbol of glibc is needed: nothing was measured"
floor=$(echo "$symbols" | sort -V | tail -n 1 | cut -d ' ' -f 1)

echo "machine: $found"
echo "needs: $(echo "$needed" | tr '\n' ' ')"
echo "oldest glibc: $floor"
echo "$symbols" | sort -V | while read -r version name; do
  if is_newer "$version" "$aim"; then echo "  $version $name"; fi
done
if [ -n "$highest" ] && is_newer "$floor" "$highest"; then
  fail "needs glibc $floor, newer than $highest"
fi
