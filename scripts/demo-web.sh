#!/usr/bin/env bash
# The reader in a web page, without hardware: installs what is missing, builds,
# starts a virtual reader, the service and the page, and prints its address.
# Fingers are pressed from here. Called by scripts/demo.sh --web.
set -euo pipefail
cd "$(dirname "$0")/.."
readonly build=$PWD/build/demo
export PATH=$build/out:$PATH

work=$(mktemp -d)
cleanup() {
  trap - EXIT
  # shellcheck disable=SC2046  # a list of processes
  kill $(jobs -p) 2>/dev/null || true
  rm -rf "$work"
}
trap cleanup EXIT
trap 'exit 130' INT TERM

scripts/install-deps.sh web-demo
mkdir -p build
{
  cmake --preset release -B "$build" -DMV_BUILD_TESTS=OFF -DMV_BUILD_BENCH=OFF \
    -DMV_BUILD_WEB=ON &&
    cmake --build "$build" -- mvfp mvfp-vreader mvfp-web cx_capdlg
} >"$build.log" || { cat "$build.log" >&2; exit 1; }

coproc READER { exec mvfp-vreader --script -; }
read -r port <&"${READER[0]}"
exec {reader}>&"${READER[1]}"
tell_reader() { printf '%s\n' "$1" >&"$reader"; }
press() { tell_reader "press $1; wait-for beep; lift; wait 700"; }

press 3
mvfp capture --port "$port" --output "$work/anna.feature" 2>/dev/null
mvfp gallery add "$work/anna.feature" --id Anna --finger "right index" \
  --gallery "$work/gallery.db" >/dev/null

# The system chooses a port that is free, and the server says which.
python3 -u -m http.server --bind 127.0.0.1 --directory web 0 \
  >"$work/server.log" 2>&1 &
until grep -q 'port [0-9]' "$work/server.log"; do sleep 0.1; done
site=http://localhost:$(sed -n 's/.* port \([0-9]*\).*/\1/p;q' "$work/server.log")
mvfp-web --config /dev/null --allow-origin "$site" --reader "$port" \
  --gallery "$work/gallery.db" 2>"$work/service.log" &
service=$!
until grep -q 'allowed origins' "$work/service.log"; do
  kill -0 "$service" 2>/dev/null || { cat "$work/service.log" >&2; exit 1; }
  sleep 0.1
done

cat <<END

The page:  $site/demo/

Choose there what to do, then press fingers from here: a number presses the
finger of this number, and an enrolment wants the same one three times. Finger
3 is Anna's, who is in the gallery. An empty line or Ctrl-D ends the demo.
END
while read -rp "finger: " finger && [ -n "$finger" ]; do
  case "$finger" in
    *[!0-9]* | 0*) echo "a number from 1, please" ;;
    *) press "$finger" ;;
  esac
done
echo
