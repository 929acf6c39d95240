"""Runs the playbook over doubles of the modules. usage: playbook_test.py COLLECTION [TEST...]"""
import fcntl
import pathlib
import re
import subprocess
import sys
import tempfile
import time
import unittest

from lab import Lab

COLLECTION = sys.argv.pop(1)


class PlaybookTest(unittest.TestCase):
    def lab(self, chassis):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        return Lab(pathlib.Path(folder.name) / "lab", COLLECTION, chassis)

    def assert_states(self, lab, **states):
        self.assertEqual(states, {row["chassis"]: row["state"] for row in lab.summary()["chassis"]})

    def test_says_in_check_mode_what_the_run_then_does(self):
        lab = self.lab(4)
        said = lab.run("--check", "-v")
        self.assertEqual(0, said.returncode, said.stdout)
        self.assertFalse(lab.ledger.exists(), "check mode wrote a ledger")
        self.assertEqual([], lab.names("begun"))
        done = lab.run()
        self.assertEqual(0, done.returncode, done.stdout)
        self.assert_states(lab, c00="green", c01="green", c02="green", c03="green")
        order = ['"wave %d: %s by %s, from 1.0 to 2.0"' % (row["wave"], row["chassis"], row["server"])
                 for row in lab.rows() if row["event"] == "planned"]
        places = [said.stdout.index(line) for line in order]
        self.assertEqual(4, len(places))
        self.assertEqual(sorted(places), places)
        again = lab.run()
        self.assertEqual(0, again.returncode, again.stdout)
        self.assertEqual([1] * 4, [len(lab.begun(chassis)) for chassis in lab.chassis])
        (lab.folder / "package").write_text("other bytes\n")
        refused = lab.run()
        self.assertNotEqual(0, refused.returncode)
        self.assertIn("is for the package with SHA-256", refused.stdout)

    def test_tells_every_fault_and_resumes_what_is_left(self):
        lab = self.lab(6)
        planned = self.lab(6).run("--check", "-v").stdout
        leader = {name: planned.split(": %s by " % name)[1].split(",")[0] for name in lab.chassis}
        lab.mark("lying", "c01")
        lab.mark("dying", leader["c02"])
        lab.mark("dead", "c03-a", "c03-b")
        lab.mark("bad", "c04")
        faulty = lab.run(qrx_stop_share=1)
        self.assertEqual(2, faulty.returncode, faulty.stdout)
        self.assert_states(lab, c00="green", c01="failed", c02="failed", c03="not tried", c04="failed", c05="green")
        causes = {row["chassis"]: row["cause"] for row in lab.summary()["chassis"]}
        self.assertRegex(causes["c01"], "the witness c01-[ab] shows 1.0")
        self.assertIn("was lost after the update started", causes["c02"])
        self.assertIn("no server of the chassis can be reached", causes["c03"])
        self.assertIn("Update is not successful", causes["c04"])
        self.assertEqual([leader["c02"]], lab.begun("c02"))
        # The lost server comes back, and so does the dead chassis.
        lab.unmark("dead", leader["c02"], "c03-a", "c03-b")
        lab.unmark("bad", "c04")
        lab.unmark("lying", "c01")
        lab.unmark("deceived", *lab.names("deceived"))
        resumed = lab.run(qrx_stop_share=1)
        self.assertEqual(0, resumed.returncode, resumed.stdout)
        self.assertEqual([1, 2, 1, 1, 2, 1], [len(lab.begun(chassis)) for chassis in lab.chassis])

    def test_stops_at_the_share(self):
        lab = self.lab(8)
        lab.mark("bad", *lab.chassis)
        stopped = lab.run(qrx_stop_after=2, qrx_in_flight=1, forks=1)
        self.assertEqual(2, stopped.returncode, stopped.stdout)
        self.assertEqual(2, len(lab.names("begun")))
        self.assertEqual(["the stop share was passed: 2 of 2 failed"],
                         [row["cause"] for row in lab.rows() if row["event"] == "stopped"])
    def test_ends_with_the_running_wave_on_request(self):
        lab = self.lab(3)
        running = subprocess.Popen(lab.command(qrx_waves=[1]), env=lab.environment(QRX_SECONDS="5"),
                                   stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
        while not lab.names("begun"):
            self.assertIsNone(running.poll())
            time.sleep(0.05)
        pathlib.Path(str(lab.ledger) + ".stop").touch()
        self.assertEqual(2, running.wait(600))
        self.assertEqual(1, len(lab.names("begun")))
        rows = sorted((row["state"], row["cause"]) for row in lab.summary()["chassis"])
        cause = "a stop was requested: 0 of 1 failed"
        self.assertEqual([("green", None), ("not tried", cause), ("not tried", cause)], rows)

    def test_does_what_its_document_says(self):
        document = pathlib.Path(COLLECTION, "ROLLOUT.md").read_text()
        hosts, settings = (re.search("```%s\n(.*?)```" % language, document, re.DOTALL).group(1)
                           for language in ("ini", "yaml"))
        dry_run = re.search("^ +(ansible-playbook .*)$", document, re.MULTILINE).group(1)
        query = re.search('sqlite3 LEDGER "(.*)"', document).group(1)
        lab = self.lab(0)
        (lab.folder / "hosts.ini").write_text(hosts)
        for theirs, ours in (("/srv/firmware/25227-1.40.200.tar.gz", str(lab.folder / "package")),
                             ("/srv/rollouts/25227-1.40.200.sqlite", str(lab.ledger)), (": 1.40.200", ": '2.0'")):
            self.assertIn(theirs, settings)
            settings = settings.replace(theirs, ours)
        (lab.folder / "rollout.yml").write_text(settings)
        stop = pathlib.Path(str(lab.ledger) + ".stop")

        def run(command):
            command += " -e qrx_deliver=false -e qrx_place=/nowhere -e qrx_locks=locks"
            return subprocess.run(command, shell=True, cwd=str(lab.folder), stdout=subprocess.PIPE,
                                  stderr=subprocess.STDOUT, universal_newlines=True, timeout=600,
                                  env=lab.environment(ANSIBLE_TRANSPORT="qrxupdate.chassis.doubled"))

        said = run(dry_run)
        self.assertEqual((0, 2), (said.returncode, said.stdout.count('"wave ')), said.stdout)
        real_run = dry_run.replace(" --check -v", "")
        stop.touch()
        self.assertIn("a stop is requested", run(real_run).stdout)
        stop.unlink()
        done = run(real_run)
        self.assertEqual(0, done.returncode, done.stdout)
        self.assert_states(lab, **{"rack1-left": "green", "rack1-right": "green"})
        self.assertIn("rack1-left", pathlib.Path(str(lab.ledger) + ".summary.html").read_text())
        self.assertEqual(["seen", "seen", "planned", "started", "ended", "green"],
                         [row["event"] for row in lab.rows(query)])

    def test_refuses_a_nameless_chassis_and_a_ledger_in_use(self):
        lab = self.lab(1)
        with open(str(lab.ledger) + ".lock", "a") as lock:
            fcntl.flock(lock, fcntl.LOCK_EX)
            refused = lab.run()
        self.assertNotEqual(0, refused.returncode)
        self.assertIn("uses the ledger", refused.stdout)
        with open(str(lab.folder / "hosts"), "a") as hosts:
            hosts.write("[more]\nstranger\n")
        refused = lab.run()
        self.assertEqual(2, refused.returncode, refused.stdout)
        self.assertIn("qrx_chassis is missing for 1 hosts: stranger", refused.stdout)
        self.assertEqual([], lab.names("begun"))


unittest.main()
