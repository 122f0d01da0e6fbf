#!/usr/bin/env bash
# completion_test.sh DIRECTORY: what the shell offers after a part of a line.
set -eu
cd "$(mktemp -d)"
trap 'rm -r "$PWD"' EXIT
# shellcheck disable=SC1090,SC1091
source "$1/mvfp"
# shellcheck disable=SC1090,SC1091
source "$1/mvfp-vreader"

# offers WANTED WORD...: the last word is the one to be completed.
offers() {
  local wanted=$1
  shift
  COMP_WORDS=("$@") COMP_CWORD=$(($# - 1)) COMPREPLY=()
  "_${1//-/_}"
  if [ "${COMPREPLY[*]}" != "$wanted" ]; then
    echo "'$*' offers '${COMPREPLY[*]}', not '$wanted'" >&2
    exit 1
  fi
}

offers "enroll" mvfp enr
offers "on off follow" mvfp log ""
offers "follow" mvfp log f
offers "--timeout" mvfp capture --port ttyUSB0 --ti
offers "--from-start" mvfp log follow --from
offers "A B C K" mvfp probe --box ""
offers "--level" mvfp match one two --l
offers "--auto-press" mvfp-vreader --a
# The shell offers files when nothing else is offered.
offers "" mvfp match an
offers "" mvfp enroll --output an
offers "" mvfp-vreader --records "fi"
