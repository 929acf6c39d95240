# -*- coding: utf-8 -*-
"""The steps of a roll-out: what the plan decides goes into the ledger before and after each act.

The playbook's action and the simulation both drive this class; neither decides anything itself.
"""
from __future__ import absolute_import, division, print_function

__metaclass__ = type

import collections
import json

from ansible_collections.qrxupdate.chassis.plugins.module_utils import plan as planner

# What a server was asked to do, from the chassis' row of the plan.
Task = collections.namedtuple("Task", "chassis wave leader fallback witness before")


class Rollout(object):
    """`ledger` is open; `judge` decides when to stop; `stop_requested` tells whether somebody asked for it."""

    def __init__(self, ledger, target, judge=None, witness="required", in_flight=10, stop_requested=lambda: False):
        self.ledger, self.target, self.witness, self.in_flight = ledger, target, witness, in_flight
        self.judge = judge or planner.Judge()
        self.stop_requested = stop_requested

    def plan(self, readings, waves, seed):
        """Plans the present run from the inventory and writes it down. Returns the chassis to update, in order."""
        states = self.ledger.states()
        chassis = planner.make_plan(readings, self.target, seed, waves, self.witness, states)
        self.ledger.plan(entry for entry in (self._entry(c, states.get(c.name)) for c in chassis) if entry)
        return [c for c in chassis if c.decision == "update"]

    @staticmethod
    def _entry(c, state):
        values = dict(chassis=c.name, server=c.leader, wave=c.wave, before=c.before, cause=c.cause)
        if c.decision == "update":
            return "planned", dict(values, detail={"fallback": c.fallback, "witness": c.witness})
        if c.decision == "already":
            return "green", dict(values, outcome="already", after=c.before)
        if state is None:
            return "untried", dict(values, outcome=c.decision)
        if state["event"] == "failed":
            return None
        # A killed run left it under way. It is settled here, and the server that may still write stays on record.
        return "failed", dict(values, outcome="lost", server=state["server"], before=state["before"])

    def task(self, chassis):
        """The plan's row of this chassis in the present run, or None."""
        row = self.ledger.last_of(chassis, ("planned",))
        if row is None or row["run"] != self.ledger.run():
            return None
        detail = json.loads(row["detail"])
        return Task(chassis, row["wave"], row["server"], detail["fallback"], detail["witness"], row["before"])

    def may_begin(self, task):
        """Whether a stop was requested in an earlier wave: the running wave is then the last one."""
        if not self.stop_requested():
            return True
        last = self.ledger.last("started")
        return last is not None and last["run"] == self.ledger.run() and task.wave <= last["wave"]

    def begin(self, task, server):
        """Asks to start; writes the row before the act. Returns "go", "wait", "stop" or "done"."""
        answer = "stop"
        if self.may_begin(task):
            answer = self.ledger.start(task.chassis, server, self.judge, task.wave, self.in_flight)
        if answer == "stop":
            self._stopped()
        return answer

    def _stopped(self):
        said, last = self.ledger.last("stopped"), self.ledger.last()
        if said is None or said["run"] != last["run"]:
            cause = "a stop was requested" if self.stop_requested() else "the stop share was passed"
            self.ledger.note("stopped", cause="%s: %d of %d failed" % (cause, last["failed"], last["tried"]))

    def gives_way(self, task, server):
        """Records that a server died before it started anything. Returns whether another one may try."""
        self.ledger.note("gave_way", chassis=task.chassis, server=server, wave=task.wave, outcome="unreachable",
                         cause="%s could not be reached and has started nothing" % server)
        if server == task.leader and task.fallback:
            return True
        self.ledger.settle("failed", chassis=task.chassis, server=server, wave=task.wave, outcome="unreachable",
                           before=task.before, cause="no server could be reached to start the update")
        return False

    def ended(self, task, server, result):
        """Writes the row after the act; `result` is the module's, or None where the server was lost in the middle."""
        result = result or {"outcome": "lost", "message": "%s was lost after the update started" % server}
        known = dict((key, result.get(key)) for key in ("component", "message", "report_sha256", "payload_sha256",
                                                        "started", "finished"))
        self.ledger.end(task.chassis, server, wave=task.wave, outcome=result.get("outcome") or "damaged",
                        before=result.get("before") or task.before, after=result.get("after"),
                        cause=result.get("message"), detail=known)

    def reader(self, task, updater, outcome):
        """The server that must say now what is in force, or None where no other server has to be asked."""
        if outcome != "lost" and (outcome not in ("already", "updated") or self.witness == "none"):
            return None
        return planner.reader_for(updater, task.leader, task.fallback, task.witness)

    def verdict(self, task, reader, reading):
        """Judges a chassis whose update ended; `reading` is the reader's, or None. Returns None where it is green."""
        end = self.ledger.state(task.chassis)
        cause = planner.judge_update(end["outcome"], end["after"], self.target)
        if cause and end["cause"]:
            cause += ": " + end["cause"]
        cause = cause or planner.judge_witness(self.witness, reader, reading, self.target)
        after = end["after"] if end["outcome"] != "lost" or reading is None else reading.version
        self.ledger.settle("failed" if cause else "green", chassis=task.chassis, server=end["server"], wave=task.wave,
                           outcome=end["outcome"], before=end["before"], after=after, cause=cause,
                           detail={"witness": reader, "witness_shows": reading.version if reading else None})
        return cause
