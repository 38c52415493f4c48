"""Two programs that print HTML pages to PDF, each started once and kept for all pages: ours and headless Chromium."""
import base64
import fcntl
import json
import os
import subprocess
import tempfile

from processes import ProcessTree

# The paper and margins that Ostrel prints with, in points.
PAPER, MARGINS = (595, 842), {"Top": 40, "Bottom": 40, "Left": 44, "Right": 44}


class Ostrel:
    name = "Ostrel"

    def __init__(self, program):
        self._process = subprocess.Popen([program], stdin=subprocess.PIPE, stdout=subprocess.PIPE,
                                         stderr=subprocess.DEVNULL, text=True)
        self.tree = ProcessTree(self._process.pid)

    def print(self, page, pdf):
        self._process.stdin.write(f"{page}\t{pdf}\n")
        self._process.stdin.flush()
        answer = self._process.stdout.readline().strip()
        if answer != "ok":
            raise RuntimeError(f"{page}: {answer or 'print-pages ended'}")

    def close(self):
        self._process.stdin.close()
        self._process.wait()


class Chromium:
    """Driven over the DevTools protocol: zero-terminated JSON on file descriptors 3 (to it) and 4 (from it)."""
    name = "Chromium"
    FLAGS = ["--headless", "--no-sandbox", "--disable-gpu", "--disable-quic", "--no-first-run",
             "--disable-background-networking", "--disable-component-update", "--disable-sync",
             "--remote-debugging-pipe"]

    LONGEST_MESSAGE = 64_000_000   # bytes; one of 170 million is never answered

    def __init__(self):
        self._profile = tempfile.TemporaryDirectory(ignore_cleanup_errors=True)
        to_it, self._out = self._pipe()
        self._in, from_it = self._pipe()

        redirected = f'exec "$@" 3<&{to_it} 4>&{from_it}'
        self._process = subprocess.Popen(["bash", "-c", redirected, "bash", "chromium",
                                          f"--user-data-dir={self._profile.name}", *self.FLAGS],
                                         pass_fds=(to_it, from_it), stdout=subprocess.DEVNULL,
                                         stderr=subprocess.DEVNULL)
        os.close(to_it)
        os.close(from_it)
        self.tree = ProcessTree(self._process.pid)
        self._received, self._calls, self._events = bytearray(), 0, []
        tab = self._call("Target.createTarget", url="about:blank")["targetId"]
        self._session = self._call("Target.attachToTarget", targetId=tab, flatten=True)["sessionId"]
        self._call("Page.enable")
        self._call("Emulation.setScriptExecutionDisabled", value=True)
        self._frame = self._call("Page.getFrameTree")["frameTree"]["frame"]["id"]

    _session = None

    @staticmethod
    def _pipe():
        # Out of the way of the descriptors that the program expects its own ends at.
        ends = os.pipe()
        high = [fcntl.fcntl(end, fcntl.F_DUPFD_CLOEXEC, 20) for end in ends]
        for end in ends:
            os.close(end)
        return high

    def _call(self, method, **parameters):
        self._calls += 1
        request = {"id": self._calls, "method": method, "params": parameters}
        if self._session:
            request["sessionId"] = self._session
        data = memoryview(json.dumps(request).encode() + b"\0")   # a hundred photographs are not copied at each step
        while data:
            data = data[os.write(self._out, data):]
        while True:
            answer = json.loads(self._next_message())
            if answer.get("id") == self._calls:
                if "error" in answer:
                    raise RuntimeError(f"{method}: {answer['error']}")
                return answer["result"]
            self._events.append(answer.get("method"))

    def _next_message(self):
        searched = 0
        while (end := self._received.find(b"\0", searched)) < 0:
            searched = len(self._received)
            more = os.read(self._in, 1 << 20)
            if not more:
                raise RuntimeError("Chromium ended")
            self._received += more
        message = bytes(self._received[:end])
        del self._received[:end + 1]
        return message

    def _load(self, page):
        self._events.clear()
        if page.stat().st_size <= self.LONGEST_MESSAGE:
            self._call("Page.setDocumentContent", frameId=self._frame, html=page.read_text("utf-8", "replace"))
            return
        self._call("Page.navigate", url=page.resolve().as_uri())
        while "Page.loadEventFired" not in self._events:
            self._events.append(json.loads(self._next_message()).get("method"))

    def print(self, page, pdf):
        self._load(page)
        printed = self._call("Page.printToPDF", paperWidth=PAPER[0] / 72, paperHeight=PAPER[1] / 72,
                             **{"margin" + side: points / 72 for side, points in MARGINS.items()},
                             printBackground=True)
        pdf.write_bytes(base64.b64decode(printed["data"]))

    def close(self):
        self._session = None
        self._call("Browser.close")
        self._process.wait()
        os.close(self._in)
        os.close(self._out)
        self._profile.cleanup()
