"""Every outcome over a real sshd: 12 chassis with two servers each, in network namespaces on this machine.

    ssh_test.py COLLECTION QRXUPDATE VTEKCTL LIBRARY (that the tests script)
"""

import os
import pathlib
import shutil
import signal
import threading
import time

import ssh_lab
from chassis import update_report
from local_modules import COMPONENT, INSTALLED, NEW
from ssh_case import SshCase, main

PLAY = [{"name": "Update", "hosts": "all", "gather_facts": False, "tasks": [{
    "name": "Update the controller",
    "qrxupdate.chassis.update": {
        "package": "{{ package }}", "state": "{{ qrx_state }}", "timeout": "{{ timeout | default(300) }}",
        "read_back_timeout": "{{ read_back_timeout | default(8) }}", "settle": "{{ settle | default(1) }}"},
    "environment": "{{ program_environment | default({}) }}"}]}]


def play(hosts):
    """The play for these servers only."""
    return [{**PLAY[0], "hosts": ",".join(hosts)}]


def is_at_work(process):
    """Whether a process lives. Nobody waits for an orphan in the lab, so it stays as a zombie when it has ended."""
    try:
        state = pathlib.Path(f"/proc/{process}/stat").read_text(encoding="utf-8").rpartition(")")[2].split()[0]
    except FileNotFoundError:
        return False
    return state != "Z"


class OverSsh(SshCase):
    """Each test has chassis of its own."""

    def setUp(self):
        for server in self.lab.servers.values():
            server.variables = {"package": str(self.package)}

    def server(self, name, **variables):
        """Gives a server its variables; returns it."""
        server = self.lab.servers[name]
        server.variables.update(variables)
        return server

    def own_package(self, name):
        """Gives a server a copy of the package; returns its folder."""
        folder = self.lab.servers[name].folder / "package"
        shutil.copytree(self.package, folder)
        self.server(name, package=str(folder))
        return folder

    def wrap(self, name, update, after_inventory="pass"):
        """Puts a script before a server's real program: what it does for an update, and after an inventory."""
        folder = self.own_package(name)
        os.rename(folder / "qrxupdate", folder / "real")
        (folder / "qrxupdate").write_text(
            f"#!{ssh_lab.PYTHON}\nimport os, pathlib, subprocess, sys\noption, report = sys.argv[1], sys.argv[3]\n"
            f"UPDATE = {update_report(NEW)!r}\n"
            f"def real():\n    subprocess.run(['./real'] + sys.argv[1:], check=True)\n"
            f"if option == '-i':\n    real()\n    {after_inventory}\nelse:\n    {update}\n")
        (folder / "qrxupdate").chmod(0o755)

    def update(self, *names):
        """Updates from these servers; returns each one's only result."""
        started = self.lab.start_playbook(play(names), self.collections)
        return {host: results[0] for host, results in self.finish(started).items()}

    def finish(self, process):
        """The results of a playbook; its output is shown if there are none."""
        results = self.lab.results_of(process)
        self.assertTrue(results, process.output.read_text())
        return results

    def assert_outcome(self, result, outcome, message, changed, red):
        """The result has this outcome, and is red or green."""
        self.assertEqual((result.get("outcome"), result.get("changed"), result["status"]),
                         (outcome, changed, "failed" if red else "ok"), result)
        if message:
            self.assertRegex(result["message"], message)

    def test_every_outcome(self):
        damaged = self.own_package("c2a") / "firmware.fwp"
        data = bytearray(damaged.read_bytes())
        data[4000] ^= 1
        damaged.write_bytes(data)
        self.administer(self.folder / "root-3", "set", "ipmi-flag", "0")
        self.administer(self.folder / "root-4", "inventory", "remove", COMPONENT)
        self.hold(5, 0)
        self.server("c5a", timeout=15)
        killed = self.hold(6, 300)
        self.server("c7a", program_environment=self.lying_library(INSTALLED), read_back_timeout=3)
        self.make_revert("c8a")
        self.wrap("c9a", "real(); pathlib.Path(report).write_text(UPDATE.replace('25227', '25228'))")
        self.wrap("c9b", "pathlib.Path(report).write_text(UPDATE.replace('1.40.200', '1.20')); os.utime(report, (1, 1))")
        self.wrap("c10a", "real(); os.truncate(report, 150)")
        (self.own_package("c11a") / "qrxupdate").write_text("#!/bin/sh\n# Scripted: says that there is no device.\nexit 1\n")
        self.server("c12a", package="/nowhere")
        killer = threading.Thread(target=self.kill_update, args=("c6a",))
        killer.start()
        results = self.update(*(f"c{number}a" for number in range(1, 13)))
        killer.join()
        killed.close()
        expected = {
            "c1a": ("updated", "^Update is successful$", True, False),
            "c2a": ("refused", "^Signing the Payload failed$", False, True),
            "c3a": ("not_permitted", "^The shared components could not be updated", False, True),
            "c4a": ("incompatible", "^Update not compatable to this system$", False, True),
            "c5a": ("busy", "^Start copying file failed: the repository is held by ", False, True),
            "c6a": ("damaged", "^no report$", False, True),
            "c7a": ("unverified", "the inventory shows 1.30.100", True, True),
            "c8a": ("unverified", "the inventory shows 1.30.100", True, True),
            "c9a": ("damaged", "about component 25228", True, True),
            "c10a": ("damaged", "^half a report", True, True),
            "c11a": ("no_device", "no report", False, True),
            "c12a": ("not_started", "no such package", False, True),
        }
        for host, values in expected.items():
            with self.subTest(host):
                self.assert_outcome(results[host], *values)
        again = self.update("c1a", "c1b", "c9b")
        for host in ("c1a", "c1b"):
            self.assert_outcome(again[host], "already", None, False, False)
        self.assert_outcome(again["c9b"], "already", None, False, False)
        self.assert_nothing_left()

    def kill_update(self, name):
        """Kills an update that waits in the middle."""
        os.kill(self.wait_for_update(name), signal.SIGKILL)

    def make_revert(self, name):
        """Makes the chassis put the old version in force again, after the first inventory that shows the new one."""
        change = [[str(self.vtekctl), "inventory", "remove", COMPONENT],
                  [str(self.vtekctl), "inventory", "add", COMPONENT, INSTALLED]]
        self.wrap(name, "real()", f"[subprocess.run(each) for each in {change!r} if {NEW!r} in open(report).read()]")
        self.server(name, read_back_timeout=3)

    def test_leaves_a_running_update_and_waits_for_it_next_time(self):
        held = self.hold(2, 300)
        self.server("c2b", timeout=4)
        self.assert_outcome(self.update("c2b")["c2b"], "running", "still at work", True, True)
        process = self.wait_for_update("c2b")
        self.server("c2b", timeout=100)
        second = self.lab.start_playbook(play(["c2b"]), self.collections)
        time.sleep(3)
        held.close()
        self.assert_outcome(self.finish(second)["c2b"][0], "updated", "^Update is successful$", True, False)
        self.assertFalse(is_at_work(process))

    def test_survives_an_sshd_that_stops(self):
        self.lose_the_connection("c11b", 11, lambda: self.lab.kill_sshd("c11b"), lambda: self.lab.start_sshd("c11b"))

    def test_survives_a_link_that_goes_down(self):
        self.lose_the_connection("c12b", 12, lambda: self.lab.set_link("c12b", "down"),
                                 lambda: self.lab.set_link("c12b", "up"))

    def lose_the_connection(self, name, number, lose, restore):
        """The connection goes while an update is at work: the update lives on, and the next call finds it."""
        held = self.hold(number, 300)
        first = self.lab.start_playbook(play([name]), self.collections)
        process = self.wait_for_update(name)
        lose()
        self.assertEqual(self.finish(first)[name][0]["status"], "unreachable")
        self.assertTrue(is_at_work(process))
        restore()
        second = self.lab.start_playbook(play([name]), self.collections)
        time.sleep(3)
        held.close()
        # Already, if the first call's module lived long enough to judge the update itself.
        result = self.finish(second)[name][0]
        self.assertEqual((result["status"], result["after"]), ("ok", NEW), result)
        self.assertIn(result["outcome"], ("updated", "already"))
        history = self.administer(self.folder / f"root-{number}", "history")
        self.assertEqual(history.count(NEW), 1, history)

    def assert_nothing_left(self):
        """No module and no program is left on any server."""
        deadline = time.monotonic() + 20
        while True:
            left = {name: [line for line in self.lab.processes(name).values() if "sshd" not in line]
                    for name in self.lab.servers}
            left = {name: lines for name, lines in left.items() if lines}
            if not left:
                return
            self.assertLess(time.monotonic(), deadline, left)
            time.sleep(0.2)


if __name__ == "__main__":
    main(OverSsh)
