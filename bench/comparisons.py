"""The program compared with the stock tools that a user would take instead."""

import pathlib
import shutil
import tempfile
from dataclasses import dataclass, field, replace

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
    processor_goals: dict = field(default_factory=dict)  # the same for processor time; a name without one has no goal

    def measured(self):
        """Measures all commands in turn; returns what JSON can hold."""
        progress(", ".join(self.ours))
        missing = {name: command.missing() for name, command in self.others.items() if command.missing()}
        return {"ours": list(self.ours), "goals": self.goals, "processor goals": self.processor_goals,
                "missing": missing, "samples": measure(self.ours | self.others, self.rounds)}


def version(tool):
    """Asks a tool for its version."""
    return Command([tool, "--version"], needs=(tool,))


def by_program(programs, job):
    """Our programs by the job's name; the one that packages carry is the first, where it is given."""
    portable = {f"{job}, portable program": programs.portable} if programs.portable else {}
    return portable | {job: programs.qrxupdate}


def start(workshop, plan):
    """Starting and ending: with the scripted platform library, and with the stand-in."""
    ours = {job: Command([program, "-h"], environment=workshop.scripted())
            for job, program in by_program(workshop.programs, "`-h`").items()}
    ours["`-h`, stand-in"] = Command([workshop.programs.qrxupdate, "-h"])
    others = {f"{tool} --version": version(tool) for tool in ("xmllint", "rauc", "fwupdtool")}
    goals = {"xmllint --version": 0.8, "rauc --version": None, "fwupdtool --version": None}
    return Comparison(ours, others, goals, plan.start_rounds)


def inventory(workshop, program, package, environment):
    """An inventory whose report goes to a file."""
    report = workshop.folder / "report.xml"

    def check():
        if "<Device " not in report.read_text(encoding="utf-8"):
            raise RuntimeError(f"no device in the report: {report.read_text(encoding='utf-8')}")
    return Command([program, "-i", "-o", report], environment=environment, folder=package, check=check)


def inventories(workshop, plan):
    """Inventories of several lengths: with the scripted platform library, and with the stand-in."""
    package = workshop.package("inventory-package", 1)
    for devices, rounds in plan.inventories:
        document = workshop.inventory(devices)
        root = workshop.chassis(f"chassis-{devices}-devices", document)
        job = f"`-i`, {devices:,} devices"
        ours = {name: inventory(workshop, program, package, workshop.scripted(document))
                for name, program in by_program(workshop.programs, job).items()}
        ours[f"{job}, stand-in"] = inventory(workshop, workshop.programs.qrxupdate, package, {"VTEK_ROOT": str(root)})
        look_up = f'/SVMInventory/Device[@componentID = "{COMPONENT}"]'
        others = {"xmllint --xpath": Command(["xmllint", "--xpath", look_up, document], needs=("xmllint",))}
        yield Comparison(ours, others, {"xmllint --xpath": 1.0 if devices <= 100 else 1.25}, rounds)


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


def on_one_core(command):
    """The same command without a second core."""
    return replace(command, one_core=True)


def beside_writer(command, waiting, mebibytes):
    """The same command while this many MiB of another program wait to be written to the same file system."""
    def prepare():
        command.prepare()
        with waiting.open("wb") as file:
            for _ in range(mebibytes):
                file.write(bytes(MEBIBYTE))

    def check():
        waiting.unlink()
        command.check()
    return replace(command, prepare=prepare, check=check)


def updates(workshop, plan):
    """Updates of several sizes, stored and deflated: checked, copied, unpacked and durable."""
    fresh = workshop.chassis("fresh")
    for mebibytes, rounds in plan.updates:
        for deflated in (False, True):
            yield from update_comparisons(workshop, fresh, mebibytes, deflated, rounds)
    for mebibytes, rounds in plan.updates_beside_writer:
        yield comparison_with_writer(workshop, fresh, mebibytes, plan.writer_mebibytes, rounds)


def update_package(workshop, mebibytes, deflated):
    """A package of this size, and what it is called."""
    kind = f"{mebibytes:,} MiB {'deflated' if deflated else 'stored'}"
    name = f"package-{kind.replace(' ', '-')}"
    if (workshop.folder / name).exists():
        return workshop.folder / name, kind
    return workshop.package(name, int(mebibytes * MEBIBYTE), files=4, deflated=deflated), kind


def update_comparisons(workshop, fresh, mebibytes, deflated, rounds):
    """One size, one way to pack it: on all cores, and on one."""
    package, kind = update_package(workshop, mebibytes, deflated)
    manual, extracted = workshop.folder / "by-hand", workshop.folder / "by-rauc"
    own = update(workshop.programs, workshop.folder / "updated", fresh, package)
    stock = by_hand(
        manual, ("openssl", "bsdtar"),
        f"cd {manual}; openssl cms -verify -binary -inform DER -in {package}/archive.cms -purpose any "
        f"-content {package}/archive.zip -CAfile {workshop.keys}/authority.pem -out /dev/null; "
        f"cp {package}/archive.zip .; mkdir content; bsdtar -xf archive.zip -C content; sync -f .")
    rauc = by_hand(extracted, ("rauc", "mksquashfs", "unsquashfs"), "")
    if not rauc.missing():
        bundle = workshop.bundle(f"bundle-{kind.replace(' ', '-')}", int(mebibytes * MEBIBYTE), deflated)
        rauc.arguments[-1] = (f"cd {extracted}; rauc --keyring={workshop.folder}/bundle.pem extract {bundle} content; "
                              f"cp {bundle} .; sync -f .")
    stock_name, rauc_name = "openssl, cp, bsdtar, sync", "rauc extract, cp, sync"
    goal = 0.5 if deflated else 0.6 if mebibytes <= 16 else 0.55
    processor_goals = {stock_name: 1.0} if mebibytes >= 256 else {}
    yield Comparison({f"`-u`, {kind}": own}, {stock_name: stock, rauc_name: rauc}, {stock_name: goal, rauc_name: 1.0},
                     rounds, processor_goals)
    yield Comparison({f"`-u`, {kind}, one core": on_one_core(own)}, {stock_name: on_one_core(stock)}, {stock_name: 0.9},
                     rounds, processor_goals)


def comparison_with_writer(workshop, fresh, mebibytes, waiting, rounds):
    """An update while another program's data waits, and the same without."""
    package, kind = update_package(workshop, mebibytes, deflated=False)
    own = update(workshop.programs, workshop.folder / "updated", fresh, package)
    disturbed = beside_writer(own, workshop.folder / "waiting", waiting)
    return Comparison({f"`-u`, {kind}, beside {waiting:,} MiB": disturbed}, {"the same alone": own},
                      {"the same alone": 1.5}, rounds)


def comparisons(workshop, plan):
    """All comparisons, each measured as soon as it is prepared."""
    yield start(workshop, plan).measured()
    for comparison in inventories(workshop, plan):
        yield comparison.measured()
    for comparison in updates(workshop, plan):
        yield comparison.measured()
