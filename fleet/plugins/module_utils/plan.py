# -*- coding: utf-8 -*-
"""The plan of a roll-out: who updates which chassis, in what order, when to stop, and what counts as green.

Everything here is a pure function of its arguments; the playbook and the simulation call the same code.
"""
from __future__ import absolute_import, division, print_function

__metaclass__ = type

import collections
import random

# What one server said at the inventory: `version` is None where it gave none, `reachable` False where it is dead.
Reading = collections.namedtuple("Reading", "server chassis version reachable cause")

# One chassis of the plan. `decision` is "update", "already", "dead", "no_witness" or "lost".
Chassis = collections.namedtuple("Chassis", "name decision leader fallback witness wave before cause")

WITNESS = ("required", "if_any", "none")


class Judge(object):
    """Stops a roll-out once more than `share` of the started chassis failed, and never before `least` failures."""

    def __init__(self, share=0.02, least=3):
        if not 0 <= share <= 1 or least < 1:
            raise ValueError("the stop share is between 0 and 1, and the failures to wait for are 1 or more")
        self.share, self.least = share, least

    def stops(self, failed, started):
        return failed >= self.least and failed > self.share * started


def wave_sizes(waves, total):
    """The sizes of the waves over `total` chassis; "10%" is a share of all, and the last size repeats."""
    sizes = []
    for wave in waves:
        text = str(wave).strip()
        percent = text.endswith("%")
        number = int(text[:-1] if percent else text)
        if number < 1:
            raise ValueError("a wave has at least one chassis: %s" % text)
        sizes.append(max(1, total * number // 100) if percent else number)
    if not sizes:
        raise ValueError("there is no wave")
    result, left = [], total
    while left > 0:
        result.append(min(left, sizes[min(len(result), len(sizes) - 1)]))
        left -= result[-1]
    return result


def make_plan(readings, target, seed, waves, witness, states):
    """Decides on every chassis of `readings` that is not green in `states` (the ledger's last row of each).

    Returns the chassis in the order of the roll-out: first those that were tried before, then the others shuffled by
    `seed` alone, so that neither a resume nor a dead server changes their order.
    """
    if witness not in WITNESS:
        raise ValueError("witness is one of %s" % ", ".join(WITNESS))
    servers = collections.OrderedDict()
    for reading in sorted(readings, key=lambda r: (r.chassis, r.server)):
        servers.setdefault(reading.chassis, []).append(reading)
    names = list(servers)
    random.Random("%s" % seed).shuffle(names)
    open_names = [name for name in names if name not in states or states[name]["event"] != "green"]
    open_names.sort(key=lambda name: name not in states)
    drafts = [_decide(name, servers[name], target, seed, witness, states.get(name)) for name in open_names]
    total = sum(1 for draft in drafts if draft.decision == "update")
    numbers = (number for number, size in enumerate(wave_sizes(waves, total), 1) for unused in range(size))
    return [draft._replace(wave=next(numbers)) if draft.decision == "update" else draft for draft in drafts]


def _decide(name, readings, target, seed, witness, state):
    alive = [reading for reading in readings if reading.reachable]
    random.Random("%s %s" % (seed, name)).shuffle(alive)
    versions = [reading.version for reading in alive]
    shown = next((version for version in versions if version is not None), None)

    def decided(decision, cause, *roles):
        leader, fallback, reader = (roles + (None, None, None))[:3]
        return Chassis(name, decision, leader, fallback, reader, None, shown, cause)

    if not alive:
        return decided("dead", "no server of the chassis can be reached")
    if witness == "required" and len(alive) < 2:
        return decided("no_witness", "only one server can be reached, and a witness is required", alive[0].server)
    if all(version == target for version in versions):
        return decided("already", "all servers that can be reached show the version", alive[0].server)
    leader = alive[0].server
    others = [reading.server for reading in alive[1:]]
    # An update under way ends on the server that started it, and on no other: that server may still be writing.
    if state is not None and (state["event"] == "started" or state["outcome"] in ("running", "lost")):
        if state["server"] in (reading.server for reading in readings):
            leader = state["server"]
            if leader not in (reading.server for reading in alive):
                return decided("lost", "%s started an update and cannot be reached" % leader, leader)
            others = [reading.server for reading in alive if reading.server != leader]
            return decided("update", None, leader, None, others[-1] if others else None)
    return decided("update", None, leader, others[0] if others else None, others[-1] if others else None)


def reader_for(updater, leader, fallback, witness):
    """The server that reads back beside `updater`: never the same one. None where there is none."""
    return next((server for server in (witness, fallback, leader) if server and server != updater), None)


def judge_update(outcome, after, target):
    """Returns None where the updater's own result is good, else the cause of the failure."""
    if outcome not in ("already", "updated"):
        return "the update ended with %s" % outcome
    if after != target:
        return "the leader shows %s after the update" % (after or "no version")
    return None


def judge_witness(mode, reader, reading, target):
    """Returns None where the read-back by the witness allows green, else the cause of the failure.

    `reading` is what `reader` said, or None where there is no witness to ask.
    """
    if mode == "none":
        return None
    if reading is None or not reading.reachable:
        return None if mode == "if_any" else "the witness %s cannot be reached" % reader if reader else "there is no witness"
    if reading.version != target:
        return "the witness %s shows %s" % (reader, reading.version or "no version")
    return None
