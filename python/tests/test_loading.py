"""Which library is loaded, and what is said when none is."""

import os
import subprocess
import sys
import unittest
from pathlib import Path
from unittest import mock

from mv_fpi import LIBRARY_VARIABLE, Driver, DriverLoadError

LIBRARY = os.environ[LIBRARY_VARIABLE]
NO_FILE = "/tmp/no-such-driver.so"


def variable(value):
    return mock.patch.dict(os.environ, {LIBRARY_VARIABLE: value})


class Loading(unittest.TestCase):
    def assert_works(self, driver):
        self.assertIs(False, driver.matches("EgAA", "EgAA", 1))

    def test_the_argument_goes_before_the_variable(self):
        with variable(NO_FILE):
            self.assert_works(Driver(LIBRARY))
            self.assert_works(Driver(Path(LIBRARY)))

    def test_the_variable_goes_before_the_loader(self):
        with variable(LIBRARY):
            self.assert_works(Driver())
        with variable(NO_FILE), self.assertRaises(DriverLoadError) as caught:
            Driver()
        self.assertIn(NO_FILE, str(caught.exception))
        self.assertIsInstance(caught.exception, OSError)

    def test_the_loader_finds_the_installed_one(self):
        environment = {
            **os.environ,
            LIBRARY_VARIABLE: "",
            "LD_LIBRARY_PATH": os.path.dirname(LIBRARY),
        }
        code = ("import mv_fpi; print(mv_fpi.Driver()"
                ".matches('EgAA', 'EgAA', 1))")
        done = subprocess.run([sys.executable, "-c", code], env=environment,
                              stdout=subprocess.PIPE, check=True)
        self.assertEqual(b"False\n", done.stdout)

    def test_another_library_is_refused(self):
        with self.assertRaises(DriverLoadError) as caught:
            Driver("libc.so.6")
        self.assertIn("FG_GetDevVersion", str(caught.exception))


if __name__ == "__main__":
    unittest.main()
