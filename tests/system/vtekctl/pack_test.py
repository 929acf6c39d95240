"""vtekctl pack: whole update packages, and archives of them that can be made again.

    pack_test.py VTEKCTL
"""

import gzip
import hashlib
import os
import re
import resource
import shutil
import subprocess
import tarfile

from vtekctl_case import DESCRIPTION, INSTALLED, NEW, REFUSED, USAGE, VtekctlCase, main

TOP = f"qrxupdate-25227-{NEW}"
FILES = ["firmware.fwp", "package.xml", "qrxupdate"]


class Pack(VtekctlCase):
    """Each package is looked at, and used."""

    def setUp(self):
        super().setUp()
        self.package = self.folder / "package"
        self.archive = self.folder / "package.tar.gz"

    def refused(self, *arguments, error=802, status=USAGE, **options):
        """Nothing must be made, and nothing left over."""
        before = sorted(os.listdir(self.folder))
        ended = self.assert_refused(error, "pack", *arguments, status=status, **options)
        self.assertEqual(sorted(os.listdir(self.folder)), before)
        return ended

    def test_makes_program_description_and_payload(self):
        self.assertEqual(self.pack(self.package).splitlines()[0], f"made {self.package} and {self.archive}")
        self.assertEqual(sorted(os.listdir(self.package)), FILES)
        self.assertEqual(self.description.read_bytes(), (self.package / "package.xml").read_bytes())
        self.assertEqual([oct((self.package / name).stat().st_mode & 0o777) for name in FILES],
                         ["0o644", "0o644", "0o755"])

    def test_says_that_the_program_is_of_this_build_unless_it_was_given(self):
        said = "The program is this build's own: servers need libraries like those of this system.\n"
        self.assertEqual(self.pack(self.package), f"made {self.package} and {self.archive}\n{said}")
        other = self.folder / "other"
        self.assertEqual(self.pack(other, "--template", self.package), f"made {other} and {other}.tar.gz\n")

    def test_packs_a_program_that_finds_no_library_by_itself(self):
        self.pack(self.package)
        dynamic = subprocess.run(["readelf", "--dynamic", "--wide", self.package / "qrxupdate"], check=True,
                                 capture_output=True, text=True).stdout
        self.assertIn("[libvtek.so.0]", dynamic)
        self.assertNotIn("RUNPATH", dynamic)
        self.assertNotIn("RPATH", dynamic)

    def test_makes_a_package_that_updates_the_chassis(self):
        self.make_chassis()
        self.pack(self.package)
        program = ("run", "--", "./qrxupdate")
        self.assertIn(f'version="{INSTALLED}"', self.done(*program, "-i", cwd=self.package))
        self.assertIn("Update is successful", self.done(*program, "-u", cwd=self.package))
        self.assertIn(f'version="{NEW}"', self.done(*program, "-i", cwd=self.package))

    def test_keeps_this_machine_out_of_the_archive(self):
        self.pack(self.package)
        with tarfile.open(self.archive) as archive:
            members = archive.getmembers()
            self.assertEqual([member.name for member in members], [TOP, *(f"{TOP}/{name}" for name in FILES)])
            self.assertEqual([oct(member.mode) for member in members], ["0o755", "0o644", "0o644", "0o755"])
            self.assertEqual({(m.uid, m.gid, m.uname, m.gname, m.mtime) for m in members}, {(0, 0, "", "", 315532800)})
            for name in FILES:
                self.assertEqual(archive.extractfile(f"{TOP}/{name}").read(), (self.package / name).read_bytes())
        self.assertEqual(self.archive.read_bytes()[4:8], bytes(4), "the time in the head of the gzip file")

    def test_makes_the_same_bytes_from_the_same_input(self):
        digests = []
        for place, name, mask in (("one", "package", 0o022), ("two", "another", 0o077)):
            (self.folder / place).mkdir()
            content = self.folder / place / "content"
            subprocess.run(["cp", "-r", self.content, content], check=True)
            os.utime(content / "release.txt", (len(place), 99))
            self.done("pack", content, "--package", self.description, "--chassis", "LAB-CHASSIS", *self.signer(),
                      "-o", f"{place}/{name}", umask=mask, environment={"LC_ALL": "C.UTF-8", "TZ": place})
            files = [self.folder / place / f"{name}.tar.gz", *(self.folder / place / name / file for file in FILES)]
            digests.append([hashlib.sha256(file.read_bytes()).hexdigest() for file in files])
        self.assertEqual(*digests)

    def test_makes_other_bytes_from_other_content(self):
        self.pack("one")
        (self.content / "release.txt").write_text("release 1.40.201\n")
        self.pack("two")
        self.assertNotEqual((self.folder / "one.tar.gz").read_bytes(), (self.folder / "two.tar.gz").read_bytes())

    def test_uses_the_source_date_for_entries_and_signature(self):
        self.pack(self.package, environment={"SOURCE_DATE_EPOCH": "1700000000"})
        with tarfile.open(self.archive) as archive:
            self.assertEqual({member.mtime for member in archive}, {1700000000})
        self.assertIn("UTCTIME:Nov 14 22:13:20 2023 GMT", self.printed_signature(self.package / "firmware.fwp"))

    def test_refuses_a_package_xml_of_holes(self):
        os.truncate(self.description, 2**40)
        self.refused(*self.recipe(), *self.signer(), "-o", self.package, saying="is larger than 16777216 bytes")
        self.assert_refused(802, "sign", *self.recipe(), *self.signer(), "-o", "firmware.fwp", "--component", "1",
                            "--package-version", "1", status=USAGE, saying="is larger than 16777216 bytes")

    def test_needs_no_writable_working_directory(self):
        self.pack(self.package, cwd="/proc")
        self.assertEqual(sorted(os.listdir(self.package)), FILES)

    def test_takes_a_signature_made_elsewhere(self):
        unsigned = self.folder / "firmware.tar"
        self.done("sign", *self.recipe(), "--unsigned", "-o", unsigned)
        signature = self.elsewhere_signed(unsigned)
        self.done("pack", *self.recipe(), "--signature", signature, "-o", self.package)
        self.make_chassis()
        self.done("verify", "--plan", self.package)

    def test_leaves_nothing_after_a_signature_of_another_archive(self):
        other = self.folder / "other"
        other.write_text("another archive")
        signature = self.elsewhere_signed(other)
        self.refused(*self.recipe(), "--signature", signature, "-o", self.package, error=225, status=REFUSED)

    def test_fills_an_empty_folder(self):
        self.package.mkdir()
        self.pack(f"{self.package}/")
        self.assertEqual(sorted(os.listdir(self.package)), FILES)

    def test_keeps_what_exists(self):
        self.package.mkdir()
        (self.package / "mine").write_text("mine")
        self.refused(*self.recipe(), *self.signer(), "-o", self.package, saying="Directory not empty")
        self.assertEqual(os.listdir(self.package), ["mine"])
        self.archive.write_text("mine")
        self.refused(*self.recipe(), *self.signer(), "-o", self.package, saying="File exists")
        self.assertEqual(self.archive.read_text(), "mine")

    def test_refuses_names_that_cannot_be_a_new_folder(self):
        self.assertEqual(self.run_vtekctl("pack", *self.recipe(), *self.signer(), "-o", "").returncode, USAGE)
        for name in (".", "..", "/", "./", "firmware/.."):
            with self.subTest(name):
                self.refused(*self.recipe(), *self.signer(), "-o", name, saying="cannot name a new folder")
        for name in ("nowhere/package", "package.xml/package"):
            with self.subTest(name):
                self.refused(*self.recipe(), *self.signer(), "-o", name)

    def test_takes_another_template(self):
        template = self.folder / "template"
        self.refused(*self.recipe(), *self.signer(), "-o", self.package, "--template", template,
                     saying=f"copy {template}/qrxupdate: No such file or directory")
        template.mkdir()
        (template / "qrxupdate").write_text("#!/bin/sh\n")
        self.pack(self.package, "--template", template)
        self.assertEqual((self.package / "qrxupdate").read_text(), "#!/bin/sh\n")
        self.assertEqual((self.package / "qrxupdate").stat().st_mode & 0o777, 0o755)

    def test_says_where_it_searched_for_the_program(self):
        (self.folder / "bin").mkdir()
        self.program = shutil.copy(self.program, self.folder / "bin")
        ended = self.refused(*self.recipe(), *self.signer(), "-o", self.package, saying="no qrxupdate in ")
        place = re.search(r"no qrxupdate in (\S+) ", ended.stderr)[1]
        self.assertEqual(place, os.path.normpath(place))
        self.assertEqual(os.path.commonpath([place, self.folder.resolve()]), str(self.folder.resolve()))
        os.makedirs(place)
        self.refused(*self.recipe(), *self.signer(), "-o", self.package, saying=f"no qrxupdate in {place} ")

    def test_keeps_a_version_with_separators_a_name(self):
        self.description.write_text(DESCRIPTION.replace(NEW, "../../x"))
        self.pack(self.package)
        with tarfile.open(self.archive) as archive:
            self.assertEqual(archive.getnames()[0], "qrxupdate-25227-.._.._x")

    def test_leaves_nothing_after_bad_content(self):
        (self.content / "link").symlink_to("/etc/passwd")
        self.refused(*self.recipe(), *self.signer(), "-o", self.package)

    def test_leaves_nothing_on_a_full_disk(self):
        def no_large_files():
            resource.setrlimit(resource.RLIMIT_FSIZE, (8192, 8192))
        self.refused(*self.recipe(), *self.signer(), "-o", self.package, preexec_fn=no_large_files,
                     restore_signals=False, saying="copy ")

    def test_keeps_the_key_out_of_messages_and_files(self):
        said = self.pack(self.package)
        secret = (self.keys / "signer.key").read_text().splitlines()[1]
        made = [gzip.decompress(self.archive.read_bytes()), *((self.package / name).read_bytes() for name in FILES)]
        self.assertNotIn(secret, said)
        self.assertFalse([data for data in made if secret.encode() in data])


main()
