"""The playbook rollout over a real sshd: chassis with two servers each, in network namespaces on this machine.

    rollout_ssh_test.py [TEST...] COLLECTION QRXUPDATE VTEKCTL LIBRARY (that the tests script)

FLEET_CHASSIS is the number of chassis, 12 if it is not set.
"""

import json
import os
import shutil
import signal
import sqlite3
import tarfile

from collections_folder import module_util
from local_modules import INSTALLED, NEW
from ssh_case import SshCase, main

LOCKED = "another roll-out on this controller is at work on the chassis"


class RolloutOverSsh(SshCase):
    """Each test begins with the older version on all chassis, and with an archive of the package."""

    chassis = int(os.environ.get("FLEET_CHASSIS", "12"))

    @classmethod
    def setUpClass(cls):
        super().setUpClass()
        shutil.copytree(cls.folder / "root-1", cls.folder / "fresh", symlinks=True)

    def setUp(self):
        self.place = self.folder / self.id().rsplit(".", maxsplit=1)[-1]
        self.place.mkdir()
        self.archive = self.pack(self.package)
        for server in self.lab.servers.values():
            # All servers have one file system, so each needs its own place for packages.
            server.variables = {"qrx_place": str(server.folder / "packages")}
            shutil.rmtree(server.root, ignore_errors=True)
            shutil.rmtree(server.folder / "packages", ignore_errors=True)
        for root in {server.root for server in self.lab.servers.values()}:
            shutil.copytree(self.folder / "fresh", root, symlinks=True)

    def pack(self, folder):
        """Makes the archive that the playbook delivers."""
        path = self.place / "package.tar.gz"
        with tarfile.open(path, "w:gz") as archive:
            for file in folder.iterdir():
                archive.add(file, file.name)
        return path

    def start(self, numbers, ledger="ledger", **settings):
        """Starts the playbook over these chassis, with a ledger in this test's folder. By default it delivers nothing."""
        servers = [server.name for server in self.lab.servers.values() if int(server.root.name[5:]) in numbers]
        variables = {"qrx_servers": servers, "qrx_package": str(self.archive), "qrx_version": NEW, "qrx_seed": "lab",
                     "qrx_deliver": False, "qrx_ledger": str(self.place / ledger), "qrx_locks": str(self.place / "locks"),
                     "qrx_update_arguments": {"state": "{{ qrx_state }}", "settle": 1, "read_back_timeout": 8}, **settings}
        if not variables["qrx_deliver"]:
            variables["qrx_place"] = str(self.package)
        return self.lab.start_playbook("qrxupdate.chassis.rollout", self.collections, "-e", json.dumps(variables))

    def finish(self, process, status):
        """Waits for a playbook, which must end with this status."""
        self.lab.results_of(process, 3000)
        self.assertEqual(process.returncode, status, process.output.read_text())

    def roll_out(self, numbers, status, **settings):
        """One roll-out to its end."""
        self.finish(self.start(numbers, **settings), status)

    def summary(self, ledger="ledger"):
        """State and cause of each chassis."""
        chassis = json.loads((self.place / f"{ledger}.summary.json").read_text())["chassis"]
        return {row["chassis"]: (row["state"], row["cause"] or "") for row in chassis}

    def assert_states(self, ledger="ledger", **states):
        """The summary has these states for the chassis with these numbers: n4="green"."""
        found = {f"n{name.rsplit('-')[-1]}": state for name, (state, cause) in self.summary(ledger).items()}
        self.assertEqual(found, states, self.summary(ledger))

    def assert_updated_once(self, numbers):
        """Each of these chassis has the new version, and got it once."""
        for number in numbers:
            history = json.loads(self.administer(self.folder / f"root-{number}", "history", "--json"))["history"]
            self.assertEqual([entry["toVersion"] for entry in history].count(NEW), 1, (number, history))

    def leader(self, number):
        """The server that the plan chooses for an update."""
        plan = module_util("plan", self.collection)
        readings = [plan.Reading(server.name, server.chassis, INSTALLED, True, None)
                    for server in self.lab.servers.values() if server.root.name == f"root-{number}"]
        return plan.make_plan(readings, NEW, "lab", [1], "required", {})[0].leader

    def restart(self, name, environment):
        """Restarts a server; what it starts gets this environment."""
        self.lab.servers[name].environment = environment
        self.lab.kill_sshd(name)
        self.lab.start_sshd(name)

    def test_updates_a_whole_fleet_and_cleans_up(self):
        numbers = range(1, self.chassis + 1)
        self.roll_out(numbers, 0, qrx_deliver=True)
        self.assert_states(**{f"n{number}": "green" for number in numbers})
        self.assert_updated_once(numbers)
        left = [path for server in self.lab.servers.values() for path in (server.folder / "packages").iterdir()]
        self.assertEqual(left, [])

    def test_stops_a_damaged_package_at_wave_one(self):
        folder = self.place / "damaged"
        shutil.copytree(self.package, folder)
        data = bytearray((folder / "firmware.fwp").read_bytes())
        data[4000] ^= 1
        (folder / "firmware.fwp").write_bytes(data)
        self.archive = self.pack(folder)
        self.roll_out((1, 2, 3), 2, qrx_deliver=True, qrx_stop_after=1)
        states = sorted(self.summary().values())
        self.assertEqual([state for state, cause in states], ["failed", "not tried", "not tried"])
        self.assertIn("Signing the Payload failed", states[0][1])
        self.assertIn("the stop share was passed: 1 of 1 failed", states[1][1])

    def test_resumes_after_a_server_died_in_the_middle(self):
        name, held = self.leader(4), self.hold(4, 300)
        started = self.start((4, 5), qrx_waves=[2])
        self.wait_for_update(name)
        self.lab.kill_sshd(name)
        self.finish(started, 2)
        self.assert_states(n4="failed", n5="green")
        self.assertIn(f"{name} was lost after the update started", self.summary()["chassis-4"][1])
        held.close()
        self.lab.start_sshd(name)
        self.roll_out((4, 5), 0)
        self.assert_updated_once((4, 5))

    def test_keeps_a_second_roll_out_off_the_chassis(self):
        held = self.hold(6, 300)
        first = self.start((6,))
        self.wait_for_update(self.leader(6))
        self.roll_out((6, 7), 2, ledger="second")
        self.assertEqual(self.summary("second")["chassis-6"], ("not tried", LOCKED))
        self.assert_states("second", n6="not tried", n7="green")
        held.close()
        self.finish(first, 0)
        self.assert_updated_once((6, 7))

    def test_resumes_after_a_kill(self):
        held = [self.hold(number, 300) for number in (8, 9)]
        killed = self.start((8, 9), qrx_waves=[2])
        for number in (8, 9):
            self.wait_for_update(self.leader(number))
        os.killpg(killed.pid, signal.SIGKILL)
        killed.wait()
        resumed = self.start((8, 9), qrx_waves=[2])
        for lock in held:
            lock.close()
        self.finish(resumed, 0)
        self.assert_updated_once((8, 9))
        with sqlite3.connect(self.place / "ledger") as ledger:
            self.assertEqual(ledger.execute("PRAGMA integrity_check").fetchall(), [("ok",)])

    def test_finds_a_lying_library_by_the_witness(self):
        name = self.leader(10)
        self.restart(name, self.lying_library(NEW))
        self.addCleanup(self.restart, name, {})
        self.roll_out((10, 11), 2, qrx_deliver=True)
        self.assert_states(n10="failed", n11="green")
        self.assertRegex(self.summary()["chassis-10"][1], f"^the witness c10[ab] shows {INSTALLED}$")


if __name__ == "__main__":
    main(RolloutOverSsh)
