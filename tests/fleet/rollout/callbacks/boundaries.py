"""A callback that kills the command at a boundary: the QRX_KILL_AT-th of all tasks, ledger writes and acts.

QRX_KILL says whom: the "group" with all workers, or the "command" alone.

With QRX_LATE the ledger is written only after the act, which the kill test must notice.
"""
DOCUMENTATION = """
name: boundaries
type: aggregate
short_description: kills the command at a boundary
description: see above
"""
import fcntl
import os
import signal

from ansible.plugins.callback import CallbackBase
from ansible_collections.qrxupdate.chassis.plugins.module_utils import ledger as module
from ansible_collections.qrxupdate.chassis.plugins.plugin_utils import chassis_double as double

COUNTER = os.environ["QRX_BOUNDARIES"]
KILL_AT = int(os.environ.get("QRX_KILL_AT", "0"))
# The command itself leads the process group.
KILL = {"group": os.killpg, "command": os.kill}[os.environ.get("QRX_KILL", "group")]


def boundary(what):
    """Counts one boundary, across all processes of the command, and kills it at the chosen one."""
    with open(COUNTER, "a+") as counter:
        fcntl.flock(counter, fcntl.LOCK_EX)
        counter.write(what + "\n")
        counter.flush()
        counter.seek(0)
        reached = sum(1 for line in counter)
        if reached == KILL_AT:
            open(os.environ["QRX_HOLD"], "w").close()
            KILL(os.getpgrp(), signal.SIGKILL)


def around(act, name):
    def counted(*arguments, **values):
        boundary("before %s" % name)
        result = act(*arguments, **values)
        boundary("after %s" % name)
        return result
    return counted


if os.environ.get("QRX_LATE"):
    start, end = module.Ledger.start, module.Ledger.end

    def late_start(self, chassis, server, judge, wave=None, in_flight=10):
        state = self.state(chassis)
        return "done" if state is not None and (state["event"] == "green" or state["run"] == self.run()) else "go"

    def late_end(self, chassis, server, **result):
        start(self, chassis, server, NeverStops, result.get("wave"), 1000)
        end(self, chassis, server, **result)

    class NeverStops:
        stops = staticmethod(lambda failed, started: False)

    module.Ledger.start, module.Ledger.end = late_start, late_end

for method in ("open", "note", "plan", "start", "end", "settle"):
    setattr(module.Ledger, method, around(getattr(module.Ledger, method), method))
double.begin = around(double.begin, "act")


class CallbackModule(CallbackBase):
    CALLBACK_VERSION = 2.0
    CALLBACK_TYPE = "aggregate"
    CALLBACK_NAME = "boundaries"
    CALLBACK_NEEDS_ENABLED = False

    def v2_playbook_on_task_start(self, task, is_conditional):
        boundary("task")

    def v2_runner_on_ok(self, result):
        boundary("result")

    v2_runner_on_failed = v2_runner_on_skipped = lambda self, result, **options: boundary("result")
