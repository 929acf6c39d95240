"""A page of hostile values runs no script, loads nothing and shows the values as text.

Usage: hostile_test.py QRXINSPECT FOLDER
"""

import pathlib
import sys
import tempfile
import unittest

import browser
from reports import failure, inventory, make_page, update

QRXINSPECT = pathlib.Path(sys.argv[1])
browser.skip_unless_possible()

VALUES = (
    "<script>document.title = 'ran'</script>",
    "<img src=x onerror=\"document.title='ran'\">",
    "</td></tr></table><h2>Title</h2>",
    "\"'><svg onload=\"document.title='ran'\">",
    "</pre></details><style>* { display: none }</style>",
    "<meta http-equiv=refresh content='0;url=https://reports.example/'>",
    "<a href=\"javascript:document.title='ran'\">click</a>",
    "]]>--><!-- <iframe src=\"https://reports.example/\">",
)
IS_INTACT = "document.title === 'Firmware reports' && !document.querySelector('h2, img, svg, iframe, a, table style')"


def escaped(value):
    """The value as XML text."""
    for character, entity in (("&", "&amp;"), ("<", "&lt;"), (">", "&gt;"), ('"', "&quot;")):
        value = value.replace(character, entity)
    return value


class Hostile(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.browser = cls.enterClassContext(browser.Browser())

    def setUp(self):
        self.folder = pathlib.Path(self.enterContext(tempfile.TemporaryDirectory()))

    def page_of(self, reports):
        names = list(reports)
        for name, text in reports.items():
            (self.folder / name).write_text(text)
        return make_page(QRXINSPECT, self.folder, names)

    def test_shows_values_of_valid_reports_as_text(self):
        for value in VALUES:
            with self.subTest(value):
                page = self.page_of({"a.xml": update(escaped(value), escaped(value)), "b.xml": inventory(escaped(value)),
                                     "c.xml": failure(escaped(value))})
                self.browser.show(page)
                self.assertTrue(self.browser.value(IS_INTACT))
                texts = self.browser.value("Array.from(document.querySelectorAll('td')).map((cell) => cell.textContent)")
                self.assertEqual(texts.count(value), 4)
                self.assertEqual(self.browser.refusals(), 0, "escaping suffices: the policy has nothing to refuse")
                self.assertEqual(self.browser.requests(), [page.resolve().as_uri()])

    def test_shows_values_that_damage_their_report_as_text(self):
        for value in VALUES:
            with self.subTest(value):
                page = self.page_of({"a.xml": update(value), "b.xml": failure(value + "&")})
                self.browser.show(page)
                self.assertTrue(self.browser.value(IS_INTACT))
                texts = self.browser.value("Array.from(document.querySelectorAll('pre')).map((pre) => pre.textContent)")
                self.assertTrue(any(value in text for text in texts), texts)
                self.assertEqual(self.browser.requests(), [page.resolve().as_uri()])

    def test_shows_file_names_as_text(self):
        name = "<img src=x onerror=document.title='ran'>.xml"
        page = self.page_of({name: inventory("1")})
        self.browser.show(page)
        self.assertTrue(self.browser.value(IS_INTACT))
        self.assertEqual(self.browser.value("document.querySelector('tbody td').textContent"), name)

    def test_stops_injected_elements_by_policy(self):
        page = self.page_of({"a.xml": inventory("1")})
        injected = "<script>document.title = 'ran'</script><img src=x onerror=\"document.title = 'ran'\">" \
                   "<style>table { display: none }</style></main>"
        page.write_text(page.read_text().replace("</main>", injected))
        self.browser.show(page)
        self.assertEqual(self.browser.value("document.title"), "Firmware reports")
        self.assertNotEqual(self.browser.value("getComputedStyle(document.querySelector('table')).display"), "none")
        self.assertGreaterEqual(self.browser.refusals(), 3)
        self.assertFalse(self.browser.value("search.hidden"), "the page's own script runs")


if __name__ == "__main__":
    unittest.main(argv=["hostile_test"])
