"""The driver's calls on a virtual reader."""

import contextlib
import os
import pickle
import shutil
import subprocess
import threading
import unittest
from pathlib import Path

import mv_fpi

# A copy: no prompt window and no algorithm library lie beside it.
driver = mv_fpi.Driver(shutil.copy(os.environ["MV_FPI_LIBRARY"], "/tmp/a.so"))


@contextlib.contextmanager
def reader(script):
    """The port of a virtual reader, which is /dev/COM5 too."""
    Path("/tmp/script").write_bytes(os.fsencode(script))
    command = [os.environ["MVFP_VREADER"], "--baud", "0", "--link",
               "/dev/COM5", "--script", "/tmp/script"]
    with subprocess.Popen(command, stdout=subprocess.PIPE) as process:
        yield process.stdout.readline().decode().strip()
        process.terminate()


class Calls(unittest.TestCase):
    def test_each_gives_what_the_reader_says(self):
        full = "0123456789ABCDEFGHIJKLMNOPQRSTUV"
        with reader(f"wait-for selector; version 255 254; serial {full}; "
                    "wait-for request 2; serial A\udcff; press 1 1") as port:
            self.assertEqual("v255.254", driver.version(port, box="B"))
            self.assertEqual(full, driver.serial_number(port))
            self.assertIs(True, driver.finger_present(port))
            said = driver.comm_call(dict(FunctionCode="0001", RequestPort="5"))
            self.assertEqual("A\ufffd", said["DeviceSN"])
            feature = driver.capture(port, 30)
        self.assertEqual(100, driver.score(feature, feature))
        self.assertIs(True, driver.matches(feature, feature, 5))

    def test_a_failure_says_call_and_code_also_to_another_process(self):
        dual = "EoMCAAAA"
        with reader("status 9 on serial") as port:
            for kind, said, call, *arguments in (
                (mv_fpi.ReaderError, "FG_GetDevSn: -14",
                 driver.serial_number, port),
                (mv_fpi.FingerTimeoutError,
                 "FG_GetFeature: -2 [采集指纹特征超时]: no finger came in time",
                 driver.capture, port, 1),
                (mv_fpi.PortError, "FG_GetTemplate: -3", driver.enroll, "x", 5),
                (mv_fpi.ArgumentError, "FG_TipsGetTemplate: -1",
                 driver.enroll_guided, port, -1),
                (mv_fpi.NoMatchError, "FG_FpMatch: -8", driver.score, "", ""),
                (mv_fpi.AlgorithmLibraryError, "FG_FpMatch: -98",
                 driver.matches, dual, dual, 1),
                (mv_fpi.ArgumentError, "DEV_CommCall: -99", driver.comm_call, ""),
            ):
                with self.assertRaises(kind) as caught:
                    call(*arguments)
                copy = pickle.loads(pickle.dumps(caught.exception))
                self.assertIs(kind, type(copy))
                self.assertIn(said, str(copy))

    def test_what_c_would_change_is_refused(self):
        self.assertRaises(ValueError, driver.matches, "EgAA", "EgAA", 0)
        self.assertRaises(ValueError, driver.score, "EgAA\0", "EgAA")
        self.assertRaises(OverflowError, driver.capture, "x", 2**32 + 1)

    def test_other_threads_run_and_are_refused_during_a_call(self):
        with reader("wait-for probe 5; press 1") as port:
            thread = threading.Thread(target=driver.capture, args=(port, 30))
            thread.start()
            while "FLOCK" not in Path("/proc/locks").read_text():
                self.assertTrue(thread.is_alive())
            self.assertRaises(mv_fpi.BusyError, driver.version, port)
            thread.join()
