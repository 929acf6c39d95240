"""A simulated chassis in a folder of this machine, and the built programs that work on it."""

import json
import os
import pathlib
import shutil
import subprocess
from dataclasses import dataclass

from chassis import FIRST_VERSION, State, update_report
from guest import differences
from lab import COMPONENT, SMALL, Lab, digest

EARLIER, OLD, NEW = "1.10.0", "1.20.0", "1.40.200"
NOT_UPDATED = [EARLIER, OLD]
UPDATED = [EARLIER, OLD, NEW]


def versions_of(state):
    """The versions that were installed, one after the other, when the update was or was not done."""
    return UPDATED if len(state.history) == len(UPDATED) else NOT_UPDATED


@dataclass(frozen=True)
class Programs:
    """The two programs under test."""

    qrxupdate: pathlib.Path
    vtekctl: pathlib.Path


class LocalChassis:
    """One root folder, and the packages that can be installed in it."""

    def __init__(self, programs, root, packages, digests):
        """Takes over an existing root; `packages` has a folder by version, `digests` what each leaves behind."""
        self.root = pathlib.Path(root)
        self.programs = programs
        self.packages = pathlib.Path(packages)
        self.digests = digests

    @classmethod
    def make(cls, programs, folder, firmware=SMALL):
        """Makes a chassis with two updates behind it, and the package of a third."""
        lab = Lab(programs.vtekctl, folder, firmware)
        packages = pathlib.Path(folder) / "disk"
        digests = {version: lab.make_package(version) for version in UPDATED}
        chassis = cls(programs, pathlib.Path(folder) / "root", packages, digests)
        chassis.vtekctl("init")
        chassis.vtekctl("inventory", "add", COMPONENT, FIRST_VERSION)
        chassis.vtekctl("trust", "add", packages / "authority.pem")
        for version in NOT_UPDATED:
            if faults := chassis.update(version):
                raise AssertionError("; ".join(faults))
        return chassis

    def copy(self, root):
        """A copy of the chassis in another folder, which is created anew."""
        shutil.rmtree(root, ignore_errors=True)
        shutil.copytree(self.root, root, symlinks=True)
        return LocalChassis(self.programs, root, self.packages, self.digests)

    @property
    def package(self):
        """The folder of the package that is not installed yet."""
        return self.packages / NEW

    @property
    def environment(self):
        """The programs' environment."""
        return {**os.environ, "VTEK_ROOT": str(self.root)}

    def vtekctl(self, *arguments):
        """Runs `vtekctl`, which must succeed; returns what it prints."""
        return self.run(self.programs.vtekctl, *arguments, check=True).stdout

    def run(self, *command, **options):
        """Runs a command on this chassis, in the package's folder."""
        settings = {"cwd": self.package, "env": self.environment, "text": True, "capture_output": True, "timeout": 300}
        return subprocess.run(command, **{**settings, **options})

    def start(self, *command, **options):
        """Starts a command as `run` does, and does not wait for it."""
        settings = {"cwd": self.package, "env": self.environment, "text": True,
                    "stdout": subprocess.PIPE, "stderr": subprocess.PIPE}
        return subprocess.Popen(command, **{**settings, **options})

    def update(self, version=NEW):
        """Installs a package; returns what went wrong, nothing if the program reports success."""
        ended = self.run(self.programs.qrxupdate, "-u", cwd=self.packages / version)
        return differences(("update's exit status", ended.returncode, 0),
                           ("update's report", ended.stdout, update_report(version)))

    def state(self):
        """Reads everything that shows which firmware is in force."""
        inventory = self.run(self.programs.qrxupdate, "-i").stdout
        shown = json.loads(self.vtekctl("show", "--json"))
        entries = json.loads(self.vtekctl("history", "--json"))["history"]
        history = [(entry["generation"], entry["toVersion"]) for entry in entries]
        return State(inventory, shown, history, self.files())

    def files(self):
        """The repository: path below it, digest."""
        repository = self.root / "repository"
        return {str(path.relative_to(repository)): digest(path.read_bytes())
                for path in sorted(repository.rglob("*")) if path.is_file()}

    def log(self):
        """The library's log."""
        return (self.root / "log" / "vtek.log").read_text()

    def faults(self, versions):
        """What does not fit when exactly these versions were installed."""
        return self.state().faults(versions, self.digests)

    def faults_of_next_update(self, versions):
        """Updates without faults after these versions; returns what is wrong with the run, its outcome or its leftovers."""
        if faults := self.update():
            return faults
        state = self.state()
        left = [path.name for path in (self.root / "staging").iterdir()] + state.strays(self.digests)
        return state.faults([*versions, NEW], self.digests) + [f"left over: {path}" for path in left]
