# SPDX-License-Identifier: MIT
"""A browser that a test drives: headless Chromium through the HTTP interface of its driver, and nothing but the standard library."""

import base64
import json
import re
import shutil
import subprocess
import tempfile
import urllib.error
import urllib.request

ELEMENT = "element-6066-11e4-a52e-4f735466cecf"


class Browser:
    def __init__(self, chromedriver, width, height):
        self.folder = tempfile.mkdtemp(prefix="okt-browser-")
        self.session = None
        self.driver = subprocess.Popen([chromedriver, "--port=0"], stdout=subprocess.PIPE, stderr=subprocess.DEVNULL, text=True)
        try:
            for line in self.driver.stdout:
                if started := re.search(r"started successfully on port (\d+)", line):
                    self.url = f"http://127.0.0.1:{started[1]}"
                    break
            else:
                raise RuntimeError("chromedriver did not start")
            arguments = ["--headless", "--no-sandbox", "--disable-gpu", "--disable-quic", "--no-first-run",
                         "--disable-dev-shm-usage", "--disable-background-networking", "--disable-component-update",
                         "--disable-sync", "--disable-extensions", "--hide-scrollbars", f"--user-data-dir={self.folder}",
                         f"--window-size={width},{height}"]
            wanted = {"browserName": "chrome", "goog:chromeOptions": {"args": arguments},
                      "goog:loggingPrefs": {"browser": "ALL", "performance": "ALL"}}
            wanted["timeouts"] = {"script": 240_000} # the end of what hangs, far beyond what a loaded machine takes
            self.session = self.call("/session", {"capabilities": {"alwaysMatch": wanted}})["sessionId"]
        except BaseException:
            self.close()
            raise

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self.close()

    def close(self):
        if self.session:
            self.call(f"/session/{self.session}", method="DELETE")
        self.driver.terminate()
        self.driver.wait(30)
        self.driver.stdout.close()
        shutil.rmtree(self.folder, ignore_errors=True)

    def call(self, path, body=None, method="POST"):
        data = None if body is None else json.dumps(body).encode()
        request = urllib.request.Request(self.url + path, data, {"Content-Type": "application/json"}, method=method)
        # The driver is on this machine, whatever proxy there is.
        opener = urllib.request.build_opener(urllib.request.ProxyHandler({}))
        try:
            with opener.open(request, timeout=270) as answer:
                return json.load(answer)["value"]
        except urllib.error.HTTPError as error:
            raise RuntimeError(json.load(error)["value"]["message"]) from None

    def command(self, path, body=None, method="POST"):
        return self.call(f"/session/{self.session}{path}", body if body is not None or method != "POST" else {}, method)

    def devtools(self, name, **parameters):
        return self.command("/goog/cdp/execute", {"cmd": name, "params": parameters})

    def open(self, path, place=""):
        self.command("/url", {"url": path.resolve().as_uri() + place})

    def run(self, script, *arguments):
        """What a function with this body returns."""
        return self.command("/execute/sync", {"script": script, "args": list(arguments)})

    def wait(self, script, *arguments):
        """The first true value of the function, which is called until it gives one. What never comes ends with the time for scripts."""
        waiting = """const [args, done] = [Array.from(arguments).slice(0, -1), arguments[arguments.length - 1]];
            const ask = function () { %s };
            (function again() {
                const value = ask.apply(null, args);
                if (value) done(value); else setTimeout(again, 20);
            })();""" % script
        return self.command("/execute/async", {"script": waiting, "args": list(arguments)})

    def element(self, selector):
        return self.command("/element", {"using": "css selector", "value": selector})[ELEMENT]

    def type(self, selector, text):
        self.command(f"/element/{self.element(selector)}/value", {"text": text})

    def insert(self, text):
        """Types where the keys go, without looking for an element first."""
        self.devtools("Input.insertText", text=text)

    def press(self, key, code):
        """A key that writes nothing, or is written by `key` itself."""
        for kind in ("keyDown" if len(key) == 1 else "rawKeyDown", "keyUp"):
            self.devtools("Input.dispatchKeyEvent", type=kind, key=key, windowsVirtualKeyCode=code,
                          **({"text": key} if kind == "keyDown" else {}))

    def click(self, selector):
        self.command(f"/element/{self.element(selector)}/click")

    def size(self, width, height, mobile=False):
        self.devtools("Emulation.setDeviceMetricsOverride", width=width, height=height, deviceScaleFactor=1, mobile=mobile)

    def dark(self, is_dark):
        self.devtools("Emulation.setEmulatedMedia", features=[{"name": "prefers-color-scheme",
                                                               "value": "dark" if is_dark else "light"}])

    def screenshot(self, path):
        path.write_bytes(base64.b64decode(self.command("/screenshot", method="GET")))

    def pdf(self):
        """The page on A4 paper, as its own style sheet sets it."""
        printed = self.devtools("Page.printToPDF", preferCSSPageSize=True, printBackground=False)
        return base64.b64decode(printed["data"])

    def console(self):
        """What the console tells since the last time."""
        return [entry["message"] for entry in self.command("/se/log", {"type": "browser"})]

    def requests(self):
        """The addresses that pages asked for since the last time."""
        urls = []
        for entry in self.command("/se/log", {"type": "performance"}):
            message = json.loads(entry["message"])["message"]
            if message["method"] == "Network.requestWillBeSent":
                urls.append(message["params"]["request"]["url"])
        return urls
