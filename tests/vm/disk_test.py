"""What the disk keeps when the power goes."""

import unittest

from disk import Cache

SECTOR = 512
BLANK = bytes(100 * SECTOR)
INK = b"x" * SECTOR


def inked(platter):
    """The numbers of the sectors that hold ink."""
    return [sector for sector in range(100) if platter[sector * SECTOR:(sector + 1) * SECTOR] == INK]


class CacheTest(unittest.TestCase):
    def setUp(self):
        self.cache = Cache(BLANK)

    def write(self, *sectors):
        for sector in sectors:
            self.cache.write(sector * SECTOR, INK)

    def test_reads_what_was_written(self):
        self.write(7)
        self.assertEqual(inked(self.cache.read(0, len(BLANK))), [7])

    def test_keeps_what_was_flushed(self):
        self.write(*range(100))
        self.cache.flush()
        self.assertEqual(inked(self.cache.remains(seed=1)), list(range(100)))

    def test_loses_a_part_of_what_was_not_flushed(self):
        self.write(*range(100))
        self.assertTrue(0 < len(inked(self.cache.remains(seed=1))) < 100)

    def test_loses_the_same_part_for_the_same_seed(self):
        self.write(*range(100))
        self.assertEqual(self.cache.remains(seed=1), self.cache.remains(seed=1))
        self.assertNotEqual(self.cache.remains(seed=1), self.cache.remains(seed=2))

    def test_goes_on_from_a_flush(self):
        self.write(*range(50))
        self.cache.flush()
        self.write(*range(50, 100))
        kept = inked(self.cache.remains(seed=1))
        self.assertEqual(kept[:50], list(range(50)))
        self.assertTrue(50 < len(kept) < 100)


if __name__ == "__main__":
    unittest.main()
