#!/usr/bin/env bash
# help_test.sh DIRECTORY: what the shell offers after a part of a line, and what
# the manual says, as they were made from the programs' help.
set -eu
# shellcheck disable=SC1090,SC1091
source "$1/completions/mvfp"
# shellcheck disable=SC1090,SC1091
source "$1/completions/mvfp-vreader"
cd "$(mktemp -d)"
trap 'rm -r "$PWD"' EXIT

# offers WANTED WORD...: the last word is the one to be completed.
offers() {
  COMP_WORDS=("${@:2}") COMP_CWORD=$(($# - 2)) COMPREPLY=()
  "_${2//-/_}"
  [ "${COMPREPLY[*]}" = "$1" ] ||
    { echo "'${*:2}' offers '${COMPREPLY[*]}', not '$1'" >&2; exit 1; }
}

offers "on off follow" mvfp log ""
offers "--timeout" mvfp capture --port ttyUSB0 --ti
offers "A B C K" mvfp probe --box ""
offers "--level" mvfp match one two --l
offers "--auto-press" mvfp-vreader --a
# The shell offers files when nothing else is offered.
offers "" mvfp enroll --output an

zcat "$1/manual/1/mvfp.1.gz" | grep -A 9 '^.SS "log follow"' |
  grep -q '^Begin with what today..aqs log already holds$'
