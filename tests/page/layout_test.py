"""The page of 1 and of 40 reports, and of 12 hosts, on screens, phones and paper: no text is clipped, hidden or too pale to read.

Usage: layout_test.py QRXINSPECT FOLDER    FOLDER receives the screenshots, for people to look at
"""

import pathlib
import re
import struct
import sys
import tempfile
import unittest

import browser
from reports import make_page, write_hosts, write_mixed

QRXINSPECT, PICTURES = (pathlib.Path(argument) for argument in sys.argv[1:3])
browser.skip_unless_possible()

SCREENS = {"wide": (1280, 800), "narrow": (1000, 800), "phone": (390, 844), "tablet": (800, 1000)}
# In CSS pixels, within the browser's default margins of 1 cm.
A4 = (718, 1047)

# The lowest contrast between a text and its background, by the formula of WCAG 2.
LOWEST_CONTRAST = """
(() => {
  const parse = (colour) => (colour.match(/[\\d.]+/g) || []).map(Number);
  const light = (channels) => {
    const [r, g, b] = channels.map((c) => c / 255).map((c) => c <= 0.03928 ? c / 12.92 : ((c + 0.055) / 1.055) ** 2.4);
    return 0.2126 * r + 0.7152 * g + 0.0722 * b;
  };
  const behind = (element) => {
    for (let at = element; at; at = at.parentElement) {
      const colour = parse(getComputedStyle(at).backgroundColor);
      if (colour.length === 3) return colour;
    }
    return [255, 255, 255];
  };
  let lowest = 21;
  for (const element of document.querySelectorAll('h1, h2, p, li, td, a, dt, dd, .pill, summary, pre, footer, th button')) {
    const style = getComputedStyle(element);
    if (element.offsetParent === null || style.display === 'none') continue;
    const [a, b] = [light(parse(style.color).slice(0, 3)), light(behind(element))];
    lowest = Math.min(lowest, (Math.max(a, b) + 0.05) / (Math.min(a, b) + 0.05));
  }
  return lowest;
})()
"""

# The texts that their box or the screen clips.
CLIPPED = """
Array.from(document.querySelectorAll('h1, h2, p, li, td, dt, dd, summary, th')).filter((element) => {
  const box = element.getBoundingClientRect();
  return element.offsetParent !== null && (box.left < 0 || box.right > innerWidth + 0.5 ||
         element.scrollWidth > element.clientWidth + 1);
}).map((element) => element.textContent)
"""

FIRST_COLUMN = "Array.from(document.querySelectorAll('tbody tr')).map((row) => row.cells[0].textContent)"

OUTCOMES = "Array.from(document.querySelectorAll('.pill')).map((pill) => pill.textContent)"


class Layout(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.folder = tempfile.TemporaryDirectory()
        cls.pages = {}
        for count in (1, 40):
            folder = pathlib.Path(cls.folder.name) / str(count)
            folder.mkdir()
            cls.pages[count] = make_page(QRXINSPECT, folder, write_mixed(folder, count))
        hosts = pathlib.Path(cls.folder.name) / "hosts"
        hosts.mkdir()
        cls.pages[12] = make_page(QRXINSPECT, hosts, [write_hosts(hosts, 12)], options=["--hosts"])
        cls.browser = cls.enterClassContext(browser.Browser())

    @classmethod
    def tearDownClass(cls):
        cls.folder.cleanup()

    def test_fits_every_screen(self):
        for count, page in self.pages.items():
            for name, (width, height) in SCREENS.items():
                for dark in (False, True):
                    with self.subTest(rows=count, screen=name, dark=dark):
                        self.browser.show(page, width, height, dark)
                        self.save_picture(f"{count}-{name}-{'dark' if dark else 'light'}", width, height)
                        self.assertEqual(self.browser.value("document.querySelectorAll('tbody tr').length"), count)
                        self.assertLessEqual(self.browser.value("document.documentElement.scrollWidth"), width)
                        self.assertEqual(self.browser.value(CLIPPED), [])
                        self.assertGreaterEqual(self.browser.value(LOWEST_CONTRAST), 4.5)

    def save_picture(self, name, width, height):
        """Saves a screenshot, which must not be empty."""
        picture = self.browser.picture()
        (PICTURES / f"{name}.png").write_bytes(picture)
        self.assertEqual(struct.unpack(">II", picture[16:24]), (width, height))
        self.assertGreater(len(picture), 5000, "an empty screen compresses better")

    def test_is_dark_in_dark_mode(self):
        brightness = "getComputedStyle(document.body).backgroundColor.match(/\\d+/g).map(Number).reduce((a, b) => a + b)"
        self.browser.show(self.pages[1])
        self.assertGreater(self.browser.value(brightness), 3 * 200)
        self.browser.show(self.pages[1], dark=True)
        self.assertLess(self.browser.value(brightness), 3 * 60)

    def test_sorts_by_the_clicked_heading(self):
        self.browser.show(self.pages[40])
        ascending = [f"rack-{number}.xml" for number in range(1, 41)]
        for expected, state in ((ascending, "ascending"), (ascending[::-1], "descending"), (ascending, "ascending")):
            self.browser.value("document.querySelector('th button').click()")
            self.assertEqual(self.browser.value(FIRST_COLUMN), expected)
            self.assertEqual(self.browser.value("document.querySelector('th').getAttribute('aria-sort')"), state)
        worst_first = ["damaged"] * 2 + ["failure"] * 8 + ["success"] * 30
        for expected in (worst_first, worst_first[::-1]):
            self.browser.value("document.querySelectorAll('th button')[5].click()")
            self.assertEqual(self.browser.value(OUTCOMES), expected)
        self.assertEqual(self.browser.value("document.querySelector('th').getAttribute('aria-sort')"), "none")

    def test_shows_only_rows_that_match_the_search(self):
        self.browser.show(self.pages[40])
        self.browser.value("search.value = 'SIGNING rack-3', search.dispatchEvent(new Event('input'))")
        shown = self.browser.value("Array.from(document.querySelectorAll('tbody tr')).filter((row) => "
                                   "row.offsetParent).map((row) => row.cells[0].textContent)")
        self.assertEqual(shown, ["rack-3.xml"])

    def test_prints_all_rows_and_no_controls(self):
        self.browser.show(self.pages[40], media="print")
        self.assertEqual(self.browser.value("getComputedStyle(search).display"), "none")
        self.assertEqual(self.browser.value("document.querySelectorAll('tbody tr').length"), 40)
        for dark in (False, True):
            self.browser.show(self.pages[40], *A4, dark, media="print")
            (PICTURES / "40-paper.png").write_bytes(self.browser.picture())
            self.assertEqual(self.browser.value("getComputedStyle(document.body).backgroundColor"), "rgb(255, 255, 255)")
            self.assertLessEqual(self.browser.value("document.documentElement.scrollWidth"), A4[0])
            self.assertEqual(self.browser.value(CLIPPED), [])
            self.assertGreaterEqual(self.browser.value(LOWEST_CONTRAST), 4.5)
        paper = self.browser.paper()
        (PICTURES / "40.pdf").write_bytes(paper)
        self.assertTrue(paper.startswith(b"%PDF"))
        self.assertGreaterEqual(len(re.findall(rb"/Type\s*/Page\b", paper)), 2)


if __name__ == "__main__":
    unittest.main(argv=["layout_test"])
