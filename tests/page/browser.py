"""A headless Chromium that shows one page at a time."""

import base64
import json
import pathlib
import sys

DRIVER = pathlib.Path("/usr/bin/chromedriver")
ARGUMENTS = ("--headless", "--no-sandbox", "--disable-gpu", "--hide-scrollbars", "--disable-quic", "--no-first-run",
             "--disable-background-networking", "--disable-component-update", "--disable-sync")

try:
    from selenium import webdriver
    from selenium.webdriver.chrome.service import Service
except ImportError:
    webdriver = None


def skip_unless_possible():
    """Ends the test as skipped where Debian's selenium or chromedriver is missing."""
    if webdriver is None or not DRIVER.exists():
        print("skipped: needs the packages python3-selenium and chromium-driver")
        sys.exit(77)


class Browser:
    """A browser with an empty profile; leaving the block ends it."""

    def __enter__(self):
        options = webdriver.ChromeOptions()
        for argument in ARGUMENTS:
            options.add_argument(argument)
        options.set_capability("goog:loggingPrefs", {"browser": "ALL", "performance": "ALL"})
        self._driver = webdriver.Chrome(service=Service(str(DRIVER)), options=options)
        return self

    def __exit__(self, *_):
        self._driver.quit()

    def show(self, path, width=1280, height=800, dark=False, media="screen"):
        """Loads a file on a screen of this size, in pixels."""
        self._call("Emulation.setDeviceMetricsOverride", width=width, height=height, deviceScaleFactor=1,
                   mobile=width < 600)
        scheme = {"name": "prefers-color-scheme", "value": "dark" if dark else "light"}
        self._call("Emulation.setEmulatedMedia", media=media, features=[scheme])
        for log in ("browser", "performance"):
            self._driver.get_log(log)  # and empty it
        self._driver.get(path.resolve().as_uri())

    def value(self, expression):
        """The value of a JavaScript expression in the page."""
        return self._driver.execute_script(f"return ({expression})")

    def requests(self):
        """The addresses that the page has requested since the last call, or since it was shown."""
        events = [json.loads(entry["message"])["message"] for entry in self._driver.get_log("performance")]
        return [event["params"]["request"]["url"] for event in events if event["method"] == "Network.requestWillBeSent"]

    def refusals(self):
        """How often the page's policy has refused something since the last call, or since the page was shown."""
        return sum("Content Security Policy" in entry["message"] for entry in self._driver.get_log("browser"))

    def picture(self):
        """The screen, as PNG."""
        return self._driver.get_screenshot_as_png()

    def paper(self):
        """The page printed, as PDF."""
        return base64.b64decode(self._call("Page.printToPDF", preferCSSPageSize=True)["data"])

    def _call(self, method, **parameters):
        return self._driver.execute_cdp_cmd(method, parameters)
