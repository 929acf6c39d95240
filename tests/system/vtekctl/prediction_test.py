"""vtekctl verify --plan: what it says comes true, for generated packages.

    prediction_test.py VTEKCTL
"""

import gzip
import hashlib
import io
import json
import random
import re
import tarfile
import zipfile

from vtekctl_case import CHASSIS, COMPONENT, DESCRIPTION, NEW, PackageCase, main

PACKAGES = 80
UPDATED = "Update is successful"

# Few names, so that they often meet: in the same or another case, as a file, as a folder, or as the payload's own.
NAMES = ["a", "A", "b", "a/b", "a/B", "a/b/c", "fw.fwp", "FW.fwp", "fw.fwp/a", "manifest.xml", "Manifest.xml"]
ODD_NAMES = ["../a", "/a", "a//b", "./a", "a\\b", "\u00e4", "a\n", "-", "x" * 255, "x" * 256, "/".join("d" * 40)]
PAYLOADS = ["fw.fwp", "fw.fwp", "fw.fwp", ".fwp", "a b.fwp", "f\u00e4.fwp", "f\n.fwp", "f\\w.fwp", "-.fwp", "~.fwp",
            "x" * 251 + ".fwp"]


class Prediction(PackageCase):
    """Generates packages, plans the update of each, and does it."""

    def setUp(self):
        super().setUp()
        (self.package / "firmware.fwp").unlink()

    def manifest(self, chance):
        """A manifest, mostly a good one."""
        digest = hashlib.sha256(DESCRIPTION.encode()).hexdigest()
        version, chassis = NEW, CHASSIS
        fault = chance.randrange(20)
        if fault == 0:
            digest = "0" * 64
        elif fault == 1:
            chassis = "ANOTHER"
        elif fault == 2:
            version = "1 0"
        elif fault == 3:
            return "<VtekManifest"
        return (f'<VtekManifest format="1" componentID="{COMPONENT}" version="{version}" '
                f'packageDigest="sha256:{digest}"><Chassis type="{chassis}"/></VtekManifest>')

    def entries(self, chance):
        """The entries of an archive: name, content (None for a folder)."""
        names = [chance.choice(NAMES) for _ in range(chance.randrange(4))]
        if chance.randrange(2) == 0:
            names.append(chance.choice(ODD_NAMES))
        return [(name, None if chance.randrange(4) == 0 else bytes(chance.randrange(3) * 700)) for name in names]

    def archive(self, chance):
        """The bytes of an archive; now and then the manifest is not its first entry, or it is damaged."""
        entries = self.entries(chance)
        entries.insert(chance.choice([0] * 9 + [len(entries)]), ("manifest.xml", self.manifest(chance).encode()))
        form = chance.choice(["tar", "tar.gz", "zip", "zip"])
        made = zipped(entries) if form == "zip" else tarred(entries, link=chance.randrange(4) == 0)
        if form == "zip" and chance.randrange(6) == 0:
            # The directory and the local headers disagree.
            made = made[:-22].replace(b"version=\"1", b"version=\"2", 1) + made[-22:]
        if form == "tar.gz":
            made = gzip.compress(made, mtime=0)
            if chance.randrange(8) == 0:
                made = gzip.compress(made, mtime=0)
        return made[:-chance.randrange(1, len(made))] if chance.randrange(12) == 0 else made

    def make_package(self, chance):
        """Puts a signed payload into the package's folder; returns it."""
        archive = self.folder / "archive"
        archive.write_bytes(self.archive(chance))
        signature = self.elsewhere_signed(archive).read_bytes()
        payload = self.package / chance.choice(PAYLOADS)
        payload.write_bytes(archive.read_bytes() + signature + len(signature).to_bytes(8, "big"))
        return payload

    def predicted(self):
        """The error that the plan reports; None if the update would succeed."""
        plan = self.json_plan()
        failed = [step for step in plan["steps"] if step["outcome"] == "failed"]
        self.assertEqual(plan["wouldSucceed"], not failed)
        return failed[0]["error"] if failed else None

    def json_plan(self):
        ended = self.run_vtekctl("verify", "--plan", self.package, "--json")
        self.assertEqual(ended.returncode, 0 if '"wouldSucceed": true' in ended.stdout else 1, ended.stderr)
        return json.loads(ended.stdout)

    def happened(self):
        """The error that the update reports in the library's log; None if it succeeds."""
        log = self.root / "log" / "vtek.log"
        log.unlink(missing_ok=True)
        ended = self.run_vtekctl("run", "--", "./qrxupdate", "-u", cwd=self.package)
        errors = re.findall(r": error (\d+), ", log.read_text() if log.exists() else "")
        self.assertEqual(UPDATED in ended.stdout, not errors, ended.stdout)
        return int(errors[-1]) if errors else None

    def test_says_what_the_update_does(self):
        seen = set()
        for seed in range(PACKAGES):
            with self.subTest(seed=seed):
                payload = self.make_package(random.Random(seed))
                predicted, happened = self.predicted(), self.happened()
                self.assertEqual(predicted, happened, payload.name)
                seen.add(happened)
                payload.unlink()
        # The generator reaches success, and the failures that only names and archives cause.
        self.assertLessEqual({None, 301, 303, 306, 502, 601, 602, 603, 604}, seen)


def tarred(entries, link):
    """The bytes of a tar."""
    out = io.BytesIO()
    with tarfile.open(fileobj=out, mode="w") as tar:
        for name, content in entries:
            info = tarfile.TarInfo(name)
            info.type = tarfile.DIRTYPE if content is None else tarfile.REGTYPE
            info.size = len(content or b"")
            tar.addfile(info, io.BytesIO(content or b""))
        if link:
            info = tarfile.TarInfo("link")
            info.type, info.linkname = tarfile.SYMTYPE, "a"
            tar.addfile(info)
    return out.getvalue()


def zipped(entries):
    """The bytes of a zip."""
    out = io.BytesIO()
    with zipfile.ZipFile(out, "w") as archive:
        for name, content in entries:
            archive.writestr(zipfile.ZipInfo(name + ("/" if content is None else "")), content or b"")
    return out.getvalue()


main()
