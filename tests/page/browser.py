# SPDX-License-Identifier: MIT
"""A browser that nobody sees, driven over WebDriver's own protocol: nothing but Debian's packages."""

from __future__ import annotations

import base64
import json
import os
import subprocess
import tempfile
import urllib.request
from typing import Any

_ELEMENT = "element-6066-11e4-a52e-4f735466cecf"


class Browser:
    """Headless Chromium with a window of this size."""

    def __init__(self, width: int, height: int) -> None:
        self.profile = tempfile.TemporaryDirectory(prefix="browser")
        log = os.path.join(self.profile.name, "driver.log")
        # Port 0 lets the system choose a free one, which the driver prints.
        self.driver = subprocess.Popen(
            ["chromedriver", "--port=0", f"--log-path={log}"], stdout=subprocess.PIPE, text=True,
            env=dict(os.environ, HOME=self.profile.name, TMPDIR=self.profile.name))
        assert self.driver.stdout is not None
        self.port = 0
        for line in self.driver.stdout:
            if "started successfully on port" in line:
                self.port = int(line.rstrip(". \n").rsplit(" ", 1)[1])
                break
        arguments = ["--headless=new", "--no-sandbox", "--disable-gpu", "--disable-dev-shm-usage",
                     f"--user-data-dir={self.profile.name}/profile",
                     f"--window-size={width},{height}", "--hide-scrollbars",
                     "--force-device-scale-factor=1", "--no-proxy-server"]
        self.session = ""
        answer = self._send("POST", "/session", {"capabilities": {"alwaysMatch": {
            "browserName": "chrome", "goog:loggingPrefs": {"browser": "ALL"},
            "goog:chromeOptions": {"args": arguments}}}})
        self.session = f"/session/{answer['sessionId']}"
        self._send("POST", f"{self.session}/timeouts", {"script": 600_000, "pageLoad": 600_000})

    def _send(self, method: str, path: str, body: Any = None) -> Any:
        data = None if body is None else json.dumps(body).encode()
        request = urllib.request.Request(f"http://127.0.0.1:{self.port}{path}", data, method=method,
                                         headers={"Content-Type": "application/json"})
        opener = urllib.request.build_opener(urllib.request.ProxyHandler({}))
        with opener.open(request) as answer:
            return json.load(answer)["value"]

    def close(self) -> None:
        if self.session:
            self._send("DELETE", self.session)
        self.driver.terminate()
        self.driver.wait()
        self.profile.cleanup()

    def open(self, path: str) -> None:
        self._send("POST", f"{self.session}/url", {"url": f"file://{os.path.abspath(path)}"})

    def run(self, script: str, *arguments: Any) -> Any:
        """What a script returns."""
        return self._send("POST", f"{self.session}/execute/sync",
                          {"script": script, "args": list(arguments)})

    def run_async(self, script: str) -> Any:
        """What a script hands to its last argument."""
        return self._send("POST", f"{self.session}/execute/async", {"script": script, "args": []})

    def _element(self, selector: str) -> str:
        found = self._send("POST", f"{self.session}/element",
                           {"using": "css selector", "value": selector})
        return f"{self.session}/element/{found[_ELEMENT]}"

    def type(self, selector: str, text: str) -> None:
        self._send("POST", self._element(selector) + "/value", {"text": text})

    def click(self, selector: str) -> None:
        self._send("POST", self._element(selector) + "/click", {})

    def press(self, key: str) -> None:
        """A key, wherever the focus is."""
        self._send("POST", f"{self.session}/actions", {"actions": [{
            "type": "key", "id": "keys", "actions": [{"type": "keyDown", "value": key},
                                                     {"type": "keyUp", "value": key}]}]})

    def resize(self, width: int, height: int) -> None:
        self._command("Emulation.setDeviceMetricsOverride", {
            "width": width, "height": height, "deviceScaleFactor": 1, "mobile": width < 600})

    def prefer(self, scheme: str) -> None:
        """"dark" or "light"."""
        self._command("Emulation.setEmulatedMedia",
                      {"features": [{"name": "prefers-color-scheme", "value": scheme}]})

    def _command(self, name: str, parameters: Any) -> Any:
        return self._send("POST", f"{self.session}/goog/cdp/execute",
                          {"cmd": name, "params": parameters})

    def messages(self) -> list[str]:
        """All that the console has said since the last call."""
        log = self._send("POST", f"{self.session}/se/log", {"type": "browser"})
        return [entry["message"] for entry in log]

    def picture(self, path: str) -> None:
        data = self._send("GET", f"{self.session}/screenshot")
        with open(path, "wb") as stream:
            stream.write(base64.b64decode(data))
