"""A headless Chromium, driven through its DevTools pipe: one page, looked at from inside."""

import base64
import json
import os
import shutil
import subprocess
import sys
import tempfile

NAMES = ("chromium", "chromium-browser")


def find():
    """The browser's path; ends the test as skipped where there is none."""
    path = next(filter(None, map(shutil.which, NAMES)), None)
    if path is None:
        print("skipped: needs chromium")
        sys.exit(77)
    return path


class Browser:
    """Shows one page after the other; a context manager, which ends the browser."""

    def __init__(self):
        self.profile = tempfile.TemporaryDirectory(ignore_cleanup_errors=True)
        read_commands, self.commands = os.pipe()
        self.answers, write_answers = os.pipe()
        # The browser talks on its descriptors 3 and 4.
        script = f'exec "$0" "$@" 3<&{read_commands} 4>&{write_answers}'
        self.process = subprocess.Popen(
            ["/bin/bash", "-c", script, find(), "--headless", "--no-sandbox", "--disable-gpu", "--hide-scrollbars",
             "--remote-debugging-pipe", f"--user-data-dir={self.profile.name}", "about:blank"],
            pass_fds=(read_commands, write_answers), stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL,
            stderr=subprocess.DEVNULL)
        os.close(read_commands)
        os.close(write_answers)
        self.rest, self.count, self.session, self.events = b"", 0, None, []
        target = self.call("Target.createTarget", url="about:blank")["targetId"]
        self.session = self.call("Target.attachToTarget", targetId=target, flatten=True)["sessionId"]
        for part in ("Page", "Runtime", "Network", "Log"):
            self.call(f"{part}.enable")

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self.process.kill()
        self.process.wait()
        os.close(self.commands)
        os.close(self.answers)
        self.profile.cleanup()

    def next_message(self):
        """The next message of the browser."""
        while b"\0" not in self.rest:
            part = os.read(self.answers, 1 << 16)
            if not part:
                raise RuntimeError("the browser has ended")
            self.rest += part
        message, self.rest = self.rest.split(b"\0", 1)
        return json.loads(message)

    def call(self, method, **parameters):
        """Has the browser do something, and returns what it answers."""
        self.count += 1
        message = {"id": self.count, "method": method, "params": parameters}
        if self.session:
            message["sessionId"] = self.session
        os.write(self.commands, json.dumps(message).encode() + b"\0")
        while True:
            answer = self.next_message()
            if answer.get("id") == self.count:
                if "error" in answer:
                    raise RuntimeError(f"{method}: {answer['error']}")
                return answer["result"]
            self.events.append(answer)

    def show(self, path, width=1280, height=800, dark=False, media="screen"):
        """Loads a file, as on a screen of that size."""
        self.call("Emulation.setDeviceMetricsOverride", width=width, height=height, deviceScaleFactor=1,
                  mobile=width < 600)
        scheme = {"name": "prefers-color-scheme", "value": "dark" if dark else "light"}
        self.call("Emulation.setEmulatedMedia", media=media, features=[scheme])
        self.events.clear()
        self.call("Page.navigate", url=path.resolve().as_uri())
        while not any(event.get("method") == "Page.loadEventFired" for event in self.events):
            self.events.append(self.next_message())

    def value(self, expression):
        """What a script's expression comes to in the page."""
        answer = self.call("Runtime.evaluate", expression=expression, returnByValue=True)
        if "exceptionDetails" in answer:
            raise RuntimeError(answer["exceptionDetails"])
        return answer["result"].get("value")

    def requests(self):
        """The addresses that the page shown last asked for."""
        self.value("0")
        return [event["params"]["request"]["url"] for event in self.events
                if event.get("method") == "Network.requestWillBeSent"]

    def refusals(self):
        """How often the page's policy refused something since it was shown."""
        self.value("0")
        return sum("Content Security Policy" in event["params"]["entry"]["text"] for event in self.events
                   if event.get("method") == "Log.entryAdded")

    def picture(self):
        """What the screen shows, as PNG."""
        return base64.b64decode(self.call("Page.captureScreenshot", format="png")["data"])

    def paper(self):
        """The page printed, as PDF."""
        return base64.b64decode(self.call("Page.printToPDF", preferCSSPageSize=True)["data"])
