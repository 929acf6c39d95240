"""Whole programs beside what a user would take instead."""

import pathlib
import shutil
import tempfile
from dataclasses import dataclass

from paired import Command, measure, shell, tell
from workshop import COMPONENT, MEBIBYTE

OURS = "qrxupdate"


@dataclass
class Comparison:
    """One job done by several commands; `goals` has, by the other command's name, how many times as long as it
    the program may take at most."""

    name: str
    commands: dict
    goals: dict
    rounds: int

    def measured(self):
        """The comparison with its samples, as JSON takes it."""
        tell(self.name)
        missing = {name: command.missing() for name, command in self.commands.items() if command.missing()}
        return {"name": self.name, "goals": self.goals, "missing": missing,
                "samples": measure(self.commands, self.rounds)}


def version(tool):
    """A tool that tells its version."""
    return Command([tool, "--version"], needs=(tool,))


def start(programs, plan):
    """Starting and ending."""
    commands = {OURS: Command([programs.qrxupdate, "-h"])}
    commands |= {f"{tool} --version": version(tool) for tool in ("rauc", "xmllint", "fwupdtool")}
    return Comparison("`-h`", commands, {"rauc --version": 0.6, "xmllint --version": None,
                                         "fwupdtool --version": None}, plan.start_rounds)


def inventory(programs, root, package, report):
    """An inventory of a chassis, its report into a file."""
    return Command([programs.qrxupdate, "-i", "-o", report], environment={"VTEK_ROOT": str(root)}, folder=package)


def inventories(workshop, plan):
    """Inventories of several lengths."""
    package = workshop.package("inventory-package", 1)
    for devices, rounds in plan.inventories:
        document = workshop.inventory(devices)
        root = workshop.chassis(f"chassis-{devices}-devices", document)
        look_up = f'/SVMInventory/Device[@componentID = "{COMPONENT}"]'
        commands = {OURS: inventory(workshop.programs, root, package, workshop.folder / "report.xml"),
                    "xmllint --xpath": Command(["xmllint", "--xpath", look_up, document], needs=("xmllint",))}
        goals = {"xmllint --xpath": 2.0}
        if devices <= 100:
            commands["rauc --version"] = version("rauc")
            goals["rauc --version"] = 1.0
        yield Comparison(f"`-i`, {devices:,} devices", commands, goals, rounds)


def remove(folder):
    """Removes a folder, if it is there."""
    shutil.rmtree(folder, ignore_errors=True)


def set_aside(folder):
    """Keeps a folder, if it is there, elsewhere."""
    if folder.exists():
        folder.rename(pathlib.Path(tempfile.mkdtemp(dir=folder.parent)) / folder.name)


def update(programs, root, fresh, package, dispose=remove):
    """An update of a chassis that is made anew, out of `fresh`, before each run; `dispose` is for the one before."""
    def make_anew():
        dispose(root)
        shutil.copytree(fresh, root)
        settle(root)

    def check():
        if not (root / "repository/1").is_dir():
            raise RuntimeError(f"no update of {root}: {(root / 'log/vtek.log').read_text(encoding='utf-8')}")
    return Command([programs.qrxupdate, "-u"], environment={"VTEK_ROOT": str(root)}, folder=package,
                   prepare=make_anew, check=check)


def settle(folder):
    """Has everything written that earlier runs left to the kernel."""
    shell(f"sync -f {folder}").run()


def by_hand(folder, needs, script):
    """The same job with stock tools, in a folder that is made anew before each run."""
    def make_anew():
        remove(folder)
        folder.mkdir()
        settle(folder)
    return shell(script, needs=needs, prepare=make_anew)


def updates(workshop, plan):
    """Updates of several sizes, stored and deflated; checked, copied, unpacked and durable in the end."""
    fresh = workshop.chassis("fresh")
    for mebibytes, rounds in plan.updates:
        for deflated in (False, True):
            yield update_comparison(workshop, fresh, int(mebibytes * MEBIBYTE), deflated, rounds)


def update_comparison(workshop, fresh, size, deflated, rounds):
    """One size, one way to pack it."""
    kind = "deflated" if deflated else "stored"
    package = workshop.package(f"package-{size}-{kind}", size, files=4, deflated=deflated)
    manual, extracted = workshop.folder / "by-hand", workshop.folder / "by-rauc"
    commands = {
        OURS: update(workshop.programs, workshop.folder / "updated", fresh, package),
        "openssl, cp, bsdtar, sync": by_hand(
            manual, ("openssl", "bsdtar"),
            f"cd {manual}; openssl cms -verify -binary -inform DER -in {package}/archive.cms -purpose any "
            f"-content {package}/archive.zip -CAfile {workshop.keys}/authority.pem -out /dev/null; "
            f"cp {package}/archive.zip .; mkdir content; bsdtar -xf archive.zip -C content; sync -f ."),
    }
    rauc = by_hand(extracted, ("rauc", "mksquashfs", "unsquashfs"), "")
    if not rauc.missing():
        bundle = workshop.bundle(f"bundle-{size}-{kind}", size, deflated)
        rauc.arguments[-1] = (f"cd {extracted}; rauc --keyring={workshop.folder}/bundle.pem extract {bundle} content; "
                              f"cp {bundle} .; sync -f .")
    commands["rauc extract, cp, sync"] = rauc
    return Comparison(f"`-u`, {round(size / MEBIBYTE, 2):,g} MiB {kind}", commands,
                      {"openssl, cp, bsdtar, sync": 0.8, "rauc extract, cp, sync": 1.0}, rounds)


def comparisons(workshop, plan):
    """All of them, each measured as soon as it is made."""
    yield start(workshop.programs, plan).measured()
    for comparison in inventories(workshop, plan):
        yield comparison.measured()
    for comparison in updates(workshop, plan):
        yield comparison.measured()
