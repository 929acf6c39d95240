"""vtekctl where things are not as they should be: its command line, its files, its output.

    hostile_test.py VTEKCTL
"""

import json
import os
import resource
import signal
import subprocess

from vtekctl_case import COMPONENT, DONE, OUTPUT_LOST, REFUSED, USAGE, VtekctlCase, main, snapshot

READERS = (["show"], ["show", "--json"], ["set"], ["inventory", "export"], ["trust", "list"],
           ["trust", "list", "--json"], ["history"], ["history", "--json"], ["--help"], ["sign", "--help"],
           ["--version"])
NAMESPACE = ["unshare", "-m"]
READ_ONLY = 'mount --bind "$VTEK_ROOT" "$VTEK_ROOT" && mount -o remount,bind,ro "$VTEK_ROOT"'


class CommandLine(VtekctlCase):
    """Wrong command lines end with 2 and a line that helps, and change nothing."""

    def test_refuses_wrong_command_lines(self):
        self.make_chassis()
        before = snapshot(self.folder)
        for wrong in ([], ["unknown"], ["inventory"], ["trust"], ["inventory", "unknown"], ["--unknown", "show"],
                      ["show", "--unknown"], ["show", "more"], ["show", "--json=x"], ["inventory", "add", "1"],
                      ["inventory", "import"], ["trust", "add"], ["keygen"], ["sign"], ["pack"], ["set", "a", "b", "c"],
                      ["--root"], ["verify", "--plan"], ["pack", "x", "--format", "rar"], ["init", "--json"],
                      ["show", "show"], ["-"], [""]):
            with self.subTest(wrong):
                ended = self.run_vtekctl(*wrong)
                self.assertEqual((ended.returncode, ended.stdout), (USAGE, ""), ended.stderr)
                self.assertIn("--help", ended.stderr)
        self.assertEqual(snapshot(self.folder), before)

    def test_lists_the_commands_if_one_is_missing_or_unknown(self):
        trust = "vtekctl trust has add, list, remove (see vtekctl --help)\n"
        self.assertEqual(self.run_vtekctl("trust").stderr, "vtekctl: no command; " + trust)
        self.assertEqual(self.run_vtekctl("trust", "ad").stderr,
                         "vtekctl: no such command: ad, did you mean add? " + trust)
        self.assertEqual(self.run_vtekctl("trust", "\x1b").stderr, r"vtekctl: no such command: \x1b; " + trust)
        self.assertRegex(self.run_vtekctl("shwo").stderr,
                         r"^vtekctl: no such command: shwo, did you mean show\? vtekctl has init, show, set, ")

    def test_prints_the_exit_statuses_in_help(self):
        top = self.done("--help")
        for status in (DONE, REFUSED, USAGE, OUTPUT_LOST):
            self.assertRegex(top, rf"(Exit status: |\s){status} ")
        self.assertEqual(self.done("-h"), top)
        self.assertEqual(self.done("sign", "-h"), self.done("sign", "--help"))

    def test_prints_defaults_in_help(self):
        self.assertIn("=Lab Signer ", self.done("keygen", "--help"))
        self.assertTrue(self.done("run", "--help").endswith("\nEnds as the program does.\n"))

    def test_prints_the_version_of_the_project(self):
        self.assertRegex(self.done("--version"), r"^vtekctl \d+\.\d+\.\d+\n$")

    def test_survives_arguments_that_are_not_text(self):
        self.done("init")
        ended = subprocess.run([self.program, "inventory", "add", b"\xff\xfe", b"\x80"], check=False,
                               capture_output=True, env={**os.environ, "VTEK_ROOT": str(self.root)})
        self.assertEqual(ended.returncode, USAGE)
        self.assertIn(b"is not UTF-8", ended.stderr)

    def test_escapes_messages_for_the_terminal(self):
        ended = self.run_vtekctl("--root", "/no\x1b[31mwhere", "show")
        self.assertEqual(ended.returncode, REFUSED)
        self.assertNotIn("\x1b", ended.stderr)

    def test_survives_a_long_argument(self):
        ended = self.run_vtekctl("--root", "/" + "x" * 100_000, "show")
        self.assertEqual(ended.returncode, REFUSED, ended.stderr[:200])


class Output(VtekctlCase):
    """Standard output that takes nothing ends with 74 and a line; what was to be changed is changed."""

    def setUp(self):
        super().setUp()
        self.make_chassis()

    def test_reports_a_full_disk(self):
        for command in READERS:
            with self.subTest(command), open("/dev/full", "w", encoding="ascii") as full:
                ended = self.run_vtekctl(*command, capture_output=False, stdout=full, stderr=subprocess.PIPE)
                self.assertEqual((ended.returncode, ended.stderr),
                                 (OUTPUT_LOST, "vtekctl: standard output could not be written\n"))

    def test_reports_a_closed_output(self):
        for command in READERS:
            with self.subTest(command):
                ended = self.run_vtekctl(*command, capture_output=False, stderr=subprocess.PIPE,
                                         preexec_fn=lambda: os.close(1))
                self.assertEqual((ended.returncode, ended.stderr),
                                 (OUTPUT_LOST, "vtekctl: standard output could not be written\n"))

    def test_keeps_the_change_if_the_output_is_lost(self):
        with open("/dev/full", "w", encoding="ascii") as full:
            ended = self.run_vtekctl("sign", *self.recipe(), *self.signer(), "-o", "x.fwp", capture_output=False,
                                     stdout=full, stderr=subprocess.DEVNULL)
        self.assertEqual(ended.returncode, OUTPUT_LOST)
        self.done("verify", self.folder / "x.fwp")

    def test_reports_a_refusal_if_the_output_is_lost(self):
        with open("/dev/full", "w", encoding="ascii") as full:
            ended = self.run_vtekctl("trust", "remove", "none", capture_output=False, stdout=full,
                                     stderr=subprocess.PIPE)
        self.assertEqual(ended.returncode, USAGE, "nothing was to be printed")

    def test_ends_if_the_reader_goes_away(self):
        read, write = os.pipe()
        os.close(read)
        ended = self.run_vtekctl("show", capture_output=False, stdout=write)
        os.close(write)
        self.assertEqual(ended.returncode, -signal.SIGPIPE)

    def test_survives_closed_standard_descriptors(self):
        def close_all():
            for descriptor in (0, 1, 2):
                os.close(descriptor)
        ended = self.run_vtekctl("inventory", "add", "31002", "1", capture_output=False, preexec_fn=close_all)
        self.assertEqual(ended.returncode, DONE)
        self.assertEqual(len(self.answer("show")["inventory"]), 2)


class Files(VtekctlCase):
    """Files and folders that cannot be used."""

    def setUp(self):
        super().setUp()
        self.make_chassis()

    def test_refuses_files_that_are_missing_folders_or_unreadable(self):
        signer = dict(zip(("--certificate", "--key"), (self.keys / "signer.pem", self.keys / "signer.key")))
        for bad in ("none", self.content, "/proc/self/mem"):
            commands = [["inventory", "import", bad], ["trust", "add", bad]]
            for option in ("--package", "--certificate", "--key", "--chain"):
                options = {"--package": self.description, **signer, option: bad}
                commands.append(["sign", self.content, "-o", "x.fwp", "--chassis", "C",
                                 *(word for pair in options.items() for word in pair)])
            commands.append(["sign", *self.recipe(), "-o", "x.fwp", "--signature", bad])
            if bad != self.content:
                commands.append(["sign", bad, *self.recipe()[1:], *self.signer(), "-o", "x.fwp"])
            before = snapshot(self.folder)
            for command in commands:
                with self.subTest(command):
                    ended = self.run_vtekctl(*command)
                    self.assertIn(ended.returncode, (REFUSED, USAGE))
                    self.assertRegex(ended.stderr, r"\Avtekctl: .+ \(error \d+\)\n")
                    after = snapshot(self.folder)
                    self.assertEqual({name: entry[2] for name, entry in after.items()},
                                     {name: entry[2] for name, entry in before.items()})

    def test_never_waits_for_a_fifo(self):
        fifo = self.folder / "fifo"
        os.mkfifo(fifo)
        for command in (["sign", self.content, "--package", fifo, "--chassis", "C", *self.signer(), "-o", "x"],
                        ["sign", fifo, *self.recipe()[1:], *self.signer(), "-o", "x"],
                        ["sign", *self.recipe(), "--signature", fifo, "-o", "x"], ["trust", "add", fifo],
                        ["inventory", "import", fifo], ["verify", fifo]):
            with self.subTest(command):
                ended = self.run_vtekctl(*command, timeout=20)
                self.assertIn(ended.returncode, (REFUSED, USAGE), ended.stderr)

    def test_refuses_a_pipe(self):
        pipe = self.folder / "pipe"
        os.mkfifo(pipe)
        with open(os.open(pipe, os.O_RDONLY | os.O_NONBLOCK), "rb"):  # keeps in it what is written
            pipe.write_bytes((self.keys / "authority.pem").read_bytes())
            self.assert_refused(802, "trust", "add", pipe, "--name", "new.pem", status=USAGE,
                                saying="is not a regular file")
        self.assertEqual(os.listdir(self.root / "trust"), ["authority.pem"])

    def test_refuses_outputs_that_cannot_be_made(self):
        for output in ("none/x.fwp", self.content, self.description / "x", "/proc/x.fwp"):
            with self.subTest(output):
                self.assert_refused(802, "sign", *self.recipe(), *self.signer(), "-o", output, status=USAGE)

    def test_refuses_to_replace_a_link_or_a_fifo(self):
        os.mkfifo(self.folder / "pipe.fwp")
        (self.folder / "link.fwp").symlink_to(self.description)
        before = snapshot(self.folder)
        for output in ("pipe.fwp", "link.fwp"):
            with self.subTest(output):
                self.assert_refused(802, "sign", *self.recipe(), *self.signer(), "-o", output, status=USAGE,
                                    saying="File exists")
                self.assertEqual(snapshot(self.folder), before)
        self.assertTrue((self.folder / "link.fwp").is_symlink())

    def test_leaves_nothing_on_a_full_disk(self):
        def no_large_files():
            resource.setrlimit(resource.RLIMIT_FSIZE, (4096, 4096))
        self.assert_refused(802, "sign", *self.recipe(), *self.signer(), "-o", "x.fwp", status=USAGE,
                            preexec_fn=no_large_files, restore_signals=False, saying="File too large")
        self.assertFalse([name for name in os.listdir(self.folder) if name.startswith((".", "x"))])

    def run_mounted(self, mount, *command):
        """Runs vtekctl where a shell has mounted something."""
        if os.geteuid() != 0:
            # In a namespace of a user the folders above a chassis belong to strangers.
            self.skipTest("skipped: needs root")
        tried = subprocess.run([*NAMESPACE, "mount", "-t", "tmpfs", "tmpfs", "/mnt"], capture_output=True, check=False)
        if tried.returncode != 0:
            self.skipTest("skipped: no mount in a namespace of our own")
        return subprocess.run([*NAMESPACE, "sh", "-c", mount + ' && exec "$@"', "sh", self.program, *map(str, command)],
                              capture_output=True, text=True, check=False,
                              env={**os.environ, "VTEK_ROOT": str(self.root)})

    def test_plans_on_a_chassis_without_space(self):
        self.pack(self.folder / "package")
        planned = self.run_mounted('mount -t tmpfs -o size=64k,mode=700 tmpfs "$VTEK_ROOT/staging"',
                                   "verify", "--plan", self.folder / "package")
        self.assertEqual(planned.returncode, REFUSED)
        self.assertRegex(planned.stdout, r"(?m)^space +failed +65536 bytes are free, \d+ are needed$")

    def test_reads_a_read_only_chassis(self):
        before = snapshot(self.root)

        def run(*command):
            return self.run_mounted(READ_ONLY, *command)
        for reader in READERS:
            self.assertEqual(run(*reader).returncode, DONE, reader)
        for writer in (["set", "lock-wait", "1"], ["inventory", "add", "1", "1"], ["inventory", "remove", COMPONENT],
                       ["inventory", "import", self.description], ["trust", "add", self.keys / "authority.crl"],
                       ["trust", "remove", "authority.pem"], ["rollback"], ["recover"]):
            with self.subTest(writer):
                ended = run(*writer)
                self.assertIn(ended.returncode, (REFUSED, USAGE), ended.stderr)
                self.assertRegex(ended.stderr, r"\Avtekctl: .+ \(error \d+\)\n")
        self.pack(self.folder / "package")
        planned = run("verify", "--plan", self.folder / "package")
        self.assertEqual(planned.returncode, REFUSED)
        self.assertRegex(planned.stdout, r"(?m)^repository +failed +write to state.db: Read-only file system$")
        self.assertEqual(snapshot(self.root), before)

    def test_prints_json_in_ascii(self):
        self.done("inventory", "add", "1", "2", "--display", "Gehäuse\u202e")
        for command in (["show"], ["history"], ["trust", "list"]):
            printed = self.done(*command, "--json")
            self.assertTrue(printed.isascii())
            json.loads(printed)

    def test_reports_a_damaged_state(self):
        (self.root / "state.db").write_bytes(b"no database" * 1000)
        for command in (["show"], ["history"], ["inventory", "export"], ["set", "lock-wait", "1"], ["rollback"],
                        ["recover"]):
            with self.subTest(command):
                self.assert_refused(112, *command, saying="hint: restore state.db from a backup, or create a new root")

    def test_refuses_a_root_that_others_can_write(self):
        self.root.chmod(0o777)
        self.assert_refused(102, "show")


main()
