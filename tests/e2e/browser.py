"""A headless browser on a private profile, told what to do over a pipe of JSON messages."""

import base64
import json
import os
import select
import shutil
import subprocess
import tempfile
import time


class Browser:
    def __init__(self):
        self.profile = tempfile.mkdtemp(prefix="veltrane-browser-")
        told, self.out = os.pipe()
        self.into, answers = os.pipe()

        def place():
            # The browser listens on descriptor 3 and answers on 4.
            first, second = os.dup(told), os.dup(answers)
            os.dup2(first, 3)
            os.dup2(second, 4)

        command = ["chromium", "--headless=new", "--no-sandbox", "--disable-gpu", "--disable-dev-shm-usage",
                   "--hide-scrollbars", "--no-first-run", "--remote-debugging-pipe", "--user-data-dir=" + self.profile,
                   "--window-size=1000,1400", "about:blank"]
        self.process = subprocess.Popen(command, preexec_fn=place, close_fds=False, stdin=subprocess.DEVNULL,
                                        stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
        os.close(told)
        os.close(answers)
        self.buffer = b""
        self.count = 0
        self.events = []
        self.call("Target.setDiscoverTargets", {"discover": True})

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self.process.terminate()
        self.process.wait(20)
        os.close(self.out)
        os.close(self.into)
        shutil.rmtree(self.profile, ignore_errors=True)

    def _read(self, end):
        while b"\0" not in self.buffer:
            rest = end - time.monotonic()
            if rest <= 0 or not select.select([self.into], [], [], rest)[0]:
                return None
            chunk = os.read(self.into, 1 << 16)
            if not chunk:
                raise AssertionError("the browser has ended")
            self.buffer += chunk
        message, self.buffer = self.buffer.split(b"\0", 1)
        return json.loads(message)

    def call(self, method, params=None, session=None, seconds=20):
        self.count += 1
        message = {"id": self.count, "method": method, "params": params or {}}
        if session:
            message["sessionId"] = session
        os.write(self.out, json.dumps(message).encode() + b"\0")
        end = time.monotonic() + seconds
        while True:
            answer = self._read(end)
            if answer is None:
                raise AssertionError(f"no answer to {method}")
            if answer.get("id") == self.count:
                if "error" in answer:
                    raise AssertionError(f"{method}: {answer['error']}")
                return answer["result"]
            self._take(answer)

    def _take(self, event):
        self.events.append(event)
        # A page that waits for its box answers nothing more.
        if event.get("method") == "Page.javascriptDialogOpening":
            raise AssertionError("the page opened a box: " + event["params"]["message"])

    def serve(self, seconds):
        """Takes what comes."""
        end = time.monotonic() + seconds
        while (event := self._read(end)) is not None:
            self._take(event)

    def attach(self, target):
        page = Page(self, target)
        page.call("Page.enable")
        return page

    def open(self, url):
        page = self.attach(self.call("Target.createTarget", {"url": url})["targetId"])
        page.wait_loaded()
        return page

    def pages(self):
        return [t for t in self.call("Target.getTargets")["targetInfos"] if t["type"] == "page"]


class Page:
    def __init__(self, browser, target):
        self.browser = browser
        self.target = target
        self.session = browser.call("Target.attachToTarget", {"targetId": target, "flatten": True})["sessionId"]

    def call(self, method, params=None):
        return self.browser.call(method, params, self.session)

    def run(self, script):
        answer = self.call("Runtime.evaluate", {"expression": script, "returnByValue": True, "awaitPromise": True})
        if "exceptionDetails" in answer:
            raise AssertionError(answer["exceptionDetails"])
        return answer["result"].get("value")

    def wait_loaded(self, seconds=20):
        end = time.monotonic() + seconds
        while self.run("document.readyState") != "complete" or self.run("location.href") == "about:blank":
            if time.monotonic() > end:
                raise AssertionError("the page does not load")
            self.browser.serve(0.1)

    def click(self, script):
        """Clicks in the middle of the element that the script gives."""
        self.call("Page.bringToFront")
        x, y = self.run(f"(() => {{ const e = {script}; e.scrollIntoView({{block: 'center'}});"
                        " const r = e.getBoundingClientRect(); return [r.x + r.width / 2, r.y + r.height / 2]; })()")
        for kind in ("mousePressed", "mouseReleased"):
            self.call("Input.dispatchMouseEvent",
                      {"type": kind, "x": x, "y": y, "button": "left", "clickCount": 1})

    def screenshot(self, path):
        data = self.call("Page.captureScreenshot", {"format": "png", "captureBeyondViewport": True})["data"]
        path.write_bytes(base64.b64decode(data))
