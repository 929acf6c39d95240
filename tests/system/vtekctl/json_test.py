"""What every command of both tools prints with --json matches its schema in docs/schemas.

    json_test.py VTEKCTL QRXINSPECT SOURCE_FOLDER
"""

import copy
import json
import pathlib
import re
import subprocess
import sys

from jsonschema import Draft202012Validator

from vtekctl_case import COMPONENT, PackageCase, main

UPDATED = ('<?xml version="1.0" encoding="UTF-8"?><SVMExecution lang="en"><Device componentID="1" display="QRX">'
           '<Application componentType="FRMW" version="2" display="QRX" packageVersion="2"><SPStatus result="true">'
           '<Message id="0">Update is successful</Message></SPStatus></Application></Device></SVMExecution>')
PLUGIN = """<PIEConfig><Plugins><Plugin description="Inventory" type="0" timeout="600"><CliToFile><Command>run</Command>
<Output>out.xml</Output></CliToFile></Plugin></Plugins></PIEConfig>"""
DESCRIPTION = """<SoftwareComponent vendorVersion="2"><ComponentType value="FRMW"/><SupportedDevices>
<Device componentID="1"><PCIInfo vendorID="14e4" deviceID="1657" subVendorID="1028" subDeviceID="8"/><Display>QRX</Display>
<Dependency componentID="159" componentType="BIOS" version="2.1" path="bios/159.bin" releaseID="R1">
<Display>Server BIOS</Display></Dependency></Device></SupportedDevices></SoftwareComponent>"""


def options_with_json(program, *group):
    """The commands below this one that have the option --json, as their help says."""
    helped = subprocess.run([program, *group, "--help"], check=True, capture_output=True, text=True).stdout
    inner = re.findall(r"^  (\S+)", helped.partition("\nSubcommands:\n")[2].partition("\n\n")[0], re.MULTILINE)
    if not inner:
        return {" ".join(group)} if re.search(r"^  --json", helped, re.MULTILINE) else set()
    return {name for word in inner for name in options_with_json(program, *group, word)}


class Json(PackageCase):
    """Each command's JSON, over inputs that fill every member."""

    inspector = schemas = None

    def setUp(self):
        super().setUp()
        (self.folder / "updated.xml").write_text(UPDATED)
        (self.folder / "damaged.xml").write_text(UPDATED[:-30])
        (self.folder / "hosts.csv").write_text("chassis,host,report\nrack-1,h1,updated.xml\nrack-1,h2,\n")
        (self.folder / "plugin.xml").write_text(PLUGIN)
        (self.folder / "other").mkdir()
        (self.folder / "other/package.xml").write_text(DESCRIPTION)
        self.seen = set()

    def printed(self, tool, *arguments):
        """Runs a command with --json; notes which one. Returns what it prints."""
        program = {"vtekctl": self.program, "qrxinspect": self.inspector}[tool]
        self.seen.add((tool, " ".join(arguments[:2]) if arguments[0] == "trust" else arguments[0]))
        ended = subprocess.run([program, *map(str, arguments), "--json"], cwd=self.folder, check=False, text=True,
                               capture_output=True, env={"VTEK_ROOT": str(self.root), "PATH": "/usr/bin:/bin"}, timeout=120)
        return ended.stdout

    def schema(self, name):
        """A schema's validator; the schema itself is checked, too."""
        schema = json.loads((self.schemas / f"{name}.schema.json").read_text(encoding="utf-8"))
        Draft202012Validator.check_schema(schema)
        return Draft202012Validator(schema)

    def outputs(self):
        """By schema: what the commands print."""
        install = 'cd "$1" && ./qrxupdate -u >/dev/null'
        self.done("run", "--", "sh", "-c", install, "sh", self.package)
        empty = self.folder / "empty"
        vtekctl = {
            "vtekctl-show": [["show"], ["--root", empty, "show"]],
            "vtekctl-history": [["history"]],
            "vtekctl-trust-list": [["trust", "list"]],
            "vtekctl-verify": [["verify", self.package / "firmware.fwp"]],
            "vtekctl-plan": [["verify", "--plan", self.package], ["verify", "--plan", self.folder / "other"]],
        }
        qrxinspect = {
            "qrxinspect-report": [["result", "updated.xml"], ["result", "missing"],
                                  ["report", "updated.xml", "damaged.xml", "missing"], ["report", "--hosts", "hosts.csv"]],
            "qrxinspect-package": [["package", "other"]],
            "qrxinspect-package-check": [["package", "--check", "other"]],
            "qrxinspect-plugin": [["plugin", "plugin.xml"]],
            "qrxinspect-host": [["host"]],
        }
        self.done("--root", empty, "init")
        return {name: [self.printed(name.split("-")[0], *line) for line in lines]
                for name, lines in {**vtekctl, **qrxinspect}.items()}

    def test_matches_the_schemas(self):
        outputs = self.outputs()
        self.assertEqual(set(outputs), {path.name.removesuffix(".schema.json") for path in self.schemas.glob("*.json")})
        for name, texts in outputs.items():
            for text in texts:
                with self.subTest(name):
                    self.assertTrue(text.startswith('{\n  "format": 1,\n'), text)
                    self.schema(name).validate(json.loads(text))
                    self.refuses_other_documents(name, json.loads(text))

    def refuses_other_documents(self, name, document):
        """The schema finds a missing, an unknown and a changed member."""
        for member in document:
            missing, changed = copy.deepcopy(document), copy.deepcopy(document)
            del missing[member]
            changed[member] = 1.5
            optional = (name, member) in (("vtekctl-show", "firmware"), ("qrxinspect-report", "hosts"))
            self.assertEqual(self.schema(name).is_valid(missing), optional, member)
            self.assertFalse(self.schema(name).is_valid(changed), member)
        self.assertFalse(self.schema(name).is_valid({**document, "unknown": 1}))

    def test_tries_every_command_that_prints_json(self):
        self.outputs()
        commands = {(tool, name) for tool, program in (("vtekctl", self.program), ("qrxinspect", self.inspector))
                    for name in options_with_json(program)}
        self.assertEqual({(tool, name) for tool, name in self.seen if not name.startswith("--")}, commands)

    def test_lists_what_happened(self):
        self.outputs()
        self.assertEqual([entry["componentID"] for entry in self.answer("history")["history"]], [COMPONENT])
        self.assertEqual({entry["kind"] for entry in self.answer("trust", "list")["trusted"]}, {"certificate"})


if __name__ == "__main__":
    Json.schemas = pathlib.Path(sys.argv.pop()).resolve() / "docs/schemas"
    Json.inspector = str(pathlib.Path(sys.argv.pop()).resolve())
    main()
