"""The simulated chassis on the guest's disk, as its user sees it: through the programs."""

import json
from dataclasses import dataclass

from guest import differences
from lab import COMPONENT

MOUNT = "/mnt"
ROOT = f"{MOUNT}/vtek"
FIRST_VERSION = "1.0.0"


def inventory_report(version):
    """The report of an inventory when the controller runs this version."""
    return (f'<?xml version="1.0" encoding="UTF-8"?><SVMInventory lang="en"><Device  componentID="{COMPONENT}" '
            f'display="QRX"><Application componentType="FRMW" version="{version}" display="QRX"/></Device>'
            '</SVMInventory>')


def update_report(version):
    """The report of a successful update to this version."""
    return (f'<?xml version="1.0" encoding="UTF-8"?><SVMExecution lang="en"><Device  componentID="{COMPONENT}" '
            f'display="QRX"><Application componentType="FRMW" version="{version}" display="QRX" '
            f'packageVersion="{version}"><SPStatus result = "true" ><Message id="0">Update is successful</Message>'
            '</SPStatus></Application></Device><RebootRequired>0</RebootRequired></SVMExecution>')


@dataclass(frozen=True)
class State:
    """Everything that shows which firmware is in force."""

    inventory: str  # the report of `qrxupdate -i`
    shown: dict  # `vtekctl show`
    history: list  # `vtekctl history`: generation and version of each update
    files: dict  # of the repository: digest by path

    @property
    def version(self):
        """The version in force."""
        return self.shown["firmware"]["version"]

    def faults(self, versions, packages):
        """Everything that contradicts these versions having been installed in this order; empty if nothing does.

        The repository must hold the files of the last version and of the one before it, the target of a rollback.
        `packages` holds their digests by version.
        """
        generations = [generation for generation, _ in self.history]
        firmware = ((f"repository/{path}", self.files.get(path), digest)
                    for path, digest in self._expected_files(packages).items())
        return differences(
            ("history", [version for _, version in self.history], versions),
            ("inventory report", self.inventory, inventory_report(versions[-1])),
            ("version in force", self.version, versions[-1]),
            ("generation in force", self.shown["generation"], generations[-1]),
            ("generations", generations, sorted(set(generations))),
            *firmware)

    def strays(self, packages):
        """The files in the repository that belong to neither of the two last generations."""
        return sorted(self.files.keys() - self._expected_files(packages).keys())

    def _expected_files(self, packages):
        return {f"{generation}/Chassis/{path}": digest for generation, version in self.history[-2:]
                for path, digest in packages[version].items()}


class Chassis:
    """The chassis of one boot."""

    def __init__(self, guest):
        """Mounts the guest's disk."""
        self._guest = guest
        guest.expect(f"mkdir -p {MOUNT} && mount -t ext4 /dev/vda {MOUNT}")

    def make(self):
        """Makes a chassis that knows the component and trusts the lab's signer."""
        self._guest.expect(f"chown -R 0:0 {MOUNT} && VTEK_ROOT={ROOT} && export VTEK_ROOT && vtekctl init && "
                           f"vtekctl inventory add {COMPONENT} {FIRST_VERSION} && "
                           f"vtekctl trust add {MOUNT}/authority.pem && sync")

    def update(self, version, environment=""):
        """Installs a package; returns the faults, none if the program reports success."""
        self.begin_update(version, environment)
        return self.finish_update(version)

    def begin_update(self, version, environment=""):
        """Starts an update without waiting for it."""
        self._guest.begin(f"cd {MOUNT}/{version} && VTEK_ROOT={ROOT} {environment} qrxupdate -u")

    def finish_update(self, version):
        """Waits for the update that was begun; returns its faults as `update` does."""
        outcome = self._guest.finish()
        return differences(("update's exit status", outcome.status, 0),
                           ("update's report", outcome.output, update_report(version)))

    def state(self, version):
        """Reads the state; `version` names the package in whose folder the inventory runs."""
        inventory = self._guest.expect(f"cd {MOUNT}/{version} && VTEK_ROOT={ROOT} qrxupdate -i").output
        shown = json.loads(self._vtekctl("show --json"))
        history = [(entry["generation"], entry["toVersion"]) for entry in json.loads(self._vtekctl("history --json"))["history"]]
        sums = self._guest.expect(f"cd {ROOT}/repository && find . -type f -exec sha256sum {{}} +").output
        files = {path.removeprefix("./"): digest for digest, path in map(str.split, sums.splitlines())}
        return State(inventory, shown, history, files)

    def leftovers(self):
        """The names in the staging folder."""
        return self._guest.expect(f"ls {ROOT}/staging").output.split()

    def _vtekctl(self, arguments):
        return self._guest.expect(f"VTEK_ROOT={ROOT} vtekctl {arguments}").output
