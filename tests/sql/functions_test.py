"""The functions on records, the same in SQLite and in PostgreSQL.

Run by tests/sql/run.sh, which starts the server."""

import base64
import os
import re
import sqlite3
import subprocess
import threading
import unittest
from pathlib import Path

DATA = Path(__file__).resolve().parents[1] / "data"
MODULE = Path(os.environ["LD_LIBRARY_PATH"].split(":")[0]) / "mod_mv_fpi"


class Refused(Exception):
    """What the database says."""


class Sqlite:
    """In memory, where nothing in a schema is trusted."""

    BYTES = "x'{}'"
    DIFFERS = "is not"

    def __init__(self, encoding="UTF-8"):
        # A thread that has ended leaves its database to another.
        self.db = sqlite3.connect(":memory:", check_same_thread=False)
        self.db.execute(f"pragma encoding = '{encoding}'")
        self.db.execute("pragma trusted_schema = off")
        self.db.enable_load_extension(True)
        self.db.load_extension(str(MODULE))

    def ask(self, sql):
        try:
            rows = self.db.execute(sql).fetchall()
        except sqlite3.Error as error:
            raise Refused(str(error)) from error
        return [tuple("\\x" + value.hex() if isinstance(value, bytes) else value
                      for value in row) for row in rows]

    def fill(self, table, rows):
        places = ", ".join("?" * len(rows[0]))
        self.db.executemany(f"insert into {table} values ({places})", rows)

    def close(self):
        self.db.close()


class Postgres:
    """A database of its own on the server of the surroundings."""

    BYTES = "'\\x{}'::bytea"
    DIFFERS = "is distinct from"
    MEANINGS = {"NULL": None, "t": 1, "f": 0}

    def __init__(self, name="functions", encoding="UTF8"):
        self._name = name
        self._psql("postgres", f"create database {name} encoding '{encoding}' "
                   "template template0")
        self.ask("create extension mv_fpi")

    @staticmethod
    def _psql(database, sql):
        done = subprocess.run(
            ["psql", "-AtqX", "-F", "\t", "-P", "null=NULL", "-v",
             "ON_ERROR_STOP=1", "-d", database],
            input=sql, capture_output=True, encoding="utf-8", check=False)
        if done.returncode:
            raise Refused(done.stderr)
        return done.stdout

    def ask(self, sql):
        return [tuple(self.MEANINGS.get(field, field) if not field.isdigit()
                      else int(field) for field in line.split("\t"))
                for line in self._psql(self._name, sql).splitlines()]

    def fill(self, table, rows):
        def field(value):
            if isinstance(value, bytes):
                return "\\\\x" + value.hex()
            return "\\N" if value is None else str(value)
        lines = ("\t".join(map(field, row)) for row in rows)
        self.ask(f"copy {table} from stdin;\n" + "\n".join(lines) + "\n\\.\n")

    def close(self):
        self._psql("postgres", f"drop database {self._name}")


def golden_pairs():
    """(line, score or None, first, second), as long as their counts say."""
    def whole(digits):
        record = bytes.fromhex(digits)
        length = 3 + 5 * record[2] if len(record) > 2 else 0
        return record.ljust(length, b"\0")[:length]
    lines = (DATA / "golden_match.tsv").read_text().splitlines()
    for number, line in enumerate(lines, start=1):
        score, _, first, second = line.split("\t")
        yield (number, None if score.startswith("-") else int(score),
               whole(first), whole(second))


def text_of(record):
    return base64.b64encode(record + bytes(-len(record) % 3)).decode()


ENDS = "ends after 7 bytes; its 1 minutiae take 8"
NO_TAG = "byte 0 is 0x13 instead of the format tag 0x12"
DUAL = ("a dual-feature record (byte 1 is 0x83), which only the algorithm "
        "library compares")
# <...> are the bytes of a record.
CASES = [
    ("mv_is_record(<120000>)", 1),
    ("mv_is_record('EgAA')", 1),
    ("mv_is_record(<12000164C832640000>)", 1),
    ("mv_is_record(<12000164C83264>)", 0),
    ("mv_is_record('no record')", 0),
    ("mv_is_record(<>)", 0),
    ("mv_is_record('')", 0),
    ("mv_is_record(null)", None),
    ("mv_record_problem(<12000164C8326400>)", None),
    ("mv_record_problem(<12000164C83264>)", ENDS),
    ("mv_record_problem(<130000>)", NO_TAG),
    ("mv_record_problem('EwAA')", NO_TAG),
    ("mv_record_problem(<128300>)", DUAL),
    ("mv_record_problem(null)", None),
    ("mv_minutiae('EgABZMgyZAAA')", 1),
    ("mv_minutiae(<12000164C8326400>)", 1),
    ("mv_minutiae(<12000164C83264>)", None),
    # What follows a record is no part of it.
    ("mv_record('EgABZMgyZAAA')", "\\x12000164c8326400"),
    ("mv_record(<12000164C8326400AB>)", "\\x12000164c8326400"),
    ("mv_record('EwAA')", None),
    ("mv_record_text(<12000164C8326400AB>)", "EgABZMgyZAA="),
    ("mv_record_text('EgAA and more')", "EgAA"),
    ("mv_record_text(<130000>)", None),
    ("mv_match('EgAA', <120000>)", 0),
    ("mv_match('EwAA', <120000>)", None),
    ("mv_match(<120000>, <128300>)", None),
    ("mv_match(<120000>, null)", None),
    ("mv_matches('EgAA', <120000>, 1)", 0),
    ("mv_matches('EgAA', 'EwAA', 5)", None),
    ("mv_matches('EgAA', 'EgAA', null)", None),
]


class Functions:
    """What both databases do."""

    def values(self, cases, db):
        def literal(match):
            return db.BYTES.format(match[1])
        expressions = [re.sub("<(.*?)>", literal, case) for case, _ in cases]
        [row] = db.ask("select " + ", ".join(expressions))
        for (case, expected), value in zip(cases, row):
            with self.subTest(case):
                self.assertEqual(expected, value)

    def test_each_function_gives_what_it_promises(self):
        self.values(CASES, self.db)

    def test_every_golden_pair_has_its_score(self):
        rows = [(*pair, *map(text_of, pair[2:])) for pair in golden_pairs()]
        kind = self.db.BYTES.split(":")[-1] if "::" in self.db.BYTES else "blob"
        self.db.ask(f"create table golden (line int, score int, a {kind}, "
                    f"b {kind}, a_text text, b_text text)")
        self.db.fill("golden", rows)
        for a in "a", "a_text":
            for b in "b", "b_text":
                self.check_golden(a, b)
        # 36 is the threshold of level 3, which must be exceeded.
        for level, least in (1, 31), (3, 37), (5, 46):
            self.assertEqual([], self.db.ask(
                f"select line from golden where mv_matches(a, b, {level}) "
                f"{self.db.DIFFERS} (score >= {least})"))

    def check_golden(self, a, b):
        self.assertEqual([], self.db.ask(
            f"select line, score, mv_match({a}, {b}) from golden where "
            f"mv_match({a}, {b}) {self.db.DIFFERS} score"))
        self.assertGreater(self.db.ask(
            f"select count(mv_match({a}, {b})) from golden")[0][0], 700)

    def test_an_unknown_level_is_named(self):
        for level in 0, 6, -1:
            with self.assertRaisesRegex(Refused, f"no level '?{level}'?; "):
                self.db.ask(f"select mv_matches('EgAA', 'EgAA', {level})")


class SqliteTest(Functions, unittest.TestCase):
    def setUp(self):
        self.db = Sqlite()
        self.addCleanup(self.db.close)

    def test_values_that_are_no_records_are_judged_too(self):
        self.values([("mv_is_record(18)", 0),
                     ("mv_record_problem(1.5)",
                      "a number, neither text nor bytes"),
                     ("mv_match(18, 'EgAA')", None),
                     ("mv_matches('EgAA', 'EgAA', '3')", 0)], self.db)
        for level in "1.5", "'three'":
            with self.assertRaisesRegex(Refused, "no level"):
                self.db.ask(f"select mv_matches('EgAA', 'EgAA', {level})")

    def test_texts_of_any_encoding_are_read(self):
        wide = Sqlite("UTF-16le")
        self.addCleanup(wide.close)
        self.values(CASES + [("mv_is_record('指纹')", 0)], wide)

    def test_a_schema_may_use_them_though_it_is_not_trusted(self):
        self.db.ask("create table fingers(number integer primary key, id text "
                    "not null, finger text not null, record blob not null "
                    "check (mv_is_record(record)), added text not null)")
        self.db.ask("create index sizes on fingers(mv_minutiae(record))")
        insert = "insert into fingers values ({}, 'li', 'r1', x'{}', '')"
        self.db.ask(insert.format(1, "120000"))
        with self.assertRaisesRegex(Refused, "CHECK constraint failed"):
            self.db.ask(insert.format(2, "130000"))
        self.assertEqual([("li",)], self.db.ask(
            "select id from fingers where mv_minutiae(record) = 0"))

    def test_a_thread_may_outlive_its_database(self):
        def use():
            db = Sqlite()
            self.values([("mv_match('EgAA', 'EgAA')", 0)], db)
            db.close()
        self.db.close()  # the last that keeps the library loaded
        for _ in range(3):
            thread = threading.Thread(target=use)
            thread.start()
            thread.join()


class PostgresTest(Functions, unittest.TestCase):
    def setUp(self):
        self.db = Postgres()
        self.addCleanup(self.db.close)

    def test_a_literal_of_bytes_needs_no_cast(self):
        self.values([("mv_record('\\x12000164C8326400AB')",
                      "\\x12000164c8326400"),
                     ("mv_match('\\x120000', 'EgAA')", 0),
                     ("mv_record_problem('\\x1')",
                      "ends after 0 bytes, within its head of 3"),
                     ("mv_record_problem('\\x12000164g832')",
                      "ends after 4 bytes; its 1 minutiae take 8")], self.db)

    def test_a_database_of_any_encoding_is_read(self):
        for encoding in "LATIN1", "EUC_JP", "SQL_ASCII":
            db = Postgres("other", encoding)
            self.values(CASES + [("mv_is_record(convert_from("
                                  "'\\xa1a2', getdatabaseencoding()))", 0)], db)
            db.close()

    def test_the_domain_takes_records_alone(self):
        self.db.ask("create table f (record mv_fingerprint)")
        self.db.ask("insert into f values ('\\x120000'), (mv_record('EgAA'))")
        with self.assertRaisesRegex(Refused, "mv_fingerprint_is_record"):
            self.db.ask("insert into f values ('\\x1200')")
        self.assertEqual([(2,)], self.db.ask(
            "select count(*) from f where mv_match('EgAA', record) = 0"))

    def test_values_stored_apart_and_compressed_take_no_lasting_memory(self):
        # Each holds 100,000 bytes behind its record.
        self.db.ask("""
            create table f (apart bytea, compressed bytea, text text);
            alter table f alter apart set storage external;
            insert into f
              select r, r, encode('\\x120000', 'base64') || repeat('=', 100000)
              from (select '\\x12000164C8326400' ||
                    decode(repeat('00', 100000), 'hex') as r) as long""")
        call = ("mv_match(apart, compressed) + mv_match(compressed, apart) + "
                "mv_match(text, mv_record(apart)) + length(mv_record_text(text))")
        peak = ("select substring(pg_read_file('/proc/self/status') from "
                "'VmHWM:\\s+(\\d+)');")
        [one, before, all_of_them, after] = self.db.ask(
            f"set jit = off; select {call} from f;{peak}"
            f"select count({call}) from f, generate_series(1, 3000);{peak}")
        self.assertEqual([(4,), (3000,)], [one, all_of_them])
        self.assertLess(after[0], before[0] + 50000)

    def test_a_query_ends_when_it_is_cancelled(self):
        with self.assertRaisesRegex(Refused, "canceling statement"):
            self.db.ask("set statement_timeout = 300; select count(mv_match("
                        "'EgAA', encode(set_byte('\\x120000', 1, i % 2), "
                        "'base64'))) from generate_series(1, 2000000000) as i")

    def test_workers_search_side_by_side(self):
        self.db.ask("create table f (id int, record bytea)")
        self.db.fill("f", [pair[0:1] + pair[3:4] for pair in golden_pairs()])
        search = ("select id from f where mv_match("
                  "(select record from f where id = 2), record) = 100")
        hurry = ("set min_parallel_table_scan_size = 0; "
                 "set parallel_setup_cost = 0; set parallel_tuple_cost = 0;")
        plan = self.db.ask(f"{hurry} explain {search}")
        self.assertIn("Workers Planned", str(plan))
        self.assertEqual(sorted(self.db.ask(search)),
                         sorted(self.db.ask(hurry + search)))

    def test_an_owner_without_privileges_installs_and_removes_it(self):
        self.db.ask("drop extension mv_fpi; create role owner; "
                    "alter database functions owner to owner")
        self.addCleanup(self.db.ask, "alter database functions owner to "
                        "current_user; drop owned by owner; drop role owner")
        self.db.ask("set role owner; create schema fingers; "
                    "create extension mv_fpi schema fingers")
        self.db.ask("alter extension mv_fpi set schema public")
        self.values(CASES, self.db)
        self.db.ask("set role owner; drop extension mv_fpi")
        self.assertEqual([], self.db.ask(
            "select proname from pg_proc where proname like 'mv_%'"))


if __name__ == "__main__":
    unittest.main(verbosity=2)
