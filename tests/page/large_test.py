"""The page of 10,000 reports: problems first, and quick to search, sort and filter.

Usage: large_test.py QRXINSPECT FOLDER
"""

import pathlib
import sys
import tempfile
import unittest

import browser
from reports import make_page, write_mixed

QRXINSPECT = pathlib.Path(sys.argv[1])
browser.skip_unless_possible()

COUNT = 10_000
DAMAGED, FAILED = COUNT // 20, COUNT // 5
STEP = 500  # rows that the page holds at a time, so that a browser lays them out quickly
WORST_FIRST = ["damaged"] * DAMAGED + ["failure"] * FAILED + ["success"] * (COUNT - DAMAGED - FAILED)

ROWS = "document.querySelectorAll('tbody tr').length"
OUTCOMES = "Array.from(document.querySelectorAll('tbody .pill')).map((pill) => pill.textContent)"


class Large(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        folder = pathlib.Path(cls.enterClassContext(tempfile.TemporaryDirectory()))
        (folder / "reports").mkdir()
        write_mixed(folder / "reports", COUNT)
        cls.page = make_page(QRXINSPECT, folder, ["reports"])
        cls.browser = cls.enterClassContext(browser.Browser())
        cls.browser.show(cls.page)

    def setUp(self):
        self.act("document.querySelector('.counts button').click()")
        self.act("search.value = '', search.dispatchEvent(new Event('input'))")

    def act(self, action):
        """Does something to the page, which must not hold many rows afterwards; prints how long that took."""
        took = self.browser.value(f"(() => {{ const start = performance.now(); {action}; document.body.offsetHeight;"
                                  " return performance.now() - start; })()")
        print(f"{took:6.0f} ms: {action}")
        self.assertLessEqual(self.browser.value(ROWS), 2 * STEP, action)

    def search_for(self, text):
        self.act(f"search.value = '{text}', search.dispatchEvent(new Event('input'))")

    def shown(self, selector):
        """The text of an element; none where the page hides it."""
        return self.browser.value(f"((one) => one.offsetParent && one.textContent)(document.querySelector('{selector}'))")

    def test_says_what_it_was_made_from(self):
        self.assertRegex(self.shown(".made"), rf"^Made on 20\d\d-\d\d-\d\d \d\d:\d\d UTC from {COUNT} files$")

    def test_shows_problems_first(self):
        self.browser.show(self.page)
        self.assertEqual(self.browser.value(OUTCOMES), WORST_FIRST[:STEP])
        self.act("document.getElementById('more').click()")
        self.assertEqual(self.browser.value(OUTCOMES), WORST_FIRST[:2 * STEP])

    def test_prints_all_rows(self):
        self.browser.value("dispatchEvent(new Event('beforeprint'))")
        self.assertEqual(self.browser.value(OUTCOMES), WORST_FIRST)
        self.browser.value("dispatchEvent(new Event('afterprint'))")
        self.assertEqual(self.browser.value(ROWS), STEP)

    def test_finds_one_report(self):
        self.search_for("RACK-9999")
        self.assertEqual(self.shown("#hits"), f"1 of {COUNT} rows")
        self.assertEqual(self.browser.value("Array.from(document.querySelectorAll('tbody tr'), (row) => row.cells[0].textContent)"),
                         ["reports/rack-9999.xml"])
        self.assertIsNone(self.shown("#more"))

    def test_says_that_no_row_matches(self):
        self.assertIsNone(self.shown("#empty"))
        self.search_for("no such text")
        self.assertEqual(self.shown("#empty"), "No row matches.")
        self.assertEqual(self.shown("#hits"), f"0 of {COUNT} rows")

    def test_filters_by_the_clicked_count(self):
        for outcome, count in (("damaged", DAMAGED), ("failure", FAILED)):
            self.act(f"document.querySelector('.counts .{outcome} button').click()")
            self.assertEqual(self.browser.value(OUTCOMES), [outcome] * STEP)
            self.assertEqual(self.shown("#hits"), f"{count} of {COUNT} rows")
            self.assertEqual(self.shown(".counts [aria-pressed=true]"), f"{count} {outcome}")
        self.search_for("signing rack-3")
        self.assertEqual(set(self.browser.value(OUTCOMES)), {"failure"})

    def test_sorts_by_severity(self):
        for expected in (WORST_FIRST, WORST_FIRST[::-1]):
            self.act("document.querySelectorAll('th button')[5].click()")
            self.assertEqual(self.browser.value(OUTCOMES), expected[:STEP])

    def test_leads_from_a_message_to_its_cure(self):
        self.act("document.querySelector('.counts .failure button').click()")
        href = self.browser.value("document.querySelector('tbody a').getAttribute('href')")
        self.assertEqual(self.shown(f"dt{href}"), self.browser.value("document.querySelector('tbody a').textContent"))


if __name__ == "__main__":
    unittest.main(argv=["large_test"])
