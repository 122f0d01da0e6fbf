#!/bin/sh
# check_exports.sh LIBRARY LIST NM: the library defines the listed dynamic
# symbols and no other, and none that would keep it from being unloaded.
set -eu
library=$1 list=$2 nm=$3

exported=$("$nm" -D --defined-only "$library" | awk '{print $3}' | LC_ALL=C sort)
if [ "$exported" != "$(cat "$list")" ]; then
  echo "exported symbols differ from the list (< list, > library):"
  echo "$exported" | diff "$list" - || exit 1
fi
if "$nm" "$library" | awk '$2 == "u"' | grep .; then
  echo "the GNU-unique symbols above would keep the library in memory"
  exit 1
fi
echo "$(wc -l < "$list") exported symbols, as listed"
