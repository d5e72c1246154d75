"""A headless Chromium, driven through chromedriver's HTTP protocol (WebDriver) on the loopback."""

import base64
import json
import os
import re
import shutil
import signal
import subprocess
import tempfile
import time
import urllib.request

ELEMENT = "element-6066-11e4-a52e-4f735466cecf"  # the protocol's name for a reference to an element

KEYS = {
    "Enter": "\ue007", "Escape": "\ue00c", "Tab": "\ue004", "Backspace": "\ue003", "Home": "\ue011",
    "End": "\ue010", "ArrowLeft": "\ue012", "ArrowUp": "\ue013", "ArrowRight": "\ue014",
    "ArrowDown": "\ue015", "PageUp": "\ue00e", "PageDown": "\ue00f", "Shift": "\ue008",
}


class DriverError(Exception):
    """What chromedriver refused."""


def missing_programs():
    return [name for name in ("chromium", "chromedriver") if shutil.which(name) is None]


class Browser:
    """One window. Everything it starts has ended when the `with` block ends."""

    def __init__(self, width=1280, height=900, scale=1):
        self.folder = tempfile.mkdtemp(prefix="kelto-browser-")
        self.driver = None
        self.session = None
        try:
            self._start(scale)
            self.size(width, height)
        except BaseException:
            self.close()
            raise

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self.close()

    def _start(self, scale):
        environment = dict(os.environ, HOME=self.folder, XDG_CONFIG_HOME=self.folder,
                           XDG_CACHE_HOME=self.folder, TMPDIR=self.folder)
        self.driver = subprocess.Popen(
            ["chromedriver", "--port=0"], stdout=subprocess.PIPE, stderr=subprocess.DEVNULL,
            env=environment, text=True, start_new_session=True)
        port = None
        for line in self.driver.stdout:
            if found := re.search(r"started successfully on port (\d+)", line):
                port = found.group(1)
                break
        if port is None:
            raise DriverError("chromedriver did not start")
        self.base = f"http://127.0.0.1:{port}"
        arguments = [
            "--headless=new", "--disable-gpu", "--disable-dev-shm-usage", "--hide-scrollbars",
            "--no-first-run", "--no-default-browser-check", "--disable-background-networking",
            "--disable-component-update", "--disable-sync", "--disable-extensions",
            "--disable-default-apps", "--lang=en-GB", f"--user-data-dir={self.folder}/profile",
            f"--force-device-scale-factor={scale}", "about:blank",
        ]
        if os.geteuid() == 0:
            arguments.append("--no-sandbox")  # Chromium refuses to be root with one
        answer = self._ask("POST", "/session", {"capabilities": {"alwaysMatch": {
            "browserName": "chrome",
            "goog:chromeOptions": {"binary": shutil.which("chromium"), "args": arguments},
            "goog:loggingPrefs": {"browser": "ALL", "performance": "ALL"},
        }}})
        self.session = answer["sessionId"]

    def close(self):
        if self.session is not None:
            try:
                self._call("DELETE", "", timeout=10)
            except Exception:  # it is ended below all the same
                pass
            self.session = None
        if self.driver is not None:
            self.driver.terminate()
            try:
                self.driver.wait(5)
            except subprocess.TimeoutExpired:
                self.driver.kill()
                self.driver.wait()
            self.driver.stdout.close()
            self.driver = None
        self._end_left_over()
        shutil.rmtree(self.folder, ignore_errors=True)

    def _processes(self):
        """Those that were started with this window's own folder."""
        for entry in filter(str.isdigit, os.listdir("/proc")):
            for name in ("cmdline", "environ"):
                try:
                    with open(f"/proc/{entry}/{name}", "rb") as file:
                        if self.folder.encode() in file.read():
                            yield int(entry)
                            break
                except OSError:
                    continue

    def _end_left_over(self):
        for _ in range(50):
            left = list(self._processes())
            if not left:
                return
            for process in left:
                try:
                    os.kill(process, signal.SIGKILL)
                except ProcessLookupError:
                    pass
            time.sleep(0.05)

    # The protocol.

    def _ask(self, method, path, body=None, timeout=60):
        data = None if body is None else json.dumps(body).encode()
        request = urllib.request.Request(self.base + path, data, {"Content-Type": "application/json"},
                                         method=method)
        opener = urllib.request.build_opener(urllib.request.ProxyHandler({}))
        try:
            with opener.open(request, timeout=timeout) as response:
                return json.load(response)["value"]
        except urllib.error.HTTPError as error:
            value = json.load(error)["value"]
            raise DriverError(f"{value['error']}: {value['message']}") from None

    def _call(self, method, path, body=None, timeout=60):
        return self._ask(method, f"/session/{self.session}{path}", body, timeout)

    def devtools(self, command, **parameters):
        return self._call("POST", "/goog/cdp/execute", {"cmd": command, "params": parameters})

    # What tests do.

    def open(self, path):
        self._call("POST", "/url", {"url": "file://" + urllib.request.pathname2url(os.path.abspath(path))})

    def blank(self):
        self._call("POST", "/url", {"url": "about:blank"})

    def size(self, width, height):
        self.devtools("Emulation.setDeviceMetricsOverride", width=width, height=height,
                      deviceScaleFactor=0, mobile=False)

    def prefer(self, scheme):
        """'light' or 'dark', as the system would say it."""
        self.devtools("Emulation.setEmulatedMedia",
                      features=[{"name": "prefers-color-scheme", "value": scheme}])

    def run(self, script, *arguments):
        """The value of a JavaScript function's body."""
        return self._call("POST", "/execute/sync", {"script": script, "args": list(arguments)})

    def run_async(self, script, *arguments):
        """The same; the last argument is a function that takes the value."""
        return self._call("POST", "/execute/async", {"script": script, "args": list(arguments)})

    def drawn(self, expression):
        """The value of an expression once the page is drawn: what has not been laid out yet shows no text."""
        return self.run_async("const answer = arguments[0];"
                              f"requestAnimationFrame(() => requestAnimationFrame(() => answer({expression})))")

    def press(self, *keys):
        """Keys by name, or text, typed one after the other."""
        actions = []
        for key in keys:
            for stroke in [KEYS[key]] if key in KEYS else key:
                actions += [{"type": "keyDown", "value": stroke}, {"type": "keyUp", "value": stroke}]
        self._call("POST", "/actions", {"actions": [{"type": "key", "id": "keys", "actions": actions}]})

    def click(self, selector):
        found = self._call("POST", "/element", {"using": "css selector", "value": selector})
        self._call("POST", f"/element/{found[ELEMENT]}/click", {})

    def screenshot(self, path):
        with open(path, "wb") as file:
            file.write(base64.b64decode(self._call("GET", "/screenshot")))

    def accessibility(self):
        """The nodes that a screen reader is told of: role, name, and whatever else there is."""
        nodes = self.devtools("Accessibility.getFullAXTree")["nodes"]
        return [{"role": node.get("role", {}).get("value"), "name": node.get("name", {}).get("value", ""),
                 **{entry["name"]: entry["value"].get("value") for entry in node.get("properties", [])}}
                for node in nodes if not node.get("ignored")]

    def console(self):
        """What the console said since the last time, warnings and errors included."""
        return [f"{entry['level']}: {entry['message']}" for entry in
                self._call("POST", "/se/log", {"type": "browser"})]

    def requests(self):
        """The addresses that were asked for since the last time."""
        addresses = []
        for entry in self._call("POST", "/se/log", {"type": "performance"}):
            message = json.loads(entry["message"])["message"]
            if message["method"] == "Network.requestWillBeSent":
                addresses.append(message["params"]["request"]["url"])
        return addresses
