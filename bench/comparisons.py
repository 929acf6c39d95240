"""The program compared with the stock tools that a user would take instead."""

import pathlib
import shutil
import tempfile
from dataclasses import dataclass

from paired import Command, measure, progress, shell
from workshop import COMPONENT, MEBIBYTE


@dataclass
class Comparison:
    """One job. The goals judge the first command of `ours`: the most times as long as each other command that it may
    take; None is no goal."""

    ours: dict  # commands by the job's name
    others: dict  # commands by name
    goals: dict  # by the names of the others
    rounds: int

    def measured(self):
        """Measures all commands in turn; returns what JSON can hold."""
        progress(", ".join(self.ours))
        missing = {name: command.missing() for name, command in self.others.items() if command.missing()}
        return {"ours": list(self.ours), "goals": self.goals, "missing": missing,
                "samples": measure(self.ours | self.others, self.rounds)}


def version(tool):
    """Asks a tool for its version."""
    return Command([tool, "--version"], needs=(tool,))


def start(workshop, plan):
    """Starting and ending: with the scripted platform library, and with the stand-in."""
    words = [workshop.programs.qrxupdate, "-h"]
    ours = {"`-h`": Command(words, environment=workshop.scripted()), "`-h`, stand-in": Command(words)}
    others = {f"{tool} --version": version(tool) for tool in ("rauc", "xmllint", "fwupdtool")}
    goals = {"rauc --version": 0.6, "xmllint --version": None, "fwupdtool --version": None}
    return Comparison(ours, others, goals, plan.start_rounds)


def inventory(workshop, package, environment):
    """An inventory whose report goes to a file."""
    report = workshop.folder / "report.xml"

    def check():
        if "<Device " not in report.read_text(encoding="utf-8"):
            raise RuntimeError(f"no device in the report: {report.read_text(encoding='utf-8')}")
    return Command([workshop.programs.qrxupdate, "-i", "-o", report], environment=environment, folder=package,
                   check=check)


def inventories(workshop, plan):
    """Inventories of several lengths: with the scripted platform library, and with the stand-in."""
    package = workshop.package("inventory-package", 1)
    for devices, rounds in plan.inventories:
        document = workshop.inventory(devices)
        root = workshop.chassis(f"chassis-{devices}-devices", document)
        job = f"`-i`, {devices:,} devices"
        ours = {job: inventory(workshop, package, workshop.scripted(document)),
                f"{job}, stand-in": inventory(workshop, package, {"VTEK_ROOT": str(root)})}
        look_up = f'/SVMInventory/Device[@componentID = "{COMPONENT}"]'
        others = {"xmllint --xpath": Command(["xmllint", "--xpath", look_up, document], needs=("xmllint",))}
        goals = {"xmllint --xpath": 2.0}
        if devices <= 100:
            others["rauc --version"] = version("rauc")
            goals["rauc --version"] = 1.0
        yield Comparison(ours, others, goals, rounds)


def remove(folder):
    """Removes a folder if it exists."""
    shutil.rmtree(folder, ignore_errors=True)


def set_aside(folder):
    """Moves a folder out of the way if it exists."""
    if folder.exists():
        folder.rename(pathlib.Path(tempfile.mkdtemp(dir=folder.parent)) / folder.name)


def update(programs, root, fresh, package, dispose=remove):
    """An update of a chassis that is copied from `fresh` before each run; `dispose` gets the previous copy."""
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
    """Writes out what earlier runs left to the kernel."""
    shell(f"sync -f {folder}").run()


def by_hand(folder, needs, script):
    """The same job with stock tools, in a folder that is emptied before each run."""
    def make_anew():
        remove(folder)
        folder.mkdir()
        settle(folder)
    return shell(script, needs=needs, prepare=make_anew)


def updates(workshop, plan):
    """Updates of several sizes, stored and deflated: checked, copied, unpacked and durable."""
    fresh = workshop.chassis("fresh")
    for mebibytes, rounds in plan.updates:
        for deflated in (False, True):
            yield update_comparison(workshop, fresh, int(mebibytes * MEBIBYTE), deflated, rounds)


def update_comparison(workshop, fresh, size, deflated, rounds):
    """One size, one way to pack it."""
    kind = "deflated" if deflated else "stored"
    package = workshop.package(f"package-{size}-{kind}", size, files=4, deflated=deflated)
    manual, extracted = workshop.folder / "by-hand", workshop.folder / "by-rauc"
    ours = {f"`-u`, {round(size / MEBIBYTE, 2):,g} MiB {kind}":
            update(workshop.programs, workshop.folder / "updated", fresh, package)}
    stock = by_hand(
        manual, ("openssl", "bsdtar"),
        f"cd {manual}; openssl cms -verify -binary -inform DER -in {package}/archive.cms -purpose any "
        f"-content {package}/archive.zip -CAfile {workshop.keys}/authority.pem -out /dev/null; "
        f"cp {package}/archive.zip .; mkdir content; bsdtar -xf archive.zip -C content; sync -f .")
    rauc = by_hand(extracted, ("rauc", "mksquashfs", "unsquashfs"), "")
    if not rauc.missing():
        bundle = workshop.bundle(f"bundle-{size}-{kind}", size, deflated)
        rauc.arguments[-1] = (f"cd {extracted}; rauc --keyring={workshop.folder}/bundle.pem extract {bundle} content; "
                              f"cp {bundle} .; sync -f .")
    return Comparison(ours, {"openssl, cp, bsdtar, sync": stock, "rauc extract, cp, sync": rauc},
                      {"openssl, cp, bsdtar, sync": 0.8, "rauc extract, cp, sync": 1.0}, rounds)


def comparisons(workshop, plan):
    """All comparisons, each measured as soon as it is prepared."""
    yield start(workshop, plan).measured()
    for comparison in inventories(workshop, plan):
        yield comparison.measured()
    for comparison in updates(workshop, plan):
        yield comparison.measured()
