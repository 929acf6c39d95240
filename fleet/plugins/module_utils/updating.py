# Copyright: 2026 The qrxupdate developers
# The developers keep all rights; see COPYRIGHT in the collection.
"""One update from the first inventory to the last. A started update is waited for and never signalled."""

from __future__ import absolute_import, division, print_function

__metaclass__ = type

import datetime
import time

from ansible_collections.qrxupdate.chassis.plugins.module_utils import standin
from ansible_collections.qrxupdate.chassis.plugins.module_utils.answer import BUSY, answer_of
from ansible_collections.qrxupdate.chassis.plugins.module_utils.asking import inventory
from ansible_collections.qrxupdate.chassis.plugins.module_utils.run import NotStarted, Run
from ansible_collections.qrxupdate.chassis.plugins.module_utils.versions import compare

RETRY_PAUSE = 3  # seconds between two attempts at a busy chassis
POLL_PAUSE = 2  # seconds between two inventories of a read-back


class Update(object):
    """One call of the module. run returns the outcome; the other members tell what led to it."""

    def __init__(self, package, state, settings, folder):
        """settings are the module's arguments; folder takes the inventories' reports."""
        self.package = package
        self.state = state
        self.settings = settings
        self.folder = folder
        self.deadline = time.monotonic() + settings["timeout"]
        self.before = self.after = None
        self.asked = self.told = None  # the last answers of -i and -u
        self.changed = False
        self.changed_known = True
        self.started = self.finished = None
        self.message = ""
        self.process = None  # of the last update that was started

    def run(self):
        """Updates if that is needed and possible. Returns the outcome."""
        if not self.state.take(self.deadline):
            return self._still_running(self.state.record())
        earlier = self._finish_earlier()
        if earlier is not None:
            return self._leave(self._judge_success(earlier))
        while True:
            begin = time.monotonic()
            outcome = self.ask() or self._start()
            if outcome != "busy":
                return self._leave(outcome)
            # An attempt that the time-out would interrupt leaves an update behind and tells less.
            took = time.monotonic() - begin
            if time.monotonic() + RETRY_PAUSE + 2 * took > self.deadline:
                return self._leave(self._proven_busy())
            time.sleep(RETRY_PAUSE)

    def predict(self):
        """Says what run would do, and starts nothing but an inventory and a plan. Returns the outcome."""
        outcome = self.ask()
        if outcome:
            return outcome
        vtekctl = self.settings["vtekctl"]
        if vtekctl and standin.is_loaded_by(self.package.program):
            self.message = standin.plan(vtekctl, self.package.folder, self.settings["timeout"])
            if self.message:
                return "refused"
        self.changed = True
        self.after = self.package.version
        return "would_update"

    def ask(self):
        """The first inventory. Returns the outcome if it forbids or spares the update, else None."""
        self.asked = self._inventory()
        self.message = self.asked.message
        if self.asked.outcome != "found":
            return self.asked.outcome
        found, wanted = self.asked.version, self.package.version
        self.after = found
        if self.before is None:
            self.before = found
        if found == wanted:
            return "already"
        if compare(found, wanted) > 0 and not self.settings["allow_older"]:
            self.message = "the chassis has version {0}; {1} is older, and allow_older is false".format(found, wanted)
            return "not_started"
        return None

    def _start(self):
        """Starts the update and waits for it."""
        run = Run(self.state.new_run_folder())
        record = {"folder": run.folder, "package": self.package.folder, "component": self.package.component,
                  "version": self.package.version, "payload_sha256": self.package.payload_sha256(),
                  "before": self.before, "started": now()}
        self.started, self.finished = record["started"], None
        self.state.write(record)
        try:
            made = run.start(self.package, "-u", keep=(self.state.lock,))
        except NotStarted as error:
            self.message = str(error)
            return "not_started"
        record.update(made=made, process=run.process.pid)
        self.state.write(record)
        if not run.wait(self.deadline):
            self._look()
            if run.process.poll() is None:  # it may have ended during the inventory
                return self._still_running(record)
        self.finished = now()
        self.process = run.process.pid
        return self._judge(answer_of(run, made, self.package, "update"))

    def _judge(self, told):
        self.told = told
        self.message = told.message
        if told.outcome == "success":
            return self._judge_success(told)
        if told.outcome == "refused" and told.message == BUSY:
            return "busy"
        if told.outcome == "damaged":
            self._look()
        return told.outcome

    def _judge_success(self, told):
        """The report says success: the payload is in the repository. Only an inventory shows the version in force."""
        self.told = told
        self.message = told.message
        self.changed = True
        if not self.settings["read_back"]:
            self.message = "read_back is false: no inventory was asked whether the version is in force"
            return "unverified"
        deadline = time.monotonic() + self.settings["read_back_timeout"]
        while True:
            if self._shows_version() and self._still_shows_version():
                return "updated"
            if time.monotonic() + POLL_PAUSE > deadline:
                self.message = "the report says success, and the inventory shows {0}".format(
                    self.after or "no version ({0})".format(self.asked.message))
                return "unverified"
            time.sleep(POLL_PAUSE)

    def _still_shows_version(self):
        """A version that goes back within this time was never in force."""
        time.sleep(self.settings["settle"])
        return self._shows_version()

    def _shows_version(self):
        self.asked = self._inventory()
        self.after = self.asked.version
        return self.after == self.package.version

    def _look(self):
        """Asks what is in force when no report tells."""
        self.asked = self._inventory()
        self.after = self.asked.version
        self.changed_known = self.after is not None
        self.changed = self.after != self.before if self.changed_known else True

    def _inventory(self):
        return inventory(self.package, self.settings["inventory_timeout"], self.folder)

    def _finish_earlier(self):
        """The answer of an update that an earlier call started, if it is of this package and reports success.

        Whatever else became of it, the next inventory tells.
        """
        record = self.state.record() or {}
        ours = {"component": self.package.component, "version": self.package.version,
                "payload_sha256": self.package.payload_sha256()}
        if "made" not in record or any(record.get(key) != value for key, value in ours.items()):
            return None
        told = answer_of(Run(record["folder"]), record["made"], self.package, "update")
        if told.outcome != "success":
            return None
        self.before, self.started, self.finished = record["before"], record["started"], now()
        return told

    def _still_running(self, record):
        """An update that this call or an earlier one started is at work; what it changes is not known yet."""
        if self.asked is None:
            self._look()
        record = record or {}
        self.started = record.get("started")
        self.before = record.get("before", self.before)
        self.changed, self.changed_known = True, False
        self.message = "the update of {0} is still at work (process {1}); call again to wait for it".format(
            record.get("package", "another package"), record.get("process", "unknown"))
        return "running"

    def _proven_busy(self):
        """Only the stand-in's log tells a busy repository from a full or read-only one."""
        holder = standin.holder_seen_by(self.process)
        if holder:
            self.message = "{0}: {1}".format(self.message, holder)
        return "busy" if holder else "refused"

    def _leave(self, outcome):
        """Forgets an update that has ended."""
        if outcome != "running":
            self.state.forget()
        return outcome


def now():
    """This moment in UTC, as ISO 8601 has it."""
    return datetime.datetime.utcnow().strftime("%Y-%m-%dT%H:%M:%SZ")
