#!/usr/bin/env python3
"""What a search in SQLite and in PostgreSQL costs, beside the bare library.

    scripts/with-postgresql.sh build/release \\
      /usr/bin/python3 bench/sql_bench/sql_bench.py build/release \\
      [--records N] [--rounds N] [--one-core]

Prints a Markdown table of medians. Every round measures each case once, so that
what else the machine does spoils all alike; of one process counts the time that
a processor worked for it, of several the time that passed. Python must be one
whose sqlite3 loads extensions, as Debian's does."""

import argparse
import sqlite3
import statistics
import subprocess
import tempfile
import time
from pathlib import Path

SEARCH = "select id from fingers where mv_match({}, record) > 36"


class Library:
    def __init__(self, program, records):
        self._process = subprocess.Popen(
            [program, "search", records], text=True,
            stdin=subprocess.PIPE, stdout=subprocess.PIPE)

    def search(self):
        self._process.stdin.write("\n")
        self._process.stdin.flush()
        hits, seconds = self._process.stdout.readline().split()
        return int(hits), float(seconds)


class Sqlite:
    def __init__(self, module, place, rows):
        self._db = sqlite3.connect(place)
        self._db.enable_load_extension(True)
        self._db.load_extension(str(module))
        self._db.execute(
            "create table fingers(number integer primary key, id text not null,"
            " finger text not null, record blob not null, added text not null)")
        self._db.executemany("insert into fingers values (?, ?, ?, ?, ?)", rows)
        self._db.execute("create index fingers_of on fingers(id)")
        self._db.commit()
        [[self._probe]] = self._db.execute(
            "select record from fingers where number = 1")

    def search(self):
        begin = time.process_time()
        hits = len(self._db.execute(SEARCH.format("?"),
                                    [self._probe]).fetchall())
        return hits, time.process_time() - begin


class Postgres:
    """One session."""

    def __init__(self):
        self._psql = subprocess.Popen(["psql", "-AtqX"], text=True,
                                      stdin=subprocess.PIPE,
                                      stdout=subprocess.PIPE)
        [self._pid] = self.ask("select pg_backend_pid()")

    def ask(self, sql):
        self._psql.stdin.write(sql + ";\n\\echo the end\n")
        self._psql.stdin.flush()
        lines = iter(self._psql.stdout.readline, "the end\n")
        return [line.rstrip("\n") for line in lines]

    def processor_seconds(self):
        text = Path(f"/proc/{self._pid}/schedstat").read_text()
        return int(text.split()[0]) / 1e9

    def fill(self, records):
        self.ask("create extension mv_fpi;"
                 "create table fingers(number integer primary key,"
                 " id text not null, finger text not null,"
                 " record bytea not null, added text not null)"
                 " with (parallel_workers = 2)")
        self.ask(f"\\copy fingers from '{records}'\n"
                 "vacuum analyze fingers")

    def prepare(self, workers):
        self.ask(f"set max_parallel_workers_per_gather = {workers};"
                 f"set parallel_leader_participation = off;"
                 "prepare search(bytea) as " + SEARCH.format("$1"))
        [self._probe] = self.ask("select record from fingers where number = 1")

    def _run(self):
        return len(self.ask(f"execute search('{self._probe}')"))

    def search(self):
        begin = self.processor_seconds()
        return self._run(), self.processor_seconds() - begin

    def search_beside_workers(self):
        begin = time.monotonic()
        return self._run(), time.monotonic() - begin

    # How many of the planner's units a comparison is worth: one of them is an
    # operator as cheap as an addition.
    def cost(self):
        loop = ("select count({}) from generate_series(1, {}) as i, "
                "(select record as a from fingers where number = 1) as p, "
                "(select record as b from fingers where number = 2) as r")

        def seconds(call, times):
            begin = self.processor_seconds()
            self.ask(loop.format(call, times))
            return (self.processor_seconds() - begin) / times
        self.ask("set jit = off")
        empty = seconds("i", 1000000)
        return ((seconds("mv_match(a, b)", 20000) - empty) /
                (seconds("i+1+1+1+1+1+1+1+1+1+1", 1000000) - empty) * 10)


def rows_of(records):
    with open(records, encoding="ascii") as file:
        for line in file:
            number, person, finger, record, added = line.rstrip("\n").split("\t")
            yield number, person, finger, bytes.fromhex(record[3:]), added


def measure(cases, rounds):
    """{case: median seconds}; all must find as many."""
    seconds = {name: [] for name in cases}
    found = set()
    names = list(cases)
    for _ in range(rounds):
        names.append(names.pop(0))  # none is always the first
        for name in names:
            hits, taken = cases[name]()
            found.add(hits)
            seconds[name].append(taken)
    if len(found) != 1:
        raise SystemExit(f"the cases find different numbers: {found}")
    return {name: statistics.median(all) for name, all in seconds.items()}


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("build", type=Path)
    parser.add_argument("--records", type=int, default=100000)
    parser.add_argument("--rounds", type=int, default=9)
    parser.add_argument("--one-core", action="store_true",
                        help="leave out the searches by several processes")
    arguments = parser.parse_args()
    program = arguments.build / "bench/sql_bench/record_file"
    with tempfile.TemporaryDirectory() as directory:
        records = Path(directory) / "records"
        with records.open("w") as file:
            subprocess.run([program, "make", str(arguments.records)],
                           stdout=file, check=True)
        postgres, one, two = (Postgres() for _ in range(3))
        postgres.fill(records)
        for session, workers in (postgres, 0), (one, 1), (two, 2):
            session.prepare(workers)
        library = Library(program, records)
        sqlite = Sqlite(arguments.build / "sql/sqlite/mod_mv_fpi",
                        Path(directory) / "gallery", rows_of(records))
        cases = {"bare library": library.search, "SQLite": sqlite.search,
                 "PostgreSQL": postgres.search}
        if not arguments.one_core:
            cases["PostgreSQL, one worker"] = one.search_beside_workers
            cases["PostgreSQL, two workers"] = two.search_beside_workers
        medians = measure(cases, arguments.rounds)
    print(f"{arguments.records} records, {arguments.rounds} rounds; "
          f"a comparison costs {postgres.cost():.0f} units\n")
    print("| case | seconds | records a second | of the bare library |")
    print("|---|---|---|---|")
    for name, seconds in medians.items():
        print(f"| {name} | {seconds:.2f} | {arguments.records / seconds:,.0f} "
              f"| {medians['bare library'] / seconds:.2f} |")
    if not arguments.one_core:
        ratio = (medians["PostgreSQL, one worker"] /
                 medians["PostgreSQL, two workers"])
        print(f"\nTwo workers are {ratio:.2f} times as fast as one.")


if __name__ == "__main__":
    main()
