"""Updates on file systems that cannot take them: refused, and inventories go on.

    mounts_test.py QRXUPDATE VTEKCTL
"""

import os
import random
import shutil
import socket
import subprocess

from attack import AttackTest, main
from chassis import inventory_report, update_report
from lab import COMPONENT
from local_chassis import NEW, OLD

NAMESPACE = ["unshare", "-m"]

# Nothing but a system's log, which listens outside.
SYSTEM_LOG = 'mount -t tmpfs tmpfs /dev && : > /dev/log && mount --bind "$0" /dev/log && exec "$@"'

READ_ONLY = 'mount --bind "$VTEK_ROOT" "$VTEK_ROOT" && mount -o remount,bind,ro "$VTEK_ROOT" && exec "$@"'

# A small file system with the root's content, on request with no byte left; what the program makes of it is copied out of
# the namespace.
SMALL = """
result=$VTEK_ROOT
VTEK_ROOT=$1
export VTEK_ROOT
mkdir -p "$VTEK_ROOT"
mount -t tmpfs -o "size=$2,mode=755" tmpfs "$VTEK_ROOT" || exit 99
cp -a "$result/." "$VTEK_ROOT" || exit 99
if [ "$3" = full ]; then
  rm -f "$VTEK_ROOT/log/vtek.log"
  cat /dev/zero >"$VTEK_ROOT/fill" 2>/dev/null
fi
shift 3
"$@"
status=$?
rm -f "$VTEK_ROOT/fill"
cp -a "$VTEK_ROOT/." "$result"
exit $status
"""


def reason_not_possible():
    if os.geteuid() != 0:
        return "needs root: in a namespace of a user the folders above a chassis belong to strangers"
    tried = subprocess.run([*NAMESPACE, "mount", "-t", "tmpfs", "tmpfs", "/mnt"], capture_output=True, text=True)
    return f"no mount in a namespace of our own: {tried.stderr.strip()}" if tried.returncode else ""


class Mounts(AttackTest):
    """A read-only mount and a full disk."""

    def test_refuses_an_update_on_a_read_only_mount(self):
        ended = self.update(*NAMESPACE, "sh", "-c", READ_ONLY, "sh")
        self.assert_refused(ended, "Start copying file failed")
        self.assert_told_without_a_log(ended.stderr, "error 402, repository not writable: ")

    def test_uses_the_system_log_on_a_read_only_mount(self):
        address = str(self.folder / "system-log")
        with socket.socket(socket.AF_UNIX, socket.SOCK_DGRAM) as log:
            log.bind(address)
            log.settimeout(10)
            self.update(*NAMESPACE, "sh", "-c", SYSTEM_LOG, address, "sh", "-c", READ_ONLY, "sh")
            self.assert_told_without_a_log(log.recv(4096).decode(), "error 402, repository not writable: ")

    def test_inventories_on_a_read_only_mount(self):
        ended = self.chassis.run(*NAMESPACE, "sh", "-c", READ_ONLY, "sh", self.chassis.programs.qrxupdate, "-i")
        self.assertEqual((ended.stdout, ended.returncode), (inventory_report(OLD), 0))

    def test_refuses_an_update_on_a_full_disk(self):
        self.assert_refused(self.update_with_free_space(1_500_000), "Start copying file failed", "error 403")

    def test_counts_the_copy_that_the_check_has_made(self):
        # Room for the copy, the unpacked file and the reserve, but not for a second copy.
        self.sign_package(random.Random(2).randbytes(4_000_000))
        ended = self.update_with_free_space(9_600_000, cwd=self.large)
        self.assertEqual(ended.stdout, update_report(NEW))

    def test_reports_the_cause_on_standard_error_on_a_disk_that_takes_no_byte(self):
        ended = self.update_with_free_space(1_500_000, then="full")
        self.assert_refused(ended, "Start copying file failed")
        self.assert_told_without_a_log(ended.stderr, "error 403, no space left: ")

    def test_keeps_the_old_state_on_a_disk_that_fills_up(self):
        # Small packed, so that there seems to be space; too large unpacked.
        self.sign_package(random.Random(1).randbytes(16_384) * 160)
        ended = self.update_with_free_space(1_500_000, cwd=self.large)
        self.assert_refused(ended, "Complete Signed Unzip is failed")

    def assert_told_without_a_log(self, told, cause):
        self.assertRegex(told, rf"libvtek \(simulation\): StartCopyFile: {cause}.+; hint: .+")

    def sign_package(self, content):
        """Makes a package of one file."""
        (self.large / "content").mkdir(parents=True)
        self.addCleanup(shutil.rmtree, self.large)
        (self.large / "content" / "main.bin").write_bytes(content)
        shutil.copy(self.chassis.package / "package.xml", self.large)
        keys = self.folder / "keys"
        self.chassis.vtekctl("sign", self.large / "content", "-o", self.large / "chassis.fwp", "--format", "tar.gz",
                             "--package", self.large / "package.xml", "--component", COMPONENT,
                             "--package-version", NEW, "--chassis", "LAB-CHASSIS",
                             "--certificate", keys / "signer.pem", "--key", keys / "signer.key")

    @property
    def large(self):
        return self.folder / "large"

    def update_with_free_space(self, free, then="as it is", **options):
        used = sum(-(-path.stat().st_size // 4096) * 4096 + 4096 for path in self.chassis.root.rglob("*"))
        ended = self.update(*NAMESPACE, "sh", "-c", SMALL, "sh", self.folder / "small", str(used + free),
                            then, **options)
        self.assertNotEqual(ended.returncode, 99, ended.stderr)
        return ended


if __name__ == "__main__":
    main(reason_not_possible() if shutil.which("unshare") else "unshare is not installed")
