"""The driver's calls on a virtual reader."""

import contextlib
import os
import pickle
import shutil
import signal
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
        try:
            yield process.stdout.readline().decode().strip()
        finally:
            process.terminate()


def held():
    return "FLOCK" in Path("/proc/locks").read_text()


def interrupt_when_held():
    while not held():
        pass
    os.kill(os.getpid(), signal.SIGINT)


class Calls(unittest.TestCase):
    def test_each_gives_what_the_reader_says(self):
        full = "0123456789ABCDEFGHIJKLMNOPQRSTUV"
        with reader(f"wait-for selector; version 255 254; serial {full}; "
                    "wait-for request 2; serial A\udcff; press 1 1") as port:
            self.assertEqual("v255.254", driver.version(port, box="B"))
            self.assertEqual(full, driver.serial_number("/dev/" + port))
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
                (mv_fpi.ReaderError, f"FG_GetDevSn on {port}: -14",
                 driver.serial_number, port),
                (mv_fpi.FingerTimeoutError,
                 f"on {port}: -2 [采集指纹特征超时]: no finger came in time",
                 driver.capture, port, 1),
                (mv_fpi.PortError, "FG_GetTemplate on x: -3", driver.enroll, "x"),
                (mv_fpi.ArgumentError, "FG_TipsGetTemplate on",
                 driver.enroll_guided, port, -1),
                (mv_fpi.NoMatchError, "FG_FpMatch: -8", driver.score, "EgAA",
                 "EgAA"),
                (mv_fpi.AlgorithmLibraryError, "FG_FpMatch: -98",
                 driver.matches, dual, dual, 1),
                (mv_fpi.ArgumentError, "DEV_CommCall: -99", driver.comm_call, ""),
                (mv_fpi.PortError, "DEV_CommCall on COM9: -3",
                 driver.comm_call, {"FunctionCode": "0001",
                                    "RequestPort": "9"}),
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
        self.assertRaises(ValueError, driver.version, "/tmp/ttyUSB0")
        self.assertRaises(ValueError, driver.version, "/dev/")
        with self.assertRaisesRegex(mv_fpi.RecordError, "second record: not"):
            driver.matches("EgAA", "EgA\nA", 3)

    def test_other_threads_run_and_are_refused_during_a_call(self):
        with reader("wait-for probe 5; press 1") as port:
            thread = threading.Thread(target=driver.capture, args=(port, 30))
            thread.start()
            while not held():
                self.assertTrue(thread.is_alive())
            self.assertRaises(mv_fpi.BusyError, driver.version, port)
            self.assertTrue(driver.version(port, wait_s=600))
            thread.join()

    def test_a_worker_ends_its_call_and_the_reader_is_free(self):
        with reader("serial A1") as port, mv_fpi.WorkerDriver() as worker:
            self.assertEqual("A1", worker.serial_number(port))
            # Ctrl-C as Python sees it, once the call has the lock.
            thread = threading.Thread(target=interrupt_when_held)
            thread.start()
            with self.assertRaises(KeyboardInterrupt):
                worker.capture(port, 600)
            thread.join()
            self.assertFalse(held())
            worker.deadline_s = 1
            what = "FG_GetFeature on " + port
            with self.assertRaisesRegex(mv_fpi.DeadlineError, what):
                worker.capture(port, 600)
            worker.deadline_s = None
            self.assertEqual("A1", worker.serial_number(port))
            worker._process.kill()
            worker._process.wait()
            self.assertEqual("A1", worker.serial_number(port))
        gone = mv_fpi.WorkerDriver("/x.so")
        self.assertRaises(mv_fpi.DriverLoadError, gone.score, "EgAA", "EgAA")
