"""Every outcome of the module `update`, by its cause, on this machine.

    outcomes_test.py COLLECTION QRXUPDATE VTEKCTL
"""

import fcntl
import hashlib
import os
import pathlib
import signal
import time

from chassis import inventory_report, update_report
from local_modules import COMPONENT, INSTALLED, NEW, ModuleCase, main

ASK = 'if option == "-i":\n    pathlib.Path(report).write_text(INVENTORY)\n    sys.exit(0)\n'


class Outcomes(ModuleCase):
    """With the real program, the stand-in and a signed package."""

    def setUp(self):
        super().setUp()
        self.make_chassis()
        self.make_package()

    def test_updates_and_reads_back(self):
        answer = self.run_module()
        self.assert_answer(answer, "updated", True, False, "^Update is successful$")
        self.assertEqual((answer["before"], answer["after"], answer["version"]), (INSTALLED, NEW, NEW))
        self.assertEqual(answer["component"], COMPONENT)
        self.assertEqual(answer["update_report"], update_report(NEW))
        self.assertEqual(answer["inventory_report"], inventory_report(NEW))
        self.assertEqual(answer["report_sha256"], hashlib.sha256(update_report(NEW).encode()).hexdigest())
        payload = (self.package / "firmware.fwp").read_bytes()
        self.assertEqual(answer["payload_sha256"], hashlib.sha256(payload).hexdigest())
        self.assertEqual(answer["diff"], {"before": f"component {COMPONENT} version {INSTALLED}\n",
                                          "after": f"component {COMPONENT} version {NEW}\n"})
        self.assertLessEqual(answer["started"], answer["finished"])
        self.assertEqual(sorted(path.name for path in self.state.iterdir()), ["lock"], "only the lock is left")

    def test_reports_already_the_second_time(self):
        self.run_module()
        answer = self.run_module()
        self.assert_answer(answer, "already", False, False)
        self.assertEqual((answer["before"], answer["after"], answer["started"]), (NEW, NEW, None))
        self.assertEqual(self.history(), [NEW])

    def test_reports_a_refusal_word_for_word(self):
        payload = self.package / "firmware.fwp"
        data = bytearray(payload.read_bytes())
        data[4000] ^= 1
        payload.write_bytes(data)
        answer = self.run_module()
        self.assert_answer(answer, "refused", False, True, "^Signing the Payload failed$")
        self.assertEqual(answer["msg"], "refused: Signing the Payload failed")

    def test_starts_nothing_where_updates_are_forbidden(self):
        self.administer("set", "ipmi-flag", "0")
        answer = self.run_module()
        self.assert_answer(answer, "not_permitted", False, True, "^The shared components could not be updated .* true\\.$")
        self.assertEqual((answer["started"], self.history()), (None, []))

    def test_reports_a_missing_component(self):
        self.administer("inventory", "remove", COMPONENT)
        self.assert_answer(self.run_module(), "incompatible", False, True, "^Update not compatable to this system$")

    def test_proves_the_holder_of_a_busy_chassis(self):
        with self.held_lock():
            answer = self.run_module(timeout=6)
        self.assert_answer(answer, "busy", False, True, "^Start copying file failed: the repository is held by ")

    def test_claims_no_holder_without_proof(self):
        log = self.root / "log" / "vtek.log"
        log.symlink_to("/dev/null")
        with self.held_lock():
            answer = self.run_module(timeout=6)
        self.assert_answer(answer, "refused", False, True, "^Start copying file failed$")

    def test_tries_a_busy_chassis_again(self):
        with self.held_lock():
            process = self.start()
            self.wait_for(lambda: "error 401" in self.log())
        self.assert_answer(self.answer_of(process), "updated", True, False)

    def test_keeps_a_newer_version(self):
        self.install("1.40.1000")
        answer = self.run_module()
        self.assert_answer(answer, "not_started", False, True, "1.40.1000; 1.40.200 is older, and allow_older is false")

    def test_installs_an_older_version_on_request(self):
        self.install("1.40.1000")
        self.assert_answer(self.run_module(allow_older=True), "updated", True, False)

    def test_fails_without_a_package(self):
        answer = self.run_module(package=str(self.folder / "nothing"))
        self.assert_answer(answer, "not_started", False, True, "no such package")

    def test_refuses_a_description_that_is_no_file_or_too_large(self):
        description = self.package / "package.xml"
        description.unlink()
        os.mkfifo(description)
        self.assert_answer(self.run_module(), "not_started", False, True, "package.xml: not a regular file")
        description.unlink()
        with description.open("wb") as file:
            file.truncate(16 * 1024 * 1024 + 1)
        self.assert_answer(self.run_module(), "not_started", False, True, "package.xml: larger than 16777216 bytes")

    def test_does_not_wait_for_a_payload_that_is_no_file(self):
        payload, = self.package.glob("*.fwp")
        payload.unlink()
        os.mkfifo(payload)
        answer = self.run_module()
        self.assert_answer(answer, "refused", False, True)
        self.assertIsNone(answer["payload_sha256"])

    def test_fails_with_the_loaders_text(self):
        (self.package / "qrxupdate").unlink()
        program = self.package / "qrxupdate"
        # The run path is in the program as text: without it the loader finds no platform library.
        data = self.qrxupdate.read_bytes()
        runpath = str(self.qrxupdate.parent.parent / "vtek" / "src").encode()
        self.assertIn(runpath, data)
        program.write_bytes(data.replace(runpath, b"/nowhere".ljust(len(runpath), b"/")))
        program.chmod(0o755)
        self.assert_answer(self.run_module(), "not_started", False, True, "libvtek.so.0: cannot open shared object file")

    def test_fails_without_the_right_to_run_it(self):
        (self.package / "qrxupdate").unlink()
        (self.package / "qrxupdate").write_bytes(b"no program")
        self.assert_answer(self.run_module(), "not_started", False, True, "no right to run")

    def test_refuses_a_state_folder_of_others(self):
        self.state.mkdir()
        self.state.chmod(0o777)
        self.assert_answer(self.run_module(), "not_started", False, True, "must belong to the caller alone")

    def test_predicts_an_update_and_changes_nothing(self):
        answer = self.run_module(check=True)
        self.assert_answer(answer, "would_update", True, False)
        self.assertEqual((answer["before"], answer["after"], self.history()), (INSTALLED, NEW, []))
        self.assertFalse(self.state.exists())

    def test_predicts_no_change_the_second_time(self):
        self.run_module()
        self.assert_answer(self.run_module(check=True), "already", False, False)

    def test_predicts_a_refusal_of_the_stand_in(self):
        self.administer("set", "minimum-version", "2.0")
        self.assert_answer(self.run_module(check=True), "refused", False, True, "^policy: ")

    def test_does_not_ask_the_stand_in_about_another_library(self):
        self.script_package(ASK)
        self.administer("set", "minimum-version", "2.0")
        self.assert_answer(self.run_module(check=True), "would_update", True, False)

    def install(self, version):
        """Makes the inventory show another version."""
        self.administer("inventory", "remove", COMPONENT)
        self.administer("inventory", "add", COMPONENT, version)

    def held_lock(self):
        """Holds the repository as another update does."""
        lock = open(self.root / "lock", "a+", encoding="ascii")  # the caller closes it
        fcntl.flock(lock, fcntl.LOCK_EX)
        self.administer("set", "lock-wait", "0")
        return lock

    def log(self):
        """The stand-in's log."""
        path = self.root / "log" / "vtek.log"
        return path.read_text() if path.exists() else ""

    def wait_for(self, condition):
        """Waits until something has happened."""
        deadline = time.monotonic() + 30
        while not condition():
            self.assertLess(time.monotonic(), deadline)
            time.sleep(0.05)


class Scripted(ModuleCase):
    """With a scripted program, for what the real one does only on real hosts, or when it is killed."""

    def test_reports_that_there_is_no_device(self):
        self.script_package("sys.exit(1)")
        self.assert_answer(self.run_module(), "no_device", False, True, "exit status 1, and no report")

    def test_takes_a_usage_error_for_no_start(self):
        self.script_package('print("\\nUsage: -h")\nsys.exit(1)')
        self.assert_answer(self.run_module(), "not_started", False, True, "^Usage: -h$")

    def test_says_what_is_in_force_after_a_killed_update(self):
        self.script_package(ASK + "os.kill(os.getpid(), 9)")
        answer = self.run_module()
        self.assert_answer(answer, "damaged", False, True, "^no report$")
        self.assertEqual((answer["after"], answer["changed_known"]), (INSTALLED, True))

    def test_sees_a_change_behind_a_damaged_report(self):
        self.script_package(
            'done = pathlib.Path("done")\n'
            'if option == "-i":\n'
            '    pathlib.Path(report).write_text(INVENTORY.replace(INSTALLED, NEW) if done.exists() else INVENTORY)\n'
            'else:\n    done.touch()\n    pathlib.Path(report).write_text(UPDATE[:90])')
        answer = self.run_module()
        self.assert_answer(answer, "damaged", True, True, "^half a report")
        self.assertEqual(answer["after"], NEW)

    def test_does_not_know_what_changed_without_an_inventory(self):
        self.script_package('done = pathlib.Path("done")\n'
                            'if option == "-i" and not done.exists():\n    pathlib.Path(report).write_text(INVENTORY)\n'
                            'else:\n    done.touch()')
        answer = self.run_module()
        self.assert_answer(answer, "damaged", True, True)
        self.assertEqual((answer["after"], answer["changed_known"]), (None, False))

    def test_ends_an_inventory_that_hangs(self):
        self.script_package('pathlib.Path("process").write_text(str(os.getpid()))\ntime.sleep(600)')
        answer = self.run_module(inventory_timeout=1)
        self.assert_answer(answer, "damaged", False, True, "did not end within 1 seconds")
        process = int((self.package / "process").read_text())
        self.assertFalse(pathlib.Path(f"/proc/{process}").exists(), "it is ended")

    def test_does_not_read_back_on_request_and_is_not_green(self):
        self.script_package(ASK + "pathlib.Path(report).write_text(UPDATE)")
        self.assert_answer(self.run_module(read_back=False), "unverified", True, True, "read_back is false")


SLOW = ASK.replace("INVENTORY", 'INVENTORY.replace(INSTALLED, NEW) if pathlib.Path("done").exists() else INVENTORY') + (
    'with open("starts", "a") as starts:\n    starts.write("%d %d\\n" % (os.getpid(), os.getsid(0)))\n'
    # It also ends when the test has removed its package.
    'while pathlib.Path("package.xml").exists() and not pathlib.Path("go").exists():\n    time.sleep(0.05)\n'
    'pathlib.Path("done").touch()\npathlib.Path(report).write_text(UPDATE)')


class Running(ModuleCase):
    """An update that takes longer than anyone waits."""

    def setUp(self):
        super().setUp()
        self.script_package(SLOW)

    def tearDown(self):
        (self.package / "go").touch()

    def starts(self):
        """The process and session of every update that was started."""
        path = self.package / "starts"
        return [tuple(map(int, line.split())) for line in path.read_text().splitlines()] if path.exists() else []

    def wait_for_start(self):
        deadline = time.monotonic() + 30
        while not self.starts():
            self.assertLess(time.monotonic(), deadline)
            time.sleep(0.05)

    def test_leaves_it_running_and_waits_for_it_next_time(self):
        answer = self.run_module(timeout=1)
        self.assert_answer(answer, "running", True, True, "still at work")
        self.assertEqual((answer["before"], answer["after"], answer["changed_known"]), (INSTALLED, INSTALLED, False))
        (process, session), = self.starts()
        self.assertEqual(process, session, "it has a session of its own")
        self.assertTrue(pathlib.Path(f"/proc/{process}").exists())
        again = self.start()
        time.sleep(1)
        self.assertIsNone(again.poll(), "the next call waits")
        (self.package / "go").touch()
        answer = self.answer_of(again)
        self.assert_answer(answer, "updated", True, False)
        self.assertEqual((answer["before"], answer["after"], len(self.starts())), (INSTALLED, NEW, 1))

    def test_says_running_again_while_it_runs(self):
        self.run_module(timeout=1)
        self.assert_answer(self.run_module(timeout=1), "running", True, True, "still at work")
        self.assertEqual(len(self.starts()), 1)

    def test_survives_the_module(self):
        module = self.start()
        self.wait_for_start()
        for number in (signal.SIGHUP, signal.SIGKILL):
            module.send_signal(number)
        module.wait()
        module.stdout.close()
        module.stderr.close()
        self.assertTrue(pathlib.Path(f"/proc/{self.starts()[0][0]}").exists())
        (self.package / "go").touch()
        self.assert_answer(self.run_module(), "updated", True, False)
        self.assertEqual(len(self.starts()), 1)

    def test_starts_again_after_it_was_killed(self):
        self.run_module(timeout=1)
        os.kill(self.starts()[0][0], signal.SIGKILL)
        (self.package / "go").touch()
        self.assert_answer(self.run_module(), "updated", True, False)
        self.assertEqual(len(self.starts()), 2)


if __name__ == "__main__":
    main()
