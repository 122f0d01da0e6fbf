#!/usr/bin/env bash
# Fetches the C and C++ runtime of an older Debian to link the driver with. This
# machine's own needs a C library as new as this machine's; terminals in the
# field have older ones.
#
#   packaging/old-runtime.sh amd64|arm64    prints the directory where it is
#
# It is fetched once and kept in the user's cache; from OLD_RUNTIME_MIRROR, or
# from where this machine gets its packages.
set -euo pipefail
readonly release=bullseye
readonly architecture=${1:?usage: $0 amd64|arm64}
readonly wanted=(libc6 libc6-dev libcjson-dev libgcc-10-dev libstdc++-10-dev
  linux-libc-dev)
readonly cache=${XDG_CACHE_HOME:-$HOME/.cache}/mv-fpi
readonly place=$cache/runtime-$release-$architecture
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
    -o Dir::Cache="$work" "$@" >&2
}
(cd "$work" && old_apt update && old_apt download "${wanted[@]}") || {
  echo "$0: $mirror does not give the packages of $release" >&2
  exit 1
}
for package in "$work"/*.deb; do dpkg-deb -x "$package" "$work/root"; done
# The linker follows links outside of its root.
find "$work/root" -type l -lname '/*' -printf '%p %l\n' |
  while read -r link target; do ln -sfr "$work/root$target" "$link"; done
mv -T "$work/root" "$place"
echo "$place"
