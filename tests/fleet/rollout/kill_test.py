"""Kills the command at its boundaries and resumes it. usage: kill_test.py COLLECTION POINTS|late

With "late", the ledger is written only after the act; the test then expects to find a chassis that was updated twice.
"""
import pathlib
import random
import subprocess
import sys
import tempfile
import time

from lab import HERE, Lab

CHASSIS = 3
IN_USE = "Another command, or what a killed one left at work, uses the ledger"


class Broken(Exception):
    """A promise that the roll-out did not keep."""


def command(lab, **variables):
    """Runs the playbook in a process group of its own. Returns the boundaries that it reached."""
    counter = lab.folder / "boundaries"
    counter.write_text("")
    environment = lab.environment(ANSIBLE_CALLBACK_PLUGINS=str(HERE / "callbacks"), QRX_BOUNDARIES=str(counter),
                                  **variables)
    with open(str(lab.folder / "output"), "w") as output:
        # With a witness required, a chassis with one server cut off would be left alone anyway.
        subprocess.run(lab.command(qrx_witness="if_any"), env=environment, stdout=output, stderr=subprocess.STDOUT,
                       timeout=1200, start_new_session=True)
    return counter.read_text().splitlines()


def resume(lab, **variables):
    """Gives the same command again, as soon as the killed one's workers have ended."""
    command(lab, **variables)
    while IN_USE in (lab.folder / "output").read_text():
        time.sleep(0.2)
        command(lab, **variables)


def expect(condition, text, lab):
    if not condition:
        raise Broken("%s\n%s" % (text, (lab.folder / "output").read_text()))


def kill_and_resume(folder, kill_at, whom="group", **variables):
    """Kills one roll-out and resumes it twice.

    At first all servers that began an update are cut off, and what they had under way goes on; then they come back.
    """
    lab = Lab(folder, sys.argv[1], CHASSIS)
    hold = lab.folder / "hold"
    reached = len(command(lab, QRX_KILL_AT=str(kill_at), QRX_KILL=whom, QRX_HOLD=str(hold), **variables))
    expect(hold.exists(), "the command ended at boundary %d, before it was killed" % reached, lab)
    lab.mark("dead", *(server for chassis in lab.chassis for server in lab.begun(chassis)))
    if lab.ledger.exists():
        expect(lab.rows("PRAGMA integrity_check")[0]["integrity_check"] == "ok", "the ledger is damaged", lab)
    resume(lab, **variables)
    hold.unlink()
    while lab.names("running"):
        time.sleep(0.05)
    cut_off = lab.names("dead")
    lab.unmark("dead", *cut_off)
    if cut_off:
        resume(lab, **variables)
    begun = {chassis: lab.begun(chassis) for chassis in lab.chassis}
    expect(all(len(servers) == 1 for servers in begun.values()), "not updated exactly once: %s" % begun, lab)
    states = {row["chassis"]: row["state"] for row in lab.summary()["chassis"]}
    expect(states == dict.fromkeys(lab.chassis, "green"), "not all green: %s" % states, lab)
    finals = lab.rows("SELECT chassis, count(*) AS times FROM entry WHERE event = 'green' GROUP BY chassis")
    expect([row["times"] for row in finals] == [1] * CHASSIS, "not one final state each: %s" % finals, lab)


def finds_a_late_ledger(folder):
    """The counter-test: killed between the act and its row, the chassis must be found updated twice."""
    reached = command(Lab(folder / "whole", sys.argv[1], CHASSIS), QRX_LATE="1")
    kill_at = reached.index("after act") + 1
    try:
        kill_and_resume(folder / "lab", kill_at, QRX_LATE="1")
    except Broken as broken:
        if "not updated exactly once" not in str(broken):
            raise
        print("a ledger that is written only after the act is noticed at boundary %d of %d" % (kill_at, len(reached)))
    else:
        raise SystemExit("a ledger that is written only after the act was not noticed")


def survives_every_kill(folder, points):
    """Every second kill leaves the command's workers alive."""
    # The last boundaries can come in one write less where workers meet.
    total = len(command(Lab(folder / "whole", sys.argv[1], CHASSIS))) - 3
    # Beyond one round of all boundaries the points repeat, with another timing each.
    rounds = [1 + point % total for point in range(points - points % total)]
    chosen = rounds + sorted(random.Random(points).sample(range(1, total + 1), points % total))
    for number, kill_at in enumerate(chosen):
        whom = ("group", "command")[(number + number // total) % 2]
        try:
            kill_and_resume(folder / ("lab%d" % number), kill_at, whom)
        except Broken as broken:
            raise SystemExit("%s killed at boundary %d: %s" % (whom, kill_at, broken))
    print("%d kills at %d boundaries: 0 updated twice, 0 lost" % (len(chosen), len(set(chosen))))


def main():
    with tempfile.TemporaryDirectory() as folder:
        if sys.argv[2] == "late":
            finds_a_late_ledger(pathlib.Path(folder))
        else:
            survives_every_kill(pathlib.Path(folder), int(sys.argv[2]))


main()
