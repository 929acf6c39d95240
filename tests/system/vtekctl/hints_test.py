"""What vtekctl advises where something is wrong: each hint fits what happened.

    hints_test.py VTEKCTL
"""

import os
import pathlib
import pty
import subprocess
import unittest

from vtekctl_case import CHASSIS, COMPONENT, DONE, INSTALLED, REFUSED, USAGE, VtekctlCase, main

NOBODY = 65534


class Hints(VtekctlCase):
    """The line after the error says what to do."""

    def assert_hint(self, hint, *arguments, status=USAGE, **options):
        """vtekctl fails, changes nothing, and its last line is this hint."""
        ended = self.run_vtekctl(*arguments, **options)
        self.assertEqual((ended.returncode, ended.stdout), (status, ""), ended.stderr)
        self.assertEqual(ended.stderr.splitlines()[-1], f"vtekctl: hint: {hint}")

    def assert_signing_hint(self, hint, *, content=None, output="new.fwp", **files):
        """`sign` gives this hint."""
        self.assert_hint(hint, "sign", content or self.content, "--output", output, "--package", self.description,
                         "--chassis", CHASSIS, "--certificate", files.get("certificate", self.keys / "signer.pem"),
                         "--key", files.get("key", self.keys / "signer.key"))

    def test_keys_that_are_there_already(self):
        self.assert_hint("use the keys that are there, or name another folder", "keygen", self.keys)

    def test_a_key_of_another_certificate(self):
        self.assert_signing_hint("name the key and the certificate of one signer", key=self.keys / "authority.key")

    def test_a_file_that_is_no_key(self):
        self.assert_signing_hint("name a PEM file with a private key, and give its pass phrase if it has one",
                                 key=self.keys / "signer.pem")

    def test_a_missing_file(self):
        self.make_chassis()
        self.assert_hint("check the name", "inventory", "import", "absent.xml")

    def test_content_without_files(self):
        empty = self.folder / "empty"
        (empty / "inner").mkdir(parents=True)
        self.assert_signing_hint("name the folder that contains the firmware", content=empty)

    def test_an_output_that_no_update_finds(self):
        self.assert_signing_hint("name the payload *.fwp: an update finds it by that", output="firmware.bin")
        self.assertFalse((self.folder / "firmware.bin").exists())

    def test_a_component_that_is_there_already(self):
        self.make_chassis()
        self.done("inventory", "add", "31002", INSTALLED)
        before = self.done("inventory", "export")
        self.assert_hint("remove it first with `vtekctl inventory remove`", "inventory", "add", "31002", "2.0")
        self.assertEqual(self.done("inventory", "export"), before)

    def test_settings(self):
        self.make_chassis()
        self.assert_hint("did you mean lock-wait?", "set", "lock-wiat", "5")
        self.assert_hint("`vtekctl set` lists all settings", "set", "colour", "5")
        self.assert_hint("`vtekctl set` says what each setting takes", "set", "lock-wait")

    def test_a_folder_in_place_of_a_payload(self):
        self.make_chassis()
        self.assert_hint("try a whole package with `vtekctl verify --plan`", "verify", self.folder, status=REFUSED)

    def test_a_root_that_is_there_or_cannot_be_made(self):
        self.make_chassis()
        self.assert_hint("use it as it is if it is a root, or name another folder", "init")
        self.assert_hint("make the folder above it first", "--root", self.folder / "absent" / "root", "init",
                         status=REFUSED)

    @unittest.skipUnless(os.geteuid() == 0, "only root can become another user")
    def test_no_right_to_write(self):
        self.folder.chmod(0o755)
        if barred := [str(folder) for path in (self.folder, pathlib.Path(self.program)) for folder in path.parents
                      if folder.stat().st_mode & 1 == 0]:
            self.skipTest(f"closed to other users: {barred[0]}")
        closed = self.folder / "closed"
        closed.mkdir(mode=0o755)
        self.assert_hint("run the command as a user with the right to do this, or name another place",
                         "keygen", closed / "keys", user=NOBODY)


class Conveniences(VtekctlCase):
    """Command lines as people type them."""

    def test_names_all_missing_options(self):
        self.assertEqual(self.run_vtekctl("pack").stderr,
                         "vtekctl: content, --package, --chassis and --output are required (see vtekctl --help)\n")

    def test_answers_help_as_a_command(self):
        self.assertEqual(self.done("help"), self.done("--help"))
        self.assertEqual(self.done("help", "pack"), self.done("pack", "--help"))

    def test_takes_the_root_behind_the_command(self):
        self.make_chassis()
        environment = {"VTEK_ROOT": "/nowhere"}
        self.assertIn(COMPONENT, self.done("show", "--root", self.root, environment=environment))

    def test_runs_a_program_without_dashes(self):
        self.make_chassis()
        self.assertEqual(self.done("run", "printf", "%s %s", "-i", "--root"), "-i --root")
        self.assertEqual(self.done("run", "--", "printf", "%s", "-i"), "-i")


class OnATerminal(VtekctlCase):
    """Progress is shown on a terminal, unless it is not wanted."""

    def shown_while_packing(self, *options):
        """What `sign` writes to the terminal on its standard error."""
        ours, theirs = pty.openpty()
        command = [self.program, *options, "sign", self.content, "--output", "new.fwp", "--package", self.description,
                   "--chassis", CHASSIS, "--certificate", self.keys / "signer.pem", "--key", self.keys / "signer.key",
                   "--format", "tar.gz"]
        # On a slow processor even little content takes long enough.
        with open(self.content / "large.img", "wb") as file:
            for _ in range(48):
                file.write(os.urandom(2**20))
        with subprocess.Popen(list(map(str, command)), cwd=self.folder, stderr=theirs, stdout=subprocess.DEVNULL) as run:
            os.close(theirs)
            shown = b""
            try:
                while piece := os.read(ours, 4096):
                    shown += piece
            except OSError:
                pass  # the other end is closed
        os.close(ours)
        self.assertEqual(run.returncode, DONE, shown)
        return shown.decode()

    def test_shows_progress(self):
        self.assertRegex(self.shown_while_packing(), r"\rpack \[[#.]{24}\] \d+ %, \d+\.\d MiB/s, \d+:\d\d left\x1b\[K")

    def test_shows_none_when_quiet(self):
        self.assertEqual(self.shown_while_packing("--quiet"), "")


if __name__ == "__main__":
    main()
