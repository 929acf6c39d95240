"""Every other command of vtekctl: what it does, what it prints, and what it refuses.

    commands_test.py VTEKCTL
"""

import hashlib
import os
import re
import stat

from vtekctl_case import CHASSIS, COMPONENT, INSTALLED, NEW, USAGE, PackageCase, VtekctlCase, main, snapshot

INVENTORY = f"""<?xml version="1.0" encoding="UTF-8"?>
<SVMInventory lang="en">
  <Device componentID="{COMPONENT}" display="QRX">
    <Application componentType="FRMW" version="{INSTALLED}" display="QRX firmware"/>
  </Device>
</SVMInventory>
"""
# A revocation list that says nothing of the next one; nobody looks at its signature.
ENDLESS_LIST = """\
asn1 = SEQUENCE:list
[list]
content = SEQUENCE:content
algorithm = SEQUENCE:algorithm
signature = FORMAT:HEX,BITSTRING:00
[content]
version = INTEGER:1
algorithm = SEQUENCE:algorithm
issuer = SEQUENCE:issuer
thisUpdate = UTCTIME:260101000000Z
[algorithm]
id = OID:ecdsa-with-SHA256
[issuer]
names = SET:names
[names]
name = SEQUENCE:name
[name]
id = OID:commonName
value = UTF8:Old Authority
"""
DELTA_LIST = ENDLESS_LIST.replace("[algorithm]", """\
extensions = EXPLICIT:0,SEQUENCE:extensions
[extensions]
delta = SEQUENCE:delta
[delta]
id = OID:deltaCRL
critical = BOOLEAN:TRUE
value = FORMAT:HEX,OCTETSTRING:020101
[algorithm]""")
SIMULATION = "SIMULATION: a stand-in for the platform's library, no real chassis"


class Roots(VtekctlCase):
    """init, and a root that is not there."""

    def test_makes_a_chassis(self):
        self.assertEqual(self.done("init"), f"made the simulated chassis {self.root}\n")
        self.assertEqual(sorted(os.listdir(self.root)), ["log", "repository", "staging", "state.db", "trust"])

    def test_makes_a_chassis_in_an_empty_folder(self):
        self.root.mkdir()
        self.done("init")

    def test_prefers_root_to_the_environment(self):
        other = self.folder / "other"
        self.assertEqual(self.done("--root", other, "init"), f"made the simulated chassis {other}\n")
        self.assertFalse(self.root.exists())

    def test_refuses_a_folder_that_is_not_empty(self):
        self.root.mkdir()
        (self.root / "mine").touch()
        self.assert_refused(802, "init", status=USAGE, saying=f"{self.root} is not empty")
        self.assertEqual(os.listdir(self.root), ["mine"])

    def test_refuses_roots_that_cannot_be_made(self):
        self.assert_refused(101, "--root", self.folder / "none" / "chassis", "init")
        self.assert_refused(101, "--root", self.description / "chassis", "init")
        self.root.mkdir()
        self.root.chmod(0o777)
        self.assert_refused(102, "init")

    def test_refuses_every_command_without_a_root(self):
        for command in (["show"], ["set", "lock-wait", "1"], ["inventory", "import", self.description],
                        ["inventory", "export"], ["inventory", "add", "1", "1"], ["inventory", "remove", "1"],
                        ["trust", "add", self.description], ["trust", "list"], ["trust", "remove", "x"], ["history"],
                        ["rollback"], ["recover"], ["run", "--", "true"], ["verify", self.description]):
            with self.subTest(command):
                self.assert_refused(101, *command, saying="hint: create one with `vtekctl init`, or set VTEK_ROOT")


class Settings(VtekctlCase):
    """show and set."""

    def setUp(self):
        super().setUp()
        self.done("init")

    def test_shows_the_chassis(self):
        self.done("inventory", "add", COMPONENT, INSTALLED)
        self.assertEqual(self.done("show"), f"""\
{SIMULATION}
root: {self.root}
generation in force: 0

SETTING          VALUE
repository-kind  1
chassis-type     LAB-CHASSIS
ipmi-transport   simulated
ipmi-completion  0
ipmi-mode        2
ipmi-flag        1
revocation       if-present
signer-names     -
minimum-version  -
allow-version    -
lock-wait        10
unpack-entries   10000
unpack-depth     32
unpack-bytes     17179869184
unpack-ratio     200

COMPONENT  VERSION   TYPE  DEVICE  APPLICATION
25227      1.30.100  FRMW  QRX     QRX firmware
""")

    def test_prints_the_chassis_as_json(self):
        self.done("inventory", "add", COMPONENT, INSTALLED, "--type", "BIOS", "--display", "D", "--application", "A")
        shown = self.answer("show")
        self.assertEqual((shown["simulation"], shown["root"], shown["generation"]), (True, str(self.root), 0))
        self.assertEqual(shown["settings"]["chassis-type"], CHASSIS)
        self.assertEqual(shown["inventory"], [{"componentID": COMPONENT, "display": "D", "applications": [
            {"componentType": "BIOS", "version": INSTALLED, "display": "A"}]}])
        self.assertNotIn("firmware", shown)

    def test_changes_a_setting(self):
        self.assertEqual(self.done("set", "minimum-version", "2.0"), "")
        self.assertEqual(self.answer("show")["settings"]["minimum-version"], "2.0")
        self.done("set", "minimum-version", "")
        self.assertEqual(self.answer("show")["settings"]["minimum-version"], "")

    def test_explains_every_setting_without_a_root(self):
        lines = self.done("--root", "/nowhere", "set").splitlines()
        self.assertRegex(lines[0], "^SETTING +DEFAULT +TAKES +MEANING$")
        self.assertEqual([line.split()[0] for line in lines[1:]], list(self.answer("show")["settings"]))
        (wait,) = (line for line in lines if line.startswith("lock-wait "))
        self.assertRegex(wait, "^lock-wait +10 +0 to 3600 +seconds that an update waits")

    def test_refuses_bad_settings(self):
        before = snapshot(self.root)
        for name, value, saying in (("lock-wait", "3601", "lock-wait must be 0 to 3600"),
                                    ("ipmi-transport", "/dev/null", "ipmi-transport must be simulated or /dev/ipmiN"),
                                    ("nonsense", "1", "there is no setting 'nonsense'")):
            self.assert_refused(802, "set", name, value, status=USAGE, saying=saying)
        self.assert_refused(802, "set", "lock-wait", status=USAGE, saying="give a value for lock-wait")
        self.assertEqual(snapshot(self.root), before)

    def test_records_an_override(self):
        self.done("set", "allow-version", "1.0")
        (entry,) = self.answer("history")["history"]
        self.assertEqual((entry["outcome"], entry["toVersion"], entry["override"]), ("override granted", "1.0", True))
        for user in ("realUser", "loginUser"):
            self.assertRegex(entry[user], r"^(unknown|\d+|.+ \(\d+\))$")
        self.done("set", "allow-version", "")
        self.done("set", "lock-wait", "1")
        self.assertEqual(len(self.answer("history")["history"]), 1)


class Inventory(VtekctlCase):
    """inventory import, export, add and remove."""

    def setUp(self):
        super().setUp()
        self.done("init")

    def test_exports_what_add_and_import_added(self):
        self.assertEqual(self.done("inventory", "add", COMPONENT, INSTALLED), "")
        exported = self.done("inventory", "export")
        document = self.folder / "inventory.xml"
        document.write_text(exported)
        self.done("inventory", "add", "31002", "1")
        self.assertEqual(self.done("inventory", "import", document), "the inventory has 1 devices now\n")
        self.assertEqual(self.done("inventory", "export"), exported)
        self.assertIn(f'<Application componentType="FRMW" version="{INSTALLED}" display="QRX firmware"/>', exported)

    def test_removes_every_device_of_the_component(self):
        document = self.folder / "inventory.xml"
        document.write_text("<SVMInventory>" + "".join(f'<Device componentID="{component}"/>' for component in
                                                       (COMPONENT, "31002", COMPONENT)) + "</SVMInventory>")
        self.done("inventory", "import", document)
        self.assertEqual(self.done("inventory", "remove", COMPONENT), "")
        self.assertEqual([device["componentID"] for device in self.answer("show")["inventory"]], ["31002"])

    def test_keeps_missing_values_missing(self):
        document = self.folder / "inventory.xml"
        document.write_text('<SVMInventory><Device componentID="9"/><Device componentID="10"><Application/></Device>'
                            "</SVMInventory>")
        self.done("inventory", "import", document)
        nothing = {"componentType": None, "version": None, "display": None}
        self.assertEqual(self.answer("show")["inventory"],
                         [{"componentID": "9", "display": None, "applications": []},
                          {"componentID": "10", "display": None, "applications": [nothing]}])
        self.assertEqual([line.split() for line in self.done("show").splitlines()[-2:]],
                         [["9", "-", "-", "-", "-"], ["10", "-", "-", "-", "-"]])

    def test_keeps_the_inventory_after_a_refusal(self):
        self.done("inventory", "add", COMPONENT, INSTALLED)
        before = snapshot(self.root)
        self.assert_refused(302, "inventory", "remove", "31002", saying="the inventory has no component 31002")
        self.assert_refused(802, "inventory", "add", "a\x01b", "1", status=USAGE)
        self.assert_refused(802, "inventory", "import", "none", status=USAGE, saying="open none: No such file")
        document = self.folder / "inventory.xml"
        for text in ("", "hello", "<other/>", INVENTORY[:-20], "<!DOCTYPE a>" + INVENTORY.split("\n", 1)[1]):
            document.write_text(text)
            self.assert_refused(802, "inventory", "import", document, status=USAGE, saying="inventory document, line ")
        self.assert_refused(802, "inventory", "import", self.folder, status=USAGE)
        self.assertEqual(snapshot(self.root), before)

    def test_escapes_values_for_the_terminal(self):
        self.done("inventory", "add", COMPONENT, "1", "--display", "\u202eevil")
        self.assertIn("\\u202eevil", self.done("show"))
        self.assertEqual(self.answer("show")["inventory"][0]["display"], "\u202eevil")


class Trust(VtekctlCase):
    """trust add, list and remove; keygen."""

    def setUp(self):
        super().setUp()
        self.done("init")

    def test_lists_a_file_until_it_is_removed(self):
        self.assertEqual(self.done("trust", "add", self.keys / "authority.pem", "--name", "lab.pem"), "")
        self.done("trust", "add", self.keys / "authority.crl")
        table = re.sub(r"\d{4}-\d\d-\d\d \d\d:\d\d:\d\dZ", "TIME", self.done("trust", "list"))
        self.assertEqual(re.sub(" +", " ", table), """\
FILE KIND UNTIL NAME
authority.crl revocation list TIME CN=Lab Authority
lab.pem certificate TIME CN=Lab Authority
""")
        self.assertEqual([(row["file"], row["kind"], row["name"]) for row in self.answer("trust", "list")["trusted"]],
                         [("authority.crl", "revocation list", "CN=Lab Authority"),
                          ("lab.pem", "certificate", "CN=Lab Authority")])
        self.assertEqual(self.done("trust", "remove", "authority.crl"), "")
        self.assertEqual(len(self.answer("trust", "list")["trusted"]), 1)

    def test_lists_names_and_dates(self):
        self.openssl("req", "-x509", "-newkey", "ec", "-pkeyopt", "ec_paramgen_curve:P-256", "-nodes", "-keyout",
                     "between.key", "-out", "between.pem", "-subj", "/CN=Between", "-days", "7",
                     "-CA", self.keys / "authority.pem", "-CAkey", self.keys / "authority.key")
        self.done("trust", "add", "between.pem")
        self.done("trust", "add", self.keys / "authority.crl")
        iso = ("-noout", "-dateopt", "iso_8601", "-in")
        list_until = self.openssl("crl", "-nextupdate", *iso, self.keys / "authority.crl").strip()
        until = self.openssl("x509", "-enddate", *iso, "between.pem").strip()
        self.assertEqual([[row["name"], row["until"]] for row in self.answer("trust", "list")["trusted"]],
                         [["CN=Lab Authority", list_until.removeprefix("nextUpdate=")],
                          ["CN=Between", until.removeprefix("notAfter=")]])

    def make_list(self, content):
        (self.folder / "list.conf").write_text(content)
        self.openssl("asn1parse", "-genconf", "list.conf", "-noout", "-out", "list.der")
        self.openssl("crl", "-inform", "DER", "-in", "list.der", "-out", "list.crl")

    def test_refuses_a_delta(self):
        self.make_list(DELTA_LIST)
        self.assert_refused(211, "trust", "add", "list.crl",
                            saying="trust/list.crl: the revocation list is a delta: it lists only changes to another list")
        self.assertEqual(self.answer("trust", "list")["trusted"], [])

    def test_removes_a_delta_that_lies_in_the_store(self):
        self.make_list(DELTA_LIST)
        (self.root / "trust" / "list.crl").write_bytes((self.folder / "list.crl").read_bytes())
        self.assert_refused(211, "trust", "list", saying="trust/list.crl: the revocation list is a delta")
        self.done("trust", "remove", "list.crl")
        self.assertEqual(self.answer("trust", "list")["trusted"], [])

    def test_lists_a_revocation_list_without_an_end(self):
        self.make_list(ENDLESS_LIST)
        self.done("trust", "add", "list.crl")
        self.assertEqual([(row["name"], row["until"]) for row in self.answer("trust", "list")["trusted"]],
                         [("CN=Old Authority", "never")])

    def test_replaces_a_file_of_the_same_name(self):
        self.done("trust", "add", self.keys / "authority.pem", "--name", "one", umask=0)
        self.done("trust", "add", self.keys / "authority.crl", "--name", "one", umask=0)
        self.assertEqual([row["kind"] for row in self.answer("trust", "list")["trusted"]], ["revocation list"])
        self.assertEqual(stat.S_IMODE((self.root / "trust" / "one").stat().st_mode), 0o644)
        self.assertEqual(sorted(os.listdir(self.root)), ["log", "repository", "staging", "state.db", "trust"])

    def test_adds_trust_after_an_interrupted_change(self):
        (self.root / ".trust-1").write_text("half a certif")
        self.assertEqual(self.done("recover"), "removed 1 leftovers\n")
        (self.root / ".trust-1").write_text("half a certif")
        self.done("trust", "add", self.keys / "authority.pem", umask=0o777)
        self.assertEqual(sorted(os.listdir(self.root)), ["lock", "log", "repository", "staging", "state.db", "trust"])
        self.assertEqual(stat.S_IMODE((self.root / "trust" / "authority.pem").stat().st_mode), 0o644)

    def test_keeps_the_trust_store_after_a_refusal(self):
        self.done("trust", "add", self.keys / "authority.pem")
        before = snapshot(self.root)
        self.assert_refused(802, "trust", "add", self.keys / "signer.pem", status=USAGE, saying="is not an authority's")
        self.assert_refused(211, "trust", "add", self.keys / "authority.key")
        self.assert_refused(211, "trust", "add", self.description)
        self.assert_refused(802, "trust", "add", "none", status=USAGE)
        self.assert_refused(802, "trust", "add", "/proc/self/mem", status=USAGE, saying="read /proc/self/mem")
        for name in ("../x", "a/b", "..", "\x1b"):
            self.assert_refused(802, "trust", "add", self.keys / "authority.pem", "--name", name, status=USAGE,
                                saying="cannot be a name in the trust store")
        for name in ("none", "../state.db", ""):
            self.assert_refused(802, "trust", "remove", name, status=USAGE)
        self.assertEqual(snapshot(self.root), before)

    def test_makes_keys_that_only_the_owner_can_read(self):
        self.assertEqual(self.done("keygen", "keys", umask=0), "made a lab authority and a signer in keys\n")
        modes = {path.name: stat.S_IMODE(path.stat().st_mode) for path in (self.folder / "keys").iterdir()}
        self.assertEqual(modes, {"authority.crl": 0o644, "authority.key": 0o600, "authority.pem": 0o644,
                                 "signer.key": 0o600, "signer.pem": 0o644})
        self.assertEqual(stat.S_IMODE((self.folder / "keys").stat().st_mode), 0o700)

    def test_refuses_to_replace_existing_keys(self):
        self.done("keygen", "keys")
        before = snapshot(self.folder / "keys")
        self.assert_refused(802, "keygen", "keys", status=USAGE, saying="exists already")
        self.assertEqual(snapshot(self.folder / "keys"), before)
        (self.folder / "keys" / "authority.pem").unlink()
        self.assert_refused(802, "keygen", "keys", status=USAGE, saying="exists already")
        self.assertFalse((self.folder / "keys" / "authority.pem").exists())

    def test_takes_names_and_days(self):
        self.done("keygen", "keys", "--authority", "A", "--signer", "S", "--days", "1")
        self.done("trust", "add", "keys/authority.pem")
        self.assertEqual(self.answer("trust", "list")["trusted"][0]["name"], "CN=A")
        self.assertEqual(self.openssl("x509", "-noout", "-subject", "-nameopt", "RFC2253", "-in", "keys/signer.pem"),
                         "subject=CN=S\n")
        for days in ("0", "3651", "1.5", "x"):
            self.assertEqual(self.run_vtekctl("keygen", "other", "--days", days).returncode, USAGE)
        self.assert_refused(802, "keygen", "none/keys", status=USAGE)
        for name, cause in (("x" * 65, "string too long"), ("", "string too short"), ("\udcff", "invalid utf8string")):
            for option in ("--authority", "--signer"):
                self.assert_refused(802, "keygen", "other", option, name, status=USAGE, saying=cause)
        self.assertFalse((self.folder / "other").exists())
        self.done("keygen", "other", "--signer", "x" * 64)
        self.assertIn("x" * 64, self.openssl("x509", "-noout", "-subject", "-in", "other/signer.pem"))
        self.assert_refused(802, "keygen", self.description, status=USAGE)


class Firmware(PackageCase):
    """history, verify, rollback, recover and run, on a chassis that was updated."""

    def update(self):
        self.assertIn("Update is successful", self.done("run", "--", "./qrxupdate", "-u", cwd=self.package))

    def payload_digest(self):
        return hashlib.sha256((self.package / "firmware.fwp").read_bytes()).hexdigest()

    def test_shows_the_history(self):
        self.assertEqual(self.done("history"),
                         "TIME  OUTCOME  GENERATION  COMPONENT  FROM  TO  OVERRIDE  USER  LOGIN  SIGNER\n")
        self.assertEqual(self.answer("history")["history"], [])
        self.update()
        (entry,) = self.answer("history")["history"]
        self.assertRegex(entry["time"], r"^\d{4}-\d\d-\d\dT\d\d:\d\d:\d\dZ$")
        self.assertEqual({name: entry[name] for name in ("outcome", "generation", "componentID", "fromVersion",
                                                         "toVersion", "signer", "override", "payloadDigest")},
                         {"outcome": "updated", "generation": 1, "componentID": COMPONENT, "fromVersion": INSTALLED,
                          "toVersion": NEW, "signer": "CN=Lab Signer", "override": False,
                          "payloadDigest": self.payload_digest()})
        self.assertRegex(self.done("history").splitlines()[1],
                         rf"^\S+ +updated +1 +{COMPONENT} +{INSTALLED} +{NEW} +no +.+ +CN=Lab Signer$")

    def test_shows_the_firmware_in_force(self):
        self.update()
        self.assertEqual(self.answer("show")["firmware"],
                         {"componentID": COMPONENT, "version": NEW, "replacedVersion": INSTALLED,
                          "payloadDigest": self.payload_digest(), "signer": "CN=Lab Signer"})
        self.assertIn(f"generation in force: 1, component {COMPONENT} version {NEW}, signed by CN=Lab Signer\n",
                      self.done("show"))

    def test_verifies_a_payload(self):
        self.assertEqual(self.done("verify", self.package / "firmware.fwp"),
                         f"firmware.fwp would be installed: component {COMPONENT} version {NEW}, signed by "
                         "CN=Lab Signer\n")
        verified = self.answer("verify", self.package / "firmware.fwp")
        self.assertEqual(sorted(verified), ["chassisTypes", "componentID", "format", "override", "payloadDigest", "signer",
                                            "version"])
        self.done("set", "chassis-type", "ANOTHER")
        self.assert_refused(303, "verify", self.package / "firmware.fwp")
        self.assert_refused(203, "verify", self.package / "none.fwp")
        self.assert_refused(203, "verify", self.package)
        self.assert_refused(802, "verify", self.folder / "none" / "x.fwp", status=USAGE)

    def test_reports_a_version_that_is_allowed_once(self):
        self.assertIs(self.answer("verify", self.package / "firmware.fwp")["override"], False)
        self.done("set", "minimum-version", "2.0")
        self.done("set", "allow-version", NEW)
        self.assertTrue(self.done("verify", self.package / "firmware.fwp")
                        .endswith(", signed by CN=Lab Signer, below the version floor but allowed once\n"))
        self.assertIs(self.answer("verify", self.package / "firmware.fwp")["override"], True)

    def test_rolls_back_once(self):
        self.assert_refused(803, "rollback")
        self.update()
        self.assertEqual(self.done("rollback"), f"component {COMPONENT} is back from {NEW} to {INSTALLED}\n")
        self.assert_refused(803, "rollback", saying="hint: only the last update can be undone, and only once")
        self.assertEqual([entry["outcome"] for entry in self.answer("history")["history"]], ["updated", "rolled back"])

    def test_removes_leftovers(self):
        self.assertEqual(self.done("recover"), "removed 0 leftovers\n")
        (self.root / "staging" / "7").mkdir()
        (self.root / "repository" / "9").mkdir()
        self.assertEqual(self.done("recover"), "removed 2 leftovers\n")
        self.assertEqual(os.listdir(self.root / "staging") + os.listdir(self.root / "repository"), [])

    def test_ends_like_the_program(self):
        self.assertEqual(self.run_vtekctl("run", "--", "sh", "-c", "exit 42").returncode, 42)
        self.assertEqual(self.run_vtekctl("run", "--", "sh", "-c", "kill -TERM $$").returncode, -15)
        self.assert_refused(802, "run", "--", "/nowhere/program", status=USAGE, saying="run /nowhere/program: No such")
        self.assertEqual(self.run_vtekctl("run").returncode, USAGE)

    def test_gives_the_program_root_and_library(self):
        self.assertEqual(self.done("--root", self.root, "run", "--", "sh", "-c", 'echo "$VTEK_ROOT" "$1"', "x", "--json",
                                   environment={"VTEK_ROOT": "/other"}), f"{self.root} --json\n")
        path = self.done("run", "--", "sh", "-c", 'echo "$LD_LIBRARY_PATH"', environment={"LD_LIBRARY_PATH": "/mine"})
        library, mine = path.rstrip("\n").split(":")
        self.assertEqual(mine, "/mine")
        self.assertTrue(os.path.exists(os.path.join(library, "libvtek.so.0")))


main()
