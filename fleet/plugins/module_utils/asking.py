# Copyright: 2026 The qrxupdate developers
# The developers keep all rights; see COPYRIGHT in the collection.
"""Asks a chassis for its inventory. Changes nothing."""

from __future__ import absolute_import, division, print_function

__metaclass__ = type

import shutil
import tempfile
import time

from ansible_collections.qrxupdate.chassis.plugins.module_utils.answer import Answer, answer_of
from ansible_collections.qrxupdate.chassis.plugins.module_utils.run import NotStarted, Run

# An outcome that says no is an answer; with these the question was not answered.
UNANSWERED = ("damaged", "not_started")


def inventory(package, timeout, folder):
    """Runs -i and judges it. Ends it after timeout seconds. folder takes the report for that time."""
    place = tempfile.mkdtemp(dir=folder)
    run = Run(place)
    try:
        made = run.start(package, "-i")
        try:
            if not run.wait(time.monotonic() + timeout):
                return Answer("damaged", "the inventory did not end within {0} seconds".format(timeout))
        finally:
            run.end()
        return answer_of(run, made, package, "inventory")
    except NotStarted as error:
        return Answer("not_started", str(error))
    finally:
        shutil.rmtree(place, ignore_errors=True)
