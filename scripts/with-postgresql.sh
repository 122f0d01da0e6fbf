#!/usr/bin/env bash
# Runs a command beside a PostgreSQL server of its own that has the extension of
# a build; both are gone when the command has ended. Nothing on this machine is
# changed, and nobody else can reach the server: its socket lies in a directory
# that is closed to others.
#
#   scripts/with-postgresql.sh BUILD_DIRECTORY COMMAND...
#
# The command gets PGHOST, PGUSER and PGDATABASE for psql, in PG_BIN the server's
# programs, with which it may start more servers, and in LD_LIBRARY_PATH the
# directory of libmv_match and mod_mv_fpi.
set -euo pipefail
readonly version=15
readonly programs=/usr/lib/postgresql/$version
readonly shared=/usr/share/postgresql/$version

build=$(realpath -e "${1:?usage: $0 BUILD_DIRECTORY COMMAND...}")
shift
source=$(dirname "$(realpath "$0")")/../sql/postgresql

# The server refuses to be root.
as_server() {
  if [ "$(id -u)" -ne 0 ]; then
    "$@"
  else
    setpriv --reuid=postgres --regid=postgres --init-groups "$@"
  fi
}

place=$(mktemp -d /tmp/mv-postgresql.XXXXXX)
trap 'as_server "$PG_BIN/pg_ctl" -D "$place/data" -m immediate stop \
  >/dev/null 2>&1 || true; rm -rf "$place"' EXIT

# A server finds its files by where its program lies; so beside a copy of the
# program there are links to all that is installed, and the extension.
export PG_BIN=$place$programs/bin
mkdir -p "$PG_BIN" "$place$shared" "$place/run" "$place/lib"
cp "$programs"/bin/* "$PG_BIN"
cp -rs "$programs/lib" "$place$programs"
cp -rs "$shared/." "$place$shared"
cp "$build/sql/postgresql/mv_fpi.so" "$place$programs/lib"
cp "$source"/mv_fpi.control "$source"/mv_fpi--*.sql "$place$shared/extension"
cp "$build"/out/libmv_match.so.? "$place/lib"
if [ -e "$build/sql/sqlite/mod_mv_fpi.so" ]; then
  cp "$build/sql/sqlite/mod_mv_fpi.so" "$place/lib"
fi
export LD_LIBRARY_PATH=$place/lib${LD_LIBRARY_PATH+:$LD_LIBRARY_PATH}
[ "$(id -u)" -ne 0 ] || chown -R postgres: "$place"

export PGHOST=$place/run PGUSER=postgres PGDATABASE=postgres
cd "$place"
as_server "$PG_BIN/initdb" -D "$place/data" -U postgres -A trust -E UTF8 \
  --locale=C --no-sync >/dev/null
as_server "$PG_BIN/pg_ctl" -D "$place/data" -l "$place/data/log" -w \
  -o "-c listen_addresses= -c unix_socket_directories=$PGHOST -c fsync=off" \
  start >/dev/null || { cat "$place/data/log" >&2; exit 1; }
cd "$OLDPWD"
"$@"
