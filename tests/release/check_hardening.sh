#!/bin/sh
# check_hardening.sh FILE FUNCTION READELF OBJDUMP [fortified]: the file, one of
# its functions being FUNCTION, was built with every protection that costs a
# correct program nothing.
set -eu
export LC_ALL=C
file=$1 function=$2 readelf=$3 objdump=$4 fortified=${5-}
failed=0

fail() {
  echo "$file: $1"
  failed=1
}
# expect TEXT PATTERN REASON: a line of the text matches.
expect() { printf '%s\n' "$1" | grep -Eq "$2" || fail "$3"; }
refuse() { ! printf '%s\n' "$1" | grep -E "$2" || fail "$3"; }

head=$("$readelf" -hW "$file")
segments=$("$readelf" -lW "$file")
dynamic=$("$readelf" -dW "$file")
symbols=$("$readelf" --dyn-syms -W "$file")
code=$("$objdump" -d --no-show-raw-insn --disassemble="$function" "$file")

expect "$head" 'Type: +DYN' "is not position-independent"
expect "$segments" GNU_RELRO "has no read-only relocations"
expect "$segments" GNU_STACK "does not say what its stack is"
refuse "$segments" 'GNU_STACK.* RWE ' "has an executable stack"
refuse "$segments" 'LOAD.* RWE ' "has writable code"
expect "$dynamic" 'BIND_NOW|FLAGS_1.*NOW' "binds lazily"
refuse "$dynamic" TEXTREL "has text relocations"
expect "$symbols" __stack_chk_fail "has no stack protector"
if [ -n "$fortified" ]; then
  expect "$symbols" '__v?snprintf_chk' "has no checked library calls"
fi
case $head in
  *X86-64*) landing=endbr64 ;;
  *AArch64*) landing='pac(i|ia)sp|bti' ;;
  *) landing=. ;;
esac
expect "$code" "$landing" "$function has no landing pad"
[ "$failed" -ne 0 ] || echo "$(basename "$file"): hardened"
exit "$failed"
