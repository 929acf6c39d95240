"""The Debian package: its files and its control fields."""

import gzip
import re
import unittest

from debian import DEB, SOURCE, UNPACKED, field, files, output_of

PRIVATE = f"usr/lib/{output_of('gcc', '-print-multiarch').strip()}/qrxupdate"
LIBRARY = f"{PRIVATE}/libvtek.so.0"
DOCUMENTS = "usr/share/doc/qrxupdate"
COLLECTION = "usr/share/ansible/collections/ansible_collections/qrxupdate/chassis"
PAGES = {"man1/qrxinspect.1", "man5/package.xml.5", "man5/vtek-payload.5", "man8/qrxupdate.8", "man8/vtekctl.8"}


def documents_of_the_source():
    """The documents that the package installs, by their paths in the source."""
    found = [SOURCE / name for name in ("README.md", "CHANGELOG.md", "CONTRIBUTING.md", "SECURITY.md")]
    found += (SOURCE / "docs").glob("*.md")
    for folder in ("decisions", "performance", "pictures", "schemas"):
        found += (SOURCE / "docs" / folder).glob("*.*")
    return {path.relative_to(SOURCE).as_posix() for path in found}


def collection_of_the_source():
    """The Ansible collection's files, by their paths in it."""
    found = (path for path in (SOURCE / "fleet").rglob("*") if path.is_file() and "__pycache__" not in path.parts)
    return {path.relative_to(SOURCE / "fleet").as_posix() for path in found if path.name != ".yamllint"}


class Content(unittest.TestCase):
    def test_installs_exactly_the_expected_files(self):
        expected = {"usr/bin/qrxinspect", "usr/bin/vtekctl", LIBRARY, f"{LIBRARY}.1.0",
                    "usr/libexec/qrxupdate/package/package.xml", "usr/libexec/qrxupdate/package/qrxupdate",
                    f"{DOCUMENTS}/changelog.gz", f"{DOCUMENTS}/copyright", "usr/share/lintian/overrides/qrxupdate"}
        expected |= {f"usr/share/man/{page}.gz" for page in PAGES}
        expected |= {f"usr/share/bash-completion/completions/{name}" for name in ("qrxinspect", "qrxupdate", "vtekctl")}
        expected |= {f"{COLLECTION}/{path}" for path in collection_of_the_source()}
        expected |= {f"{DOCUMENTS}/{document}" for document in documents_of_the_source()}
        self.assertEqual(files(), expected)

    def test_shows_examples_in_every_manual_page(self):
        for page in PAGES:
            text = gzip.decompress((UNPACKED / f"usr/share/man/{page}.gz").read_bytes()).decode()
            self.assertRegex(text, r"(?m)^\.SH EXAMPLES$", page)

    def test_keeps_the_simulated_library_off_the_loaders_path(self):
        for path in files():
            if "libvtek" in path:
                self.assertTrue(path.startswith(f"{PRIVATE}/"), path)

    def test_runs_no_maintainer_scripts(self):
        self.assertEqual({path.name for path in (UNPACKED / "DEBIAN").iterdir()}, {"control", "md5sums"})

    def test_lets_only_root_write_its_files(self):
        archive = output_of("sh", "-c", 'dpkg-deb --fsys-tarfile "$1" | tar --list --verbose --numeric-owner', "sh", DEB)
        for line in archive.splitlines():
            mode, owner = line.split()[:2]
            self.assertEqual(owner, "0/0", line)
            self.assertIn(mode, ("drwxr-xr-x", "-rwxr-xr-x", "-rw-r--r--", "lrwxrwxrwx"), line)

    def test_names_its_maintainer(self):
        self.assertRegex(field("Maintainer"), r"^[\w ]+ <[\w.-]+@[\w-]+(\.[\w-]+)+>$")

    def test_depends_on_the_libraries_it_does_not_contain(self):
        needed = {re.split(r"[ (]", name)[0] for name in field("Depends").split(", ")}
        self.assertLessEqual({"libc6", "libxml2", "libssl3", "libarchive13", "libsqlite3-0"}, needed)
        self.assertNotIn("vtek", field("Depends"))

    def test_compresses_pages_and_changelog_reproducibly(self):
        for path in files():
            if path.endswith(".gz"):
                packed = (UNPACKED / path).read_bytes()
                self.assertEqual(packed[3:8], b"\0" * 5, f"{path} contains a name or a time")
                self.assertTrue(gzip.decompress(packed), path)

    def test_has_a_changelog_that_debian_tools_can_parse(self):
        changelog = gzip.decompress((UNPACKED / DOCUMENTS / "changelog.gz").read_bytes()).decode()
        parsed = output_of("sh", "-c", 'printf %s "$1" | dpkg-parsechangelog --file -', "sh", changelog)
        self.assertIn(f"Maintainer: {field('Maintainer')}\n", parsed)
        self.assertRegex(parsed, r"\nDate: \w{3}, \d\d \w{3} \d{4} 12:00:00 \+0000\n")


if __name__ == "__main__":
    unittest.main(argv=["content_test"])
