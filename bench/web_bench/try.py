#!/usr/bin/python3
"""What the service for web pages costs: time from a page's call to the first
byte at the reader, against mvfp by hand; memory when idle; growth.

usage: MV_BUILD_DIR=build/release web_bench.py first-byte|idle|growth [CALLS]

Needs what `scripts/install-deps.sh web` installs.
"""

import os
import pathlib
import pty
import statistics
import subprocess
import sys
import time
import tty

sys.path.insert(0, str(pathlib.Path(__file__).parents[2] / "tests/web"))
import browser_test
from terminal import OUT, Terminal

ROUNDS = 4


class Line:
    """A port on which nobody answers."""

    def __init__(self):
        self.far, self.near = pty.openpty()
        tty.setraw(self.near)
        self.device = os.ttyname(self.near)

    def first_byte(self):
        os.read(self.far, 1)
        now = time.time()
        time.sleep(0.3)  # the rest of the request
        os.set_blocking(self.far, False)
        try:
            os.read(self.far, 4096)
        except BlockingIOError:
            pass
        os.set_blocking(self.far, True)
        return now


def by_hand(line):
    start = time.time()
    tool = subprocess.Popen([OUT / "mvfp", "version", "--port", line.device],
                            stderr=subprocess.DEVNULL)
    took = line.first_byte() - start
    tool.terminate()
    tool.wait()
    return took


BEGIN = """
const done = arguments[arguments.length - 1];
const {MvFpi} = await import('/mv_fpi.js');
window.reader ??= await MvFpi.connect({port: arguments[0]});
window.stop = new AbortController();
const start = performance.timeOrigin + performance.now();
window.call = reader.version({signal: stop.signal}).catch(() => {});
done(start / 1000);
"""
END = "stop.abort(); await call; arguments[arguments.length - 1]();"


def from_page(line, terminal, browser):
    start = browser.execute_async_script(BEGIN, terminal.port)
    took = line.first_byte() - start
    browser.execute_async_script(END)
    return took


def first_byte():
    line = Line()
    server, site = browser_test.serve()
    browser = browser_test.start_browser()
    terminal = Terminal(origins=[site])
    terminal.device = line.device
    terminal.start()
    browser.get(site + "/demo/")
    hand, page = [], []
    for _ in range(ROUNDS):
        hand.append(1000 * by_hand(line))
        page.append(1000 * from_page(line, terminal, browser))
    browser.quit()
    terminal.stop()
    server.shutdown()
    for name, took in (("mvfp by hand", hand), ("page's call", page)):
        print(f"{name}: median {statistics.median(took):.1f} ms, "
              f"90 % within {statistics.quantiles(took, n=10)[8]:.1f} ms")


def memory(pid):
    status = pathlib.Path(f"/proc/{pid}/status").read_text().splitlines()
    wanted = ("VmRSS", "RssAnon")
    sizes = [" ".join(line.split()) for line in status if line.startswith(wanted)]
    files = len(os.listdir(f"/proc/{pid}/fd"))
    return f"{', '.join(sizes)}; {files} files open"


def idle():
    with Terminal() as terminal:
        time.sleep(1)
        print(memory(terminal.service.pid))


def growth(calls):
    record = "EgAA"
    with Terminal() as terminal, terminal.wire() as wire:
        for number in range(calls + 1):
            if number % (calls // 10) == 0:
                print(f"{number} calls: {memory(terminal.service.pid)}",
                      flush=True)
            wire.call("record.match", first=record, second=record)


def main():
    what, *calls = sys.argv[1:] or ["--help"]
    if what == "first-byte":
        first_byte()
    elif what == "idle":
        idle()
    elif what == "growth":
        growth(int(calls[0]) if calls else 10000)
    else:
        sys.exit(__doc__)


if __name__ == "__main__":
    main()
