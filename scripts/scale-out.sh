#!/usr/bin/env bash
# Spreads a table of fingers over PostgreSQL servers, as docs/scale-out.md says,
# and checks that it is searched as on one server. All run on this machine, with
# directories and sockets of their own; nothing is left of them.
#
#   scripts/scale-out.sh [RECORDS [CORES]]
#
# RECORDS (300000) made-up records are spread over two nodes and a front, which
# asks each node over CORES (1) connections. Needs PostgreSQL 15 with the
# extension mv_fpi; with that of a build:
#
#   scripts/with-postgresql.sh build/release scripts/scale-out.sh
set -euo pipefail
readonly records=${1:-300000} cores=${2:-1}
readonly shelves=12
bin=${PG_BIN:-/usr/lib/postgresql/15/bin}
password=$(head -c 18 /dev/urandom | base64)
level=3

# The servers refuse to be root.
admin=$(id -un)
as_admin() { "$@"; }
if [ "$(id -u)" -eq 0 ]; then
  admin=postgres
  as_admin() { setpriv --reuid="$admin" --regid="$admin" --init-groups "$@"; }
fi

step() { printf '\n== %s\n' "$1"; }
fail() { echo "FAILED: $1" >&2; exit 1; }

place=$(mktemp -d /tmp/mv-scale-out.XXXXXX)
[ "$(id -u)" -ne 0 ] || chown "$admin:" "$place"
cd "$place"
servers=()
end() {
  for name in "${servers[@]}"; do
    control "$name" -m immediate stop >/dev/null 2>&1 || true
  done
  rm -rf "$place"
}
trap end EXIT

control() { as_admin "$bin/pg_ctl" -D "$place/$1" -s -w "${@:2}"; }

port_of() { case $1 in front) echo 5432 ;; *) echo "$((5432 + ${1#node}))" ;; esac; }

# start_server NAME: new and empty. Its owner comes in as this system's user, all
# others with a password.
start_server() {
  as_admin "$bin/initdb" -D "$place/$1" -U "$admin" -E UTF8 --locale=C \
    -A peer --no-sync >/dev/null
  as_admin tee "$place/$1/pg_hba.conf" >/dev/null <<END
local all $admin peer
local all all scram-sha-256
END
  as_admin tee -a "$place/$1/postgresql.conf" >/dev/null <<END
listen_addresses = ''
unix_socket_directories = '$place'
port = $(port_of "$1")
END
  servers+=("$1")
  control "$1" -l "$place/$1/log" start || { cat "$place/$1/log"; exit 1; }
}

# sql SERVER [OPTION...]: runs its input there.
sql() {
  as_admin "$bin/psql" -h "$place" -p "$(port_of "$1")" -U "$admin" \
    -d postgres -X -q -v ON_ERROR_STOP=1 "${@:2}"
}

# The front's tables belong to one who is no superuser, and alone can reach the
# nodes.
as_keeper() { PGOPTIONS='-c role=keeper' sql front "$@"; }

# What a front may do at a node is what this role may.
prepare_node() {
  sql "$1" <<END
create extension mv_fpi;
create role front login password '$password';
END
}

# make_shelf NODE SHELF
make_shelf() {
  sql "$1" <<END
create table fingers_$2 (
  number bigint not null, id text not null, finger text not null,
  record mv_fingerprint not null, added timestamptz not null);
create index on fingers_$2 (id);
grant select, insert, update, delete on fingers_$2 to front;
END
}

# introduce_node NODE: one connection a core, for one connection does one search
# at a time.
introduce_node() {
  local core
  for core in $(seq "$cores"); do
    sql front <<END
create server $1_core$core foreign data wrapper postgres_fdw options (
  host '$place', port '$(port_of "$1")', dbname 'postgres',
  extensions 'mv_fpi', async_capable 'true', batch_size '1000');
create user mapping for keeper server $1_core$core
  options (user 'front', password '$password');
grant usage on foreign server $1_core$core to keeper;
END
  done
}

prepare_front() {
  sql front <<END
create extension mv_fpi;
create extension postgres_fdw;
create role keeper;
create role door login password '$password';
grant create on schema public to keeper;
grant usage on foreign data wrapper postgres_fdw to keeper;
END
  as_keeper <<'END'
create table fingers (
  number bigint not null, id text not null, finger text not null,
  record mv_fingerprint not null, added timestamptz not null)
  partition by hash (id);
END
}

# lay_shelf SHELF NODE NAME: the front's view of it, as a table of its own.
lay_shelf() {
  local core=$(($1 / 2 % cores + 1))
  echo "create foreign table $3 (
    number bigint not null, id text not null, finger text not null,
    record mv_fingerprint not null, added timestamptz not null)
    server $2_core$core options (table_name 'fingers_$1');"
}

spread_shelves() {
  local shelf node
  for shelf in $(seq 0 $((shelves - 1))); do
    node=node$((shelf % 2 + 1))
    make_shelf "$node" "$shelf"
    { lay_shelf "$shelf" "$node" "fingers_$shelf"
      echo "alter table fingers attach partition fingers_$shelf
        for values with (modulus $shelves, remainder $shelf);"
    } | as_keeper
  done
}

# Strangers, and among them now and then another press of the first finger.
fill() {
  as_keeper >/dev/null <<END
create function digits(number integer) returns text immutable language sql
  return lpad(to_hex(number), 2, '0');
create function draw(low integer, high integer) returns integer volatile
  language sql return low + floor(random() * (high - low + 1))::integer;
create function made_up() returns bytea volatile language sql as \$\$
  select decode('1200' || digits(count(*)::integer) || string_agg(
    digits(draw(20, 235)) || digits(draw(20, 235)) || digits(draw(0, 255)) ||
    digits(2 * draw(40, 100)) || '00', ''), 'hex')
  from generate_series(1, draw(22, 40)) \$\$;
select setseed(0.5);
create table alone (like fingers);
insert into alone select 1, 'person1', 'right index', made_up(), now();
insert into alone select n, 'person' || n, 'right index',
  case when n % 20000 = 0
    then (select set_byte(substring(record for 103), 2, 20) from alone)
    else made_up() end, now()
  from generate_series(2, $records) as n;
insert into fingers select * from alone;
analyze alone;
analyze fingers;
END
}

# What the application gets instead of the table.
make_identify() {
  as_keeper <<'END'
create function identify(probe bytea, level integer)
returns table (id text, finger text, score integer)
language plpgsql stable security definer
set search_path = public, pg_temp set jit = off
as $$
begin
  return query
    select f.id, f.finger, mv_match(probe, f.record) as score
    from fingers as f where mv_matches(probe, f.record, level)
    order by score desc, f.id;
end
$$;
revoke execute on function identify from public;
grant execute on function identify to door;
END
}

search_of() {
  echo "select id, mv_match(:'probe', record) as score from $1
    where mv_matches(:'probe', record, $level) order by score desc, id"
}
readonly take_probe="select record as probe from alone where number = 1 \\gset"

# search TABLE: what is found.
search() { { echo "$take_probe"; search_of "$1"; } | as_keeper -At; }

check_same() {
  search fingers >found || fail "the search"
  diff alone.found found || fail "not what one server finds"
  echo "The same $(wc -l <found) rows as on one server."
}

time_searches() {
  local table
  for table in alone fingers; do
    { echo "$take_probe"
      echo "set max_parallel_workers_per_gather = 0;"
      search_of "$table" | sed '$s/$/;/'
      printf '%s\n' '\timing on'
      search_of "$table"
    } | as_keeper -At | sed -n "s/^Time:/$table:/p"
  done
}

check_plan() {
  { echo "$take_probe"; echo "explain (verbose, costs off)"
    search_of fingers; } | as_keeper -At >plan
  grep -m 1 -B 2 'Remote SQL' plan | sed "/Output/d; s/E'[^']*'/'...'/"
  echo "  ... and so on for $shelves shelves"
  [ "$(grep -c 'Async Foreign Scan' plan)" -eq "$shelves" ] ||
    fail "the nodes wait for each other"
  [ "$(grep -c 'Remote SQL.*mv_matches(' plan)" -eq "$shelves" ] ||
    fail "not every node compares"
}

# A session that has asked the node before, and a new one.
check_node_down() {
  { echo "$take_probe"
    search_of fingers | sed '$s/$/;/'
    echo "\\! $bin/pg_ctl -D $place/node2 -s -w -m fast stop"
    search_of fingers; } | as_keeper >/dev/null 2>known && fail "no error"
  if search fingers >/dev/null 2>new; then fail "no error"; fi
  for session in known new; do
    echo "-- in a $session session:"
    cat $session
    grep -q 'could not connect to server "node2_' $session ||
      fail "the node is not named"
  done
  # Shelf 0 lies on the other node.
  person=$(as_keeper -At <<<"select id from fingers_0 limit 1")
  as_keeper -At <<<"select id || ' can be asked for' from fingers
    where id = '$person' and mv_is_record(record)" | grep . ||
    fail "the other node's people cannot be found"
}

check_roles() {
  local query=(env "PGPASSWORD=$password" "$bin/psql" -h "$place" -p 5432 -X
    -At -q -d postgres -v ON_ERROR_STOP=1 -v "probe=$1" -U door)
  echo "select id, score from identify(:'probe', $level)" |
    as_admin "${query[@]}" >door || fail "the function"
  diff alone.found door || fail "the function finds something else"
  for hidden in fingers fingers_0 pg_user_mapping; do
    if echo "select * from $hidden limit 1" | as_admin "${query[@]}" 2>denied
    then fail "the application may read $hidden"; fi
    cat denied
  done
}

# move_shelf SHELF NODE: searches wait until it is there; nothing is lost when it
# fails half-way.
move_shelf() {
  make_shelf "$2" "$1"
  { echo "begin; lock table fingers;"
    lay_shelf "$1" "$2" moved
    echo "insert into moved select * from fingers_$1;
      alter table fingers detach partition fingers_$1;
      drop foreign table fingers_$1;
      alter foreign table moved rename to fingers_$1;
      alter table fingers attach partition fingers_$1
        for values with (modulus $shelves, remainder $1);
      commit;
      analyze fingers_$1;"
  } | as_keeper
}

step "Three servers"
for name in front node1 node2; do start_server "$name"; done
prepare_front
for node in node1 node2; do prepare_node "$node"; introduce_node "$node"; done
spread_shelves
make_identify

step "$records records"
fill
for node in node1 node2; do
  echo "$node: $(sql $node -At <<<"select sum(n_live_tup) || ' records, ' ||
    pg_size_pretty(sum(pg_total_relation_size(relid)))
    from pg_stat_user_tables")"
done

step "The plan"
check_plan

step "A search on one server (one process), and on two nodes"
search alone >alone.found
[ -s alone.found ] || fail "nothing is found"
check_same
time_searches

step "The application"
check_roles "$(as_keeper -At <<<'select record from alone where number = 1')"

step "A node is down"
check_node_down
control node2 -l "$place/node2/log" start
step "It is back"
check_same

step "A third node"
start_server node3
prepare_node node3
introduce_node node3
for shelf in $(seq 2 3 $((shelves - 1))); do
  move_shelf "$shelf" node3
  sql "node$((shelf % 2 + 1))" <<<"drop table fingers_$shelf"
done
check_plan
check_same

step "All is well"
