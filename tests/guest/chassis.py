"""The simulated chassis on the guest's disk, seen through the programs that a user has."""

import json
from dataclasses import dataclass

from lab import COMPONENT

MOUNT = "/mnt"
ROOT = f"{MOUNT}/vtek"
FIRST_VERSION = "1.0.0"


def inventory_report(version):
    """What an inventory prints when the controller runs this version."""
    return (f'<?xml version="1.0" encoding="UTF-8"?><SVMInventory lang="en"><Device  componentID="{COMPONENT}" '
            f'display="QRX"><Application componentType="FRMW" version="{version}" display="QRX"/></Device>'
            '</SVMInventory>')


def update_report(version):
    """What an update to this version prints when it succeeds."""
    return (f'<?xml version="1.0" encoding="UTF-8"?><SVMExecution lang="en"><Device  componentID="{COMPONENT}" '
            f'display="QRX"><Application componentType="FRMW" version="{version}" display="QRX" '
            f'packageVersion="{version}"><SPStatus result = "true" ><Message id="0">Update is successful</Message>'
            '</SPStatus></Application></Device><RebootRequired>0</RebootRequired></SVMExecution>')


@dataclass(frozen=True)
class State:
    """Everything that tells which firmware is in force."""

    inventory: str  # the report of `qrxupdate -i`
    shown: dict  # `vtekctl show`
    history: list  # `vtekctl history`: one (generation, version) an update
    files: dict  # repository: path below it, digest

    def faults(self, version, packages):
        """What does not fit when this version is in force; none when the state is whole.

        `packages` has the files' digests by version.
        """
        generations = dict(self.history)
        expected_files = {f"{number}/Chassis/{path}": digest for number, updated_to in self.history[-2:]
                          for path, digest in packages[updated_to].items()}
        number = self.history[-1][0]
        expectations = [
            ("inventory report", self.inventory, inventory_report(version)),
            ("generation in force", self.shown["generation"], number),
            ("version in force", self.shown["firmware"]["version"], version),
            ("last update in the history", generations[number], version),
        ]
        found = [f"{what}: {actual!r}, expected {expected!r}" for what, actual, expected in expectations
                 if actual != expected]
        return found + [f"repository/{path}: {self.files.get(path, 'missing')}, expected {digest}"
                        for path, digest in expected_files.items() if self.files.get(path) != digest]


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
        """Installs a package; whether the program reports success."""
        self.begin_update(version, environment)
        return self.finish_update(version)

    def begin_update(self, version, environment=""):
        """Starts an update and does not wait for it."""
        self._guest.begin(f"cd {MOUNT}/{version} && VTEK_ROOT={ROOT} {environment} qrxupdate -u")

    def finish_update(self, version):
        """Waits for the update that was begun; whether the program reports success."""
        outcome = self._guest.finish()
        return outcome.status == 0 and outcome.output == update_report(version)

    def state(self, version):
        """Looks at everything, from the folder of a package."""
        inventory = self._guest.expect(f"cd {MOUNT}/{version} && VTEK_ROOT={ROOT} qrxupdate -i").output
        shown = json.loads(self._vtekctl("show --json"))
        history = [(entry["generation"], entry["toVersion"]) for entry in json.loads(self._vtekctl("history --json"))]
        sums = self._guest.expect(f"cd {ROOT}/repository && find . -type f -exec sha256sum {{}} +").output
        files = {path.removeprefix("./"): digest for digest, path in map(str.split, sums.splitlines())}
        return State(inventory, shown, history, files)

    def leftovers(self):
        """What lies in the staging folder."""
        return self._guest.expect(f"ls {ROOT}/staging").output.split()

    def _vtekctl(self, arguments):
        return self._guest.expect(f"VTEK_ROOT={ROOT} vtekctl {arguments}").output
