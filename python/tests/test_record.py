"""Records: what is read is what the bytes say, and nothing else is read."""

import base64
import unittest

from mv_fpi import Minutia, MvFpiError, Record, RecordError

# Direction 359 and weight 100 share a word; kind 2 is the top bit of the last.
TWO = bytes.fromhex("124502" "0304 67C9 00" "FF00 0000 E4")
TWO_TEXT = base64.b64encode(TWO).decode()
PARSED = Record(
    (
        Minutia(x=3, y=4, direction=359, weight=100, kind=1, auxiliary=0),
        Minutia(x=255, y=0, direction=0, weight=0, kind=2, auxiliary=100),
    ),
    header_class=0x45,
)


class RecordTest(unittest.TestCase):
    def test_fields_come_from_their_bits(self):
        self.assertEqual(PARSED, Record.from_bytes(TWO))
        self.assertEqual(PARSED, Record.from_text(TWO_TEXT))
        self.assertEqual(PARSED, Record.from_text(TWO_TEXT.encode()))

    def test_writing_gives_the_same_bytes(self):
        self.assertEqual(TWO, PARSED.to_bytes())
        self.assertEqual(TWO_TEXT, PARSED.to_text())

    def test_no_minutiae_are_a_record(self):
        self.assertEqual(Record(()), Record.from_text("EgAA"))

    def test_a_broken_rule_is_refused(self):
        good = "0304 67C9 00"
        for why, digits in {
            "nothing": "",
            "no count": "1200",
            "tag": "13 00 00",
            "a byte too few": "12 00 01 0304 67C9",
            "a byte too many": "12 00 01" + good + "00",
            "51 minutiae": "12 00 33" + 51 * good,
            "direction 360": "12 00 01 0304 68C9 00",
            "weight 101": "12 00 01 0304 67CB 00",
            "auxiliary 101": "12 00 01 0304 67C9 65",
            "dual-feature 0x80": "12 80 00",
            "dual-feature 0x83": "12 83 00",
            "dual-feature 0x88": "12 88 00",
        }.items():
            with self.subTest(why), self.assertRaises(RecordError):
                Record.from_bytes(bytes.fromhex(digits))

    def test_a_text_that_is_no_base64_is_refused(self):
        for text in ("EgA", "Eg*A", "EgAA\n", "EgAA====", "指纹", ""):
            with self.subTest(text), self.assertRaises(RecordError):
                Record.from_text(text)

    def test_a_record_cannot_be_made_wrong(self):
        minutia = PARSED.minutiae[0]
        for make in (
            lambda: Minutia(256, 0, 0, 0, 1),
            lambda: Minutia(0, -1, 0, 0, 1),
            lambda: Minutia(0, 0, 0, 0, 3),
            lambda: Record((minutia,) * 51),
            lambda: Record((), header_class=0x88),
            lambda: Record((), header_class=256),
        ):
            with self.assertRaises(MvFpiError):
                make()


if __name__ == "__main__":
    unittest.main()
