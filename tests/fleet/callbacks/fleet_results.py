"""Writes each task's result as one line of JSON into the file that FLEET_RESULTS names."""

import json
import os

from ansible.plugins.callback import CallbackBase

DOCUMENTATION = """
name: fleet_results
type: notification
short_description: Writes each task's result as one line of JSON
description: For the tests of the fleet.
"""


class CallbackModule(CallbackBase):
    """Kept for tests: the results as they are, not as people read them."""

    CALLBACK_VERSION = 2.0
    CALLBACK_TYPE = "notification"
    CALLBACK_NAME = "fleet_results"
    CALLBACK_NEEDS_ENABLED = True

    def _write(self, status, result):
        with open(os.environ["FLEET_RESULTS"], "a", encoding="utf-8") as lines:
            entry = {"host": result._host.get_name(), "task": result.task_name, "status": status,
                     "result": result._result}
            lines.write(json.dumps(entry, default=str) + "\n")

    def v2_runner_on_ok(self, result):
        """A green task."""
        self._write("ok", result)

    def v2_runner_on_failed(self, result, ignore_errors=False):
        """A red task."""
        self._write("failed", result)

    def v2_runner_on_unreachable(self, result):
        """A host that does not answer."""
        self._write("unreachable", result)
