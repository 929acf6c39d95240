"""vtekctl verify --plan: what an update would come to, without one.

    plan_test.py VTEKCTL
"""

import json
import os
import random
import re
import shutil
import tarfile

from vtekctl_case import COMPONENT, DESCRIPTION, INSTALLED, NEW, REFUSED, PackageCase, main, snapshot

STEPS = ["chassis", "permission", "repository", "package", "inventory", "payload", "signature", "policy", "unpack",
         "space"]


class Plan(PackageCase):
    """Each test has a package that would be installed, and makes one thing wrong with it or with the chassis."""

    def plan(self, *options):
        """Plans; nothing on the chassis or in the package may be another afterwards."""
        before = snapshot(self.folder)
        ended = self.run_vtekctl("verify", "--plan", self.package, *options)
        self.assertEqual(snapshot(self.folder), before)
        return ended

    def assert_fails(self, step, number, finding, not_tried=(), others=()):
        """The plan fails at this step, and says so in its table, in its JSON, on standard error and by its status."""
        ended = self.plan()
        self.assertEqual(ended.returncode, REFUSED, ended.stderr)
        self.assertRegex(ended.stdout, rf"(?m)^{step} +failed +{finding}")
        self.assertTrue(ended.stdout.endswith("\nthe update would fail\n"), ended.stdout)
        self.assertRegex(ended.stderr, rf"\Avtekctl: {finding}.* \(error {number}\)\nvtekctl: hint: .+\n\Z")
        plan = self.json_plan(REFUSED)
        self.assertFalse(plan["wouldSucceed"])
        found = {entry["step"]: entry for entry in plan["steps"]}
        self.assertEqual([name for name in STEPS if found[name]["outcome"] == "failed"], [step, *others])
        self.assertEqual([name for name in STEPS if found[name]["outcome"] == "not tried"], list(not_tried))
        self.assertEqual(found[step]["error"], number)
        self.assertTrue(found[step]["remedy"])

    def json_plan(self, status):
        ended = self.plan("--json")
        self.assertEqual(ended.returncode, status)
        plan = json.loads(ended.stdout)
        self.assertEqual([entry["step"] for entry in plan["steps"]], STEPS)
        return plan

    def test_accepts_a_good_package(self):
        ended = self.plan()
        size = (self.package / "firmware.fwp").stat().st_size
        self.assertEqual((ended.returncode, ended.stderr), (0, ""))
        self.assertEqual(ended.stdout, f"""\
STEP        OUTCOME  FINDING
chassis     passed   {self.root}
permission  passed   permitted
repository  passed   kind 1
package     passed   component {COMPONENT} version {NEW}
inventory   passed   version {INSTALLED} is installed
payload     passed   firmware.fwp, {size} bytes
signature   passed   signed by CN=Lab Signer
policy      passed   component {COMPONENT} version {NEW}
unpack      passed   3 files, {10240 + 17 + self.manifest_size()} bytes
space       passed   {2 * size + 1048576} bytes are needed, and free
the update would succeed
""")

    def manifest_size(self):
        unsigned = self.folder.parent / (self.folder.name + ".tar")
        self.done("sign", *self.recipe(), "--unsigned", "-o", unsigned, "--format", "tar")
        self.addCleanup(unsigned.unlink)
        return int(unsigned.read_bytes()[124:135], 8)

    def test_prints_json(self):
        plan = self.json_plan(0)
        self.assertTrue(plan["wouldSucceed"])
        self.assertEqual(plan["steps"][6],
                         {"step": "signature", "outcome": "passed", "finding": "signed by CN=Lab Signer"})

    def test_predicts_the_update(self):
        self.assertEqual(self.plan().returncode, 0)
        self.assertIn("Update is successful", self.done("run", "--", "./qrxupdate", "-u", cwd=self.package))

    def test_takes_the_package_in_the_working_directory(self):
        self.assertEqual(self.run_vtekctl("verify", "--plan", ".", cwd=self.package).returncode, 0)

    def test_reports_a_missing_chassis(self):
        shutil.rmtree(self.root)
        self.assert_fails("chassis", 101, "", ["permission", "repository", "inventory", "signature", "policy",
                                               "unpack", "space"])

    def test_reports_a_damaged_state(self):
        (self.root / "state.db").write_bytes(b"no database" * 1000)
        self.assert_fails("chassis", 112, "", ["permission", "repository", "inventory", "signature", "policy",
                                               "unpack", "space"])

    def test_reports_a_chassis_not_managed_at_the_server(self):
        self.done("set", "ipmi-mode", "1")
        self.assert_fails("permission", 902, "the chassis is not set to be managed at the server")

    def test_reports_that_shared_components_may_not_be_updated(self):
        self.done("set", "ipmi-flag", "0")
        self.assert_fails("permission", 902, "the chassis does not let servers update shared components")

    def test_takes_a_completion_code_as_permission(self):
        self.done("set", "ipmi-completion", "193")
        self.done("set", "ipmi-mode", "1")
        ended = self.plan()
        self.assertEqual(ended.returncode, 0)
        self.assertIn("permission  passed   completion code 193, which is permission\n", ended.stdout)

    def test_takes_no_answer_as_permission(self):
        self.done("set", "ipmi-transport", "/dev/ipmi255")
        ended = self.plan()
        self.assertEqual(ended.returncode, 0)
        self.assertIn("permission  passed   no answer, which is permission: ", ended.stdout)

    def test_reports_a_missing_repository(self):
        self.done("set", "repository-kind", "0")
        self.assert_fails("repository", 115, "this chassis is set to have no repository", ["space"])

    def test_reports_a_missing_package(self):
        (self.package / "package.xml").unlink()
        self.assert_fails("package", 305, "open package.xml: No such file or directory",
                          ["inventory", "payload", "signature", "policy", "unpack", "space"])

    def test_reports_a_missing_folder(self):
        self.package = self.folder / "none"
        self.assert_fails("package", 305, "open .*/none: No such file or directory",
                          ["inventory", "payload", "signature", "policy", "unpack", "space"])

    def test_reports_an_unknown_component(self):
        self.done("inventory", "remove", COMPONENT)
        self.assert_fails("inventory", 302, f"the controller's inventory has no component {COMPONENT}", ["unpack"],
                          ["policy"])

    def test_reports_a_missing_payload(self):
        (self.package / "firmware.fwp").unlink()
        self.assert_fails("payload", 201, r"the working directory has no \*\.fwp file",
                          ["signature", "policy", "unpack", "space"])

    def test_reports_two_payloads(self):
        shutil.copy(self.package / "firmware.fwp", self.package / "second.fwp")
        self.assert_fails("payload", 202, "the working directory has firmware.fwp and second.fwp",
                          ["signature", "policy", "unpack", "space"])

    def test_reports_a_damaged_payload(self):
        payload = bytearray((self.package / "firmware.fwp").read_bytes())
        payload[1000] ^= 1
        (self.package / "firmware.fwp").write_bytes(payload)
        self.assert_fails("signature", 225, "firmware.fwp: signature verification failed", ["policy", "unpack"])

    def test_reports_an_untrusted_signer(self):
        self.done("trust", "remove", "authority.pem")
        self.done("keygen", "others")
        self.done("trust", "add", "others/authority.pem")
        self.assert_fails("signature", 231, "", ["policy", "unpack"])

    def test_reports_an_archive_without_a_manifest(self):
        archive = self.folder / "plain.tar"
        with tarfile.open(archive, "w") as plain:
            plain.add(self.content / "release.txt", "release.txt")
        signature = self.elsewhere_signed(archive).read_bytes()
        (self.package / "firmware.fwp").write_bytes(archive.read_bytes() + signature
                                                    + len(signature).to_bytes(8, "big"))
        self.assert_fails("policy", 301, "", ["unpack"])

    def test_reports_another_chassis(self):
        self.done("set", "chassis-type", "ANOTHER")
        self.assert_fails("policy", 303, "the payload is not for chassis type ANOTHER", ["unpack"])

    def test_reports_a_version_below_the_floor(self):
        self.done("set", "minimum-version", "2.0")
        self.assert_fails("policy", 304, f"version {NEW} is below 2.0", ["unpack"])

    def test_accepts_a_version_that_is_allowed_once(self):
        self.done("set", "minimum-version", "2.0")
        self.done("set", "allow-version", NEW)
        ended = self.plan()
        self.assertEqual(ended.returncode, 0)
        self.assertIn(f"component {COMPONENT} version {NEW}, below the floor but allowed once\n", ended.stdout)
        self.assertEqual(self.answer("show")["settings"]["allow-version"], NEW)

    def test_reports_another_package_xml(self):
        (self.package / "package.xml").write_text(DESCRIPTION + "\n")
        self.assert_fails("policy", 306, "package.xml does not match the digest in the signed manifest", ["unpack"])

    def test_reports_an_archive_that_does_not_unpack(self):
        self.done("set", "unpack-entries", "3")
        self.assert_fails("unpack", 605, "archive: more entries than allowed")

    def test_reports_an_archive_that_unpacks_to_too_much(self):
        (self.content / "firmware.bin").write_bytes(bytes(4194304) + random.Random(1).randbytes(131072))
        payload = self.package / "firmware.fwp"
        self.done("sign", *self.recipe(), *self.signer(), "--format", "tar.gz", "-o", payload)
        ended = self.plan()
        [unpacked] = re.findall(r"(?m)^unpack +passed +\d+ files, (\d+) bytes$", ended.stdout)
        self.assertGreater(int(unpacked), 4194304 + 131072)
        self.assertIn(f"space       passed   {payload.stat().st_size + int(unpacked)} bytes are needed, and free\n",
                      ended.stdout)

    def test_reports_names_that_differ_only_in_case(self):
        (self.content / "RELEASE.TXT").write_text("")
        self.done("sign", *self.recipe(), *self.signer(), "-o", self.package / "firmware.fwp")
        self.assert_fails("unpack", 604, "archive: the name 'release.txt' is already taken")

    def test_reports_a_payload_name_that_is_not_ascii(self):
        (self.package / "firmware.fwp").rename(self.package / "firmw\u00e4re.fwp")
        self.assert_fails("unpack", 502, r"not a path within the repository: 'Chassis/firmw\?\?re.fwp'")

    def test_reports_an_entry_with_the_name_of_the_payload(self):
        (self.content / "firmware.fwp").write_text("")
        self.done("sign", *self.recipe(), *self.signer(), "-o", self.package / "firmware.fwp")
        self.assert_fails("unpack", 604, "archive: the name 'firmware.fwp' is already taken")

    def test_reports_an_unsafe_staging_folder_or_lock(self):
        for name in ("staging", "lock"):
            with self.subTest(name):
                place = self.root / name
                if place.exists():
                    place.rmdir()
                place.symlink_to(self.folder)
                self.assert_fails("repository", 402, "", ["space"])
                place.unlink()
                if name == "staging":
                    place.mkdir(mode=0o700)

    def assert_refuses_holes(self, step, error, finding):
        """As assert_fails, which would read the whole file."""
        planned = self.run_vtekctl("verify", "--plan", self.package)
        self.assertEqual(planned.returncode, REFUSED)
        self.assertRegex(planned.stdout, rf"(?m)^{step} +failed +{finding}$")
        self.assertIn(f"{finding} (error {error})\n", planned.stderr)

    def test_reports_a_payload_of_holes(self):
        payload = self.package / "firmware.fwp"
        signature = payload.read_bytes()[-4096:]
        os.truncate(payload, 2**43 - len(signature))
        with payload.open("ab") as grown:
            grown.write(signature)
        self.assert_refuses_holes("signature", 605, "archive: it has more bytes than it may unpack to")

    def test_reports_a_package_xml_of_holes(self):
        os.truncate(self.package / "package.xml", 2**40)
        self.assert_refuses_holes("package", 305, "package.xml is larger than 16777216 bytes")

    def test_refuses_a_payload_and_a_plan(self):
        self.assert_refused(802, "verify", status=2, saying="name a payload, or a package with --plan")
        self.assertEqual(self.run_vtekctl("verify", self.package / "firmware.fwp", "--plan", ".").returncode, 2)

    def test_needs_no_access_to_the_log(self):
        os.chmod(self.root / "log", 0o500)
        self.assertEqual(self.plan().returncode, 0)


main()
