#!/usr/bin/env bash
# Prints the directory of the PostgreSQL server's headers for an architecture,
# for MV_POSTGRESQL_INCLUDE. Those of another than this machine's cannot be
# installed beside its own; they are fetched once and kept in the user's cache.
#
#   packaging/postgresql-headers.sh amd64|arm64
set -euo pipefail
readonly version=15
readonly architecture=${1:?usage: $0 amd64|arm64}
readonly headers=/usr/include/postgresql/$version/server
readonly cache=${XDG_CACHE_HOME:-$HOME/.cache}/mv-fpi
readonly place=$cache/postgresql-$version-$architecture

if [ "$architecture" = "$(dpkg --print-architecture)" ]; then
  echo "$headers"
  exit
fi
if [ ! -d "$place" ]; then
  mkdir -p "$cache"
  work=$(mktemp -d "$cache/fetching.XXXXXX")
  trap 'rm -rf "$work"' EXIT
  (cd "$work" && apt-get -qq -o APT::Sandbox::User=root download \
    "postgresql-server-dev-$version:$architecture" >&2) || {
    echo "$0: this machine's mirror does not give them (scripts/install-deps.sh" \
      "packages makes $architecture known)" >&2
    exit 1
  }
  dpkg-deb -x "$work"/*.deb "$work/root"
  mv -T "$work/root" "$place"
fi
echo "$place$headers"
