"""A Chromium without a window, driven by its own protocol through two pipes."""

import base64
import json
import os
import select
import shutil
import subprocess
import tempfile
import time


def program():
    """The path of a Chromium, or None."""
    return next(filter(None, map(shutil.which, ("chromium", "chromium-browser", "google-chrome"))), None)


class Browser:
    def __init__(self):
        self.profile = tempfile.TemporaryDirectory(prefix="zt_browser_")
        from_us, self.to_it = os.pipe()
        self.from_it, to_us = os.pipe()
        command = [program(), "--headless", "--no-sandbox", "--disable-gpu", "--disable-dev-shm-usage",
                   "--remote-debugging-pipe", "--no-first-run", "--disable-frame-rate-limit",
                   f"--user-data-dir={self.profile.name}", "about:blank"]
        # Chromium reads its descriptor 3 and writes its descriptor 4. Copies of higher numbers come first, because
        # these may be taken.
        script = f'exec 60<&{from_us} 61>&{to_us}; exec "$@" 3<&60 4>&61 60<&- 61>&-'
        self.process = subprocess.Popen(["bash", "-c", script, "bash", *command], pass_fds=(from_us, to_us),
                                        stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
        os.close(from_us)
        os.close(to_us)
        self.rest, self.last, self.events, self.session = b"", 0, [], None
        target = self.call("Target.createTarget", url="about:blank")["targetId"]
        self.session = self.call("Target.attachToTarget", targetId=target, flatten=True)["sessionId"]
        for domain in ("Page", "Runtime", "Network"):
            self.call(f"{domain}.enable")

    def close(self):
        self.session = None
        try:
            self.call("Browser.close")
            self.process.wait(10)
        except (OSError, subprocess.TimeoutExpired):
            self.process.kill()
            self.process.wait()
        os.close(self.to_it)
        os.close(self.from_it)
        self.profile.cleanup()

    def receive(self, seconds):
        deadline = time.monotonic() + seconds
        while b"\0" not in self.rest:
            if not select.select([self.from_it], [], [], max(0, deadline - time.monotonic()))[0]:
                raise OSError("the browser does not answer")
            part = os.read(self.from_it, 1 << 20)
            if not part:
                raise OSError("the browser has ended")
            self.rest += part
        message, _, self.rest = self.rest.partition(b"\0")
        return json.loads(message)

    def call(self, method, **parameters):
        self.last += 1
        message = {"id": self.last, "method": method, "params": parameters}
        if self.session is not None:
            message["sessionId"] = self.session
        os.write(self.to_it, json.dumps(message).encode() + b"\0")
        while True:
            answer = self.receive(60)
            if answer.get("id") == self.last:
                if "error" in answer:
                    raise OSError(f"{method}: {answer['error']}")
                return answer["result"]
            self.events.append(answer)

    def open(self, path, fragment=""):
        """Opens a page anew, and waits until it has drawn itself."""
        for url in ("about:blank", f"file://{os.path.abspath(path)}{fragment}"):
            self.events.clear()
            self.call("Page.navigate", url=url)
            while self.run("[location.href, document.readyState]") != [url, "complete"]:
                time.sleep(0.01)
        self.settle()

    def run(self, expression):
        """The value of an expression in JavaScript, which may be a promise."""
        answer = self.call("Runtime.evaluate", expression=expression, returnByValue=True, awaitPromise=True)
        if "exceptionDetails" in answer:
            raise AssertionError(f"{expression}: {answer['exceptionDetails']['exception'].get('description')}")
        return answer["result"].get("value")

    def settle(self):
        """Until what was done is drawn."""
        self.run("new Promise((done) => requestAnimationFrame(() => requestAnimationFrame(() => done(1))))")

    def click(self, element):
        """Clicks the middle of an element, which an expression gives."""
        x, y = self.run(f"(() => {{ const e = {element}; e.scrollIntoView({{block: 'nearest'}});"
                        "const r = e.getBoundingClientRect(); return [r.x + r.width / 2, r.y + r.height / 2]; })()")
        for kind in ("mousePressed", "mouseReleased"):
            self.call("Input.dispatchMouseEvent", type=kind, x=x, y=y, button="left", clickCount=1)
        self.settle()

    def press(self, key, text=None):
        codes = {"Enter": 13, "Escape": 27, "End": 35, "Home": 36, "ArrowLeft": 37, "ArrowUp": 38, "ArrowRight": 39,
                 "ArrowDown": 40, "/": 191}
        more = {"text": text} if text else {}
        self.call("Input.dispatchKeyEvent", type="keyDown", key=key, windowsVirtualKeyCode=codes[key], **more)
        self.call("Input.dispatchKeyEvent", type="keyUp", key=key, windowsVirtualKeyCode=codes[key])
        self.settle()

    def type(self, text):
        self.call("Input.insertText", text=text)
        self.settle()

    def resize(self, width, height, isPhone=False):
        self.call("Emulation.setDeviceMetricsOverride", width=width, height=height, deviceScaleFactor=1, mobile=isPhone)
        self.call("Emulation.setTouchEmulationEnabled", enabled=isPhone)

    def dark(self, isDark):
        features = [{"name": "prefers-color-scheme", "value": "dark" if isDark else "light"}]
        self.call("Emulation.setEmulatedMedia", features=features)

    def picture(self, path):
        data = self.call("Page.captureScreenshot", format="png")["data"]
        with open(path, "wb") as file:
            file.write(base64.b64decode(data))

    def errors(self):
        """Exceptions that no script caught, and what a policy or a missing resource made the page complain of."""
        return [event["params"] for event in self.events
                if event.get("method") in ("Runtime.exceptionThrown", "Network.loadingFailed")]

    def requests(self):
        return [event["params"]["request"]["url"] for event in self.events
                if event.get("method") == "Network.requestWillBeSent"]
