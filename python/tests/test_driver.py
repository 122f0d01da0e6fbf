"""The driver's calls on a virtual reader."""

import os
import pickle
import shutil
import threading
import time
import unittest

import mv_fpi
from mv_fpi import Driver, Record
from virtual_reader import VirtualReader

NOWHERE = "nowhere"
DUAL_FEATURE = "EoMCAAAA"


def setUpModule():
    # A copy: no prompt window and no algorithm library lie beside it.
    shutil.copy(os.environ["MV_FPI_LIBRARY"], "/tmp/driver.so")


class DriverTest(unittest.TestCase):
    def setUp(self):
        self.driver = Driver("/tmp/driver.so")


class Queries(DriverTest):
    def test_version(self):
        with VirtualReader("version 255 254") as reader:
            self.assertEqual("v255.254", self.driver.version(reader.port))

    def test_a_full_serial_number_keeps_its_last_character(self):
        full = "0123456789ABCDEFGHIJKLMNOPQRSTUV"
        with VirtualReader("serial " + full) as reader:
            self.assertEqual(full, self.driver.serial_number(reader.port))

    def test_a_short_serial_number_ends_where_it_ends(self):
        with VirtualReader("serial A-7") as reader:
            self.assertEqual("A-7", self.driver.serial_number(reader.port))

    def test_a_serial_number_may_be_any_bytes(self):
        with VirtualReader("serial A\udcff\udcfeB") as reader:
            os.symlink(reader.port, "/dev/COM6")
            self.assertEqual("A\ufffd\ufffdB",
                             self.driver.serial_number(reader.port))
            request = {"FunctionCode": "0001", "RequestPort": "6"}
            reply = self.driver.comm_call(request)
        self.assertEqual("A\ufffd\ufffdB", reply["DeviceSN"])

    def test_finger_present(self):
        with VirtualReader("press 1") as reader:
            self.assertIs(True, self.driver.finger_present(reader.port))
        with VirtualReader("lift") as reader:
            self.assertIs(False, self.driver.finger_present(reader.port))

    def test_the_switch_box_gets_its_selector(self):
        with VirtualReader("wait-for selector; version 7 8") as reader:
            self.assertEqual("v7.8", self.driver.version(reader.port, box="B"))

    def test_information_as_a_dict(self):
        with VirtualReader(options=["--link", "/dev/COM5"]):
            reply = self.driver.comm_call('{"FunctionCode": "0001", '
                                          '"RequestPort": "5"}')
        self.assertEqual("0", reply["ErrorCode"])
        self.assertEqual("获取设备信息成功", reply["ErrorMessage"])
        self.assertEqual(8, len(reply))


class Captures(DriverTest):
    def test_enrolled_finger_matches_itself_only(self):
        script = "press 1; hold captures 4; press 2"
        with VirtualReader(script) as reader:
            template = self.driver.enroll(reader.port, 30)
            same = self.driver.capture(reader.port, 30)
            other = self.driver.capture(reader.port, 30)
        self.assertGreater(len(Record.from_text(template).minutiae), 10)
        self.assertGreater(self.driver.score(template, same), 45)
        self.assertIs(True, self.driver.matches(template, same, 5))
        self.assertIs(False, self.driver.matches(template, other, 1))

    def test_guided_enrolment_goes_on_without_a_window(self):
        with VirtualReader("press 1") as reader:
            template = self.driver.enroll_guided(reader.port, 30)
        self.assertIs(True, self.driver.matches(template, template, 5))

    def test_presses_of_different_fingers_make_no_template(self):
        script = "".join(f"press {n}; hold capture\n" for n in (1, 2, 3))
        for enroll, code in ((self.driver.enroll, -99),
                             (self.driver.enroll_guided, -601)):
            with VirtualReader(script) as reader:
                with self.assertRaises(mv_fpi.SynthesisError) as caught:
                    enroll(reader.port, 30)
            self.assertEqual(code, caught.exception.code)

    def test_other_threads_run_and_are_refused_during_a_call(self):
        features = []
        trace = "/tmp/trace"
        with VirtualReader(options=["--trace", trace]) as reader:
            def capture():
                features.append(self.driver.capture(reader.port, 30))

            thread = threading.Thread(target=capture)
            thread.start()
            while thread.is_alive() and os.path.getsize(trace) == 0:
                time.sleep(0.01)
            with self.assertRaises(mv_fpi.BusyError):
                self.driver.finger_present(reader.port)
            # Only a thread that runs beside the call can end it.
            reader.tell("press 1")
            thread.join()
        self.assertGreater(len(Record.from_text(features[0]).minutiae), 10)


class Failures(DriverTest):
    def error_of(self, kind, call, *arguments, **named):
        with self.assertRaises(mv_fpi.CallError) as caught:
            call(*arguments, **named)
        self.assertIs(kind, type(caught.exception), caught.exception)
        return caught.exception

    def test_no_finger_in_time(self):
        with VirtualReader() as reader:
            error = self.error_of(mv_fpi.FingerTimeoutError,
                                  self.driver.capture, reader.port, 1)
        self.assertIsInstance(error, TimeoutError)
        self.assertEqual("FG_GetFeature", error.function)
        self.assertEqual(-2, error.code)
        self.assertEqual("采集指纹特征超时", error.message)
        self.assertEqual("FG_GetFeature: -2 [采集指纹特征超时]: "
                         "no finger came in time (FG_ERR_TIMEOUT)", str(error))

    def test_a_number_goes_by_its_call_and_cause(self):
        with VirtualReader("length 1025 on version") as reader:
            error = self.error_of(mv_fpi.ReaderError,
                                  self.driver.version, reader.port)
        self.assertEqual("FG_DEV_TOO_LONG", error.meanings[0].name)
        with VirtualReader("status 9 on serial") as reader:
            error = self.error_of(mv_fpi.ReaderError,
                                  self.driver.serial_number, reader.port)
        self.assertEqual(-14, error.code)

    def test_the_message_tells_two_causes_apart(self):
        error = self.error_of(mv_fpi.PortError,
                              self.driver.capture, NOWHERE, 5)
        self.assertEqual((-3, "打开串口失败"), (error.code, error.message))
        with VirtualReader("press 1; status 1 on speed") as reader:
            error = self.error_of(mv_fpi.ReaderError,
                                  self.driver.capture, reader.port, 5)
        self.assertEqual((-10, "设备串口波特率失败"),
                         (error.code, error.message))

    def test_a_wrong_selector(self):
        with VirtualReader() as reader:
            error = self.error_of(mv_fpi.SelectorError,
                                  self.driver.finger_present, reader.port,
                                  box="X")
        self.assertEqual("", error.message)

    def test_arguments(self):
        driver = self.driver
        self.error_of(mv_fpi.ArgumentError, driver.capture, NOWHERE, 0)
        self.error_of(mv_fpi.ArgumentError, driver.enroll, NOWHERE, -1)
        self.error_of(mv_fpi.ArgumentError, driver.matches, "EgAA", "EgAA", 6)
        for kind, call in (
            (ValueError, lambda: driver.matches("EgAA", "EgAA", 0)),
            (ValueError, lambda: driver.version("a\0b")),
            (ValueError, lambda: driver.score("EgAA\0", "EgAA")),
            (OverflowError, lambda: driver.capture(NOWHERE, 2**32 + 1)),
            (TypeError, lambda: driver.capture(NOWHERE, 1.5)),
            (TypeError, lambda: driver.version(None)),
        ):
            with self.assertRaises(kind) as caught:
                call()
            self.assertNotIsInstance(caught.exception, mv_fpi.CallError)

    def test_records(self):
        driver = self.driver
        self.error_of(mv_fpi.NoMatchError, driver.score, "no record", "EgAA")
        self.assertIs(False, driver.matches("no record", "EgAA", 1))
        error = self.error_of(mv_fpi.AlgorithmLibraryError, driver.score,
                              DUAL_FEATURE, DUAL_FEATURE)
        self.assertEqual(-98, error.code)

    def test_requests(self):
        for port, code, message in (
            (3, -1, "参数错误"),
            ("99", -3, "获取设备信息失败"),
        ):
            with self.assertRaises(mv_fpi.CallError) as caught:
                request = {"FunctionCode": "0001", "RequestPort": port}
                self.driver.comm_call(request)
            self.assertEqual((code, message),
                             (caught.exception.code, caught.exception.message))
        with self.assertRaisesRegex(mv_fpi.CallError, "-99"):
            self.driver.comm_call("no JSON")

    def test_an_error_can_be_sent_to_another_process(self):
        error = self.error_of(mv_fpi.PortError,
                              self.driver.enroll, NOWHERE, 5)
        copy = pickle.loads(pickle.dumps(error))
        self.assertIs(type(error), type(copy))
        self.assertEqual((error.code, error.meanings, str(error)),
                         (copy.code, copy.meanings, str(copy)))


if __name__ == "__main__":
    unittest.main()
