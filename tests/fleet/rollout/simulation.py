"""Simulates a roll-out with a virtual clock: the real plan and the real ledger over a world of chassis that fail.

The world has the truth; after every step it checks what the roll-out did against it.
"""
import heapq
import random

from collections_folder import module_util

ledger_module, plan_module = module_util("ledger"), module_util("plan")
Rollout = module_util("rollout").Rollout
OLD, NEW = "1.0", "2.0"
WAVES = [1, 10, 100, "10%"]
REVISIONS = 10
# After a stop so many chassis still ask whether they may start; all of them would only take time.
REFUSALS = 100
CASES = ("none", "scattered", "part_of_revision", "whole_revision")


class Violation(AssertionError):
    """The roll-out did what it must never do."""


class World:
    """Chassis with two or three servers, firmware that some revisions do not survive, and servers that come and go."""

    def __init__(self, seed, count, case, dead=0.0, flaky=0.0, liars=0.0):
        self.random = random.Random(seed)
        self.flaky = flaky
        pick, rng = self.random.random, range(count)
        revision = self.random.randrange(REVISIONS)
        of_revision = [n for n in rng if n * REVISIONS // count == revision]
        bad = {"none": [], "scattered": self.random.sample(rng, count * 3 // 100), "whole_revision": of_revision,
               "part_of_revision": self.random.sample(of_revision, len(of_revision) * 3 // 10)}[case]
        self.bad = {"c%05d" % n for n in bad} | {"c%05d" % n for n in rng if pick() < liars}
        self.servers = {"c%05d" % n: ["c%05d-%d" % (n, m) for m in range(3 if pick() < 0.2 else 2)] for n in rng}
        self.away = {server for servers in self.servers.values() for server in servers if pick() < dead}
        self.version = dict.fromkeys(self.servers, OLD)
        self.deceived, self.writers, self.writes = {}, {}, dict.fromkeys(self.servers, 0)
        self.damaged = set()

    def reachable(self, server):
        """Whether the server answers now; a flaky world takes servers away and brings them back at every question."""
        if self.flaky and self.random.random() < self.flaky:
            (self.away.discard if server in self.away else self.away.add)(server)
        return server not in self.away

    def reading(self, server):
        chassis = server[:6]
        if not self.reachable(server):
            return plan_module.Reading(server, chassis, None, False, "unreachable")
        version = NEW if self.deceived.get(chassis) == server else self.version[chassis]
        return plan_module.Reading(server, chassis, version, True, None)

    def write(self, server):
        chassis = server[:6]
        if chassis in self.writers:
            raise Violation("%s and %s write to %s" % (self.writers[chassis], server, chassis))
        self.writers[chassis] = server
        self.writes[chassis] += 1

    def written(self, server):
        """The effect of an update, which happens whether or not anybody still watches."""
        chassis = server[:6]
        del self.writers[chassis]
        if chassis not in self.bad:
            self.version[chassis] = NEW
            return
        self.damaged.add(chassis)
        # One half of the bad ones even shows the new version to the server that updated it.
        if self.random.random() < 0.5:
            self.deceived[chassis] = server


class Simulation:
    """Runs the roll-out in `world`; each call of `run` is one command, a resume included."""

    def __init__(self, world, share=0.02, least=3, in_flight=10, witness="required"):
        self.world, self.in_flight, self.share, self.least = world, in_flight, share, least
        self.now, self.stop_file, self.events, self.sequence = 0.0, False, [], 0
        self.ledger = ledger_module.Ledger(":memory:", now=lambda: self.now)
        self.rollout = Rollout(self.ledger, NEW, plan_module.Judge(share, least), witness, in_flight,
                               lambda: self.stop_file)
        self.last_verdict, self.tried, self.steps = {}, set(), 0
        self.slots = in_flight

    def later(self, seconds, action, controller=True):
        self.sequence += 1
        heapq.heappush(self.events, (self.now + seconds, self.sequence, controller, action))

    def run(self, kill_at=None, stop_at=None):
        """One command, until it ends or the controller is killed at step `kill_at`. Returns whether it ended."""
        # What the killed controller would have done is lost; what servers are writing goes on.
        self.events = [event for event in self.events if not event[2]]
        heapq.heapify(self.events)
        self.stop_file, self.verdicts, self.flying = False, {}, set()
        self.stop_wave, self.refusals = None, 0
        seed = self.ledger.open("digest", "seed %s" % self.world.random.random())
        readings = [self.world.reading(server) for servers in self.world.servers.values() for server in servers]
        planned = self.rollout.plan(readings, WAVES, seed)
        for row in self.ledger.rows("green") + self.ledger.rows("failed"):
            self._judged(row["chassis"], row["event"], False)
        waves, step = {}, 0
        for chassis in planned:
            waves.setdefault(chassis.wave, []).append(chassis.name)
        for self.wave in sorted(waves):
            self.queue = list(reversed(waves[self.wave]))
            if self.refusals > REFUSALS:
                break
            for unused in range(self.slots):
                self._next()
            while any(event[2] for event in self.events):
                self.now, unused, unused, action = heapq.heappop(self.events)
                action()
                step += 1
                self.steps += 1
                if stop_at is not None and step == stop_at:
                    self.stop_file, self.stop_wave = True, self.wave
                if kill_at is not None and step == kill_at:
                    return False
                if len(self.flying) > self.in_flight:
                    raise Violation("%d chassis are under way" % len(self.flying))
        self._all_judged()
        return True

    def _next(self):
        if self.queue and self.refusals <= REFUSALS:
            task = self.rollout.task(self.queue.pop())
            self.later(0.01, lambda: self._begin(task, task.leader))

    def _begin(self, task, server):
        if not self.world.reachable(server):
            if self.rollout.gives_way(task, server):
                self.later(0.1, lambda: self._begin(task, task.fallback))
            else:
                self._judged(task.chassis, "failed", True)
                self._next()
            return
        failed = sum(verdict == "failed" for verdict in self.last_verdict.values()) if self.tried else 0
        answer = self.rollout.begin(task, server)
        if answer == "wait":
            raise Violation("the playbook has %d slots, and the ledger counts more under way" % self.in_flight)
        if answer != "go":
            self.refusals += 1
            return self._next()
        if self.stop_file and self.wave > self.stop_wave:
            raise Violation("%s started after the stop" % task.chassis)
        if task.chassis not in self.tried and failed >= self.least and failed > self.share * len(self.tried):
            raise Violation("%s started with %d of %d failed" % (task.chassis, failed, len(self.tried)))
        if self.last_verdict.get(task.chassis) == "green":
            raise Violation("%s is green and was started again" % task.chassis)
        self.tried.add(task.chassis)
        self.flying.add(task.chassis)
        seconds = self.world.random.uniform(60, 240)
        # The module waits for an update that this server started before, and starts none where the version is there.
        if self.world.writers.get(task.chassis) == server:
            seconds += 240
        elif self.world.version[task.chassis] != NEW:
            self.world.write(server)
            self.later(seconds - 0.5, lambda: self.world.written(server), controller=False)
        self.later(seconds, lambda: self._end(task, server))

    def _end(self, task, server):
        reading = self.world.reading(server)
        outcome = "updated" if reading.version == NEW else "unverified"
        result = {"outcome": outcome, "before": OLD, "after": reading.version, "message": "Update is successful"}
        self.rollout.ended(task, server, result if reading.reachable else None)
        self.later(1.0, lambda: self._read_back(task, server, outcome if reading.reachable else "lost"))

    def _read_back(self, task, server, outcome):
        reader = self.rollout.reader(task, server, outcome)
        cause = self.rollout.verdict(task, reader, self.world.reading(reader) if reader else None)
        self.flying.discard(task.chassis)
        self._judged(task.chassis, "failed" if cause else "green", True)
        self._next()

    def _judged(self, chassis, verdict, now):
        if chassis in self.verdicts:
            raise Violation("%s has two final states in one run" % chassis)
        if self.last_verdict.get(chassis) == "green":
            raise Violation("%s was green and is judged again" % chassis)
        if verdict == "green" and self.rollout.witness == "required" and self.world.version[chassis] != NEW:
            raise Violation("%s is green and has version %s" % (chassis, self.world.version[chassis]))
        self.verdicts[chassis] = self.last_verdict[chassis] = verdict
        if verdict == "failed":
            self.tried.add(chassis)

    def _all_judged(self):
        states = ledger_module.Ledger.states(self.ledger)
        for chassis, verdict in self.last_verdict.items():
            if states[chassis]["event"] != verdict:
                raise Violation("%s is %s in the ledger" % (chassis, states[chassis]["event"]))
        if set(states) != set(self.last_verdict):
            raise Violation("chassis without a final state: %s" % sorted(set(states) ^ set(self.last_verdict)))
        last = self.ledger.last()
        failed = sum(verdict == "failed" for verdict in self.last_verdict.values())
        if (last["tried"], last["failed"], last["flying"]) != (len(self.tried), failed, 0):
            raise Violation("the totals %s are not %s" % (tuple(last)[-3:], (len(self.tried), failed, 0)))
