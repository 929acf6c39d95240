"""The tools' help, their manual pages and the documents say the same about commands, options and exit statuses.

    documents_test.py VTEKCTL QRXINSPECT QRXUPDATE SOURCE_FOLDER MANUAL_PAGES
"""

import os
import pathlib
import re
import subprocess
import sys
import tempfile
import unittest

TOOLS = {name: pathlib.Path(path).resolve()
         for name, path in zip(("vtekctl", "qrxinspect", "qrxupdate"), sys.argv[1:4])}
SOURCE = pathlib.Path(sys.argv[4])
PAGES = pathlib.Path(sys.argv[5])
OPTION = re.compile(r"(?<![\w-])--?[a-z][a-z-]*(?![\w-])")
HELP = {"-h", "--help"}


def output(*command):
    return subprocess.run(command, check=True, capture_output=True, text=True).stdout


def help_of(tool, *command):
    return output(TOOLS[tool], *command, "--help")


def commands_in(text):
    """The commands that a help text lists."""
    listed = text.partition("\nSubcommands:\n")[2].partition("\n\n")[0]
    return re.findall(r"^  (\S+)", listed, re.MULTILINE)


def commands_of(tool, *group):
    """Every command that does something, as it is typed."""
    inner = commands_in(help_of(tool, *group))
    if not inner:
        return [" ".join(group)]
    return [command for name in inner for command in commands_of(tool, *group, name)]


def options_in_help(tool, command):
    """The options that a help text explains, but help itself."""
    explained = re.findall(r"^  (-[^ ]*)", help_of(tool, *command.split()), re.MULTILINE)
    return {name for names in explained for name in names.split(",")} - HELP


def sections_of_page(tool):
    """The manual page's text by heading, as scdoc source."""
    parts = re.split(r"^##? (.*)$", output(TOOLS[tool], "--describe", "scdoc"), flags=re.MULTILINE)
    return dict(zip(parts[1::2], parts[2::2]))


def rows(document, heading):
    """The cells of the table below a line that begins like this."""
    text = (SOURCE / document).read_text(encoding="utf-8").partition(f"\n{heading}")[2]
    table = re.search(r"\n\|[^\n]*\n\|-[^\n]*\n((?:\|[^\n]*\n)+)", text)[1]
    return [[cell.strip().replace("\\|", "|") for cell in re.split(r"(?<!\\)\|", line)[1:-1]]
            for line in table.splitlines()]


def options_by_command(table, tool):
    """The options that the table names, by the command that its first column names."""
    found = {command: set() for command in commands_of(tool)}
    for cells in table:
        words = cells[0].strip("`").removeprefix(f"{tool} ").split()
        name = next(name for name in (" ".join(words[:2]), words[0]) if name in found)
        found[name] |= set(OPTION.findall(" ".join(cells)))
    return found


class Arguments(unittest.TestCase):
    """The help of a command says what each argument and option takes."""

    SIGNING = {"content": "FILE", "--package": "FILE", "--chassis": "TYPE ...", "--certificate": "FILE", "--key": "FILE",
               "--chain": "FILE", "--signature": "FILE", "--format": "tar|tar.gz|zip"}

    def taken(self, command):
        return dict(re.findall(r"^  (?:-\w,)?([\w-]+) ([A-Z]+(?: \.\.\.)?|\S+\|\S+)(?= |$)", help_of("vtekctl", command),
                               re.MULTILINE))

    def test_shows_sign(self):
        self.assertEqual(self.taken("sign"), {**self.SIGNING, "--output": "FILE", "--component": "ID",
                                              "--package-version": "VERSION"})

    def test_shows_pack(self):
        self.assertEqual(self.taken("pack"), {**self.SIGNING, "--output": "FOLDER", "--template": "FOLDER"})


class Pages(unittest.TestCase):
    """Each manual page has each command and option of the help, and no other."""

    def check(self, tool):
        pages = {}
        for heading, text in sections_of_page(tool).items():
            if heading.startswith(f"{tool} "):
                name = re.sub(r"( \[?[A-Z]+(\.\.\.)?\]?)*$", "", heading).removeprefix(f"{tool} ")
                pages[name] = set(re.findall(r"\*(--?[a-z-]+)\*", " ".join(re.findall(r"^\*.*", text, re.MULTILINE))))
        self.assertEqual(pages, {command: options_in_help(tool, command) for command in commands_of(tool)})
        top = set(re.findall(r"\*(--?[a-z-]+)\*", sections_of_page(tool)["OPTIONS"]))
        self.assertEqual(top - HELP, options_in_help(tool, ""))

    def test_agrees_for_vtekctl(self):
        self.check("vtekctl")

    def test_agrees_for_qrxinspect(self):
        self.check("qrxinspect")

    def test_takes_the_text_that_the_tool_makes(self):
        for tool, page in (("vtekctl", "vtekctl.8"), ("qrxinspect", "qrxinspect.1")):
            self.assertNotIn("\n# OPTIONS", (SOURCE / "docs/man" / f"{page}.scd").read_text(encoding="utf-8"))
            made = (PAGES / page).read_text(encoding="utf-8").replace("\\", "")
            for command in commands_of(tool):
                self.assertRegex(made, rf'(?m)^\.SS {tool} {command}\b', page)
                for option in options_in_help(tool, command):
                    self.assertIn(option, made, page)


class Documents(unittest.TestCase):
    """Each table of commands has each command and option of the help, and no other."""

    def test_agrees_for_vtekctl(self):
        documented = options_by_command(rows("docs/stand-in.md", "`run` exits as its command does."), "vtekctl")
        signer = set(OPTION.findall(re.search(r"^SIGNER is (.*)$", (SOURCE / "docs/stand-in.md").read_text(
            encoding="utf-8"), re.MULTILINE)[1]))
        for command in ("sign", "pack"):
            documented[command] |= signer
        helped = {command: options_in_help("vtekctl", command) for command in commands_of("vtekctl")}
        for command in ("sign", "pack"):
            helped[command] -= {"--output"}
        self.assertEqual(documented, helped)

    def test_agrees_for_qrxinspect(self):
        documented = options_by_command(rows("docs/qrxinspect.md", "`qrxinspect` inspects update packages"), "qrxinspect")
        for options in documented.values():
            options.add("--json")
        self.assertEqual(documented, {command: options_in_help("qrxinspect", command)
                                      for command in commands_of("qrxinspect")})


class ExitStatuses(unittest.TestCase):
    """The exit statuses of help, page and document are the same."""

    def check(self, tool, document, heading):
        told = help_of(tool).partition("Exit status: ")[2]
        numbers = re.findall(r"(?:\A|[;,]\s)(\d+) ", told)
        self.assertEqual(numbers, [cells[0] for cells in rows(document, heading)])
        in_page = re.sub(r"\\(.)", r"\1", sections_of_page(tool)["EXIT STATUS"])
        self.assertEqual(in_page.split(), told.split())

    def test_agrees_for_vtekctl(self):
        self.check("vtekctl", "docs/stand-in.md", "`vtekctl [--root FOLDER] [--quiet] COMMAND`")

    def test_agrees_for_qrxinspect(self):
        self.check("qrxinspect", "docs/qrxinspect.md", "## Exit statuses")


class Program(unittest.TestCase):
    """The program's options in README, page and completion are those that it takes."""

    def test_agrees_about_options(self):
        page = (SOURCE / "docs/man/qrxupdate.8.scd").read_text(encoding="utf-8").partition("# OPTIONS")[2]
        in_page = set(re.findall(r"\*(-[a-z])\*", "".join(re.findall(r"^\*.*$", page, re.MULTILINE))))
        readme = rows("README.md", "## Options as they really are")
        completion = (SOURCE / "package/qrxupdate.bash").read_text(encoding="utf-8")
        self.assertEqual({name for cells in readme for name in OPTION.findall(cells[0])}, in_page)
        self.assertEqual(set(re.search(r"compgen -W '([^']*)'", completion)[1].split()), in_page)
        taken = {f"-{letter}" for letter in "abcdefghijklmnopqrstuvwxyz" if self.is_taken(f"-{letter}")}
        self.assertEqual(taken, in_page)

    def is_taken(self, option):
        """A wrong command line ends with 1; after -h nothing is read."""
        with tempfile.TemporaryDirectory() as folder:
            return subprocess.run([TOOLS["qrxupdate"], option, "-h"], cwd=folder, check=False, capture_output=True,
                                  env={**os.environ, "VTEK_ROOT": folder}).returncode == 0


unittest.main(argv=["documents"], verbosity=2)
