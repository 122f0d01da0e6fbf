#!/usr/bin/env bash
# Shows the driver at work without hardware: installs what is missing, builds,
# starts a virtual reader, enrols a finger, compares it with two others, and
# tells whose finger is pressed.
#
#   scripts/demo.sh                  synthetic fingers
#   scripts/demo.sh --records FILE   three fingers or more of a file: a record a
#                                    line, as mvfp prints them, or four columns
#                                    (see mvfp-vreader --help)
#   scripts/demo.sh --guided         enrol with the prompt window on the screen
#   scripts/demo.sh --web            a web page that uses the reader
#
# Exit status 0: all went as it should.
set -euo pipefail

usage() { sed -n '2,/^$/s/^# \{0,1\}//p' "$0"; }

reader_options=()
enroll_options=()
targets=(mvfp mvfp-vreader)
packages=demo
while [ $# -gt 0 ]; do
  case "$1" in
    --records)
      records=$(realpath -e "${2:?--records needs a file}")
      reader_options=(--records "$records")
      shift
      ;;
    --guided)
      if [ -z "${DISPLAY-}${WAYLAND_DISPLAY-}" ]; then
        echo "--guided needs a screen, and there is none here" >&2
        exit 2
      fi
      enroll_options=(--guided)
      targets+=(cx_capdlg)
      packages=guided-demo
      ;;
    --web) exec "$(dirname "$0")/demo-web.sh" ;;
    -h | --help) usage; exit ;;
    *) usage >&2; exit 2 ;;
  esac
  shift
done

cd "$(dirname "$0")/.."
readonly build=$PWD/build/demo
export PATH=$build/out:$PATH

heading() { printf '\n== %s\n' "$1"; }

show() {
  printf '$ %s\n' "$*"
  "$@"
}

build_tools() {
  cmake --preset release -B "$build" -DMV_BUILD_TESTS=OFF -DMV_BUILD_BENCH=OFF \
    >"$build.log"
  cmake --build "$build" -- "${targets[@]}" >>"$build.log"
}

# Everything that the demo leaves behind is gone when it ends, however it ends.
work=$(mktemp -d)
cleanup() {
  if [ -n "${READER_PID-}" ]; then kill "$READER_PID" 2>/dev/null || true; fi
  rm -rf "$work"
}
trap cleanup EXIT

tell_reader() { printf '%s\n' "$1" >&"${READER[1]}"; }

# Each press shows the reader a new impression of the finger.
press() { tell_reader "press $1; wait-for beep; lift; wait 700"; }

heading "Building the driver and the tools"
scripts/install-deps.sh "$packages"
mkdir -p build
build_tools || { cat "$build.log" >&2; exit 1; }
echo "built in build/demo; output in build/demo.log"

heading "Starting a virtual reader"
coproc READER { exec mvfp-vreader --script - "${reader_options[@]}"; }
read -r MVFP_PORT <&"${READER[0]}"
export MVFP_PORT
echo "its port is /dev/$MVFP_PORT, and MVFP_PORT says so to the tool"
cd "$work"

heading "Which reader is it?"
show mvfp version
show mvfp sn

heading "Enrol finger 1: three presses"
for _ in 1 2 3; do press 1; done
show mvfp enroll --output finger1.template "${enroll_options[@]}"
show mvfp inspect finger1.template | head -5
echo "..."

heading "The same finger again"
press 1
show mvfp capture --output finger1.feature
same=0
show mvfp match finger1.template finger1.feature || same=$?

heading "Another finger"
press 2
show mvfp capture --output finger2.feature
other=0
show mvfp match finger1.template finger2.feature || other=$?

heading "Whose finger is it? Three people, one press"
export MVFP_GALLERY=$work/people.sqlite
show mvfp gallery add finger1.template --id anna --finger right-index
show mvfp gallery add finger2.feature --id ben --finger right-index
press 3
show mvfp capture --output finger3.feature
show mvfp gallery add finger3.feature --id carla --finger right-index
press 2
{ show mvfp identify || true; } | tee identified
who=$(tail -n 1 identified | cut -f 1)

heading "Stopping the reader"
reader=$READER_PID
tell_reader quit
wait "$reader"
echo "it understood every request"

if [ "$same" -ne 0 ] || [ "$other" -ne 1 ] || [ "$who" != ben ]; then
  echo "these fingers were not told apart as they should be" >&2
  exit 1
fi
