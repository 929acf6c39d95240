# -*- coding: utf-8 -*-
"""The ledger of a roll-out: one append-only SQLite file on the controller, one row a transition.

Every row carries the totals after it, so that judging the next start costs one look at the last row.
"""
from __future__ import absolute_import, division, print_function

__metaclass__ = type

import fcntl
import hashlib
import json
import os
import sqlite3
import time
from contextlib import contextmanager

FORMAT = 1

SCHEMA = """
CREATE TABLE IF NOT EXISTS entry (
  id      INTEGER PRIMARY KEY AUTOINCREMENT,
  at      REAL NOT NULL,             -- seconds since 1970, UTC
  run     INTEGER NOT NULL,          -- 1 for the first command, 2 for its first resume
  event   TEXT NOT NULL,             -- opened, seen, planned, gave_way, started, ended, green, failed, untried, stopped
  chassis TEXT,
  server  TEXT,                      -- the server that acted or was asked
  wave    INTEGER,
  outcome TEXT,                      -- the module's outcome, word for word
  before  TEXT,                      -- version
  after   TEXT,                      -- version
  cause   TEXT,                      -- a sentence for people
  detail  TEXT NOT NULL,             -- JSON: everything else
  tried   INTEGER NOT NULL,          -- totals after this row: chassis that an update was started on,
  failed  INTEGER NOT NULL,          -- of these, chassis whose last verdict is a failure,
  flying  INTEGER NOT NULL           -- chassis under way in this run
);
CREATE INDEX IF NOT EXISTS entry_chassis ON entry (chassis, id);
CREATE INDEX IF NOT EXISTS entry_event ON entry (event, run);
CREATE TRIGGER IF NOT EXISTS entry_keeps_rows BEFORE DELETE ON entry
  BEGIN SELECT RAISE(ABORT, 'the ledger is append-only'); END;
CREATE TRIGGER IF NOT EXISTS entry_keeps_values BEFORE UPDATE ON entry
  BEGIN SELECT RAISE(ABORT, 'the ledger is append-only'); END;
"""

# The rows that change what the ledger knows of a chassis' update.
STATES = ("started", "ended", "green", "failed")
COLUMNS = ("chassis", "server", "wave", "outcome", "before", "after", "cause")


class Refused(Exception):
    """The ledger does not allow this step; the text says why."""


class Ledger(object):
    """Opens or makes the ledger at `path`; `now` returns seconds. Raises sqlite3.Error where it cannot be written."""

    def __init__(self, path, now=time.time):
        self.path, self.now = path, now
        if path != ":memory:":
            os.close(os.open(path, os.O_RDWR | os.O_CREAT | os.O_CLOEXEC, 0o600))
        self.db = sqlite3.connect(path, timeout=60, isolation_level=None)
        self.db.row_factory = sqlite3.Row
        self.db.execute("PRAGMA synchronous = FULL")
        if not self.db.execute("SELECT 1 FROM sqlite_master WHERE name = 'entry_keeps_values'").fetchone():
            self.db.executescript("BEGIN IMMEDIATE;" + SCHEMA + "COMMIT;")

    def close(self):
        self.db.close()

    @contextmanager
    def transaction(self):
        """Holds the write lock; everything inside of it is written, or nothing."""
        self.db.execute("BEGIN IMMEDIATE")
        try:
            yield
        except BaseException:
            self.db.execute("ROLLBACK")
            raise
        self.db.execute("COMMIT")

    def last(self, *events):
        """The last row, or the last of these events, or None."""
        where = "WHERE event IN (%s)" % ",".join("?" * len(events)) if events else ""
        return self.db.execute("SELECT * FROM entry %s ORDER BY id DESC LIMIT 1" % where, events).fetchone()

    def state(self, chassis):
        """The last row that changed the state of this chassis, or None where no update was ever tried."""
        return self.last_of(chassis, STATES)

    def last_of(self, chassis, events):
        """The last row of this chassis among these events, or None."""
        return self.db.execute("SELECT * FROM entry WHERE chassis = ? AND event IN (%s) ORDER BY id DESC LIMIT 1"
                               % ",".join("?" * len(events)), (chassis,) + events).fetchone()

    def states(self):
        """The last state row of every chassis, by name."""
        rows = self.db.execute("SELECT * FROM entry WHERE id IN (SELECT max(id) FROM entry WHERE event IN (%s)"
                               " GROUP BY chassis)" % ",".join("?" * len(STATES)), STATES)
        return {row["chassis"]: row for row in rows}

    def rows(self, event):
        """The rows of one event in the present run, oldest first."""
        return self.db.execute("SELECT * FROM entry WHERE event = ? AND run = ? ORDER BY id",
                               (event, self.run())).fetchall()

    def run(self):
        last = self.last()
        return last["run"] if last else 0

    def open(self, digest, seed, **settings):
        """Begins a run. Refuses other bytes than those of the first run; keeps the first run's seed. Returns the seed."""
        with self.transaction():
            first = self.db.execute("SELECT detail FROM entry WHERE event = 'opened' ORDER BY id LIMIT 1").fetchone()
            if first:
                pinned = json.loads(first["detail"])
                if pinned["format"] != FORMAT:
                    raise Refused("This ledger has format %s; this program knows format %d." % (pinned["format"], FORMAT))
                if pinned["digest"] != digest:
                    raise Refused("This ledger is for the package with SHA-256 %s, and the package now has %s. Start a"
                                  " new roll-out with a ledger of its own." % (pinned["digest"], digest))
                seed = pinned["seed"]
            self._append("opened", run=self.run() + 1, flying=0,
                         detail=dict(settings, format=FORMAT, digest=digest, seed=seed))
        return seed

    def note(self, event, **values):
        """Writes rows that do not change a chassis' state: seen, planned, gave_way, untried, stopped."""
        if event in STATES:
            raise ValueError(event)
        with self.transaction():
            self._append(event, **values)

    def plan(self, entries):
        """Writes a whole plan in one transaction: pairs of an event (planned, untried, green or failed) and its values."""
        with self.transaction():
            for event, values in entries:
                if event in STATES:
                    self._settle(event, values)
                else:
                    self._append(event, **values)

    def start(self, chassis, server, judge, wave=None, in_flight=10):
        """Asks to start the update of a chassis; the row is durable before this returns "go".

        "wait": `in_flight` are under way. "stop": `judge` forbids new chassis. "done": this run has dealt with it.
        """
        with self.transaction():
            state, last = self.state(chassis), self.last()
            if state is not None and (state["event"] == "green" or state["run"] == last["run"]):
                return "done"
            # A chassis that was tried before adds no damage: it may be tried again after a stop.
            new = state is None
            if new and judge.stops(last["failed"], last["tried"]):
                return "stop"
            if last["flying"] >= in_flight:
                return "wait"
            self._append("started", chassis=chassis, server=server, wave=wave,
                         tried=last["tried"] + new, flying=last["flying"] + 1)
            return "go"

    def end(self, chassis, server, **result):
        """Records what the update returned; the verdict is still to come."""
        with self.transaction():
            state = self.state(chassis)
            if state is None or state["event"] != "started":
                raise Refused("%s ends on %s without a start" % (chassis, server))
            self._append("ended", chassis=chassis, server=server, **result)

    def settle(self, verdict, **values):
        """Records the verdict, "green" or "failed", of one chassis; the first one of a run holds."""
        with self.transaction():
            return self._settle(verdict, values)

    def _settle(self, verdict, values):
        state, last = self.state(values["chassis"]), self.last()
        event = state["event"] if state is not None else None
        if event == "green" or (event == "failed" and state["run"] == last["run"]):
            return False
        under_way = event in ("started", "ended") and state["run"] == last["run"]
        before = self.last_of(values["chassis"], ("green", "failed"))
        new_failures = (verdict == "failed") - (before is not None and before["event"] == "failed")
        self._append(verdict, flying=last["flying"] - under_way, failed=last["failed"] + new_failures,
                     tried=last["tried"] + (event is None and verdict == "failed"), **values)
        return True

    def _append(self, event, **values):
        last = self.last()
        for name in ("run", "tried", "failed", "flying"):
            values.setdefault(name, last[name] if last else 0)
        row = [self.now(), values.pop("run"), event]
        totals = [values.pop("tried"), values.pop("failed"), values.pop("flying")]
        row += [values.pop(name, None) for name in COLUMNS]
        row += [json.dumps(values.pop("detail", values), sort_keys=True)] + totals
        self.db.execute("INSERT INTO entry (at, run, event, %s, detail, tried, failed, flying) VALUES (%s)"
                        % (", ".join(COLUMNS), ", ".join("?" * len(row))), row)


def lock_file(path):
    """Locks the file at `path` for this process and its forks. Returns the descriptor, or None where it is held."""
    # The file stays: removing a lock file that another process has just opened would let both in.
    descriptor = os.open(path, os.O_RDWR | os.O_CREAT | os.O_NOFOLLOW | os.O_CLOEXEC, 0o600)
    try:
        fcntl.flock(descriptor, fcntl.LOCK_EX | fcntl.LOCK_NB)
        return descriptor
    except OSError:
        os.close(descriptor)
        return None


@contextmanager
def chassis_lock(folder, chassis):
    """Holds the controller's lock of a chassis, whatever ledger is in use. Yields False where another process holds it."""
    try:
        os.makedirs(folder, 0o700)
    except OSError:
        if not os.path.isdir(folder):
            raise
    descriptor = lock_file(os.path.join(folder, hashlib.sha256(chassis.encode("utf-8")).hexdigest()))
    try:
        yield descriptor is not None
    finally:
        if descriptor is not None:
            os.close(descriptor)
