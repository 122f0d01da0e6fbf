"""The page and the client module in Chromium, with the service and a virtual
reader."""

import functools
import http.server
import pathlib
import ssl
import subprocess
import tempfile
import threading
import unittest

from selenium import webdriver
from selenium.webdriver.common.by import By
from selenium.webdriver.support.ui import WebDriverWait

from terminal import TREE, Terminal

SECONDS = 60  # for what must come


class Files(http.server.SimpleHTTPRequestHandler):
    def log_message(self, *_):
        pass


def serve(certificate=None):
    handler = functools.partial(Files, directory=TREE / "web")
    server = http.server.ThreadingHTTPServer(("127.0.0.1", 0), handler)
    scheme = "http"
    if certificate:
        scheme = "https"
        context = ssl.SSLContext(ssl.PROTOCOL_TLS_SERVER)
        context.load_cert_chain(certificate)
        server.socket = context.wrap_socket(server.socket, server_side=True)
    threading.Thread(target=server.serve_forever, daemon=True).start()
    return server, f"{scheme}://localhost:{server.server_port}"


def make_certificate(path):
    subprocess.run(
        ["openssl", "req", "-x509", "-newkey", "rsa:2048", "-nodes",
         "-subj", "/CN=localhost", "-keyout", path, "-out", path + ".crt"],
        check=True, stderr=subprocess.DEVNULL)
    with open(path, "a") as both, open(path + ".crt") as certificate:
        both.write(certificate.read())
    return path


def start_browser(*switches):
    options = webdriver.ChromeOptions()
    # A root in a container has no namespaces for the browser's sandbox.
    for switch in ("--headless=new", "--no-sandbox", "--disable-gpu",
                   "--disable-dev-shm-usage", *switches):
        options.add_argument(switch)
    browser = webdriver.Chrome(options=options)
    browser.set_script_timeout(SECONDS)
    return browser


PRELUDE = """
const done = arguments[arguments.length - 1];
const {MvFpi} = await import('/mv_fpi.js');
try {
  window.reader ??= await MvFpi.connect({port: arguments[0]});
  done(await (async () => { %s })());
} catch (e) { done({name: e.name, code: e.code, origin: e.origin,
                    text: e.text?.('zh') ?? String(e)}); }
"""


class PublicPage(unittest.TestCase):
    def test_a_browser_lets_it_reach_this_machine_when_allowed(self):
        place = self.enterContext(tempfile.TemporaryDirectory())
        server, site = serve(make_certificate(place + "/key.pem"))
        self.addCleanup(server.server_close)
        self.addCleanup(server.shutdown)
        terminal = self.enterContext(Terminal(origins=[site]))
        browser = start_browser(
            "--ignore-certificate-errors", "--ip-address-space-overrides="
            f"127.0.0.1:{server.server_port}=public")
        self.addCleanup(browser.quit)
        browser.get(f"{site}/demo/")
        for allowed, wanted in (
                ("geolocation", {"text": "浏览器禁止此页面访问读头"}),
                ("loopbackNetwork", "v2.15")):
            # What is not named is refused.
            browser.execute_cdp_cmd("Browser.grantPermissions", {
                "origin": site, "permissions": [allowed]})
            said = browser.execute_async_script(
                PRELUDE % "return await reader.version()", terminal.port)
            if isinstance(said, dict):
                said = {"text": said["text"]}
            self.assertEqual(wanted, said)


class Page(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.server, cls.site = serve()
        cls.addClassCleanup(cls.server.server_close)
        cls.addClassCleanup(cls.server.shutdown)
        cls.browser = start_browser()
        cls.addClassCleanup(cls.browser.quit)

    def setUp(self):
        gallery = pathlib.Path(self.enterContext(tempfile.TemporaryDirectory()))
        self.gallery = str(gallery / "gallery.db")
        self.terminal = self.enterContext(Terminal(
            f"--gallery={self.gallery}", origins=[self.site]))
        self.open_demo()

    def open_demo(self):
        self.browser.get(
            f"{self.site}/demo/?lang=en&port={self.terminal.port}")

    def click(self, name):
        self.browser.find_element(By.ID, name).click()

    def await_text(self, text):
        WebDriverWait(self.browser, SECONDS).until(
            lambda b: text in b.find_element(By.ID, "due").text,
            f"the page never said: {text}")

    def js(self, body):
        said = self.browser.execute_async_script(
            PRELUDE % body, self.terminal.port)
        if isinstance(said, dict):
            return {key: said[key] for key in said if said[key] is not None}
        return said

    def press(self, *fingers):
        for finger in fingers:
            self.terminal.script(f"press {finger}; wait-for beep; lift; wait 700")

    def test_enrol_then_tell_fingers_apart(self):
        self.press(1, 1, 1)
        self.click("enroll")
        self.await_text("Enrolled")
        self.assertTrue(self.browser.find_elements(By.CSS_SELECTOR, "#finger g"))
        for finger, verdict in ((1, "the same"), (2, "another")):
            self.press(finger)
            self.click("verify")
            self.await_text(verdict)

    def test_identify(self):
        self.press(3)
        feature = self.js("return await reader.capture({timeout: 30})")
        self.terminal.add_to_gallery(self.gallery, feature, "T1007")
        self.press(3)
        self.click("identify")
        self.await_text("This is T1007")

    def test_cancel_by_button_frees_the_reader(self):
        self.click("enroll")
        self.await_text("three times")
        self.click("cancel")
        self.await_text("cancelled")
        self.assertEqual("v2.15", self.js("return await reader.version()"))

    def test_errors_have_their_class_and_words(self):
        self.assertEqual(
            {"name": "FingerTimeoutError", "code": -2, "text": "等待按压超时"},
            self.js("await reader.capture({timeout: 1})"))
        self.terminal.unplug()
        self.assertEqual(
            {"name": "PortError", "code": -3, "text": "无法打开串口"},
            self.js("await reader.version()"))
        self.terminal.plug_in()
        self.assertEqual(
            {"name": "RecordError", "text": "指纹记录格式错误"},
            self.js("await reader.match('EgAB', 'x')"))
        self.terminal.stop()
        self.assertEqual("ConnectionError",
                         self.js("await reader.version()")["name"])
        self.terminal.start()
        self.assertEqual("v2.15", self.js("return await reader.version()"))

    def test_two_pages_and_one_of_them_closed(self):
        first = self.browser.current_window_handle
        self.browser.switch_to.new_window("tab")
        self.open_demo()
        self.click("enroll")
        self.await_text("three times")
        second = self.browser.current_window_handle
        self.browser.switch_to.window(first)
        self.assertEqual(
            {"name": "BusyError", "origin": self.site,
             "text": "另一个页面正在使用"},
            self.js("await reader.version()"))
        self.browser.switch_to.window(second)
        self.browser.close()
        self.browser.switch_to.window(first)
        self.assertEqual("v2.15", self.js("return await reader.version()"))

    def test_service_restarted_in_mid_call(self):
        self.click("enroll")
        self.await_text("three times")
        self.terminal.stop()
        self.await_text("service ended during the call")
        self.terminal.start()
        self.press(1, 1, 1)
        self.click("enroll")
        self.await_text("Enrolled")


if __name__ == "__main__":
    unittest.main()
