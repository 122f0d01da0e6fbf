#!/bin/sh
# check_needs.sh FILE MACHINE READELF [HIGHEST_GLIBC [LIBRARY...]]: a library or
# program is made for that machine, needs no libraries but those that every host
# has and those that are named, and loads on a distribution with that glibc.
# Prints the oldest glibc that it loads on, and what it needs of the newest ones.
set -eu
file=$1 machine=$2 readelf=$3 highest=${4-}
shift $(($# < 4 ? $# : 4))
readonly aim=2.28
# The C++ runtime beside that C library, for what has none of its own.
readonly highest_cxx=3.4.25

fail() { echo "$file: $1" >&2; exit 1; }

is_newer() { [ "$1" != "$(printf '%s\n' "$@" | sort -V | head -n 1)" ]; }

# What it needs of a library, by the tag of its versions.
symbols_of() {
  "$readelf" --dyn-syms -W "$file" |
    sed -n "s/.* UND \(.*\)@$1_\([0-9.]*\).*/\2 \1/p" | sort -V
}

found=$("$readelf" -hW "$file" | sed -n 's/^ *Machine: *//p')
[ "$found" = "$machine" ] || fail "made for $found, not for $machine"

needed=$("$readelf" -dW "$file" | sed -n 's/.*(NEEDED).*\[\(.*\)\]/\1/p')
for name in $needed; do
  case " libc.so.6 libm.so.6 libdl.so.2 libpthread.so.0 libcjson.so.1 $* " in
    *" $name "*) continue ;;
  esac
  case "$name" in
    ld-linux-*.so.*) ;;
    *) fail "needs $name, which a host may not have" ;;
  esac
done

symbols=$(symbols_of GLIBC)
[ -n "$symbols" ] || fail "no symbol of glibc is needed: nothing was measured"
floor=$(echo "$symbols" | tail -n 1 | cut -d ' ' -f 1)

echo "machine: $found"
echo "needs: $(echo "$needed" | tr '\n' ' ')"
echo "oldest glibc: $floor"
echo "$symbols" | while read -r version name; do
  if is_newer "$version" "$aim"; then echo "  $version $name"; fi
done
if [ -n "$highest" ] && is_newer "$floor" "$highest"; then
  fail "needs glibc $floor, newer than $highest"
fi
cxx=$(symbols_of GLIBCXX | tail -n 1 | cut -d ' ' -f 1)
if [ -n "$highest" ] && is_newer "${cxx:-0}" "$highest_cxx"; then
  fail "needs libstdc++ $cxx, newer than $highest_cxx"
fi
