"""Tests of disk.py."""

import unittest

from disk import ENTRY, FLUSH, MAGIC, SECTOR, SUPERBLOCK, Write, after_power_cut, parse_log

BLANK = bytes(100 * SECTOR)
INK = b"x" * SECTOR


def ink(*sectors):
    """Writes of one sector each."""
    return [Write(sector * SECTOR, INK) for sector in sectors]


def inked(content):
    """The numbers of the sectors that contain ink."""
    return [sector for sector in range(100) if content[sector * SECTOR:(sector + 1) * SECTOR] == INK]


def in_sector(data):
    """Data padded to a sector of the log."""
    return data.ljust(SECTOR, b"\0")


HEAD = in_sector(SUPERBLOCK.pack(MAGIC, 1, 0, SECTOR))


class PowerCutTest(unittest.TestCase):
    def test_keeps_what_was_flushed(self):
        left = after_power_cut(BLANK, ink(*range(100)) + [FLUSH], seed=1)
        self.assertEqual(inked(left), list(range(100)))

    def test_loses_part_of_what_was_not_flushed(self):
        left = after_power_cut(BLANK, ink(*range(100)), seed=1)
        self.assertTrue(0 < len(inked(left)) < 100)

    def test_loses_the_same_part_for_the_same_seed(self):
        history = ink(*range(100))
        self.assertEqual(after_power_cut(BLANK, history, seed=1), after_power_cut(BLANK, history, seed=1))
        self.assertNotEqual(after_power_cut(BLANK, history, seed=1), after_power_cut(BLANK, history, seed=2))

    def test_loses_only_what_follows_the_last_flush(self):
        left = after_power_cut(BLANK, [*ink(*range(20)), FLUSH, *ink(*range(20, 50)), FLUSH, *ink(*range(50, 100))], 1)
        self.assertEqual(inked(left)[:50], list(range(50)))
        self.assertTrue(50 < len(inked(left)) < 100)

    def test_keeps_the_later_of_two_flushed_writes(self):
        self.assertEqual(inked(after_power_cut(BLANK, [Write(0, bytes(SECTOR)), *ink(0), FLUSH], seed=1)), [0])


class LogTest(unittest.TestCase):
    def setUp(self):
        self.write = in_sector(ENTRY.pack(7, 2, 0, 0)) + INK + INK
        self.flush = in_sector(ENTRY.pack(0, 0, 1, 0))

    def test_reads_writes_and_flushes(self):
        log = HEAD + self.write + self.flush + self.write
        write = Write(7 * SECTOR, INK + INK)
        self.assertEqual(parse_log(log, len(log)), [write, FLUSH, write])

    def test_reads_entries_that_begin_before_the_end(self):
        log = HEAD + self.write + self.write
        self.assertEqual(len(parse_log(log, SECTOR)), 0)
        self.assertEqual(len(parse_log(log, SECTOR + 1)), 1)
        self.assertEqual(len(parse_log(log, 4 * SECTOR)), 1)

    def test_refuses_other_entries(self):
        discard = in_sector(ENTRY.pack(7, 2, 4, 0))
        with self.assertRaisesRegex(ValueError, "neither a write nor a flush"):
            parse_log(HEAD + discard, 2 * SECTOR)

    def test_refuses_other_files(self):
        with self.assertRaisesRegex(ValueError, "not a log"):
            parse_log(bytes(SECTOR), SECTOR)


if __name__ == "__main__":
    unittest.main()
