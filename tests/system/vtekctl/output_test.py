"""Every command of both tools, over names and values that would steer a terminal.

    output_test.py VTEKCTL QRXINSPECT
"""

import os
import pathlib
import re
import subprocess
import sys

from vtekctl_case import OUTPUT_LOST, VtekctlCase, main

# Escape, the one-character form of "escape [", a change of the reading direction, a line break. XML allows only some.
STEERING = "\x1b[31m\u009b\u202e\n"
STEERING_IN_XML = "\u009b\u202e"
ESCAPED = re.compile(r"\\u009b\\u202e|\\C2\\9B\\E2\\80\\AE")  # ours, or OpenSSL's in a name of a certificate
RAW = re.compile("[\x00-\x09\x0b-\x1f\x7f-\x9f\u200b-\u200f\u2028-\u202e\u2060-\u206f\ufeff]")
REPORT = f"""<?xml version="1.0" encoding="UTF-8"?>
<SVMExecution lang="en"><Device componentID="{STEERING_IN_XML}" display="{STEERING_IN_XML}">
<Application componentType="FRMW" version="{STEERING_IN_XML}"/><SPStatus result="false"/>
<Message id="1">{STEERING_IN_XML}</Message></Device></SVMExecution>
"""
PLUGIN = f"""<PIEConfig><Plugins><Plugin description="Inventory" type="0" timeout="1"><CliToFile>
<Command>{STEERING_IN_XML}</Command><Output>{STEERING_IN_XML}</Output></CliToFile></Plugin></Plugins></PIEConfig>
"""
PRINT_NOTHING_FROM_ELSEWHERE = ("vtekctl inventory add", "qrxinspect host")


class Output(VtekctlCase):
    """Nothing that came from elsewhere reaches the terminal as it is."""

    inspector = None

    def setUp(self):
        super().setUp()
        self.root = self.folder / f"chassis{STEERING}"
        self.keys = self.folder / f"keys{STEERING}"
        self.done("keygen", self.keys, "--signer", f"Signer {STEERING_IN_XML}")
        self.make_chassis()

    def outputs(self, *command_lines):
        """What these runs print, on standard output and standard error."""
        printed = ""
        for program, *arguments in command_lines:
            ended = subprocess.run([program, *map(str, arguments)], cwd=self.folder, capture_output=True, check=False,
                                   env={"VTEK_ROOT": str(self.root), "PATH": "/usr/bin:/bin"}, timeout=120)
            printed += (ended.stdout + ended.stderr).decode("utf-8")
        return printed

    def runs(self):
        """By command: the runs that make it print a value from elsewhere."""
        package, missing = self.folder / f"package{STEERING}", self.folder / f"missing{STEERING}"
        payload, report = package / "firmware.fwp", self.folder / f"report{STEERING}.xml"
        self.pack(package)
        report.write_text(REPORT)
        (self.folder / "plugin.xml").write_text(PLUGIN)
        damaged = self.folder / "damaged.xml"
        damaged.write_text(REPORT[:-30])
        elsewhere = ["--root", missing]
        install = ["run", "--", "sh", "-c", 'cd "$1" && ./qrxupdate -u >/dev/null', "sh", package]
        vtekctl = {
            "init": [["--root", self.folder / f"new{STEERING}", "init"]],
            "show": [["show"], ["show", "--json"], [*elsewhere, "show"]],
            "set": [["set"], ["set", f"{STEERING}", "x"], ["set", "chassis.type", STEERING], [*elsewhere, "set"]],
            "inventory add": [["inventory", "add", STEERING, STEERING], ["inventory", "add", STEERING_IN_XML, "1"]],
            "inventory remove": [["inventory", "remove", STEERING]],
            "inventory import": [["inventory", "import", missing], ["inventory", "import", report]],
            "inventory export": [[*elsewhere, "inventory", "export"]],
            "keygen": [["keygen", self.folder / f"more{STEERING}"], ["keygen", self.keys]],
            "trust add": [["trust", "add", missing], ["trust", "add", report]],
            "trust list": [["trust", "add", self.keys / "signer.pem"], ["trust", "list"], ["trust", "list", "--json"]],
            "trust remove": [["trust", "remove", STEERING]],
            "sign": [["sign", *self.recipe(), *self.signer(), "-o", self.folder / f"signed{STEERING}.fwp"],
                     ["sign", missing, "-o", missing]],
            "pack": [["pack", *self.recipe(), *self.signer(), "-o", self.folder / f"packed{STEERING}"]],
            "verify": [["verify", payload], ["verify", payload, "--json"], ["verify", missing],
                       ["verify", "--plan", package], ["verify", "--plan", missing]],
            "run": [install, ["run", "--", missing]],
            "history": [["history"], ["history", "--json"]],
            "rollback": [["rollback"], ["rollback"], [*elsewhere, "rollback"]],
            "recover": [["recover"], [*elsewhere, "recover"]],
        }
        qrxinspect = {
            "package": [["package", self.description], ["package", missing], ["package", report]],
            "plugin": [["plugin", "plugin.xml"], ["plugin", missing]],
            "report": [["report", report, damaged, missing], ["report", "--json", report, missing],
                       ["report", "--html", report, damaged, missing]],
            "result": [["result", report], ["result", damaged], ["result", missing], ["result", "--json", report]],
            "host": [["host"]],
        }
        return {**{f"vtekctl {name}": [[self.program, *line] for line in lines] for name, lines in vtekctl.items()},
                **{f"qrxinspect {name}": [[self.inspector, *line] for line in lines]
                   for name, lines in qrxinspect.items()}}

    def test_escapes_what_came_from_elsewhere(self):
        for command, lines in self.runs().items():
            with self.subTest(command):
                printed = self.outputs(*lines)
                self.assertEqual(RAW.findall(printed), [], ascii(printed))
                if command not in PRINT_NOTHING_FROM_ELSEWHERE:
                    self.assertRegex(printed, ESCAPED)

    def test_reports_a_closed_output(self):
        for command in (["host"], ["package", "."], ["plugin", "plugin.xml"], ["report", "report.xml"],
                        ["result", "report.xml"], ["report", "--html", "report.xml"]):
            (self.folder / "report.xml").write_text(REPORT)
            (self.folder / "plugin.xml").write_text(PLUGIN)
            with self.subTest(command):
                ended = subprocess.run([self.inspector, *command], cwd=self.folder, check=False, stderr=subprocess.PIPE,
                                       text=True, preexec_fn=lambda: (os.close(0), os.close(1)))
                self.assertEqual((ended.returncode, ended.stderr),
                                 (OUTPUT_LOST, "qrxinspect: standard output could not be written\n"))

    def test_knows_every_command(self):
        described = "".join(self.outputs([tool, "--describe", "scdoc"]) for tool in (self.program, self.inspector))
        names = re.findall(r"^## ((?:vtekctl|qrxinspect)(?: [a-z]+)+)", described, re.MULTILINE)
        self.assertEqual(sorted(names), sorted(self.runs()))

    def test_escapes_what_the_library_logs(self):
        package = self.folder / f"package{STEERING}"
        self.pack(package)
        (package / "firmware.fwp").unlink()
        (package / f"firmware{STEERING}.fwp").write_text("not a payload")
        self.run_vtekctl("run", "--", "sh", "-c", 'cd "$1" && ./qrxupdate -u', "sh", package)
        log = (self.root / "log" / "vtek.log").read_text(encoding="utf-8")
        self.assertEqual(RAW.findall(log), [], ascii(log))
        self.assertRegex(log, ESCAPED)

    def test_pads_no_report_to_the_length_of_another(self):
        reports = []
        for number in range(100):
            reports.append(self.folder / f"{number}.xml")
            reports[-1].write_text(REPORT.replace(STEERING_IN_XML, "x" * 100_000 if number == 0 else "x"))
        printed = self.outputs([self.inspector, "report", *reports])
        self.assertLess(len(printed), 1_000_000)
        self.assertIn("x" * 100_000, printed)


if __name__ == "__main__":
    Output.inspector = str(pathlib.Path(sys.argv.pop(2)).resolve())
    main()
