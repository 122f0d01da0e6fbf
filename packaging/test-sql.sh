# Part of test-packages.sh: the packages for databases, in the clean system.
# shellcheck shell=bash disable=SC2154  # $root and $here are that one's

readonly data=/var/lib/postgresql/15/main

install_databases() {
  # No service is to start by itself: this machine's ports are in sight.
  printf '#!/bin/sh\nexit 101\n' >"$root/usr/sbin/policy-rc.d"
  chmod +x "$root/usr/sbin/policy-rc.d"
  apt install postgresql-15 sqlite3
}

as_postgres() {
  inside setpriv --reuid=postgres --regid=postgres --init-groups "$@"
}

control_server() {
  as_postgres sh -c "cd / && /usr/lib/postgresql/15/bin/pg_ctl -D $data -s -w \
    -o '-c config_file=/etc/postgresql/15/main/postgresql.conf' \
    -o '-c listen_addresses=' -l /tmp/postgresql.log $1"
}

# Statements that both take: the golden pairs as texts, as long as their counts
# say. What they differ in is how null is compared.
golden_sql() {
  python3 - "$here/../tests/data/golden_match.tsv" <<'END'
import base64, sys
print("create table golden (score int, a text, b text);")
for line in open(sys.argv[1]):
    score, _, *records = line.split()
    texts = [base64.b64encode(r.ljust(3 + 5 * r[2], b"\0") + bytes(2)).decode()
             for r in map(bytes.fromhex, records)]
    score = "null" if score.startswith("-") else score
    print(f"insert into golden values ({score}, '{texts[0]}', '{texts[1]}');")
END
}

# golden_of DIFFERS: "t" or 1 and the number of pairs that were compared
golden_of() {
  golden_sql
  echo "select sum(case when mv_match(a, b) $1 score then 1 else 0 end),
    count(mv_match(a, b)) > 700 from golden;"
}

check_sqlite() {
  { echo ".load mod_mv_fpi"; golden_of "is not"; } |
    inside sqlite3 :memory: | grep -qx '0|1' || fail "SQLite"
  echo "SQLite: every golden pair has its score"
}

check_postgresql() {
  control_server start || fail "the server does not start"
  { echo "create extension mv_fpi;"; golden_of "is distinct from"
    echo "drop table golden; drop extension mv_fpi;"; } |
    as_postgres psql -Atq -v ON_ERROR_STOP=1 | grep -qx '0|t' ||
    fail "PostgreSQL"
  control_server stop
  echo "PostgreSQL: every golden pair has its score"
}

check_databases() {
  check_sqlite
  check_postgresql
}
