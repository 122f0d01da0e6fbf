#!/usr/bin/env bash
# Fetches the runtime of an older Debian to link with: C, C++ and Qt 5. This
# machine's own needs a C library as new as this machine's; terminals in the
# field have older ones. What programs need there to run comes along, so that
# test-old-system.sh can try them in it.
#
#   packaging/old-runtime.sh amd64|arm64    prints the directory where it is
#
# It is fetched once and kept in the user's cache; from OLD_RUNTIME_MIRROR, or
# from where this machine gets its packages.
set -euo pipefail
readonly release=bullseye
readonly architecture=${1:?usage: $0 amd64|arm64}
# To link with, and to run, with all that these depend on; the drivers of
# graphics cards are large, and nothing here draws with one.
readonly headers=(libc6-dev libcjson-dev libgcc-10-dev libstdc++-10-dev
  linux-libc-dev qtbase5-dev)
readonly programs=(libcjson1 libqt5widgets5 libcairo2 libsqlite3-0 coreutils
  dash fonts-dejavu-core grep procps)
readonly left_out='^(libllvm.*|libgl1-mesa-dri|.*:.*)$'
readonly cache=${XDG_CACHE_HOME:-$HOME/.cache}/mv-fpi
readonly place=$cache/system-$release-$architecture
readonly keys=/usr/share/keyrings/debian-archive-keyring.gpg

if [ -d "$place" ]; then
  echo "$place"
  exit
fi

mirror=${OLD_RUNTIME_MIRROR:-$("$(dirname "$0")/mirror.sh")}
mkdir -p "$cache"
work=$(mktemp -d "$cache/fetching.XXXXXX")
trap 'rm -rf "$work"' EXIT
mkdir -p "$work/lists/partial" "$work/root"
echo "deb [signed-by=$keys] $mirror $release main" >"$work/sources.list"
touch "$work/status"

# An apt that knows that release and nothing of this machine's packages.
old_apt() {
  apt-get -qq -o APT::Architecture="$architecture" \
    -o APT::Architectures="$architecture" \
    -o APT::Sandbox::User=root \
    -o Dir::Etc::SourceList="$work/sources.list" -o Dir::Etc::SourceParts=- \
    -o Dir::State::Lists="$work/lists" -o Dir::State::status="$work/status" \
    -o Dir::Cache="$work" "$@"
}
fetch() {
  old_apt update >&2 &&
    needed=$(old_apt install --simulate --no-install-recommends \
      "${programs[@]}" | sed -n 's/^Inst \([^ ]*\).*/\1/p' |
      grep -vE "$left_out") &&
    # shellcheck disable=SC2086  # names of packages
    old_apt download "${headers[@]}" $needed >&2
}
(cd "$work" && fetch) || {
  echo "$0: $mirror does not give the packages of $release" >&2
  exit 1
}
# With what each library has had since when, in one list.
for package in "$work"/*.deb; do
  dpkg-deb -x "$package" "$work/root"
  dpkg-deb -I "$package" symbols >>"$work/root/symbols" 2>/dev/null || true
done
[ -e "$work/root/bin/sh" ] || ln -s dash "$work/root/bin/sh"
# The linker follows links outside of its root.
find "$work/root" -type l -lname '/*' -printf '%p %l\n' |
  while read -r link target; do ln -sfr "$work/root$target" "$link"; done
mv -T "$work/root" "$place"
echo "$place"
