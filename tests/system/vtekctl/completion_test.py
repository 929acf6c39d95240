"""Bash completion of the tools, in a real bash.

    completion_test.py VTEKCTL QRXINSPECT [CASE...]
"""

import os
import pathlib
import pty
import select
import subprocess
import sys
import tempfile
import time
import unittest

TOOLS = {name: pathlib.Path(path).resolve() for name, path in zip(("vtekctl", "qrxinspect"), sys.argv[1:3])}
PROGRAMS_OWN = pathlib.Path(__file__).resolve().parents[3] / "package/qrxupdate.bash"


def script_of(name):
    """The completion that the tool makes of its command table; the program's stands in a file."""
    if name not in TOOLS:
        return PROGRAMS_OWN.read_text()
    return subprocess.run([TOOLS[name], "--describe", "bash"], check=True, capture_output=True, text=True).stdout


def offers(line, folder="/", **environment):
    """What bash would offer at the end of a command line."""
    words = line.split(" ")
    shell = (f"{script_of(words[0])}\ncompopt() {{ :; }}\nCOMP_WORDS=(\"$@\"); COMP_CWORD=$(($# - 1))\n"
             f"_{words[0]}\nprintf '%s\\n' \"${{COMPREPLY[@]}}\"")
    path = f"{TOOLS['vtekctl'].parent}:{os.environ['PATH']}"
    ended = subprocess.run(["bash", "-u", "-c", shell, "bash", *words], check=True, capture_output=True, text=True,
                           cwd=folder, env={**os.environ, "PATH": path, **environment})
    return sorted(filter(None, ended.stdout.split("\n")))


class Completion(unittest.TestCase):
    """What is offered where."""

    def setUp(self):
        self.folder = pathlib.Path(self.enterContext(tempfile.TemporaryDirectory()))
        (self.folder / "package.xml").touch()
        (self.folder / "firm ware").mkdir()

    def test_offers_commands(self):
        self.assertEqual(offers("vtekctl "), ["history", "init", "inventory", "keygen", "pack", "recover", "rollback",
                                              "run", "set", "show", "sign", "trust", "verify"])
        self.assertEqual(offers("vtekctl r"), ["recover", "rollback", "run"])
        self.assertEqual(offers("qrxinspect "), ["host", "package", "plugin", "report", "result"])

    def test_offers_the_commands_of_a_group(self):
        self.assertEqual(offers("vtekctl inventory "), ["add", "export", "import", "remove"])
        self.assertEqual(offers("vtekctl trust a"), ["add"])

    def test_offers_options_of_the_tool_and_of_a_command(self):
        self.assertEqual(offers("vtekctl -"), ["--help", "--quiet", "--root", "--version", "-h"])
        self.assertEqual(offers("vtekctl verify --"), ["--help", "--json", "--plan"])
        self.assertEqual(offers("qrxinspect report --"), ["--help", "--hosts", "--html", "--json"])

    def test_skips_the_value_of_an_option(self):
        self.assertEqual(offers("vtekctl --root show tr"), ["trust"])
        self.assertEqual(offers("vtekctl --root /x inventory a"), ["add"])

    def test_expects_no_value_after_a_flag(self):
        self.assertEqual(offers("qrxinspect package --check ", self.folder), ["firm ware"])

    def test_offers_file_names(self):
        self.assertEqual(offers("vtekctl inventory import p", self.folder), ["package.xml"])
        self.assertEqual(offers("vtekctl sign --package ", self.folder), ["firm ware", "package.xml"])
        self.assertEqual(offers("qrxinspect result ", self.folder), ["firm ware", "package.xml"])

    def test_offers_only_folders(self):
        self.assertEqual(offers("vtekctl verify --plan ", self.folder), ["firm ware"])
        self.assertEqual(offers("vtekctl --root ", self.folder), ["firm ware"])
        self.assertEqual(offers("qrxinspect package ", self.folder), ["firm ware"])

    def test_offers_the_words_of_a_choice(self):
        self.assertEqual(offers("vtekctl pack --format "), ["tar", "tar.gz", "zip"])
        self.assertEqual(offers("vtekctl sign --format z"), ["zip"])

    def test_offers_programs_to_run(self):
        self.assertIn("bash", offers("vtekctl run -- bas"))

    def test_offers_nothing_if_only_the_user_knows(self):
        self.assertEqual(offers("vtekctl keygen --days ", self.folder), [])
        self.assertEqual(offers("vtekctl init ", self.folder), [])

    def test_offers_what_the_chassis_has(self):
        root = self.folder / "chassis"
        for words in (["init"], ["inventory", "add", "25227", "1.0"], ["inventory", "add", "$(touch${IFS}made)", "1.0"],
                      ["keygen", self.folder / "keys"], ["trust", "add", self.folder / "keys/authority.pem"]):
            subprocess.run([TOOLS["vtekctl"], "--root", root, *words], check=True, capture_output=True)
        here = {"VTEK_ROOT": str(root)}
        self.assertEqual(offers("vtekctl set unpack-b", **here), ["unpack-bytes"])
        self.assertEqual(offers("vtekctl set lock-wait ", **here), [])
        self.assertEqual(offers("vtekctl trust remove ", **here), ["authority.pem"])
        self.assertEqual(offers(f"vtekctl --root {root} trust remove a"), ["authority.pem"])
        self.assertEqual(offers("vtekctl inventory remove ", self.folder, **here), ["25227", r"\$\(touch\$\{IFS\}made\)"])
        self.assertFalse((self.folder / "made").exists(), "a component's id has run as a command")

    def test_completes_the_program(self):
        self.assertEqual(offers("qrxupdate -"), ["-d", "-f", "-h", "-i", "-o", "-u", "-v"])
        self.assertEqual(offers("qrxupdate -o ", self.folder), ["firm ware", "package.xml"])

    def test_passes_shellcheck(self):
        for name in (*TOOLS, "qrxupdate"):
            with self.subTest(name):
                checked = subprocess.run(["shellcheck", "--shell=bash", "-"], input=script_of(name), text=True,
                                         capture_output=True, check=False)
                self.assertEqual((checked.returncode, checked.stdout), (0, ""))

    def test_completes_at_the_tab_key(self):
        script = self.folder / "completion"
        script.write_text(script_of("vtekctl"))
        self.type_and_see((f". '{script}'\n", "$ "), ("vtekctl inv\t", "vtekctl inventory "), ("im\t", "import "),
                          ("pack\t", "package.xml "))

    def test_completes_a_name_with_a_blank(self):
        script = self.folder / "completion"
        script.write_text(script_of("vtekctl"))
        for before in ("vtekctl --root", "vtekctl inventory import"):
            self.type_and_see((f". '{script}'\n", "$ "), (f"{before} fi\t", f"{before} firm\\ ware/"))

    def type_and_see(self, *keys):
        """Types each of the texts into an interactive bash, once it shows what was expected after the one before."""
        child, terminal = pty.fork()
        if child == 0:
            os.chdir(self.folder)
            os.execvpe("bash", ["bash", "--norc", "--noprofile", "-i"], {**os.environ, "PS1": "$ ", "TERM": "dumb"})
        end = time.monotonic() + 60
        for typed, expected in [("", "$ "), *keys]:
            os.write(terminal, typed.encode())
            shown = ""
            while expected not in shown.replace("\a", ""):
                self.assertTrue(select.select([terminal], [], [], max(0, end - time.monotonic()))[0],
                                f"{expected!r}: {shown!r}")
                shown += os.read(terminal, 4096).decode(errors="replace")
        os.close(terminal)
        os.waitpid(child, 0)


unittest.main(argv=["completion", *sys.argv[3:]], verbosity=2)
