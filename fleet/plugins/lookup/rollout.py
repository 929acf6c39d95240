# -*- coding: utf-8 -*-
# Copyright: 2026 The qrxupdate developers
# The developers keep all rights; see COPYRIGHT in the collection.
"""The lookup rollout: what the plays of the roll-out must know before they have hosts."""
from __future__ import absolute_import, division, print_function

__metaclass__ = type

DOCUMENTATION = r'''
name: rollout
short_description: Read the plan of the present run from the ledger of a roll-out
version_added: 1.0.0
description:
  - Serves the playbook C(qrxupdate.chassis.rollout).
author:
  - The qrxupdate developers (@qrxupdate)
options:
  _terms:
    description:
      - The path of the ledger, and what to read.
      - C(leaders), the leaders in the order of the roll-out. C(waves), the sizes of the waves. C(green), the servers that
        answered and whose chassis are green. C(stopped), whether the present run starts nothing more.
      - C(lock) keeps other commands from using the ledger until this command ends, or fails if another one has it.
    required: true
'''

EXAMPLES = r'''
- name: Show the leaders of the present run
  ansible.builtin.debug:
    msg: "{{ lookup('qrxupdate.chassis.rollout', '/srv/rollout.sqlite', 'leaders') }}"
'''

RETURN = r'''
_list:
  description:
    - The answer; empty if there is no ledger yet.
  type: list
  elements: raw
'''

import os

from ansible import context
from ansible.errors import AnsibleError
from ansible.plugins.lookup import LookupBase

from ansible_collections.qrxupdate.chassis.plugins.module_utils.ledger import Ledger, lock_file
from ansible_collections.qrxupdate.chassis.plugins.plugin_utils.where import ledger_path

# Open until the command and all of its workers have ended: a worker that outlives its command still keeps others out.
LOCKS = {}


def lock(path):
    """Locks the ledger for this command."""
    if path not in LOCKS:
        LOCKS[path] = lock_file(path + ".lock")
    if LOCKS[path] is None:
        del LOCKS[path]
        raise AnsibleError("Another command, or what a killed one left at work, uses the ledger %s." % path)


def read(ledger, what):
    """Answers one question about the present run."""
    if what == "stopped":
        return [any(ledger.rows("stopped"))]
    if what == "green":
        states = ledger.states()
        return [row["server"] for row in ledger.rows("seen") if row["outcome"] != "unreachable"
                and row["chassis"] in states and states[row["chassis"]]["event"] == "green"]
    planned = ledger.rows("planned")
    if what == "leaders":
        return [row["server"] for row in planned]
    waves = [row["wave"] for row in planned]
    return [waves.count(wave) for wave in sorted(set(waves))]


class LookupModule(LookupBase):
    """Reads the ledger; every call sees its newest rows."""

    def run(self, terms, variables=None, **kwargs):
        path, what = terms
        check = bool(context.CLIARGS.get("check"))
        if not path:
            return [[]]
        if what == "lock":
            if not check:
                lock(ledger_path(path, check))
            return [True]
        path = ledger_path(path, check)
        if not os.path.exists(path):
            return [[]]
        ledger = Ledger(path)
        try:
            answer = read(ledger, what)
        finally:
            ledger.close()
        return answer if what == "stopped" else [answer]
