"""What the package does without a reader."""

import os
import re
import unittest.mock
from pathlib import Path

import mv_fpi
from mv_fpi import Driver, Minutia, Record, constants

TREE = Path(__file__).resolve().parents[2]


class Package(unittest.TestCase):
    def test_its_numbers_are_the_headers_and_its_version_the_drivers(self):
        header = (TREE / "include/mv_fpi.h").read_text("utf-8")
        pairs = re.findall(r"(\w+)\s*=\s*(-?\d+)", header)
        numbers = {name: int(number) for name, number in pairs}
        own = {n: v for n, v in vars(constants).items() if n[0] != "_"}
        self.assertEqual(numbers, own)
        for row in mv_fpi.meanings.MEANINGS:
            self.assertEqual(row.code, numbers.get(row.name, -99), row)
        version = (TREE / "VERSION").read_text("utf-8").strip()
        self.assertEqual(version, mv_fpi.__version__)

    def test_the_argument_goes_before_the_variable(self):
        library = os.environ[mv_fpi.LIBRARY_VARIABLE]
        other = {mv_fpi.LIBRARY_VARIABLE: "/x.so"}
        with unittest.mock.patch.dict(os.environ, other):
            self.assertIs(False, Driver(library).matches("EgAA", "EgAA", 1))
            with self.assertRaisesRegex(mv_fpi.DriverLoadError, "/x.so"):
                Driver()
        self.assertRaises(mv_fpi.DriverLoadError, Driver, "libc.so.6")

    def test_message_and_time_tell_meanings_apart(self):
        for call, code, message, ms, kind, names in (
            ("GetDevSn", -3, "", 249, mv_fpi.PortError, "ERR_PORT"),
            ("GetDevSn", -3, "", 250, mv_fpi.ReaderError,
             "DEV_TOO_LONG ERR_PORT"),
            ("GetFeature", -3, "打开串口失败", 400, mv_fpi.PortError,
             "ERR_PORT"),
            ("GetFeature", -3, "", 400, mv_fpi.ReaderError, "DEV_TOO_LONG"),
            ("GetFeature", -10, "设备串口波特率失败", 0, mv_fpi.ReaderError,
             "ERR_SELECTOR"),
            ("FpMatch", -5, "", 0, mv_fpi.CallError, ""),
        ):
            error = mv_fpi.errors.error_of("FG_" + call, code, message, ms)
            self.assertIs(kind, type(error), error)
            self.assertEqual([f"FG_{name}" for name in names.split()],
                             [m.name for m in error.meanings])

    def test_a_record_is_read_to_the_bit(self):
        data = bytes.fromhex("124502" "030467C900" "FF000000E4")
        record = Record((Minutia(3, 4, 359, 100, 1),
                         Minutia(255, 0, 0, 0, 2, 100)), header_class=0x45)
        self.assertEqual(record, Record.from_bytes(data))
        self.assertEqual(record, Record.from_text(record.to_text()))

    def test_what_breaks_a_records_rule_is_refused(self):
        good = "030467C900"
        for digits in ("", "130000", "120001030467C9", f"120001{good}00",
                       "120033" + 51 * good, "120001030468C900",
                       "120001030467CB00", "120001030467C965", "128300"):
            with self.assertRaises(mv_fpi.RecordError, msg=digits):
                Record.from_bytes(bytes.fromhex(digits))
            # Of a dual-feature record this looks at the head alone.
            self.assertIs(digits == "128300",
                          mv_fpi.record._is_whole(bytes.fromhex(digits)))
        for text in ("EgA", "Eg*A", "EgAA\n", "EgAA====", "指纹", ""):
            with self.assertRaises(mv_fpi.RecordError, msg=text):
                Record.from_text(text)
        self.assertRaises(mv_fpi.RecordError, Minutia, 256, 0, 0, 0, 1)

    def test_a_file_may_break_a_record_into_lines(self):
        path = Path("/tmp/wrapped")
        path.write_text("EgABAwRa\r\n ZAA=\n")
        self.assertEqual("EgABAwRaZAA=", mv_fpi.read_record(path))
        path.write_text("EgABAwRa\n")
        with self.assertRaisesRegex(mv_fpi.RecordError, "/tmp/wrapped: 1 min"):
            mv_fpi.read_record(path)
