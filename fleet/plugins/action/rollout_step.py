# -*- coding: utf-8 -*-
# Copyright: 2026 The qrxupdate developers
# The developers keep all rights; see COPYRIGHT in the collection.
"""The steps of the playbook rollout, each one task of the role rollout."""
from __future__ import absolute_import, division, print_function

__metaclass__ = type

import hashlib
import json
import os
import sqlite3
import time

from ansible.errors import AnsibleConnectionFailure, AnsibleError
from ansible.plugins.action import ActionBase

from ansible_collections.qrxupdate.chassis.plugins.module_utils import summary
from ansible_collections.qrxupdate.chassis.plugins.module_utils.ledger import Ledger, Refused, chassis_lock
from ansible_collections.qrxupdate.chassis.plugins.module_utils.plan import Judge, Reading
from ansible_collections.qrxupdate.chassis.plugins.module_utils.rollout import Rollout
from ansible_collections.qrxupdate.chassis.plugins.plugin_utils.where import ledger_path

INVENTORY = "qrxupdate.chassis.inventory_info"
UPDATE = "qrxupdate.chassis.update"


class ActionModule(ActionBase):
    """Runs one step on the controller; asks and updates the task's host through the collection's modules."""

    TRANSFERS_FILES = False

    def run(self, tmp=None, task_vars=None):
        result = super(ActionModule, self).run(tmp, task_vars)
        self.vars, self.settings, self.ledger = task_vars, self._task.args["settings"], None
        self.server = self._task.args.get("server") or task_vars["inventory_hostname"]
        steps = {"open": self._open, "reach": self._reach, "inventory": self._inventory, "plan": self._plan,
                 "update": self._update, "verdict": self._verdict, "summary": self._summary}
        try:
            result.update(steps[self._task.args["step"]]())
        except (Refused, sqlite3.Error, OSError, ValueError) as error:
            result.update(failed=True, msg="%s: %s" % (self.settings["ledger"], error))
        finally:
            if self.ledger:
                self.ledger.close()
        return result

    def _rollout(self):
        """Opens the ledger and returns the steps of the roll-out."""
        settings = self.settings
        path = ledger_path(settings["ledger"], self._task.check_mode)
        self.ledger = Ledger(path)
        stop = os.path.abspath(os.path.expanduser(settings["ledger"])) + ".stop"
        judge = Judge(float(settings["stop_share"]), int(settings["stop_after"]))
        return Rollout(self.ledger, settings["version"], judge, settings["witness"], int(settings["in_flight"]),
                       lambda: os.path.exists(stop))

    def _open(self):
        """Checks everything that can be wrong before a server is asked anything, and begins the run."""
        hosts = self.vars["ansible_play_hosts_all"]
        chassis = dict((host, self.vars["hostvars"].raw_get(host).get("qrx_chassis")) for host in hosts)
        nameless = sorted(host for host in hosts if not chassis[host])
        if nameless:
            raise ValueError("the variable qrx_chassis is missing for %d hosts: %s"
                             % (len(nameless), ", ".join(nameless[:10])))
        path = os.path.abspath(os.path.expanduser(self.settings["ledger"]))
        if os.path.exists(path + ".stop"):
            raise ValueError("a stop is requested; remove %s.stop to go on" % path)
        with open(os.path.expanduser(self.settings["package"]), "rb") as package:
            digest = hashlib.sha256(package.read()).hexdigest()
        if self._task.check_mode and os.path.exists(path):
            source, copy = sqlite3.connect(path), sqlite3.connect(ledger_path(path, True))
            source.backup(copy)
            source.close()
            copy.close()
        rollout = self._rollout()
        if rollout.witness not in ("required", "if_any", "none"):
            raise ValueError("the witness is required, if_any or none")
        # The package's digest is the default seed, so that check mode shows the order of the first run.
        seed = self.ledger.open(digest, str(self.settings.get("seed") or digest[:16]), version=rollout.target,
                                chassis=chassis)
        return {"changed": False, "digest": digest, "seed": seed, "run": self.ledger.run()}

    def _reach(self):
        """Finds out whether the host can be reached at all: an unreachable one must not leave the play."""
        try:
            self._low_level_execute_command("true", sudoable=False)
        except AnsibleConnectionFailure as error:
            return {"changed": False, "reachable": False, "msg": str(error)}
        return {"changed": False, "reachable": True}

    def _ask(self):
        """Asks this host for the version in force; never fails."""
        chassis = self.vars["qrx_chassis"]
        try:
            answer = self._module(INVENTORY, self.settings.get("inventory_arguments"))
        except AnsibleConnectionFailure as error:
            return "unreachable", Reading(self.server, chassis, None, False, str(error))
        return (answer.get("outcome") or "damaged",
                Reading(self.server, chassis, answer.get("version"), True, answer.get("message") or answer.get("msg")))

    def _module(self, name, arguments):
        """Runs a module on the host; one with an action of its own through that action."""
        arguments = dict(arguments or {}, package=self.settings["place"])
        action = self._shared_loader_obj.action_loader.get(
            name, task=self._task.copy(), connection=self._connection, play_context=self._play_context,
            loader=self._loader, templar=self._templar, shared_loader_obj=self._shared_loader_obj)
        if action is None:
            return self._execute_module(module_name=name, module_args=arguments, task_vars=self.vars)
        action._task.args = arguments
        return action.run(task_vars=self.vars)

    def _inventory(self):
        outcome, reading = self._ask()
        self._rollout()
        self.ledger.note("seen", chassis=reading.chassis, server=self.server, outcome=outcome, after=reading.version,
                         cause=reading.cause)
        return {"changed": False, "outcome": outcome, "version": reading.version, "msg": reading.cause}

    def _plan(self):
        rollout = self._rollout()
        opened = json.loads(self.ledger.last("opened")["detail"])
        readings = dict((row["server"], Reading(row["server"], row["chassis"], row["after"],
                                                row["outcome"] != "unreachable", row["cause"]))
                        for row in self.ledger.rows("seen"))
        for server, chassis in opened["chassis"].items():
            readings.setdefault(server, Reading(server, chassis, None, False, "no answer"))
        chassis = rollout.plan(readings.values(), self.settings["waves"], opened["seed"])
        result = {"changed": False, "msg": "%d chassis to update" % len(chassis)}
        if self._task.check_mode:
            result["order"] = ["wave %d: %s by %s, from %s to %s" % (c.wave, c.name, c.leader, c.before, rollout.target)
                               for c in chassis]
        return result

    def _update(self):
        rollout = self._rollout()
        task = rollout.task(self.vars["qrx_chassis"])
        if task is None:
            return {"skipped": True, "msg": "the present run has no plan for this chassis"}
        if self._task.check_mode:
            return {"changed": True, "diff": {"before": "%s\n" % task.before, "after": "%s\n" % rollout.target},
                    "msg": "would update %s in wave %d" % (task.chassis, task.wave)}
        with chassis_lock(os.path.expanduser(self.settings["locks"]), task.chassis) as held:
            if not held:
                cause = "another roll-out on this controller is at work on the chassis"
                self.ledger.note("untried", chassis=task.chassis, server=self.server, outcome="locked", cause=cause)
                return {"skipped": True, "msg": cause}
            return self._locked_update(rollout, task)

    def _locked_update(self, rollout, task):
        try:
            # Only a host that is lost after this has perhaps started something.
            self._low_level_execute_command("true", sudoable=False)
        except AnsibleConnectionFailure as error:
            fallback = task.fallback if rollout.gives_way(task, self.server) else None
            return {"failed": True, "fallback": fallback, "msg": "%s gives way: %s" % (self.server, error)}
        answer = rollout.begin(task, self.server)
        while answer == "wait":
            time.sleep(0.2)
            answer = rollout.begin(task, self.server)
        if answer != "go":
            return {"skipped": True, "msg": "not tried: %s" % answer}
        try:
            result = self._module(UPDATE, self.settings.get("update_arguments"))
        except AnsibleConnectionFailure:
            result = None
        except AnsibleError as error:
            result = {"outcome": "damaged", "message": str(error)}
        rollout.ended(task, self.server, result)
        outcome = (result or {}).get("outcome") or ("damaged" if result else "lost")
        return {"changed": (result or {}).get("changed", True), "outcome": outcome, "server": self.server,
                "reader": rollout.reader(task, self.server, outcome)}

    def _verdict(self):
        rollout = self._rollout()
        task, end = rollout.task(self.vars["qrx_chassis"]), self.ledger.state(self.vars["qrx_chassis"])
        if self._task.check_mode or end is None or end["event"] != "ended" or end["run"] != self.ledger.run():
            return {"skipped": True, "msg": "no update has ended in this run"}
        reader = rollout.reader(task, end["server"], end["outcome"])
        reading = self._ask()[1] if reader else None
        cause = rollout.verdict(task, reader, reading)
        return {"changed": False, "failed": bool(cause), "msg": cause or "green", "witness": reader}

    def _summary(self):
        self._rollout()
        rows = summary.collect(self.ledger)
        counts = summary.counts(rows)
        if not self._task.check_mode:
            summary.write(os.path.expanduser(self.settings["summary"]), rows)
        text = ", ".join("%d %s" % (counts[state], state) for state in summary.STATES)
        return {"changed": False, "failed": not self._task.check_mode and counts["green"] != len(rows), "msg": text,
                "counts": counts}
