"""Unit tests of the ledger and the plan. usage: ledger_test.py COLLECTION"""
import os
import sqlite3
import subprocess
import sys
import tempfile
import unittest

from collections_folder import module_util

COLLECTION = sys.argv.pop(1)
Ledger = module_util("ledger", COLLECTION).Ledger
Refused = module_util("ledger", COLLECTION).Refused
chassis_lock = module_util("ledger", COLLECTION).chassis_lock
plan = module_util("plan", COLLECTION)
Judge, Reading, wave_sizes = plan.Judge, plan.Reading, plan.wave_sizes
NEVER = Judge(1.0, 1)


def opened():
    ledger = Ledger(":memory:")
    ledger.open("d" * 64, "seed")
    return ledger


class LedgerTest(unittest.TestCase):
    def test_refuses_to_change_or_remove_a_row(self):
        ledger = opened()
        for statement in ("UPDATE entry SET event = 'green'", "DELETE FROM entry"):
            with self.assertRaisesRegex(sqlite3.IntegrityError, "append-only"):
                ledger.db.execute(statement)
        self.assertEqual("opened", ledger.last()["event"])

    def test_refuses_another_package_and_writes_nothing(self):
        ledger = opened()
        with self.assertRaisesRegex(Refused, "is for the package with SHA-256 dddd"):
            ledger.open("e" * 64, "seed")
        self.assertEqual(1, ledger.last()["id"])

    def test_keeps_the_first_seed(self):
        ledger = opened()
        self.assertEqual("seed", ledger.open("d" * 64, "other"))
        self.assertEqual(2, ledger.run())

    def test_counts_started_failed_and_flying_chassis(self):
        ledger = opened()
        self.assertEqual("go", ledger.start("a", "a1", NEVER))
        self.assertEqual("go", ledger.start("b", "b1", NEVER))
        ledger.end("a", "a1", outcome="refused")
        self.assertTrue(ledger.settle("failed", chassis="a"))
        self.assertEqual((2, 1, 1), tuple(ledger.last())[-3:])
        ledger.end("b", "b1", outcome="updated")
        self.assertTrue(ledger.settle("green", chassis="b"))
        self.assertEqual((2, 1, 0), tuple(ledger.last())[-3:])

    def test_keeps_the_first_verdict_of_a_run(self):
        ledger = opened()
        ledger.start("a", "a1", NEVER)
        self.assertTrue(ledger.settle("failed", chassis="a"))
        self.assertFalse(ledger.settle("green", chassis="a"))
        self.assertEqual("failed", ledger.state("a")["event"])
        self.assertEqual("done", ledger.start("a", "a2", NEVER))

    def test_counts_a_failure_until_the_chassis_is_green(self):
        ledger = opened()
        ledger.start("a", "a1", NEVER)
        ledger.settle("failed", chassis="a")
        ledger.open("d" * 64, "seed")
        self.assertEqual("go", ledger.start("a", "a1", NEVER))
        self.assertEqual((1, 1, 1), tuple(ledger.last())[-3:])
        ledger.settle("green", chassis="a")
        self.assertEqual((1, 0, 0), tuple(ledger.last())[-3:])

    def test_starts_at_most_so_many_at_once(self):
        ledger = opened()
        self.assertEqual("go", ledger.start("a", "a1", NEVER, in_flight=1))
        self.assertEqual("wait", ledger.start("b", "b1", NEVER, in_flight=1))
        ledger.settle("green", chassis="a")
        self.assertEqual("go", ledger.start("b", "b1", NEVER, in_flight=1))

    def test_stops_new_chassis_and_lets_failed_ones_try_again(self):
        ledger, judge = opened(), Judge(0.02, 1)
        ledger.start("a", "a1", judge)
        ledger.settle("failed", chassis="a")
        self.assertEqual("stop", ledger.start("b", "b1", judge))
        ledger.open("d" * 64, "seed")
        self.assertEqual("stop", ledger.start("b", "b1", judge))
        self.assertEqual("go", ledger.start("a", "a1", judge))
        self.assertEqual("stop", ledger.start("b", "b1", judge))
        ledger.settle("green", chassis="a")
        self.assertEqual("go", ledger.start("b", "b1", judge))

    def test_refuses_an_end_without_a_start(self):
        with self.assertRaisesRegex(Refused, "without a start"):
            opened().end("a", "a1", outcome="updated")

    def test_starts_nothing_that_it_cannot_write(self):
        with tempfile.TemporaryDirectory() as folder:
            ledger = Ledger(os.path.join(folder, "ledger"))
            ledger.open("d" * 64, "seed")
            ledger.db.execute("PRAGMA query_only = ON")
            with self.assertRaises(sqlite3.OperationalError):
                ledger.start("a", "a1", NEVER)
            self.assertIsNone(ledger.state("a"))

    def test_is_readable_for_its_owner_only(self):
        with tempfile.TemporaryDirectory() as folder:
            Ledger(os.path.join(folder, "ledger")).close()
            self.assertEqual(0o600, os.stat(os.path.join(folder, "ledger")).st_mode & 0o777)

    def test_locks_a_chassis_for_one_process(self):
        with tempfile.TemporaryDirectory() as folder:
            again = ("from collections_folder import module_util\n"
                     "with module_util('ledger', %r).chassis_lock(%r, 'a') as held: print(held)" % (COLLECTION, folder))
            environment = dict(os.environ, PYTHONPATH=os.pathsep.join(sys.path))
            with chassis_lock(folder, "a") as held:
                self.assertTrue(held)
                output = subprocess.run([sys.executable, "-c", again], stdout=subprocess.PIPE, env=environment, check=True)
                self.assertEqual(b"False\n", output.stdout)
            output = subprocess.run([sys.executable, "-c", again], stdout=subprocess.PIPE, env=environment, check=True)
            self.assertEqual(b"True\n", output.stdout)


def fleet(*servers, **states):
    return plan.make_plan([Reading(*server) for server in servers], "2", "seed", [1, "50%"], "required", states)


class PlanTest(unittest.TestCase):
    def test_cuts_waves(self):
        self.assertEqual([1, 10, 100] + [1000] * 9 + [889], wave_sizes([1, 10, 100, "10%"], 10000))
        self.assertEqual([1, 1, 1], wave_sizes(["1%"], 3))
        self.assertEqual([], wave_sizes([5], 0))
        for waves in ([], [0], ["0%"], ["x"]):
            with self.assertRaises(ValueError):
                wave_sizes(waves, 3)

    def test_judges_after_each_result_but_not_before_enough_failures(self):
        judge = Judge(0.02, 3)
        self.assertFalse(judge.stops(2, 2))
        self.assertTrue(judge.stops(3, 3))
        self.assertFalse(judge.stops(3, 150))
        self.assertTrue(judge.stops(3, 149))

    def test_names_leader_fallback_and_witness(self):
        (chassis,) = fleet(*[("s%d" % n, "a", "1", True, None) for n in range(3)])
        self.assertEqual({"s0", "s1", "s2"}, {chassis.leader, chassis.fallback, chassis.witness})
        self.assertEqual(("update", 1, "1"), (chassis.decision, chassis.wave, chassis.before))

    def test_decides_without_an_update_where_none_is_due(self):
        self.assertEqual("dead", fleet(("s0", "a", None, False, "gone"))[0].decision)
        self.assertEqual("no_witness", fleet(("s0", "a", "1", True, None))[0].decision)
        self.assertEqual("already", fleet(("s0", "a", "2", True, None), ("s1", "a", "2", True, None))[0].decision)
        self.assertEqual("update", fleet(("s0", "a", "1", True, None), ("s1", "a", "2", True, None))[0].decision)

    def test_keeps_the_order_whatever_is_dead(self):
        servers = [("s%d%d" % (n, m), "c%d" % n, "1", True, None) for n in range(50) for m in range(2)]
        order = [chassis.name for chassis in fleet(*servers)]
        self.assertNotEqual(sorted(order), order)
        self.assertEqual(order, [chassis.name for chassis in fleet(*reversed(servers))])
        killed = [server[:3] + (False, "gone") if server[1] == "c7" else server for server in servers]
        self.assertEqual(order, [chassis.name for chassis in fleet(*killed)])

    def test_leaves_green_chassis_alone_and_takes_tried_ones_first(self):
        servers = [("s%d%d" % (n, m), "c%d" % n, "1", True, None) for n in range(9) for m in range(2)]
        states = {"c3": {"event": "green"}, "c8": {"event": "failed", "outcome": "refused", "server": "s80"}}
        order = [chassis.name for chassis in fleet(*servers, **states)]
        self.assertEqual("c8", order[0])
        self.assertEqual(8, len(order))
        self.assertNotIn("c3", order)

    def test_gives_an_update_under_way_to_no_other_server(self):
        for state in ({"event": "started", "outcome": None}, {"event": "failed", "outcome": "lost"},
                      {"event": "failed", "outcome": "running"}):
            for server in ("s0", "s1", "s2"):
                alive = [("s%d" % n, "a", "1", True, None) for n in range(3)]
                (chassis,) = fleet(*alive, a=dict(state, server=server))
                self.assertEqual((server, None), (chassis.leader, chassis.fallback))
                self.assertNotEqual(server, chassis.witness)
                dead = [one[:3] + (one[0] != server, None) for one in alive]
                self.assertEqual("lost", fleet(*dead, a=dict(state, server=server))[0].decision)
                gone = [one for one in alive if one[0] != server]
                self.assertEqual("update", fleet(*gone, a=dict(state, server=server))[0].decision)

    def test_lets_nobody_witness_an_update_of_its_own(self):
        self.assertEqual("c", plan.reader_for("a", "a", "b", "c"))
        self.assertEqual("a", plan.reader_for("b", "a", "b", "b"))
        self.assertIsNone(plan.reader_for("a", "a", None, None))

    def test_is_green_only_if_updater_and_witness_show_the_version(self):
        self.assertIsNone(plan.judge_update("updated", "2", "2"))
        self.assertIn("refused", plan.judge_update("refused", "2", "2"))
        self.assertIn("shows 1", plan.judge_update("updated", "1", "2"))
        new, old = Reading("s", "a", "2", True, None), Reading("s", "a", "1", True, None)
        dead = Reading("s", "a", None, False, "gone")
        for mode, reading, green in (("required", new, True), ("required", old, False), ("required", dead, False),
                                     ("required", None, False), ("if_any", new, True), ("if_any", old, False),
                                     ("if_any", dead, True), ("if_any", None, True), ("none", old, True)):
            self.assertEqual(green, plan.judge_witness(mode, "s", reading, "2") is None, (mode, reading))


unittest.main()
