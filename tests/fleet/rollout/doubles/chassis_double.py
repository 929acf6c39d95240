"""What both doubles know: a world in files, with a version per chassis and a log of what was begun."""
import os
import subprocess
import time

from ansible.errors import AnsibleConnectionFailure

WORLD = os.environ.get("QRX_WORLD", "")
NEW, OLD = "2.0", "1.0"
# An update: server, chassis and effect. While the file QRX_HOLD is there, it goes on and its server is cut off.
ACT = """
trap "" PIPE
: > "running/$1"; echo "$1" >> "begun/$2"; echo
sleep "${QRX_SECONDS-0.3}"
while [ -e "$QRX_HOLD" ]; do : > "dead/$1"; sleep 0.1; done
: > "$3"; rm "running/$1"
"""


def is_there(kind, name):
    return os.path.exists(os.path.join(WORLD, kind, name))


def version(server, chassis):
    """The version as this server sees it: the one that updated a lying chassis sees what it wants to see."""
    if is_there("deceived", server):
        return NEW
    return NEW if is_there("new", chassis) else OLD


def fail_if_dead(server):
    if is_there("dead", server):
        raise AnsibleConnectionFailure("%s is dead" % server)


def begin(server, chassis):
    """Starts an update, which lives on when the controller and the connection are gone."""
    effect = "new/" + chassis
    if is_there("bad", chassis):
        effect = "bad/" + chassis
    elif is_there("lying", chassis):
        effect = "deceived/" + server
    act = subprocess.Popen(["/bin/sh", "-c", ACT, "act", server, chassis, effect], cwd=WORLD, stdout=subprocess.PIPE,
                           start_new_session=True)
    act.stdout.readline()


def wait(server):
    while is_there("running", server):
        fail_if_dead(server)
        time.sleep(0.05)


def update(server, chassis):
    """Updates as the module does: waits for an update that this server started, and begins none that is not due."""
    wait(server)
    before = version(server, chassis)
    if before == NEW:
        return {"changed": False, "outcome": "already", "before": NEW, "after": NEW, "message": ""}
    begin(server, chassis)
    if is_there("dying", server):
        os.rename(os.path.join(WORLD, "dying", server), os.path.join(WORLD, "dead", server))
    wait(server)
    if is_there("bad", chassis):
        return {"failed": True, "changed": False, "outcome": "refused", "before": OLD, "after": OLD,
                "message": "Update is not successful"}
    return {"changed": True, "outcome": "updated", "before": OLD, "after": version(server, chassis),
            "message": "Update is successful"}
