"""What a result code is said to mean."""

import unittest

import mv_fpi
from mv_fpi.errors import error_of


class Meanings(unittest.TestCase):
    def test_a_number_alone_has_all_its_meanings(self):
        names = [m.name for m in mv_fpi.meanings_of("FG_GetFeature", -3)]
        self.assertEqual(["FG_ERR_PORT", "FG_DEV_TOO_LONG"], names)

    def test_message_and_duration_tell_meanings_apart(self):
        for function, code, message, elapsed_ms, kind, names in (
            ("FG_GetDevVersion", -3, "", 10, mv_fpi.PortError,
             ["FG_ERR_PORT"]),
            ("FG_GetDevVersion", -3, "", 400, mv_fpi.ReaderError,
             ["FG_DEV_TOO_LONG", "FG_ERR_PORT"]),
            ("FG_GetDevSn", -14, "", 10, mv_fpi.BusyError, ["FG_ERR_BUSY"]),
            ("DEV_CommCall", -99, "获取设备信息失败", 1, mv_fpi.ArgumentError,
             ["-99"]),
            ("FG_GetFeature", -3, "打开串口失败", 400, mv_fpi.PortError,
             ["FG_ERR_PORT"]),
            ("FG_GetFeature", -3, "采集指纹特征失败", 400, mv_fpi.ReaderError,
             ["FG_DEV_TOO_LONG"]),
            ("FG_GetFeature", -10, "下发BP盒指令失败", 400,
             mv_fpi.SelectorError, ["FG_ERR_SELECTOR"]),
            ("FG_GetFeature", -10, "", 400, mv_fpi.ReaderError,
             ["FG_DEV_WRITE"]),
            ("FG_TipsGetTemplate", -23, "取消采集指纹模板", 4000,
             mv_fpi.CancelledError, ["FG_ERR_CANCELLED"]),
        ):
            error = error_of(function, code, message, elapsed_ms)
            with self.subTest(str(error)):
                self.assertIs(kind, type(error))
                self.assertEqual(names, [m.name for m in error.meanings])

    def test_an_unknown_code_is_still_an_error(self):
        error = error_of("FG_FpMatch", -5, "", 0)
        self.assertIs(mv_fpi.CallError, type(error))
        self.assertIn("FG_FpMatch: -5: ", str(error))


if __name__ == "__main__":
    unittest.main()
